// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/plainModel.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/nat.hh"

#include <algorithm>
#include <boost/property_tree/ptree.hpp>

namespace netcfg::common {

namespace {

// With its NULs.
std::string Raw(utf::string const& text)
{
   return static_cast<Glib::ustring const&>(text).raw();
}

// A bridged network's getters hide what is stored; a setter tells it by keeping silent.
bool Stored(Network& network, void (Network::*set)(bool))
{
   int heard = 0;
   sigc::connection connection = network.changed.connect([&heard] { ++heard; });
   (network.*set)(true);
   bool const stored = heard == 0;
   (network.*set)(stored);
   connection.disconnect();
   return stored;
}

PlainDHCP Describe(DHCP const& dhcp)
{
   return {Raw(dhcp.GetBeginIP()), Raw(dhcp.GetEndIP()), dhcp.GetDefaultLeaseTime(),
           dhcp.GetMaxLeaseTime()};
}

PlainNAT Describe(NAT const& nat)
{
   PlainNAT plain = {.gatewayIP = Raw(nat.GetGatewayIP()),
                     .configPort = nat.GetConfigPort(),
                     .allowActiveFTP = nat.GetAllowActiveFTP(),
                     .allowOUI = nat.GetAllowOUI(),
                     .udpTimeout = nat.GetUDPTimeout(),
                     .enableIPv6 = nat.GetEnableIPv6(),
                     .ipv6Prefix = Raw(nat.GetIPv6Prefix()),
                     .nbnsTimeout = nat.GetNBNSTimeout(),
                     .nbnsRetries = nat.GetNBNSRetries(),
                     .nbdsTimeout = nat.GetNBDSTimeout(),
                     .dnsPolicy = nat.GetDNSPolicy(),
                     .dnsTimeout = nat.GetDNSTimeout(),
                     .dnsRetries = nat.GetDNSRetries(),
                     .dnsAutoDetect = nat.GetDNSAutoDetect(),
                     .dnsList = {},
                     .forwards = {}};
   for (utf::string const& server : nat.GetDNSList()) {
      plain.dnsList.push_back(Raw(server));
   }
   for (NAT::PortForwardEntry const& entry : nat.GetPortForwardList()) {
      plain.forwards.push_back(
         {entry.hostPort, entry.vmPort, entry.tcp, Raw(entry.ip), Raw(entry.description)});
   }
   return plain;
}

PlainNetwork Describe(Network& network)
{
   PlainNetwork plain;
   plain.index = network.GetIndex();
   plain.type = network.GetType();
   plain.hasDHCP = Stored(network, &Network::SetHasDHCP);
   plain.hasVirtualAdapter = Stored(network, &Network::SetHasVirtualAdapter);
   plain.displayName = Raw(network.GetDisplayName());
   plain.subnetAddr = Raw(network.GetSubnetAddr());
   plain.subnetMask = Raw(network.GetSubnetMask());
   plain.mtu = Raw(network.GetMTU());
   plain.dhcp = Describe(*network.GetDHCP());
   plain.nat = Describe(*network.GetNAT());
   if (network.GetBridge()) {
      plain.isAuto = network.GetBridge()->IsAuto();
      boost::property_tree::ptree const tree = network.GetBridge()->ToPropertyTree();
      for (auto const& [key, name] : tree.get_child("Adapters")) {
         plain.adapters.push_back(name.data());
      }
   }
   return plain;
}

bool FitsInt(unsigned int value)
{
   return value <= 2147483647u;
}

bool Fits(PlainDHCP const& dhcp)
{
   return FitsInt(dhcp.defaultLeaseTime) && FitsInt(dhcp.maxLeaseTime);
}

bool Fits(PlainNAT const& nat)
{
   unsigned int const numbers[] = {nat.configPort,  nat.udpTimeout,  nat.nbnsTimeout,
                                   nat.nbnsRetries, nat.nbdsTimeout, nat.dnsPolicy,
                                   nat.dnsTimeout,  nat.dnsRetries};
   return std::all_of(std::begin(numbers), std::end(numbers), FitsInt);
}

std::string UpToNul(std::string const& text)
{
   return text.substr(0, text.find('\0'));
}

PlainNAT Trip(PlainNAT nat)
{
   nat.gatewayIP = UpToNul(nat.gatewayIP);
   nat.ipv6Prefix = UpToNul(nat.ipv6Prefix);
   for (std::string& server : nat.dnsList) {
      server = UpToNul(server);
   }
   for (PlainForward& forward : nat.forwards) {
      forward.ip = UpToNul(forward.ip);
      forward.description = UpToNul(forward.description);
   }
   return nat;
}

PlainDHCP Trip(PlainDHCP dhcp)
{
   dhcp.beginIP = UpToNul(dhcp.beginIP);
   dhcp.endIP = UpToNul(dhcp.endIP);
   return dhcp;
}

void Take(PlainModel& model, PlainNetwork& network, std::string const& adapter)
{
   std::optional<unsigned int>& user = model.adapterUsers.at(adapter);
   if (!user) {
      user = network.index;
      network.adapters.push_back(adapter);
   }
}

void Bridge(PlainModel& model, PlainNetwork& network, PlainNetwork const& written)
{
   if (!written.isAuto) {
      if (!written.adapters.empty()) {
         Take(model, network, written.adapters.front());
      }
      return;
   }
   network.isAuto = true;
   model.autoNetwork = network.index;
   for (auto const& [adapter, user] : model.adapterUsers) {
      Take(model, network, adapter);
   }
}

PlainNetwork Trip(PlainModel& model, PlainNetwork const& written)
{
   PlainNetwork network;
   network.index = written.index;
   network.type = written.type;
   network.hasDHCP = written.hasDHCP;
   network.hasVirtualAdapter = written.hasVirtualAdapter;
   network.displayName = UpToNul(written.displayName);
   network.subnetAddr = UpToNul(written.subnetAddr);
   network.subnetMask = UpToNul(written.subnetMask);
   if (written.hasDHCP) {
      network.dhcp = Trip(written.dhcp);
   }
   if (written.type == Network::Bridged) {
      Bridge(model, network, written);
      return network;
   }
   network.mtu = UpToNul(written.mtu);
   if (written.type == Network::NAT) {
      network.nat = Trip(written.nat);
   }
   return network;
}

bool IsAccepted(PlainNetwork const& written)
{
   return (!written.hasDHCP || Fits(written.dhcp)) &&
          (written.type != Network::NAT || Fits(written.nat));
}

void Print(std::ostream& out, PlainNAT const& nat)
{
   out << "   NAT " << nat.gatewayIP << ' ' << nat.configPort << ' ' << nat.allowActiveFTP << ' '
       << nat.allowOUI << ' ' << nat.udpTimeout << ' ' << nat.enableIPv6 << ' ' << nat.ipv6Prefix
       << ' ' << nat.nbnsTimeout << ' ' << nat.nbnsRetries << ' ' << nat.nbdsTimeout << ' '
       << nat.dnsPolicy << ' ' << nat.dnsTimeout << ' ' << nat.dnsRetries << ' '
       << nat.dnsAutoDetect << '\n';
   for (std::string const& server : nat.dnsList) {
      out << "   DNS [" << server << "]\n";
   }
   for (PlainForward const& forward : nat.forwards) {
      out << "   forward " << forward.hostPort << ' ' << forward.vmPort << ' ' << forward.tcp
          << " [" << forward.ip << "] [" << forward.description << "]\n";
   }
}

void Print(std::ostream& out, PlainNetwork const& network)
{
   out << "   index " << network.index << " type " << network.type << " dhcp " << network.hasDHCP
       << " adapter " << network.hasVirtualAdapter << " [" << network.displayName << "] ["
       << network.subnetAddr << "] [" << network.subnetMask << "] [" << network.mtu << "] auto "
       << network.isAuto << '\n';
   for (std::string const& adapter : network.adapters) {
      out << "   bridges [" << adapter << "]\n";
   }
   out << "   DHCP [" << network.dhcp.beginIP << "] [" << network.dhcp.endIP << "] "
       << network.dhcp.defaultLeaseTime << ' ' << network.dhcp.maxLeaseTime << '\n';
   Print(out, network.nat);
}

} // namespace

std::ostream& operator<<(std::ostream& out, PlainModel const& model)
{
   out << "max " << model.maxNetworks << " auto " << (model.autoNetwork ? "" : "none");
   if (model.autoNetwork) {
      out << *model.autoNetwork;
   }
   out << '\n';
   for (auto const& [adapter, displayName] : model.displayNames) {
      out << "adapter [" << adapter << "] [" << displayName << "]\n";
   }
   for (auto const& [index, network] : model.networks) {
      out << "slot " << index << (network ? "" : " empty") << '\n';
      if (network) {
         Print(out, *network);
      }
   }
   return out;
}

PlainModel Describe(Editable& editable)
{
   PlainModel plain;
   plain.maxNetworks = editable.GetMaxNetworks();
   for (auto const& [index, network] : editable.GetNetworks()) {
      plain.networks[index] = network ? std::optional(Describe(*network)) : std::nullopt;
   }
   for (auto const& [adapter, user] : editable.GetHostAdapters()) {
      plain.adapterUsers[Raw(adapter)] = user ? std::optional(user->GetIndex()) : std::nullopt;
      plain.displayNames[Raw(adapter)] = Raw(editable.GetDisplayNameForAdapter(adapter));
   }
   if (editable.GetAutoBridgeNetwork()) {
      plain.autoNetwork = editable.GetAutoBridgeNetwork()->GetIndex();
   }
   return plain;
}

std::variant<PlainModel, BadNumber> Predict(PlainModel const& written)
{
   PlainModel model;
   model.maxNetworks = written.maxNetworks;
   if (!FitsInt(written.maxNetworks)) {
      return BadNumber();
   }
   for (auto const& [adapter, displayName] : written.displayNames) {
      model.displayNames[adapter] = UpToNul(displayName);
      model.adapterUsers[adapter] = std::nullopt;
   }
   for (auto const& [index, network] : written.networks) {
      // An index that is no int reads as that of an emptied slot.
      if (!network || !FitsInt(index)) {
         model.networks[index] = std::nullopt;
      } else if (!IsAccepted(*network)) {
         return BadNumber();
      } else {
         model.networks[index] = Trip(model, *network);
      }
   }
   return model;
}

} // namespace netcfg::common
