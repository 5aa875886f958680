#!/usr/bin/env python3
"""Makes the two built-in Bibles out of the public-domain modules that Debian ships.

    tools/bible/make_bibles.py            writes resources/bible-*.qz
    tools/bible/make_bibles.py --check    tells whether they still hold what the modules say

Needs mod2imp (libsword-utils) and the modules of sword-text-sparv and sword-text-kjv. Equal modules
and an equal zlib give equal bytes on every run.
"""

import argparse
import json
import pathlib
import re
import struct
import subprocess
import sys
import zlib

RESOURCES = pathlib.Path(__file__).resolve().parents[2] / "resources"

# module, file, id, name, lang, verse slots that the translation leaves empty
BIBLES = [
    ("spaRV1909eb", "bible-es-rv1909.qz", "RV1909", "Reina-Valera 1909", "es", 18),
    ("engKJV2006eb", "bible-en-kjv.qz", "KJV", "King James Version", "en", 0),
]
BOOKS, CHAPTERS, VERSES = 66, 1189, 31102

# Slips of the modules, nearly all of them where a lexicon tag stands in the middle of words.
REPAIRS = {
    ("spaRV1909eb", "II Samuel 11:1"): ("reyes <H4397>á", "reyes á"),
    ("spaRV1909eb", "Nehemiah 5:7"): ("Medité <H3820>lo", "Meditélo"),
    ("spaRV1909eb", "Job 32:2"): ("Bucita,,", "Bucita,"),
    ("spaRV1909eb", "Luke 11:3"): ("dános <G2254>lohoy", "dánoslo hoy"),
    ("spaRV1909eb", "Luke 22:67"): ("dínos <G2254>lo", "dínoslo"),
    ("spaRV1909eb", "Romans 16:20"): ("<G5547>seacon", "sea con"),
}

LEXICON_TAG = re.compile(r" <[GH]\d+>(?!\w)")  # « <H3820>», the number of a Greek or Hebrew word
DIVINE_NAME = "\\nd "  # a style mark that was left in before LORD, GOD and JEHOVAH
PARAGRAPH = "¶"
MARKUP = re.compile(r"[<>{}\\¶|*_#&@=/\d]")


def fail(text):
    sys.exit(f"make_bibles: {text}")


def export(module):
    """The module's entries in canonical order, as (key, raw text)."""
    done = subprocess.run(["mod2imp", module, "-s"], check=True, capture_output=True)
    for entry in re.split(r"^\$\$\$", done.stdout.decode("utf-8"), flags=re.MULTILINE)[1:]:
        key, _, text = entry.partition("\n")
        yield key, text


def clean(module, key, text):
    """A verse as it is read aloud: no mark-up, no paragraph mark, single blanks."""
    if (module, key) in REPAIRS:
        slip, mended = REPAIRS[module, key]
        if slip not in text:
            fail(f"{module} {key} no longer holds the slip to mend")
        text = text.replace(slip, mended)
    text = LEXICON_TAG.sub("", text).replace(DIVINE_NAME, "").replace(PARAGRAPH, " ")
    text = " ".join(text.split())
    if MARKUP.search(text):
        fail(f"{module} {key} holds mark-up: {text}")
    return text


def read_books(module):
    """books[book][chapter][verse]; the headings (chapter or verse 0) are left out."""
    books, last_book = [], None
    for key, raw in export(module):
        place = re.fullmatch(r"(.+) (\d+):(\d+)", key)
        if place is None or "0" in place.groups()[1:]:
            continue
        book, chapter, verse = place[1], int(place[2]), int(place[3])
        if book != last_book:
            books.append([])
            last_book = book
        if verse == 1:
            books[-1].append([])
        if len(books[-1]) != chapter or len(books[-1][-1]) != verse - 1:
            fail(f"{module} {key} is out of order")
        books[-1][-1].append(clean(module, key, raw))
    return books


def check_shape(module, books, empty_slots):
    chapters = [chapter for book in books for chapter in book]
    verses = [verse for chapter in chapters for verse in chapter]
    found = (len(books), len(chapters), len(verses), verses.count(""))
    if found != (BOOKS, CHAPTERS, VERSES, empty_slots):
        fail(f"{module} has {found} books, chapters, verses and empty slots")


def make_json(module, ident, name, lang, empty_slots):
    books = read_books(module)
    check_shape(module, books, empty_slots)
    record = {"id": ident, "name": name, "lang": lang, "books": books}
    return json.dumps(record, ensure_ascii=False, separators=(",", ":")).encode("utf-8")


def pack(data):
    """The form of qCompress: the length as 32 bits, big-endian, and a zlib stream."""
    return struct.pack(">I", len(data)) + zlib.compress(data, 9)


def unpack(packed):
    return zlib.decompress(packed[4:])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true", help="compare only, write nothing")
    parser.add_argument("--out", type=pathlib.Path, default=RESOURCES, help="folder of the files")
    options = parser.parse_args()
    for module, file, *description in BIBLES:
        data = make_json(module, *description)
        path = options.out / file
        if not options.check:
            path.write_bytes(pack(data))
        elif unpack(path.read_bytes()) != data:
            fail(f"{path} does not hold what {module} says")
        print(f"{file}: {path.stat().st_size} bytes, {len(data)} unpacked")


if __name__ == "__main__":
    main()
