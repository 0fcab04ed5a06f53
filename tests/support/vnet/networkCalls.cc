// SPDX-License-Identifier: GPL-2.0-or-later
// The double's changes of networks and of what runs of them.
#include "support/vnet/recorder.hh"

#include <algorithm>
#include <arpa/inet.h>

using test::Enter;
using test::FindNetwork;
using test::GetVnetState;
using test::MakeNetwork;
using test::VnetNetwork;
using test::VnetState;

namespace {

bool IsAddress(char const* text)
{
   in_addr address;
   return inet_pton(AF_INET, text, &address) == 1;
}

bool IsSubnetTaken(std::string const& subnet)
{
   auto const& networks = GetVnetState().database.networks;
   return std::any_of(networks.begin(), networks.end(),
                      [&](auto const& entry) { return entry.second.subnetAddress == subnet; });
}

bool IsDisplayName(std::string const& text)
{
   return text.size() < VNL_DISPLAY_NAME_SIZE && std::none_of(text.begin(), text.end(), [](char c) {
             return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
          });
}

// Stores value in a field of the network, which is made if it isn't there.
template <typename Field, typename Value>
bool Store(bool works, char const* name, Field VnetNetwork::*field, Value value)
{
   VnetNetwork* const network = works ? MakeNetwork(name) : nullptr;
   if (!network) {
      return false;
   }
   network->*field = value;
   return true;
}

} // namespace

bool VNL_AssignSubnetAddressToVnet(const char* name, int mode)
{
   bool const works = Enter(__func__, name, mode);
   VnetNetwork* const network = works ? MakeNetwork(name) : nullptr;
   if (!network) {
      return false;
   }
   int number = 16;
   while (IsSubnetTaken("172.31." + std::to_string(number) + ".0")) {
      ++number;
   }
   network->subnetAddress = "172.31." + std::to_string(number) + ".0";
   network->subnetMask = "255.255.255.0";
   network->isMaskAssigned = true;
   return true;
}

bool VNL_SetVnetSubnetAddr(const char* name, const char* address)
{
   bool const works = Enter(__func__, name, address);
   if (address && !IsAddress(address)) {
      return false;
   }
   return Store(works, name, &VnetNetwork::subnetAddress, address ? address : "") &&
          Store(works, name, &VnetNetwork::isMaskAssigned, false);
}

bool VNL_SetVnetSubnetMask(const char* name, const char* mask)
{
   bool const works = Enter(__func__, name, mask);
   VnetNetwork* const network = works ? MakeNetwork(name) : nullptr;
   bool const isEmpty = mask && !*mask;
   if (!network || (mask && !isEmpty && !IsAddress(mask))) {
      return false;
   }
   if (!isEmpty || !network->isMaskAssigned) {
      network->subnetMask = mask ? mask : "";
   }
   return true;
}

bool VNL_SetVnetDisplayName(const char* name, const char* displayName)
{
   bool const works = Enter(__func__, name, displayName);
   std::string const text = displayName ? displayName : "";
   return Store(works && IsDisplayName(text), name, &VnetNetwork::displayName, text);
}

bool VNL_SetVnetMTU(const char* name, std::uint32_t mtu)
{
   bool const works = Enter(__func__, name, mtu);
   return Store(works && mtu >= 68 && mtu <= 9194, name, &VnetNetwork::mtu, mtu);
}

bool VNL_RemoveMTU(const char* name)
{
   bool const works = Enter(__func__, name);
   return Store(works, name, &VnetNetwork::mtu, std::nullopt);
}

bool VNL_SetVnetUseAdapter(const char* name, bool use, int mode)
{
   return Store(Enter(__func__, name, use, mode), name, &VnetNetwork::useAdapter, use);
}

bool VNL_SetVnetUseDHCP(const char* name, bool use, int mode)
{
   return Store(Enter(__func__, name, use, mode), name, &VnetNetwork::useDHCP, use);
}

bool VNL_SetVnetUseNAT(const char* name, bool use, int mode)
{
   return Store(Enter(__func__, name, use, mode), name, &VnetNetwork::useNAT, use);
}

bool VNL_EnableNetworkAdapter(const char* name)
{
   return Store(Enter(__func__, name), name, &VnetNetwork::adapterEnabled, true);
}

bool VNL_DisableNetworkAdapter(const char* name)
{
   bool const works = Enter(__func__, name) && FindNetwork(name);
   return Store(works, name, &VnetNetwork::adapterEnabled, false);
}

bool VNL_UpdateDHCPFromConfig(const char* name)
{
   return Enter(__func__, name) && FindNetwork(name);
}

bool VNL_UpdateNATFromConfig(const char* name)
{
   return Enter(__func__, name) && FindNetwork(name);
}

bool VNL_StartService(const char* name, std::uint32_t service)
{
   bool const works = Enter(__func__, name, test::Id{service});
   VnetNetwork* const network = works ? MakeNetwork(name) : nullptr;
   if (network) {
      network->services.insert(service);
   }
   return network;
}

bool VNL_StopService(const char* name, std::uint32_t service)
{
   bool const works = Enter(__func__, name, test::Id{service});
   VnetNetwork* const network = works ? FindNetwork(name) : nullptr;
   if (network) {
      network->services.erase(service);
   }
   return network;
}

bool VNL_DeleteVnetFromDatabase(const char* name)
{
   if (!Enter(__func__, name) || !FindNetwork(name)) {
      return false;
   }
   VnetState& state = GetVnetState();
   unsigned int const index = *test::ParseVnetName(name);
   for (test::VnetAdapter& adapter : state.database.adapters) {
      if (adapter.vnet == static_cast<int>(index)) {
         adapter.vnet = VNL_NO_VNET;
      }
   }
   state.database.networks.erase(index);
   return true;
}

bool VNL_SetBridgeDefaultNetwork(const VnetRef* network)
{
   VnetState& state = GetVnetState();
   if (!Enter(__func__, network) || !state.loaded) {
      return false;
   }
   state.database.automatic = network->vnet;
   return true;
}

bool VNL_BridgeMoveAdapter(VNL_HostAdapter* adapter, const VnetRef* source, const VnetRef* target)
{
   VnetState& state = GetVnetState();
   if (!Enter(__func__, adapter, source, target) || !state.loaded) {
      return false;
   }
   auto const found = std::find_if(
      state.database.adapters.begin(), state.database.adapters.end(),
      [adapter](test::VnetAdapter const& known) { return known.name == adapter->name; });
   bool const fits = found != state.database.adapters.end() &&
                     found->vnet == (source ? source->vnet : VNL_NO_VNET);
   if (fits) {
      found->vnet = target->vnet;
   }
   return fits;
}
