#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""The manual pages: laid out as the programs that show them want it, and true.

    manPages_test.py LayoutTest|ContentTest

Their examples are run by VnetsDocumentTest, on a host of their own.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
PAGES = sorted((TOP / "docs/man").glob("*.[1-8]"))


def run(*command):
    result = subprocess.run(command, text=True, capture_output=True, check=False,
                            stdin=subprocess.DEVNULL)
    return result.stdout + result.stderr


class LayoutTest(unittest.TestCase):
    def test_mandoc_has_nothing_to_say(self):
        for page in PAGES:
            with self.subTest(page.name):
                self.assertEqual("", run("mandoc", "-T", "lint", "-W", "warning", str(page)))

    def test_every_page_is_there(self):
        self.assertEqual(["tavrin-netcfg.1", "tavrin-networking.5", "tavrin-vnets.8"],
                         [page.name for page in PAGES])


class ContentTest(unittest.TestCase):
    def read(self, name):
        return (TOP / "docs/man" / name).read_text()

    def test_commands_and_options_are_those_of_the_help(self):
        text = self.read("tavrin-vnets.8")
        help_text = run(os.environ["TAVRIN_VNETS"], "--help")
        told = re.findall(r"^\.It Cm ([a-z]+)", text.split("The commands are:")[1]
                          .split("The options are:")[0], re.MULTILINE)
        self.assertEqual(re.findall(r"^  ([a-z]+) ", help_text, re.MULTILINE), told)
        for option in re.findall(r"--([a-z-]+)", help_text):
            self.assertIn(f"Fl Fl {option}", text)

    def test_every_cause_that_is_found_is_told_and_no_other(self):
        found = set()
        for source in [*(TOP / "lib/vnet/doctor").glob("*.cc"),
                       TOP / "lib/vnet/cli/doctorCommand.cc"]:
            found.update(re.findall(r"\{\s*\"([a-z-]+)\",\s*(?:patient\.index|\{\})",
                                    source.read_text()))
        told = re.findall(r"^\.It Cm ([a-z-]+)$", self.read("tavrin-vnets.8")
                          .split(".Sh CAUSES")[1].split(".Sh ENVIRONMENT")[0], re.MULTILINE)
        self.assertEqual(sorted(found), told)

    def test_every_key_of_the_database_is_told(self):
        text = self.read("tavrin-networking.5")
        fields = (TOP / "lib/vnet/database/fields.hh").read_text()
        keys = re.findall(r"inline constexpr Field \w+\{\"([a-z0-9-]+)\"", fields)
        self.assertGreater(len(keys), 15)
        for key in keys:
            self.assertRegex(text, rf"\.It Cm (?:[a-z0-9-]+ , )*{key}\b", key)


if __name__ == "__main__":
    if sys.argv[1] == "LayoutTest" and not shutil.which("mandoc"):
        print("mandoc isn't installed")
        sys.exit(77)
    unittest.main(defaultTest=sys.argv[1], argv=sys.argv[:1])
