#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""The pages of the help in each language: that they're whole, lead to each other, and call the
windows' fields as the windows do."""

import ast
import gettext
import pathlib
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as xml

TOP = pathlib.Path(__file__).resolve().parents[3]
HELP = TOP / "lib/lui/help"
PO = TOP / "po"
LANGUAGES = sorted(folder.name for folder in HELP.iterdir() if folder.is_dir())
CONTENTS = "index.html"
PAGES = {CONTENTS, "main.html", "autobridge.html", "mapport.html", "nat.html"}
PREFIX = "msg.netcfg.linux."

# The fields of each page's window, as the beginnings of their ids, and what isn't a field of these.
FIELDS = {
    "main.html": ([f"{PREFIX}dialog.", f"{PREFIX}netlist.name", f"{PREFIX}netlist.type",
                   f"{PREFIX}netlist.externalConnection", f"{PREFIX}netlist.hostConnection",
                   f"{PREFIX}netlist.dhcp", f"{PREFIX}netlist.subnetAddr", f"{PREFIX}netlist.mtu"],
                  r"\.(title|help|autoBridgeCombo|bridged|nat|hostonly|automatic|hostAdapter"
                  r"|leaveBlank|description|yes|no)$"),
    "mapport.html": ([f"{PREFIX}mapPortDlg."], r"\.title$"),
    "nat.html": ([f"{PREFIX}natSettings."],
                 r"\.(title|network|subnetIP|subnetMask|hostPort|guestPort|portType|guestIPAddress"
                 r"|description)$"),
}
# What keyboards of the language have on them.
KEYS = {
    "C": {"Alt", "Down", "Enter", "Esc", "F1", "Space", "Tab", "Up"},
    "de": {"Alt", "Eingabe", "Esc", "F1", "Leertaste", "Nach oben", "Nach unten", "Tab"},
}


def read_messages():
    """The texts of the code by their ids."""
    template = (PO / "tavrin-netcfg.pot").read_text(encoding="utf-8")
    pattern = re.compile(r'^msgctxt "(.*)"\nmsgid ((?:".*"\n)+)', re.MULTILINE)
    return {context: "".join(ast.literal_eval(line) for line in text.splitlines())
            for context, text in pattern.findall(template)}


def read_translations(language):
    """The compiled catalogue of a language; one that translates nothing for C."""
    if language == "C":
        return gettext.NullTranslations()
    with tempfile.TemporaryDirectory() as folder:
        compiled = pathlib.Path(folder) / "messages.mo"
        subprocess.run(["msgfmt", f"--output-file={compiled}", str(PO / f"{language}.po")],
                       check=True)
        with open(compiled, "rb") as file:
            return gettext.GNUTranslations(file)


def plain(label):
    """A label as one speaks of it: without mark-up, mnemonic, colon and dots."""
    return re.sub(r"<[^>]*>|_", "", label).rstrip(" :*.\N{HORIZONTAL ELLIPSIS}")


def text_of(element):
    return " ".join("".join(element.itertext()).split())


