// SPDX-License-Identifier: GPL-2.0-or-later
// What a network's files for dnsmasq may hold.
#pragma once

#include "fuzz/permitted.hh"
#include "vnet/services/wanted.hh"

#include <string>

namespace fuzz {

// The first line that may not stand there, in quotation marks, or what is missing; empty if all is
// well.
std::string FindBadDnsmasqLine(vnet::services::WantedDnsmasq const& files,
                               Permitted const& permitted);

} // namespace fuzz
