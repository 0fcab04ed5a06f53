// SPDX-License-Identifier: GPL-2.0-or-later
#include "screenshots/models.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/nat.hh"

#include <string>

namespace screenshots {

using netcfg::common::Editable;
using netcfg::common::NAT;
using netcfg::common::Network;

namespace {

constexpr unsigned int MANY = 40;

Network& AddHosted(Editable& model, Network::Type type, unsigned int index, char const* subnet)
{
   Network& network = *model.AddNetwork(type, index, true, {});
   network.SetSubnetAddr(subnet);
   network.SetSubnetMask(*subnet ? "255.255.255.0" : "");
   return network;
}

void FillNat(NAT& nat)
{
   nat.SetGatewayIP("192.168.20.2");
   nat.SetPortForwardList({{8080, 80, true, "192.168.20.128", "Web server for tests"},
                           {53535, 53, false, "192.168.20.129", "DNS"},
                           {2222, 22, true, "192.168.20.128", ""}});
}

} // namespace

void AddUsualNetworks(Editable& model)
{
   for (char const* const adapter : {"enp3s0", "enp4s0", "wlp0s20f3"}) {
      model.AddHostAdapter(adapter, adapter);
   }
   model.AddNetwork(Network::Bridged, 2, false, {})->GetBridge()->SetAdapter("enp4s0", {});
   model.AddNetwork(Network::Bridged, 0, true, {});
   Network& hostOnly = AddHosted(model, Network::HostOnly, 1, "172.16.104.0");
   hostOnly.SetHasDHCP(false);
   Network& shared = AddHosted(model, Network::NAT, 8, "192.168.20.0");
   shared.SetMTU("9000");
   FillNat(*shared.GetNAT());
   AddHosted(model, Network::NAT, 9, "");
}

void AddManyNetworks(Editable& model)
{
   for (unsigned int index = 0; index < MANY; ++index) {
      std::string const subnet = "10.20." + std::to_string(index) + ".0";
      AddHosted(model, index % 3 ? Network::NAT : Network::HostOnly, index, subnet.c_str());
   }
}

} // namespace screenshots
