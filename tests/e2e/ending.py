#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Whatever ends a sandbox ends all of it, and nothing of it stays behind."""
import os
import select
import signal
import subprocess
import tempfile

from check import DEADLINE, check, equal, run, skip, step

START = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/sandbox/start")
NAMESPACES = ["unshare", "--user", "--map-root-user", "--mount", "--net", "--pid", "--fork", "true"]


def start(folder, command):
    # Whoever runs the test may ignore what a terminal sends.
    return subprocess.Popen(
        [START, "bash", "-c", command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        env={**os.environ, "TMPDIR": folder, "SANDBOX_NOTE": f"{folder}/note"},
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))


def expect_end_of_all(sandbox, what, inner=None):
    """Every process of the sandbox has the pipe, which ends with the last of them."""
    has_ended = select.select([sandbox.stdout], [], [], DEADLINE)[0]
    if inner and not has_ended:
        os.kill(inner, signal.SIGKILL)
    check(has_ended, f"processes outlive {what}")
    equal(b"", sandbox.stdout.read(), f"the output after {what}")


def end_by(name, status, left):
    with tempfile.TemporaryDirectory() as folder:
        sandbox = start(folder, "sleep 1000 & echo ready; wait")
        equal(b"ready\n", sandbox.stdout.readline(), "the sandbox")
        equal(["note"], os.listdir(folder), "what a running sandbox has outside")
        with open(f"{folder}/note") as note:
            inner = int(note.read())
        sandbox.send_signal(getattr(signal, name))
        equal(status, sandbox.wait(DEADLINE), f"the status after {name}")
        expect_end_of_all(sandbox, name, inner)
        equal(left, os.listdir(folder), f"what is left after {name}")


def end_by_itself():
    with tempfile.TemporaryDirectory() as folder:
        sandbox = start(folder, "sleep 1000 & mktemp -d >/dev/null; exit 7")
        equal(7, sandbox.wait(DEADLINE), "the status of the command")
        expect_end_of_all(sandbox, "the command")
        equal([], os.listdir(folder), "what is left after the command")


def story():
    if subprocess.run(NAMESPACES, stderr=subprocess.DEVNULL, check=False).returncode != 0:
        skip("this system lets users make no namespaces")
    step("the command ends")
    end_by_itself()
    for name, status in (("SIGINT", 130), ("SIGTERM", 143), ("SIGHUP", 143)):
        step(f"{name} ends it")
        end_by(name, status, [])
    step("a kill ends it; the note by which others find it can't be removed any more")
    end_by("SIGKILL", -signal.SIGKILL, ["note"])


run(story)
