// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/laboratory.hh"

#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"

#include <stdexcept>

namespace bench {

namespace {

constexpr auto port = "guest";
constexpr auto guestDevice = "eth0";

} // namespace

Laboratory::Laboratory()
{
   if (auto const& problem = netlab::GetProblem(); !problem.empty()) {
      throw std::runtime_error(problem);
   }
   netlab::Connect(GetHost(), "eth0", outside, "eth0");
   GetHost().AddAddress("eth0", "198.51.100.1/24");
   outside.AddAddress("eth0", "198.51.100.2/24");
   GetHost().Command("ip route add default via 198.51.100.2");
   netlab::Connect(GetHost(), port, guest, guestDevice);
}

void Laboratory::Plug(unsigned int index)
{
   vnet::host::RouteSocket socket;
   vnet::host::Links links(socket);
   links.SetMaster(links.Require(port), links.Require(vnet::GetNetworkName(index)));
}

void Laboratory::Unplug()
{
   vnet::host::RouteSocket socket;
   vnet::host::Links links(socket);
   links.SetMaster(links.Require(port), {});
}

bool Laboratory::AsksForLease()
{
   return netlab::DhcpClient(guest, guestDevice).Acquire().has_value();
}

} // namespace bench
