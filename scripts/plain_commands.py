#!/usr/bin/env python3
"""How each file is compiled, without the headers that a build compiles once for many files: the
linter does not read them, and a file has to include what it uses.
usage: plain_commands.py COMPILE_COMMANDS FOLDER"""
import json
import pathlib
import re
import sys

PRECOMPILED = re.compile(r" (-Winvalid-pch|-fpch-preprocess|-include \S*/cmake_pch\.hxx)(?= )")

source, folder = map(pathlib.Path, sys.argv[1:])
commands = json.loads(source.read_text())
for entry in commands:
    entry["command"] = PRECOMPILED.sub("", entry["command"])
folder.mkdir(parents=True, exist_ok=True)
(folder / "compile_commands.json").write_text(json.dumps(commands, indent=1))
