#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""What a running guest notices of a save: what it loses is counted and printed."""
import contextlib
import threading
import time

import host
from check import check, equal, run, step, until
from editor import Launch, add_forward

ECHO = 7
INTERVAL = 0.002  # seconds between two datagrams
DHCP = "Use local DHCP service to distribute IP addresses to VMs"


class Stream:
    """Numbered datagrams to an echo server, as evenly as the machine allows."""

    def __init__(self, place, address):
        with host.at(place):
            self.socket = host.socket.socket(host.socket.AF_INET, host.socket.SOCK_DGRAM)
        self.socket.connect((address, ECHO))
        self.socket.settimeout(0.2)
        self.sent = 0
        self.heard = set()
        self.stopping = threading.Event()
        self.threads = [threading.Thread(target=part, daemon=True)
                        for part in (self._send, self._hear)]
        for thread in self.threads:
            thread.start()
        until(lambda: self.heard, "the stream flows")

    def _send(self):
        while not self.stopping.wait(INTERVAL):
            # One that can't even be sent is lost as well.
            with contextlib.suppress(OSError):
                self.socket.send(str(self.sent).encode())
            self.sent += 1

    def _hear(self):
        while not (self.stopping.is_set() and len(self.heard) == self.sent):
            try:
                self.heard.add(int(self.socket.recv(100)))
            except TimeoutError:
                # Nothing is under way any longer.
                if self.stopping.is_set():
                    return
            except OSError:
                # A datagram met a closed door; the next may not.
                continue

    def end(self):
        """How many were sent and how many of them never came back."""
        self.stopping.set()
        for thread in self.threads:
            thread.join()
        return self.sent, self.sent - len(self.heard)


class Talk:
    """A connection over which a word goes there and back again and again."""

    def __init__(self, connection):
        self.connection = connection
        self.longest = 0.0
        self.words = 0
        self.failure = None
        self.stopping = threading.Event()
        self.thread = threading.Thread(target=self._run, daemon=True)
        self.thread.start()
        until(lambda: self.words or self.failure, "the connection carries a word")

    def _run(self):
        while not self.stopping.is_set():
            begin = time.monotonic()
            try:
                if not host.is_talking(self.connection):
                    self.failure = "closed"
            except OSError as error:
                self.failure = str(error)
            if self.failure:
                return
            self.words += 1
            self.longest = max(self.longest, time.monotonic() - begin)
            self.stopping.wait(INTERVAL)

    def end(self):
        self.stopping.set()
        self.thread.join()


def watch(what, act, connections):
    """Acts, and counts what the guest loses meanwhile. Its connections are older than that."""
    stream = Stream("guest", host.ROUTER_ADDRESS)
    talks = [Talk(connection) for connection in connections]
    act()
    for talk in talks:
        talk.end()
    sent, lost = stream.end()
    print(f"{what}: {lost} of {sent} datagrams lost; a word took at most " +
          " and ".join(f"{talk.longest * 1000:.0f} ms" for talk in talks), flush=True)
    equal([None, None], [talk.failure for talk in talks], f"the connections over {what}")
    equal(0, lost, f"lost datagrams over {what}")


def save_as_it_is():
    launch = Launch()
    launch.window()
    launch.save()


def save_another_network():
    launch = Launch()
    editor = launch.window()
    editor.select("tvnet1")
    editor.press(DHCP)
    until(lambda: editor.rows()[1][4] == "no", "the network has no DHCP")
    launch.save()


def story():
    address = host.address_on("tvnet8", 150)
    step("a guest has a connection out through NAT and one in through a forward")
    add_forward("tvnet8", 2222, address, ECHO)
    host.join("tvnet8", "guest", address)
    equal(f"{address}/24", host.address_of("guest"), "the guest's lease")
    for place in ("guest", host.INTERNET):
        host.serve_tcp(place, ECHO)
    host.serve_udp(host.INTERNET, ECHO)
    connections = [host.connect("guest", host.ROUTER_ADDRESS, ECHO),
                   host.connect(host.INTERNET, host.HOST_ADDRESS, 2222)]

    step("a save that changes nothing")
    watch("a save that changes nothing", save_as_it_is, connections)
    step("a save that changes another network")
    watch("a save that changes another network", save_another_network, connections)
    step("a save that adds a forward to the guest's own network")
    watch("a save that adds a forward",
          lambda: add_forward("tvnet8", 2223, address, ECHO), connections)
    check(host.is_talking(host.connect(host.INTERNET, host.HOST_ADDRESS, 2223)),
          "the new forward is reached")


run(story)
