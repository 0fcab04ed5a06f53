#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""What tells network managers, AppArmor and qemu about us."""
import configparser
import fnmatch
import re

from suite import DATA, TOP, FilesTest, main

OURS = ("tvnet0", "tvnet8", "tvnet255", "tvp0", "tvp12", "tvh0", "tvh12")
OTHERS = ("eth0", "tv0", "vnet0", "virbr0", "docker0", "mytvnet0", "wlan0")
PROFILES = {"usr.bin.tavrin-netcfg": "tavrin-netcfg", "usr.sbin.tavrin-vnets": "tavrin-vnets"}


def read_keys(path):
    parser = configparser.ConfigParser(delimiters="=", interpolation=None, strict=True)
    parser.optionxform = str
    with open(path, encoding="utf-8") as file:
        parser.read_file(file)
    return parser


def matching(names, patterns):
    return tuple(name for name in names
                 if any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns))


class NetworkManagerTest(FilesTest):
    def test_our_devices_are_left_alone_and_no_others(self):
        section = read_keys(TOP / "data/networkManager.conf")["device-tavrin"]
        self.assertEqual("0", section["managed"])
        kind = "interface-name:"
        devices = section["match-device"].split(",")
        self.assertTrue(all(device.startswith(kind) for device in devices), devices)
        patterns = [device.removeprefix(kind) for device in devices]
        self.assertEqual(OURS, matching(OURS, patterns))
        self.assertEqual((), matching(OTHERS, patterns))


class NetworkdTest(FilesTest):
    def test_our_devices_are_left_alone_and_no_others(self):
        file = read_keys(TOP / "data/networkd.network")
        self.assertEqual("yes", file["Link"]["Unmanaged"])
        patterns = file["Match"]["Name"].split()
        self.assertEqual(OURS, matching(OURS, patterns))
        self.assertEqual((), matching(OTHERS, patterns))


class AppArmorTest(FilesTest):
    tool = "apparmor_parser"

    def parse(self, profile, *options):
        return self.judge("--skip-kernel-load", "--skip-cache", *options, "-I", DATA / "apparmor",
                          DATA / "apparmor" / profile)

    def test_each_profile_compiles(self):
        for profile in PROFILES:
            self.parse(profile)

    def test_each_profile_has_its_name(self):
        for profile, name in PROFILES.items():
            self.assertIn(name, self.parse(profile, "--names").splitlines())

    def test_each_profile_is_for_the_program_of_its_name(self):
        for profile, name in PROFILES.items():
            text = (DATA / "apparmor" / profile).read_text()
            attached = re.search(r"^profile (\S+) (\S+) flags=\(complain", text, re.MULTILINE)
            self.assertEqual(name, attached.group(1))
            self.assertTrue(attached.group(2).endswith(f"/{name}"), attached.group(2))
            self.assertNotIn("@bindir@", text)


class BridgeTest(FilesTest):
    def test_the_example_allows_one_network_by_name(self):
        lines = [line for line in (TOP / "data/qemu/bridge.conf").read_text().splitlines()
                 if line and not line.startswith("#")]
        self.assertEqual(["allow tvnet8"], lines)


if __name__ == "__main__":
    main(globals())
