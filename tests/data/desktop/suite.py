# SPDX-License-Identifier: GPL-2.0-or-later
"""What the tests of installed files share."""
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

TOP = pathlib.Path(__file__).resolve().parents[3]
# The build tree's data/.
DATA = pathlib.Path(os.environ["DATA"])
SKIPPED = 77


class FilesTest(unittest.TestCase):
    # The program that judges the files; without it there is nothing to test.
    tool = None

    def judge(self, *arguments):
        """Fails if the tool refuses; returns what it said."""
        done = subprocess.run([self.tool, *map(str, arguments)], text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual(0, done.returncode, done.stdout)
        return done.stdout


def main(suites):
    """Runs the suite that the command line names."""
    suite = suites[sys.argv[1]]
    # Tools of root's are there for everybody.
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    if suite.tool and not shutil.which(suite.tool):
        print(f"skipped: {suite.tool} isn't installed")
        sys.exit(SKIPPED)
    unittest.main(defaultTest=sys.argv[1], argv=sys.argv[:1])
