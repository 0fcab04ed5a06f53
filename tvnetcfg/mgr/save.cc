// SPDX-License-Identifier: GPL-2.0-or-later
// The database and the host from the model: one walk forward. No step's failure stops it and
// nothing is rolled back.
#include "base/panic.h"
#include "cui/features.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/mgr/mgr.hh"
#include "tvnetcfg/mgr/records.hh"

namespace netcfg {

using common::NAT;
using common::Network;

namespace {

constexpr char netmapPath[] = "/etc/tavrin/netmap.conf";

// What the slots of one save share.
class SlotWriter {
public:
   SlotWriter(Mgr& manager, VNL_FeatureStruct& record, bool applyToHost)
      : mgr(manager), features(record), apply(applyToHost)
   {
      VNL_GetBridgeDefaultNetwork(&features.ref);
      oldDefault = features.ref.vnet;
   }

   // A slot without a network is the order to delete it.
   void Write(unsigned int index, Network* network)
   {
      utf::string const name = Network::NetToString(index);
      if (apply) {
         mgr.StopServices(name);
      }
      if (!network) {
         WriteRemoved(name, index);
      } else if (network->GetType() == Network::Bridged) {
         WriteBridged(name, *network);
      } else {
         WriteHosted(name, *network);
      }
   }

private:
   Mgr& mgr;
   VNL_FeatureStruct& features;
   bool const apply;
   // As it was before the first slot, whatever the slots have set since: a walk compares with what
   // it found.
   int oldDefault;

   bool WasDefault(unsigned int index) const { return static_cast<int>(index) == oldDefault; }

   void SetDefault(int vnet)
   {
      features.ref.vnet = vnet;
      VNL_SetBridgeDefaultNetwork(&features.ref);
   }

   void ClearDefaultIf(unsigned int index)
   {
      if (WasDefault(index)) {
         SetDefault(VNL_NO_VNET);
      }
   }

   void WriteRemoved(utf::string const& name, unsigned int index)
   {
      ClearDefaultIf(index);
      VNL_DeleteVnetFromDatabase(name.c_str());
   }

