// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/document/sampleSettings.hh"

namespace vnet::document {

NetworkSettings MakeFullNetwork()
{
   NetworkSettings network;
   network.displayName = "Büro \"eins\"";
   network.subnetAddress = Address::Parse("192.168.8.0");
   network.subnetMask = Address::Parse("255.255.255.0");
   network.mtu = 1400;
   network.useAdapter = network.useDhcp = network.useNat = true;
   network.nat.gateway = Address::Parse("192.168.8.3");
   network.nat.configPort = 7;
   network.nat.allowActiveFtp = network.nat.allowAnyOui = false;
   network.nat.udpTimeout = 60;
   network.nat.enableIpv6 = true;
   network.nat.ipv6Prefix = Prefix6::Parse("fd15:4ba5:5a2b:1008::/64");
   network.nat.forwards = {{true, 80, *Address::Parse("192.168.8.100"), 8080, "web"},
                           {true, 2222, *Address::Parse("192.168.8.100"), 22, ""},
                           {false, 53, *Address::Parse("192.168.8.101"), 53, "names"}};
   network.dhcp.rangeBegin = Address::Parse("192.168.8.10");
   network.dhcp.rangeEnd = Address::Parse("192.168.8.20");
   network.dhcp.defaultLease = 600;
   network.dhcp.maxLease = 900;
   network.dhcp.netbiosServer = Address::Parse("192.168.8.4");
   network.dhcp.router = Address::Parse("192.168.8.5");
   network.dhcp.dnsServer = Address::Parse("192.168.8.6");
   return network;
}

Settings MakeSampleSettings()
{
   Settings settings;
   settings.automatic = 0;
   settings.adapters = {{"eth0", 0}, {"eth1", 0}, {"eth2", 3}};
   auto& hostOnly = settings.networks[1];
   hostOnly.subnetAddress = Address::Parse("192.168.1.0");
   hostOnly.subnetMask = Address::Parse("255.255.255.0");
   hostOnly.useAdapter = true;
   settings.networks[3];
   settings.networks[8] = MakeFullNetwork();
   return settings;
}

} // namespace vnet::document
