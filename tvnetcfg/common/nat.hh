// SPDX-License-Identifier: GPL-2.0-or-later
// The NAT settings and port forwards of one network.
#pragma once

#include "tvnetcfg/common/assign.hh"
#include "utf/string.hh"

#include <boost/property_tree/ptree_fwd.hpp>
#include <cstdint>
#include <vector>

namespace netcfg::common {

class Network;
class SnapshotSink;

// Lives as long as its network, whatever that network's type.
class NAT : public sigc::trackable {
public:
   struct PortForwardEntry {
      std::uint16_t hostPort;
      std::uint16_t vmPort;
      bool tcp; // else UDP
      utf::string ip;
      utf::string description;

      bool operator==(PortForwardEntry const&) const = default;
   };
   using PortForwardList = std::vector<PortForwardEntry>;

   enum DNSPolicy : unsigned int { DNSPolicyDefault = 0 };

   enum IPv6PrefixError : unsigned int {
      PrefixV6Ok = 0,
      PrefixV6NotV6 = 1,
      PrefixV6BadFormat = 2,
      PrefixV6BadSubnet = 3,
      PrefixV6Invalid = 4,
   };

   sigc::signal<void> changed;

   explicit NAT(Network* network);
   NAT(NAT const&) = delete;
   NAT& operator=(NAT const&) = delete;

   Network* GetNetwork() const { return network; }

   // Judges an address with a prefix length. Strips prefix of white space, also if it is refused.
   IPv6PrefixError ValidateIPv6Prefix(utf::string& prefix);
   // The localised reason; empty for PrefixV6Ok.
   static utf::string GetIPv6PrefixErrorMessage(IPv6PrefixError error);
   // The entries of previous that current lacks, in their order.
   static PortForwardList GetRemovedList(PortForwardList const& current,
                                         PortForwardList const& previous);

   // Dotted address, or empty.
   utf::string const& GetGatewayIP() const { return gatewayIP; }
   void SetGatewayIP(utf::string const& value) { Assign(gatewayIP, value, changed); }
   unsigned int GetConfigPort() const { return configPort; }
   void SetConfigPort(unsigned int value) { Assign(configPort, value, changed); }
   bool GetAllowActiveFTP() const { return allowActiveFTP; }
   void SetAllowActiveFTP(bool value) { Assign(allowActiveFTP, value, changed); }
   // Any organisationally unique identifier.
   bool GetAllowOUI() const { return allowOUI; }
   void SetAllowOUI(bool value) { Assign(allowOUI, value, changed); }
   // Seconds.
   unsigned int GetUDPTimeout() const { return udpTimeout; }
   void SetUDPTimeout(unsigned int value) { Assign(udpTimeout, value, changed); }
   bool GetEnableIPv6() const { return enableIPv6; }
   void SetEnableIPv6(bool value) { Assign(enableIPv6, value, changed); }
   // Address "/" length, as entered.
   utf::string const& GetIPv6Prefix() const { return ipv6Prefix; }
   void SetIPv6Prefix(utf::string const& value) { Assign(ipv6Prefix, value, changed); }

   unsigned int GetNBNSTimeout() const { return nbnsTimeout; }
   void SetNBNSTimeout(unsigned int value) { Assign(nbnsTimeout, value, changed); }
   unsigned int GetNBNSRetries() const { return nbnsRetries; }
   void SetNBNSRetries(unsigned int value) { Assign(nbnsRetries, value, changed); }
   unsigned int GetNBDSTimeout() const { return nbdsTimeout; }
   void SetNBDSTimeout(unsigned int value) { Assign(nbdsTimeout, value, changed); }

   DNSPolicy GetDNSPolicy() const { return dnsPolicy; }
   void SetDNSPolicy(DNSPolicy value) { Assign(dnsPolicy, value, changed); }
   unsigned int GetDNSTimeout() const { return dnsTimeout; }
   void SetDNSTimeout(unsigned int value) { Assign(dnsTimeout, value, changed); }
   unsigned int GetDNSRetries() const { return dnsRetries; }
   void SetDNSRetries(unsigned int value) { Assign(dnsRetries, value, changed); }
   bool GetDNSAutoDetect() const { return dnsAutoDetect; }
   void SetDNSAutoDetect(bool value) { Assign(dnsAutoDetect, value, changed); }
   std::vector<utf::string> const& GetDNSList() const { return dnsList; }
   void SetDNSList(std::vector<utf::string> const& value) { Assign(dnsList, value, changed); }

   PortForwardList const& GetPortForwardList() const { return portForwardList; }
   // A list in another order counts as another list.
   void SetPortForwardList(PortForwardList const& value)
   {
      Assign(portForwardList, value, changed);
   }

   boost::property_tree::ptree ToPropertyTree();
   // What that tree has.
   void Write(SnapshotSink& sink) const;

private:
   Network* const network;

   utf::string gatewayIP;
   unsigned int configPort = 0;
   bool allowActiveFTP = true;
   bool allowOUI = true;
   unsigned int udpTimeout = 30;
   bool enableIPv6 = false;
   utf::string ipv6Prefix;

   unsigned int nbnsTimeout = 2;
   unsigned int nbnsRetries = 3;
   unsigned int nbdsTimeout = 3;

   DNSPolicy dnsPolicy = DNSPolicyDefault;
   unsigned int dnsTimeout = 2;
   unsigned int dnsRetries = 3;
   bool dnsAutoDetect = true;
   std::vector<utf::string> dnsList;

   PortForwardList portForwardList;
};

} // namespace netcfg::common
