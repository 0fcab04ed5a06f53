# SPDX-License-Identifier: GPL-2.0-or-later
"""The sandbox's host, its internet and its guests: places that sockets can be made in."""
import contextlib
import ctypes
import os
import re
import select
import socket
import subprocess
import threading
import time

from check import DEADLINE, check, until

TOOLS = os.environ["SANDBOX_TOOLS"]
HOST = "host"
INTERNET = "internet"
HOST_ADDRESS = "198.51.100.10"
ROUTER_ADDRESS = "198.51.100.1"
PAGE_ADDRESS = "203.0.113.80"
PAGE = "http://www.example.test/"
# Asks a name server for the address of that page's host.
QUERY = b"\0\1\1\0\0\1\0\0\0\0\0\0\3www\7example\4test\0\0\1\0\1"

_libc = ctypes.CDLL(None, use_errno=True)
_own = os.open("/proc/self/ns/net", os.O_RDONLY)
CLONE_NEWNET = 0x40000000


def run(*command, may_fail=False):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=DEADLINE, check=False)
    check(may_fail or done.returncode == 0, f"{' '.join(command)}: {done.stdout}")
    return done.stdout


def command_lines():
    """The processes' numbers, each with its words."""
    for number in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError), open(f"/proc/{number}/cmdline", "rb") as file:
            yield int(number), file.read().decode(errors="replace").split("\0")[:-1]


def _enter(descriptor):
    if _libc.setns(descriptor, CLONE_NEWNET) != 0:
        raise OSError(ctypes.get_errno(), "setns")


@contextlib.contextmanager
def at(place):
    """Sockets made meanwhile belong to that place."""
    if place == HOST:
        yield
        return
    descriptor = os.open(f"/run/netns/{place}", os.O_RDONLY)
    try:
        _enter(descriptor)
        yield
    finally:
        _enter(_own)
        os.close(descriptor)


# --- guests


def join(network, guest="guest", address=""):
    """Lets a guest join; the text tells its lease, its route and the page that it fetches."""
    return run("env", f"GUEST_ADDRESS={address}", f"{TOOLS}/guest", network, guest)


def leave(guest):
    run("ip", "netns", "del", guest)


def address_of(guest):
    words = run("ip", "-n", guest, "-4", "-o", "addr", "show", "eth0").split()
    return words[3] if len(words) > 3 else None


def route_of(guest):
    words = run("ip", "-n", guest, "route", "show", "default").split()
    return words[2] if len(words) > 2 else None


def address_on(network, number):
    """The address of that number in the network's /24."""
    for line in run("ip", "-4", "-o", "addr", "show", network).splitlines():
        address, _, length = line.split()[3].partition("/")
        if length == "24":
            return f"{address.rpartition('.')[0]}.{number}"
    raise LookupError(f"{network} has no address")


def nameservers_of(guest):
    with open(f"/etc/netns/{guest}/resolv.conf") as file:
        return [line.split()[1] for line in file]


def hardware_address_of(guest):
    return run("ip", "netns", "exec", guest, "cat", "/sys/class/net/eth0/address").strip()


def fetch(place, url=PAGE):
    """The page as that place sees it, by its own nameserver; why there is none otherwise."""
    return run("ip", "netns", "exec", place, f"{TOOLS}/fetch", url, may_fail=True).strip()


# --- servers


def serve_tcp(place, port, greeting=b""):
    """Greets each caller and then sends back what it gets."""
    with at(place):
        listener = socket.create_server(("", port))

    def talk(caller):
        with caller, contextlib.suppress(OSError):
            caller.sendall(greeting)
            while data := caller.recv(65536):
                caller.sendall(data)

    def listen():
        while True:
            caller, _ = listener.accept()
            threading.Thread(target=talk, args=(caller,), daemon=True).start()

    threading.Thread(target=listen, daemon=True).start()


def serve_udp(place, port, prefix=b""):
    """Sends back each datagram with the prefix before it."""
    with at(place):
        server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    server.bind(("", port))

    def answer():
        while True:
            data, caller = server.recvfrom(65536)
            with contextlib.suppress(OSError):
                server.sendto(prefix + data, caller)

    threading.Thread(target=answer, daemon=True).start()


# --- callers


def connect(place, address, port, timeout=DEADLINE):
    with at(place):
        return socket.create_connection((address, port), timeout)


def can_connect(place, address, port, timeout):
    try:
        connect(place, address, port, timeout).close()
        return True
    except OSError:
        return False


def read_greeting(place, address, port, timeout=DEADLINE):
    """What the server there says first; None if it can't be reached."""
    try:
        with connect(place, address, port, timeout) as caller:
            return caller.recv(1000)
    except OSError:
        return None


def ask(place, address, port, question, attempts=60):
    """The answer to a datagram, asked again each half second; None if none comes."""
    with at(place):
        caller = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    with caller:
        caller.connect((address, port))
        for _ in range(attempts):
            with contextlib.suppress(ConnectionRefusedError):
                caller.send(question)
                if select.select([caller], [], [], 0.5)[0]:
                    return caller.recv(65536)
    return None


def is_talking(caller, timeout=DEADLINE):
    """Whether what is sent over an open connection still comes back."""
    word = str(time.monotonic()).encode()
    caller.settimeout(timeout)
    caller.sendall(word)
    found = b""
    while len(found) < len(word):
        data = caller.recv(len(word) - len(found))
        if not data:
            return False
        found += data
    return found == word


# --- adapters


def unplug(adapter):
    run(f"{TOOLS}/commands/unplug", adapter)


def plug(adapter):
    run(f"{TOOLS}/commands/plug", adapter)


def has_carrier(adapter):
    return "LOWER_UP" in run("ip", "link", "show", adapter)


def cable_of(guest):
    """The adapter by whose cable the LAN's switch last heard the guest; None if it didn't."""
    mac = hardware_address_of(guest)
    for line in run("bridge", "-n", INTERNET, "fdb", "show").splitlines():
        words = line.split()
        if words[0] == mac and "master" in words:
            return words[2]
    return None


# --- what our networks are made of


def traces_of(network):
    """All that the host has of a network; empty if there is nothing of it."""
    found = []
    if os.path.exists(f"/sys/class/net/{network}"):
        found.append("bridge")
    if re.search(rf"tavrin-{network}\b", run("nft", "list", "tables")):
        found.append("rules")
    if any(f"/{network}/" in word for _, words in command_lines() for word in words):
        found.append("dnsmasq")
    found += [path for path in (f"/run/tavrin/{network}", f"/var/lib/tavrin/{network}")
              if os.path.exists(path)]
    for path in ("/etc/tavrin/networking", "/etc/tavrin/netmap.conf"):
        with open(path) as file:
            if network in file.read():
                found.append(path)
    return found


def until_gone(network):
    until(lambda: not traces_of(network), f"nothing is left of {network}: {traces_of(network)}")
