// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/plainHost.hh"

#include "networks/laboratory.hh"

namespace bench {

PlainHost::PlainHost()
{
   Surround(host, outside, guest);
   host.Command("ip link add plain type bridge stp_state 0 mcast_snooping 0");
   host.Command("ip link set plain up");
   host.Command("ip link set guest master plain");
}

void PlainHost::MakeNat()
{
   host.AddAddress("plain", "192.168.0.1/24");
   host.Command("sysctl -q -w net.ipv4.ip_forward=1");
   host.Command("nft add table ip plain");
   host.Command("nft add chain ip plain out { type nat hook postrouting priority srcnat ; }");
   host.Command("nft add rule ip plain out ip saddr 192.168.0.0/24 oifname != plain masquerade");
}

void PlainHost::MakeBridged()
{
   host.Command("ip addr flush dev eth0");
   host.Command("ip link set eth0 master plain");
   host.AddAddress("plain", "198.51.100.1/24");
}

} // namespace bench
