# SPDX-License-Identifier: GPL-2.0-or-later
"""The main window as somebody with a screen reader and a keyboard uses it."""
import pathlib
import unittest

import story
from story import (BAR, BRIDGED_TYPE, BRIDGES, DHCP, EDITOR, HOST_ONLY_TYPE, MTU, NAT_TYPE,
                   Atspi, Window)

# Nothing is automatic, and no adapter is free.
FIXED = """vnets=20
automatic=-1
adapter=eth0 0
adapter=eth1 2
adapter=eth2 3
network=0
network=1 dhcp adapter 172.16.1.0 255.255.255.0
network=8 nat dhcp adapter 192.168.8.0 255.255.255.0
name=8 Office
"""
AUTOMATIC = """vnets=20
automatic=0
adapter=eth0 0
network=0
network=1 dhcp adapter 172.16.1.0 255.255.255.0
network=8 nat dhcp adapter 192.168.8.0 255.255.255.0
mtu=8 1500
"""
ALL_BRIDGED = """vnets=20
automatic=-1
adapter=eth0 0
adapter=eth1 2
network=0
"""
HOST_FILE = pathlib.Path("/etc/tavrin/config")


def has_private_etc():
    with open("/proc/self/mountinfo", encoding="utf-8") as mounts:
        return any(line.split()[4] == "/etc" for line in mounts)


