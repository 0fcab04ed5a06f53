#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""What desktops show, start and ask about the editor."""
import configparser
import os
import re
import subprocess
import tempfile
import xml.etree.ElementTree as xml

from suite import DATA, TOP, FilesTest, main

ID = "org.tavrin.NetCfg"
ICON = "tavrin-netcfg"
FOLDER = DATA / "desktop"
PO = TOP / "po" / "desktop"
LANGUAGES = {"ar", "de", "es", "fr", "ja", "pt_BR", "zh_CN"}
TRANSLATED_KEYS = ("Name", "GenericName", "Comment", "Keywords")
LANGUAGE = "{http://www.w3.org/XML/1998/namespace}lang"


def read_keys(kind):
    parser = configparser.ConfigParser(delimiters="=", interpolation=None, strict=True)
    parser.optionxform = str
    with open(FOLDER / f"{ID}.{kind}", encoding="utf-8") as file:
        parser.read_file(file)
    return parser


def read_xml(kind):
    return xml.parse(FOLDER / f"{ID}.{kind}").getroot()


def read_program():
    return read_keys("desktop")["Desktop Entry"]["Exec"]


class EntryTest(FilesTest):
    tool = "desktop-file-validate"

    def test_the_standard_is_kept(self):
        said = self.judge(FOLDER / f"{ID}.desktop")
        self.assertNotIn("error", said)
        self.assertNotIn("warning", said)

    def test_it_starts_what_it_looks_for(self):
        entry = read_keys("desktop")["Desktop Entry"]
        self.assertTrue(os.path.isabs(entry["Exec"]))
        self.assertEqual("tavrin-netcfg", os.path.basename(entry["Exec"]))
        self.assertEqual(entry["Exec"], entry["TryExec"])

    def test_each_list_of_keywords_ends_as_lists_do(self):
        lists = {key: text for key, text in read_keys("desktop")["Desktop Entry"].items()
                 if key.startswith("Keywords")}
        self.assertEqual(1 + len(LANGUAGES), len(lists))
        for key, text in lists.items():
            self.assertRegex(text, r"^([^;]+;){5,}$", key)


class MetainfoTest(FilesTest):
    tool = "appstreamcli"

    def test_the_standard_is_kept(self):
        said = self.judge("validate", "--no-net", "--no-color", FOLDER / f"{ID}.metainfo.xml")
        self.assertIsNone(re.search(r"^\s*[EW]:", said, re.MULTILINE), said)

    def test_it_names_the_files_beside_it(self):
        component = read_xml("metainfo.xml")
        entry = read_keys("desktop")["Desktop Entry"]
        self.assertEqual(ID, component.findtext("id"))
        self.assertEqual(f"{ID}.desktop", component.findtext("launchable"))
        self.assertEqual(entry["Icon"], component.findtext("icon"))
        self.assertEqual(ID, component.findtext("provides/dbus"))
        self.assertEqual(entry["Name"], component.findtext("name"))

    def test_the_newest_release_is_the_version_of_the_project(self):
        version = re.search(r"project\(\S+ VERSION (\S+)", (TOP / "CMakeLists.txt").read_text())
        releases = read_xml("metainfo.xml").findall("releases/release")
        self.assertEqual(version.group(1), releases[0].get("version"))


class PolicyTest(FilesTest):
    def test_the_question_is_asked_about_the_program_that_is_started(self):
        action = read_xml("policy").find("action")
        self.assertEqual(f"{ID}.edit", action.get("id"))
        notes = {note.get("key"): note.text for note in action.findall("annotate")}
        # The server has no window, so nothing of the user's display is for root.
        self.assertEqual({"org.freedesktop.policykit.exec.path": read_program()}, notes)

    def test_nobody_gets_root_without_an_administrators_password(self):
        defaults = read_xml("policy").find("action/defaults")
        self.assertEqual({"allow_any": "auth_admin", "allow_inactive": "auth_admin",
                          "allow_active": "auth_admin_keep"},
                         {default.tag: default.text for default in defaults})


