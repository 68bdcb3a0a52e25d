#!/usr/bin/env python3
"""Checks which folder of the module includes which, and that no file includes itself: includes.py ROOT"""
import pathlib
import re
import sys

MAY_INCLUDE = {
    "lines": {"lines"},
    "translation": {"translation", "language/Resources.h"},
    "files": {"files", "translation", "language/Resources.h"},
    "adapters": {"adapters", "files", "lines"},
    "language": {"language", "adapters", "files", "translation", "lines"},
}

root = pathlib.Path(sys.argv[1])
included = {}
faults = []
for folder, allowed in MAY_INCLUDE.items():
    for path in sorted((root / folder).glob("*.[ch]*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        file = f"{folder}/{path.name}"
        included[file] = re.findall(r'^\s*#\s*include\s*"([^"]+)"', path.read_text(), re.M)
        for other in included[file]:
            if not (root / other).is_file():
                faults.append(f"{file}: {other} does not start at the root")
            elif other not in allowed and other.split("/")[0] not in allowed:
                faults.append(f"{file}: {folder}/ must not include {other}")


def visit(file, way):
    if file in way:
        faults.append("a circle: " + " -> ".join(way[way.index(file):] + [file]))
        return
    for other in included.get(file, []):
        visit(other, way + [file])


for file in included:
    visit(file, [])
print(f"{len(included)} files")
for fault in sorted(set(faults)):
    print(fault)
sys.exit(bool(faults) or len(included) < 40)
