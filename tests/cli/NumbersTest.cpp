#include "host/cli/Numbers.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>

namespace vexil3::cli {
namespace {

std::string fixed(double value, int decimals) {
    char text[kNumberRoom];
    return {text, writeFixed(text, value, decimals)};
}

void expectExact(double value) {
    const std::string text = shortest(value);
    double back = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), back);
    ASSERT_TRUE(status == std::errc() && end == text.data() + text.size()) << text;
    ASSERT_EQ(std::memcmp(&back, &value, sizeof value), 0) << text;
    const std::optional<double> read = parseNumber(text);
    ASSERT_TRUE(read && std::memcmp(&*read, &value, sizeof value) == 0) << text;
    char shortestKnown[kNumberRoom];
    const auto length =
        std::to_chars(shortestKnown, shortestKnown + kNumberRoom, value, std::chars_format::fixed).ptr - shortestKnown;
    ASSERT_LE(text.size(), static_cast<std::size_t>(length)) << text;
}

TEST(Numbers, ShortestTextsReadBackExactly) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) expectExact(value);
        // What prices look like, and their neighbours.
        const double price = static_cast<double>(static_cast<std::int64_t>(random()) >> (random() % 62)) /
                             std::pow(10, static_cast<double>(random() % 9));
        expectExact(price);
        expectExact(std::nextafter(price, 0));
    }
    for (const double value : {0.0, -0.0, 1e-5, -1e-5, 9e-6, 1e9, 1e10, 1e15, 1e22, 0.1, 99999.99999, 5e-324,
                               std::numeric_limits<double>::max()})
        expectExact(value);
    EXPECT_EQ(shortest(100000), "100000");
    EXPECT_EQ(shortest(-0.25), "-0.25");
}

TEST(Numbers, WhatIsNoNumberIsRefused) {
    for (const char* text : {"", ".", "-", "-.", "1.2.3", "1..", "--1", "+1", "1 ", " 1", "1e", "1,5", "nan", "inf",
                             "1e999", "123456789012345678901234567890x"})
        EXPECT_FALSE(parseNumber(text)) << text;
    for (const char* text : {"1.", ".5", "-.5", "00012.50", "1e2", "123456789012345678901234567890"})
        EXPECT_EQ(parseNumber(text), std::strtod(text, nullptr)) << text;
}

TEST(Numbers, FixedTextsAreRoundedToTheNearest) {
    for (int decimals = 0; decimals <= 8; ++decimals)
        for (const double value : {0.0, 0.004, 0.996, -0.004, 1.23456789, -98765.4321, 1e-9, 1e20, -3e300}) {
            char expected[kNumberRoom];
            std::snprintf(expected, sizeof expected, "%.*f", decimals, value);
            const std::string text = fixed(value, decimals);
            // A zero has no sign here.
            EXPECT_TRUE(text == expected || ("-" + text) == expected) << text << " " << expected;
        }
}

TEST(Numbers, DecimalsAreThoseOfTheFinestValue) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    const double values[] = {1, none, 2.5, std::numeric_limits<double>::infinity(), -0.125};
    EXPECT_EQ(decimalsOf(values, 1), 0);
    EXPECT_EQ(decimalsOf(values, 3), 1);
    EXPECT_EQ(decimalsOf(values, 5), 3);
    const double third = 1.0 / 3;
    EXPECT_EQ(decimalsOf(&third, 1), 8);
}

TEST(Times, AgreeWithTheCalendarBothWays) {
    std::mt19937_64 random(2);
    for (int i = 0; i < 100000; ++i) {
        const auto seconds = static_cast<std::time_t>(random() % 315569520000ULL) - 62167219200;
        std::tm parts{};
        ::gmtime_r(&seconds, &parts);
        char expected[64];
        std::snprintf(expected, sizeof expected, "%04d-%02d-%02dT%02d:%02d:%02dZ", parts.tm_year + 1900,
                      parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
        ASSERT_EQ(timeText(static_cast<double>(seconds)), expected);
        ASSERT_EQ(parseTime(expected), static_cast<double>(seconds));
    }
    EXPECT_EQ(timeText(0.25), "1970-01-01T00:00:00.250Z");
    for (int ms = 1; ms < 1000; ++ms) {
        char expected[64];
        std::snprintf(expected, sizeof expected, "2024-01-01T10:00:00.%03dZ", ms);
        EXPECT_EQ(timeText(*parseTime(expected)), expected);
    }
    EXPECT_EQ(timeText(-0.0001), "1970-01-01T00:00:00Z");
    EXPECT_EQ(timeText(1e300), "1e+300");
}

TEST(Times, AreReadInEveryUsualForm) {
    constexpr double kMoment = 1706693400;  // 2024-01-31T09:30:00Z
    for (const char* text :
         {"2024-01-31T09:30:00Z", "2024-01-31t09:30", "2024-01-31 09:30:00", "2024-01-31T11:30+02:00",
          "2024-01-31T04:00:00-0530", "2024-01-31T09:30:00.000Z", "1706693400", "1706693400.0"})
        EXPECT_EQ(parseTime(text), kMoment) << text;
    for (const char* text : {"2024-02-29", "20240229"}) EXPECT_EQ(parseTime(text), 1709164800) << text;
    EXPECT_EQ(parseTime("2024-01-31T09:30:00.5Z"), kMoment + 0.5);
    for (const char* text : {"",
                             "today",
                             "2024-1-31",
                             "2023-02-29",
                             "20230229",
                             "2024-01-31T",
                             "2024-01-31T9:30",
                             "2024-01-31T25:00",
                             "2024-01-31T09:60",
                             "2024-01-31T09:30:61",
                             "2024-01-31T09:30:00X",
                             "2024-01-31T09:30+1",
                             "2024-01-31T09:30:00.1e3",
                             "2024-01-31T09:30.5",
                             "2024-01-31T09:30:00+02:0",
                             "2024-01-31x",
                             "-2024-01-31",
                             "1704067200000",
                             "inf",
                             "0x10",
                             "1,5"})
        EXPECT_FALSE(parseTime(text)) << text;
}

}  // namespace
}  // namespace vexil3::cli
