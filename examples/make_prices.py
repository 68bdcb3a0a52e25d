#!/usr/bin/env python3
"""Writes prices.csv: made-up hourly bars of a currency pair, the same at every run.

A random walk whose volatility clusters and follows the hours of the day, with no trading at weekends.
"""
import csv
import math
import random
from datetime import datetime, timedelta, timezone
from pathlib import Path

BARS = 2500
START = datetime(2024, 1, 1, 0, tzinfo=timezone.utc)  # a Monday
STEPS = 30  # price moves within a bar


def is_open(time):
    """Trading rests from Friday 22:00 to Sunday 22:00 UTC."""
    day, hour = time.weekday(), time.hour
    return not (day == 5 or (day == 4 and hour >= 22) or (day == 6 and hour < 22))


def busyness(hour):
    """Busy while London and New York trade, quiet at night."""
    return 0.5 + 0.9 * math.exp(-((hour - 8.5) / 2.5) ** 2) + 1.2 * math.exp(-((hour - 14) / 2.5) ** 2)


def bars(rng):
    time, price, mood, trend = START, 1.1050, 0.0, 0.0
    for _ in range(BARS):
        while not is_open(time):
            time += timedelta(hours=1)
        mood = 0.95 * mood + rng.gauss(0, 0.2)
        trend = 0.98 * trend + rng.gauss(0, 0.000012)
        step = 0.00010 * busyness(time.hour) * math.exp(mood)
        path = [price]
        for _ in range(STEPS):
            path.append(path[-1] + trend / STEPS + rng.gauss(0, step) - 0.00002 * (path[-1] - 1.1))
        price = path[-1]
        volume = int(900 * busyness(time.hour) * math.exp(mood / 2) * rng.uniform(0.7, 1.3))
        yield time, path[0], max(path), min(path), path[-1], volume
        time += timedelta(hours=1)


def main():
    target = Path(__file__).with_name("prices.csv")
    with target.open("w", newline="") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(["time", "open", "high", "low", "close", "volume"])
        for time, *prices, volume in bars(random.Random(20240101)):
            writer.writerow([time.strftime("%Y-%m-%dT%H:%M:%SZ"), *(f"{p:.5f}" for p in prices), volume])


if __name__ == "__main__":
    main()
