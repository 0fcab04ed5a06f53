# SPDX-License-Identifier: GPL-2.0-or-later
"""The editor, started as its user starts it, and used through its accessible windows."""
import os
import re
import signal
import subprocess
import sys
import tempfile

# Others' windows change under us.
os.environ["ATSPI_NO_CACHE"] = "1"
sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
import warnings  # noqa: E402

# The bindings of Debian 12 call interfaces deprecated that have no other name there.
warnings.simplefilter("ignore", DeprecationWarning)
import gi  # noqa: E402

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

import desktop  # noqa: E402
import host  # noqa: E402
from check import DEADLINE, check, equal, until, witnesses  # noqa: E402

desktop.DEADLINE = DEADLINE

TITLE = "Tavrin Network Editor"
PROGRAM = "tavrin-netcfg"
BUILD = os.environ["SANDBOX_BUILD"]
HOME, DOWN, SPACE = 0xFF50, 0xFF54, 0x20  # keys, as X names them
BRIDGED = "Bridged (connect VMs directly to the external network)"
NAT = "NAT (share host's IP address with VMs)"
HOST_ONLY = "Host-only (connect VMs internally in a private network)"


class Window:
    """A window by its title. Controls are found by what names, labels or describes them."""

    def __init__(self, title):
        self.title = title
        desktop.window(title)

    def find(self, label, *roles):
        def look():
            for node in desktop.walk(desktop.window(self.title)):
                if node.get_role() in roles and label in desktop.labels(node):
                    return node
            return None

        return desktop.until(look, f"{label!r} in {self.title!r}")

    def press(self, name):
        desktop.press(self.title, name)

    def focus(self, name):
        desktop.focus(self.title, name)

    def choose(self, label):
        """A radio button."""
        radio = self.find(label, Atspi.Role.RADIO_BUTTON)
        radio.get_action_iface().do_action(0)
        desktop.until(lambda: is_checked(radio) or None, f"the choice of {label!r}")

    def type(self, label, text):
        desktop.type_text(self.title, label, text)

    def set_number(self, label, number):
        value = self.find(label, Atspi.Role.SPIN_BUTTON).get_value_iface()
        value.set_current_value(number)
        equal(number, int(value.get_current_value()), label)

    def pick(self, label, entry):
        """An entry of a combo box, by its text."""
        box = self.find(label, Atspi.Role.COMBO_BOX)
        menu = box.get_child_at_index(0)
        names = [item.get_name() for item in desktop.children(menu)]
        check(entry in names, f"{label!r} offers {names}")
        box.get_selection_iface().select_child(names.index(entry))
        desktop.until(lambda: box.get_name() == entry or None, f"{entry!r} in {label!r}")

    def toggle(self, text):
        """The tick before this text in the list, by the keys: down to its row, and the space bar."""
        def ticks():
            pairs = (list(desktop.children(node)) for node in
                     desktop.walk(desktop.table(self.title)))
            return {pair[1].get_name(): pair[0] for pair in pairs if len(pair) == 2}

        tick = desktop.until(lambda: ticks().get(text), f"row {text!r} in {self.title!r}")
        before = is_checked(tick)
        desktop.table(self.title).get_component_iface().grab_focus()
        desktop.wait_active(self.title)
        for symbol in (HOME, *[DOWN] * list(ticks()).index(text), SPACE):
            desktop.key(symbol)
        # The list is made anew meanwhile.
        desktop.until(lambda: (text in ticks() and is_checked(ticks()[text]) != before) or None,
                      f"the tick of {text!r}")

    def rows(self):
        return list(desktop.cells(self.title))

    def select(self, text):
        desktop.select(self.title, text)

    def texts(self):
        labels = (node for node in desktop.walk(desktop.window(self.title))
                  if node.get_role() == Atspi.Role.LABEL)
        return [Atspi.Text.get_text(label.get_text_iface(), 0, -1) for label in labels]

    def is_active(self):
        return desktop.is_active(self.title)


def is_checked(node):
    return node.get_state_set().contains(Atspi.StateType.CHECKED)


def titles():
    """Of all windows that are open."""
    return sorted(window.get_name() for window in desktop.windows())


class Launch:
    """One run of the program. Whatever GTK complains of on its way is a failure."""

    def __init__(self, command=None, environment=None, passed=()):
        self.output = tempfile.TemporaryFile()
        self.process = subprocess.Popen(
            command or [os.path.join(BUILD, PROGRAM)], stdin=subprocess.DEVNULL,
            stdout=self.output, stderr=subprocess.STDOUT, pass_fds=passed,
            env={**os.environ, **(environment or {})})
        witnesses.append(self.text)

    def window(self):
        return Window(TITLE)

    def text(self):
        """What a launch printed."""
        self.output.seek(0)
        return self.output.read().decode(errors="replace")

    def wait(self, status=0):
        """Waits for its end, and returns what it printed."""
        try:
            found = self.process.wait(DEADLINE)
        except subprocess.TimeoutExpired:
            self.process.send_signal(signal.SIGKILL)
            found = "running"
        text = self.text()
        check(found == status, f"{PROGRAM} ends with {found} rather than {status}: {text}")
        complaint = re.search(r".*(WARNING|CRITICAL) \*\*.*|.*-(WARNING|CRITICAL) .*", text)
        check(not complaint, f"{PROGRAM} complains: {text}")
        return text

    def save(self):
        """Saves, and waits for client and server to end."""
        Window(TITLE).press("Save")
        self.wait()
        self.expect_no_server()

    def cancel(self):
        Window(TITLE).press("Cancel")
        self.wait()
        self.expect_no_server()

    def dismiss(self):
        """Presses the one button of a warning, after which the program ends in failure."""
        Window(PROGRAM).press("Close")
        self.wait(1)

    def expect_no_server(self):
        until(lambda: not servers(self.process.pid), f"the server of {self.process.pid} ends")


def map_port(settings, host_port, address, port, protocol="TCP", description=""):
    """One forward more in an open NAT settings dialog."""
    known = len(settings.rows())
    settings.press("Add")
    mapping = Window("Map Incoming Port")
    mapping.set_number("Host port:", host_port)
    mapping.choose(protocol)
    mapping.type("Virtual machine IP address:", address)
    mapping.set_number("Virtual machine port:", port)
    mapping.type("Description:", description)
    mapping.press("Save")
    until(lambda: len(settings.rows()) == known + 1, "the forward is in the list")


def add_forward(network, host_port, address, port):
    """A whole launch: a TCP forward more, saved."""
    launch = Launch()
    editor = launch.window()
    editor.select(network)
    editor.press("NAT Settings...")
    settings = Window("NAT Settings")
    map_port(settings, host_port, address, port)
    settings.press("Save")
    launch.save()


def servers(client):
    """The processes that serve, or are asked to serve, the client: its number ends their line."""
    return [number for number, words in host.command_lines()
            if len(words) > 3 and words[-1] == str(client) and any(
                word.endswith(PROGRAM) for word in words)]
