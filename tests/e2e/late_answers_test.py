#!/usr/bin/env python3
"""What an answer of the online service may meet when it comes six seconds late: a number that is being typed, the
colour dialog, a warning, another scene, a scene about to be deleted. It goes to its own layer, and nothing is lost.

usage: api_host.sh PEERS late_answers_test.py PROGRAM PEERS [unittest arguments]
"""

import base64
import json
import pathlib
import threading

from case import StudioTest, main
from desktop import Atspi, wait_for, x
from editing import LEFT, TEXT, Editor, make_home
from translation_test import KEY, Api

LATE = 6  # seconds
CITE, COLOR, DELETE = "Cita", "Color del texto", "Eliminar escena"


class LateAnswersTest(StudioTest):
    def setUp(self):
        super().setUp()
        self.api = Api(pathlib.Path(self.tool))
        self.addCleanup(self.api.close)
        self.api.command(do="serve")  # nothing by itself
        self.start(home=make_home(secrets={"openai": KEY}, translation_target="French"))
        self.editor = Editor(self.studio)
        self.asked = 0

    def add_verse(self):
        self.editor.add("verse")
        fields = [node for node in self.studio.all_named(CITE) if node.get_role_name() == "text"]
        place = lambda node: node.get_extents(Atspi.CoordType.SCREEN).x
        self.editor.kept[CITE, "text"] = max(fields, key=place)  # the other one makes a layer of its own

    def ask(self, reference, answer):
        """For the selected layer; the answer comes late."""
        self.editor.replace(CITE, reference)
        x("key", "Return")
        requests = lambda: self.api.of("request", path="/responses")
        self.editor.wait("the question", lambda: len(requests()) > self.asked)
        self.asked += 1
        body = json.dumps({"output": [{"content": [{"type": "output_text", "text": answer}]}]}).encode()
        words = dict(do="answer", id=requests()[-1]["id"], status=200, base64=base64.b64encode(body).decode())
        threading.Timer(LATE, self.api.command, kwargs=words).start()
        self.assertNotIn(answer, self.editor.text(TEXT))

    def wait_answer(self, text):
        self.editor.wait(f"the answer {text!r}", lambda: text in self.editor.text(TEXT))

    def wait_box(self, title, text):
        self.editor.wait(title, lambda: self.studio.find(title) and any(text in name for name in self.studio.names()))

    def type_a_number(self):
        self.ask("Juan 3:16", "Car Dieu a tant")
        self.editor.replace(LEFT, "23", "spin button")
        self.wait_answer("Car Dieu a tant")
        self.assertIn("23", self.editor.text(LEFT, "spin button"))
        self.assertEqual(self.editor.number(LEFT), 8)  # nobody has ended it
        x("key", "Return")
        self.editor.wait("the number", lambda: self.editor.number(LEFT) == 23)

    def choose_a_color(self):
        self.ask("Juan 1:1", "Au commencement")
        self.editor.click(COLOR)
        self.editor.wait("the dialog", lambda: self.studio.find("HTML:", role="text"))
        self.wait_answer("Au commencement")
        self.studio.type_into("HTML:", "#204060")
        self.studio.click("Aceptar")
        self.editor.wait("its end", lambda: not self.studio.find("HTML:", role="text"))

    def go_to_another_scene(self):
        """A warning is open there when the answer comes, and then the question whether the scene may go."""
        self.ask("Salmos 23:1", "Le Seigneur est")
        self.editor.click("Duplicar")
        wait_for("the scene", lambda: self.studio.find("Escena 1 copia", role="combo box"))
        self.add_verse()
        self.ask("Salmos 23:2", "De verts")
        self.editor.replace(CITE, "nada de eso")
        x("key", "Return")
        self.wait_box("Ardenvale Vesperline", "Cita no reconocida")
        told = self.studio.statuses()
        self.editor.wait("the answer to the other scene", lambda: len(self.studio.statuses()) > len(told))
        self.assertNotIn("Le Seigneur", self.editor.text(TEXT))
        self.studio.click("Aceptar")
        self.editor.click(DELETE)
        self.wait_box(DELETE, "Escena 1 copia")
        self.wait_answer("De verts")
        self.studio.click("Sí", "&Sí")
        self.editor.wait("the first scene alone", lambda: self.studio.find("Escena 1", role="combo box"))

    def test_answers_find_their_layer(self):
        self.add_verse()
        self.type_a_number()
        self.choose_a_color()
        self.go_to_another_scene()
        file = self.studio.home / "culto.nimbara"
        self.editor.save(file)
        scenes = json.loads(file.read_bytes())["scenes"]
        self.assertEqual([scene["name"] for scene in scenes], ["Escena 1"])
        verses = [layer for layer in scenes[0]["layers"] if layer["kind"] == "verse"]
        self.assertEqual(len(verses), 1)
        self.assertIn("Le Seigneur est", verses[0]["text"])
        self.assertEqual((verses[0]["x"], verses[0]["color"]), (0.23, "#ff204060"))


if __name__ == "__main__":
    main()