class HelpPagesTest(unittest.TestCase):
    longMessage = False

    @classmethod
    def setUpClass(cls):
        messages = read_messages()
        cls.pages = {}
        cls.labels = {}  # by language, then by id
        for language in LANGUAGES:
            translations = read_translations(language)
            cls.labels[language] = {context: plain(translations.pgettext(context, text))
                                    for context, text in messages.items()}
            for file in sorted((HELP / language).iterdir()):
                cls.pages[language, file.name] = xml.parse(file).getroot()

    def elements(self, language, name, path):
        return self.pages[language, name].iterfind(f".//{path}")

    def texts(self, path, name=None):
        """Where an element stands, and its text."""
        for language, page in self.pages:
            if name in (None, page):
                for element in self.elements(language, page, path):
                    yield language, page, text_of(element)

    def links(self, language, name):
        return [link.get("href") for link in self.elements(language, name, "a")]

    def test_there_are_english_and_german_pages(self):
        self.assertEqual(["C", "de"], LANGUAGES)

    def test_every_language_has_every_page_and_no_other(self):
        for language in LANGUAGES:
            self.assertEqual(PAGES, {file.name for file in (HELP / language).iterdir()}, language)

    def test_pages_say_in_which_language_and_how_they_are_written(self):
        for (language, name), page in self.pages.items():
            self.assertEqual("en" if language == "C" else language, page.get("lang"))
            self.assertEqual("utf-8", page.find("head/meta").get("charset"), (language, name))
            self.assertEqual(text_of(page.find("head/title")), text_of(page.find("body/h1")))

    def test_pages_need_nothing_that_is_not_installed(self):
        for (language, name), page in self.pages.items():
            for element in page.iter():
                target = element.get("href") or element.get("src")
                if target:
                    self.assertTrue((HELP / language / target).is_file(), (name, target))
            self.assertEqual("../help.css", page.find("head/link").get("href"))
        sheet = (HELP / "help.css").read_text(encoding="utf-8")
        self.assertNotRegex(sheet, r"url\(|@import")

    def test_contents_lead_to_every_page_and_every_page_leads_back(self):
        for language in LANGUAGES:
            self.assertLessEqual(PAGES - {CONTENTS}, set(self.links(language, CONTENTS)), language)
            for name in PAGES - {CONTENTS}:
                self.assertEqual(CONTENTS, self.links(language, name)[0], (language, name))

    def test_links_lead_to_other_pages_of_the_same_language(self):
        for language, name in self.pages:
            self.assertLessEqual(set(self.links(language, name)), PAGES - {name}, (language, name))

    def test_what_is_called_as_on_the_screen_is_on_the_screen(self):
        called = [*self.texts("strong"), *self.texts("dl[@class='fields']/dt")]
        self.assertGreater(len(called), 50 * len(LANGUAGES))
        for language, name, text in called:
            self.assertIn(text, self.labels[language].values(), (language, name, text))

    def test_every_field_of_a_window_is_explained_on_its_page(self):
        for language in LANGUAGES:
            for name, (beginnings, others) in FIELDS.items():
                named = {text for path in ("strong", "dl[@class='fields']/dt", "h2")
                         for where, _, text in self.texts(path, name) if where == language}
                fields = [context for context in self.labels[language]
                          if context.startswith(tuple(beginnings)) and not
                          re.search(others, context)]
                self.assertGreater(len(fields), 4, name)
                for field in fields:
                    self.assertIn(self.labels[language][field], named, (language, name, field))

    def test_translations_explain_the_same_in_the_same_order(self):
        for language, name in self.pages:
            for path in ("h2", "dt", "a", "li"):
                self.assertEqual(len(list(self.elements("C", name, path))),
                                 len(list(self.elements(language, name, path))),
                                 (language, name, path))
            self.assertEqual(self.links("C", name), self.links(language, name), (language, name))

    def test_keys_are_on_the_keyboard(self):
        for language, name, text in self.texts("kbd"):
            self.assertIn(text, KEYS[language], (language, name))

    def test_links_are_called_as_the_page_that_they_lead_to(self):
        short = {"index.html", "main.html"}  # "Contents", "main window"
        for language, name in self.pages:
            for link in self.elements(language, name, "a"):
                target = link.get("href")
                title = text_of(self.pages[language, target].find("body/h1"))
                if target not in short:
                    self.assertEqual(title, text_of(link), (language, name))

    def test_windows_are_called_as_they_are(self):
        titles = {"main.html": f"{PREFIX}dialog.title", "nat.html": f"{PREFIX}natSettings.title",
                  "mapport.html": f"{PREFIX}mapPortDlg.title",
                  "autobridge.html": f"{PREFIX}autoBridge.title"}
        for language in LANGUAGES:
            for name, context in titles.items():
                self.assertEqual(self.labels[language][context],
                                 text_of(self.pages[language, name].find("body/h1")))


if __name__ == "__main__":
    unittest.main()
