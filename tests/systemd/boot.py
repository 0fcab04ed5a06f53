#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Boots systemd on a host of its own, with the programs and units installed, and sees what becomes
of the networks. Only for root. Ends with status 77 where there can be no such host.

    boot.py BUILD [bus|no-bus]
"""
import contextlib
import ctypes
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

DEADLINE = 60
HERE = os.path.dirname(os.path.abspath(__file__))
DATABASE = "/etc/tavrin/networking"
PR_SET_PDEATHSIG = 1
SPACES = ["--mount", "--pid", "--net", "--uts", "--ipc", "--cgroup"]


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(77)


def check(condition, message):
    if not condition:
        raise AssertionError(message)


def until(condition, message):
    """What the condition is when it becomes true."""
    end = time.monotonic() + DEADLINE
    while True:
        found = condition()
        if found:
            return found
        check(time.monotonic() < end, message)
        time.sleep(0.02)


class ControlGroup:
    """A control group of our own, which goes with all in it."""

    def __init__(self):
        # Not below what is removed with all that is in it.
        self.hierarchy = tempfile.mkdtemp()
        if subprocess.run(["mount", "-t", "cgroup2", "cgroup2", self.hierarchy],
                          stderr=subprocess.DEVNULL, check=False).returncode != 0:
            os.rmdir(self.hierarchy)
            skip("there are no control groups of version 2")
        self.path = os.path.join(self.hierarchy, f"tavrin-test-{os.getpid()}")
        try:
            os.mkdir(self.path)
        except OSError as error:
            self.close()
            skip(f"a control group can't be made: {error.strerror}")

    def join(self):
        """Also ties this process to the one that waits for it."""
        ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)
        with open(f"{self.path}/cgroup.procs", "w") as file:
            file.write("0")

    def _remove(self):
        for folder, _, _ in os.walk(self.path, topdown=False):
            try:
                os.rmdir(folder)
            except FileNotFoundError:
                pass
            except OSError:
                return False
        return not os.path.exists(self.path)

    def close(self):
        if os.path.isdir(self.path):
            until(self._remove, "the control group doesn't go")
        subprocess.run(["umount", self.hierarchy], check=True)
        os.rmdir(self.hierarchy)


class Host:
    """A host on its own; its first process is `process`."""

    first = "systemd"
    patience = DEADLINE

    def __init__(self, command, group):
        self.starter = subprocess.Popen(
            ["unshare", *SPACES, "--fork", "--kill-child=SIGKILL", "--propagation", "private",
             *command], preexec_fn=group.join, text=True, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.process = None

    def _find(self):
        """The first process, once it is the one that stays."""
        if self.starter.poll() is not None:
            output = self.starter.stdout.read()
            if self.starter.returncode == 77:
                skip(output.strip())
            raise AssertionError(f"no host: {output}")
        with open(f"/proc/{self.starter.pid}/task/{self.starter.pid}/children") as file:
            children = file.read().split()
        with contextlib.suppress(OSError):
            for child in children:
                with open(f"/proc/{child}/comm") as file:
                    if file.read() == f"{self.first}\n":
                        return int(child)
        return None

    def wait_for_first(self):
        self.process = until(self._find, f"{self.first} doesn't come up")

    def wait_for_boot(self):
        self.wait_for_first()
        until(lambda: os.path.exists(f"/proc/{self.process}/root/run/systemd/private"),
              "systemd doesn't listen")
        state = self.run("systemctl", "is-system-running", "--wait", may_fail=True).strip()
        check(state == "running", f"the system is {state}:\n{self.journal()}")

    def run(self, *command, may_fail=False):
        """What a command prints that root runs on the host."""
        done = subprocess.run(
            ["nsenter", f"--target={self.process}", "--all", "env", "-i",
             "PATH=/usr/local/sbin:/usr/sbin:/usr/bin:/sbin:/bin", *command],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            timeout=self.patience, check=False)
        check(may_fail or done.returncode == 0, f"{' '.join(command)}: {done.stdout}")
        return done.stdout

    def journal(self, *arguments):
        return self.run("journalctl", "--no-pager", "--output=short-monotonic", *arguments,
                        may_fail=True)

    def state(self, unit):
        return self.run("systemctl", "is-active", unit, may_fail=True).strip()

    def main_process(self, unit):
        return int(self.run("systemctl", "show", "--property=MainPID", "--value", unit))

    def count(self, program):
        """Its processes."""
        count = 0
        for number in filter(str.isdigit, os.listdir(f"/proc/{self.process}/root/proc")):
            with contextlib.suppress(OSError):
                count += self.read(f"/proc/{number}/comm") == f"{program}\n"
        return count

    def write(self, path, text):
        with open(f"/proc/{self.process}/root{path}", "w") as file:
            file.write(text)

    def read(self, path):
        with open(f"/proc/{self.process}/root{path}") as file:
            return file.read()

    def edit(self, old, new):
        text = self.read(DATABASE)
        check(old in text, f"{old} isn't in the database")
        self.write(DATABASE, text.replace(old, new))

    def end(self):
        if self.process:
            with contextlib.suppress(ProcessLookupError):
                os.kill(self.process, signal.SIGKILL)
        self.starter.kill()
        self.starter.wait(DEADLINE)
        self.starter.stdout.close()


def install(build, bus, scratch):
    """The command of a host with what a build installs."""
    installed = os.path.join(scratch, "installed")
    subprocess.run(["cmake", "--install", build, "--component", "networks"],
                   env=dict(os.environ, DESTDIR=installed), stdout=subprocess.DEVNULL, check=True)
    place = os.path.join(scratch, "place")
    os.mkdir(place)
    return [f"{HERE}/inside", place, installed, bus]


def lease(host, guest):
    """The address that a guest gets."""
    text = host.run("ip", "netns", "exec", guest, "busybox", "udhcpc", "-i", "eth0", "-f", "-q",
                    "-n", "-t", "20", "-T", "1", "-s", "/bin/true")
    return re.search(r"lease of ([0-9.]+)", text).group(1)


def plug(host, guest, network):
    host.run("ip", "netns", "add", guest)
    host.run("ip", "link", "add", f"{guest}0", "type", "veth", "peer", "name", "eth0", "netns",
             guest)
    host.run("ip", "link", "set", f"{guest}0", "master", network, "up")
    host.run("ip", "-n", guest, "link", "set", "eth0", "up")


def dhcp(network):
    return f"tavrin-dhcp@{network}.service"


def wait_for_shutdown(host):
    host.run("systemctl", "start", "--no-block", "--job-mode=replace-irreversibly",
             "test-shutdown.target")
    until(lambda: host.state("test-shutdown.target") == "active", "the shutdown doesn't end")


def check_units(host):
    """Each process is in its unit, and in no other."""
    for unit, program in ((dhcp("tvnet1"), "dnsmasq"), (dhcp("tvnet8"), "dnsmasq"),
                          ("tavrin-watcher.service", "tavrin-vnets")):
        check(host.state(unit) == "active", f"{unit} is {host.state(unit)}\n{host.journal()}")
        process = host.main_process(unit)
        check(host.read(f"/proc/{process}/comm").strip() == program, f"{unit}: not {program}")
        group = host.read(f"/proc/{process}/cgroup")
        check(f"/{unit}\n" in group, f"{unit}: its process is in {group}")
    check(host.count("dnsmasq") == 2, "not two dnsmasq")


BIND = "import socket; socket.socket().bind(('', 2222))"


def networks_are_up_after_boot(host):
    check(host.state("tavrin-vnets.service") == "active", host.journal())
    check_units(host)
    check("192.168.48.1/24" in host.run("ip", "addr", "show", "tvnet8"), "no address")
    check("tavrin-tvnet8" in host.run("nft", "list", "tables"), "no rules")
    status = host.run("tavrin-vnets", "status")
    check("differs" not in status and "The watcher runs." in status, status)
    check("bridged to  eth0" in status, status)
    # The watcher holds the port of the forward.
    until(lambda: "already in use" in host.run("/usr/bin/python3", "-c", BIND, may_fail=True),
          "nobody has the forward's port")
    plug(host, "guest", "tvnet8")
    check(lease(host, "guest").startswith("192.168.48."), "a lease of another network")
    journal = host.journal("--unit", dhcp("tvnet8"))
    check("DHCPACK(tvnet8)" in journal, f"no lease in the unit's journal: {journal}")
    log = host.run("tavrin-vnets", "log")
    check("dnsmasq-dhcp[tvnet8]: DHCPACK(tvnet8)" in log, f"no lease in the log: {log}")
    check("Started tavrin-dhcp@tvnet8.service" in log, f"no start in the log: {log}")


def a_comparison_touches_nothing(host):
    before = [host.main_process(dhcp(network)) for network in ("tvnet1", "tvnet8")]
    host.run("systemctl", "reload", "tavrin-vnets")
    host.run("tavrin-vnets", "start")
    after = [host.main_process(dhcp(network)) for network in ("tvnet1", "tvnet8")]
    check(before == after, "dnsmasq was replaced")


def a_stop_and_a_start_by_hand_go_to_the_units(host):
    """What root runs here is in none of the host's units, and ends."""
    before = host.main_process(dhcp("tvnet8"))
    host.run("tavrin-vnets", "stop", "tvnet8")
    check(host.state(dhcp("tvnet8")) == "inactive", "a stop leaves the unit")
    host.run("tavrin-vnets", "start", "tvnet8")
    check(host.main_process(dhcp("tvnet8")) != before, "the stop was none")
    check_units(host)


