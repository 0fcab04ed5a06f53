# SPDX-License-Identifier: GPL-2.0-or-later
"""Everything without the mouse."""
import pathlib

import story
from story import ADD, NAT, PORT, Window

DATABASE = """vnets=20
automatic=0
adapter=eth0 0
adapter=eth1 -1
network=0
network=1 dhcp adapter 172.16.1.0 255.255.255.0
"""


class KeyboardStory(story.Story):
    def setUp(self):
        super().setUp()
        self.nat = Window(NAT)
        self.port = Window(PORT)

    def test_new_nat_network_with_two_ports_and_a_prefix_reaches_the_library(self):
        self.launch(DATABASE)
        self.add_network()
        self.give_it_a_subnet()
        self.open_nat_settings()
        self.add_port("8080", ["Alt+t"], "10.20.30.128", "80", "Web server")
        self.add_port("5353", ["Alt+u"], "10.20.30.129", "53", "Names")
        self.assertEqual([["8080", "80", "TCP", "10.20.30.128", "Web server"],
                          ["5353", "53", "UDP", "10.20.30.129", "Names"]], self.nat.rows())
        self.set_prefix()
        self.keys("Enter")
        self.nat.wait_until_gone()
        self.editor.wait_until_active()
        self.assertEqual("NAT Settings...", self.editor.focused())
        self.keys("Alt+i", "Enter")
        self.wait_for_end()
        golden = pathlib.Path(__file__).parent / "golden/keyboardStory.txt"
        self.assertEqual(golden.read_text().splitlines(), self.saved())

    def add_network(self):
        self.assertEqual("tvnet0", self.editor.selected()[0])
        self.keys("Alt+a")
        dialog = Window(ADD)
        dialog.wait_until_active()
        self.assertEqual("2", story.read(dialog.entry("Network name:")))
        self.type_over("8")
        self.keys("Alt+n", "Enter")
        dialog.wait_until_gone()
        self.editor.wait_until_active()
        self.assertEqual("Add Network...", self.editor.focused())
        self.assertEqual(["tvnet8"], self.editor.selected())

    def give_it_a_subnet(self):
        self.keys("Alt+i")
        self.type("10.20.30.0")
        self.keys("Tab")
        self.type_over("255.255.255.0")
        self.keys("Tab")
        self.wait_for_row("tvnet8", "NAT", "NAT", "tvnet8", "yes", "10.20.30.0", story.BAR)

    def open_nat_settings(self):
        # "Bridged to:" has the same key, and is off for this network.
        self.keys("Alt+t")
        self.nat.wait_until_active()
        self.assertIn("10.20.30.0", self.nat.texts())

    def add_port(self, host_port, protocol, address, port, description):
        self.keys("Alt+a")
        self.port.wait_until_active()
        self.type_over(host_port)
        self.keys(*protocol, "Alt+a")
        self.type(address)
        self.keys("Alt+p")
        self.type_over(port)
        self.keys("Alt+d")
        self.type(description)
        self.keys("Enter")
        self.port.wait_until_gone()
        self.nat.wait_until_active()
        self.assertEqual("Add", self.nat.focused())

    def set_prefix(self):
        # "Edit" has the same key; the two take turns.
        while self.nat.focused() != "Enable IPv6 NAT":
            self.keys("Alt+e")
        self.keys("space", "Alt+6")
        self.assertEqual("IPv6 Prefix:", self.nat.focused())
        self.type_over("fd00:20:30::/64")
        self.assertEqual("fd00:20:30::/64", story.read(self.nat.entry("IPv6 Prefix:")))


if __name__ == "__main__":
    story.main()
