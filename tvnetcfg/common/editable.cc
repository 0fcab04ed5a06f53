// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/editable.hh"

#include "cui/format.hh"
#include "cui/localString.hh"

#include <algorithm>
#include <memory>

namespace netcfg::common {

Editable::Editable(unsigned int maxNetworks) : maxNetworks(maxNetworks) {}

Editable::~Editable()
{
   // A dying bridge enters its adapters here as free, so the networks go before the maps.
   for (auto& [index, network] : networks) {
      delete network;
      network = nullptr;
   }
}

Network* Editable::GetNetwork(unsigned int index)
{
   auto const entry = networks.find(index);
   return entry == networks.end() ? nullptr : entry->second;
}

Network* Editable::AddNetwork(Network::Type type, unsigned int index, bool initialize,
                              OnDone onDone)
{
   if (GetNetwork(index)) {
      utf::string const message =
         cui::GetLocalString("@&!*@*@(msg.netcfg.common.editable.addNetwork.duplicate)"
                             "Network %s already exists. Choose an unused network.");
      Refuse(onDone, cui::Format(message.c_str(), Network::NetToString(index).c_str()));
      return nullptr;
   }
   if (type == Network::Bridged && initialize && GetUnusedHostAdapter().empty()) {
      Refuse(onDone,
             cui::GetLocalString(
                "@&!*@*@(msg.netcfg.common.editable.addNetwork.noBridgedAdapters)"
                "Cannot add bridged network: There are no un-bridged host network adapters."));
      return nullptr;
   }
   auto network = std::make_unique<Network>(this, type, index, initialize);
   Network*& slot = networks[index];
   slot = network.release();
   networkAdded.emit(slot);
   return slot;
}

void Editable::RemoveNetwork(unsigned int index)
{
   auto const entry = networks.find(index);
   if (entry == networks.end()) {
      return;
   }
   delete entry->second;
   entry->second = nullptr;
   networkRemoved.emit(index);
}

unsigned int Editable::GetUnusedNetwork()
{
   for (unsigned int index = 0; index < maxNetworks; ++index) {
      if (!GetNetwork(index)) {
         return index;
      }
   }
   return 0;
}

void Editable::AddHostAdapter(utf::string const& adapter, utf::string const& displayName)
{
   hostAdapters[adapter] = nullptr;
   adapterDisplayNames[adapter] = displayName;
   adaptersChanged.emit();
}

utf::string Editable::GetUnusedHostAdapter()
{
   auto const unused = std::find_if(hostAdapters.begin(), hostAdapters.end(),
                                    [](auto const& entry) { return !entry.second; });
   return unused == hostAdapters.end() ? utf::string() : unused->first;
}

Network* Editable::GetNetworkForAdapter(utf::string const& adapter) const
{
   auto const entry = hostAdapters.find(adapter);
   return entry == hostAdapters.end() ? nullptr : entry->second;
}

utf::string Editable::GetDisplayNameForAdapter(utf::string const& adapter) const
{
   auto const entry = adapterDisplayNames.find(adapter);
   return entry == adapterDisplayNames.end() ? utf::string() : entry->second;
}

void Editable::MoveHostAdapter(utf::string const& adapter, Network* network)
{
   auto const entry = hostAdapters.find(adapter);
   if (entry == hostAdapters.end()) {
      return;
   }
   entry->second = network;
   adaptersChanged.emit();
}

void Editable::SetAutoBridgeNetwork(Network* network)
{
   autoBridgeNetwork = network;
   adaptersChanged.emit();
}

} // namespace netcfg::common
