// SPDX-License-Identifier: GPL-2.0-or-later
// The snapshot's writer: what each class tells, in the order that a reader may count on.
#include "base/panic.h"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/common/snapshotSink.hh"

using boost::property_tree::ptree;

namespace netcfg::common {

namespace {

// Of each element of a list.
constexpr std::string_view NO_KEY;

template <class Part>
ptree MakeTree(Part const& part)
{
   SnapshotTree tree;
   part.Write(tree);
   return tree.Take();
}

template <class Part>
void WritePart(SnapshotSink& sink, std::string_view key, Part const& part)
{
   sink.Open(key);
   part.Write(sink);
   sink.Close();
}

void WriteList(SnapshotSink& sink, std::string_view key, auto const& texts)
{
   sink.Open(key);
   for (utf::string const& text : texts) {
      sink.PutText(NO_KEY, text);
   }
   sink.Close();
}

void WriteNATParams(SnapshotSink& sink, NAT const& nat)
{
   sink.Open("NATParams");
   sink.PutText("GatewayIP", nat.GetGatewayIP());
   sink.PutValue("ConfigPort", nat.GetConfigPort());
   sink.PutValue("AllowActiveFTP", nat.GetAllowActiveFTP());
   sink.PutValue("AllowOUI", nat.GetAllowOUI());
   sink.PutValue("UDPTimeout", nat.GetUDPTimeout());
   sink.PutValue("EnableIPv6", nat.GetEnableIPv6());
   sink.PutText("IPv6Prefix", nat.GetIPv6Prefix());
   sink.Close();
}

void WriteNetBiosParams(SnapshotSink& sink, NAT const& nat)
{
   sink.Open("NetBiosParams");
   sink.PutValue("NBNSTimeout", nat.GetNBNSTimeout());
   sink.PutValue("NBNSRetries", nat.GetNBNSRetries());
   sink.PutValue("NBDSTimeout", nat.GetNBDSTimeout());
   sink.Close();
}

void WriteDNSParams(SnapshotSink& sink, NAT const& nat)
{
   sink.Open("DNSParams");
   sink.PutValue<unsigned int>("DNSPolicy", nat.GetDNSPolicy());
   sink.PutValue("DNSTimeout", nat.GetDNSTimeout());
   sink.PutValue("DNSRetries", nat.GetDNSRetries());
   sink.PutValue("DNSAutoDetect", nat.GetDNSAutoDetect());
   WriteList(sink, "DNSList", nat.GetDNSList());
   sink.Close();
}

void WritePortForwardList(SnapshotSink& sink, NAT::PortForwardList const& list)
{
   sink.Open("PortForwardList");
   for (NAT::PortForwardEntry const& entry : list) {
      sink.Open(NO_KEY);
      sink.PutValue("HostPort", entry.hostPort);
      sink.PutValue("VMPort", entry.vmPort);
      sink.PutValue("TCP", entry.tcp);
      sink.PutText("IP", entry.ip);
      sink.PutText("Description", entry.description);
      sink.Close();
   }
   sink.Close();
}

void WriteNetworks(SnapshotSink& sink, std::map<unsigned int, Network*> const& networks)
{
   sink.Open("Networks");
   for (auto const& [index, network] : networks) {
      utf::string const key = utf::IntToStr(index);
      if (network) {
         WritePart(sink, key.c_str(), *network);
      } else {
         sink.PutValue(key.c_str(), 0);
      }
   }
   sink.Close();
}

void WriteHostAdapters(SnapshotSink& sink, std::map<utf::string, utf::string> const& displayNames)
{
   sink.Open("HostAdapterDisplayName");
   for (auto const& [adapter, displayName] : displayNames) {
      sink.Open(NO_KEY);
      sink.PutText("Adapter", adapter);
      sink.PutText("DisplayName", displayName);
      sink.Close();
   }
   sink.Close();
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

void DHCP::Write(SnapshotSink& sink) const
{
   sink.PutText("BeginIP", beginIP);
   sink.PutText("EndIP", endIP);
   sink.PutValue("DefaultLeaseTime", defaultLeaseTime);
   sink.PutValue("MaxLeaseTime", maxLeaseTime);
}

void Bridge::Write(SnapshotSink& sink) const
{
   sink.PutValue("Auto", isAuto);
   WriteList(sink, "Adapters", adapters);
}

void NAT::Write(SnapshotSink& sink) const
{
   WriteNATParams(sink, *this);
   WriteNetBiosParams(sink, *this);
   WriteDNSParams(sink, *this);
   WritePortForwardList(sink, portForwardList);
}

void Network::Write(SnapshotSink& sink) const
{
   sink.PutValue("Index", index);
   // As stored, not as the getters of a bridged network tell.
   sink.PutValue("HasDHCP", hasDHCP);
   sink.PutValue("HasVirtualAdapter", hasVirtualAdapter);
   sink.PutText("DisplayName", displayName);
   sink.PutText("SubnetAddress", subnetAddr);
   sink.PutText("SubnetMask", subnetMask);
   sink.PutValue<unsigned int>("Type", type);
   sink.PutText("MTU", mtu);
   if (dhcp && hasDHCP) {
      WritePart(sink, "DHCP", *dhcp);
   }
   if (type == Bridged && bridge) {
      WritePart(sink, "Bridge", *bridge);
   } else if (type == NAT && nat) {
      WritePart(sink, "NAT", *nat);
   } else if (type != HostOnly) {
      NOT_REACHED_AT("tvnetcfg/common/network", __LINE__);
   }
}

ptree DHCP::ToPropertyTree()
{
   return MakeTree(*this);
}

ptree Bridge::ToPropertyTree()
{
   return MakeTree(*this);
}

ptree NAT::ToPropertyTree()
{
   return MakeTree(*this);
}

ptree Network::ToPropertyTree()
{
   return MakeTree(*this);
}

utf::string Editable::Serialize(Editable const* editable)
{
   SnapshotText text;
   text.PutValue("MaxNetworks", editable->maxNetworks);
   WriteNetworks(text, editable->networks);
   text.PutValue("AutoBridgeNetworkIndex",
                 FindIndex(editable->networks, editable->autoBridgeNetwork));
   WriteHostAdapters(text, editable->adapterDisplayNames);
   // As many bytes as characters, whatever length a sender counts.
   return utf::string(text.Take().c_str());
}

} // namespace netcfg::common
