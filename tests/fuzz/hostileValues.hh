// SPDX-License-Identifier: GPL-2.0-or-later
// Values that mutators put in the place of others.
#pragma once

#include <string_view>

namespace fuzz {

inline constexpr std::string_view hostileValues[] = {
   // What is taken somewhere.
   "", "0", "1", "true", "false", "-", "tvnet0", "tvnet8", "tvnet255", "eth0", "wlan0", "Lab",
   "192.168.8.0", "192.168.8.2", "192.168.8.128", "192.168.8.200", "192.168.8.254", "10.1.2.0",
   "10.1.2.3", "172.16.0.0", "255.255.255.0", "255.255.255.248", "255.255.255.252", "255.0.0.0",
   "192.0.0.0", "fd00:1:2:3::/64", "2001:db8::/56", "fd00::/125", "1500", "1280", "1279", "68",
   "9194", "80", "53", "65535", "600", "86400", "2147483647",
   // What is almost.
   "-1", "-2147483648", "2147483648", "4294967295", "65536", "00", "0x10", " 1", "1 ", "+1", "1e3",
   "192.168.8", "192.168.8.256", "192.168.008.1", "192.168.8.1/24", "255.0.255.0", "0.0.0.0",
   "127.0.0.1", "224.0.0.1", "255.255.255.255", "fe80::1%eth0/64", "::/0", "ff02::/16",
   "::ffff:1.2.3.4/96", "fd00::/129", "tvnet256", "tvnet08", "TVNET8", "..", "a/b", "[x]",
   // What is more than one value, wherever it would come to stand.
   "192.168.8.2\nport=0", "192.168.8.2\\nport=0", "192.168.8.2; flush ruleset",
   "x } table inet y {", "a\" drop", "#", "a,b", "$(id)", "`id`", "%s%n", "../../etc/passwd",
   "dhcp-script=/bin/sh", "\\u000a", "\\u0000", "\\ud800", "\xc3\xa4", "\xe2\x80\xa8", "\xff", "=",
   "\\", "\\s", "\\q"};

} // namespace fuzz
