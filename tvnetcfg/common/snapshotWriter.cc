// SPDX-License-Identifier: GPL-2.0-or-later
// The snapshot's writer: the tree of each class, in the order that a reader may count on.
#include "base/panic.h"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/jsonText.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/common/treeValue.hh"

#include <boost/property_tree/json_parser.hpp>
#include <sstream>

using boost::property_tree::ptree;

namespace netcfg::common {

namespace {

// An element of an array has the empty key.
void Append(ptree& array, ptree const& element)
{
   array.push_back({std::string(), element});
}

template <typename Texts>
ptree MakeArray(Texts const& texts)
{
   ptree array;
   for (utf::string const& text : texts) {
      ptree element;
      PutText(element, "", text);
      Append(array, element);
   }
   return array;
}

ptree MakeNATParams(NAT const& nat)
{
   ptree group;
   PutText(group, "GatewayIP", nat.GetGatewayIP());
   PutValue(group, "ConfigPort", nat.GetConfigPort());
   PutValue(group, "AllowActiveFTP", nat.GetAllowActiveFTP());
   PutValue(group, "AllowOUI", nat.GetAllowOUI());
   PutValue(group, "UDPTimeout", nat.GetUDPTimeout());
   PutValue(group, "EnableIPv6", nat.GetEnableIPv6());
   PutText(group, "IPv6Prefix", nat.GetIPv6Prefix());
   return group;
}

ptree MakeNetBiosParams(NAT const& nat)
{
   ptree group;
   PutValue(group, "NBNSTimeout", nat.GetNBNSTimeout());
   PutValue(group, "NBNSRetries", nat.GetNBNSRetries());
   PutValue(group, "NBDSTimeout", nat.GetNBDSTimeout());
   return group;
}

ptree MakeDNSParams(NAT const& nat)
{
   ptree group;
   PutValue<unsigned int>(group, "DNSPolicy", nat.GetDNSPolicy());
   PutValue(group, "DNSTimeout", nat.GetDNSTimeout());
   PutValue(group, "DNSRetries", nat.GetDNSRetries());
   PutValue(group, "DNSAutoDetect", nat.GetDNSAutoDetect());
   group.add_child("DNSList", MakeArray(nat.GetDNSList()));
   return group;
}

ptree MakePortForwardList(NAT::PortForwardList const& list)
{
   ptree array;
   for (NAT::PortForwardEntry const& entry : list) {
      ptree element;
      PutValue(element, "HostPort", entry.hostPort);
      PutValue(element, "VMPort", entry.vmPort);
      PutValue(element, "TCP", entry.tcp);
      PutText(element, "IP", entry.ip);
      PutText(element, "Description", entry.description);
      Append(array, element);
   }
   return array;
}

ptree MakeNetworks(std::map<unsigned int, Network*> const& networks)
{
   ptree tree;
   for (auto const& [index, network] : networks) {
      utf::string const key = utf::IntToStr(index);
      if (network) {
         tree.add_child(key.c_str(), network->ToPropertyTree());
      } else {
         PutValue(tree, key.c_str(), 0);
      }
   }
   return tree;
}

ptree MakeHostAdapters(std::map<utf::string, utf::string> const& displayNames)
{
   ptree array;
   for (auto const& [adapter, displayName] : displayNames) {
      ptree element;
      PutText(element, "Adapter", adapter);
      PutText(element, "DisplayName", displayName);
      Append(array, element);
   }
   return array;
}

// The key that holds network, or -1.
int FindIndex(std::map<unsigned int, Network*> const& networks, Network const* network)
{
   for (auto const& [index, candidate] : networks) {
      if (candidate && candidate == network) {
         return static_cast<int>(index);
      }
   }
   return -1;
}

} // namespace

ptree DHCP::ToPropertyTree()
{
   ptree tree;
   PutText(tree, "BeginIP", beginIP);
   PutText(tree, "EndIP", endIP);
   PutValue(tree, "DefaultLeaseTime", defaultLeaseTime);
   PutValue(tree, "MaxLeaseTime", maxLeaseTime);
   return tree;
}

ptree Bridge::ToPropertyTree()
{
   ptree tree;
   PutValue(tree, "Auto", isAuto);
   tree.add_child("Adapters", MakeArray(adapters));
   return tree;
}

ptree NAT::ToPropertyTree()
{
   ptree tree;
   tree.add_child("NATParams", MakeNATParams(*this));
   tree.add_child("NetBiosParams", MakeNetBiosParams(*this));
   tree.add_child("DNSParams", MakeDNSParams(*this));
   tree.add_child("PortForwardList", MakePortForwardList(portForwardList));
   return tree;
}

ptree Network::ToPropertyTree()
{
   ptree tree;
   PutValue(tree, "Index", index);
   // As stored, not as the getters of a bridged network tell.
   PutValue(tree, "HasDHCP", hasDHCP);
   PutValue(tree, "HasVirtualAdapter", hasVirtualAdapter);
   PutText(tree, "DisplayName", displayName);
   PutText(tree, "SubnetAddress", subnetAddr);
   PutText(tree, "SubnetMask", subnetMask);
   PutValue<unsigned int>(tree, "Type", type);
   PutText(tree, "MTU", mtu);
   if (dhcp && hasDHCP) {
      tree.add_child("DHCP", dhcp->ToPropertyTree());
   }
   if (type == Bridged && bridge) {
      tree.add_child("Bridge", bridge->ToPropertyTree());
   } else if (type == NAT && nat) {
      tree.add_child("NAT", nat->ToPropertyTree());
   } else if (type != HostOnly) {
      NOT_REACHED_AT("tvnetcfg/common/network", __LINE__);
   }
   return tree;
}

utf::string Editable::Serialize(Editable const* editable)
{
   ptree root;
   PutValue(root, "MaxNetworks", editable->maxNetworks);
   root.add_child("Networks", MakeNetworks(editable->networks));
   PutValue(root, "AutoBridgeNetworkIndex",
            FindIndex(editable->networks, editable->autoBridgeNetwork));
   root.add_child("HostAdapterDisplayName", MakeHostAdapters(editable->adapterDisplayNames));
   std::ostringstream stream;
   boost::property_tree::write_json(stream, root, false);
   // As many bytes as characters, whatever length a sender counts.
   return utf::string(ToAsciiJson(stream.str()).c_str());
}

} // namespace netcfg::common
