// SPDX-License-Identifier: GPL-2.0-or-later
// The double's calls on the database as a whole, and its reading of networks.
#include "support/vnet/recorder.hh"

#include <cstdlib>
#include <cstring>

using test::Enter;
using test::FindNetwork;
using test::GetVnetState;
using test::VnetNetwork;
using test::VnetState;

bool VNL_NetworkingDBExists(void)
{
   return Enter(__func__) && GetVnetState().database.exists;
}

bool VNL_CanReadNetworkingDB(void)
{
   VnetState const& state = GetVnetState();
   return Enter(__func__) && state.database.exists && state.database.readable;
}

bool VNL_Load(int mode)
{
   VnetState& state = GetVnetState();
   test::VnetDatabase const& database = state.database;
   bool const works = Enter(__func__, mode);
   state.loaded = works && database.exists && database.readable && database.loadable;
   return state.loaded;
}

void VNL_Unload(void)
{
   Enter(__func__);
   GetVnetState().loaded = false;
}

std::uint32_t VNL_GetNumberOfVnets(void)
{
   Enter(__func__);
   return GetVnetState().database.numberOfVnets;
}

char* VNL_ExportDatabaseToBuffer(void)
{
   VnetState const& state = GetVnetState();
   return Enter(__func__) && state.loaded ? strdup(state.database.ToText().c_str()) : nullptr;
}

bool VNL_GetVnetFeatures(VNL_FeatureStruct* features)
{
   if (!Enter(__func__, features) || features->version != VNL_RECORD_VERSION) {
      return false;
   }
   std::string const name = "tvnet" + std::to_string(features->ref.vnet);
   VnetNetwork const* const network = FindNetwork(name.c_str());
   bool const hosted = network && network->IsHosted();
   features->hosted = hosted;
   features->dhcp = hosted && network->useDHCP;
   features->nat = hosted && network->useNAT;
   features->virtualAdapter = hosted && network->useAdapter;
   return true;
}

bool VNL_GetVnetSubnetAddr(const char* name, char* buffer, std::uint32_t* length)
{
   bool const works = Enter(__func__, name, *length);
   VnetNetwork const* const network = FindNetwork(name);
   return works && network && test::CopyText(network->subnetAddress, buffer, length);
}

bool VNL_GetVnetSubnetMask(const char* name, char* buffer, std::uint32_t* length)
{
   bool const works = Enter(__func__, name, *length);
   VnetNetwork const* const network = FindNetwork(name);
   return works && network && test::CopyText(network->subnetMask, buffer, length);
}

bool VNL_GetVnetDisplayName(const char* name, char* buffer, std::uint32_t* length)
{
   bool const works = Enter(__func__, name, *length);
   VnetNetwork const* const network = FindNetwork(name);
   return works && network && test::CopyText(network->displayName, buffer, length);
}

bool VNL_GetVnetMTU(const char* name, std::uint32_t* mtu)
{
   bool const works = Enter(__func__, name);
   VnetNetwork const* const network = FindNetwork(name);
   if (!works || !network || !network->mtu) {
      return false;
   }
   *mtu = *network->mtu;
   return true;
}

bool VNL_GetBridgeDefaultNetwork(VnetRef* network)
{
   VnetState const& state = GetVnetState();
   bool const works = Enter(__func__, network) && state.loaded;
   network->vnet = works ? state.database.automatic : VNL_NO_VNET;
   return works;
}

bool VNL_GetHostAdapterList(int mode, VNL_HostAdapterList** list)
{
   VnetState& state = GetVnetState();
   bool const works = Enter(__func__, mode) && state.loaded;
   auto* const made = static_cast<VNL_HostAdapterList*>(std::calloc(1, sizeof **list));
   made->version = VNL_RECORD_VERSION;
   *list = made;
   ++state.openLists;
   if (!works) {
      return false;
   }
   VNL_HostAdapter* last = nullptr;
   for (test::VnetAdapter const& adapter : state.database.adapters) {
      auto* const node = static_cast<VNL_HostAdapter*>(std::calloc(1, sizeof(VNL_HostAdapter)));
      node->version = VNL_RECORD_VERSION;
      node->network = {VNL_RECORD_VERSION, VNL_RECORD_VERSION, adapter.vnet};
      adapter.name.copy(node->name, sizeof node->name - 1);
      if (last) {
         last->next = node;
      } else {
         made->first = node;
      }
      last = node;
      ++made->count;
   }
   return true;
}

void VNL_FreeHostAdapterList(VNL_HostAdapterList* list)
{
   Enter(__func__, list);
   if (!list) {
      return;
   }
   for (VNL_HostAdapter* node = list->first; node;) {
      VNL_HostAdapter* const next = node->next;
      std::free(node);
      node = next;
   }
   std::free(list);
   --GetVnetState().openLists;
}