SAVE = """
import ctypes
library = ctypes.CDLL("libvnetlib.so.0")
assert library.VNL_Load(0) & 255
assert library.VNL_SetVnetSubnetAddr(b"tvnet8", b"192.168.58.0") & 255
library.VNL_Unload()
"""


def a_save_by_the_library_leaves_it_in_its_unit(host):
    """Of a process that ends with it, as the editor's server does."""
    before = host.main_process(dhcp("tvnet8"))
    host.run("/usr/bin/python3", "-c", SAVE)
    check("subnet=192.168.58.0" in host.read(DATABASE), "nothing was saved")
    check(host.main_process(dhcp("tvnet8")) != before, "dnsmasq stays as it was")
    check_units(host)
    check(lease(host, "guest").startswith("192.168.58."), "a lease of another network")


def another_network_keeps_its_own(host):
    """As in a container that has the host's manager in reach."""
    before = [host.main_process(dhcp(network)) for network in ("tvnet1", "tvnet8")]
    text = host.run("unshare", "--net", "--mount", "sh", "-c",
                    "mount -t tmpfs tmpfs /var/lib/tavrin && mkdir /run/other &&"
                    "mount --bind /run/other /run/tavrin && tavrin-vnets start &&"
                    "ip addr show tvnet8 && tavrin-vnets status && tavrin-vnets stop")
    check("192.168.58.1/24" in text and "differs" not in text, text)
    check(len(re.findall("DHCP +running", text)) == 2, text)
    after = [host.main_process(dhcp(network)) for network in ("tvnet1", "tvnet8")]
    check(before == after, "the host's units were started anew")
    check_units(host)


