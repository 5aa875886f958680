"""Two operators of the shipped program, one with nothing but a keyboard, one with nothing but a mouse. Both know
the same verbs, and count what they press."""

import subprocess

import gi
from desktop import Atspi, wait_for, x
from gi.repository import GLib

PAGES = ["Escena y fuentes", "Fuentes y pantallas", "Audio", "Transmitir y grabar", "Traducción IA y Biblia"]
TYPED_INTO = ("text", "password text", "spin button")
TAKES = ("AL AIRE  →", "A PANTALLAS  →")


class Hand:
    def __init__(self, studio):
        self.studio = studio
        self.presses = 0

    def beginning(self, *texts, role=None):
        """What is on the screen and has a name that begins so."""
        try:
            for node in self.studio.walk(self.studio.application()):
                if node.get_name().startswith(texts) and (role is None or node.get_role_name() == role):
                    if node.get_state_set().contains(Atspi.StateType.SHOWING):
                        return node
        except (AttributeError, gi.repository.GLib.Error):  # the tree changed under the walk
            pass
        return None

    def close(self):
        pass


class Keyboard(Hand):
    """Goes on by Tab, as far as there is no shortcut."""

    def __init__(self, studio):
        super().__init__(studio)
        self.name = self.role = ""  # of what has the keyboard
        self.moved = False
        self.listener = Atspi.EventListener.new(self.follow)
        self.listener.register("object:state-changed:focused")

    def close(self):
        self.listener.deregister("object:state-changed:focused")

    def follow(self, event, *_):
        try:
            source = event.source
            if event.detail1 and source.get_process_id() == self.studio.pid:
                is_entry = source.get_role_name() == "list item"
                owner = source.get_parent() if is_entry else source
                if owner.get_state_set().contains(Atspi.StateType.FOCUSED):
                    self.name, self.role = source.get_name(), source.get_role_name()
                    self.moved = True
        except gi.repository.GLib.Error:  # it is gone already
            pass

    def has_moved(self):
        while GLib.MainContext.default().iteration(False):
            pass
        return self.moved

    def key(self, *keys):
        self.presses += sum(1 + key.count("+") for key in keys)
        x("key", *keys)

    def tab(self):
        self.has_moved()
        self.moved = False
        for _ in range(3):
            self.key("Tab")
            try:
                return wait_for(f"the focus beyond {self.name!r}", self.has_moved, 5)
            except AssertionError as error:
                silence = error
        raise silence

    def reach(self, *names, role=None):
        for _ in range(150):
            self.has_moved()
            if (not names or self.name.startswith(names)) and role in (None, self.role):
                return
            self.tab()
        raise AssertionError(f"Tab does not lead to {names} {role}")

    def shortcut(self, *keys):
        """Where it is no letter of a text."""
        while self.is_typing():
            self.tab()
        self.key(*keys)

    def is_typing(self):
        """What has the keyboard may be another than what told so last: lists tell of their entries at any time."""
        for node in self.studio.walk(self.studio.application()):
            if node.get_role_name() in TYPED_INTO and node.get_state_set().contains(Atspi.StateType.FOCUSED):
                return True
        return False

    # The verbs.

    def press(self, *names, role="push button"):
        self.reach(*names, role=role)
        self.key("Return")

    def tick(self, name):
        self.press(name, role="check box")

    def page(self, name):
        self.key(f"ctrl+{PAGES.index(name) + 1}")

    def choose(self, now, entry):
        self.reach(now, role="combo box")
        for _ in range(9):
            if self.studio.find(entry, role="combo box"):
                return
            self.key("Down")
            wait_for(f"another one than {now}", lambda: self.studio.find(now, role="combo box") is None)
        raise AssertionError(f"no {entry}")

    def write(self, field, text, role="text"):
        self.reach(field, role=role)
        self.presses += len(text)
        x("type", "--delay", "10", text)

    def look_up(self, _done):
        self.key("Return")

    def open_file(self, title, path):
        self.presses += len(str(path)) + 2
        self.studio.type_in_focus(title, str(path))
        self.key("Tab", "Return")  # the list of what may be meant opens at any time, and takes keys

    def save_file(self, title):
        wait_for(title, lambda: self.studio.focused(within=[title]))
        self.key("Return")

    def scene(self, number):
        self.shortcut(str(number))

    def take(self):
        self.shortcut("space")

    def page_on(self):
        self.shortcut("Next")

    def page_back(self):
        self.shortcut("Prior")

    def undo(self):
        self.shortcut("ctrl+z")

    def toggle_front_layer(self):
        self.reach("👁", "🚫", "Fuentes de la escena")  # an entry of the list, or the list
        self.key("Home", "ctrl+h")


class Mouse(Hand):
    """Clicks. Words come from another window, where they are selected, by the middle button."""

    def __init__(self, studio, primary_text):
        super().__init__(studio)
        self.primary_text, self.holder = primary_text, None

    def close(self):
        if self.holder:
            self.holder.kill()
            self.holder.wait()
            self.holder.stdout.close()

    def click(self, *names, **words):
        self.presses += 1
        self.studio.click(*names, **words)

    def hold(self, text):
        self.close()
        self.holder = subprocess.Popen([self.primary_text, text], stdout=subprocess.PIPE, text=True)
        self.holder.stdout.readline()

    def click_at(self, node, across=None):
        """`across`: pixels from its left; none: the middle."""
        box = node.get_extents(Atspi.CoordType.SCREEN)
        self.presses += 1
        left = box.x + (box.width // 2 if across is None else across)
        x("mousemove", str(left), str(box.y + box.height // 2), "click", "1")

    # The verbs.

    def press(self, *names, role="push button"):
        self.click(*names, role=role)

    def tick(self, name):
        self.click(name, role="check box")

    def page(self, name):
        self.click(name, role="page tab")

    def choose(self, now, entry):
        opened = wait_for(f"the list at {now}", lambda: self.studio.find(now, role="combo box"))
        self.click_at(opened)
        named = lambda: next((node for node in self.studio.walk(opened) if node.get_name() == entry), None)
        self.click_at(wait_for(entry, named))

    def write(self, field, text, role="text"):
        there = Atspi.Text.get_text(wait_for(field, lambda: self.studio.find(field, role=role)), 0, -1)
        self.hold(text.removeprefix(there))
        self.click(field, role=role, button="2")

    def look_up(self, done):
        """A list of what was found may open meanwhile, which a first click closes."""
        self.click("Mostrar versículo", role="push button")
        try:
            wait_for("the verse", done, 5)
        except AssertionError:
            self.click("Mostrar versículo", role="push button")

    def open_file(self, title, path):
        self.click(path.name)
        self.click("Abrir", "&Abrir", role="push button")

    def save_file(self, title):
        self.click("Guardar", "&Guardar", role="push button")

    def scene(self, number):
        self.click_at(wait_for(f"tile {number}", lambda: self.beginning(f"{number}  ", role="list item")))

    def take(self):
        self.click(*TAKES)

    def page_on(self):
        self.click("Página o versículo siguiente", role="push button")

    def page_back(self):
        self.click("Página o versículo anterior", role="push button")

    def undo(self):
        self.click_at(wait_for("undo", lambda: self.beginning("Deshacer", role="push button")))

    def toggle_front_layer(self):
        self.click_at(wait_for("the list", lambda: self.beginning("👁", "🚫", role="list item")), across=12)
