#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Guests on the LAN: by whichever adapter has a carrier, and by one adapter alone."""
import ipaddress

import host
from check import check, equal, run, step, until
from editor import Launch, Window

ECHO = 7
# What eth1 is plugged into has a subnet of its own too, for the host to talk over.
SECOND_HOST = "10.9.9.10"
SECOND_ROUTER = "10.9.9.1"
LAN_LEASES = range(100, 200)


class HostSide:
    """The host's own addresses and connections, which are none of the bridges' business."""

    def __init__(self):
        host.run("ip", "addr", "add", f"{SECOND_HOST}/24", "dev", "eth1")
        host.run("ip", "-n", host.INTERNET, "addr", "add", f"{SECOND_ROUTER}/24", "dev", "lan")
        host.serve_tcp(host.INTERNET, ECHO)
        self.first = host.connect(host.HOST, host.ROUTER_ADDRESS, ECHO)
        self.second = host.connect(host.HOST, SECOND_ROUTER, ECHO)
        self.addresses = self.read_addresses()

    @staticmethod
    def read_addresses():
        return [host.run("ip", "-4", "-o", "addr", "show", adapter).split()[3]
                for adapter in ("eth0", "eth1")]

    def expect_unharmed(self, *adapters):
        equal(self.addresses, self.read_addresses(), "the host's addresses")
        for adapter in adapters or ("eth0", "eth1"):
            connection = self.first if adapter == "eth0" else self.second
            check(host.is_talking(connection), f"the host's connection over {adapter} is cut")


def expect_lan_lease(guest):
    """From the LAN's own server, with the LAN's own router and nameserver."""
    address = ipaddress.ip_interface(host.address_of(guest))
    check(str(address.network) == "198.51.100.0/24" and address.ip.packed[3] in LAN_LEASES,
          f"the lease of {guest} is {address}")
    equal(host.ROUTER_ADDRESS, host.route_of(guest), f"the gateway of {guest}")
    equal([host.ROUTER_ADDRESS], host.nameservers_of(guest), f"the DNS of {guest}")
    equal(f"Hello from www.example.test; you come from {address.ip}.", host.fetch(guest),
          f"the page, which sees {guest} itself")


def expect_cable(guest, adapter):
    until(lambda: host.cable_of(guest) == adapter, f"{guest} is on the LAN by {adapter}")


def bridge_to_two_adapters():
    launch = Launch()
    editor = launch.window()
    editor.select("tvnet0")
    editor.press("Automatic Settings...")
    adapters = Window("Automatic Bridging Settings")
    adapters.toggle("eth2")
    adapters.press("Close")
    launch.save()


def bridge_to(adapter):
    launch = Launch()
    editor = launch.window()
    editor.select("tvnet0")
    editor.pick("Bridged to:", adapter)
    launch.save()


def pull_first_adapter(own, talk):
    expect_cable("guest", "eth0")
    host.unplug("eth0")
    check(host.is_talking(talk), "the guest's connection is cut by the move")
    expect_cable("guest", "eth1")
    own.expect_unharmed("eth1")
    host.plug("eth0")
    own.expect_unharmed()
    check(host.is_talking(talk), "the guest's connection is cut by the way back")


def pull_fixed_adapter(own, talk):
    host.unplug("eth1")
    until(lambda: not host.has_carrier("eth1"), "eth1 has no carrier")
    check(not host.can_connect("guest", host.ROUTER_ADDRESS, ECHO, 1),
          "the guest gets out by another adapter than the one that was chosen")
    own.expect_unharmed("eth0")
    host.plug("eth1")
    check(host.is_talking(talk), "the guest's connection is cut")
    expect_cable("guest", "eth1")
    own.expect_unharmed()


def story():
    own = HostSide()
    step("the automatic network uses two of the three adapters")
    bridge_to_two_adapters()
    own.expect_unharmed()
    step("a guest gets its lease from the LAN's own server")
    host.join("tvnet0")
    expect_lan_lease("guest")
    own.expect_unharmed()
    talk = host.connect("guest", host.ROUTER_ADDRESS, ECHO)
    step("the first adapter's cable is pulled: the guest moves to the other, and back")
    pull_first_adapter(own, talk)
    step("the network is fixed to the second adapter: its guest moves there")
    bridge_to("eth1")
    own.expect_unharmed()
    check(host.is_talking(talk), "the guest's connection is cut by the save")
    expect_cable("guest", "eth1")
    step("another guest gets its lease there")
    host.join("tvnet0", "other")
    expect_lan_lease("other")
    expect_cable("other", "eth1")
    step("that adapter's cable is pulled: the guests wait for it")
    pull_fixed_adapter(own, talk)


run(story)
