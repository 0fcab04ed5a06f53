// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/defaultDatabase.hh"

#include "vnet/database/groups.hh"

namespace vnet {

namespace {

std::string MakeNetwork(std::string const& name, Subnet const& subnet, std::string const& nat)
{
   return "\n[" + name + "]\nsubnet=" + subnet.address.ToString() +
          "\nmask=" + subnet.GetMask().ToString() + "\nadapter=true\ndhcp=true\nnat=" + nat + "\n";
}

std::string MakeAdapters(std::vector<std::string> const& adapters)
{
   std::string text;
   for (auto const& adapter : adapters) {
      text += "\n[" + GetAdapterGroup(adapter) + "]\nnetwork=tvnet0\n";
   }
   return text;
}

} // namespace

std::string MakeDefaultDatabase(Subnet const& hostOnly, Subnet const& nat,
                                std::vector<std::string> const& adapters)
{
   return "# The virtual networks of this host. What is changed here counts from the next start "
          "of\n"
          "# the networks. Comments stay.\n"
          "\n"
          "[general]\n"
          "version=1\n"
          "automatic=tvnet0\n" +
          MakeNetwork("tvnet1", hostOnly, "false") + MakeNetwork("tvnet8", nat, "true") +
          MakeAdapters(adapters);
}

} // namespace vnet
