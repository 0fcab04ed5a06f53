// SPDX-License-Identifier: GPL-2.0-or-later
// The snapshot's reader. It rebuilds a model through the model's own operations, so their rules
// hold, and what they refuse stays undone without a word.
#include "base/panic.h"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/jsonText.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/common/treeValue.hh"

#include <boost/property_tree/json_parser.hpp>
#include <cstdlib>
#include <memory>
#include <sstream>

using boost::property_tree::ptree;

namespace netcfg::common {

namespace {

// A snapshot nests 6 levels. The JSON library recurses, and its stack ends somewhere.
unsigned int const DEEPEST_TEXT = 64;

// Into a tree of the caller's, as there is no moving one.
bool Parse(std::string const& text, ptree& root)
{
   if (NestsDeeperThan(text, DEEPEST_TEXT)) {
      return false;
   }
   try {
      std::istringstream stream(text);
      boost::property_tree::read_json(stream, root);
      return true;
   } catch (boost::property_tree::ptree_error const&) {
      return false;
   }
}

// All adapters exist, free, before a network does.
void ReadHostAdapters(ptree const& root, Editable& editable)
{
   for (auto const& [key, entry] : root.get_child("HostAdapterDisplayName")) {
      utf::string const adapter = GetText(entry, "Adapter");
      editable.AddHostAdapter(adapter, GetText(entry, "DisplayName"));
   }
}

void ReadDHCP(ptree const& entry, DHCP& dhcp)
{
   dhcp.SetBeginIP(GetText(entry, "DHCP.BeginIP"));
   dhcp.SetEndIP(GetText(entry, "DHCP.EndIP"));
   dhcp.SetDefaultLeaseTime(GetUnsigned(entry, "DHCP.DefaultLeaseTime"));
   dhcp.SetMaxLeaseTime(GetUnsigned(entry, "DHCP.MaxLeaseTime"));
}

// Of an automatic bridge's adapters none is read: it takes all that are free.
void ReadBridge(ptree const& entry, Bridge& bridge)
{
   if (GetValue<bool>(entry, "Bridge.Auto")) {
      bridge.SetAuto(true, OnDone());
      return;
   }
   ptree const& adapters = entry.get_child("Bridge.Adapters");
   if (!adapters.empty()) {
      bridge.SetAdapter(GetText(adapters.front().second, ""), OnDone());
   }
}

void ReadNATParams(ptree const& entry, NAT& nat)
{
   nat.SetGatewayIP(GetText(entry, "NAT.NATParams.GatewayIP"));
   nat.SetConfigPort(GetUnsigned(entry, "NAT.NATParams.ConfigPort"));
   nat.SetAllowActiveFTP(GetValue<bool>(entry, "NAT.NATParams.AllowActiveFTP"));
   nat.SetAllowOUI(GetValue<bool>(entry, "NAT.NATParams.AllowOUI"));
   nat.SetUDPTimeout(GetUnsigned(entry, "NAT.NATParams.UDPTimeout"));
   nat.SetEnableIPv6(GetValue<bool>(entry, "NAT.NATParams.EnableIPv6"));
   nat.SetIPv6Prefix(GetText(entry, "NAT.NATParams.IPv6Prefix"));
}

void ReadNetBiosParams(ptree const& entry, NAT& nat)
{
   nat.SetNBNSTimeout(GetUnsigned(entry, "NAT.NetBiosParams.NBNSTimeout"));
   nat.SetNBNSRetries(GetUnsigned(entry, "NAT.NetBiosParams.NBNSRetries"));
   nat.SetNBDSTimeout(GetUnsigned(entry, "NAT.NetBiosParams.NBDSTimeout"));
}

void ReadDNSParams(ptree const& entry, NAT& nat)
{
   nat.SetDNSPolicy(static_cast<NAT::DNSPolicy>(GetUnsigned(entry, "NAT.DNSParams.DNSPolicy")));
   nat.SetDNSTimeout(GetUnsigned(entry, "NAT.DNSParams.DNSTimeout"));
   nat.SetDNSRetries(GetUnsigned(entry, "NAT.DNSParams.DNSRetries"));
   nat.SetDNSAutoDetect(GetValue<bool>(entry, "NAT.DNSParams.DNSAutoDetect"));
   std::vector<utf::string> servers;
   for (auto const& [key, server] : entry.get_child("NAT.DNSParams.DNSList")) {
      servers.push_back(GetText(server, ""));
   }
   nat.SetDNSList(servers);
}

void ReadPortForwardList(ptree const& entry, NAT& nat)
{
   NAT::PortForwardList list;
   for (auto const& [key, forward] : entry.get_child("NAT.PortForwardList")) {
      list.push_back({GetValue<std::uint16_t>(forward, "HostPort"),
                      GetValue<std::uint16_t>(forward, "VMPort"), GetValue<bool>(forward, "TCP"),
                      GetText(forward, "IP"), GetText(forward, "Description")});
   }
   nat.SetPortForwardList(list);
}

void ReadNAT(ptree const& entry, NAT& nat)
{
   ReadNATParams(entry, nat);
   ReadNetBiosParams(entry, nat);
   ReadDNSParams(entry, nat);
   ReadPortForwardList(entry, nat);
}

// What every network has, in the order of reading.
struct NetworkValues {
   unsigned int index;
   bool hasDHCP;
   bool hasVirtualAdapter;
   utf::string displayName;
   utf::string subnetAddr;
   utf::string subnetMask;
   Network::Type type;
   utf::string mtu;
};

NetworkValues ReadNetworkValues(ptree const& entry)
{
   return {GetUnsigned(entry, "Index"),
           GetValue<bool>(entry, "HasDHCP"),
           GetValue<bool>(entry, "HasVirtualAdapter"),
           GetText(entry, "DisplayName"),
           GetText(entry, "SubnetAddress"),
           GetText(entry, "SubnetMask"),
           static_cast<Network::Type>(GetUnsigned(entry, "Type")),
           GetText(entry, "MTU")};
}

Network& AddNetwork(NetworkValues const& values, Editable& editable)
{
   Network* const network = editable.AddNetwork(values.type, values.index, false, OnDone());
   if (!network) {
      cui::Throw(boost::property_tree::ptree_bad_data("two networks have the same Index",
                                                      Network::NetToString(values.index)));
   }
   network->SetHasDHCP(values.hasDHCP);
   network->SetHasVirtualAdapter(values.hasVirtualAdapter);
   network->SetDisplayName(values.displayName);
   network->SetSubnetAddr(values.subnetAddr);
   network->SetSubnetMask(values.subnetMask);
   return *network;
}

// A bridged network's MTU isn't applied.
void ReadTypeSettings(ptree const& entry, NetworkValues const& values, Network& network)
{
   switch (values.type) {
   case Network::Bridged:
      ReadBridge(entry, *network.GetBridge());
      return;
   case Network::NAT:
      network.SetMTU(values.mtu);
      ReadNAT(entry, *network.GetNAT());
      return;
   case Network::HostOnly:
      network.SetMTU(values.mtu);
      return;
   }
   NOT_REACHED_AT("tvnetcfg/common/editable", __LINE__);
}

void ReadNetwork(ptree const& entry, Editable& editable)
{
   NetworkValues const values = ReadNetworkValues(entry);
   Network& network = AddNetwork(values, editable);
   if (values.hasDHCP) {
      ReadDHCP(entry, *network.GetDHCP());
   }
   ReadTypeSettings(entry, values, network);
}

// An Index that is no int counts as none.
bool IsEmptySlot(ptree const& entry)
{
   return entry.get_optional<int>("Index", GetTranslator<int>()).get_value_or(-1) == -1;
}

void EmptySlot(Editable& editable, unsigned int index)
{
   Network*& slot = editable.GetNetworks()[index];
   // A text that fills a slot and then empties it mustn't leave its adapters to nobody.
   delete slot;
   slot = nullptr;
}

// The order of the text counts: an earlier network takes its adapters first.
void ReadNetworks(ptree const& root, Editable& editable)
{
   for (auto const& [key, entry] : root.get_child("Networks")) {
      if (IsEmptySlot(entry)) {
         EmptySlot(editable, static_cast<unsigned int>(strtol(key.c_str(), nullptr, 10)));
      } else {
         ReadNetwork(entry, editable);
      }
   }
}

Bridge& GetBridge(Network const& network)
{
   if (!network.GetBridge()) {
      cui::Throw(boost::property_tree::ptree_bad_data(
         "AutoBridgeNetworkIndex names a network that isn't bridged",
         Network::NetToString(network.GetIndex())));
   }
   return *network.GetBridge();
}

void ReadAutoBridge(ptree const& root, Editable& editable)
{
   int const index = GetValue<int>(root, "AutoBridgeNetworkIndex");
   if (index < 0) {
      return;
   }
   Network const* const network = editable.GetNetworks().at(static_cast<unsigned int>(index));
   if (!network) {
      return;
   }
   for (auto const& [key, entry] : root.get_child("HostAdapterDisplayName")) {
      GetBridge(*network).AddAutoAdapter(GetText(entry, "Adapter"), OnDone());
   }
}

} // namespace

Editable* Editable::Restore(utf::string const& text)
{
   ptree root;
   if (!Parse(static_cast<Glib::ustring const&>(text).raw(), root)) {
      return nullptr;
   }
   auto editable = std::make_unique<Editable>(GetUnsigned(root, "MaxNetworks"));
   ReadHostAdapters(root, *editable);
   ReadNetworks(root, *editable);
   ReadAutoBridge(root, *editable);
   return editable.release();
}

} // namespace netcfg::common