def what_dies_comes_again(host):
    for unit in (dhcp("tvnet8"), "tavrin-watcher.service"):
        before = host.main_process(unit)
        host.run("systemctl", "kill", "--signal=KILL", "--kill-whom=main", unit)
        until(lambda u=unit, b=before: host.state(u) == "active" and
              host.main_process(u) not in (0, b), f"{unit} doesn't come again")
    until(lambda: "The watcher runs." in host.run("tavrin-vnets", "status"), "no watcher")
    check("differs" not in host.run("tavrin-vnets", "status"), host.run("tavrin-vnets", "status"))
    now = host.main_process(dhcp("tvnet8"))
    host.run("tavrin-vnets", "start")
    check(host.main_process(dhcp("tvnet8")) == now, "what the manager started was replaced")
    check_units(host)
    lease(host, "guest")


def what_is_stopped_by_hand_is_told(host):
    host.run("systemctl", "stop", dhcp("tvnet1"))
    status = host.run("tavrin-vnets", "status", "tvnet1")
    check("tavrin-dhcp@tvnet1.service is inactive" in status, status)
    told = host.run("tavrin-vnets", "doctor", "--json", may_fail=True)
    found = [each for each in json.loads(told)["findings"] if each["network"] == "tvnet1"]
    check([each["cause"] for each in found] == ["server-dead"], told)
    check("tavrin-dhcp@tvnet1.service is inactive" in found[0]["text"], told)
    host.run("tavrin-vnets", "start")
    check_units(host)


def a_reload_brings_it_in_line(host):
    host.edit("[tvnet1]\nsubnet=192.168.41.0", "[tvnet1]\nsubnet=192.168.51.0")
    host.run("systemctl", "reload", "tavrin-vnets")
    check("192.168.51.1/24" in host.run("ip", "addr", "show", "tvnet1"), "the subnet stays")
    check_units(host)


