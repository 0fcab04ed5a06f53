// SPDX-License-Identifier: GPL-2.0-or-later
// A double of firewalld on D-Bus.
#pragma once

#include "lib/vnet/process/busDouble.hh"

#include <map>
#include <vector>

namespace vnet::process {

// Has the zones public, which holds eth0 and a source address, and tavrin.
class FirewalldDouble : public BusDouble {
public:
   explicit FirewalldDouble(char const* name = "org.fedoraproject.FirewallD1");
   ~FirewalldDouble() override;

private:
   std::map<std::string, std::vector<std::string>> zones{{"public", {"eth0"}}, {"tavrin", {}}};

   void Answer(std::string const& method, GVariant* parameters,
               GDBusMethodInvocation* invocation) override;
   GVariant* MakeActiveZones() const;
   void Change(std::string const& method, std::vector<std::string> const& texts,
               GDBusMethodInvocation* invocation);
};

} // namespace vnet::process
