#!/usr/bin/env python3
"""Fails when an #include points up the layers or units include each other in a circle.

The layers, bottom first, are the README's "Layout": a folder may include its own files and the
folders below it. tools/, tests/, fuzz/ and bench/ sit above everything.
"""
import re
import subprocess
import sys

LAYERS = ["include", "base", "asn1", "ca", "config", "ses", "module"]
TOP = {"tools", "tests", "fuzz", "bench"}

files = [f for f in subprocess.check_output(["git", "ls-files"], text=True).split()
         if re.search(r"\.(c|cc|cpp|h|hpp)$", f)]
known = set(files)
problems = []
units = {}  # unit (path without extension) -> units it includes
for f in files:
    folder = f.split("/")[0]
    unit = f.rsplit(".", 1)[0]
    for target in re.findall(r'^\s*#\s*include\s+"([^"]+)"', open(f, errors="replace").read(), re.M):
        if target == "mod_ses.h":
            target = "include/mod_ses.h"
        if target not in known:
            continue
        to = target.split("/")[0]
        if folder in LAYERS and (to in TOP or LAYERS.index(to) > LAYERS.index(folder)):
            problems.append(f"{f}: includes {target}, a layer above {folder}/")
        if folder in LAYERS:
            units.setdefault(unit, set()).add(target.rsplit(".", 1)[0])

# A circle of units: follow the include arrows between units (a .h/.cpp pair is one unit).
state = {}


def visit(unit, path):
    state[unit] = 1
    for nxt in sorted(units.get(unit, ())):
        if nxt == unit:
            continue
        if state.get(nxt) == 1:
            problems.append("units include each other: " + " -> ".join(path[path.index(nxt):] + [nxt]))
        elif nxt not in state:
            visit(nxt, path + [nxt])
    state[unit] = 2


for u in sorted(units):
    if u not in state:
        visit(u, [u])

for p in problems:
    print(p)
sys.exit(1 if problems else 0)
