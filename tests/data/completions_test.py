#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""The completions of tavrin-vnets, each in its shell.

    completions_test.py BashTest|ZshTest|FishTest

Ends with 77 where that shell isn't installed. The program stands in for itself with a list of
networks of its own; TAVRIN_VNETS names the real one, whose commands the completions have to know.
"""

import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

COMPLETIONS = pathlib.Path(__file__).resolve().parents[2] / "data/completions"
PATIENCE = 60  # seconds
STAND_IN = """#!/bin/sh
[ "$*" = list ] || exit 1
echo 'NETWORK  TYPE       SUBNET'
echo 'tvnet0   bridged    -'
echo 'tvnet12  host-only  192.168.1.0/24'
echo 'tvnet8   NAT        192.168.8.0/24'
"""


def list_commands():
    """The commands that the program's own help names."""
    text = subprocess.run([os.environ["TAVRIN_VNETS"], "--help"], check=True, text=True,
                          capture_output=True).stdout
    return re.findall(r"^  ([a-z]+) ", text, re.MULTILINE)


class ShellTest(unittest.TestCase):
    """A folder with the program's stand-in on the path."""

    shell = None

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        stand_in = self.folder / "tavrin-vnets"
        stand_in.write_text(STAND_IN)
        stand_in.chmod(0o755)
        (self.folder / "networks.json").write_text("{}")
        self.environment = dict(os.environ, PATH=f"{self.folder}:{os.environ['PATH']}",
                                HOME=str(self.folder), XDG_CONFIG_HOME=str(self.folder),
                                XDG_DATA_HOME=str(self.folder), XDG_CACHE_HOME=str(self.folder),
                                TERM="dumb", LC_ALL="C.UTF-8")

    def run_shell(self, *arguments):
        return subprocess.run([self.shell, *arguments], check=True, text=True, timeout=PATIENCE,
                              capture_output=True, cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL).stdout


class Candidates:
    """For shells that tell what they would offer."""

    def complete(self, line):
        raise NotImplementedError

    def test_every_command_is_offered(self):
        offered = self.complete("tavrin-vnets ")
        for command in list_commands():
            self.assertIn(command, offered)

    def test_commands_are_completed(self):
        self.assertEqual(["start", "status", "stop"], sorted(self.complete("tavrin-vnets st")))

    def test_networks_of_the_database_are_offered(self):
        self.assertEqual(["tvnet0", "tvnet12", "tvnet8"],
                         sorted(self.complete("tavrin-vnets status tv")))

    def test_a_network_is_offered_once(self):
        self.assertEqual(["tvnet0", "tvnet8"],
                         sorted(self.complete("tavrin-vnets doctor tvnet12 tv")))

    def test_options_are_those_of_the_command(self):
        self.assertEqual(["--dry-run"], self.complete("tavrin-vnets apply --d"))
        self.assertEqual([], self.complete("tavrin-vnets list --d"))
        self.assertEqual(["--json"], self.complete("tavrin-vnets list --j"))
        self.assertEqual(["--since"], [text.rstrip("=") for text in
                                       self.complete("tavrin-vnets log --s")])

    def test_documents_are_files(self):
        self.assertEqual(["networks.json"], self.complete("tavrin-vnets apply net"))

    def test_without_a_database_nothing_breaks(self):
        (self.folder / "tavrin-vnets").write_text("#!/bin/sh\necho none >&2\nexit 1\n")
        self.assertEqual([], self.complete("tavrin-vnets status tv"))


class BashTest(Candidates, ShellTest):
    shell = "bash"

    def complete(self, line):
        script = (f"source {COMPLETIONS}/bash/tavrin-vnets; COMP_WORDS=(\"$@\"); "
                  "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _tavrin_vnets; "
                  "printf '%s\\n' \"${COMPREPLY[@]}\"")
        words = line.split(" ")
        return self.run_shell("--norc", "-c", script, "bash", *words).split()


class FishTest(Candidates, ShellTest):
    shell = "fish"

    def complete(self, line):
        script = f"source {COMPLETIONS}/fish/tavrin-vnets.fish; complete -C '{line}'"
        return [text.split("\t")[0] for text in
                self.run_shell("--no-config", "-c", script).splitlines()]


class ZshTest(ShellTest):
    """Zsh completes in its line editor alone, so it gets a terminal."""

    shell = "zsh"

    @classmethod
    def setUpClass(cls):
        # Where zsh remembers what it found, which takes it a second.
        cls.memory = cls.enterClassContext(tempfile.TemporaryDirectory())

    def complete(self, typed):
        """What the line is after the tabulator."""
        ready, result = self.folder / "ready", self.folder / "result"
        setup = self.folder / ".zshrc"
        setup.write_text(f"fpath=({COMPLETIONS}/zsh $fpath)\n"
                         f"autoload -U compinit; compinit -u -d {self.memory}/dump\n"
                         "setopt no_auto_menu no_list_ambiguous\n"
                         "LISTMAX=1000\n"
                         f"tell() {{ print -r -- \"$BUFFER\" > {result}.new; "
                         f"mv {result}.new {result} }}\n"
                         "zle -N tell; bindkey '^T' tell\n"
                         f"zle-line-init() {{ : > {ready} }}; zle -N zle-line-init\n")
        environment = dict(self.environment, ZDOTDIR=str(self.folder))
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(self.folder)
            os.execvpe("zsh", ["zsh", "--no-globalrcs", "-i"], environment)
        try:
            # What is typed before may be thrown away.
            self.wait_for(ready, terminal)
            os.write(terminal, typed.encode() + b"\t\x14")
            self.wait_for(result, terminal)
        finally:
            os.kill(pid, 9)
            os.waitpid(pid, 0)
            os.close(terminal)
        text = result.read_text().rstrip("\n")
        ready.unlink()
        result.unlink()
        return text

    def wait_for(self, path, terminal):
        end = time.monotonic() + PATIENCE
        while not path.exists():
            self.assertLess(time.monotonic(), end, "zsh doesn't answer")
            # It would stop if nobody read what it prints.
            if select.select([terminal], [], [], 0.01)[0]:
                os.read(terminal, 65536)

    def test_commands_are_completed(self):
        self.assertEqual("tavrin-vnets doctor ", self.complete("tavrin-vnets doc"))
        self.assertEqual("tavrin-vnets st", self.complete("tavrin-vnets st"))

    def test_every_command_is_known(self):
        text = (COMPLETIONS / "zsh/_tavrin-vnets").read_text()
        for command in list_commands():
            self.assertIn(f"'{command}:", text)

    def test_networks_of_the_database_are_completed(self):
        self.assertEqual("tavrin-vnets status tvnet12 ",
                         self.complete("tavrin-vnets status tvnet1"))

    def test_a_network_is_offered_once(self):
        self.assertEqual("tavrin-vnets stop tvnet12 tvnet1",
                         self.complete("tavrin-vnets stop tvnet12 tvnet1"))

    def test_options_are_those_of_the_command(self):
        self.assertEqual("tavrin-vnets apply --dry-run ",
                         self.complete("tavrin-vnets apply --d"))
        self.assertEqual("tavrin-vnets list --d", self.complete("tavrin-vnets list --d"))

    def test_documents_are_files(self):
        self.assertEqual("tavrin-vnets apply networks.json ",
                         self.complete("tavrin-vnets apply net"))


if __name__ == "__main__":
    tested = globals()[sys.argv[1]]
    if not shutil.which(tested.shell):
        print(f"{tested.shell} isn't installed")
        sys.exit(77)
    unittest.main(defaultTest=sys.argv[1], argv=sys.argv[:1])
