#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""What tools/extract-messages finds in sources made for the purpose."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOL = pathlib.Path(__file__).resolve().parents[2] / "tools" / "extract-messages"
MARKER = "@&!*@*@"


class ExtractMessagesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def write(self, path, source):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(source.replace("MARKER", MARKER), encoding="utf-8")

    def run_tool(self, *arguments):
        return subprocess.run([sys.executable, TOOL, "--root", self.root, *arguments],
                              capture_output=True, check=False)

    def extract(self):
        """The template's entries, without its header."""
        done = self.run_tool()
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        return done.stdout.decode().split("\n\n")[1:]

    def expect_refusal(self, source, reason):
        self.write("lib/a.cc", source)
        done = self.run_tool()
        self.assertEqual((2, b""), (done.returncode, done.stdout), source)
        self.assertIn(reason, done.stderr.decode())
        self.assertIn("lib/a.cc", done.stderr.decode())

    def test_an_entry_names_id_text_and_files(self):
        self.write("tvnetcfg/linux/b.cc", 'F("MARKER(msg.b)_Save");')
        self.write("lib/ui/a.hh", 'F("MARKER(msg.b)_Save"); G("MARKER(msg.b)_Save");')
        self.assertEqual(['#: lib/ui/a.hh\n#: tvnetcfg/linux/b.cc\n'
                          'msgctxt "msg.b"\nmsgid "_Save"\nmsgstr ""\n'], self.extract())

    def test_entries_are_sorted_by_id(self):
        self.write("lib/a.cc", '"MARKER(m.c)3", "MARKER(m.B)2", "MARKER(m.a)1"')
        self.assertEqual(["m.B", "m.a", "m.c"],
                         [entry.split('"')[1] for entry in self.extract()])

    def test_adjacent_literals_are_one_text(self):
        self.write("lib/a.cc", '"MARKER(m)one "  // "not this"\n\n  "two" /* "nor this" */ " 3";'
                               'auto x = "four";')
        self.assertIn('msgid "one two 3"', self.extract()[0])

    def test_the_id_may_stand_in_a_literal_of_its_own(self):
        self.write("lib/a.cc", 'F("MARKER(m.i-d_1)"\n  "Text")')
        self.assertIn('msgctxt "m.i-d_1"\nmsgid "Text"', self.extract()[0])

    def test_escapes_are_decoded(self):
        self.write("lib/a.cc", r'"MARKER(m)\x42\303\274ro \u2015 \U0001F600 \"\\\t\'\?"')
        self.assertIn('msgid "Büro ― 😀 \\"\\\\\\t\'?"\n', self.extract()[0])

    def test_an_escape_ends_with_its_literal(self):
        self.write("lib/a.cc", r'"MARKER(m)B\xC3\xBC" "bc" "\0637"')
        self.assertIn('msgid "Bübc37"', self.extract()[0])

    def test_each_line_of_a_text_has_its_line(self):
        self.write("lib/a.cc", r'"MARKER(m)one\ntwo\n"')
        self.assertIn('msgid ""\n"one\\n"\n"two\\n"\nmsgstr ""', self.extract()[0])

    def test_raw_literals_are_taken_as_they_are(self):
        self.write("lib/a.cc", 'R"(MARKER(m.raw)a\\n"b")"; u8R"x(MARKER(m.x)c)")x"')
        self.assertIn('msgid "a\\\\n\\"b\\""', self.extract()[0])
        self.assertIn('msgid "c)\\""', self.extract()[1])

    def test_comments_and_characters_begin_no_literal(self):
        self.write("lib/a.cc", '''// "MARKER(m.line)x" \\
            "MARKER(m.continued)x"
            /* "MARKER(m.block)x" */ char q = '"'; int n = 1'000; char s = '\\'';
            F("MARKER(m.real)// no comment /* nor here */");''')
        entries = self.extract()
        self.assertEqual(1, len(entries))
        self.assertIn('msgctxt "m.real"\nmsgid "// no comment /* nor here */"', entries[0])

    def test_conversions_are_flagged(self):
        self.write("lib/a.cc", '"MARKER(m.1)%s", "MARKER(m.2)100%% of", "MARKER(m.3)%2$-5.3ld",'
                               '"MARKER(m.4)plain", "MARKER(m.5)%%%u"')
        self.assertEqual([True, False, True, False, True],
                         ["#, c-format" in entry for entry in self.extract()])

    def test_other_files_and_folders_are_left_alone(self):
        for path in ("tests/a.cc", "lib/a.md", "tools/a.cc"):
            self.write(path, '"MARKER(m)x"')
        self.assertEqual([], self.extract())

    def test_only_the_resolver_may_name_the_bare_marker(self):
        self.write("lib/cui/localString.cc", 'constexpr char MARK[] = "MARKER";')
        self.assertEqual([], self.extract())
        self.expect_refusal('F("MARKER" ID "(m)x")', "not a well-formed message")

    def test_malformed_messages_are_refused(self):
        for literal in ("MARKERSave", "MARKER()Save", "MARKER(m Save", "MARKER(m)", "MARKER(a b)x",
                        "Save MARKER(m)x", r"MARKER(m)\xFF", r"MARKER(m)a\0b"):
            self.expect_refusal(f'F("{literal}");', "not a well-formed message")

    def test_an_id_with_two_texts_is_refused(self):
        self.expect_refusal('"MARKER(m)one", "MARKER(m)two"', "stands for 'two'")

    def test_the_check_fails_until_the_template_is_complete(self):
        file = self.root / "a.pot"
        self.write("lib/a.cc", '"MARKER(m)one"')
        self.assertEqual(1, self.run_tool("--check", file).returncode)
        self.assertEqual(0, self.run_tool("--output", file).returncode)
        self.assertEqual(0, self.run_tool("--check", file).returncode)
        before = file.read_bytes()

        self.write("lib/a.cc", '"MARKER(m)one", "MARKER(m.new)two"')
        done = self.run_tool("--check", file)
        self.assertEqual(1, done.returncode)
        self.assertIn('+msgctxt "m.new"', done.stdout.decode())
        self.assertEqual(before, file.read_bytes())

        self.write("lib/a.cc", '"MARKER(m)uno"')
        done = self.run_tool("--check", file)
        self.assertEqual(1, done.returncode)
        self.assertIn('-msgid "one"\n+msgid "uno"', done.stdout.decode())

    def test_gettext_reads_the_template_back(self):
        self.write("lib/a.cc", r'"MARKER(m.1)B\u00FCro\n\t\"%s\"\\", "MARKER(m.2)plain"')
        file = self.root / "a.pot"
        self.run_tool("--output", file)
        done = subprocess.run(["msgcat", "--no-wrap", file], capture_output=True, check=False,
                              env={**os.environ, "LC_ALL": "C.UTF-8"})
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        self.assertEqual(file.read_text(encoding="utf-8"), done.stdout.decode())


if __name__ == "__main__":
    unittest.main()
