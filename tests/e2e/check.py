# SPDX-License-Identifier: GPL-2.0-or-later
"""Steps and checks of a story. A story ends with its first failure, with what the host looks like."""
import contextlib
import os
import subprocess
import sys
import time
import traceback

# Long enough for a machine that builds something else at the same time.
DEADLINE = 60.0
SKIPPED = 77
# What the host looks like.
COMMANDS = (["ip", "addr"], ["ip", "route"], ["bridge", "fdb"], ["nft", "list", "ruleset"],
            ["cat", "/etc/tavrin/networking"], ["ps", "ax"])

_start = time.monotonic()
# What else tells of a failure: functions that return text.
witnesses = []


class Failure(Exception):
    pass


def step(text):
    print(f"[{time.monotonic() - _start:6.2f}] {text}", flush=True)


def check(holds, claim):
    if not holds:
        raise Failure(claim)


def equal(wanted, found, what):
    check(wanted == found, f"{what}: {found!r} rather than {wanted!r}")


def until(condition, claim, deadline=DEADLINE):
    """Waits until the condition gives something true, and returns it."""
    end = time.monotonic() + deadline
    while True:
        found = condition()
        if found:
            return found
        check(time.monotonic() < end, f"not within {deadline:.0f} s: {claim}")
        time.sleep(0.02)


def skip(reason):
    print(f"skipped: {reason}", flush=True)
    sys.exit(SKIPPED)


def _tell_host():
    for witness in witnesses:
        print(f"--- {witness.__doc__}\n{witness()}", flush=True)
    if os.geteuid() != 0:
        return
    for command in COMMANDS:
        print(f"--- {' '.join(command)}", flush=True)
        with contextlib.suppress(FileNotFoundError):
            subprocess.run(command, stderr=subprocess.STDOUT, check=False)


def run(story):
    """Runs the story and ends the program with its outcome."""
    try:
        story()
    except SystemExit as end:
        if end.code in (None, 0, SKIPPED):
            raise
        print(f"FAILED: {end.code}", flush=True)
    except Exception as error:  # pylint: disable=broad-except
        traceback.print_exc()
        print(f"FAILED: {error}", flush=True)
    else:
        step("done")
        sys.exit(0)
    _tell_host()
    sys.exit(1)
