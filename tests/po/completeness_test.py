#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Every catalogue of po/ has every text of the template, and no other."""

import pathlib
import subprocess
import unittest

PO = pathlib.Path(__file__).resolve().parents[2] / "po"
LANGUAGES = [line for line in (PO / "LINGUAS").read_text().splitlines()
             if line and not line.startswith("#")]


def run(*command):
    return subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, check=False)


class CompletenessTest(unittest.TestCase):
    def expect_nothing(self, language, which):
        done = run("msgattrib", which, "--no-location", PO / f"{language}.po")
        self.assertEqual((0, ""), (done.returncode, done.stdout), f"{language}: {which}")

    def test_the_languages_are_the_catalogues(self):
        self.assertEqual(sorted(path.stem for path in PO.glob("*.po")), sorted(LANGUAGES))
        self.assertTrue(LANGUAGES)

    def test_every_text_of_the_template_is_translated(self):
        for language in LANGUAGES:
            done = run("msgcmp", PO / f"{language}.po", PO / "tavrin-netcfg.pot")
            self.assertEqual(0, done.returncode, done.stdout)

    def test_nothing_is_unsure_or_left_over(self):
        for language in LANGUAGES:
            for which in ("--only-fuzzy", "--untranslated", "--only-obsolete"):
                self.expect_nothing(language, which)

    def test_each_catalogue_says_which_language_it_is(self):
        for language in LANGUAGES:
            text = (PO / f"{language}.po").read_text(encoding="utf-8")
            self.assertIn(f'"Language: {language}\\n"', text)
            self.assertIn('charset=UTF-8\\n"', text)


if __name__ == "__main__":
    unittest.main()
