#!/usr/bin/env python3
"""Runs `vexil` on random scripts until SECONDS have passed.

Usage: scripts.py PROGRAM SECONDS [SEED [FOLDER]]

They come in turn from four families:
  programs   JavaScript that node runs too: the same output, and an uncaught error of the same name on the same line
  hosts      JavaScript that gives the host's objects whatever it finds
  broken     either of them, damaged
  lua        Lua, whole and damaged

Each script ends with exit code 0 or 1, with an error that names the script for 1, and naming lines of its own only: no
crash, no report of a sanitizer, no trace of Java, no file left. The n-th script is made from SEED + n (by default from
the clock), so that a finding, which is kept in FOLDER, comes again with SECONDS 0 and the seed that is printed with it.
Endless loops, which damage may make, have to end by SIGINT.
"""
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import grammar

FAMILIES = {
    "programs": grammar.program,
    "hosts": grammar.host_script,
    "broken": lambda chance: grammar.damaged(chance, chance.choice([grammar.host_script, grammar.program])(chance)),
    "lua": lambda chance: chance.choice([lambda _, text: text, grammar.damaged])(chance, grammar.lua_script(chance)),
}
FORBIDDEN = ["Sanitizer", "runtime error:", "terminate called", "Exception in thread", "\tat ", "java.lang",
             "com.morrow", "report this script"]
PRICES = "time,open,high,low,close,volume\n" + "".join(
    f"2024-01-0{day},{day},{day + 2},{day - 0.5},{day + 1.25},{day * 10}\n" for day in range(1, 7))
# Prints what the script logs, and the line and the name of what it throws.
NODE = r"""
const text = require("fs").readFileSync(process.argv[1], "utf8");
globalThis.log = (...values) => process.stdout.write(values.join(" ") + "\n");
try {
  require("vm").runInThisContext(text + "\nexecute();", {filename: "programs.jsl"});
} catch (e) {
  process.stderr.write((/programs\.jsl:(\d+)/.exec(e.stack) || "??")[1] + ": error: " + e.name);
  process.exit(1);
}
"""
TIMEOUT = 20


class Fuzzer:
    def __init__(self, program, folder):
        self.program, self.found = pathlib.Path(program).resolve(), pathlib.Path(folder)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vexil-fuzz-"))
        self.temporary, self.cache = self.folder / "tmp", self.folder / "cache"
        self.temporary.mkdir()
        self.cache.mkdir()
        (self.folder / "prices.csv").write_text(PRICES)
        self.variables = {"ASAN_OPTIONS": "intercept_tls_get_addr=0", **os.environ, "VEXIL_JS_CACHE": str(self.cache),
                          "VEXIL_TEMP_DIR": str(self.temporary)}
        self.node = shutil.which("node")
        self.counts = dict.fromkeys([*FAMILIES, "compared with node", "refused or failed", "stopped"], 0)

    def vexil(self, *arguments):
        """The exit code, the output and the messages of a run."""
        process = subprocess.Popen([self.program, *arguments], cwd=self.folder, env=self.variables,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        for end in [signal.SIGINT, signal.SIGKILL]:
            try:
                out, err = process.communicate(timeout=TIMEOUT)
                break
            except subprocess.TimeoutExpired:
                process.send_signal(end)
        else:
            out, err = process.communicate()
        return process.returncode, out.decode("utf-8", "replace"), err.decode("utf-8", "replace")

    def faults(self, name, text, status, err):
        stopped = status == -signal.SIGINT and not name.startswith("programs")
        self.counts["stopped"] += stopped
        self.counts["refused or failed"] += status == 1
        if status not in (0, 1) and not stopped:
            yield f"status {status}"
        yield from (f'"{sign}" in the messages' for sign in FORBIDDEN if sign in err)
        lines = text.count("\n") + 1
        if any(not 1 <= int(line) <= lines for line in re.findall(rf"(?m)^\s*{re.escape(name)}:(\d+):", err)):
            yield f"a line outside the file's {lines}"
        if status == 1 and not re.search(rf"(?m)^{re.escape(name)}(:\d+)?: error: ", err):
            yield "no error that names the script"
        left = [*self.temporary.iterdir(), *(path for path in self.cache.iterdir() if path.is_file())]
        if left:
            yield f"left behind: {left}"

    def differences(self, name, status, out, err):
        self.counts["compared with node"] += 1
        node = subprocess.run([self.node, "-e", NODE, name], cwd=self.folder, capture_output=True, timeout=60)
        expected = node.stdout.decode("utf-8", "replace")
        if out != expected:
            ours, theirs = out.split("\n"), expected.split("\n")
            at = len(os.path.commonprefix([ours, theirs]))
            yield f"line {at + 1} of the output: {ours[at:at + 1]}, with node {theirs[at:at + 1]}"
        if status != node.returncode or (status == 1 and not err.startswith(f"{name}:{node.stderr.decode()}")):
            yield f"status {status}, {err.splitlines()[:1]}, with node {node.returncode}, {node.stderr}"

    def run(self, seed):
        """True without a finding."""
        chance = random.Random(seed)
        family = list(FAMILIES)[seed % len(FAMILIES)]
        name, text = family + (".lua" if family == "lua" else ".jsl"), FAMILIES[family](chance)
        (self.folder / name).write_bytes(text.encode())
        command = ["check"] if family == "broken" and chance.random() < 0.5 else ["run", "--prices", "prices.csv"]
        status, out, err = self.vexil(*command, name)
        self.counts[family] += 1
        found = list(self.faults(name, text, status, err))
        if family == "programs" and self.node and not found:
            found = list(self.differences(name, status, out, err))
        if found:
            kept = self.found / f"scripts-{seed}{pathlib.Path(name).suffix}"
            shutil.copy(self.folder / name, kept)
            print(f"{family}: seed {seed}, kept as {kept}: " + "; ".join(found) + "\n" + err[-2000:], flush=True)
        return not found

    def close(self):
        shutil.rmtree(self.folder)
        return ", ".join(f"{count} {what}" for what, count in self.counts.items() if count)


def main():
    seconds, first = float(sys.argv[2]), int(sys.argv[3]) if len(sys.argv) > 3 else int(time.time())
    fuzzer = Fuzzer(sys.argv[1], sys.argv[4] if len(sys.argv) > 4 else ".")
    end, seed, findings = time.monotonic() + seconds, first, 0
    while seed == first or time.monotonic() < end:
        findings += not fuzzer.run(seed)
        seed += 1
    print(f"scripts: {fuzzer.close()}, {findings or 'no'} finding{'s' * (findings != 1)}, from seed {first}")
    sys.exit(1 if findings else 0)


main()
