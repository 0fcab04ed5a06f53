// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/services/databases.hh"

namespace vnet::services {

namespace {

Address Parse(std::string const& text)
{
   return *Address::Parse(text);
}

PortForward Forward(bool tcp, std::uint16_t hostPort, std::string const& address,
                    std::uint16_t vmPort)
{
   return {tcp, hostPort, Parse(address), vmPort, "for the web"};
}

Database MakeEverything()
{
   auto database = MakeNat("nat-everything");
   auto& network = database.Get();
   network.displayName = "Laboratory";
   network.mtu = 1400;
   network.nat.gateway = Parse("192.168.8.1");
   network.nat.configPort = 8307;
   network.nat.allowActiveFtp = false;
   network.nat.allowAnyOui = false;
   network.nat.udpTimeout = 120;
   network.nat.enableIpv6 = true;
   network.nat.ipv6Prefix = Prefix6::Parse("fd00:1:2:3::/64");
   network.nat.forwards = {Forward(true, 22, "192.168.8.128", 22),
                           Forward(true, 8080, "192.168.8.129", 80),
                           Forward(false, 53, "192.168.8.128", 5353)};
   network.dhcp.rangeBegin = Parse("192.168.8.10");
   network.dhcp.rangeEnd = Parse("192.168.8.99");
   network.dhcp.defaultLease = 600;
   network.dhcp.maxLease = 86400;
   network.dhcp.netbiosServer = network.dhcp.router = network.dhcp.dnsServer = Parse("192.168.8.1");
   database.facts.waysOut = {{"eth0", 1}, {"tun0", 0}};
   database.facts.nameservers = {"198.51.100.53", "2001:db8::53", "fe80::1%eth0"};
   return database;
}

Database MakeWithoutAdapter(Database database)
{
   database.Get().useAdapter = false;
   return database;
}

Database MakeIpv6(std::string const& name, std::string const& prefix)
{
   auto database = MakeNat(name);
   database.Get().nat.enableIpv6 = true;
   database.Get().nat.ipv6Prefix = Prefix6::Parse(prefix);
   database.facts.forwardsIpv6ByDevice = true;
   return database;
}

Database MakeWithoutDhcp(Database database)
{
   database.Get().useDhcp = false;
   return database;
}

Database MakeSmall()
{
   auto database = MakeNat("nat-29");
   database.Get().subnetMask = Parse("255.255.255.248");
   return database;
}

Database MakeSplit()
{
   auto database = MakeNat("nat-gateway-in-range");
   database.Get().nat.gateway = Parse("192.168.8.200");
   return database;
}

Database MakeConfined()
{
   auto database = MakeNat("user-namespace");
   database.facts.dnsmasqUser = "root";
   database.facts.dnsmasqGroup = "";
   database.facts.waysOut.clear();
   database.facts.hasIpv6 = false;
   return database;
}

Database MakeBridged(std::string const& name, bool automatic)
{
   Database database{name, 0, {}, {}};
   database.settings.networks[0] = {};
   database.settings.adapters = {{"eth0", 0}, {"eth1", 1}, {"eth2", 0}};
   if (automatic) {
      database.settings.automatic = 0;
   }
   return database;
}

Database MakeWithoutSubnet()
{
   auto database = MakeNat("no-subnet");
   database.Get().subnetAddress.reset();
   return database;
}

} // namespace

Database MakeHostOnly(std::string const& name)
{
   Database database{name, 8, {}, {}};
   auto& network = database.Get();
   network.subnetAddress = Parse("192.168.8.0");
   network.subnetMask = Parse("255.255.255.0");
   network.useAdapter = true;
   network.useDhcp = true;
   database.facts.waysOut = {{"eth0", 1}};
   return database;
}

Database MakeNat(std::string const& name)
{
   auto database = MakeHostOnly(name);
   database.Get().useNat = true;
   return database;
}

std::vector<Database> MakeDatabases()
{
   return {MakeNat("nat"),
           MakeEverything(),
           MakeWithoutAdapter(MakeNat("nat-without-adapter")),
           MakeWithoutDhcp(MakeNat("nat-without-dhcp")),
           MakeIpv6("nat-ipv6", "fd00:1:2:3::/64"),
           MakeWithoutAdapter(MakeIpv6("nat-ipv6-without-adapter", "fd00:1:2:3::/64")),
           MakeWithoutDhcp(MakeIpv6("nat-ipv6-without-dhcp", "fd00:1:2::/48")),
           MakeIpv6("nat-ipv6-long-prefix", "2001:db8:1::/120"),
           MakeSmall(),
           MakeSplit(),
           MakeConfined(),
           MakeHostOnly("host-only"),
           MakeWithoutAdapter(MakeHostOnly("host-only-without-adapter")),
           MakeWithoutDhcp(MakeHostOnly("host-only-without-dhcp")),
           MakeWithoutDhcp(MakeWithoutAdapter(MakeHostOnly("host-only-bare"))),
           MakeBridged("bridged", false),
           MakeBridged("bridged-automatic", true),
           MakeWithoutSubnet()};
}

} // namespace vnet::services
