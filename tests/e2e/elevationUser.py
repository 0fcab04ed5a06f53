#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""One launch by an ordinary user: elevationUser.py allowed|refused|password|wrong|cancelled|gnomesu"""
import os
import subprocess
import sys

import polkit
from check import check, equal, run
from editor import BUILD, PROGRAM, Launch, servers, titles

HERE = os.path.dirname(os.path.abspath(__file__))
MESSAGE = "Authentication is required to edit the virtual networks of this computer"
GERMAN_MESSAGE = ("Zum Bearbeiten der virtuellen Netzwerke dieses Rechners ist eine Anmeldung "
                  "erforderlich")


class AskedLaunch(Launch):
    """A launch in a session whose agent answers so."""

    def __init__(self, answer, locale="C.UTF-8"):
        reader, writer = os.pipe()
        # A process that becomes the program once the agent knows it.
        super().__init__(command=["/bin/sh", "-c", f'read -r _ <&{reader}; exec "$0"',
                                  f"{BUILD}/{PROGRAM}"], passed=(reader,))
        self.agent = subprocess.Popen([f"{HERE}/agent.py", answer, str(self.process.pid),
                                       locale], stdout=subprocess.PIPE, text=True)
        equal("ready\n", self.agent.stdout.readline(), "the agent")
        os.write(writer, b"\n")

    def expect_question(self, message=MESSAGE):
        equal(f"asked: {polkit.ACTION}: {message}\n", self.agent.stdout.readline(),
              "the agent's question")

    def wait(self, status=0):
        text = super().wait(status)
        self.agent.terminate()
        self.agent.wait()
        return text


def user_of(process):
    with open(f"/proc/{process}/status") as file:
        return next(line.split()[1] for line in file if line.startswith("Uid:"))


def expect_root_server(launch):
    launch.window()
    check(os.geteuid() != 0, "this is an ordinary user")
    found = servers(launch.process.pid)
    check("0" in [user_of(process) for process in found], f"root serves: {found}")


def expect_nothing(launch, reason):
    """Neither a window nor a server; the log names the reason."""
    text = launch.wait(1)
    check(reason in text + read_logs(), f"the log names {reason!r}: {text}")
    equal([], titles(), "the windows")
    launch.expect_no_server()


def read_logs():
    folder = os.path.join(os.environ["XDG_STATE_HOME"], "tavrin")
    texts = []
    for name in os.listdir(folder):
        with open(os.path.join(folder, name)) as file:
            texts.append(file.read())
    return "".join(texts)


def allowed():
    launch = Launch()
    expect_root_server(launch)
    editor = launch.window()
    editor.select("tvnet8")
    editor.type("Subnet IP:", "10.8.0.0")
    launch.save()


def refused():
    expect_nothing(Launch(), "pkexec: not authorized")


def password():
    launch = AskedLaunch(polkit.PASSWORD)
    launch.expect_question()
    expect_root_server(launch)
    launch.cancel()


def wrong():
    launch = AskedLaunch("incorrect")
    launch.expect_question()
    expect_nothing(launch, "pkexec: not authorized")


def cancelled():
    launch = AskedLaunch("cancel", "de_DE.UTF-8")
    launch.expect_question(GERMAN_MESSAGE)
    expect_nothing(launch, "pkexec: the request for the password was dismissed")


def gnomesu():
    """The stand-in notes its command line, and stays until that has ended."""
    home = os.environ["HOME"]
    os.mkdir(f"{home}/tools")
    tool = f"{home}/tools/gnomesu"
    with open(tool, "w") as file:
        file.write(f"#!/bin/sh\nprintf '%s\\n' \"$0\" \"$@\" >{home}/vector\n"
                   f"{polkit.HOME}/giveRoot --reuid 0 --regid 0 --clear-groups \"$@\"\nexit $?\n")
    os.chmod(tool, 0o755)
    launch = Launch(environment={"PATH": os.path.dirname(tool)})
    expect_root_server(launch)
    with open(f"{home}/vector") as file:
        vector = file.read().splitlines()
    equal(5, len(vector), "the arguments of gnomesu")
    equal(tool, vector[0], "the tool")
    equal(os.path.realpath(f"{BUILD}/{PROGRAM}"), os.path.realpath(vector[1]), "the program")
    check(vector[2].isdigit() and vector[3].isdigit(), f"two descriptors: {vector}")
    equal(str(launch.process.pid), vector[4], "the client")
    launch.cancel()


run({"allowed": allowed, "refused": refused, "password": password, "wrong": wrong,
     "cancelled": cancelled, "gnomesu": gnomesu}[sys.argv[1]])
