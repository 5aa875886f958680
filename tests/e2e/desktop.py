"""A desktop of its own for the shipped program: X server, window manager, session bus, private home.

The program is driven as an operator would: its controls are found through the accessibility bus by
their name, then clicked and typed into with real X events.
"""

import os
import pathlib
import subprocess
import tempfile
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

PATIENCE = 60.0  # seconds that a condition may take on a loaded machine


def wait_for(what, condition, patience=PATIENCE):
    """Returns the first true value of the condition; fails with `what` when it never comes."""
    deadline = time.monotonic() + patience
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.05)
    raise AssertionError(f"never happened: {what}")


class Desktop:
    """An X server with a window manager. Close it at the end."""

    def __init__(self, size="1920x1080x24"):
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", size, "-nolisten", "tcp", "-noreset"],
            pass_fds=[write],
            stderr=subprocess.DEVNULL,
        )
        os.close(write)
        with os.fdopen(read) as told:  # the whole line: the server fails when the pipe goes early
            self.display = ":" + told.readline().strip()
        os.environ["DISPLAY"] = self.display
        self.manager = subprocess.Popen(["openbox"], stderr=subprocess.DEVNULL)
        # The accessibility bus must be there before the program looks for it.
        Atspi.init()
        Atspi.get_desktop(0).get_child_count()

    def close(self):
        self.manager.terminate()
        self.server.terminate()
        self.server.wait()


def x(*words):
    subprocess.run(["xdotool", *words], check=True)


