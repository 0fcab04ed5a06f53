# SPDX-License-Identifier: GPL-2.0-or-later
"""The dialogs as somebody with a screen reader and a keyboard uses them."""
import story
from story import ADD, BAR, BRIDGES, EDITOR, NAT, PORT, Atspi, Window, desktop, has, until

TWO_OF_THREE = """vnets=3
automatic=-1
network=0 dhcp adapter 172.16.0.0 255.255.255.0
network=1 dhcp adapter 172.16.1.0 255.255.255.0
"""
# eth2 is free; the user makes tvnet0 automatic.
BRIDGED = """vnets=20
automatic=-1
adapter=eth0 0
adapter=eth1 2
adapter=eth2 -1
network=0
"""
FORWARDS = """vnets=20
automatic=-1
network=8 nat dhcp adapter 192.168.8.0 255.255.255.0
nat=8 0x2349 40000
nat=8 0x2343 192.168.8.2
nat=8 0x235b anything
forward=8 tcp 8080 192.168.8.128 80 Web server
forward=8 udp 5353 192.168.8.129 53 Names
network=9 nat dhcp adapter 192.168.9.0 255.255.255.0
"""
WEB = ["8080", "80", "TCP", "192.168.8.128", "Web server"]
NAMES = ["5353", "53", "UDP", "192.168.8.129", "Names"]
NO_TICK = "You must select at least one host network adapter to automatically bridge to."
BAD_PREFIX = ("The IPv6 prefix is not a valid IPv6 address.  See help for more information about "
              "this field.")


class DialogStory(story.Story):
    def setUp(self):
        super().setUp()
        self.add = Window(ADD)
        self.bridges = Window(BRIDGES)
        self.nat = Window(NAT)
        self.port = Window(PORT)

    def open(self, button, dialog, opener=None):
        """Opens a dialog by Space on its button, and expects the keyboard in it."""
        opener = opener or self.editor
        self.give_keyboard(opener.title)
        opener.button(button).get_component_iface().grab_focus()
        self.expect(button, opener.focused)
        self.keys("space")
        dialog.wait_until_active()

    def leave(self, dialog, button, opener=None):
        """Ends a dialog by Escape and expects the keyboard back on its button."""
        opener = opener or self.editor
        self.keys("Escape")
        dialog.wait_until_gone()
        opener.wait_until_active()
        self.expect(button, opener.focused)


class AddStory(DialogStory):
    def names(self):
        return [row[0] for row in self.editor.rows()]

    def test_numbers_in_use_are_refused_and_stay(self):
        self.launch(TWO_OF_THREE)
        self.open("Add Network...", self.add)
        self.assertEqual("Network name:", self.add.focused())
        self.assertEqual("2", self.add.read("Network name:"))
        self.type_over("1")
        self.keys("Alt+o", "Enter")
        self.assertEqual("Network tvnet1 already exists. Choose an unused network.",
                         self.dismiss_error("Escape"))
        self.add.wait_until_active()
        self.assertEqual("Add", self.add.focused())
        self.assertEqual("1", self.add.read("Network name:"))

        # The button brings the form forward, and leaves it as it is.
        self.give_keyboard(EDITOR)
        self.keys("Alt+a")
        self.add.wait_until_active()
        self.assertEqual("1", self.add.read("Network name:"))
        self.assertTrue(self.add.is_on("Host-only"))
        self.keys("Alt+m")
        self.type_over("2")
        self.leave(self.add, "Add Network...")
        self.assertEqual(["tvnet0", "tvnet1"], self.names())

        self.open("Add Network...", self.add)
        self.assertTrue(self.add.is_on("Bridged"))
        self.add.press("Add")
        self.assertEqual("Cannot add bridged network: There are no un-bridged host network "
                         "adapters.", self.dismiss_error())
        self.add.press("NAT")
        self.add.press("Add")
        self.add.wait_until_gone()
        self.assertEqual(["tvnet0", "tvnet1", "tvnet2"], self.names())
        self.assertEqual(["tvnet2"], self.editor.selected())

        # Nothing is left to offer but 0, which the model refuses.
        self.open("Add Network...", self.add)
        self.assertEqual("0", self.add.read("Network name:"))
        self.add.press("Host-only")
        self.add.press("Add")
        self.assertEqual("Network tvnet0 already exists. Choose an unused network.",
                         self.dismiss_error())
        self.add.press("Cancel")
        self.add.wait_until_gone()
        self.cancel()


