#!/usr/bin/env python3
"""Every text of the sources that an operator may see has an English twin in the text table.

The texts are found by their look, not by the call around them: a text may reach the operator through
a variable, an error or a table of its own. What looks like words and is not for the operator stands
in texts_without_twin.txt.

The guides quote these texts as they stand.

usage: text_table_test.py SOURCE_FOLDER [unittest arguments]
"""

import pathlib
import re
import sys
import unittest

SOURCES = pathlib.Path()
REQUIRED = pathlib.Path(__file__).with_name("required_texts.tsv")

# By reasons; a text that ends in "…" is a beginning.
WITHOUT_TWIN = pathlib.Path(__file__).with_name("texts_without_twin.txt")
# What the guides quote of elsewhere: the toolkit's buttons, keys, files, the desktop.
QUOTED = {
    *"ES EN Sí Yes Esc F ▲ ▼ NimbaraStudio Vesperline.log Portuguese French".split(),
    *["Contraseñas y claves", "Passwords and Keys"],
}
# The book table holds its own names in both languages; what operators type and a style sheet are not
# shown to them.
WHOLE_FILES = {
    *["bible/books.cpp", "compositor/text/word_widths.cpp", "translation/pipeline/reading_block.cpp", "ui/kit/style.cpp"],
    *[f"bible/{file}.cpp" for file in ["book_forms", "book_names", "named_bible", "reference_tokens", "spoken_books",
                                   "spoken_references", "spoken_words", "osis_books", "usfm_markers", "sqlite_handle", "verse_index",
                                   "verse_symbols"]],
}

TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)|(?P<include>\#include[^\n]*)|'(?:\\.|[^'\\\n])+'"""
    r"""|"(?P<text>(?:\\.|[^"\\\n])*)"|(?P<word>[A-Za-z_]\w*)|(?P<blank>\s+)|.""",
    re.DOTALL,
)
# Two words, a sign of Spanish, or one whole capitalised word.
WORDS = re.compile(r"[^\W\d_]{2,},? [a-zà-ÿ]{2,}|[À-ÿ¿¡]|^\W*[A-ZÀ-Ý][a-zà-ÿ]{2,}(?:\W.*)?$", re.DOTALL)


def texts(source):
    """(call, text) of each string literal; neighbouring literals are one text."""
    call, text = "", None
    calls = []
    for token in TOKEN.finditer(source):
        if token["comment"] or token["include"] or token["blank"]:
            continue
        if token["text"] is not None:
            text = (text or "") + token["text"]
            continue
        if text is not None:
            yield calls[-1] if calls else "", text
            text = None
        sign = token.group()
        if sign == "(":
            calls.append(call)
        elif sign == ")" and calls:
            calls.pop()
        call = token["word"] or ""


def without_twin(source, known):
    return [
        text
        for call, text in texts(source)
        if text not in known and (call == "tr" or WORDS.search(text))
    ]


def twins():
    """The rows of the table, in their order."""
    string = r'((?:\s*"(?:\\.|[^"\\])*")+)'
    table = "".join(path.read_text() for path in sorted((SOURCES / "base").glob("text_table*.cpp")))
    joined = lambda literals: "".join(re.findall(r'"((?:\\.|[^"\\])*)"', literals))
    rows = re.findall(r"TextPair\s*\{" + string + "," + string + r"\s*\}", table)
    return [(joined(spanish), joined(english)) for spanish, english in rows]


class TextTableTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.rows = twins()
        self.twins = dict(self.rows)

    def test_required_texts_are_there(self):
        """The texts that may not be reworded, several in a line, and behind a tab the twins of some."""
        wrong = []
        for text in re.split("[¦\n]", REQUIRED.read_text().rstrip("\n")):
            key, _, twin = text.replace('"', '\\"').partition("\t")
            found = self.twins.get(key)
            if found is None or (twin and found != twin):
                wrong.append((key, found))
        self.assertEqual(wrong, [])

    def test_every_text_has_a_twin(self):
        lines = [line for line in WITHOUT_TWIN.read_text().splitlines() if not line.startswith("# ")]
        listed = [text for text in "¦".join(lines).split("¦") if text]
        whole = {text for text in listed if not text.endswith("…")}
        beginnings = tuple(text[:-1] for text in listed if text.endswith("…"))
        missing, used = [], set()
        for path in sorted(SOURCES.rglob("*.[ch]*")):
            name = path.relative_to(SOURCES).as_posix()
            if name in WHOLE_FILES or name.startswith("base/text_table"):
                continue
            for text in without_twin(path.read_text(), self.twins):
                if text in whole or text.startswith(beginnings):
                    used.add(text)
                else:
                    missing.append(f"{name}: {text!r}")
        self.assertEqual(missing, [], "add the English twins to a file base/text_table_*.cpp")
        unused = [text for text in whole if text not in used]
        unused += [start for start in beginnings if not any(text.startswith(start) for text in used)]
        self.assertEqual(unused, [], "listed, but no longer in the sources or in the table")

    def test_twins_are_english(self):
        spanish = {key: twin for key, twin in self.twins.items() if re.search("[áéíóúñ¿¡]", twin)}
        self.assertEqual(spanish, {})

    def test_twins_keep_their_shape(self):
        """What a caller appends, a line break or a file pattern must survive translation."""
        shape = lambda text: (text.endswith(" "), text.count("\\n"), len(re.findall(r"\*\.[a-z]+", text)))
        wrong = [key for key, twin in self.rows if not twin or shape(key) != shape(twin)]
        self.assertEqual(wrong, [])
        self.assertEqual(len(self.twins), len(self.rows), "a text stands there twice")

    def test_guides_quote_the_interface(self):
        """A text in italics is one of the interface, or its beginning."""
        shown = {"guia.md": [*self.twins, *QUOTED], "guide.md": [*self.twins.values(), *QUOTED]}
        for name, texts in shown.items():
            flat = [" ".join(text.split()).replace('\\"', '"') for text in texts]
            guide = (SOURCES.parent / "docs" / name).read_text()
            quotes = [" ".join(quote.split()) for quote in re.findall(r"(?<!\*)\*([^*]+)\*(?!\*)", guide)]
            self.assertGreater(len(quotes), 50)
            wrong = [q for q in quotes if not any(text.startswith(q.rstrip(" …")) for text in flat)]
            self.assertEqual(wrong, [], name)

    def test_finds_what_it_is_for(self):
        source = """
            // "Un comentario no cuenta"
            #include "scene/una ruta.h"
            constexpr const char *later = "No se pudo "
                "abrir";  /* "tampoco" */
            throw Error(QStringLiteral("Proyecto roto"));
            status(tr("listo"), 'x', "key");
            make("Detener", "Detener");
        """
        self.assertEqual(
            without_twin(source, {"Detener"}), ["No se pudo abrir", "Proyecto roto", "listo"]
        )


if __name__ == "__main__":
    SOURCES = pathlib.Path(sys.argv.pop(1))
    unittest.main()
