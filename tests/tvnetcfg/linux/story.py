# SPDX-License-Identifier: GPL-2.0-or-later
"""The whole program, client, server and a recording library, for stories that use it through the
accessibility bus and the keyboard.

A story runs on a desktop of its own and with an /etc/tavrin of its own:

    with-desktop in-private-etc python3 STORY BUILD_FOLDER
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import warnings

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "support"))
warnings.simplefilter("ignore", DeprecationWarning)
try:
    import desktop
    from desktop import Atspi
except (ImportError, ValueError):
    print("python3-gi or gir1.2-atspi-2.0 is missing")
    sys.exit(77)

from xInput import PATIENCE, Keyboard  # noqa: E402

EDITOR = "Tavrin Network Editor"
ADD = "Add Virtual Network"
BRIDGES = "Automatic Bridging Settings"
NAT = "NAT Settings"
PORT = "Map Incoming Port"
ERROR = "Error"
CONTENTS = "Virtual Networks"  # of the help

BRIDGED_TYPE = "Bridged (connect VMs directly to the external network)"
NAT_TYPE = "NAT (share host's IP address with VMs)"
HOST_ONLY_TYPE = "Host-only (connect VMs internally in a private network)"
DHCP = "Use local DHCP service to distribute IP addresses to VMs"
MTU = "MTU value must be between 68 and 9194"
BAR = "\u2015"

# On a busy machine a program may take its time to answer.
Atspi.set_timeout(int(PATIENCE * 1000), int(PATIENCE * 1000))
Gone = desktop.gi.repository.GLib.Error

BUILD = pathlib.Path(sys.argv[1]).resolve()

# Stands in for the tool that asks for a password.
ELEVATION_TOOL = """#!/bin/sh
echo elevated >>"$HOME/elevated"
exec "$@"
"""
# Stands in for the desktop's viewer of help pages.
VIEWER = """#!/bin/sh
printf '%s' "$1" >"$HOME/part"
mv "$HOME/part" "$HOME/viewed"
"""

FOCUSABLE_ROLES = desktop.BUTTON_ROLES | desktop.ENTRY_ROLES | {
    Atspi.Role.SPIN_BUTTON, Atspi.Role.COMBO_BOX, Atspi.Role.TABLE, Atspi.Role.TREE_TABLE}


def until(find, what):
    """The first true value that find gives."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        try:
            found = find()
        except Gone:  # while it was being read
            found = None
        if found:
            return found
        time.sleep(0.01)
    titles = [one.get_name() for one in desktop.windows()]
    raise AssertionError(f"waited in vain for {what}; windows: {titles}")


def has(node, state):
    return node.get_state_set().contains(state)


def is_shown(node):
    return has(node, Atspi.StateType.SHOWING)


def is_sensitive(node):
    return has(node, Atspi.StateType.SENSITIVE)


def is_checked(node):
    return has(node, Atspi.StateType.CHECKED)


def is_focused(node):
    return has(node, Atspi.StateType.FOCUSED)


def read(node):
    """The text of an entry, a number or a label."""
    return Atspi.Text.get_text(node, 0, -1)


def name(node):
    """What names a control, or else describes it."""
    own, description, *others = desktop.labels(node)
    return next((text for text in (own, *others, description) if text), "")