class BridgeStory(DialogStory):
    def test_ticks_count_at_once_and_an_adapter_of_another_network_stays_its(self):
        self.launch(BRIDGED)
        self.keys("Alt+t", "Home")
        self.wait_for_row("tvnet0", "bridged", "auto-bridging", BAR, BAR, BAR, BAR)
        self.open("Automatic Settings...", self.bridges)
        rows = [["x", "eth0", ""], ["-", "eth1", "(Bridged to tvnet2)"], ["x", "eth2", ""]]
        self.assertEqual(rows, self.bridges.rows())
        self.leave(self.bridges, "Automatic Settings...")
        self.open("Automatic Settings...", self.bridges)
        self.keys("Down", "space", "Enter")
        self.assertEqual(rows, self.bridges.rows())
        self.keys("Down", "space")
        self.expect(["-", "eth2", ""], lambda: self.bridges.rows()[2])
        # The same row is still the one that the keyboard is on.
        self.assertEqual(["eth2"], self.bridges.selected())

        # It's free already, for a network that is added while the dialog stays open.
        self.give_keyboard(EDITOR)
        self.open("Add Network...", self.add)
        self.keys("Alt+b", "Enter")
        self.add.wait_until_gone()
        self.wait_for_row("tvnet1", "bridged", "eth2", BAR, BAR, BAR, BAR)
        self.assertEqual(["-", "eth2", "(Bridged to tvnet1)"], self.bridges.rows()[2])

        self.give_keyboard(BRIDGES)
        self.keys("Home", "space")
        self.expect(["-", "eth0", ""], lambda: self.bridges.rows()[0])
        self.keys("Escape")
        self.assertEqual(NO_TICK, self.dismiss_error("Enter"))
        self.bridges.wait_until_active()
        self.keys("space")
        self.expect(["x", "eth0", ""], lambda: self.bridges.rows()[0])
        self.bridges.press("Help")
        self.wait_for_help("autobridge.html")
        self.bridges.press("Close")
        self.bridges.wait_until_gone()
        self.save()
        moves = [call for call in self.saved() if "BridgeMove" in call]
        # Whoever reads a model gives the automatic network every adapter.
        self.assertEqual(['VNL_BridgeMoveAdapter(["eth1", {1, 1, 2}], {1, 1, 2}, {1, 1, 0})',
                          'VNL_BridgeMoveAdapter(["eth2", {1, 1, -1}], null, {1, 1, 0})'], moves)

    def test_without_an_adapter_the_dialog_cannot_be_closed(self):
        self.launch("vnets=20\nautomatic=0\nnetwork=0\n")
        self.open("Automatic Settings...", self.bridges)
        self.assertEqual([], self.bridges.rows())
        self.bridges.press("Close")
        self.assertEqual(NO_TICK, self.dismiss_error())
        self.close(BRIDGES)
        self.assertEqual(NO_TICK, self.dismiss_error())
        self.assertTrue(self.bridges.is_open())
        self.cancel()


