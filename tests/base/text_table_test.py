#!/usr/bin/env python3
"""Every text of the sources that an operator may see has an English twin in the text table.

The texts are found by their look, not by the call around them: a text may reach the operator through
a variable, an error or a table of its own. What looks like words and is not for the operator stands
in the lists below.

The guides quote these texts as they stand.

usage: text_table_test.py SOURCE_FOLDER [unittest arguments]
"""

import pathlib
import re
import sys
import unittest

SOURCES = pathlib.Path()
REQUIRED = pathlib.Path(__file__).with_name("required_texts.tsv")

WITHOUT_TWIN = {
    "names": [
        *"Arial Emoji Facebook Halvenmoor Twitch".split(),
        *["Sans Serif", "/../Resources/gstreamer", "/Vesperline.log"],
        "<span style='font-size:24px;font-weight:700'>Ardenvale Vesperline</span>…",
    ],
    "names of languages, sent to the model as they stand": [
        *"Portuguese French German Italian Korean Japanese Russian Arabic Hindi Tagalog Vietnamese".split(),
        *["English", "Spanish", "Swahili", "Chinese (Mandarin)", "Haitian Creole"],
    ],
    "instructions to the model": [
        "Translate this Bible passage faithfully into ",
        ". Return only the translated passage, no commentary.",
        "You are the live interpreter of a Christian church service…",
        " as a human interpreter would…",
        "New text: ",
        "Responde solo: OK",
        "Previous original: ",
        "\\nPrevious translation: ",
        "Prédica cristiana en una iglesia.",
        "Prédica cristiana en una iglesia, pantallas de la sala, transmisión a YouTube y Facebook.",
        "Christian sermon in a church.",
        "Christian sermon in a church, hall screens, livestream to YouTube and Facebook.",
        "Church sermon.",
    ],
    "protocols and formats": [
        *["Authorization", "Content-Type"],
        "Bearer ",
        "Audio/Source",
        "Video/Source",
        "video/x-raw, format=…",
        "video/x-h264, stream-format=avc, alignment=au",
    ],
    "an element's errors and description, in GStreamer's language": [
        "The X11 screen cannot be opened",
        "The X11 screen cannot be read",
        "Captures an X11 screen without holding the server",
        "Source/Video",
        "Nimbara",
    ],
    "the log's own lines": [
        "=== Inicio Vesperline ",
        "GST (%1 repeticiones omitidas de %2)",
        "Abrir cámara índice %1 : %2",
        "Audio: %1 ms recortados, %2 ms alargados, %3 ms de silencio",
        "Cámara creada: ",
        "Cámara reabierta: ",
        "Cámara: no se pudo reabrir: ",
        "Audio: no se pudo reabrir: ",
        "encontrado, se abre",
        "no está conectado",
        "Cámara: primer cuadro recibido. ",
        " primer cuadro caps=",
        " fuente caps=",
        "DIAG frames=…",
        "IA escuchó: ",
        'Salida %1: servidor=%2 clave: %3 caracteres, empieza \\"%4\\"',
    ],
    "both languages in one": ["No hay pantalla gráfica. Inicia sesión en el escritorio…"],
    "for the compiler": ["RGBA bytes are native pixels the other way round"],
}
# What the guides quote of elsewhere: the toolkit's buttons, keys, files, the desktop.
QUOTED = {
    *"ES EN Sí Yes Esc F ▲ ▼ NimbaraStudio Vesperline.log Portuguese French".split(),
    *["Contraseñas y claves", "Passwords and Keys"],
}
# The book table holds its own names in both languages; a style sheet is not read by operators.
WHOLE_FILES = {"base/text_table.cpp", "bible/books.cpp", "ui/kit/style.cpp"}

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
    table = re.findall(
        r'TextPair\s*\{((?:\s*"(?:\\.|[^"\\])*")+),((?:\s*"(?:\\.|[^"\\])*")+)\s*\}',
        (SOURCES / "base" / "text_table.cpp").read_text(),
    )
    return {
        "".join(re.findall(r'"((?:\\.|[^"\\])*)"', spanish)): "".join(re.findall(r'"((?:\\.|[^"\\])*)"', english))
        for spanish, english in table
    }


class TextTableTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.twins = twins()

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
        listed = [text for group in WITHOUT_TWIN.values() for text in group]
        whole = {text for text in listed if not text.endswith("…")}
        beginnings = tuple(text[:-1] for text in listed if text.endswith("…"))
        missing, used = [], set()
        for path in sorted(SOURCES.rglob("*.[ch]*")):
            name = path.relative_to(SOURCES).as_posix()
            if name in WHOLE_FILES:
                continue
            for text in without_twin(path.read_text(), self.twins):
                if text in whole or text.startswith(beginnings):
                    used.add(text)
                else:
                    missing.append(f"{name}: {text!r}")
        self.assertEqual(missing, [], "add the English twins to base/text_table.cpp")
        unused = [text for text in whole if text not in used]
        unused += [start for start in beginnings if not any(text.startswith(start) for text in used)]
        self.assertEqual(unused, [], "listed above, but no longer in the sources or in the table")

    def test_twins_are_english(self):
        spanish = {key: twin for key, twin in self.twins.items() if re.search("[áéíóúñ¿¡]", twin)}
        self.assertEqual(spanish, {})

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
