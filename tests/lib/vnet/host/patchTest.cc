// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/host/patchTest.hh"

#include <gtest/gtest.h>

namespace vnet::host {

namespace {

void AddAddresses(netlab::Namespace const& place, std::string const& host)
{
   place.AddAddress("eth0", "10.3.0." + host + "/24");
   place.AddAddress("eth0", "fd03::" + host + "/64");
}

} // namespace

void PatchTest::SetUp()
{
   LabTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   wirePort = lan.Plug(GetHost(), "eth0");
   lan.Plug(station, "eth0");
   socket.emplace();
   ruleset.emplace();
   links.emplace(*socket);
   patch.emplace(*socket, *ruleset);
   links->CreateBridge({"tvnet0", {{2, 0, 0, 0, 0, 0x10}}, 1500, "test"});
   netlab::Connect(GetHost(), "tap0", guest, "eth0");
   netlab::Connect(GetHost(), "tap1", otherGuest, "eth0");
   GetHost().Command("ip link set tap0 master tvnet0");
   GetHost().Command("ip link set tap1 master tvnet0");
   AddAddresses(GetHost(), "1");
   AddAddresses(station, "9");
   AddAddresses(guest, "50");
   AddAddresses(otherGuest, "51");
}

void PatchTest::Attach(std::string const& adapter)
{
   patch->Attach(adapter, "tvnet0");
}

void PatchTest::Detach(std::string const& adapter)
{
   EXPECT_EQ(std::vector<std::string>{}, patch->Detach(adapter));
}

std::string PatchTest::DescribeHost()
{
   auto const& host = GetHost();
   return host.Command("ip -d addr show dev eth0") + host.Command("ip route show table all") +
          host.Command("ip -6 route show table all") + host.Command("tc qdisc show dev eth0") +
          host.Command("tc filter show dev eth0 ingress") + host.Command("nft list ruleset") +
          host.Command("ip -o link show type veth");
}

void PatchTest::ExpectNothingLeft()
{
   EXPECT_TRUE(patch->List().empty());
   EXPECT_EQ("", GetHost().Command("nft list ruleset"));
   for (auto const& link : links->List()) {
      EXPECT_FALSE(link.name.starts_with("tvp") || link.name.starts_with("tvh")) << link.name;
   }
}

} // namespace vnet::host