class NatStory(DialogStory):
    def open_settings(self, network):
        self.editor.select(network)
        self.expect([network], self.editor.selected)
        self.open("NAT Settings...", self.nat)

    def edit(self, label, text):
        """Changes one entry of the port dialog, and saves it by Enter, which presses the button for
        a moment before anything happens."""
        self.enter(self.port, label, text)
        self.keys("Enter")
        until(self.is_released, "the release of the button")

    def is_released(self):
        """Whether Save of the port dialog isn't held down, or the dialog is gone."""
        window = self.port.look()
        return not window or not any(
            has(node, Atspi.StateType.ARMED) for node in desktop.walk(window)
            if node.get_role() == Atspi.Role.PUSH_BUTTON)

    def select_port(self, row):
        self.nat.table().get_table_iface().add_row_selection(row)

    def test_port_forwards_are_refused_only_as_exact_doubles(self):
        self.launch(FORWARDS)
        self.open_settings("tvnet8")
        self.assertEqual([WEB, NAMES], self.nat.rows())
        self.open("Add", self.port, self.nat)
        self.enter(self.port, "Host port:", "8080")
        self.enter(self.port, "Virtual machine IP address:", "192.168.8.128")
        self.enter(self.port, "Virtual machine port:", "80")
        self.edit("Description:", "Web server")
        self.assertTrue(self.port.is_open())
        self.assertFalse(self.error.is_open())
        self.assertEqual([WEB, NAMES], self.nat.rows())
        self.edit("Virtual machine IP address:", "192.168.8.130")
        self.port.wait_until_gone()
        other = ["8080", "80", "TCP", "192.168.8.130", "Web server"]
        self.assertEqual([WEB, NAMES, other], self.nat.rows())

        # An edit of nothing but the description stays in its place; one of nothing stays open.
        self.select_port(1)
        self.open("Edit", self.port, self.nat)
        self.port.press("Save")
        self.settle()
        self.assertTrue(self.port.is_open())
        self.edit("Description:", "Name server")
        self.port.wait_until_gone()
        renamed = NAMES[:-1] + ["Name server"]
        self.assertEqual([WEB, renamed, other], self.nat.rows())

        # Cancel drops everything; an address may be empty.
        self.open("Add", self.port, self.nat)
        self.enter(self.port, "Host port:", "1")
        self.leave(self.port, "Add", self.nat)
        self.assertEqual([WEB, renamed, other], self.nat.rows())
        self.open("Add", self.port, self.nat)
        self.port.press("Help")
        self.wait_for_help("mapport.html")
        self.edit("Host port:", "99999")
        self.port.wait_until_gone()
        self.assertEqual(["65535", "1", "TCP", "", ""], self.nat.rows()[3])

        # One that was removed and added again stands at the end.
        self.select_port(0)
        self.nat.press("Remove")
        self.expect([renamed, other, ["65535", "1", "TCP", "", ""]], self.nat.rows)
        self.assertFalse(self.nat.can_press("Remove"))
        self.nat.press("Save")
        self.nat.wait_until_gone()
        self.save()
        self.assertEqual(
            ['VNL_SetNATPortForward("tvnet8", true, 8080, null, 0, null, 0)',
             'VNL_SetNATPortForward("tvnet8", false, 5353, null, 0, null, 0)',
             'VNL_SetNATPortForward("tvnet8", false, 5353, "192.168.8.129", 53, "Name server", 11)',
             'VNL_SetNATPortForward("tvnet8", true, 8080, "192.168.8.130", 80, "Web server", 10)',
             'VNL_SetNATPortForward("tvnet8", true, 65535, "", 1, "", 0)'],
            [call for call in self.saved() if "VNL_SetNATPortForward" in call])

    def test_empty_table_has_buttons_that_do_no_harm_and_add_opens_one_dialog(self):
        self.launch(FORWARDS)
        self.open_settings("tvnet9")
        self.assertEqual([], self.nat.rows())
        self.nat.press("Remove")
        self.settle()
        self.assertEqual([], self.nat.rows())
        self.open("Edit", self.port, self.nat)
        self.edit("Host port:", "2222")
        self.port.wait_until_gone()
        added = ["2222", "1", "TCP", "", ""]
        self.assertEqual([added], self.nat.rows())

        self.open("Add", self.port, self.nat)
        self.enter(self.port, "Host port:", "3333")
        self.open("Add", self.port, self.nat)
        self.expect("1", lambda: self.port.read("Host port:"))
        self.assertEqual(1, sum(one.get_name() == PORT for one in story.desktop.windows()))
        self.leave(self.port, "Add", self.nat)
        self.assertEqual([added], self.nat.rows())
        # The port dialog goes with its opener.
        self.open("Add", self.port, self.nat)
        self.give_keyboard(NAT)
        self.leave(self.nat, "NAT Settings...")
        self.port.wait_until_gone()
        self.cancel()

    def test_prefix_is_judged_while_ipv6_is_on(self):
        self.launch(FORWARDS)
        self.open_settings("tvnet9")
        self.nat.press("Enable IPv6 NAT")
        self.expect(False, lambda: self.nat.can_press("Save"))
        self.enter(self.nat, "IPv6 Prefix:", "fd00::")
        self.assertFalse(self.nat.can_press("Save"))
        self.enter(self.nat, "IPv6 Prefix:", "nonsense")
        self.keys("Tab")
        self.expect(True, lambda: BAD_PREFIX in self.nat.texts())
        self.assertEqual(BAD_PREFIX, self.nat.entry("IPv6 Prefix:").get_description())
        self.assertFalse(self.nat.can_press("Save"))
        self.enter(self.nat, "IPv6 Prefix:", "fd00::/64")
        self.assertNotIn(BAD_PREFIX, self.nat.texts())
        self.assertTrue(self.nat.can_press("Save"))

        # Off again, the entry shows what is stored.
        self.nat.press("Enable IPv6 NAT")
        self.expect("", lambda: self.nat.read("IPv6 Prefix:"))
        self.assertFalse(story.is_sensitive(self.nat.entry("IPv6 Prefix:")))
        self.nat.press("Help")
        self.wait_for_help("nat.html")
        self.give_keyboard(NAT)
        self.leave(self.nat, "NAT Settings...")
        self.cancel()

    def test_stored_values_outside_the_form_are_clamped_or_left_alone(self):
        self.launch(FORWARDS)
        self.open_settings("tvnet8")
        self.assertEqual("32767", self.nat.read("UDP timeout (in seconds):"))
        self.assertEqual("anything", self.nat.read("IPv6 Prefix:"))
        self.enter(self.nat, "Gateway IP:", "192.168.8.7")

        # Another network's settings take the form, and what wasn't saved is gone.
        self.editor.select("tvnet9")
        self.give_keyboard(EDITOR)
        self.keys("Alt+t")
        self.nat.wait_until_active()
        self.expect([], self.nat.rows)
        self.assertIn("tvnet9", self.nat.texts())
        self.assertEqual("", self.nat.read("Gateway IP:"))
        self.editor.select("tvnet8")
        self.give_keyboard(EDITOR)
        self.keys("Alt+t")
        self.nat.wait_until_active()
        self.expect([WEB, NAMES], self.nat.rows)
        self.assertEqual("192.168.8.2", self.nat.read("Gateway IP:"))
        self.nat.press("Save")
        self.nat.wait_until_gone()
        self.save()
        self.assertEqual(['VNL_SetNATParam("tvnet8", 0x2349, "32767", 5)'],
                         [call for call in self.saved() if 'SetNATParam("tvnet8"' in call])


if __name__ == "__main__":
    story.main()
