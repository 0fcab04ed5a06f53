#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""An ordinary user, and root, launch the editor; pkexec and polkit are the real ones.

Root makes the users and starts the daemons; elevationUser.py goes on as one of the users.
"""
import os
import shutil
import subprocess

import polkit
from check import check, equal, run, skip, step
from editor import BUILD, PROGRAM, Launch

HERE = os.path.dirname(os.path.abspath(__file__))


def database():
    with open("/etc/tavrin/networking") as file:
        return file.read()


def run_story(user, case):
    status = polkit.run_as(user, f"{HERE}/elevationUser.py", case)
    equal(0, status, f"{case} as {user}")


def can_read_program():
    return subprocess.run(["setpriv", "--reuid", "trusted", "--regid", "trusted", "--clear-groups",
                           "test", "-x", f"{BUILD}/tavrin-netcfg", "-a", "-r",
                           f"{HERE}/elevationUser.py"], check=False).returncode == 0


def make_root_giver():
    """What the stand-in for gnomesu becomes root with; it is on the sandbox's own storage."""
    giver = f"{polkit.HOME}/giveRoot"
    shutil.copy(shutil.which("setpriv"), giver)
    os.chmod(giver, 0o4755)


def story():
    if not os.path.exists("/usr/bin/pkexec"):
        skip("pkexec isn't installed")
    # Before others start theirs on this display.
    os.environ["AT_SPI_BUS_ADDRESS"] = subprocess.run(
        [polkit.ACCESSIBLY, "printenv", "AT_SPI_BUS_ADDRESS"], check=True, text=True,
        stdout=subprocess.PIPE).stdout.strip()
    # As the client names it to pkexec.
    polkit.start(f"{os.path.realpath(BUILD)}/lib/../{PROGRAM}")
    if not can_read_program():
        skip(f"an ordinary user may not read {BUILD}")

    step("whom the rules trust gets the editor, and saves")
    before = database()
    run_story("trusted", "allowed")
    check("subnet=10.8.0.0" in database(), "the save reached the database")
    check(before != database(), "the database changed")
    step("whom the rules refuse gets nothing")
    run_story("refused", "refused")
    step("who is asked, and tells the password, gets the editor")
    run_story("asked", "password")
    step("who is asked, and tells a wrong one, gets nothing")
    run_story("asked", "wrong")
    step("who is asked, and dismisses that, gets nothing")
    run_story("asked", "cancelled")
    step("gnomesu is told the same command line")
    make_root_giver()
    run_story("asked", "gnomesu")
    step("root needs no tool at all")
    launch = Launch(environment={"PATH": "/nowhere"})
    equal("tvnet0", launch.window().rows()[0][0], "the first network")
    launch.save()


run(story)
