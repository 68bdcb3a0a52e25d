#!/usr/bin/env python3
"""Measures everything in one run and prints one table of ratios.

Each row sets ours beside its reference, measured in the same run; whole processes run in turn, and the
median counts. --json FILE writes the rows, --quick only shows that every row still runs.
"""
import argparse
import json
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BENCH = ROOT / "benchmarks"
STUDIES = ["sma", "rsi", "macd", "bollinger", "atr", "rolling_max"]
BARS = 300_000


class Table:
    def __init__(self):
        self.rows = []

    def add(self, row, ours, reference, unit, target, value=None, kind="ratio"):
        """A row: its ratio (or other value) must not exceed the target."""
        value = ours / reference if value is None else value
        self.rows.append({"row": row, "ours": ours, "reference": reference, "unit": unit, "kind": kind,
                          "value": value, "target": target, "met": value <= target})
        print(f"  {row}: {value:.3g}", file=sys.stderr, flush=True)

    def text(self):
        head = ["row", "ours", "reference", "ratio", "target", ""]
        lines = [head]
        for r in self.rows:
            shown = f"{r['value']:.2f}" + ("" if r["kind"] == "ratio" else " " + r["kind"])
            lines.append([r["row"], quantity(r["ours"], r["unit"]), quantity(r["reference"], r["unit"]), shown,
                          f"<= {r['target']:g}", "met" if r["met"] else "missed"])
        widths = [max(len(line[i]) for line in lines) for i in range(len(head))]
        return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip()
                         for line in lines)


def quantity(value, unit):
    if unit == "B":
        return f"{value / 2**20:.1f} MiB"
    for scale, name in ((1, "s"), (1e-3, "ms"), (1e-6, "us"), (1e-9, "ns")):
        if value >= scale:
            break
    return f"{value / scale:.3g} {name}"


def micro(build, quick):
    """Median processor time in seconds of every benchmark, by name."""
    command = [build / "bin/vexil_bench_micro", "--benchmark_format=json", "--benchmark_repetitions=%d" % (1 if quick else 7),
               "--benchmark_min_time=%s" % (0.01 if quick else 0.1), "--benchmark_enable_random_interleaving=true"]
    report = json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)
    times = {}
    for entry in report["benchmarks"]:
        if entry.get("run_type") == "iteration":
            times.setdefault(entry["run_name"], []).append(entry["cpu_time"] * 1e-9)
    return {name: statistics.median(values) for name, values in times.items()}


def micro_rows(table, m):
    pairs = [("digest, 64 MiB", "digest", "/67108864", 1.15), ("digest, 40 bytes", "digest", "/40", 1.0),
             ("error rewriting, 1 KiB", "rewriting", "/1024", 4), ("error rewriting, 64 KiB", "rewriting", "/65536", 4),
             ("error rewriting, 4 MiB", "rewriting", "/4194304", 4), ("read", "read", "", 1.1),
             ("readLine", "readLine", "", 1.5), ("readLineUnicode", "readLineUnicode", "", 1.5),
             ("line listing, 1,000,000 rows", "listing", "/1000000", 2)]
    for row, name, size, target in pairs:
        table.add(row, m[f"{name}/ours{size}"], m[f"{name}/reference{size}"], "s", target)
    for row, name, target in (("adapter call", "adapter", 2), ("call stack frame", "frame", 20)):
        ours, reference = m[f"{name}/ours"], m[f"{name}/reference"]
        table.add(row, ours, reference, "s", target, (ours - reference) * 1e9, "ns more")
    events = {size: m[f"event/ours/{size}"] for size in (100, 10_000, 1_000_000)}
    for size, ours in events.items():
        table.add(f"line event, {size:,} lines", ours, m["event/reference"], "s", 150, ours * 1e9, "ns")
    table.add("line event, longest to shortest", events[1_000_000], events[100], "s", 1.3)
    for what in ("event", "lookup"):
        for count in (100, 10_000):
            table.add(f"{what} among {count:,} files", m[f"{what}-among/ours/{count}"], m[f"{what}-among/ours/1"], "s", 1.3)


