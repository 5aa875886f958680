#!/usr/bin/env python3
"""The installed program, from its first start: through the assistant with a key that is stored, bars on
air, ten seconds recorded, the project saved. Leaves its files in ~/studio.

usage: in_bare_tree.py PROGRAM
"""

import os
import pathlib
import subprocess
import sys
import time

from desktop import Desktop, Program, wait_for, x

HOME = pathlib.Path.home() / "studio"


def first_start(studio):
    studio.click("Acepto las condiciones de uso y licencias de terceros")
    studio.click("Siguiente")
    studio.click("API key opcional", role="password text")
    x("type", "sk-test-0000")
    studio.click("Guardar en el almacén seguro de este equipo")
    studio.click("Terminar")
    settings = HOME / "config" / "Halvenmoor" / "NimbaraStudio.conf"
    wait_for("the assistant's end", lambda: "onboarding_complete=true" in settings.read_text())
    secrets = HOME / "data" / "Halvenmoor" / "NimbaraStudio" / "secrets.json"
    wait_for("the stored key", secrets.exists)
    assert secrets.stat().st_mode & 0o077 == 0, "others may read the key"


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
    wait_for("the project", (HOME / "domingo.nimbara").exists)


def main():
    HOME.mkdir(exist_ok=True)
    desktop = Desktop()
    studio = Program(os.path.abspath(sys.argv[1]), home=HOME, onboarded=False)
    try:
        first_start(studio)
        record(studio)
        save_project(studio)
        told = subprocess.run(["grep", "-c", "sk-test-0000", str(studio.log_path)], capture_output=True, text=True)
        assert told.stdout.strip() == "0", "the key is in the log"
    finally:
        studio.close()
        desktop.close()


if __name__ == "__main__":
    main()