   void WriteBridged(utf::string const& name, Network& network);
   void WriteHosted(utf::string const& name, Network& network);
   void WriteSubnet(utf::string const& name, Network const& network);
   void WriteMTU(utf::string const& name, Network const& network);
   void WriteNAT(utf::string const& name, Network& network);
   void RestartServices(utf::string const& name, Network const& network);
};

void SlotWriter::WriteBridged(utf::string const& name, Network& network)
{
   char const* const key = name.c_str();
   VNL_SetVnetSubnetAddr(key, nullptr);
   VNL_SetVnetSubnetMask(key, nullptr);
   VNL_SetVnetUseAdapter(key, false, 1);
   VNL_SetVnetUseDHCP(key, false, 1);
   VNL_SetVnetUseNAT(key, false, 1);
   unsigned int const index = network.GetIndex();
   if (!network.GetBridge()->IsAuto()) {
      ClearDefaultIf(index);
   } else if (!WasDefault(index)) {
      SetDefault(static_cast<int>(index));
   }
   if (apply) {
      VNL_StartService(key, VNL_SERVICE_BRIDGE);
   }
}

void SlotWriter::WriteHosted(utf::string const& name, Network& network)
{
   char const* const key = name.c_str();
   bool const isNAT = network.GetType() == Network::NAT;
   ClearDefaultIf(network.GetIndex());
   WriteSubnet(name, network);
   VNL_SetVnetDisplayName(key, network.GetDisplayName().c_str());
   WriteMTU(name, network);
   VNL_SetVnetUseAdapter(key, network.GetHasVirtualAdapter(), 1);
   if (apply && network.GetHasVirtualAdapter()) {
      VNL_EnableNetworkAdapter(key);
   }
   VNL_SetVnetUseDHCP(key, network.GetHasDHCP(), apply ? 1 : 0);
   VNL_SetVnetUseNAT(key, isNAT, 1);
   if (isNAT) {
      WriteNAT(name, network);
   }
   if (apply) {
      RestartServices(name, network);
   }
}

void SlotWriter::WriteSubnet(utf::string const& name, Network const& network)
{
   utf::string const address = network.GetSubnetAddr();
   if (address.empty()) {
      VNL_AssignSubnetAddressToVnet(name.c_str(), 1);
   } else {
      VNL_SetVnetSubnetAddr(name.c_str(), address.c_str());
   }
   VNL_SetVnetSubnetMask(name.c_str(), network.GetSubnetMask().c_str());
}

void SlotWriter::WriteMTU(utf::string const& name, Network const& network)
{
   if (!cui::GetFeatures().mtu) {
      return;
   }
   utf::string const mtu = network.GetMTU();
   if (mtu == "-") {
      VNL_RemoveMTU(name.c_str());
   } else {
      VNL_SetVnetMTU(name.c_str(), ParseMTU(mtu));
   }
}

// The database already takes the network for a NAT one, so a value equal to what it answers, or to
// a default where it answers nothing, needs no writing.
void SlotWriter::WriteNAT(utf::string const& name, Network& network)
{
   NAT database(&network);
   mgr.LoadNAT(name, &database);
   mgr.SaveNAT(name, network.GetNAT(), &database);
}

// A host-only network has both configurations made and both services stopped, too: it may have been
// a NAT network until now.
void SlotWriter::RestartServices(utf::string const& name, Network const& network)
{
   char const* const key = name.c_str();
   VNL_UpdateDHCPFromConfig(key);
   VNL_StopService(key, VNL_SERVICE_DHCP);
   if (network.GetHasDHCP()) {
      VNL_StartService(key, VNL_SERVICE_DHCP);
   }
   VNL_UpdateNATFromConfig(key);
   VNL_StopService(key, VNL_SERVICE_NAT);
   if (network.GetType() == Network::NAT) {
      VNL_StartService(key, VNL_SERVICE_NAT);
   }
}

// Moves one adapter from where it is to where the model wants it; wanted is null for nowhere.
void PlaceAdapter(VNL_HostAdapter* adapter, Network const* wanted, VNL_FeatureStruct& features)
{
   VnetRef const present = adapter->network;
   VnetRef const* const source = present.vnet < 0 ? nullptr : &present;
   if (!wanted) {
      VnetRef const nowhere = MakeRef(VNL_NO_VNET);
      if (source) {
         VNL_BridgeMoveAdapter(adapter, source, &nowhere);
      }
      return;
   }
   int const target = static_cast<int>(wanted->GetIndex());
   if (target == present.vnet) {
      return;
   }
   features.ref.vnet = target;
   VNL_GetVnetFeatures(&features);
   VNL_BridgeMoveAdapter(adapter, source, &features.ref);
}

} // namespace

char* Mgr::Save()
{
   return SaveInternal(true);
}

char* Mgr::SaveToBuffer()
{
   return SaveInternal(false);
}

char* Mgr::SaveInternal(bool apply)
{
   if (!editable) {
      NOT_REACHED_AT("tvnetcfg/mgr/save", __LINE__);
   }
   VNL_FeatureStruct features = MakeFeatures();
   SaveAdapters(features);
   SlotWriter writer(*this, features, apply);
   auto const slots = editable->GetNetworks();
   for (auto const& [index, network] : slots) {
      writer.Write(index, network);
   }
   if (!apply) {
      return VNL_ExportDatabaseToBuffer();
   }
   editable->WriteNetmapConf(netmapPath);
   return nullptr;
}

void Mgr::SaveAdapters(VNL_FeatureStruct& features)
{
   auto const& owners = editable->GetHostAdapters();
   VNL_HostAdapterList* list = nullptr;
   VNL_GetHostAdapterList(1, &list);
   for (VNL_HostAdapter* node = list->first; node; node = node->next) {
      // An adapter that appeared after the load is unknown, so no network wants it.
      auto const owner = owners.find(utf::string(node->name));
      PlaceAdapter(node, owner == owners.end() ? nullptr : owner->second, features);
   }
   VNL_FreeHostAdapterList(list);
}

void Mgr::StopServices(utf::string const& name)
{
   char const* const key = name.c_str();
   VNL_StopService(key, VNL_SERVICE_BRIDGE);
   VNL_StopService(key, VNL_SERVICE_DHCP);
   VNL_StopService(key, VNL_SERVICE_NAT);
   VNL_DisableNetworkAdapter(key);
}

} // namespace netcfg
