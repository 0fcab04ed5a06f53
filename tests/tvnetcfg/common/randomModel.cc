// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/randomModel.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/common/texts.hh"

#include <iterator>

namespace netcfg::common {

std::unique_ptr<Editable> RandomModel::Make()
{
   auto editable = std::make_unique<Editable>(Chance(2) ? 2147483648u + Below(9) : Below(300));
   AddAdapters(*editable);
   AddNetworks(*editable);
   Rewire(*editable);
   return editable;
}

unsigned int RandomModel::Below(unsigned int limit)
{
   // Not a distribution: those differ between libraries, and a seed must tell the same tale.
   return static_cast<unsigned int>(random() % limit);
}

// Seldom one that doesn't fit the reader's int.
unsigned int RandomModel::Number()
{
   if (Chance(1) && Chance(20)) {
      return 2147483647u + Below(3);
   }
   return Chance(50) ? Below(10) : random() & 0x7FFFFFFF;
}

unsigned int RandomModel::Index()
{
   return Chance(2) ? static_cast<unsigned int>(random()) : Below(12);
}

utf::string RandomModel::Text()
{
   std::vector<utf::string> const& texts = OddTexts();
   utf::string text = texts[Below(texts.size())];
   while (Chance(30)) {
      text = text + texts[Below(texts.size())];
   }
   return Chance(2) ? utf::string("a\0b", 3) + text : text;
}

utf::string RandomModel::Adapter(Editable const& editable)
{
   auto const& adapters = editable.GetHostAdapters();
   return adapters.empty() ? utf::string("none")
                           : std::next(adapters.begin(), Below(adapters.size()))->first;
}

void RandomModel::AddAdapters(Editable& editable)
{
   for (unsigned int count = Below(6); count > 0; --count) {
      utf::string const name = utf::string("eth") + utf::IntToStr(Below(20));
      editable.AddHostAdapter(Chance(20) ? OddTexts()[Below(OddTexts().size())] : name, Text());
   }
}

void RandomModel::AddNetworks(Editable& editable)
{
   for (unsigned int count = Below(9); count > 0; --count) {
      auto const type = static_cast<Network::Type>(Below(3));
      Network* const network = editable.AddNetwork(type, Index(), Chance(60), OnDone());
      if (network) {
         Fill(*network);
      }
   }
}

// What a user or the database does to networks that are there.
void RandomModel::Rewire(Editable& editable)
{
   for (auto& [index, network] : editable.GetNetworks()) {
      if (network && Chance(15)) {
         network->SetType(static_cast<Network::Type>(Below(3)), OnDone());
      }
      if (network && network->GetBridge()) {
         Bridge& bridge = *network->GetBridge();
         if (Chance(30)) {
            bridge.SetAdapter(Adapter(editable), OnDone());
         }
         if (Chance(20)) {
            bridge.SetAuto(Chance(50), OnDone());
         }
         if (Chance(20)) {
            bridge.AddAutoAdapter(Adapter(editable), OnDone());
         }
         if (Chance(20)) {
            bridge.RemoveAutoAdapter(Adapter(editable));
         }
      }
      if (Chance(15)) {
         editable.RemoveNetwork(index);
      }
   }
}

void RandomModel::Fill(Network& network)
{
   network.SetHasDHCP(Chance(50));
   network.SetHasVirtualAdapter(Chance(50));
   network.SetDisplayName(Text());
   network.SetSubnetAddr(Text());
   network.SetSubnetMask(Text());
   if (Chance(70)) {
      network.SetMTU(Text());
   }
   DHCP& dhcp = *network.GetDHCP();
   dhcp.SetBeginIP(Text());
   dhcp.SetEndIP(Text());
   dhcp.SetDefaultLeaseTime(Number());
   dhcp.SetMaxLeaseTime(Number());
   FillNAT(*network.GetNAT());
}

void RandomModel::FillNAT(NAT& nat)
{
   nat.SetGatewayIP(Text());
   nat.SetConfigPort(Number());
   nat.SetAllowActiveFTP(Chance(50));
   nat.SetAllowOUI(Chance(50));
   nat.SetUDPTimeout(Number());
   nat.SetEnableIPv6(Chance(50));
   nat.SetIPv6Prefix(Text());
   nat.SetNBNSTimeout(Number());
   nat.SetNBNSRetries(Number());
   nat.SetNBDSTimeout(Number());
   nat.SetDNSPolicy(static_cast<NAT::DNSPolicy>(Number()));
   nat.SetDNSTimeout(Number());
   nat.SetDNSRetries(Number());
   nat.SetDNSAutoDetect(Chance(50));
   if (Chance(50)) {
      std::vector<utf::string> servers(Below(5));
      for (utf::string& server : servers) {
         server = Text();
      }
      nat.SetDNSList(servers);
   }
   NAT::PortForwardList forwards;
   for (unsigned int count = Below(4); count > 0; --count) {
      forwards.push_back({static_cast<std::uint16_t>(random()),
                          static_cast<std::uint16_t>(random()), Chance(50), Text(), Text()});
   }
   nat.SetPortForwardList(forwards);
}

} // namespace netcfg::common
