"""The scene tab of the shipped program under the hands of an operator who goes on when what was done is seen."""

import json
import pathlib
import tempfile

import gi
from desktop import Atspi, Program, wait_for, x

LAYERS = "Fuentes de la escena (arriba = encima)"
CANVAS = "PREPARACIÓN"
TEXT, LEFT, TOP = "Texto", "Posición X", "Posición Y"
CHANGED = (AttributeError, IndexError, gi.repository.GLib.Error)  # the tree under the walk, or it is gone
ENTRIES = {"image": 2, "text": 3, "color": 7, "verse": 9}  # of the menu "+ Fuente"


def make_home(secrets=None, **settings):
    """A home whose program asks for nothing at its first start."""
    home = pathlib.Path(tempfile.mkdtemp(prefix="studio-home-"))
    lines = [f"{name}={value}" for name, value in settings.items()]
    general = ["[General]", "language=es", "onboarding_complete=true", *lines, "[first_steps]", "closed=true"]
    data = home / ".local/share/Halvenmoor/NimbaraStudio"
    for path, text in ((Program.settings_of(home), "\n".join(general)), (data / "secrets.json", json.dumps(secrets or {}))):
        path.parent.mkdir(parents=True)
        path.write_text(text)
        path.chmod(0o600)
    return home


class Editor:
    """`studio` is a Program that has just started."""

    def __init__(self, studio):
        self.studio = studio
        self.kept = {}
        studio.click("Escena y fuentes", role="page tab")
        self.node("+ Fuente", "push button")

    def node(self, name, role):
        """A control that is there as long as its window."""
        if (name, role) not in self.kept:
            self.kept[name, role] = wait_for(name, lambda: self.studio.find(name, role=role))
        return self.kept[name, role]

    def wait(self, what, condition):
        def met():
            if self.studio.process.poll() is not None:
                raise AssertionError(f"the program is gone before {what}")
            try:
                return condition()
            except CHANGED:
                return None

        return wait_for(what, met)

    def place_of(self, node, across=0.5, down=0.5):
        """In pixels of the screen."""
        box = node.get_extents(Atspi.CoordType.SCREEN)
        return str(int(box.x + box.width * across)), str(int(box.y + box.height * down))

    def click(self, name, role="push button"):
        x("mousemove", *self.place_of(self.node(name, role)), "click", "1")

    # What is seen.

    def listed(self):
        """The layers of the scene, front layer first."""
        nodes = self.node(LAYERS, "list")
        return [nodes.get_child_at_index(place) for place in range(nodes.get_child_count())]

    def number(self, name):
        return Atspi.Value.get_current_value(self.node(name, "spin button"))

    def text(self, name, role="text"):
        return Atspi.Text.get_text(self.node(name, role), 0, -1)

    def has(self, state, name, role):
        return self.node(name, role).get_state_set().contains(state)

    # What is done.

    def choose_source(self, kind):
        shown = self.studio.windows()
        self.click("+ Fuente")
        self.wait("the menu", lambda: self.studio.windows() != shown)
        x("key", *["Down"] * ENTRIES[kind], "Return")

    def add(self, kind):
        before = len(self.listed())
        self.choose_source(kind)
        self.wait("a layer more", lambda: len(self.listed()) == before + 1)

    def write(self, name, text):
        """At the end of what stands there."""
        whole = self.text(name) + text
        self.click(name, "text")
        self.wait(f"the keyboard at {name}", lambda: self.has(Atspi.StateType.FOCUSED, name, "text"))
        x("key", "ctrl+End", "End")  # of a text, of a line
        x("type", "--delay", "40", text)
        self.wait(f"{whole!r} in {name}", lambda: self.text(name) == whole)

    def replace(self, name, text, role="text"):
        """What stands there; it is not taken over yet."""
        self.click(name, role)
        self.wait(f"the keyboard at {name}", lambda: self.has(Atspi.StateType.FOCUSED, name, role))
        x("key", "ctrl+a")
        x("type", "--delay", "20", text)

    def enter(self, name, number):
        self.replace(name, str(number), "spin button")
        x("key", "Return")
        self.wait(f"{number} in {name}", lambda: self.number(name) == number)

    def save(self, path=None):
        """The project, into that file or over the one it is from."""
        studio, told = self.studio, len(self.studio.statuses())
        self.click("Guardar proyecto")
        if path:
            studio.enter_path("Guardar proyecto", path)
        else:
            is_filled = lambda node: Atspi.Text.get_character_count(node) > 0
            self.wait("the file's name", lambda: studio.has_keyboard("Guardar proyecto", "text", is_filled))
            x("key", "Return")
            studio.click("Sí", "&Sí")  # over it
        self.wait("the save", lambda: any("Proyecto guardado" in each for each in studio.statuses()[told:]))

    def open(self, path, *answers):
        """`answers`: to what is asked before."""
        self.click("Abrir proyecto")
        for answer in answers:
            self.studio.click(answer)
        self.studio.enter_path("Abrir proyecto", path)