def rules_that_were_flushed_come_back(host):
    host.run("nft", "flush", "ruleset")
    until(lambda: "tavrin-tvnet8" in host.run("nft", "list", "tables"), "no rules")


def a_restart_leaves_guests_plugged_in(host):
    host.run("systemctl", "restart", "tavrin-vnets")
    check_units(host)
    lease(host, "guest")


def check_nothing_is_left(host):
    check("tvnet" not in host.run("ip", "-o", "link"), "a bridge is left")
    check("tavrin" not in host.run("nft", "list", "tables"), "rules are left")
    check(host.count("dnsmasq") == 0, "dnsmasq is left")
    for unit in (dhcp("tvnet1"), dhcp("tvnet8"), "tavrin-watcher.service"):
        check(host.state(unit) == "inactive", f"{unit} is {host.state(unit)}")
    check("0 loaded units" in host.run("systemctl", "--failed"), "something failed")


def a_stop_takes_them_down(host):
    database = host.read(DATABASE)
    host.run("ip", "netns", "del", "guest")
    until(lambda: "guest0" not in host.run("ip", "-o", "link"), "the guest stays")
    host.run("systemctl", "stop", "tavrin-vnets")
    check_nothing_is_left(host)
    check(host.read(DATABASE) == database, "the database changed")


def a_shutdown_takes_them_down(host):
    host.run("systemctl", "start", "tavrin-vnets")
    check_units(host)
    wait_for_shutdown(host)
    check_nothing_is_left(host)


def networks_are_up_without_the_bus(host):
    """The library keeps the processes, in the group of whoever started them."""
    check("differs" not in host.run("tavrin-vnets", "status"), "not as the database says")
    check(host.count("dnsmasq") == 2, "not two dnsmasq")
    check(host.state(dhcp("tvnet8")) == "inactive", "a unit was started")
    plug(host, "guest", "tvnet8")
    check(lease(host, "guest").startswith("192.168.48."), "no lease")
    host.run("systemctl", "restart", "tavrin-vnets")
    lease(host, "guest")


STORY = (networks_are_up_after_boot, a_comparison_touches_nothing,
         a_stop_and_a_start_by_hand_go_to_the_units, a_save_by_the_library_leaves_it_in_its_unit,
         another_network_keeps_its_own, what_dies_comes_again,
         what_is_stopped_by_hand_is_told, a_reload_brings_it_in_line,
         rules_that_were_flushed_come_back, a_restart_leaves_guests_plugged_in,
         a_stop_takes_them_down, a_shutdown_takes_them_down)
STORIES = {"bus": STORY,
           "no-bus": (networks_are_up_without_the_bus, a_stop_takes_them_down)}


def play(make_host, story):
    """The steps of a story, on the host that make_host makes of a control group and a folder."""
    if os.geteuid() != 0:
        skip("only root can boot a system")
    leave_mounts()
    scratch = tempfile.mkdtemp()
    try:
        with contextlib.closing(ControlGroup()) as group:
            host = make_host(group, scratch)
            try:
                host.wait_for_boot()
                for step in story:
                    begin = time.monotonic()
                    try:
                        step(host)
                    except Exception:
                        print(f"{step.__name__}: failed; the journal:\n{host.journal()}")
                        raise
                    print(f"{step.__name__}: {time.monotonic() - begin:.2f} s", flush=True)
            finally:
                host.end()
    finally:
        shutil.rmtree(scratch)


def main(build, bus="bus"):
    if not os.path.exists("/usr/lib/systemd/systemd"):
        skip("there is no systemd here")
    play(lambda group, scratch: Host(install(build, bus, scratch), group), STORIES[bus])


def leave_mounts():
    """Runs this anew where our mounts are seen by nobody else, and go with us."""
    if "TAVRIN_OWN_MOUNTS" in os.environ:
        return
    if subprocess.run(["unshare", *SPACES, "--fork", "true"], stderr=subprocess.DEVNULL,
                      check=False).returncode != 0:
        skip("root may make no namespaces here")
    os.execvpe("unshare", ["unshare", "--mount", "--propagation", "private", *sys.argv],
               dict(os.environ, TAVRIN_OWN_MOUNTS="yes"))


if __name__ == "__main__":
    main(*sys.argv[1:])
