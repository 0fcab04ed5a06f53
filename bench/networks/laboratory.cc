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

void Surround(netlab::Namespace const& host, netlab::Namespace const& outside,
              netlab::Namespace const& guest)
{
   netlab::Connect(host, "eth0", outside, "eth0");
   host.AddAddress("eth0", "198.51.100.1/24");
   outside.AddAddress("eth0", "198.51.100.2/24");
   host.Command("ip route add default via 198.51.100.2");
   netlab::Connect(host, port, guest, guestDevice);
}

Laboratory::Laboratory()
{
   if (auto const& problem = netlab::GetProblem(); !problem.empty()) {
      throw std::runtime_error(problem);
   }
   Surround(GetHost(), outside, guest);
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