class ServiceTest(FilesTest):
    def test_the_bus_starts_the_program_of_the_desktop_entry(self):
        service = read_keys("service")["D-BUS Service"]
        self.assertEqual({"Name": ID, "Exec": read_program()}, dict(service))


class IconsTest(FilesTest):
    def read_icon(self, name):
        picture = xml.parse(TOP / "data/desktop/icons" / f"{name}.svg")
        return picture.getroot(), (TOP / "data/desktop/icons" / f"{name}.svg").read_text()

    def test_the_entry_names_the_icon(self):
        self.assertEqual(ICON, read_keys("desktop")["Desktop Entry"]["Icon"])
        self.assertEqual(ICON, read_xml("policy").findtext("icon_name"))

    def test_each_is_square_and_stands_alone(self):
        for name, size in ((ICON, "128"), (f"{ICON}-symbolic", "16")):
            picture, text = self.read_icon(name)
            self.assertEqual((size, size, f"0 0 {size} {size}"),
                             (picture.get("width"), picture.get("height"), picture.get("viewBox")))
            self.assertNotRegex(text, "<image|<text|href|<script")

    def test_the_symbolic_one_has_one_colour(self):
        _, text = self.read_icon(f"{ICON}-symbolic")
        self.assertEqual({"#2e3436"}, set(re.findall(r"#[0-9a-fA-F]{3,8}\b", text)))


class TranslationsTest(FilesTest):
    tool = "xgettext"

    def collect(self, folder):
        """All texts of these files that are for translation, as a template."""
        template = os.path.join(folder, "texts.pot")
        names = []
        for kind in ("desktop", "policy", "metainfo.xml"):
            names.append(f"{ID}.{kind}")
            with open(os.path.join(folder, names[-1]), "w", encoding="utf-8") as file:
                file.write((TOP / "data/desktop" / f"{ID}.{kind}.in").read_text())
        subprocess.run(
            [self.tool, f"--output={template}", "--from-code=UTF-8", "--keyword=",
             *[f"--keyword={key}" for key in TRANSLATED_KEYS], *names], cwd=folder, check=True,
            env={**os.environ, "GETTEXTDATADIRS": str(TOP / "data/desktop")})
        return template

    def test_the_languages_are_those_with_a_catalogue(self):
        lines = (PO / "LINGUAS").read_text().splitlines()
        self.assertEqual(LANGUAGES, {line for line in lines if not line.startswith("#")})
        self.assertEqual(LANGUAGES, {path.stem for path in PO.glob("*.po")})

    def test_each_catalogue_has_each_text_and_no_other(self):
        with tempfile.TemporaryDirectory() as folder:
            template = self.collect(folder)
            for path in sorted(PO.glob("*.po")):
                done = subprocess.run(["msgcmp", path, template], text=True, check=False,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
                self.assertEqual((0, ""), (done.returncode, done.stdout), path.name)

    def test_each_text_of_the_entry_is_there_in_each_language(self):
        entry = read_keys("desktop")["Desktop Entry"]
        for key in TRANSLATED_KEYS:
            found = {name[len(key) + 1:-1] for name in entry if name.startswith(f"{key}[")}
            self.assertEqual(LANGUAGES, found, key)

    def test_each_text_of_the_others_is_there_in_each_language(self):
        wanted = {"policy": ("action/description", "action/message"),
                  "metainfo.xml": ("name", "summary", "description/p", "description/ul/li")}
        for kind, paths in wanted.items():
            for path in paths:
                nodes = read_xml(kind).findall(path)
                own = [node for node in nodes if node.get(LANGUAGE) is None]
                self.assertTrue(own, path)
                for language in LANGUAGES:
                    found = [node for node in nodes if node.get(LANGUAGE) == language]
                    self.assertEqual(len(own), len(found), f"{kind}: {path} in {language}")


if __name__ == "__main__":
    main(globals())