class Window:
    """A window of the program by its title, and what a user finds in it."""

    def __init__(self, title):
        self.title = title

    def look(self):
        """The window's element; None while it isn't there."""
        return next((one for one in desktop.windows()
                     if one.get_name() == self.title and is_shown(one)), None)

    def node(self):
        return until(self.look, f"window {self.title!r}")

    def is_open(self):
        return self.look() is not None

    def wait_until_gone(self):
        until(lambda: self.look() is None, f"the end of window {self.title!r}")

    def is_active(self):
        return has(self.node(), Atspi.StateType.ACTIVE)

    def wait_until_active(self):
        until(self.is_active, f"the keyboard in {self.title!r}")

    def all(self, roles):
        return [one for one in desktop.walk(self.node()) if one.get_role() in roles
                and is_shown(one)]

    def first(self, roles):
        return until(lambda: next(iter(self.all(roles)), None), f"{roles} in {self.title!r}")

    def get(self, label, roles):
        return until(lambda: next((one for one in self.all(roles) if label in
                                   desktop.labels(one)), None), f"{label!r} in {self.title!r}")

    def button(self, label):
        return self.get(label, desktop.BUTTON_ROLES)

    def entry(self, label):
        return self.get(label, desktop.ENTRY_ROLES | {Atspi.Role.SPIN_BUTTON})

    def can_press(self, label):
        return is_sensitive(self.button(label))

    def press(self, label):
        """Presses a button of any kind as a screen reader does."""
        assert self.can_press(label), f"{label!r} can't be pressed"
        try:
            self.button(label).get_action_iface().do_action(0)
        except Gone:
            pass  # The program may have ended by it.

    def is_on(self, label):
        return is_checked(self.button(label))

    def read(self, label):
        return read(self.entry(label))

    def combo(self):
        return self.first({Atspi.Role.COMBO_BOX})

    def choices(self):
        """The choices of the combo box, those that can't be chosen with a minus."""
        items = [one for one in desktop.walk(self.combo())
                 if one.get_role() == Atspi.Role.MENU_ITEM]
        return [("" if is_sensitive(one) else "-") + one.get_name() for one in items]

    def has_panel(self, title):
        return any(one.get_name() == title for one in self.all({Atspi.Role.PANEL}))

    def texts(self):
        return [read(one) for one in self.all({Atspi.Role.LABEL})]

    def table(self):
        return self.first({Atspi.Role.TABLE, Atspi.Role.TREE_TABLE})

    def cell(self, row, column):
        return self.table().get_table_iface().get_accessible_at(row, column)

    def rows(self):
        """The texts of the list's rows, those of its renderers one after the other."""
        grid = self.table().get_table_iface()
        return [[text for column in range(grid.get_n_columns())
                 for text in self.texts_of(grid.get_accessible_at(row, column))]
                for row in range(grid.get_n_rows())]

    @staticmethod
    def texts_of(cell):
        parts = list(desktop.children(cell)) or [cell]
        return [("x" if is_checked(part) else "-")
                if part.get_role() == Atspi.Role.TABLE_CELL and not has_text(part)
                else part.get_name() for part in parts]

    def find_row(self, text):
        rows = self.table().get_table_iface().get_n_rows()
        return next((row for row in range(rows) if text in self.texts_of(self.cell(row, 0))), None)

    def select(self, text):
        """Selects the row whose first column reads this, and leaves the keyboard where it is."""
        until(lambda: self.find_row(text) is not None, f"row {text!r}")
        self.table().get_table_iface().add_row_selection(self.find_row(text))

    def selected(self):
        """The first column's text of the selected rows."""
        grid = self.table().get_table_iface()
        return [self.texts_of(grid.get_accessible_at(row, 0))[-1]
                for row in range(grid.get_n_rows()) if grid.is_row_selected(row)]

    def focused(self):
        """The name of the control that has the keyboard."""
        return name(until(lambda: next((one for one in desktop.walk(self.node())
                                        if is_focused(one) and one.get_role() not in
                                        desktop.WINDOW_ROLES), None), "a focused control"))


def has_text(node):
    return node.get_text_iface() is not None


