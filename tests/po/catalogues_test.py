#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""How po/ is compiled and installed, tried on a copy with languages of its own."""

import pathlib
import shutil
import subprocess
import tempfile
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]

PROJECT = """cmake_minimum_required(VERSION 3.25)
project(tavrin-netcfg VERSION 1 LANGUAGES NONE)
set(CMAKE_INSTALL_LOCALEDIR share/locale)
add_subdirectory(po)
"""

CATALOGUE = """msgid ""
msgstr ""
"Project-Id-Version: tavrin-netcfg\\n"
"PO-Revision-Date: 2000-01-01 00:00+0000\\n"
"Last-Translator: Nobody <nobody@example.org>\\n"
"Language-Team: none\\n"
"Language: {language}\\n"
"MIME-Version: 1.0\\n"
"Content-Type: text/plain; charset=UTF-8\\n"
"Content-Transfer-Encoding: 8bit\\n"

#, c-format
msgctxt "msg"
msgid "%s uses %u"
msgstr "{translation}"
"""


class CataloguesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.top = pathlib.Path(folder.name)
        (self.top / "po").mkdir()
        (self.top / "CMakeLists.txt").write_text(PROJECT)
        shutil.copy(TOP / "po" / "CMakeLists.txt", self.top / "po")

    def add(self, **translations):
        lines = "# Comment.\n" + "".join(f"{language}\n" for language in translations)
        (self.top / "po" / "LINGUAS").write_text(lines)
        for language, translation in translations.items():
            (self.top / "po" / f"{language}.po").write_text(
                CATALOGUE.format(language=language, translation=translation), encoding="utf-8")

    def cmake(self, *arguments):
        return subprocess.run(["cmake", *arguments], cwd=self.top, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)

    def build(self):
        configured = self.cmake("-G", "Ninja", "-S", ".", "-B", "build")
        self.assertEqual(0, configured.returncode, configured.stdout)
        return self.cmake("--build", "build")

    def installed(self):
        done = self.cmake("--install", "build", "--prefix", "root")
        self.assertEqual(0, done.returncode, done.stdout)
        return sorted(path.relative_to(self.top / "root").as_posix()
                      for path in (self.top / "root").rglob("*.mo"))

    def test_no_language_is_a_language_list_too(self):
        self.add()
        done = self.build()
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertEqual([], self.installed())

    def test_every_language_is_compiled_and_installed(self):
        self.add(de="%s nutzt %u", pt_BR="%s usa %u")
        done = self.build()
        self.assertEqual(0, done.returncode, done.stdout)
        built = self.top / "build/locale/de/LC_MESSAGES/tavrin-netcfg.mo"
        self.assertIn(b"%s nutzt %u", built.read_bytes())
        self.assertEqual(["share/locale/de/LC_MESSAGES/tavrin-netcfg.mo",
                          "share/locale/pt_BR/LC_MESSAGES/tavrin-netcfg.mo"], self.installed())

    def test_a_translation_with_other_arguments_fails_the_build(self):
        self.add(de="%u nutzt %s")
        done = self.build()
        self.assertNotEqual(0, done.returncode)
        self.assertIn("de.po", done.stdout)

    def test_a_language_without_its_file_fails_the_build(self):
        self.add(de="%s nutzt %u")
        (self.top / "po" / "de.po").unlink()
        self.assertNotEqual(0, self.build().returncode)


if __name__ == "__main__":
    unittest.main()
