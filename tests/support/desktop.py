#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Uses a program's windows as somebody with a screen reader would.

    desktop.py COMMAND ARGUMENTS...

    wait-window TITLE              waits for a window or dialog of that name
    wait-active TITLE              waits until it has the keyboard
    texts TITLE                    prints the texts of its labels, one a line
    rows TITLE                     prints the rows of its list, with tabs between the cells
    select TITLE TEXT              selects the row of its list whose first cell reads TEXT
    press TITLE BUTTON             activates the button of that name, of whatever kind
    focus TITLE BUTTON             gives it the keyboard
    type TITLE LABEL TEXT          types TEXT over what is in the entry that LABEL names or
                                   describes
    key TITLE SYMBOL               presses a key in it, given as X names it: 0xff1b for Escape
    no-window SECONDS              fails if any window appears within that time

Each command waits for what it names, up to a deadline, and fails with status 1.
"""
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

DEADLINE = 20.0
BACKSPACE = 0xFF08  # as X names it; ASCII characters name themselves
BUTTON_ROLES = {Atspi.Role.PUSH_BUTTON, Atspi.Role.TOGGLE_BUTTON, Atspi.Role.RADIO_BUTTON,
                Atspi.Role.CHECK_BOX}
ENTRY_ROLES = {Atspi.Role.TEXT, Atspi.Role.ENTRY}
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


def table(title):
    return until(lambda: next((node for node in walk(window(title)) if node.get_role() in
                               {Atspi.Role.TABLE, Atspi.Role.TREE_TABLE}), None), "a list")


def cells(title):
    grid = table(title)
    interface = grid.get_table_iface()
    for row in range(interface.get_n_rows()):
        yield [interface.get_accessible_at(row, column).get_name()
               for column in range(interface.get_n_columns())]


def rows(title):
    for row in cells(title):
        print("\t".join(row))


def select(title, text):
    def find():
        return next((index for index, row in enumerate(cells(title)) if row[0] == text), None)

    row = until(find, f"row {text!r}")
    table(title).get_table_iface().add_row_selection(row)


def find_button(title, name):
    def find():
        for node in walk(window(title)):
            if node.get_role() in BUTTON_ROLES and node.get_name() == name:
                return node
        return None

    return until(find, f"button {name!r}")


def press(title, name):
    find_button(title, name).get_action_iface().do_action(0)


def focus(title, name):
    find_button(title, name).get_component_iface().grab_focus()


def is_active(title):
    return window(title).get_state_set().contains(Atspi.StateType.ACTIVE)


def wait_active(title):
    until(lambda: is_active(title) or None, f"the keyboard in {title!r}")


def labels(node):
    """What names or describes the node."""
    yield node.get_name()
    yield node.get_description()
    for relation in node.get_relation_set():
        if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY:
            for index in range(relation.get_n_targets()):
                yield relation.get_target(index).get_name()


def content(entry):
    return Atspi.Text.get_text(entry.get_text_iface(), 0, -1)


def has_focus(node):
    return node.get_state_set().contains(Atspi.StateType.FOCUSED)


def key(symbol):
    Atspi.generate_keyboard_event(symbol, None, Atspi.KeySynthType.SYM)


def press_key(title, symbol):
    wait_active(title)
    key(int(symbol, 0))


def type_text(title, label, text):
    entry = until(lambda: next((node for node in walk(window(title)) if node.get_role() in
                                ENTRY_ROLES and label in labels(node)), None), f"entry {label!r}")
    entry.get_component_iface().grab_focus()
    wait_active(title)
    until(lambda: has_focus(entry) or None, f"the keyboard in entry {label!r}")
    if content(entry):
        Atspi.Text.add_selection(entry.get_text_iface(), 0, len(content(entry)))
        key(BACKSPACE)
        until(lambda: content(entry) == "" or None, "an empty entry")
    for character in text:
        key(ord(character))
    until(lambda: content(entry) == text or None, f"{text!r} in entry {label!r}")


def no_window(seconds):
    end = time.monotonic() + float(seconds)
    while time.monotonic() < end:
        for found in windows():
            sys.exit(f"desktop.py: window {found.get_name()!r} appeared")
        time.sleep(0.05)


COMMANDS = {"wait-window": window, "wait-active": wait_active, "texts": texts, "rows": rows,
            "select": select, "press": press, "focus": focus, "type": type_text,
            "key": press_key, "no-window": no_window}

if __name__ == "__main__":
    COMMANDS[sys.argv[1]](*sys.argv[2:])
