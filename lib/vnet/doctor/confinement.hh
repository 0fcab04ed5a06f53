// SPDX-License-Identifier: GPL-2.0-or-later
// AppArmor's hold on dnsmasq.
#pragma once

#include <string>

namespace vnet::doctor {

// Whether a profile for dnsmasq is loaded and enforced. Without AppArmor, or the right to read it,
// there is none. `sysRoot` is where sysfs is mounted.
bool IsDnsmasqConfined(std::string const& sysRoot);

// The command that lets the profile as Debian has it (apparmor-profiles: usr.sbin.dnsmasq, which
// includes local/usr.sbin.dnsmasq) know our folders.
std::string GetProfileRemedy();

} // namespace vnet::doctor
