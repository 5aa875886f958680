#!/usr/bin/env python3
"""Holds the includes against the floors of the house. Prints each wrong arrow and exits with 1."""

import pathlib
import re
import sys

BELOW = {
    "app": set(),
    "media": {"app"},
    "secrets": {"app"},
    "scene": {"media", "app"},
    "compositor": {"scene", "media", "app"},
    "output": {"media", "app"},
    "translation": {"scene", "media", "app"},
    "bible": {"app"},
    "studio": {"compositor", "output", "translation", "bible", "secrets", "scene", "media", "app"},
    "ui": {"studio", "compositor", "output", "translation", "bible", "secrets", "scene", "media", "app"},
}
# The process entry is the highest floor, though it stands in the lowest folder.
ENTRY = {"app/main.cpp", "app/studio_application.cpp", "app/studio_application.h"}
WIDGETS = re.compile(
    r"#include <(QApplication|QWidget|QMainWindow|QDialog|QLabel|QPushButton|QtWidgets.*|QMessageBox|Q(H|V)?BoxLayout|QGridLayout|QFormLayout)>"
)
RAW_GST = re.compile(r"\bgst_\w+\s*\(")
GST_ROOMS = {"media", "output"}
GST_FILES = {"app/gst_log_hook.cpp", "app/gst_log_hook.h", "app/main.cpp"}
INCLUDE = re.compile(r'#include "([a-z_]+)/([^"]+)"')


def faults(path: pathlib.Path, root: pathlib.Path):
    name = path.relative_to(root).as_posix()
    room = name.split("/")[0]
    is_entry = name in ENTRY
    allowed = set(BELOW) if is_entry else BELOW[room] | {room}
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        include = INCLUDE.match(line)
        if include:
            if include[1] not in allowed:
                yield f"{name}:{number}: {room} may not include {include[1]}"
            if include[2] == "studio_window.h" and not (is_entry or name.startswith("ui/studio_window")):
                yield f"{name}:{number}: only the window's own files include studio_window.h"
        if WIDGETS.match(line) and room != "ui" and not is_entry:
            yield f"{name}:{number}: a widget below the ui floor"
        code = line.split("//")[0]
        if RAW_GST.search(code) and room not in GST_ROOMS and name not in GST_FILES:
            yield f"{name}:{number}: raw GStreamer call outside media and output"


def main() -> int:
    root = pathlib.Path(__file__).resolve().parent.parent / "src"
    found = [
        fault
        for path in sorted(root.rglob("*"))
        if path.suffix in {".h", ".cpp", ".mm"}
        for fault in faults(path, root)
    ]
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
