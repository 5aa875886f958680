#!/usr/bin/env python3
"""The program from its very first start, with nothing in the operator's home: through the assistant with a
key that is stored, bars on air, ten seconds recorded, the project saved. Prints what it said to the operator.

usage: in_bare_tree.py PROGRAM
"""

import os
import pathlib
import sys
import time

from desktop import Desktop, Program, wait_for, x

HOME = pathlib.Path.home()
KEY = "sk-test-0000"


def finished(settings):
    return settings.exists() and "onboarding_complete=true" in settings.read_text()


def first_start(studio):
    studio.click("Acepto las condiciones de uso y licencias de terceros")
    studio.click("Siguiente")
    studio.click("API key opcional", role="password text")
    x("type", KEY)
    studio.click("Guardar en el almacén seguro de este equipo")
    studio.click("Terminar")
    wait_for("the assistant's end", lambda: finished(studio.settings_path))
    wait_for("the stored key", studio.keys_path.exists)
    assert studio.keys_path.stat().st_mode & 0o077 == 0, "others may read the key"


def record(studio):
    studio.click("AL AIRE  →")
    studio.click("Transmitir y grabar", role="page tab")
    studio.click("● Grabar")
    studio.enter_path("Grabar Programa", HOME / "prueba.webm")
    studio.wait_status("Grabando Programa y audio seleccionado.")
    time.sleep(10)
    studio.click("■ Detener grabación")
    studio.wait_status("Grabación guardada correctamente")


def save_project(studio):
    studio.click("Guardar proyecto")
    studio.enter_path("Guardar proyecto", HOME / "domingo.nimbara")
    studio.wait_status("Proyecto guardado/abierto")
    assert (HOME / "domingo.nimbara").exists()


def main():
    desktop = Desktop()
    studio = Program(sys.argv[1], language=None, home=HOME, runtime=os.environ["XDG_RUNTIME_DIR"])
    try:
        first_start(studio)
        record(studio)
        save_project(studio)
        assert KEY not in studio.log(), "the key is in the log"
        print(*studio.statuses(), sep="\n")
    finally:
        studio.close()
        desktop.close()


if __name__ == "__main__":
    main()
