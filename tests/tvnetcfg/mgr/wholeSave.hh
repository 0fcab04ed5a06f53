// SPDX-License-Identifier: GPL-2.0-or-later
// A save of every kind of slot and of adapter.
#pragma once

#include "saveTest.hh"

#include <fstream>
#include <sstream>

namespace netcfg {

// Every kind of slot and of adapter; the automatic bridging moves from 5 down to 0.
inline constexpr char goldenDatabase[] = "automatic=5\n"
                                         "adapter=eth0 -1\n"
                                         "adapter=eth1 5\n"
                                         "adapter=eth2 3\n"
                                         "adapter=eth3 0\n"
                                         "adapter=usb0 4\n"
                                         "adapter=wlan0 -1\n"
                                         "network=1 dhcp adapter 172.16.1.0 255.255.255.0\n"
                                         "mtu=1 1400\n"
                                         "network=3 10.3.0.0 255.255.0.0\n"
                                         "network=8 nat dhcp adapter 192.168.8.0 255.255.255.0\n"
                                         "nat=8 0x2343 192.168.8.2\n"
                                         "nat=8 0x2346 0\n"
                                         "nat=8 0x2347 1\n"
                                         "nat=8 0x2348 1\n"
                                         "nat=8 0x2349 30\n"
                                         "nat=8 0x235a 0\n"
                                         "nat=8 0x235b\n"
                                         "forward=8 tcp 22 192.168.8.4 22\n"
                                         "forward=8 tcp 80 192.168.8.3 8080 web\n"
                                         "forward=8 udp 53 192.168.8.5 5353 names\n"
                                         "network=9 192.168.9.0 255.255.255.0\n"
                                         "nat=9 0x2343 192.168.9.2\n";

class WholeSaveTest : public BothModesTest {
protected:
   WholeSaveTest()
   {
      SetDatabase(goldenDatabase);
      AddBridges();
      AddHostOnlyNetworks();
      AddNATNetworks();
   }

   // Undoes a save: it changes nothing of the model but the ninth network's gateway.
   void Undo()
   {
      SetDatabase(goldenDatabase);
      editable->GetNetwork(9)->GetNAT()->SetGatewayIP("10.0.0.1");
   }

   void AddBridges()
   {
      Network& automatic = AddBridged(0);
      automatic.GetBridge()->SetAuto(false, OnDone());
      AddAdapter("eth0", &automatic);
      AddAdapter("eth3", &automatic);
      AddAdapter("eth1", &AddBridged(2));
      AddAdapter("eth2");
      AddAdapter("wlan0");
   }

   void AddHostOnlyNetworks()
   {
      Network& first = AddHosted(Network::HostOnly, 1, "172.16.1.0", "255.255.255.0");
      first.SetDisplayName("private");
      first.SetHasVirtualAdapter(true);
      AddRemoved(3);
      Network& fifth = AddHosted(Network::HostOnly, 5);
      fifth.SetHasDHCP(true);
      fifth.SetMTU("9000");
   }

   void AddNATNetworks()
   {
      Network& eighth = AddHosted(Network::NAT, 8, "192.168.8.0", "255.255.255.0");
      eighth.SetHasDHCP(true);
      eighth.SetHasVirtualAdapter(true);
      NAT& nat = *eighth.GetNAT();
      nat.SetGatewayIP("192.168.8.3");
      nat.SetConfigPort(8765);
      nat.SetAllowActiveFTP(false);
      nat.SetUDPTimeout(60);
      nat.SetEnableIPv6(true);
      nat.SetIPv6Prefix("fd00::/64");
      nat.SetPortForwardList({{22, 22, true, "192.168.8.4", ""},
                              {80, 8080, true, "192.168.8.3", "B\xc3\xbcro"},
                              {5000, 5001, false, "192.168.8.5", ""}});
      AddHosted(Network::NAT, 9, "192.168.9.0", "255.255.255.0").GetNAT()->SetGatewayIP("10.0.0.1");
   }

   static Lines ReadGolden()
   {
      std::ostringstream text;
      text << std::ifstream(TEST_SOURCE_DIR "/golden/save.calls").rdbuf();
      return Script(text.str());
   }
};

} // namespace netcfg
