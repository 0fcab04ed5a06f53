#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""What can't work is told at once, before anything is installed or built, and with a remedy."""
import os
import re
import subprocess
import tempfile

from check import DEADLINE, check, equal, run, step

TOOLS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools")
NO_DISPLAY = {"DISPLAY": "", "WAYLAND_DISPLAY": ""}
ELSEWHERE = "try tools/run --browser, or tools/run --screenshot FILE"
REFUSALS = (  # arguments, environment, what is told
    ([], {}, f"no display was found; {ELSEWHERE}"),
    ([], {"DISPLAY": "localhost:10.0"},
     f"no display was found: a sandbox doesn't reach localhost:10.0; {ELSEWHERE}"),
    ([], {"DISPLAY": ":4711", "WAYLAND_DISPLAY": "/nowhere/wayland-0"},
     f"no display was found: a sandbox doesn't reach :4711 and /nowhere/wayland-0; {ELSEWHERE}"),
    (["--host"], {}, "no display was found; --host needs one"),
    (["--host", "--browser"], {}, "--host goes with no other option"),
    (["--vm"], {}, "--vm needs a value; see tools/run --help"),
    (["--guest", "br0"], {}, "there is no network br0; try tvnet8"),
    (["--screenshot", "/nowhere/x.png"], {}, "there is no folder /nowhere"),
    (["--screenshot", "/proc"], {}, "can't write /proc"),
    (["--browser", "--keep", "/proc/x"], {}, "can't make the folder /proc/x"),
)


def output_of(command, environment):
    return subprocess.run(command, env={**os.environ, **environment}, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=DEADLINE, check=False)


def put(folder, name, line):
    with open(f"{folder}/{name}", "w") as file:
        file.write(f"#!/bin/sh\n{line}\n")
    os.chmod(f"{folder}/{name}", 0o755)


def refuse(arguments, environment, told):
    with tempfile.TemporaryDirectory() as folder:
        # What isn't refused gets no further than this.
        put(folder, "dpkg-query", "echo installed")
        put(folder, "cmake", "echo it builds; exit 9")
        path = f"{folder}:{os.environ['PATH']}"
        done = output_of([f"{TOOLS}/run", *arguments], {**NO_DISPLAY, **environment, "PATH": path})
    check(done.returncode in (1, 2), f"tools/run {arguments} fails: {done.stdout}")
    equal(f"tools/run: {told}", done.stdout.splitlines()[-1], f"tools/run {arguments}")


def install(*programs):
    """What tools/setup tells a user who has these programs, and no package."""
    with tempfile.TemporaryDirectory() as folder:
        for name in ("bash", "sh", "dirname", "grep"):
            os.symlink(f"/usr/bin/{name}", f"{folder}/{name}")
        for name, line in (("id", "echo 1000"), ("dpkg-query", "exit 1"), *programs):
            put(folder, name, line)
        done = output_of(["/bin/bash", f"{TOOLS}/setup", "run", "sandbox"], {"PATH": folder})
    equal(1, done.returncode, "the status of tools/setup")
    return done.stdout


def expect_by_hand(text):
    packages = re.search(r"^    apt-get update -q && .* apt-get install .*300 (.*)$", text, re.M)
    check(packages, f"what root has to do is told: {text}")
    names = packages[1].split()
    check("dbus" in names and "iproute2" in names, f"all kinds are installed: {names}")
    equal(sorted(set(names)), sorted(names), "the packages, each once")


def story():
    for refusal in REFUSALS:
        step(" ".join(["tools/run", *refusal[0]]))
        refuse(*refusal)
    step("no apt-get")
    check("there is no apt-get here" in install(), "what is needed is told")
    step("no sudo")
    expect_by_hand(install(("apt-get", "exit 100")))
    step("an apt-get that fails")
    text = install(("apt-get", "exit 100"), ("sudo", 'exec "$@"'))
    check("couldn't be installed" in text, f"the failure is told: {text}")
    expect_by_hand(text)


run(story)
