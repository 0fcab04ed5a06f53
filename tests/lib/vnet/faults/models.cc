// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/faults/models.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/nat.hh"

namespace test {

namespace {

using netcfg::common::Bridge;
using netcfg::common::Editable;
using netcfg::common::NAT;
using netcfg::common::Network;
using netcfg::common::OnDone;

constexpr unsigned int maxNetworks = 256;

Network& AddHosted(Editable& model, Network::Type type, unsigned int index,
                   std::string const& subnet)
{
   auto* const network = model.AddNetwork(type, index, false, OnDone());
   network->SetSubnetAddr(subnet.c_str());
   network->SetSubnetMask(subnet.empty() ? "" : "255.255.255.0");
   network->SetHasDHCP(true);
   network->SetHasVirtualAdapter(true);
   return *network;
}

void AddRemoved(Editable& model, unsigned int index)
{
   model.AddNetwork(Network::HostOnly, index, false, OnDone());
   model.RemoveNetwork(index);
}

void AddBridged(Editable& model, unsigned int index)
{
   model.AddNetwork(Network::Bridged, index, false, OnDone())
      ->GetBridge()
      ->SetAdapter("eth1", OnDone());
}

void AddAdapters(Editable& model)
{
   model.AddHostAdapter("eth0", "");
   model.AddHostAdapter("eth1", "");
}

} // namespace

std::string MakeFirstModel()
{
   Editable model(maxNetworks);
   AddAdapters(model);
   AddBridged(model, 0);
   AddHosted(model, Network::HostOnly, 1, "192.168.1.0");
   AddRemoved(model, 5);
   auto& eighth = AddHosted(model, Network::NAT, 8, "192.168.8.0");
   eighth.GetNAT()->SetGatewayIP("192.168.8.2");
   eighth.GetNAT()->SetPortForwardList({{8080, 80, true, "192.168.8.128", "web"}});
   AddHosted(model, Network::NAT, 9, "192.168.9.0").GetNAT()->SetGatewayIP("192.168.9.2");
   AddRemoved(model, 10);
   return Editable::Serialize(&model).c_str();
}

std::string MakeSecondModel()
{
   Editable model(maxNetworks);
   AddAdapters(model);
   AddRemoved(model, 0);
   AddHosted(model, Network::HostOnly, 1, "192.168.21.0").SetHasDHCP(false);
   AddBridged(model, 5);
   auto& eighth = AddHosted(model, Network::NAT, 8, "192.168.8.0");
   eighth.SetHasVirtualAdapter(false);
   eighth.GetNAT()->SetGatewayIP("192.168.8.2");
   eighth.GetNAT()->SetEnableIPv6(true);
   eighth.GetNAT()->SetIPv6Prefix("fd00:8::/64");
   eighth.GetNAT()->SetPortForwardList({{5353, 53, false, "192.168.8.129", "names"}});
   AddRemoved(model, 9);
   AddHosted(model, Network::NAT, 10, "");
   return Editable::Serialize(&model).c_str();
}

} // namespace test
