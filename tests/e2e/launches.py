#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Launches that don't lead to a new editor, and the dialogs that tell why."""
import os
import subprocess
import sys

from check import check, equal, run, step, until
from editor import PROGRAM, TITLE, Launch, Window, titles
from host import TOOLS

AS_USER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../support/as-user")
DATABASE = "/etc/tavrin/networking"
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


def launch_without_tool():
    """In a user namespace where nobody is root, with a display and a session of its own."""
    os.makedirs("/run/empty", exist_ok=True)
    done = subprocess.run([f"{TOOLS}/on-display", AS_USER, f"{TOOLS}/on-bus",
                           os.path.abspath(__file__), "noTool"], check=False)
    equal(0, done.returncode, "the launch by an ordinary user")


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


def no_tool_story():
    expect_warning(Launch(environment={"PATH": "/run/empty"}), NO_TOOL)


run(no_tool_story if sys.argv[1:] == ["noTool"] else story)
