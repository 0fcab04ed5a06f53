#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""A NAT network from the click that adds it to the click that removes it."""
import os

import host
from check import check, equal, run, step, until
from editor import HOST_ONLY, Launch, Window, map_port

NETWORK = "tvnet2"
GUEST_ADDRESS = "10.20.30.150"
GATEWAY = "10.20.30.2"


def add_network():
    launch = Launch()
    editor = launch.window()
    editor.press("Add Network...")
    adding = Window("Add Virtual Network")
    adding.set_number("Network name:", 2)
    adding.choose("NAT")
    adding.press("Add")
    until(lambda: [row for row in editor.rows() if row[0] == NETWORK], "the network is listed")
    editor.type("Subnet IP:", "10.20.30.0")
    editor.press("NAT Settings...")
    settings = Window("NAT Settings")
    map_port(settings, 2222, GUEST_ADDRESS, 2222, "TCP", "shell")
    map_port(settings, 5353, GUEST_ADDRESS, 53, "UDP", "names")
    settings.press("Save")
    launch.save()


def expect_lease():
    equal(f"{GUEST_ADDRESS}/24", host.address_of("guest"), "the guest's lease")
    equal(GATEWAY, host.route_of("guest"), "the guest's gateway")
    equal([GATEWAY], host.nameservers_of("guest"), "the guest's DNS")
    equal(f"Hello from www.example.test; you come from {host.HOST_ADDRESS}.", host.fetch("guest"),
          "the page through NAT")
    check(host.ask("guest", GATEWAY, 53, host.QUERY), "the guest's DNS doesn't answer")


def expect_forwards():
    for place, address in ((host.INTERNET, host.HOST_ADDRESS), (host.HOST, host.HOST_ADDRESS),
                           (host.HOST, "127.0.0.1"), ("other", host.HOST_ADDRESS),
                           ("other", GATEWAY)):
        equal(b"shell of the guest", host.read_greeting(place, address, 2222),
              f"TCP 2222 from {place} at {address}")
        equal(b"told: name?", host.ask(place, address, 5353, b"name?"),
              f"UDP 5353 from {place} at {address}")


def change_to_host_only():
    launch = Launch()
    editor = launch.window()
    editor.select(NETWORK)
    editor.choose(HOST_ONLY)
    launch.save()


def expect_no_way_out():
    equal(f"{GUEST_ADDRESS}/24", host.address_of("guest"), "the guest's address")
    check(not host.can_connect("guest", host.PAGE_ADDRESS, 80, 2), "the guest gets out")
    equal(None, host.ask("guest", GATEWAY, 53, host.QUERY, 2), "the guest's DNS")
    for place in (host.INTERNET, host.HOST):
        equal(None, host.read_greeting(place, host.HOST_ADDRESS, 2222, 2), f"TCP 2222 from {place}")
        equal(None, host.ask(place, host.HOST_ADDRESS, 5353, b"name?", 2), f"UDP 5353 from {place}")
    equal(b"shell of the guest", host.read_greeting(host.HOST, GUEST_ADDRESS, 2222),
          "the guest from its host")


def remove_network():
    launch = Launch()
    editor = launch.window()
    editor.select(NETWORK)
    editor.press("Remove Network")
    equal(["tvnet0", "tvnet1", "tvnet8"], [row[0] for row in editor.rows()], "the networks")
    launch.save()


def story():
    step("a NAT network with two forwards is added and saved")
    add_network()
    step("a guest gets its lease, its gateway and its DNS, and a page through NAT")
    host.join(NETWORK, "guest", GUEST_ADDRESS)
    expect_lease()
    step("it is reached on both forwards from outside, from the host and from another guest")
    host.serve_tcp("guest", 2222, b"shell of the guest")
    host.serve_udp("guest", 53, b"told: ")
    host.join(NETWORK, "other")
    expect_forwards()
    step("the network becomes host-only: the guest stays, and gets no further than its host")
    change_to_host_only()
    expect_no_way_out()
    step("the network is removed: nothing is left of it")
    check(len(host.traces_of(NETWORK)) == 7, f"a network leaves traces: {host.traces_of(NETWORK)}")
    remove_network()
    host.until_gone(NETWORK)
    check(os.path.exists("/sys/class/net/tvnet8"), "the other networks stay")


run(story)
