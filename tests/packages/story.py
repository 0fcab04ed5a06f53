#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Installs, upgrades, removes and purges the packages on a Debian of their own, and sees what
becomes of the database and the networks. Only for root. Ends with status 77 where it can't be done.

    story.py PACKAGES plain|booted|chroot

PACKAGES is the folder with the packages, which tools/package makes. The Debian is made by
tools/test-packages, in TAVRIN_PACKAGE_ROOT or the user's cache.
"""
import glob
import os
import re
import shutil
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "../systemd"))

from boot import DATABASE, Host, check, check_nothing_is_left, dhcp, play, skip, until  # noqa: E402

APT = ("env", "DEBIAN_FRONTEND=noninteractive", "apt-get", "-q", "-y", "--no-install-recommends",
       "-o", "DPkg::Lock::Timeout=60")
OURS = ("tavrin-netcfg", "tavrin-netcfg-l10n", "tavrin-vnets", "libvnetlib0", "libtavrinui0",
        "libtavrinbase0", "libtavrin-dev")
# What others make for what is installed, and keep.
CACHES = re.compile(r"/(proc|sys|dev|tmp|packages)(/|$)|/var/lib/dpkg/|/var/log/|/var/cache/|"
                    r"/var/lib/apt/|/var/lib/systemd/|/run/|/etc/ld\.so\.cache|"
                    r"/usr/share/applications/mimeinfo\.cache|"
                    r"/usr/share/icons/hicolor/icon-theme\.cache")
# Whatever is ours has one of these in its path.
NAMES = re.compile("tavrin|vnet|NetCfg")


class PackageHost(Host):
    """A Debian without any of our packages; one that systemd boots has them."""

    patience = 600

    def __init__(self, group, scratch, packages, kind):
        self.first = "systemd" if kind == "booted" else "sh"
        self.booted = kind == "booted"
        place = os.path.join(scratch, "place")
        os.mkdir(place)
        copies = os.path.join(scratch, "packages")
        copy_packages(packages, f"{copies}/first")
        make_newer(f"{copies}/first", f"{copies}/second")
        super().__init__([f"{HERE}/inside", place, find_root(), copies, kind], group)

    def wait_for_boot(self):
        self.wait_for_first()
        if self.booted:
            until(lambda: self.run("systemctl", "is-system-running", "--wait",
                                   may_fail=True).strip() in ("running", "degraded"),
                  "the system doesn't come up")
        self.before = self.files()

    def path(self, path):
        return f"/proc/{self.process}/root{path}"

    def files(self):
        """All that is there, but for what comes and goes."""
        top = self.path("")
        found = set()
        for folder, folders, names in os.walk(top):
            here = folder[len(top):]
            folders[:] = [name for name in folders if not CACHES.match(f"{here}/{name}")]
            found.update(f"{here}/{name}" for name in folders + names)
        return {name for name in found if not CACHES.match(name)}

    def left(self):
        """What wasn't there before. Services of Debian's write files as well."""
        now = self.files()
        return {name for name in now if NAMES.search(name)} if self.booted else now - self.before

    def apt(self, *arguments):
        return self.run(*APT, *arguments)

    def install(self, which="first", names=OURS):
        return self.apt("install", *(f"/packages/{which}/{name}.deb" for name in names))

    def processes(self, program):
        """The numbers and starts of its processes."""
        found = set()
        for number in filter(str.isdigit, os.listdir(self.path("/proc"))):
            try:
                words = self.read(f"/proc/{number}/stat").rsplit(")", 1)
            except OSError:
                continue
            fields = words[1].split()
            if words[0].split("(", 1)[1] == program and fields[0] != "Z":
                found.add((int(number), fields[19]))
        return found

    def bridges(self):
        """Names and numbers of the kernel."""
        text = self.run("ip", "-o", "link", "show", "type", "bridge")
        return {name: number for number, name in re.findall(r"(\d+): (tvnet\d+):", text)}


def find_root():
    cache = os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache")
    root = os.environ.get("TAVRIN_PACKAGE_ROOT") or f"{cache}/tavrin-netcfg/package-root"
    if not os.path.exists(f"{root}.packages"):
        skip(f"there is no Debian in {root}; tools/test-packages makes one")
    return root


def copy_packages(folder, copies):
    """Each under its name."""
    os.makedirs(copies)
    for name in OURS:
        found = glob.glob(f"{folder}/{name}_*.deb")
        if len(found) != 1:
            skip(f"{name} isn't in {folder}; tools/package makes it")
        shutil.copy(found[0], f"{copies}/{name}.deb")


def make_newer(old, new):
    """The same packages with the next revision."""
    os.makedirs(new)
    for name in OURS:
        tree = f"{new}/{name}"
        subprocess.run(["dpkg-deb", "--raw-extract", f"{old}/{name}.deb", tree], check=True)
        control = f"{tree}/DEBIAN/control"
        with open(control) as file:
            text = file.read()
        version = re.search(r"^Version: (.*)$", text, re.MULTILINE).group(1)
        with open(control, "w") as file:
            file.write(re.sub(rf"(?<=[ =]){re.escape(version)}(?=[)\n])", f"{version}.1", text))
        subprocess.run(["dpkg-deb", "-Znone", "--build", tree, f"{new}/{name}.deb"], check=True,
                       stdout=subprocess.DEVNULL)
        shutil.rmtree(tree)


def check_complete(host):
    check(host.run("dpkg", "--audit") == "", "a package isn't whole")
    for name in OURS:
        check(host.run("dpkg-query", "-W", "-f=${db:Status-Status}", name) == "installed", name)


def subnets(host):
    """Of the database."""
    return dict(re.findall(r"^\[(tvnet\d+)\]\nsubnet=(.*)$", host.read(DATABASE), re.MULTILINE))


def check_default_database(host):
    text = host.read(DATABASE)
    check("automatic=tvnet0\n" in text, text)
    check(set(subnets(host)) == {"tvnet1", "tvnet8"}, text)
    check(re.findall(r"^nat=(.*)$", text, re.MULTILINE) == ["false", "true"], text)
    check("is fine" in host.run("tavrin-vnets", "check"), "the database has problems")


def is_fine(status):
    return "differs" not in status and "The watcher runs." in status


def check_networks_run(host):
    check(set(host.bridges()) >= {"tvnet1", "tvnet8"}, f"bridges: {host.bridges()}")
    check("tavrin-tvnet8" in host.run("nft", "list", "tables"), "no rules")
    # A dnsmasq is started by others that end, and the watcher is noted when it has begun.
    until(lambda: len(host.processes("dnsmasq")) == 2, "not two dnsmasq")
    until(lambda: is_fine(host.run("tavrin-vnets", "status")), "the status isn't fine")


def check_no_network_runs(host):
    for program in ("dnsmasq", "tavrin-vnets"):
        until(lambda p=program: not host.processes(p), f"{program} is left")
    check("tvnet" not in host.run("ip", "-o", "link"), "a bridge is left")
    check("tavrin" not in host.run("nft", "list", "tables"), "rules are left")


# --- The steps of the plain host ---

def installing_makes_the_default_database(host):
    host.install()
    check_complete(host)
    check_default_database(host)
    check_no_network_runs(host)


def the_editor_finds_its_libraries(host):
    modules = host.run("sh", "-ec", "ls /usr/lib/*/tavrin-netcfg/*.so").split()
    check(len(modules) == 3, f"the editor's modules are {modules}")
    for file in ("/usr/bin/tavrin-netcfg", "/usr/sbin/tavrin-vnets", *modules):
        libraries = host.run("ldd", file)
        check("not found" not in libraries, libraries)
        check("PATH" not in host.run("readelf", "-d", file), f"{file} has a search path")
    told = host.run("env", "HOME=/tmp", "tavrin-netcfg", may_fail=True)
    check("display" in told.lower(), f"without a display: {told}")


def what_desktops_read_is_sound(host):
    host.run("desktop-file-validate", "/usr/share/applications/org.tavrin.NetCfg.desktop")
    host.run("env", "HOME=/tmp", "appstreamcli", "validate", "--no-net",
             "/usr/share/metainfo/org.tavrin.NetCfg.metainfo.xml")


def a_program_builds_on_the_library(host):
    with open(f"{HERE}/client.c") as file:
        host.write("/tmp/client.c", file.read())
    host.run("sh", "-ec", "cd /tmp; cc -std=c11 -Wall -Werror -o client client.c "
             "$(pkg-config --cflags --libs vnetlib)")
    told = dict(line.split() for line in host.run("/tmp/client").splitlines())
    check(told == subnets(host), f"the library tells {told}")


def each_header_is_complete(host):
    """One after the other, in a program that has no other."""
    host.run("sh", "-ec", "cd /usr/include/tavrin; for h in */*; do"
             " echo \"#include <$h>\"; done >/tmp/all.cc;"
             "g++ -std=c++20 -fsyntax-only $(pkg-config --cflags tavrinui vnetlib) /tmp/all.cc;"
             "pkg-config --libs tavrinui")


def networks_start(host):
    host.run("tavrin-vnets", "start")
    check_networks_run(host)


def an_upgrade_touches_nothing_that_runs(host):
    before = (host.bridges(), host.processes("dnsmasq"), host.read(DATABASE))
    host.install("second")
    check_complete(host)
    version = host.run("dpkg-query", "-W", "-f=${Version}", "tavrin-vnets")
    check(version.endswith(".1"), f"no upgrade to {version}")
    after = (host.bridges(), host.processes("dnsmasq"), host.read(DATABASE))
    check(before == after, f"{before} became {after}")
    check_networks_run(host)


def removing_stops_them_and_leaves_the_database(host):
    host.edit("[general]", "# Kept.\n[general]")
    database = host.read(DATABASE)
    host.apt("remove", "tavrin-vnets")
    check_no_network_runs(host)
    check(host.read(DATABASE) == database, "the database changed")
    check(not os.path.exists(host.path("/usr/sbin/tavrin-vnets")), "the program is left")
    # Whoever works on the database goes with it.
    left = host.run("dpkg-query", "-W", "-f=${db:Status-Status} ${Package}\n")
    check("installed libvnetlib0" not in left and "installed tavrin-netcfg\n" not in left, left)


def installing_again_takes_the_database_that_is_there(host):
    database = host.read(DATABASE)
    host.install("second")
    check_complete(host)
    check(host.read(DATABASE) == database, "the database changed")


def purging_leaves_nothing(host):
    known = host.run("dpkg-query", "--show", "--showformat=${Package}\n").split()
    host.apt("purge", *set(known).intersection(OURS))
    check_no_network_runs(host)
    check(not host.left(), f"left: {sorted(host.left())}")
    for folder in ("/run", "/var/lib/systemd", "/var/cache/apparmor"):
        names = host.run("sh", "-c", f"find {folder} -name '*tavrin*' 2>/dev/null", may_fail=True)
        check(names == "", f"left: {names}")


def a_database_that_cannot_be_made_is_told(host):
    """Anybody could change what is in its folder."""
    host.run("mkdir", "--mode=0777", "/etc/tavrin")
    told = host.install(names=("tavrin-vnets", "libtavrinbase0"))
    check("\"tavrin-vnets init\" makes them" in told, told)
    check(host.run("dpkg", "--audit") == "", "a package isn't whole")
    check(os.listdir(host.path("/etc/tavrin")) == [], "something is there")
    purging_leaves_nothing(host)


def the_subnets_are_free_ones(host):
    """Those that were chosen before are taken now."""
    taken = ("192.168.5.0", "192.168.6.0")
    for subnet in taken:
        host.run("ip", "address", "add", subnet.replace(".0", ".1") + "/24", "dev", "eth0")
    host.install(names=("tavrin-vnets", "libtavrinbase0"))
    check_default_database(host)
    chosen = set(subnets(host).values())
    check(len(chosen) == 2 and not chosen & set(taken), f"chosen: {chosen}")


def purging_stops_the_networks(host):
    host.run("tavrin-vnets", "start")
    check_networks_run(host)
    purging_leaves_nothing(host)


# --- The steps of one that systemd has booted ---

def networks_are_up_after_boot(host):
    state = host.state("tavrin-vnets.service")
    check(state == "active", f"it is {state}")
    check_default_database(host)
    check_networks_run(host)
    check_complete(host)


def an_upgrade_restarts_the_watcher_alone(host):
    watcher = host.main_process("tavrin-watcher.service")
    show = ("systemctl", "show", "--property=ActiveEnterTimestamp", "tavrin-vnets")
    started = host.run(*show)
    an_upgrade_touches_nothing_that_runs(host)
    check(host.main_process("tavrin-watcher.service") not in (0, watcher), "the watcher is the old")
    check(host.run(*show) == started, "the service was started anew")


def removing_stops_the_units(host):
    removing_stops_them_and_leaves_the_database(host)
    check_nothing_is_left(host)


def installing_starts_the_networks(host):
    installing_again_takes_the_database_that_is_there(host)
    networks_are_up_after_boot(host)
    check(host.state(dhcp("tvnet8")) == "active", "no unit for dnsmasq")


def networkd(host, device):
    """What systemd-networkd does with a device."""
    return host.run("networkctl", "--no-legend", "--no-pager", "list", device).split()[4]


def a_network_manager_takes_what_it_may(host):
    host.write("/etc/systemd/network/all.network", "[Match]\nName=*\n[Network]\nDHCP=yes\n")
    host.run("systemctl", "start", "systemd-networkd")
    until(lambda: networkd(host, "eth0") == "configuring", "networkd does nothing")


def our_devices_are_left_alone_from_their_beginning(host):
    for device in ("tvnet1", "tvnet8"):
        until(lambda d=device: networkd(host, d) != "pending", f"networkd doesn't see {device}")
        check(networkd(host, device) == "unmanaged", f"{device} is {networkd(host, device)}")
    host.run("systemctl", "stop", "systemd-networkd.socket", "systemd-networkd.service")


def networks_of_no_unit_are_stopped_as_well(host):
    host.run("systemctl", "stop", "tavrin-vnets")
    networks_start(host)
    removing_stops_the_units(host)


# --- In a bare chroot, as images are made in, of a host that has networks ---

def in_image(host, *command):
    """On the same files, without /proc, /sys and /run."""
    return host.run("chroot", "/tmp/image", *command)


def installing_makes_a_database_there_too(host):
    host.run("sh", "-ec", "mkdir /tmp/image; mount --bind / /tmp/image;"
             "mount --bind /packages /tmp/image/packages")
    in_image(host, *APT, "install", *(f"/packages/first/{name}.deb" for name in OURS))
    check_complete(host)
    check_default_database(host)
    check_no_network_runs(host)


def removing_leaves_the_networks_of_the_host_alone(host):
    networks_start(host)
    before = (host.bridges(), host.processes("dnsmasq"))
    in_image(host, *APT, "remove", "tavrin-vnets")
    check(before == (host.bridges(), host.processes("dnsmasq")), "networks were touched")
    check("tavrin-tvnet8" in host.run("nft", "list", "tables"), "no rules")


STORIES = {
    "plain": (installing_makes_the_default_database, the_editor_finds_its_libraries,
              what_desktops_read_is_sound, a_program_builds_on_the_library,
              each_header_is_complete, networks_start, an_upgrade_touches_nothing_that_runs,
              removing_stops_them_and_leaves_the_database,
              installing_again_takes_the_database_that_is_there, purging_leaves_nothing,
              a_database_that_cannot_be_made_is_told, the_subnets_are_free_ones,
              purging_stops_the_networks),
    "booted": (networks_are_up_after_boot, an_upgrade_restarts_the_watcher_alone,
               removing_stops_the_units, a_network_manager_takes_what_it_may,
               installing_starts_the_networks, our_devices_are_left_alone_from_their_beginning,
               networks_of_no_unit_are_stopped_as_well, purging_leaves_nothing),
    "chroot": (installing_makes_a_database_there_too,
               removing_leaves_the_networks_of_the_host_alone),
}


if __name__ == "__main__":
    play(lambda group, scratch: PackageHost(group, scratch, *sys.argv[1:3]), STORIES[sys.argv[2]])
