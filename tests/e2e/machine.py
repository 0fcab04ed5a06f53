#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""A real virtual machine on the NAT network, by a tap."""
import os
import shutil
import subprocess

import host
from check import check, run, skip, step, until
from editor import add_forward

NETWORK = "tvnet8"
# Software emulation on a loaded machine boots once, twice or three times.
BOOT_SECONDS = 80


def skip_without_parts():
    if not shutil.which("qemu-system-x86_64"):
        skip("qemu-system-x86 isn't installed")
    try:
        os.close(os.open("/dev/net/tun", os.O_RDWR))
    except OSError as error:
        skip(f"there can be no taps: {error}")
    for part in ("kernel", "initramfs"):
        path = f"{os.environ['SANDBOX_CACHE']}/vm/{part}"
        if not os.path.exists(path):
            skip(f"there is no {path}; tools/sandbox/prepare-guest vm makes it")


def boot(address):
    """Gives what the machine tells, until it listens."""
    machine = subprocess.Popen(
        [f"{host.TOOLS}/vm", NETWORK], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
        env={**os.environ, "GUEST_ADDRESS": address, "SANDBOX_PATIENCE": str(BOOT_SECONDS)})
    told = []
    for line in machine.stdout:
        print(line, end="", flush=True)
        told.append(line.strip())
        if "listens on port" in line:
            return told
    check(False, f"the machine doesn't come up: {told}")
    return told


def story():
    skip_without_parts()
    address = host.address_on(NETWORK, 150)
    gateway = host.address_on(NETWORK, 2)
    step("a port is forwarded to where the machine will be")
    add_forward(NETWORK, 2222, address, 2222)
    step("the machine boots, gets its address, resolves a name and fetches the page")
    told = boot(address)
    check(f"vm: lease {address}/24, route {gateway}, DNS {gateway}" in told,
          f"the machine's lease: {told}")
    check(f"vm: Hello from www.example.test; you come from {host.HOST_ADDRESS}." in told,
          f"the machine's page: {told}")
    step("it is reached on its forwarded port")
    # It doesn't listen yet when it says so, and no longer for a moment after each caller.
    until(lambda: host.read_greeting(host.INTERNET, host.HOST_ADDRESS, 2222) ==
          b"This is the virtual machine.\n", "the machine answers TCP 2222 from outside")


run(story)
