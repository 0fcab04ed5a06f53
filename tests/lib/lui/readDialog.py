#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Reads a window as a screen reader does, then presses one of its buttons.

    readDialog.py PROGRAM WINDOW BUTTON

Prints role, name and text of every element that is shown. Fails if there is no such window.
"""
import os
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
from desktop import children, walk  # noqa: E402

DEADLINE = time.monotonic() + 20


def is_shown(element):
    return element.get_state_set().contains(Atspi.StateType.SHOWING)


def find_window(program, name):
    while time.monotonic() < DEADLINE:
        for application in children(Atspi.get_desktop(0)):
            if application.get_name() == program:
                for window in children(application):
                    if window.get_name() == name and is_shown(window):
                        return window
        time.sleep(0.05)
    sys.exit(f"no window {name!r} of {program!r}")


def describe(element):
    text = element.get_text_iface()
    content = Atspi.Text.get_text(text, 0, -1) if text else ""
    return f"{element.get_role_name()} {element.get_name()} {content}".rstrip()


def main(program, window, button):
    pressed = None
    for element in walk(find_window(program, window)):
        if is_shown(element):
            print(describe(element))
            if element.get_role_name() == "push button" and element.get_name() == button:
                pressed = element
    if pressed is None:
        sys.exit(f"no button {button!r}")
    pressed.get_action_iface().do_action(0)


main(*sys.argv[1:])
