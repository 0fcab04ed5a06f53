// SPDX-License-Identifier: GPL-2.0-or-later
// The database and the model from it.
#include "base/str.h"
#include "base/strUtil.h"
#include "cui/features.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/mgr/mgr.hh"
#include "tvnetcfg/mgr/records.hh"

namespace netcfg {

using common::Editable;
using common::Network;
using common::OnDone;

namespace {

using TextReader = bool(const char*, char*, std::uint32_t*);

// The text that read gives for the network, in `size` bytes with its NUL. Empty on failure.
utf::string ReadText(TextReader* read, utf::string const& name, std::uint32_t size)
{
   std::vector<char> buffer(size + 1);
   read(name.c_str(), buffer.data(), &size);
   return buffer.data();
}

utf::string ReadMTU(utf::string const& name)
{
   std::uint32_t mtu = 0;
   if (!VNL_GetVnetMTU(name.c_str(), &mtu)) {
      return "-";
   }
   char text[128];
   Str_Sprintf(text, sizeof text, "%u", mtu);
   return text;
}

// The automatic bridging network, now in the model; null if there is none. Its adapters come with
// the host's list and not out of the model's pool.
Network* LoadAutoBridge(Editable& editable, VNL_FeatureStruct& features)
{
   VNL_GetBridgeDefaultNetwork(&features.ref);
   if (features.ref.vnet == VNL_NO_VNET) {
      return nullptr;
   }
   Network* const network = editable.AddNetwork(
      Network::Bridged, static_cast<unsigned int>(features.ref.vnet), false, OnDone());
   if (network) {
      network->GetBridge()->SetAuto(false, OnDone());
   }
   return network;
}

void LoadHostAdapter(Editable& editable, Network* autoBridge, VNL_HostAdapter const& adapter)
{
   utf::string const name(adapter.name);
   editable.AddHostAdapter(name, "");
   int const vnet = adapter.network.vnet;
   if (vnet < 0) {
      return;
   }
   auto const index = static_cast<unsigned int>(vnet);
   if (autoBridge && autoBridge->GetIndex() == index) {
      autoBridge->GetBridge()->AddAutoAdapter(name, OnDone());
      return;
   }
   // A fixed bridge has one adapter: the second one that names the index stays unassigned.
   Network* const network = editable.AddNetwork(Network::Bridged, index, false, OnDone());
   if (network) {
      network->GetBridge()->SetAdapter(name, OnDone());
   }
}

} // namespace

void Mgr::Load()
{
   VNL_FeatureStruct features = MakeFeatures();
   for (unsigned int index = 0; index < VNL_GetNumberOfVnets(); ++index) {
      features.ref.vnet = static_cast<int>(index);
      VNL_GetVnetFeatures(&features);
      if (features.hosted) {
         LoadHostedNetwork(index, features);
      }
   }
   Network* const autoBridge = LoadAutoBridge(*editable, features);

   VNL_HostAdapterList* list = nullptr;
   VNL_GetHostAdapterList(1, &list);
   for (VNL_HostAdapter const* node = list->first; node; node = node->next) {
      LoadHostAdapter(*editable, autoBridge, *node);
   }
   VNL_FreeHostAdapterList(list);
}

void Mgr::LoadHostedNetwork(unsigned int index, VNL_FeatureStruct& features)
{
   bool const isNAT = features.nat == 1;
   Network* const network =
      editable->AddNetwork(isNAT ? Network::NAT : Network::HostOnly, index, false, OnDone());
   if (!network) {
      return;
   }
   utf::string const name = Network::NetToString(network->GetIndex());
   network->SetHasDHCP(features.dhcp == 1);
   network->SetHasVirtualAdapter(features.virtualAdapter == 1);
   network->SetSubnetAddr(ReadText(&VNL_GetVnetSubnetAddr, name, VNL_ADDRESS_SIZE));
   network->SetSubnetMask(ReadText(&VNL_GetVnetSubnetMask, name, VNL_ADDRESS_SIZE));
   network->SetDisplayName(ReadText(&VNL_GetVnetDisplayName, name, VNL_DISPLAY_NAME_SIZE));
   if (cui::GetFeatures().mtu) {
      network->SetMTU(ReadMTU(name));
   }
   if (isNAT) {
      LoadNAT(name, network->GetNAT());
   }
}

void Mgr::LoadNAT(utf::string const& name, common::NAT* nat)
{
   nat->SetGatewayIP(GetNATParam(name, VNL_NAT_GATEWAY));
   nat->SetAllowActiveFTP(GetNATParam(name, VNL_NAT_ALLOW_ACTIVE_FTP) == "1");
   nat->SetAllowOUI(GetNATParam(name, VNL_NAT_ALLOW_ANY_OUI) == "1");
   nat->SetEnableIPv6(GetNATParam(name, VNL_NAT_ENABLE_IPV6) == "1");
   nat->SetIPv6Prefix(GetNATParam(name, VNL_NAT_IPV6_PREFIX));
   int value = 0;
   if (GetNATParam(name, VNL_NAT_CONFIG_PORT, &value)) {
      nat->SetConfigPort(static_cast<unsigned int>(value));
   }
   value = 0;
   if (GetNATParam(name, VNL_NAT_UDP_TIMEOUT, &value)) {
      nat->SetUDPTimeout(static_cast<unsigned int>(value));
   }

   common::NAT::PortForwardList forwards;
   for (bool const tcp : {true, false}) {
      common::NAT::PortForwardEntry entry{0, 0, tcp, "", ""};
      unsigned int cursor = 0;
      while (EnumNATPortForward(name, entry, &cursor)) {
         forwards.push_back(entry);
      }
   }
   nat->SetPortForwardList(forwards);
}

void Mgr::LoadDHCP(utf::string const& name, common::DHCP* dhcp)
{
   // A text that is no number overwrites the lease time all the same.
   int defaultLeaseTime = 0;
   int maxLeaseTime = 0;
   StrUtil_StrToInt(&defaultLeaseTime, GetDHCPParam(name, VNL_DHCP_DEFAULT_LEASE).c_str());
   StrUtil_StrToInt(&maxLeaseTime, GetDHCPParam(name, VNL_DHCP_MAX_LEASE).c_str());
   dhcp->SetDefaultLeaseTime(static_cast<unsigned int>(defaultLeaseTime));
   dhcp->SetMaxLeaseTime(static_cast<unsigned int>(maxLeaseTime));
   dhcp->SetBeginIP(GetDHCPParam(name, VNL_DHCP_RANGE_BEGIN));
   dhcp->SetEndIP(GetDHCPParam(name, VNL_DHCP_RANGE_END));
}

void Mgr::Unload()
{
   VNL_Unload();
}

} // namespace netcfg
