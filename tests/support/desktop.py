#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Uses a program's windows as somebody with a screen reader would.

    desktop.py COMMAND ARGUMENTS...

    wait-window TITLE              waits for a window or dialog of that name
    texts TITLE                    prints the texts of its labels, one a line
    press TITLE BUTTON             activates the button of that name
    no-window SECONDS              fails if any window appears within that time

Each command waits for what it names, up to a deadline, and fails with status 1.
"""
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

DEADLINE = 20.0
WINDOW_ROLES = {Atspi.Role.FRAME, Atspi.Role.DIALOG, Atspi.Role.ALERT, Atspi.Role.WINDOW}


def children(node):
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child is not None:
            yield child


def walk(node):
    yield node
    for child in children(node):
        yield from walk(child)


def windows():
    # An application may leave the bus at any moment.
    for application in children(Atspi.get_desktop(0)):
        try:
            for window in children(application):
                if window.get_role() in WINDOW_ROLES:
                    yield window
        except gi.repository.GLib.Error:
            continue


def until(find, what):
    end = time.monotonic() + DEADLINE
    while time.monotonic() < end:
        try:
            found = find()
        except gi.repository.GLib.Error:
            found = None
        if found is not None:
            return found
        time.sleep(0.05)
    sys.exit(f"desktop.py: {what} didn't appear; windows: {[w.get_name() for w in windows()]}")


def window(title):
    return until(lambda: next((w for w in windows() if w.get_name() == title), None),
                 f"window {title!r}")


def texts(title):
    for node in walk(window(title)):
        if node.get_role() == Atspi.Role.LABEL:
            text = node.get_text_iface() if hasattr(node, "get_text_iface") else node
            print(Atspi.Text.get_text(text, 0, -1))


def press(title, name):
    def find():
        for node in walk(window(title)):
            if node.get_role() == Atspi.Role.PUSH_BUTTON and node.get_name() == name:
                return node
        return None

    button = until(find, f"button {name!r}")
    button.get_action_iface().do_action(0)


def no_window(seconds):
    end = time.monotonic() + float(seconds)
    while time.monotonic() < end:
        for found in windows():
            sys.exit(f"desktop.py: window {found.get_name()!r} appeared")
        time.sleep(0.05)


COMMANDS = {"wait-window": window, "texts": texts, "press": press, "no-window": no_window}

if __name__ == "__main__":
    COMMANDS[sys.argv[1]](*sys.argv[2:])
