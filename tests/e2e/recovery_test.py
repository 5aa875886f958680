#!/usr/bin/env python3
"""The shipped program is killed in the midst of an editing session, at moments by chance, and started again: it
offers the work, all of it but what was done within the last seconds, and never touches the operator's file unasked.

usage: recovery_test.py PROGRAM MAKE_CLIP [unittest arguments]

NIMBARA_RECOVERY_MOMENTS (3) at which it is killed; NIMBARA_RECOVERY_SEED repeats a run.
"""

import copy
import json
import os
import random
import subprocess
import threading
import time

from case import StudioTest, main
from desktop import Atspi, Program, wait_for, x
from editing import CANVAS, CHANGED, LEFT, TEXT, TOP, Editor, make_home

MOMENTS = int(os.environ.get("NIMBARA_RECOVERY_MOMENTS", "3"))
LONGEST = 12 if MOMENTS > 3 else 7  # seconds of editing
SEED = int(os.environ.get("NIMBARA_RECOVERY_SEED", random.randrange(10_000)))
LOSS = 5  # seconds of work that a crash may take
TITLE, SIZE, BOLD = "Título, versículo o cinta inferior...", "Tamaño", "Negrita"
OFFER, QUESTION = "El programa se cerró sin guardar: ", "¿Recuperar ese trabajo?"
NEW = dict(kind="text", text="Texto nuevo", x=8, y=72, size=56, bold=True, visible=True)
WORDS = "alabadle porque es bueno y para siempre su misericordia".split()
SNAP = 4  # percent that a drag may go astray on its way


def strays(seen, before, after, place="project"):
    """Where it is neither, nor on the way: a text grows letter by letter, and a number by steps."""
    if isinstance(after, dict):
        keys = after.keys()
        return [each for key in keys for each in strays(seen.get(key), before.get(key), after[key], f"{place}.{key}")]
    if isinstance(after, list):
        if len(before) != len(after):
            before = after = after if len(seen) == len(after) else before
        if len(seen) != len(after):
            return [f"{place}: {len(seen)} for {len(after)}"]
        return [each for i in range(len(after)) for each in strays(seen[i], before[i], after[i], f"{place}[{i}]")]
    if isinstance(after, str):
        near = seen.startswith(before) and after.startswith(seen)
    elif after is None or isinstance(after, bool):  # nobody knows yet where a drag leads
        near = after is None or seen in (before, after)
    else:
        slack = 0.06 if before == after else SNAP
        near = min(before, after) - slack <= seen <= max(before, after) + slack
    return [] if near else [f"{place}: {seen} for {before} to {after}"]


def read(text):
    """What of a project file the sessions are about."""
    project = json.loads(text)
    known = lambda layer: {key: layer[key] for key in NEW if key in layer}
    percent = lambda layer: dict(known(layer), x=100 * layer["x"], y=100 * layer["y"])
    scenes = [[percent(layer) for layer in scene["layers"]] for scene in project["scenes"]]
    return dict(title=project["title"], current=project["current"], scenes=scenes)


