// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/hostAdapters.hh"

#include <gmock/gmock.h>
#include <linux/if.h>
#include <linux/if_arp.h>

namespace vnet::engine {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

host::Link Make(std::string const& name, std::string const& kind = "")
{
   host::Link link;
   link.name = name;
   link.kind = kind;
   link.hardwareType = ARPHRD_ETHER;
   return link;
}

std::vector<std::string> Select(host::Link const& link)
{
   return SelectAdapters({link}, {link.name});
}

} // namespace

TEST(HostAdaptersTest, HardwareIsOfferedWithoutBeingNamed)
{
   auto wireless = Make("wlan0");
   wireless.wireless = true;
   EXPECT_THAT(SelectAdapters({Make("eth1"), wireless, Make("eth0")}, {}),
               ElementsAre("eth1", "wlan0", "eth0"));
}

TEST(HostAdaptersTest, OtherDevicesAreOfferedIfTheyAreNamed)
{
   std::vector<host::Link> const links = {Make("veth0", "veth"), Make("bond0", "bond"),
                                          Make("eth0.5", "vlan")};
   EXPECT_THAT(SelectAdapters(links, {}), IsEmpty());
   EXPECT_THAT(SelectAdapters(links, {"veth0", "eth0.5", "gone"}), ElementsAre("veth0", "eth0.5"));
}

TEST(HostAdaptersTest, BridgesTapsAndTunnelsAreNeverOffered)
{
   for (auto const* kind : {"bridge", "tun", "vxlan", "gretap", "geneve"}) {
      EXPECT_THAT(Select(Make("x0", kind)), IsEmpty()) << kind;
   }
}

TEST(HostAdaptersTest, WhatIsNotEthernetIsNeverOffered)
{
   auto wireguard = Make("wg0", "wireguard");
   wireguard.hardwareType = ARPHRD_NONE;
   EXPECT_THAT(Select(wireguard), IsEmpty());
   auto loopback = Make("lo");
   loopback.hardwareType = ARPHRD_LOOPBACK;
   loopback.flags = IFF_LOOPBACK;
   EXPECT_THAT(Select(loopback), IsEmpty());
}

TEST(HostAdaptersTest, OurOwnDevicesAreNeverOffered)
{
   auto port = Make("tvp3", "veth");
   port.alias = "tavrin-patch port eth0 tvnet0";
   EXPECT_THAT(Select(port), IsEmpty());
}

} // namespace vnet::engine
