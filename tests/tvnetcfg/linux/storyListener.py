# SPDX-License-Identifier: GPL-2.0-or-later
"""What somebody hears who sets up a network with the keyboard alone: whatever they need to know is
told on the accessibility bus, and in time."""
import os

# What a window says of itself is asked of it each time.
os.environ["ATSPI_NO_CACHE"] = "1"

import story  # noqa: E402
from listener import Listener  # noqa: E402
from story import ADD, CONTENTS, EDITOR, ERROR, NAT, PORT, Atspi, Window  # noqa: E402

DATABASE = """vnets=20
automatic=0
adapter=eth0 0
network=0
network=1 dhcp adapter 172.16.1.0 255.255.255.0
"""
ROLE = Atspi.Role
ACTIVATE, FOCUS = "window:activate", "object:state-changed:focused"
SHOWING, CHECKED = "object:state-changed:showing", "object:state-changed:checked"
INSERT, DESCRIPTION = "object:text-changed:insert", "object:property-change:accessible-description"
ROW, CURSOR = "object:active-descendant-changed", "object:text-caret-moved"
KINDS = [ACTIVATE, FOCUS, SHOWING, CHECKED, INSERT, DESCRIPTION, ROW, CURSOR]
REPEATED = "tvnet2: Subnet IPs must all be unique."
NOT_V6 = ("The IPv6 prefix must not be an IPv4 address.  See help for more information about this "
          "field.")