def service_rows(table, build, environment, folder, script, quick):
    out = subprocess.run([build / "bin/vexil_bench_service", folder / "service", script, "50" if quick else "1"], check=True,
                         stdout=subprocess.PIPE, text=True, env=environment).stdout
    s = {name: (float(ours), float(reference)) for name, ours, reference in map(str.split, out.splitlines())}
    table.add("warm open", *s["warm-open"], "s", 1.5)
    table.add("cold open", *s["cold-open"], "s", 1.05)
    used, wall = s["cold-open-processor"]
    table.add("cold open, own processor time", used, wall, "s", 2, 100 * used / wall, "%")
    ours, lua = s["profile"]
    table.add("profile, its share", ours, lua, "s", 2, (ours - lua) / s["warm-open"][0], "opens")
    table.add("memory", *s["memory-bytes"], "B", 4)
    for name, (ours, reference) in s.items():
        if name.startswith("growth-"):
            _, what, count = name.split("-")
            table.add(f"open among {int(count):,} {what}", ours, reference, "s", 1.3)


def wall(command, environment):
    start = time.perf_counter()
    done = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, env=environment, text=True)
    if done.returncode:
        raise SystemExit(f"bench: {' '.join(map(str, command))} failed:\n{done.stderr}")
    return time.perf_counter() - start


def in_turn(commands, environment, rounds, warm=True):
    """The median wall time of each command, run one after the other, round by round."""
    times = [[] for _ in commands]
    for command in commands if warm else []:
        wall(command, environment)
    for _ in range(rounds):
        for command, taken in zip(commands, times):
            taken.append(wall(command, environment))
    return [statistics.median(taken) for taken in times]


def make_prices(path, bars):
    price, state = 100.0, 12345
    with open(path, "w") as out:
        out.write("time,open,high,low,close,volume\n")
        for i in range(bars):
            values = []
            for _ in range(4):
                state = (state * 1103515245 + 12345) % 2**31
                values.append(state / 2**31)
            start, price = price, price + values[0] - 0.5
            out.write(f"{1_000_000_000 + 60 * i},{start:.4f},{max(start, price) + values[1] / 4:.4f},"
                      f"{min(start, price) - values[2] / 4:.4f},{price:.4f},{1000 + int(values[3] * 1000)}\n")


def plain_script(study, path, prices):
    """The study, the host part and the price file's text as one ES5 script, for engines that know no files."""
    text = (BENCH / "studies" / f"{study}.jsl").read_text().replace("const ", "var ").replace("let ", "var ")
    path.write_text((BENCH / "engines/host.js").read_text() + text
                    + f"\nprint(study({json.dumps(prices.read_text())}));\n")


