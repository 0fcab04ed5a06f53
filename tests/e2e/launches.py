#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Launches that don't lead to a new editor, and the dialogs that tell why."""
import os
import re
import subprocess
import sys

from check import DEADLINE, check, equal, run, step, until
from editor import BUILD, PROGRAM, TITLE, Launch, Window, titles
from gi.repository import Gio, GLib
from host import TOOLS, command_lines

AS_USER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../support/as-user")
DATABASE = "/etc/tavrin/networking"
NAME = "org.tavrin.NetCfg"
NO_TOOL = ("tavrin-netcfg needs pkexec or gnomesu to obtain root previlege. Please install pkexec or "
           "gnomesu first, and then launch tavrin-netcfg again")
MISSING = ("Fail\nNetwork configuration is missing. Ensure that /etc/tavrin/networking exists.")
UNSUPPORTED = ("Fail\nNetwork configuration format is unsupported. Ensure that "
               "/etc/tavrin/networking contains valid data.")


def expect_warning(launch, text):
    """One window with this text alone; it ends the program."""
    window = Window(PROGRAM)
    equal([text], [found for found in window.texts() if found], "the dialog's text")
    equal([PROGRAM], titles(), "the windows")
    launch.dismiss()
    launch.expect_no_server()
    until(lambda: not titles(), "the dialog closes")


def launch_twice():
    first = Launch()
    editor = first.window()
    editor.press("Add Network...")
    adding = Window("Add Virtual Network")
    adding.focus("Cancel")
    until(adding.is_active, "the dialog has the keyboard")

    second = Launch()
    second.wait(0)
    second.expect_no_server()
    until(editor.is_active, "the first window comes to the front")
    equal(["Add Virtual Network", TITLE], titles(), "the windows")
    adding.press("Cancel")
    first.save()
    until(lambda: not titles(), "the window closes")


def run_apart(story_name, *wrappers, environment=None):
    """Another story of this file, with a display and a session of its own."""
    done = subprocess.run([f"{TOOLS}/on-display", *wrappers, f"{TOOLS}/on-bus",
                           os.path.abspath(__file__), story_name],
                          env={**os.environ, **(environment or {})}, check=False)
    equal(0, done.returncode, f"the story {story_name}")


def launch_without_tool():
    """In a user namespace where nobody is root."""
    os.makedirs("/run/empty", exist_ok=True)
    run_apart("noTool", AS_USER)


def launch_by_bus():
    """On a bus that knows our service file, but for the program's place."""
    with open(f"{BUILD}/data/desktop/{NAME}.service") as file:
        service = re.sub(r"(?m)^Exec=.*/", f"Exec={os.path.realpath(BUILD)}/", file.read())
    os.makedirs("/run/data/dbus-1/services")
    with open(f"/run/data/dbus-1/services/{NAME}.service", "w") as file:
        file.write(service)
    run_apart("byBus", environment={"XDG_DATA_HOME": "/run/data"})


def read_database():
    with open(DATABASE, "rb") as file:
        return file.read()


def launch_with_database(content, text):
    """Whatever it is, it is left as it is."""
    with open(DATABASE, "wb") as file:
        file.write(content)
    expect_warning(Launch(), text)
    equal(content, read_database(), "the database")


def launch_without_database():
    os.remove(DATABASE)
    expect_warning(Launch(), MISSING)
    check(not os.path.exists(DATABASE), "the launch made a database")


def story():
    step("a second launch ends, and brings the window of the first to the front")
    launch_twice()
    step("a desktop starts it by its name on the bus, and brings its window to the front")
    launch_by_bus()
    step("a launch without any elevation tool says which are needed")
    launch_without_tool()
    good = read_database()
    step("a launch with a newer database says that it can't be read")
    launch_with_database(good.replace(b"version=1", b"version=2"), UNSUPPORTED)
    step("a launch with an unreadable one says the same")
    launch_with_database(good + b"\xff\xfe\n", UNSUPPORTED)
    launch_with_database(b"", UNSUPPORTED)
    launch_with_database(b"neither key nor group\n", UNSUPPORTED)
    step("a launch without one says that it is missing")
    launch_without_database()
    step("with the good one again, the editor opens")
    with open(DATABASE, "wb") as file:
        file.write(good)
    launch = Launch()
    equal(["tvnet0", "tvnet1", "tvnet8"], [row[0] for row in launch.window().rows()],
          "the networks")
    launch.cancel()
    equal(good, read_database(), "the database")


def activate():
    """As a desktop starts what its menu shows."""
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    bus.call_sync(NAME, f"/{NAME.replace('.', '/')}", "org.freedesktop.Application", "Activate",
                  GLib.Variant("(a{sv})", ({},)), None, Gio.DBusCallFlags.NONE,
                  int(DEADLINE * 1000))


def is_running():
    return any(words[0].endswith(f"/{PROGRAM}") for _, words in command_lines() if words)


def by_bus_story():
    activate()
    editor = Window(TITLE)
    editor.press("Add Network...")
    adding = Window("Add Virtual Network")
    adding.focus("Cancel")
    until(adding.is_active, "the dialog has the keyboard")
    activate()
    until(editor.is_active, "the window comes to the front")
    equal(["Add Virtual Network", TITLE], titles(), "the windows")
    adding.press("Cancel")
    editor.press("Cancel")
    until(lambda: not is_running(), "client and server end")


def no_tool_story():
    expect_warning(Launch(environment={"PATH": "/run/empty"}), NO_TOOL)


run({"noTool": no_tool_story, "byBus": by_bus_story}[sys.argv[1]] if sys.argv[1:] else story)
