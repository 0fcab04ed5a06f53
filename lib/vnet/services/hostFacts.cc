// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/hostFacts.hh"

namespace vnet::services {

std::vector<std::string> HostFacts::GetUsualOuis()
{
   return {"00:15:5d", "00:16:3e", "00:1a:4a", "00:1c:42", "08:00:27", "52:54:00"};
}

} // namespace vnet::services
