"""The program from end to end: every command, with the real modules, the real translator and Java.

Usage: cli_test.py PROGRAM [unittest arguments]
"""
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = pathlib.Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else None

BARS = [  # time, open, high, low, close, volume
    ("2024-01-01T00:00:00Z", 1, 2, 0.5, 1.5, 10),
    ("2024-01-02T00:00:00Z", 1.5, 3, 1, 2.5, 20),
    ("2024-01-03T00:00:00Z", 2.5, 4, 2, 3.25, 30),
    ("2024-01-04T00:00:00Z", 3.25, 3.5, 1, 1.25, 40),
]
HEADER = "time,open,high,low,close,volume"
PRICES = "\n".join([HEADER] + [",".join(map(str, bar)) for bar in BARS]) + "\n"

AVERAGE = {
    "average.jsl": """\
function indicator(profile) {
  profile.setName("Average");
  profile.parameters.addInteger("N", "Periods", 2, 1, 100);
  profile.parameters.addDouble("SCALE", "Scale", 1, 0.5, 8);
  profile.parameters.addBoolean("OPEN", "Use open", false);
}
let out;
function prepare(instance, nameOnly) { out = instance.addStream("MA", "Average"); }
function update(instance, period, mode) {
  const p = instance.parameters, series = p.OPEN ? instance.source.open : instance.source.close;
  if (period < p.N - 1) return;
  let sum = 0;
  for (let i = 0; i < p.N; i++) sum += series[period - i];
  out[period] = sum / p.N * p.SCALE;
}
""",
    "average.lua": """\
function indicator(profile)
  profile:setName("Average")
  profile.parameters:addInteger("N", "Periods", 2, 1, 100)
  profile.parameters:addDouble("SCALE", "Scale", 1, 0.5, 8)
  profile.parameters:addBoolean("OPEN", "Use open", false)
end
local out
function prepare(instance, nameOnly) out = instance:addStream("MA", "Average") end
function update(instance, period, mode)
  local p = instance.parameters
  local series = p.OPEN and instance.source.open or instance.source.close
  if period < p.N - 1 then return end
  local sum = 0
  for i = 0, p.N - 1 do sum = sum + series[period - i] end
  out[period] = sum / p.N * p.SCALE
end
""",
}

DEEP = {
    "deep.jsl": """\
function indicator(profile) { profile.setName("Deep"); }
function third(values) {
  return values.missing.length;
}
function second(values) {
  const result = third(values);
  return result + 1;
}
function update(instance, period) {
  if (period === 2) {
    const x = second(instance.source);
    instance.x = x;
  }
}
""",
    "deep.lua": """\
function indicator(profile) profile:setName("Deep") end
local function third(values)
  return values.missing.length
end
local function second(values)
  local result = third(values)
  return result + 1
end
function update(instance, period)
  if period == 2 then
    local x = second(instance.source)
    instance.x = x
  end
end
""",
}

STRATEGY = """\
function strategy(profile) { profile.setName("Steps"); }
function update(instance, period) {
  if (period === 0) instance.buy(2);
  if (period === 1) instance.sell(1);
  if (period === 2) instance.sell(3);
  if (period === 3 && instance.position() === -2) instance.buy(1);
}
"""

TOOL = """\
function tool(profile) { profile.setName("Line"); profile.setPointCount(2); }
let points = [];
function creationStarted(instance) { log("started"); }
function click(instance, x, y, time, price) { points.push(time, price); log("click " + x + " " + y); }
function creationFinished(instance) { log("finished"); }
function doubleClick(instance, x, y, time, price) { log("double " + x); }
function drag(instance, x, y, time, price) { log("drag " + x); }
function dragEnd(instance, x, y, time, price) { log("dragEnd " + x); }
function moveStart(instance) { log("moveStart"); }
function move(instance, x, y, time, price) { log("move " + x); }
function moveFinished(instance) { log("moveFinished"); }
function moveReferencePointStart(instance, point) { log("pointStart " + point); }
function moveReferencePoint(instance, x, y, time, price) { log("point " + x); }
function moveReferencePointFinished(instance) { log("pointFinished"); }
function draw(instance, stage, context) {
  if (stage === 1) context.line(points[0], points[1], points[2], points[3], 0xFF8000);
}
"""

MACRO = """\
function macro(profile) { profile.setName("Count"); }
function execute(instance) {
  for (let i = 0; i < 3; i++) log("line " + i);
  if (LATE_FAULT) throw new Error("late");
}
"""