class ListenerStory(story.Story):
    def setUp(self):
        super().setUp()
        self.listener = Listener(KINDS)
        self.addCleanup(self.listener.end)
        self.hears = self.listener.expect

    def test_nat_network_with_a_port_forward(self):
        self.launch(DATABASE)
        self.hears(ACTIVATE, ROLE.FRAME, EDITOR)
        self.hears(FOCUS, ROLE.TABLE, "Virtual networks")
        self.keys("Down")
        self.hears(ROW, ROLE.TABLE, "Virtual networks")
        self.add_network()
        self.try_a_subnet_that_is_taken()
        self.give_it_a_subnet()
        self.add_port()
        self.keys("Alt+i", "Enter")
        self.wait_for_end()
        self.assertIn('VNL_SetNATPortForward("tvnet2", true, 8080, "10.20.30.128", 80, "Web", 3)',
                      self.saved())

    def add_network(self):
        self.keys("Alt+a")
        self.hears(ACTIVATE, ROLE.DIALOG, ADD)
        self.hears(FOCUS, ROLE.SPIN_BUTTON, "Network name:")
        self.keys("Alt+n")
        self.hears(CHECKED, ROLE.RADIO_BUTTON, "NAT")
        self.hears(FOCUS, ROLE.RADIO_BUTTON, "NAT")
        self.keys("Enter")
        self.hears(ACTIVATE, ROLE.FRAME, EDITOR)
        self.hears(FOCUS, ROLE.PUSH_BUTTON, "Add Network...")

    def try_a_subnet_that_is_taken(self):
        self.keys("Alt+i")
        self.hears(FOCUS, ROLE.TEXT, "Subnet IP:")
        self.type("172.16.1.0")
        self.hears(INSERT, ROLE.TEXT, "Subnet IP:")
        self.keys("Tab")
        self.hears(FOCUS, ROLE.TEXT, "Subnet mask:")
        self.keys("Enter")
        self.hears(ACTIVATE, ROLE.ALERT, ERROR)
        self.hears(FOCUS, ROLE.PUSH_BUTTON, "Close")
        self.assertIn(REPEATED, self.error.texts())
        self.keys("Escape")
        self.hears(ACTIVATE, ROLE.FRAME, EDITOR)

    def give_it_a_subnet(self):
        self.keys("Alt+i")
        self.hears(FOCUS, ROLE.TEXT, "Subnet IP:")
        self.type_over("10.20.30.0")
        self.keys("Tab")
        self.hears(FOCUS, ROLE.TEXT, "Subnet mask:")

    def add_port(self):
        # "Bridged to:" has the same key, and is off for this network.
        self.keys("Alt+t")
        self.hears(ACTIVATE, ROLE.DIALOG, NAT)
        self.hears(FOCUS, ROLE.TEXT, "Gateway IP:")
        self.keys("Alt+a")
        self.hears(ACTIVATE, ROLE.DIALOG, PORT)
        self.hears(FOCUS, ROLE.SPIN_BUTTON, "Host port:")
        self.type_over("8080")
        self.keys("Tab")
        self.hears(FOCUS, ROLE.RADIO_BUTTON, "TCP")
        for text, label, role in (("10.20.30.128", "Virtual machine IP address:", ROLE.TEXT),
                                  ("80", "Virtual machine port:", ROLE.SPIN_BUTTON),
                                  ("Web", "Description:", ROLE.TEXT)):
            self.keys("Tab")
            self.hears(FOCUS, role, label)
            self.type_over(text)
            self.hears(INSERT, role, label)
        self.keys("Enter")
        self.hears(ACTIVATE, ROLE.DIALOG, NAT)
        self.hears(FOCUS, ROLE.PUSH_BUTTON, "Add")
        self.keys("Enter", "Escape")  # opens another, and leaves it
        self.hears(ACTIVATE, ROLE.DIALOG, NAT)
        self.keys("Alt+f", "Alt+u", "Enter")
        self.hears(FOCUS, ROLE.SPIN_BUTTON, "UDP timeout (in seconds):")
        self.hears(ACTIVATE, ROLE.FRAME, EDITOR)

    def test_warning_is_told_after_the_focus_has_moved_on(self):
        self.launch("vnets=20\nautomatic=-1\nnetwork=8 nat dhcp adapter 192.168.8.0 255.255.255.0\n"
                    "nat=8 0x235a 1\nnat=8 0x235b fd00::/64\n")
        self.keys("Alt+t")
        Window(NAT).wait_until_active()
        self.keys("Alt+6")
        self.hears(FOCUS, ROLE.TEXT, "IPv6 Prefix:")
        self.type_over("1.2.3.4/24")
        self.keys("Tab")
        # Save is off, so Cancel comes next. Whoever hears of a focus stops saying what went before.
        self.hears(DESCRIPTION, ROLE.TEXT, NOT_V6)
        self.hears(FOCUS, ROLE.PUSH_BUTTON, "Cancel")
        self.hears(SHOWING, ROLE.ALERT, NOT_V6)
        alert = self.listener.told
        self.keys("Shift+Tab")
        self.hears(FOCUS, ROLE.TEXT, NOT_V6)  # which now describes it
        self.assertEqual([], [event for event in self.listener.events[alert:self.listener.told]
                              if event.kind == FOCUS and event.detail == 1 and
                              event.role == ROLE.PUSH_BUTTON])
        self.type_over("fd00:1::/64")
        self.keys("Tab")
        self.hears(FOCUS, ROLE.PUSH_BUTTON, "Save")
        self.assertFalse(Window(NAT).all({ROLE.ALERT}))
        self.cancel()

    def test_page_of_the_help_is_told_as_one(self):
        self.remove_viewer()
        self.launch(DATABASE)
        self.keys("F1")
        self.hears(ACTIVATE, ROLE.DIALOG, f"Help: {EDITOR}")
        self.hears(FOCUS, ROLE.TEXT, EDITOR)
        before = self.listener.told
        self.keys("Tab", "Enter")
        self.hears(FOCUS, ROLE.TEXT, CONTENTS)
        # Piece by piece, it would keep a screen reader busy.
        texts = [event for event in self.listener.events[before:self.listener.told]
                 if event.kind == INSERT]
        self.assertLessEqual(len(texts), 1)
        self.keys("Escape")
        self.hears(ACTIVATE, ROLE.FRAME, EDITOR)
        self.cancel()

    def test_numbers_are_named_when_tab_reaches_them(self):
        """A cursor that moves in the entry that gets the focus makes a screen reader keep silent
        about which entry it is."""
        self.launch("vnets=20\nautomatic=-1\nnetwork=8 nat dhcp adapter 192.168.8.0 255.255.255.0\n")
        self.keys("Alt+t")
        Window(NAT).wait_until_active()
        self.hears(FOCUS, ROLE.TEXT, "Gateway IP:")
        self.keys("Alt+o")
        self.hears(FOCUS, ROLE.CHECK_BOX, "Allow any Organizationally Unique Identifier")
        self.pass_by_timeout("Tab", "Tab")
        self.keys("Shift+Tab", "Up", "Home", "Tab", "Up")
        # Whatever these have moved has been told before this.
        self.hears(INSERT, ROLE.SPIN_BUTTON, "Config Port:")
        self.pass_by_timeout("Shift+Tab", "Tab")
        self.cancel()

    def pass_by_timeout(self, *keys):
        """Goes to the number and on to the next one, and expects its cursor to stay all the way."""
        before = self.listener.told
        self.keys(*keys)
        self.hears(FOCUS, ROLE.SPIN_BUTTON, "UDP timeout (in seconds):")
        self.hears(FOCUS, ROLE.SPIN_BUTTON, "Config Port:")
        self.assertEqual([], [event for event in self.listener.events[before:self.listener.told]
                              if event.kind == CURSOR and
                              "UDP timeout (in seconds):" in event.names])


if __name__ == "__main__":
    story.main()