class Session:
    """An operator's, who notes what the project holds: before an edit what it shall be, and when it is seen.

    Ends when the program is gone.
    """

    def __init__(self, studio, file, state, chance):
        self.editor, self.studio, self.file, self.random = Editor(studio), studio, file, chance
        self.noted = [(time.monotonic(), state)]  # and when it was seen; None: it may be under way
        self.selected = False
        self.steps = []
        self.saved = [file.read_bytes()] if file.exists() else []  # what the file may hold

    # What the project holds.

    def state(self):
        return self.noted[-1][1]

    def note(self, change):
        state = copy.deepcopy(self.state())
        change(state)
        self.noted.append((None, state))

    def seen(self):
        self.noted[-1] = (time.monotonic(), self.state())

    def scene(self, state):
        return state["scenes"][state["current"]]

    def layer(self):
        return self.scene(self.state())[-1]

    def set(self, **values):
        self.note(lambda state: self.scene(state)[-1].update(values))

    # The edits: all of the front layer, which is selected.

    def add(self):
        self.note(lambda state: self.scene(state).append(dict(NEW)))
        self.editor.add("text")
        self.selected = True

    def write(self):
        text = " " + self.random.choice(WORDS)
        self.set(text=self.layer()["text"] + text)
        self.editor.write(TEXT, text)

    def title(self):
        text = " " + self.random.choice(WORDS)
        self.note(lambda state: state.update(title=state["title"] + text))
        self.editor.write(TITLE, text)

    def place(self):
        field, key = self.random.choice([(LEFT, "x"), (TOP, "y")])
        number = self.random.randrange(5, 60)
        self.set(**{key: number})
        self.editor.enter(field, number)

    def drag(self):
        editor, canvas = self.editor, self.editor.node(CANVAS, "filler")
        start = self.layer()
        if not start["visible"]:  # what is behind it would be dragged
            return self.hide()
        self.set(x=None, y=None)
        at = editor.place_of(canvas, *(min(max(start[key] / 100 + 0.08, 0.02), 0.98) for key in "xy"))
        x("mousemove", *at, "mousedown", "1")
        by = [str(self.random.choice([-1, 1]) * self.random.randrange(4, 9)) for _ in "xy"]
        for _ in range(5):
            x("mousemove_relative", "--", *by)
            time.sleep(0.05)
        x("mouseup", "1")
        places = [start]

        def rests():
            places.append(dict(x=editor.number(LEFT), y=editor.number(TOP)))
            time.sleep(0.1)
            return places[-2] == places[-1] != {key: start[key] for key in "xy"}

        editor.wait("the end of the drag", rests)
        self.layer().update(places[-1])

    def enlarge(self):
        self.set(size=self.layer()["size"] + 3)
        self.editor.click(SIZE, "spin button")
        x("key", "--delay", "30", "Up", "Up", "Up")
        self.editor.wait("the size", lambda: self.editor.number(SIZE) == self.layer()["size"])

    def embolden(self):
        bold = not self.layer()["bold"]
        self.set(bold=bold)
        self.editor.click(BOLD, "check box")
        self.editor.wait("the letters", lambda: self.editor.has(Atspi.StateType.CHECKED, BOLD, "check box") == bold)

    def hide(self):
        visible = not self.layer()["visible"]
        self.set(visible=visible)
        box = self.editor.listed()[0].get_extents(Atspi.CoordType.SCREEN)
        x("mousemove", str(box.x + 12), str(box.y + box.height // 2), "click", "1")
        mark = "👁" if visible else "🚫"
        self.editor.wait(mark, lambda: self.editor.listed()[0].get_name().startswith(mark))

    def delete(self):
        self.note(lambda state: self.scene(state).pop())
        before = len(self.editor.listed())
        self.editor.click("Eliminar")
        self.editor.wait("a layer less", lambda: len(self.editor.listed()) == before - 1)
        self.selected = False

    def duplicate(self):
        def change(state):
            state["scenes"].insert(state["current"] + 1, copy.deepcopy(self.scene(state)))
            state["current"] += 1

        self.note(change)
        before = self.studio.find("Escenas", role="list").get_child_count()
        self.editor.click("Duplicar")
        self.editor.wait("the scene", lambda: self.studio.find("Escenas", role="list").get_child_count() > before)
        self.selected = False

    def save(self, path=None):
        self.saved = [*self.saved, self.state()]  # it may be under way
        self.editor.save(path)
        self.saved = [self.file.read_bytes()]

    def edit_until(self, killed):
        """Steps by chance; a new layer where none is selected."""
        often = [self.write, self.write, self.place, self.drag, self.enlarge, self.embolden, self.hide, self.title]
        seldom = [self.add, self.delete, self.duplicate, self.save]
        while not killed.is_set():
            step = self.random.choice(often + seldom) if self.selected else self.add
            try:
                step()
                if step != self.save:
                    self.seen()
                    self.steps.append(step.__name__)
            except (AssertionError, subprocess.CalledProcessError, *CHANGED):
                if not killed.wait(1):  # what has no part in it is a fault
                    raise


class Doomed(Program):
    """One that does not look for its controls for long when it is gone."""

    def find(self, *names, role=None):
        if self.process.poll() is not None:
            raise AssertionError("the program is gone")
        return super().find(*names, role=role)


class RecoveryTest(StudioTest):
    def start_again(self):
        self.studio = studio = Doomed(self.program, home=self.home)
        self.addCleanup(lambda: studio.close())

    def is_file(self, allowed):
        """The operator's file is one of what it may be: bytes, or what it holds."""
        found = self.file.read_bytes()
        return any(found == each or isinstance(each, dict) and not strays(read(found), each, each) for each in allowed)

    def session(self, seconds, state, chance):
        """Returns it when the program was killed."""
        session = Session(self.studio, self.file, state, chance)
        if not self.file.exists():
            session.save(self.file)
        killed = threading.Event()

        def kill():
            self.studio.process.kill()
            self.studio.process.wait()
            session.end = time.monotonic()
            killed.set()

        reaper = threading.Timer(seconds, kill)
        reaper.start()
        try:
            session.edit_until(killed)
        finally:
            reaper.cancel()
        self.assertTrue(self.is_file(session.saved), "the operator's file is not what was saved last")
        return session

    def recover(self, session):
        """Starts the program again; returns the work that it brings."""
        written = self.file.read_bytes()
        stamp = self.file.stat().st_mtime_ns, self.file.stat().st_ino
        left = list((self.studio.log_path.parent / "recovery").glob("*.recovery"))
        self.start_again()
        told = len(self.studio.statuses())
        if left:
            is_offer = lambda text: text.startswith(OFFER + self.file.name) and text.endswith(QUESTION)
            wait_for("the offer", lambda: any(map(is_offer, self.studio.names())))
            self.studio.click("Sí", "&Sí")
            answer = "Trabajo recuperado"
        else:
            Editor(self.studio).open(self.file)
            answer = "Proyecto guardado/abierto"
        wait_for(answer, lambda: any(answer in each for each in self.studio.statuses()[told:]))
        self.assertEqual(written, self.file.read_bytes())
        self.assertEqual(stamp, (self.file.stat().st_mtime_ns, self.file.stat().st_ino), "the file was written unasked")
        if left:
            Editor(self.studio).save()
        return read(self.file.read_bytes())

    def check(self, session, work):
        """It is what was seen last, or less old than what a crash may take."""
        noted = session.noted + [session.noted[-1]]
        states = [state for _, state in noted]
        print("  ", *session.steps)
        wrong = [strays(work, *pair) for pair in zip(states, states[1:])]
        found = [place for place, each in enumerate(wrong) if not each]
        self.assertTrue(found, f"never was so; nearest: {min(reversed(wrong), key=len)}")
        lost = [session.end - when for when, _ in session.noted[max(found) + 1 :] if when]
        print(f"  {len(lost)} of {len(session.steps)} steps lost, {max(lost, default=0):.1f} s old", flush=True)
        self.assertLess(max(lost, default=0), LOSS)

    def test_killed_in_the_midst_of_editing(self):
        print(f"recovery {SEED}: {MOMENTS} moments", flush=True)
        self.home = make_home()
        self.file = self.home / "servicio.nimbara"
        self.start_again()
        state = dict(title="", current=0, scenes=[[dict(kind="camera")]])
        for moment in range(MOMENTS):
            chance = random.Random(f"{SEED} {moment}")
            seconds = chance.uniform(0.5, LONGEST)
            print(f"{moment}: killed after {seconds:.2f} s", flush=True)
            session = self.session(seconds, state, chance)
            state = self.recover(session)
            self.check(session, state)


if __name__ == "__main__":
    main()