class Program:
    """One run of the shipped program in a home of its own, started there.

    `language` and `onboarded` become its settings; without a language nothing is written before its
    first start. `runtime` is the folder for sockets, the home unless named.
    """

    def __init__(self, executable, language="es", home=None, onboarded=True, debug=None, runtime=None):
        self.home = pathlib.Path(home or tempfile.mkdtemp(prefix="studio-home-"))
        self.settings_path = self.settings_of(self.home)
        if language and not self.settings_path.exists():
            self.settings_path.parent.mkdir(parents=True, exist_ok=True)
            self.settings_path.write_text(
                f"[General]\nlanguage={language}\nonboarding_complete={str(onboarded).lower()}\n"
            )
        data = self.home / ".local" / "share" / "Halvenmoor" / "NimbaraStudio"
        self.log_path, self.keys_path = data / "Vesperline.log", data / "secrets.json"
        environment = {name: value for name, value in os.environ.items() if not name.startswith("XDG_")}
        environment.update(
            HOME=str(self.home),
            XDG_RUNTIME_DIR=str(runtime or self.home),
            QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
        )
        os.chmod(self.home, 0o700)
        errors = subprocess.DEVNULL
        if debug:  # its GStreamer talks as the variable says, and what it says is kept
            self.error_path, self.debug_path = self.home / "stderr.txt", self.home / "gst.txt"
            environment.update(GST_DEBUG=debug, GST_DEBUG_FILE=str(self.debug_path))
            errors = os.open(self.error_path, os.O_WRONLY | os.O_CREAT)
        self.process = subprocess.Popen(
            [os.path.abspath(executable)], cwd=self.home, env=environment, stderr=errors
        )
        self.pid = self.process.pid
        if debug:
            os.close(errors)
        wait_for("the main window", lambda: self.find("AL AIRE  →", "ON AIR  →"))

    @staticmethod
    def settings_of(home):
        return home / ".config" / "Halvenmoor" / "NimbaraStudio.conf"

    # What the program says.

    def log(self):
        return self.log_path.read_text() if self.log_path.exists() else ""

    def statuses(self):
        return [line.split("  UI: ", 1)[1] for line in self.log().splitlines() if "  UI: " in line]

    def wait_status(self, text, patience=PATIENCE):
        return wait_for(
            f"status {text!r}; the log ends {self.log()[-600:]!r}",
            lambda: [status for status in self.statuses() if text in status],
            patience,
        )[-1]

    # Its controls.

    def applications(self):
        """All that run on this desktop, by their process."""
        desktop = Atspi.get_desktop(0)
        children = [desktop.get_child_at_index(index) for index in range(desktop.get_child_count())]
        return {child.get_process_id(): child for child in children if child is not None}

    def application(self):
        return self.applications().get(self.pid)

    def walk(self, node):
        yield node
        for index in range(node.get_child_count()):
            child = node.get_child_at_index(index)
            if child is not None:
                yield from self.walk(child)

    def names(self):
        """Of all that there is; of less when the tree changes under the walk."""
        found = []
        try:
            for node in self.walk(self.application()):
                found.append(node.get_name())
        except (AttributeError, gi.repository.GLib.Error):
            pass
        return found

    def find(self, *names, role=None):
        root = self.application()
        if root is None:
            return None
        try:
            for node in self.walk(root):
                if node.get_name() in names and (role is None or node.get_role_name() == role):
                    if node.get_state_set().contains(Atspi.StateType.SHOWING):
                        return node
        except gi.repository.GLib.Error:  # the tree changed under the walk
            pass
        return None

    def all_named(self, name):
        return [node for node in self.walk(self.application()) if node.get_name() == name]

    def windows(self):
        """Its windows on the screen, menus among them, which are not told on the accessibility bus."""
        words = ["xdotool", "search", "--onlyvisible", "--pid", str(self.pid), ".*"]
        return set(subprocess.run(words, capture_output=True, text=True).stdout.split())

    def click(self, *names, role=None, button="1"):
        node = wait_for(f"control {names}", lambda: self.find(*names, role=role))
        box = node.get_extents(Atspi.CoordType.SCREEN)
        # The toolkit tells places in its own pixels, the X server wants the screen's.
        scale = float(os.environ.get("QT_SCALE_FACTOR", "1"))
        middle = (scale * (box.x + box.width / 2), scale * (box.y + box.height / 2))
        x("mousemove", *(str(int(place)) for place in middle), "click", button)

    def focused(self, node=None, inside=None, within=()):
        """What has the keyboard, if it is, or is inside, a control of one of these names."""
        node = node or self.application()
        inside = inside or node.get_name() in within
        if inside and node.get_state_set().contains(Atspi.StateType.FOCUSED):
            return node
        children = (node.get_child_at_index(index) for index in range(node.get_child_count()))
        found = (self.focused(child, inside, within) for child in children if child is not None)
        return next((child for child in found if child), None)

    def has_keyboard(self, name=None, role="", ready=lambda node: True):
        """Whether what has the keyboard is, or is inside, a control of the name, and is ready."""
        try:
            node = self.focused(inside=name is None, within=[name])
            return node is not None and role in node.get_role_name() and ready(node)
        except (AttributeError, gi.repository.GLib.Error):  # the tree changed under the walk
            return False

    def type_in_focus(self, name, text):
        """In the place of what stands there; returns when it is all there."""
        wait_for(f"the keyboard at {name}", lambda: self.has_keyboard(name, "text"))
        x("key", "ctrl+a")
        x("type", "--delay", "5", text)
        is_there = lambda node: Atspi.Text.get_character_count(node) == len(text)
        wait_for(f"{len(text)} characters in {name}", lambda: self.has_keyboard(name, "text", is_there))

    def type_into(self, name, text, role="text"):
        self.click(name, role=role)
        self.type_in_focus(name, text)

    def enter_path(self, title, path):
        """Types a path into the file dialog of that title and accepts it."""
        self.type_in_focus(title, str(path))
        x("key", "Return")

    def start_recording(self, path):
        self.click("Transmitir y grabar", role="page tab")
        self.click("● Grabar")
        self.enter_path("Grabar Programa", path)
        self.wait_status("Grabando Programa y audio seleccionado.")

    def stop_recording(self):
        self.click("Transmitir y grabar", role="page tab")
        self.click("■ Detener grabación")
        self.wait_status("Grabación guardada correctamente")

    def load_video(self, path):
        self.click("Fuentes y pantallas", role="page tab")
        self.click("Cargar video")
        self.enter_path("Video", path)
        self.wait_status("Video/red preparado")

    def close(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
