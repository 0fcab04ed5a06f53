// SPDX-License-Identifier: GPL-2.0-or-later
// Two models to go between.
#pragma once

#include <string>

namespace test {

// Snapshots as an editor sends them. Each has slots for the other's networks, so that these go.
//
//    network   first                        second
//    0         bridged to eth1
//    1         host-only                    host-only, another subnet, no DHCP
//    5                                      bridged to eth1
//    8         NAT, TCP forward             NAT, no adapter, another forward, IPv6
//    9         NAT
//    10                                     NAT, its subnet chosen by the library
std::string MakeFirstModel();
std::string MakeSecondModel();

} // namespace test