def process_rows(table, build, environment, folder, quick):
    vexil, rounds = build / "bin/vexil", 1 if quick else 7
    bundled = ROOT / "examples/prices.csv"
    average = ROOT / "examples/moving_average.jsl"
    ours, node = in_turn([[vexil, "run", average, "--format", "csv"],
                          ["node", BENCH / "engines/node.js", average, bundled]], environment, rounds)
    table.add("start, against node", ours, node, "s", 1)

    macro, plain = BENCH / "studies/primes.jsl", folder / "primes.js"
    plain.write_text("const log = console.log;\n" + macro.read_text() + "execute();\n")
    ours, node = in_turn([[vexil, "run", macro], ["node", plain]], environment, rounds)
    table.add("macro, against node", ours, node, "s", 1)

    bars = 20_000 if quick else BARS
    prices = folder / "prices.csv"
    make_prices(prices, bars)
    quickjs = ROOT / "build/quickjs"
    engines = {"duktape": ["duk"], "mujs": ["mujs"]}
    if has_quickjs(quickjs):
        engines["quickjs"] = ["node", BENCH / "engines/quickjs.js", quickjs]
    ratios = {name: [] for name in ("lua", "node", *engines)}
    for study in STUDIES:
        js, lua = (BENCH / "studies" / f"{study}.{kind}" for kind in ("jsl", "lua"))
        plain = folder / f"{study}.js"
        plain_script(study, plain, prices)
        run = lambda script: [vexil, "run", script, "--prices", prices, "--format", "csv"]
        ours, *theirs = in_turn([run(js), run(lua), ["node", BENCH / "engines/node.js", js, prices]], environment, rounds)
        slow = in_turn([[*engine, plain] for engine in engines.values()], environment, 1, warm=False)
        for name, reference in zip(ratios, [*theirs, *slow]):
            ratios[name].append((ours / reference, ours, reference))
            target = {"lua": 1.3, "node": 1}.get(name, 0.1)
            table.add(f"study {study}, against {name}", ours, reference, "s", target)
    for name, found in ratios.items():
        ratio, ours, reference = sorted(found)[len(found) // 2]
        table.add(f"studies, median, against {name}", ours, reference, "s", {"lua": 1.3, "node": 1}.get(name, 0.1), ratio)


def translator_rows(table, build, environment, folder, quick):
    """Whole Java processes, with the options that vexil gives them but for the empty one."""
    jars, classes = build / "share/vexil/scrivel", folder / "classes"
    subprocess.run(["javac", "-d", classes, "-cp", jars / "rhino.jar", BENCH / "engines/Parse.java"], check=True)
    options = ["-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC"]
    archive = f"-XX:SharedArchiveFile={jars}/scrivel.jsa"
    scripts = {}
    for lines in (300, 10_000, 40_000):
        scripts[lines] = folder / f"{lines}.jsl"
        scripts[lines].write_text("".join(f"function f{i}(a, b) {{\n  const c = a * {i} + b;\n  if (c > b && a !== {i}) return c / 2;\n"
                                          f"  return [a, b, c].map(x => x + 1).length;\n}}\n" for i in range(lines // 5)))
    ours = [["java", *options, archive, "-cp", jars / "scrivel.jar", "com.morrow.scrivel.Program", script, folder / "lua", folder / "err"]
            for script in scripts.values()]
    parse = ["java", *options, "-cp", f"{classes}:{jars}/rhino.jar", "Parse", scripts[10_000]]
    short, empty, middle, bare, long = in_turn([ours[0], ["java", "-cp", classes, "Parse"], ours[1], parse, ours[2]],
                                               environment, 1 if quick else 7)
    table.add("translation, 300 lines", short, empty, "s", 4)
    table.add("translation, 10,000 lines", middle, bare, "s", 3)
    table.add("translation, 40,000 lines", long, middle, "s", 4.5)


def has_quickjs(folder):
    """Installs QuickJS in a folder, once; it is no package of the system's, and its rows are left out without it."""
    if (folder / "node_modules/quickjs-emscripten").exists():
        return True
    folder.mkdir(parents=True, exist_ok=True)
    install = subprocess.run(["npm", "install", "--silent", "--no-audit", "--no-fund", "quickjs-emscripten@0.32.0"],
                             cwd=folder, stdout=subprocess.DEVNULL)
    if install.returncode:
        print("npm cannot install QuickJS (see above), so its rows are left out; they need the network once", file=sys.stderr)
    return install.returncode == 0


def main():
    parser = argparse.ArgumentParser(prog="./bench", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--json", metavar="FILE", type=pathlib.Path, help="write the rows as JSON too")
    parser.add_argument("--quick", action="store_true", help="only show that every row still runs; the figures mean little")
    options = parser.parse_args()
    output = options.json.absolute() if options.json else None

    build = ROOT / "build/release"
    shared = pathlib.Path("/dev/shm")
    # In memory where that can be had: a hundred thousand entries keep a disk busy long after they are made.
    folder = pathlib.Path(tempfile.mkdtemp(prefix="vexil-bench-", dir=shared if os.access(shared, os.W_OK) else None))
    try:
        environment = dict(os.environ, VEXIL_CLASSPATH=f"{build}/share/vexil/scrivel/", VEXIL_JS_CACHE=str(folder / "cache"),
                           VEXIL_TEMP_DIR="/tmp")
        table = Table()
        micro_rows(table, micro(build, options.quick))
        script = folder / "study.jsl"
        script.write_text((BENCH / "studies/bollinger.jsl").read_text() + "".join(
            f"\nfunction average{i}(values, period, n) {{\n  let sum = 0;\n  for (let i = 0; i < n; i++) sum += values[period - i];\n"
            f"  return sum / n;\n}}\n" for i in range(45)))
        service_rows(table, build, environment, folder, script, options.quick)
        translator_rows(table, build, environment, folder, options.quick)
        process_rows(table, build, environment, folder, options.quick)
    finally:
        shutil.rmtree(folder)
    print(table.text())
    if output:
        output.write_text(json.dumps(table.rows, indent=1) + "\n")


if __name__ == "__main__":
    main()