class Story(unittest.TestCase):
    """One launch of the program on networks that the story names."""

    longMessage = False

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for part in ("state", "tools", "config"):
            (self.folder / part).mkdir()
        self.make_tool("pkexec", ELEVATION_TOOL)
        # What the environment of the program has besides.
        self.surroundings = {}
        self.install_viewer()
        self.program = None
        self.editor = Window(EDITOR)
        self.error = Window(ERROR)

    def install_viewer(self):
        viewer = self.make_tool("viewer", VIEWER)
        applications = self.folder / "data/applications"
        applications.mkdir(parents=True)
        (applications / "viewer.desktop").write_text(
            "[Desktop Entry]\nType=Application\nName=Viewer\n"
            f"Exec={viewer} %u\nMimeType=text/html;\n")
        (applications / "mimeinfo.cache").write_text("[MIME Cache]\ntext/html=viewer.desktop;\n")

    def remove_viewer(self):
        """Leaves the desktop without any program that shows the help; this machine's don't count."""
        shutil.rmtree(self.folder / "data/applications")
        system = self.folder / "system"
        system.mkdir()
        for part in ("glib-2.0", "icons", "mime"):
            (system / part).symlink_to(f"/usr/share/{part}")
        self.surroundings["XDG_DATA_DIRS"] = str(system)

    def make_tool(self, name, script):
        tool = self.folder / "tools" / name
        tool.write_text(script)
        tool.chmod(0o755)
        return tool

    def launch(self, database):
        """Starts the program on the double's networks and waits until its window is there."""
        (self.folder / "database").write_text(database)
        environment = dict(os.environ)
        environment.update({
            "LD_LIBRARY_PATH": str(BUILD / "tests/double"),
            "TAVRIN_DOUBLE_DB": str(self.folder / "database"),
            "TAVRIN_DOUBLE_LOG": str(self.folder / "calls"),
            "XDG_STATE_HOME": str(self.folder / "state"),
            "XDG_CONFIG_HOME": str(self.folder / "config"),
            "XDG_DATA_HOME": str(self.folder / "data"),
            "HOME": str(self.folder),
            "PATH": f"{self.folder / 'tools'}:/usr/bin:/bin",
            **self.surroundings})
        with open(self.folder / "output", "wb") as output:
            self.program = subprocess.Popen([str(BUILD / "tavrin-netcfg")], env=environment,
                                            stdout=output, stderr=output)
        self.addCleanup(self.end)
        self.keyboard = Keyboard()
        self.editor.node()
        self.window = until(lambda: self.keyboard.find_window(EDITOR), "the window")
        self.give_keyboard(EDITOR)
        self.assertEqual(os.geteuid() != 0, (self.folder / "elevated").exists(),
                         "an ordinary user needs the elevation tool, root doesn't")

    def end(self):
        """Nothing that a story started outlives it, and GTK complained of nothing on its way."""
        self.program.kill()
        self.program.wait()
        self.assertNotRegex(self.output(), r"(WARNING|CRITICAL) \*\*")

    def is_running(self):
        return self.program.poll() is None

    def give_keyboard(self, title):
        window = until(lambda: self.keyboard.find_window(title), f"window {title!r}")

        def is_given():
            if not Window(title).is_active():
                self.keyboard.give_keyboard(window)
                self.settle()
            return Window(title).is_active()

        until(is_given, f"the keyboard in {title!r}")

    def settle(self):
        """Waits until the program has handled everything that was sent to it."""
        self.keyboard.wait_for(self.window, self.is_running)

    def keys(self, *names):
        for one in names:
            self.keyboard.press(one)
            self.settle()

    def type(self, text):
        self.keyboard.type(text)
        self.settle()

    def type_over(self, text):
        """Types over what is in the entry that has the keyboard."""
        self.keys("Control+a", "Delete")
        self.type(text)

    def enter(self, window, label, text):
        """Moves to an entry as a screen reader does, and types over what is there."""
        window.entry(label).get_component_iface().grab_focus()
        window.wait_until_active()
        until(lambda: is_focused(window.entry(label)), f"the keyboard in {label!r}")
        self.type_over(text)

    def set_text(self, window, label, text):
        """Writes into an entry and leaves the keyboard where it is."""
        Atspi.EditableText.set_text_contents(window.entry(label), text)
        self.assertEqual(text, window.read(label))

    def close(self, title):
        """Ends a window by the close control of its frame."""
        self.keyboard.close(self.keyboard.find_window(title))

    def expect(self, value, find):
        """Waits until find gives the value."""
        seen = []

        def is_found():
            seen[:] = [find()]
            return seen == [value]

        try:
            until(is_found, f"{value!r}")
        except AssertionError:
            self.assertEqual([value], seen)

    def wait_for_help(self, page):
        viewed = self.folder / "viewed"
        until(viewed.exists, f"help on {page}")
        self.assertEqual(page, viewed.read_text().rsplit("/", 1)[-1])
        viewed.unlink()

    def dismiss_error(self, key=None):
        """Closes the error by its button or by a key, and returns its text."""
        texts = until(self.error.texts, "the text of the error")
        if key:
            self.error.wait_until_active()
            self.keys(key)
        else:
            self.error.press("Close")
        self.error.wait_until_gone()
        return texts[-1]

    def row(self, network):
        """A network's row in the main window's list; None if it has none."""
        return next((row for row in self.editor.rows() if row[0] == network), None)

    def wait_for_row(self, *cells):
        self.expect(list(cells), lambda: self.row(cells[0]))

    def calls(self):
        """What the library was asked, one call a line."""
        return (self.folder / "calls").read_text().splitlines()

    def saved(self):
        """The calls of a save; empty if there was none."""
        calls = self.calls()
        # The save asks for the adapters a second time.
        starts = [at for at, call in enumerate(calls) if call.startswith("VNL_GetHostAdapterList")]
        return calls[starts[1]:] if len(starts) > 1 else []

    def wait_for_end(self):
        """Waits for the program's orderly and silent end, and for that of its server."""
        self.assertEqual(0, self.program.wait(PATIENCE), self.output())
        self.assertEqual("", self.output())
        until(lambda: self.calls()[-1] == "VNL_Unload()", "the server's end")

    def output(self):
        return (self.folder / "output").read_text(errors="replace")

    def save(self):
        self.editor.press("Save")
        self.wait_for_end()

    def cancel(self):
        """Ends the program; nothing reaches the networks."""
        self.editor.press("Cancel")
        self.wait_for_end()
        self.assertEqual([], self.saved())


def main():
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[2:]], warnings="ignore")