class CliTest(unittest.TestCase):
    """Each test works in a folder of its own; the translation cache is shared to spare Java starts."""

    @classmethod
    def setUpClass(cls):
        cls.cache = tempfile.mkdtemp(prefix="vexil-test-cache-")

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.cache)

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vexil-test-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("prices.csv", PRICES)

    def write(self, name, text):
        (self.folder / name).write_text(text)
        return name

    def variables(self, **environment):
        variables = {key: value for key, value in os.environ.items() if not key.startswith("VEXIL_")}
        return {**variables, "VEXIL_JS_CACHE": self.cache, **environment}

    def vexil(self, *arguments, program=PROGRAM, **environment):
        return subprocess.run([program, *arguments], cwd=self.folder, env=self.variables(**environment),
                              capture_output=True, text=True, timeout=120)

    def run_script(self, script, *arguments, **environment):
        return self.vexil("run", "--prices", "prices.csv", *arguments, script, **environment)

    def assert_fails(self, result, code, *texts):
        for text in texts:
            self.assertIn(text, result.stderr)
        self.assertEqual(result.returncode, code, result.stderr)
        self.assertRegex(result.stderr, r"(?m)^[^\n]+: error: ")

    def assert_succeeds(self, result):
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    # --- indicators

    def test_indicator_in_every_format(self):
        for name, text in AVERAGE.items():
            self.write(name, text)
            rows = self.assert_succeeds(self.run_script(name, "--format", "csv")).splitlines()
            self.assertEqual(rows[0], HEADER + ",MA")
            self.assertEqual([row.split(",")[-1] for row in rows[1:]], ["", "2", "2.875", "2.25"])
            self.assertEqual([row.rsplit(",", 1)[0] for row in rows], PRICES.splitlines())

            document = json.loads(self.assert_succeeds(self.run_script(name, "--format", "json")))
            self.assertEqual([bar["MA"] for bar in document["bars"]], [None, 2, 2.875, 2.25])
            self.assertEqual(document["bars"][2]["close"], 3.25)
            self.assertEqual(document["streams"], [{"id": "MA", "label": "Average"}])

            table = self.assert_succeeds(self.run_script(name)).splitlines()
            self.assertEqual(table[0].split(), HEADER.split(",") + ["MA"])
            self.assertEqual(table[3].split(), ["2024-01-03T00:00:00Z", "2.50", "4.00", "2.00", "3.25", "30", "2.875"])
            self.assertEqual(len({len(line) for line in table}), 1, "columns out of line")

    def test_parameters(self):
        script = self.write("average.jsl", AVERAGE["average.jsl"])
        rows = self.assert_succeeds(self.run_script(script, "--format", "csv", "--set", "N=1", "--set", "SCALE=2.5",
                                                    "--set", "OPEN=true")).splitlines()
        self.assertEqual([row.split(",")[-1] for row in rows[1:]], ["2.5", "3.75", "6.25", "8.125"])
        for setting in ["N=0", "N=101", "N=1.5", "N=", "N=x", "SCALE=9", "SCALE=nan", "OPEN=maybe"]:
            self.assert_fails(self.run_script(script, "--set", setting), 2, "--set " + setting + ": ", " takes ")
        self.assert_fails(self.run_script(script, "--set", "M=1"), 2,
                          'has no parameter "M": it has N (a whole number from 1 to 100), SCALE (a number from 0.5 to 8)'
                          ", OPEN (true or false)")
        self.assert_fails(self.run_script(script, "--set", "N"), 2, "ID=VALUE")

    def test_compiled_loops_keep_to_the_bounds_of_a_replaced_table(self):
        script = self.write("bounds.lua", """
            function indicator(profile) end
            function prepare(instance) kinds = instance:addStream("KINDS") end
            local function sum(count)
              local list, missing, total = NUMBERS, 0, 0
              for i = 1, count do
                local value = list[i]
                if value == nil then missing = missing + 1 else total = total + value end
                if i > 4 then list = { i, i } end
              end
              return total .. ":" .. missing
            end
            function update(instance, period)
              kinds[period] = 0
              for i = 1, 300 do
                if sum(30) ~= "15:25" then kinds[period] = kinds[period] + 1 end
              end
            end""".replace("NUMBERS", "{" + ", ".join(map(str, range(1, 31))) + "}"))
        rows = self.assert_succeeds(self.run_script(script, "--format", "csv")).splitlines()
        self.assertEqual([row.split(",")[-1] for row in rows[1:]], ["0", "0", "0", "0"])

    # --- the other kinds

    def test_strategy_trades_at_closes(self):
        script = self.write("steps.jsl", STRATEGY)
        rows = self.assert_succeeds(self.run_script(script, "--format", "csv")).splitlines()
        self.assertEqual(rows, [
            "time,side,amount,price,position,profit",
            "2024-01-01T00:00:00Z,buy,2,1.5,2,0",
            "2024-01-02T00:00:00Z,sell,1,2.5,1,1",
            "2024-01-03T00:00:00Z,sell,3,3.25,-2,1.75",
            "2024-01-04T00:00:00Z,buy,1,1.25,-1,2",
        ])
        result = json.loads(self.assert_succeeds(self.run_script(script, "--format", "json")))["result"]
        self.assertEqual(result, {"netProfit": 6.75, "openProfit": 2.0, "orders": 4, "trades": 3, "winningTrades": 3,
                                  "position": -1.0})
        self.assertRegex(self.assert_succeeds(self.run_script(script)), r"net profit +6\.75\n")

    def test_nothing_earned_is_no_negative_zero(self):
        script = self.write("even.lua", "function strategy() end\nfunction update(s, n)\n  s:buy(1) s:sell(3) s:buy(1)\nend\n")
        self.write("prices.csv", "time,open,high,low,close\n2024-01-01,1,1,1,1\n")
        for form in ["table", "csv", "json"]:
            self.assertNotRegex(self.assert_succeeds(self.run_script(script, "--format", form)), r"-0\b")

    def test_strategy_orders_must_make_sense(self):
        for amount in ["0", "-1", "0/0", "1/0"]:
            script = self.write("bad.jsl", "function strategy(profile) {}\n\n"
                                f"function update(instance) {{ instance.buy({amount}); }}\n")
            self.assert_fails(self.run_script(script), 1, "bad.jsl:3: error: ", "above 0")

    def test_tool_is_fed_in_the_order_of_the_command_line(self):
        script = self.write("line.jsl", TOOL)
        point = "2024-01-02T00:00:00Z,2.5"
        result = self.run_script(
            script, "--format", "csv", "--click", f"1,9,{point}", "--double-click", f"2,9,{point}", "--click",
            "3,-9,1704240000,3.5", "--drag", f"4,9,{point}", "--drag", f"5,9,{point}", "--move", f"6,9,{point}",
            "--move-point", f"0,7,9,{point}", "--move-point", f"1,8,9,{point}", "--click", f"-10,9,{point}")
        self.assertEqual(result.stderr.splitlines(), [
            "started", "click 1 9", "double 2", "click 3 -9", "finished", "drag 4", "drag 5", "dragEnd 5", "moveStart",
            "move 6", "moveFinished", "pointStart 0", "point 7", "pointFinished", "pointStart 1", "point 8",
            "pointFinished", "click -10 9"])
        self.assertEqual(result.stdout.splitlines(), [
            "shape,time1,price1,time2,price2,color,text",
            "line,2024-01-02T00:00:00Z,2.5,2024-01-03T00:00:00Z,3.5,#FF8000,"])
        for bad in ["1,2,3", "a,2,2024-01-01,1", "1,2,2024-13-01,1", "1,2,2024-01-01,x"]:
            self.assert_fails(self.run_script(script, "--click", bad), 2, "--click " + bad)
        without = self.run_script(script)
        self.assertEqual(without.stderr.splitlines()[-1], "finished")
        self.assertIn("#FF8000", without.stdout)
        moved = self.run_script(script, "--move-point", f"1,8,9,{point}")
        self.assertEqual(moved.stderr, without.stderr + "pointStart 1\npoint 8\npointFinished\n")
        self.assertIn("line.jsl: warning: the tool has 2 points, 1 was clicked: it is not placed\n",
                      self.run_script(script, "--click", f"1,9,{point}").stderr)
        for index in ["2", "-1"]:
            self.assert_fails(self.run_script(script, "--move-point", f"{index},8,9,{point}"), 2,
                              f"--move-point {index}: the tool has 2 points, numbered from 0")

    def test_macro_writes_its_log_and_nothing_else(self):
        script = self.write("count.jsl", MACRO.replace("LATE_FAULT", "log('a\\0b')"))
        self.assertEqual(self.assert_succeeds(self.run_script(script)), "line 0\nline 1\nline 2\na b\n")
        script = self.write("count.jsl", MACRO.replace("LATE_FAULT", "true"))
        result = self.run_script(script)
        self.assertEqual(result.stdout, "line 0\nline 1\nline 2\n")
        self.assert_fails(result, 1, "count.jsl:4: error: ", "late")

    def test_parameters_are_listed_by_name(self):
        ids = ["N", "volume", "B", "a1", "a0", "Z"]
        script = self.write("listed.jsl", "function indicator({ parameters }) {\n" + "".join(
            f"  parameters.addInteger('{each}', 'x', 1);\n" for each in ids) + "}\n"
            "function prepare({ parameters }) { log(Object.keys(parameters)); }\nfunction draw() {}\n")
        self.assertEqual(self.run_script(script).stderr.splitlines()[0], ",".join(sorted(ids)))

    def test_columns_of_prices_are_lists(self):
        script = self.write("lists.jsl", "#!/usr/bin/env vexil\nfunction macro() {}\nfunction execute({ prices }) {\n"
                            "  const { close } = prices, [first] = close;\n  let n = 0;\n"
                            "  for (const c of close) n += c;\n  log(first, n === [...close].reduce((a, c) => a + c));\n"
                            "  for (const i in close) n -= close[i];\n  const { time, ...rest } = prices;\n"
                            "  log(n, Object.keys(rest), `${prices} ${close}`);\n  for (const p of prices.instrument.length) n++;\n}\n")
        result = self.run_script(script)
        self.assertEqual(result.stdout, PRICES.splitlines()[1].split(",")[4] + " true\n"
                         "0 close,high,instrument,low,open,volume [object Object] [object Object]\n")
        self.assert_fails(result, 1, "lists.jsl:11: error: TypeError: prices.instrument.length is not iterable")

    # --- faults of scripts

    def test_what_a_script_hands_to_the_program_is_bounded(self):
        for kind, declaration, handlers in [
            ("indicator", "", "function draw(i, s, context) { for (;;) context.line(1, 2, 3, 4); }"),
            ("tool", "", 'function draw(i, s, context) { const t = "x".repeat(1e7); for (;;) context.text(1, 2, t); }'),
            ("strategy", "", "function update(instance) { for (;;) instance.buy(1); }"),
            ("indicator", "", 'function prepare(instance) { for (let n = 0;; n++) instance.addStream("S" + n); }'),
            ("strategy", "p.parameters.addString('S', 'x'.repeat(1e5), '');", ""),
            ("tool", "for (let n = 0;; n++) p.parameters.addString('S' + n, '', '');", ""),
            ("tool", "p.setPointCount(2147483647);", ""),
        ]:
            script = self.write("endless.jsl", f"function {kind}(p) {{\n\n{declaration} }} {handlers}\n")
            self.assert_fails(self.run_script(script), 1, "endless.jsl:3: error: ")

    def test_runtime_errors_name_every_line(self):
        for name, text in DEEP.items():
            self.write(name, text)
            lines = text.splitlines()
            result = self.run_script(name)
            self.assertEqual(result.stdout, "")
            self.assert_fails(result, 1)
            report = result.stderr.splitlines()
            self.assertRegex(report[0], rf"^{name}:3: error: .*(missing|length)")
            self.assertEqual(report[1].strip(), lines[2].strip())
            self.assertEqual(report[2], "stack traceback:")
            frames = [re.match(rf"\t{name}:(\d+): in ", line) for line in report[3:]]
            self.assertTrue(all(frames), report)
            self.assertEqual([int(frame[1]) for frame in frames], [3, 6, 11])
            # What was edited since it was loaded is not what ran.
            os.utime(self.folder / name, (time.time() + 60, time.time() + 60))
            self.assertEqual(self.run_script(name).stderr.splitlines(), report[:1] + report[2:])

    def test_faults_deep_in_the_library_name_the_line_of_the_call(self):
        for call in ['JSON.parse("[".repeat(60))', "a.flat(Infinity)", "JSON.stringify(b)"]:
            self.write("deep.jsl", 'function macro(p) {}\nfunction execute() {\n  const a = [];\n  a.push(a);\n  let b = {};\n'
                                   "  for (let i = 0; i < 9000; i++) b = {b};\n  %s;\n}\n" % call)
            self.assert_fails(self.run_script("deep.jsl"), 1, "deep.jsl:7: error: ", "deep.jsl:7: in function 'execute'")

    def test_places_in_an_authors_own_words_stay(self):
        words = "in a.jsl: no level at b.jsl:3 (b.jsl:7), c.lua:9"
        self.write("own.jsl", "// moves the lines\n\nfunction macro(p) {}\nfunction execute() {\n  try { null.x; }\n"
                              "  catch (e) {\n    throw new Error('%s; ' + e.stack); }\n}\n" % words)
        self.assert_fails(self.run_script("own.jsl"), 1, "own.jsl:7: error: Error: " + words + "; TypeError: Cannot read",
                          "    at execute (own.jsl:5)\n", "\town.jsl:7: in function 'execute'\n")

    def test_misuse_of_the_host_is_told_in_words_of_javascript(self):
        for body, message in [
            ("s[p] = high - low;", ": TypeError: high is not a number; if it is a series, take one bar"),
            ("if (s > 1) return;", ": TypeError: An object of the host is not a number; if it is a series, take one bar"),
            ("i.addStream();", ": TypeError: addStream: argument 1 must be a string, not undefined"),
            ("s[p] = i.parameters.n;", "script.jsl: warning: the stream 'S' has no value at any bar"),
        ]:
            self.write("script.jsl", "function indicator(p) { p.setName('x'); }\nlet s;\n"
                                     "function prepare(i) { s = i.addStream('S'); }\n"
                                     "function update(i, p) { const {high, low} = i.source; %s }\n" % body)
            self.assertIn(message, self.run_script("script.jsl").stderr)
        script = self.write("idle.jsl", "function indicator(p) {}\nfunction update() {}\n")
        self.assertEqual(self.run_script(script).stderr, "idle.jsl: warning: adds no stream and draws nothing\n")

    def test_check_reports_every_script(self):
        self.write("good.jsl", AVERAGE["average.jsl"])
        self.write("good.lua", AVERAGE["average.lua"])
        self.assertEqual(self.assert_succeeds(self.vexil("check", "good.jsl", "good.lua")), "")
        self.write("bad.jsl", "let a = 1;\nlet b = (;\n")
        self.write("bad.lua", "local a = 1\nlocal b = = 2\n")
        result = self.vexil("check", "bad.jsl", "good.jsl", "bad.lua")
        self.assert_fails(result, 1, "bad.jsl:2: error: ", "bad.lua:2: error: ", "    let b = (;\n", "    local b = = 2\n")
        self.assert_fails(self.vexil("check", "bad.jsl", "none.jsl"), 2, "bad.jsl:2: error: ", "none.jsl: cannot open")
        self.assert_fails(self.vexil("check", self.write("zero.lua", "local a = 1\0\n")), 1, "zero.lua:1: error: ")
        self.assert_fails(self.run_script("bad.jsl"), 1, "bad.jsl:2: error: ")
        result = self.vexil("check", self.write("long.jsl", "let text = '" + "ü" * 5000 + "' (;\n"))
        self.assertRegex(result.stderr, r"error: .*\n    let text = 'ü{1,200}\n$")

    def test_faults_outside_every_function_name_their_line(self):
        text = 'let a = 1;\n\nfunction fail() { throw new RangeError("top"); }\nfail();\nfunction indicator(p) {}\n'
        result = self.run_script(self.write("top.jsl", text))
        self.assert_fails(result, 1, 'top.jsl:3: error: RangeError: top\n    function fail() { throw')
        self.assertEqual([int(line) for line in re.findall(r"top\.jsl:(\d+)", result.stderr) if int(line) > 5], [])
        self.assert_fails(self.run_script(self.write("empty.jsl", "")), 1, "empty.jsl: error: File is empty")
        circle = "function macro() {}\nfunction execute(o) { throw o.self = o; }\n"
        self.assert_fails(self.run_script(self.write("circle.jsl", circle)), 1, "circle.jsl:2: error: [object Object]\n")
        for value, shown in [("'text'", "text"), ("{ code: 1 }", '{"code":1}')]:
            text = f"function macro() {{}}\nfunction fail() {{\n  throw {value};\n}}\nfunction execute() {{\n  try {{\n"
            passed = self.write("passed.jsl", text + "    fail();\n  } finally {\n    log(1);\n  }\n}\n")
            self.assert_fails(self.run_script(passed), 1, f"passed.jsl:3: error: {shown}\n", "passed.jsl:7: in function 'execute'")

    def test_scripts_must_be_of_a_kind(self):
        for name, text in {"none.jsl": "let a = 1;\n", "none.lua": "a = 1\n"}.items():
            self.assert_fails(self.run_script(self.write(name, text)), 1, name + ": error: declares no function named")
        for kind, handler in [("indicator", "update or draw"), ("strategy", "update"), ("tool", "draw"),
                              ("macro", "execute")]:
            idle = self.write("idle.jsl", f"function {kind}(profile) {{}}\nconst update = 1;\nfunction drwa() {{}}\n")
            self.assertIn(f"idle.jsl: warning: has no function named {handler} at", self.run_script(idle).stderr)
        self.assert_fails(self.run_script(self.write("text.txt", "")), 2, ".jsl")
        self.assert_fails(self.run_script("missing.jsl"), 2, "missing.jsl: cannot open: No such file or directory")

    # --- following and translating

    def test_trace_shows_the_lines_of_the_script_only(self):
        for name, text in DEEP.items():
            self.write(name, text)
            lines = text.splitlines()
            result = self.run_script(name, "--trace")
            self.assertEqual(result.returncode, 1)
            seen = []
            for line in result.stderr.split(name + ":3: error:")[0].splitlines():
                match = re.match(rf"(    )?{name}:(\d+): (.*)", line)
                self.assertTrue(match, line)
                self.assertLessEqual(int(match[2]), len(lines))
                if not match[1]:
                    self.assertEqual(match[3], lines[int(match[2]) - 1])
                    seen.append(int(match[2]))
            self.assertEqual([line for line in seen if line in (3, 6, 11)], [11, 6, 3])
            self.assertRegex(result.stderr, rf"(?m)^{name}:3: .*\n    {name}:3: in .*third.*\n    {name}:6: in .*\n"
                                            rf"    {name}:11: in ")
        text = ("function macro(p) {}\nfunction execute() {\n  const a = [2];\n  try {\n    log(1);\n    a\n"
                "      .forEach(v => {\n        log(v);\n      });\n  } catch (e) {}\n}\n")
        result = self.run_script(self.write("try.jsl", text), "--trace")
        self.assertIn("try.jsl:5:     log(1);\n    try.jsl:5: in a function\n    try.jsl:4: in execute\n", result.stderr)
        self.assertIn("\n    try.jsl:8: in a function\n    try.jsl:7: in a function\n    try.jsl:4: in execute\n", result.stderr)
        # Every statement from its first line on; neither a function's end when it is made, nor a catch that catches nothing.
        seen = [int(line) for line in re.findall(r"(?m)^try\.jsl:(\d+)", result.stderr)]
        inside = [line for i, line in enumerate(seen) if line > 2 and line != seen[i - 1]]
        self.assertEqual(inside, [3, 4, 5, 6, 7, 8, 9, 7, 4, 11])

    def test_translate_shows_both_languages(self):
        script = self.write("deep.jsl", DEEP["deep.jsl"])
        text = self.assert_succeeds(self.vexil("translate", script))
        for number, line in enumerate(DEEP["deep.jsl"].splitlines(), 1):
            if re.search(r"\w", line):
                self.assertIn(f"-- deep.jsl:{number}: {line}\n", text)
        self.assertRegex(text, r"(?m)^    3 \| .*missing")
        self.assert_fails(self.vexil("translate", self.write("a.lua", "")), 2, "Lua already")

    # --- prices

    def test_bad_prices_are_refused_with_their_row(self):
        script = self.write("average.lua", AVERAGE["average.lua"])
        good = "2024-01-01,1,2,0.5,1.5,10"
        for rows, message in [
            ("", "no bars"),
            ("2024-01-01,1,2,0.5,x,10", ':2: close "x" is no number'),
            (good + "\n2024-01-02,1,2,0.5,,10", ':3: close "" is no number'),
            (good + "\n2024-01-02,1,2,inf,1,10", ':3: low "inf" is no number'),
            (good + "\n2024-02-30,1,2,0.5,1,10", ':3: time "2024-02-30" is no time'),
            (good + "\n2024-01-02T24:00,1,2,0.5,1,10", ":3: time"),
            (good + "\n\n2024-01-02,1,2,0.5,1,10\n2023-01-02,1,2,0.5,1,10", ":5: time 2023-01-02 is not after"),
            (good + "\n" + good, ":3: time"),
            ("2024-01-01,1,2,3,1.5,10", ":2: high 2 lies below low 3"),
            ("2024-01-01,1,2", ":2: too few columns"),
            (good + ",7", ":2: too many columns"),
            ('2024-01-01,1,2,0.5,1.5,"10', ":2: a quotation mark is not closed"),
        ]:
            self.write("prices.csv", HEADER + "\n" + rows + "\n")
            self.assert_fails(self.run_script(script), 2, "prices.csv", message)
        self.write("prices.csv", "time,open,high,low\n2024-01-01,1,2,3\n")
        self.assert_fails(self.run_script(script), 2, 'prices.csv:1: no column "close"')
        self.write("prices.csv", "")
        self.assert_fails(self.run_script(script), 2, "empty")
        self.assert_fails(self.vexil("run", "--prices", "none.csv", script), 2, "none.csv: No such file", "--prices")
        self.assert_fails(self.vexil("run", "--prices", ".", script), 2, "prices .: Is a directory")
        self.assert_fails(self.vexil("run", "--prices", "/proc/self/mem", script), 2, "mem: Input/output error")

    def test_prices_may_be_written_in_many_ways(self):
        script = self.write("average.lua", AVERAGE["average.lua"])
        self.write("prices.csv", "\ufeffclose, Extra ,Time,LOW,high,Open\r\n1.5,x,1704067200,0.5,2,1\r\n"
                                 '2.5,y,"2024-01-02T01:30:00+01:30",1,3,1.5\r\n3.25,z,2024-01-03 00:00,2,4,2.5')
        rows = self.assert_succeeds(self.run_script(script, "--format", "csv")).splitlines()
        expected = [",".join(map(str, bar[:-1] + (0,))) for bar in BARS[:3]]
        self.assertEqual([row.rsplit(",", 1)[0] for row in rows[1:]], expected)

    # --- Ctrl-C

    def interrupted(self, arguments, begun, signals=(signal.SIGINT,), group=False, **environment):
        """Sends the signals to the program, or to its group, once begun(its process) holds; gives the signal that
        ended it. Nothing may be left behind."""
        temporary = self.folder / "tmp"
        temporary.mkdir(exist_ok=True)
        environment.setdefault("VEXIL_JS_CACHE", self.cache)
        with subprocess.Popen([PROGRAM, *arguments], cwd=self.folder, start_new_session=True, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, text=True, preexec_fn=environment.pop("before", None),
                              env=self.variables(VEXIL_TEMP_DIR=str(temporary), **environment)) as process:
            try:
                self.wait_until(lambda: process.poll() is not None or begun(process))
                for number in signals:
                    (os.killpg if group else os.kill)(process.pid, number)
                self.assertEqual(process.communicate(timeout=20)[1], "")
            finally:
                process.kill()
        self.assertEqual(list(temporary.iterdir()), [])
        cache = pathlib.Path(environment["VEXIL_JS_CACHE"])
        self.assertEqual([path for path in cache.glob("*") if path.is_file()], [])
        return -process.returncode

    def wait_until(self, holds):
        end = time.monotonic() + 60
        while not holds():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)

    def test_ctrl_c_ends_an_endless_loop_of_any_kind(self):
        def computes(process):
            fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rsplit(")", 1)[1].split()
            return int(fields[11]) > 0.5 * os.sysconf("SC_CLK_TCK")  # more than any start takes
        for name, text in {
            "update.jsl": "function indicator(profile) {}\nfunction update(instance) { for (;;) {} }\n",
            "strategy.jsl": "function strategy(profile) {}\nfunction update(instance) { for (;;) {} }\n",
            "draw.jsl": "function tool(profile) {}\nfunction draw(instance) { for (let i = 0;; i++) i *= 2; }\n",
            "macro.jsl": "function macro(profile) {}\nfunction execute(instance) { for (;;) [1].map(x => x); }\n",
            "macro.lua": "function macro(profile) end\nfunction execute(instance) while true do end end\n",
        }.items():
            self.write(name, text)
            self.assert_succeeds(self.vexil("check", name))  # translated, so that only the loop takes time
            with self.subTest(name):
                self.assertEqual(self.interrupted(["run", "--prices", "prices.csv", name], computes), signal.SIGINT)

    def test_ctrl_c_while_translating_leaves_no_java_and_no_file(self):
        programs = self.folder / "bin"
        programs.mkdir()
        (programs / "java").write_text('#!/bin/sh\nsleep 90 &\necho $$ $! >"$STARTED.new"\n'
                                       'mv "$STARTED.new" "$STARTED"\nwait; echo "local a" >"$5"; echo 1 >"$6"\n')
        (programs / "java").chmod(0o755)
        started = self.folder / "started"
        surroundings = {"PATH": f"{programs}:{os.environ['PATH']}", "STARTED": str(started),
                        "VEXIL_JS_CACHE": str(self.folder / "cache")}
        script = self.write("slow.jsl", "function macro(profile) {}\nfunction execute(instance) {}\n")

        def runs(process):
            state = pathlib.Path(f"/proc/{process}/stat")
            return state.exists() and state.read_text().rsplit(")", 1)[1].split()[0] != "Z"
        for command in ["run", "check", "translate"]:
            for number, group in [(signal.SIGINT, False), (signal.SIGINT, True), (signal.SIGTERM, False),
                                  (signal.SIGHUP, True)]:
                with self.subTest(command=command, number=number, group=group):
                    self.assertEqual(self.interrupted([command, script], lambda _: started.exists(), [number], group,
                                                      **surroundings), number)
                    for process in started.read_text().split():
                        self.wait_until(lambda: not runs(process))
                    started.unlink()
        ignoring = {"before": lambda: signal.signal(signal.SIGINT, signal.SIG_IGN)}
        self.assertEqual(self.interrupted(["run", script], lambda _: started.exists(), [signal.SIGINT, signal.SIGTERM],
                                          **surroundings, **ignoring), signal.SIGTERM)

    # --- the machine

    def test_what_the_machine_lacks_is_said(self):
        script = self.write("average.jsl", AVERAGE["average.jsl"])
        fresh = str(self.folder / "cache")
        self.assert_fails(self.run_script(script, VEXIL_JS_CACHE=fresh, PATH="/nonexistent"), 2, "java", "apt-get install")
        self.assert_fails(self.run_script(script, VEXIL_JS_CACHE=fresh, VEXIL_CLASSPATH="/nonexistent/"), 2,
                          "/nonexistent/", "VEXIL_CLASSPATH")
        self.assert_fails(self.run_script(script, VEXIL_JS_CACHE="/dev/null/cache"), 2,
                          "/dev/null/cache cannot be written (Not a directory)", "VEXIL_JS_CACHE")
        self.assert_fails(self.run_script(script, VEXIL_JS_CACHE=str(self.folder / "two words")), 2, "blank")
        self.assert_fails(self.run_script(script, VEXIL_JS_CACHE=fresh, VEXIL_TEMP_DIR="/nonexistent"), 2,
                          "VEXIL_TEMP_DIR")
        for command in ["check", "translate"]:
            self.assert_fails(self.vexil(command, script, VEXIL_JS_CACHE=fresh, PATH="/nonexistent"), 2, "java")
        (self.folder / "java").write_text("#!/bin/sh\nexit 1\n")
        (self.folder / "java").chmod(0o755)
        for command in ["run", "check", "translate"]:
            self.assert_fails(self.vexil(command, script, VEXIL_JS_CACHE=fresh, PATH=str(self.folder)), 2, "java -version")
            (self.folder / "folder.jsl").mkdir(exist_ok=True)
            self.assertEqual(self.vexil(command, "folder.jsl").stderr, "vexil: error: folder.jsl: cannot open: Is a directory\n")

    def test_a_translated_script_needs_no_java_again(self):
        script = self.write("average.jsl", AVERAGE["average.jsl"] + "// " + str(self.folder) + "\n")
        first = self.assert_succeeds(self.run_script(script))
        self.assertEqual(self.assert_succeeds(self.run_script(script, PATH="/nonexistent")), first)

    def test_relative_folders_are_seen_from_the_working_directory(self):
        script = self.write("average.jsl", AVERAGE["average.jsl"])
        (self.folder / "sources").mkdir()
        relative = {"VEXIL_JS_CACHE": "kept/here", "VEXIL_TEMP_DIR": "sources"}
        first = self.assert_succeeds(self.run_script(script, **relative))
        self.assertEqual(self.assert_succeeds(self.run_script(script, PATH="/nonexistent", **relative)), first)
        self.assertEqual(len(list((self.folder / "kept/here").glob("*/ok"))), 1)

    def test_empty_variables_are_unset(self):
        script = self.write("average.jsl", AVERAGE["average.jsl"] + f"// {self.folder}\n")
        empty = {"VEXIL_JS_CACHE": "", "VEXIL_TEMP_DIR": "", "VEXIL_CLASSPATH": "", "HOME": str(self.folder)}
        self.assert_succeeds(self.run_script(script, XDG_CACHE_HOME="", **empty))
        self.assertEqual(len(list((self.folder / ".cache/vexil").glob("*/*/ok"))), 1)

    def test_java_is_found_under_any_name_in_any_locale(self):
        jars = self.folder / "jars of größe"
        jars.symlink_to(PROGRAM.parent.parent / "share/vexil/scrivel")
        for locale in ["C", "C.UTF-8"]:
            script = self.write(f"average {locale} größe.jsl", AVERAGE["average.jsl"] + f"// {self.folder} {locale}\n")
            self.assert_succeeds(self.run_script(script, VEXIL_CLASSPATH=f"'{jars}/'", LC_ALL=locale,
                                                JDK_JAVA_OPTIONS="-Xshare:auto"))

    def test_a_missing_module_is_said(self):
        prefix = self.folder / "prefix"
        (prefix / "bin").mkdir(parents=True)
        (prefix / "lib").mkdir()
        shutil.copy2(PROGRAM, prefix / "bin")
        shutil.copy2(PROGRAM.parent.parent / "lib/libvexil3.so", prefix / "lib")
        for name in AVERAGE:
            script = self.write(name, AVERAGE[name])
            result = self.vexil("run", script, program=prefix / "bin/vexil", LD_LIBRARY_PATH=str(prefix / "lib"))
            self.assert_fails(result, 2, "cannot load the language module libvexil." +
                              ("js" if name.endswith("jsl") else "lua") + ".so")

    def test_a_full_disk_is_said(self):
        script = self.write("average.lua", AVERAGE["average.lua"])
        with open("/dev/full", "w") as full:
            result = subprocess.run([PROGRAM, "run", "--prices", "prices.csv", script], cwd=self.folder, stdout=full,
                                    stderr=subprocess.PIPE, text=True, timeout=60)
        self.assertEqual((result.returncode, result.stderr),
                         (2, "vexil: error: cannot write the output: No space left on device\n"))

    def test_closed_streams_are_nobody_elses(self):
        script = self.write("average.lua", AVERAGE["average.lua"])
        call = [PROGRAM, "run", "--prices", "prices.csv", script]
        for closed, code, message in [("<&-", 0, ""), (">&-", 2, "Bad file descriptor"), ("<&- >&-", 2, "Bad file")]:
            result = subprocess.run(["sh", "-c", f'"$@" {closed}', "sh", *call], cwd=self.folder, capture_output=True,
                                    text=True, timeout=60)
            self.assertEqual(result.returncode, code, closed)
            self.assertIn(message, result.stderr)

    def test_wrong_calls_and_help(self):
        self.write("average.lua", AVERAGE["average.lua"])
        for call, text in [("", "run, check and translate"), ("fly", "no command fly"), ("average.lua", "did you mean: vexil run average.lua"),
                           ("run", "SCRIPT"), ("check", "SCRIPT"),
                           ("run --format 1 a.lua", "table, csv or json"), ("run --price p.csv a.lua", "--price"),
                           ("run a.lua b.lua", "b.lua"), ("run --fly", "--fly"),
                           ("run a.lua --set", "ID=VALUE"), ("run average.lua --click 1,2,3,4", "is no tool")]:
            result = self.vexil(*call.split())
            self.assertEqual(result.returncode, 2, call)
            self.assertIn(text, result.stderr)
        for command in [["--help"], ["run", "--help"], ["check", "--help"], ["translate", "--help"]]:
            self.assertIn("Example:\n  vexil ", self.assert_succeeds(self.vexil(*command)))
        self.assertRegex(self.assert_succeeds(self.vexil("--version")), r"^vexil \d+\.\d+\.\d+\n$")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])
