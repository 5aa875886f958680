#!/usr/bin/env python3
"""Holds the includes against the floors of the house and the rooms in them, and the tests to their
share of the lines. Prints each fault and exits with 1."""

import pathlib
import re
import sys

# The floors, lowest first: folder → the folders that it may use.
BELOW = {
    "base": set(),
    "net": {"base"},
    "secrets": {"base"},
    "signal": {"base"},
    "document": {"signal", "base"},
    "media": {"signal", "base"},
    "compositor": {"document", "signal", "base"},
    "output": {"media", "signal", "base"},
    "translation": {"signal", "net", "base"},
    "bible": {"net", "base"},
}
BELOW["studio"] = set(BELOW)
BELOW["ui"] = set(BELOW)
BELOW["app"] = set(BELOW)
BESIDE = None
# Rooms in a folder, lowest first; a room uses those before it. Files beside the rooms may use all,
# and are used by what comes after `BESIDE`.
ROOMS = {
    "media": ["gst", "x11", "capture", "sources"],
    "compositor": ["text", "scene"],
    "output": ["mix", "encode", "sink"],
    "translation": ["service", "pipeline"],
    "studio": ["edit", "sources", "programs", "outputs", "services", "projects", BESIDE, "check"],
    "ui": ["kit", "editor", "outputs", "captions", "shell"],
}
# What stands behind an interface: only whoever chooses among such folders includes their files.
PROVIDER = re.compile(r"translation/service/\w+/")
WIDGETS = re.compile(
    r"#include <(QApplication|QWidget|QMainWindow|QDialog|QLabel|QPushButton|QtWidgets.*|QMessageBox|Q(H|V)?BoxLayout|QGridLayout|QFormLayout)>"
)
RAW_GST = re.compile(r"\bgst_\w+\s*\(")
GST_ROOMS = {"media", "output"}
GST_FILES = {"base/gst_log_hook.cpp", "base/gst_log_hook.h", "app/main.cpp"}
# Lines of code: tests of src and tests together, and of the tests what they share.
CODE = {".cpp", ".h", ".mm", ".py", ".sh", ".mjs"}
MOST_TESTS = 0.33
MOST_SUPPORT = 0.12
INCLUDE = re.compile(r'#include "([a-z_]+)/([^"]+)"')


def room_of(name: str):
    parts = name.split("/")
    return parts[1] if len(parts) >= 3 else None


def runs_up(name: str, included: str) -> bool:
    """Whether an include within one folder goes to a higher room; all are above an unknown one."""
    order = ROOMS.get(name.split("/")[0])
    here, there = room_of(name), room_of(included)
    if order is None or here is None:
        return False
    return not {here, there} <= set(order) or order.index(there) > order.index(here)


def reaches_behind(name: str, included: str) -> bool:
    """Whether a file of the translation knows whose services it uses."""
    provider = PROVIDER.match(included)
    return bool(provider) and name.startswith("translation/") and not name.startswith(provider[0])


def faults(path: pathlib.Path, root: pathlib.Path):
    name = path.relative_to(root).as_posix()
    folder = name.split("/")[0]
    allowed = BELOW[folder] | {folder}
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        include = INCLUDE.match(line)
        if include:
            target = f"{include[1]}/{include[2]}"
            if include[1] not in allowed:
                yield f"{name}:{number}: {folder} may not include {include[1]}"
            if include[1] == folder and runs_up(name, target):
                yield f"{name}:{number}: an arrow up to {target}"
            if reaches_behind(name, target):
                yield f"{name}:{number}: knows what stands behind {target}"
            if target.endswith("/studio_window.h") and folder != "app" and "/studio_window" not in name:
                yield f"{name}:{number}: only the window's own files include studio_window.h"
        if WIDGETS.match(line) and folder not in {"ui", "app"}:
            yield f"{name}:{number}: a widget below the ui floor"
        code = line.split("//")[0]
        if RAW_GST.search(code) and folder not in GST_ROOMS and name not in GST_FILES:
            yield f"{name}:{number}: raw GStreamer call outside media and output"


def lines_below(folder: pathlib.Path) -> int:
    return sum(
        len(path.read_text(encoding="utf-8").splitlines())
        for path in folder.rglob("*")
        if path.suffix in CODE
    )


def shares(project: pathlib.Path):
    """The tests catch real faults, each on one level; what grows beyond this repeats itself."""
    tests = lines_below(project / "tests")
    share = tests / (tests + lines_below(project / "src"))
    if share > MOST_TESTS:
        yield f"tests: {share:.1%} of the lines, at most {MOST_TESTS:.0%}"
    support = lines_below(project / "tests/support") / tests
    if support > MOST_SUPPORT:
        yield f"tests/support: {support:.1%} of the tests, at most {MOST_SUPPORT:.0%}"


def main() -> int:
    root = pathlib.Path(__file__).resolve().parent.parent / "src"
    found = [
        fault
        for path in sorted(root.rglob("*"))
        if path.suffix in {".h", ".cpp", ".mm"}
        for fault in faults(path, root)
    ]
    found += shares(root.parent)
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