class EditorStory(story.Story):
    def select(self, network):
        self.editor.select(network)
        self.expect([network], self.editor.selected)

    def test_fixed_networks_tell_whose_adapter_is_whose(self):
        self.launch(FIXED)
        self.assertTrue(self.editor.has_panel("tvnet0"))
        self.assertNotIn("XXX", self.editor.texts())
        self.assertEqual("Virtual networks", self.editor.focused())
        # A name that was given to the network isn't what the host's side is called.
        self.wait_for_row("tvnet8", "NAT", "NAT", "tvnet8", "yes", "192.168.8.0", BAR)
        self.select("tvnet3")
        self.assertEqual(["-Automatic", "-eth0", "-eth1", "eth2"], self.editor.choices())
        self.assertFalse(self.editor.can_press("Automatic Settings..."))
        self.select("tvnet0")
        self.assertEqual(["Automatic", "eth0", "-eth1", "-eth2"], self.editor.choices())

        # The keyboard steps over what can't be chosen.
        self.keys("Alt+t", "End")
        self.wait_for_row("tvnet0", "bridged", "eth0", BAR, BAR, BAR, BAR)
        self.keys("Home")
        self.wait_for_row("tvnet0", "bridged", "auto-bridging", BAR, BAR, BAR, BAR)
        self.assertTrue(self.editor.can_press("Automatic Settings..."))
        self.cancel()

    def test_type_that_is_refused_jumps_back_before_the_error(self):
        self.launch(FIXED)
        self.select("tvnet1")
        self.editor.press(BRIDGED_TYPE)
        self.error.node()
        self.assertTrue(self.editor.is_on(HOST_ONLY_TYPE))
        self.assertFalse(self.editor.is_on(BRIDGED_TYPE))
        self.assertEqual("Cannot change network to bridged: There are no un-bridged host network "
                         "adapters.", self.dismiss_error())
        self.wait_for_row("tvnet1", "host-only", "none", "tvnet1", "yes", "172.16.1.0", BAR)
        self.cancel()

    def test_another_row_takes_what_was_typed_in_all_three_entries(self):
        self.launch(FIXED)
        self.select("tvnet8")
        self.set_text(self.editor, "Subnet IP:", "10.8.0.0")
        self.set_text(self.editor, "Subnet mask:", "255.255.0.0")
        self.set_text(self.editor, MTU, "1400")
        self.select("tvnet1")
        self.wait_for_row("tvnet8", "NAT", "NAT", "tvnet8", "yes", "10.8.0.0", "1400")
        self.wait_for_row("tvnet1", "host-only", "none", "tvnet1", "yes", "172.16.1.0", BAR)
        self.select("tvnet8")
        self.assertEqual("255.255.0.0", self.editor.read("Subnet mask:"))
        self.save()
        self.assertIn('VNL_SetVnetSubnetMask("tvnet8", "255.255.0.0")', self.saved())
        self.assertIn('VNL_SetVnetMTU("tvnet8", 1400)', self.saved())
        self.assertIn('VNL_SetVnetDisplayName("tvnet8", "Office")', self.saved())

    def test_mtu_is_edited_after_a_bridged_network_and_refused_when_empty(self):
        self.launch(FIXED)
        self.select("tvnet2")
        self.select("tvnet8")
        self.assertEqual("-", self.editor.read(MTU))
        self.enter(self.editor, MTU, "1450")
        self.keys("Tab")
        self.wait_for_row("tvnet8", "NAT", "NAT", "tvnet8", "yes", "192.168.8.0", "1450")
        self.enter(self.editor, MTU, "")
        self.select("tvnet1")
        self.editor.press("Save")
        self.assertEqual("tvnet8: Invalid MTU value. Must be between 68 and 9194.",
                         self.dismiss_error())
        self.assertEqual(["tvnet8"], self.editor.selected())
        self.assertEqual("", self.editor.read(MTU))
        self.enter(self.editor, MTU, "-")
        self.keys("Enter")
        self.wait_for_end()
        self.assertIn('VNL_RemoveMTU("tvnet8")', self.saved())

    def test_subnet_that_stands_twice_is_told_and_the_text_typed_last_is_saved_by_enter(self):
        self.launch(AUTOMATIC)
        self.select("tvnet1")
        self.enter(self.editor, "Subnet IP:", "192.168.8.0")
        self.keys("Enter")
        self.assertEqual("tvnet8: Subnet IPs must all be unique.", self.dismiss_error())
        self.editor.wait_until_active()
        self.assertEqual(["tvnet8"], self.editor.selected())
        self.assertEqual([], self.saved())

        # Help disturbs nothing.
        self.editor.press("Help")
        self.wait_for_help("main.html")
        self.assertEqual(["tvnet8"], self.editor.selected())
        self.wait_for_row("tvnet1", "host-only", "none", "tvnet1", "yes", "192.168.8.0", BAR)

        self.give_keyboard(EDITOR)
        self.keys("Alt+i")
        self.assertEqual("Subnet IP:", self.editor.focused())
        self.type_over("10.8.0.0")
        self.keys("Enter")
        self.wait_for_end()
        self.assertIn('VNL_SetVnetSubnetAddr("tvnet8", "10.8.0.0")', self.saved())

    def test_save_without_a_change_starts_all_services_again(self):
        self.launch(AUTOMATIC)
        self.save()
        started = [call for call in self.saved() if call.startswith("VNL_StartService")]
        self.assertEqual(['VNL_StartService("tvnet0", 0x8801)',
                          'VNL_StartService("tvnet1", 0x8802)',
                          'VNL_StartService("tvnet8", 0x8802)',
                          'VNL_StartService("tvnet8", 0x8803)'], started)
        self.assertIn('VNL_SetVnetMTU("tvnet8", 1500)', self.saved())

    def test_removing_networks_moves_the_selection_until_nothing_is_left(self):
        self.launch(AUTOMATIC)
        self.editor.press("Automatic Settings...")
        bridges = Window(BRIDGES)
        bridges.node()
        self.select("tvnet8")
        self.editor.press("Remove Network")
        self.expect(["tvnet1"], self.editor.selected)
        self.assertTrue(bridges.is_open())
        self.select("tvnet0")
        self.editor.press("Remove Network")
        bridges.wait_until_gone()
        self.expect(["tvnet1"], self.editor.selected)
        self.editor.press("Remove Network")
        self.expect([], self.editor.rows)
        self.assertFalse(self.editor.can_press("Remove Network"))
        self.assertFalse(self.editor.can_press(BRIDGED_TYPE))
        self.assertFalse(self.editor.has_panel("tvnet1"))
        self.save()
        self.assertEqual([f'VNL_DeleteVnetFromDatabase("tvnet{index}")' for index in (0, 1, 8)],
                         [call for call in self.saved() if "Delete" in call])

    def test_open_dialog_without_a_tick_stops_the_save(self):
        self.launch(AUTOMATIC)
        self.editor.press("Automatic Settings...")
        bridges = Window(BRIDGES)
        bridges.wait_until_active()
        self.keys("space")
        self.expect([["-", "eth0", ""]], bridges.rows)
        self.editor.press("Save")
        self.assertEqual("You must select at least one host network adapter to automatically "
                         "bridge to.", self.dismiss_error())
        self.assertTrue(bridges.is_open())
        self.assertTrue(self.editor.is_open())
        self.assertEqual([], self.saved())
        self.give_keyboard(BRIDGES)
        self.keys("space")
        self.expect([["x", "eth0", ""]], bridges.rows)
        self.save()
        self.assertIn('VNL_StartService("tvnet0", 0x8801)', self.saved())

    def test_bridged_networks_alone_leave_the_nat_button_on_and_the_close_control_cancels(self):
        self.launch(ALL_BRIDGED)
        self.assertTrue(self.editor.can_press("NAT Settings..."))
        self.assertFalse(story.is_sensitive(self.editor.entry(MTU)))
        self.editor.press("Remove Network")
        self.expect(["tvnet2"], self.editor.selected)
        self.close(EDITOR)
        self.wait_for_end()
        self.assertEqual([], self.saved())

    def test_no_network_leaves_the_filler_and_everything_on_and_escape_cancels(self):
        self.launch("vnets=20\nautomatic=-1\nadapter=eth0 -1\n")
        self.assertEqual([], self.editor.rows())
        self.assertTrue(self.editor.has_panel("XXX"))
        self.assertTrue(self.editor.can_press("Remove Network"))
        self.editor.press("Remove Network")
        for label in (NAT_TYPE, HOST_ONLY_TYPE, DHCP):
            self.editor.press(label)
            self.settle()
        self.keys("Escape")
        self.wait_for_end()
        self.assertEqual([], self.saved())

    @unittest.skipUnless(has_private_etc(), "needs an /etc/tavrin of its own")
    def test_without_the_mtu_there_is_neither_its_column_nor_its_row(self):
        HOST_FILE.write_text('feature.mtu = "FALSE"\n', encoding="utf-8")
        self.addCleanup(HOST_FILE.unlink)
        self.launch(AUTOMATIC)
        self.assertEqual(["Name", "Type", "External Connection", "Host Connection", "DHCP",
                          "Subnet IP Address"],
                         [one.get_name() for one in
                          self.editor.all({Atspi.Role.TABLE_COLUMN_HEADER})])
        self.assertFalse([text for text in self.editor.texts() if text.startswith("MTU")])
        self.select("tvnet8")
        self.enter(self.editor, "Subnet IP:", "10.8.0.0")
        self.keys("Enter")
        self.wait_for_end()
        self.assertIn('VNL_SetVnetSubnetAddr("tvnet8", "10.8.0.0")', self.saved())
        self.assertFalse([call for call in self.saved() if "MTU" in call])


if __name__ == "__main__":
    story.main()
