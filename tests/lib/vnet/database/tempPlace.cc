// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/database/tempPlace.hh"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace test {

void TempPlace::Write(std::string const& text) const
{
   std::filesystem::remove_all(GetFile());
   std::ofstream(GetFile(), std::ios::binary) << text;
}

std::string TempPlace::Read() const
{
   std::ifstream file(GetFile(), std::ios::binary);
   return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> TempPlace::List() const
{
   std::vector<std::string> names;
   for (auto const& entry : std::filesystem::directory_iterator(GetFolder())) {
      names.push_back(entry.path().filename());
   }
   std::ranges::sort(names);
   return names;
}

std::string const richText = R"(# Networks of the laboratory

[general]
# Which layout this file has.
version=1
automatic=tvnet0
owner = somebody

# The students' network.
[tvnet1]
name=Büro
subnet = 192.168.5.0
mask=255.255.255.0
adapter=true
dhcp=true
nat=false
# Not before next term:
#mtu=9000

[tvnet8]
name=\sNAT\s
subnet=10.1.2.0
mask=255.255.255.0
mtu=1400
adapter=true
dhcp=true
nat=true
colour=green
nat-gateway=10.1.2.2
nat-config-port=33445
nat-active-ftp=false
nat-any-oui=false
nat-udp-timeout=60
nat-ipv6=true
nat-ipv6-prefix=fd00:1:2::/64
dhcp-range-begin=10.1.2.100
dhcp-range-end=10.1.2.200
dhcp-default-lease=600
dhcp-max-lease=1200
dhcp-netbios-server=10.1.2.2
dhcp-router=10.1.2.2
dhcp-dns-server=10.1.2.2

# The web server.
[tvnet8 forward tcp 8080]
address=10.1.2.10
port=80
description=web \\ "intern"

[tvnet8 forward udp 53]
address=10.1.2.11
port=5353

[adapter eth0]
network=tvnet0
[adapter eth%5b1%5d]
network=tvnet2

[extension]
whatever=1
# the end
)";

} // namespace test
