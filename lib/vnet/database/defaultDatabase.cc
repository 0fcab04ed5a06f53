// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/defaultDatabase.hh"

namespace vnet {

namespace {

std::string MakeNetwork(std::string const& name, Subnet const& subnet, std::string const& nat)
{
   return "\n[" + name + "]\nsubnet=" + subnet.address.ToString() +
          "\nmask=" + subnet.GetMask().ToString() + "\nadapter=true\ndhcp=true\nnat=" + nat + "\n";
}

} // namespace

std::string MakeDefaultDatabase(Subnet const& hostOnly, Subnet const& nat)
{
   return "# The virtual networks of this host. What is changed here counts from the next start "
          "of\n"
          "# the networks. Comments stay.\n"
          "\n"
          "[general]\n"
          "version=1\n"
          "automatic=tvnet0\n" +
          MakeNetwork("tvnet1", hostOnly, "false") + MakeNetwork("tvnet8", nat, "true");
}

} // namespace vnet
