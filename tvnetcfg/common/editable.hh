// SPDX-License-Identifier: GPL-2.0-or-later
// The model's root: every virtual network of the host, and its adapters.
#pragma once

#include "tvnetcfg/common/network.hh"

#include <map>

namespace netcfg::common {

class Editable : public sigc::trackable {
public:
   // Emitted once the network is in the map.
   sigc::signal<void, Network*> networkAdded;
   // Emitted with the index once its slot is null.
   sigc::signal<void, unsigned int> networkRemoved;
   // Emitted at each assignment to the tables of adapters and of the automatic network.
   sigc::signal<void> adaptersChanged;

   // maxNetworks is the number of slots that GetUnusedNetwork looks at.
   explicit Editable(unsigned int maxNetworks);
   ~Editable();
   Editable(Editable const&) = delete;
   Editable& operator=(Editable const&) = delete;

   unsigned int GetMaxNetworks() const { return maxNetworks; }

   // The network at index; null if there is none.
   Network* GetNetwork(unsigned int index);
   // All slots. A null one held a network once, and is the order to delete it.
   std::map<unsigned int, Network*>& GetNetworks() { return networks; }

   // Adds a network and returns it, owned by this object; null if refused. initialize says that
   // the user asked for it, so that it gets a new network's defaults.
   Network* AddNetwork(Network::Type type, unsigned int index, bool initialize, OnDone onDone);
   // Deletes the network and keeps its slot as a null one. Nothing happens without a slot.
   void RemoveNetwork(unsigned int index);
   // The first free index, or 0 if all are taken.
   unsigned int GetUnusedNetwork();

   // Makes an adapter known, without a network.
   void AddHostAdapter(utf::string const& adapter, utf::string const& displayName);
   // Every adapter with the network that uses it, or null.
   std::map<utf::string, Network*> const& GetHostAdapters() const { return hostAdapters; }
   // The first adapter without a network; empty if there is none.
   utf::string GetUnusedHostAdapter();
   // The network that uses the adapter; null for an unused or unknown one.
   Network* GetNetworkForAdapter(utf::string const& adapter) const;
   // Empty for an unknown adapter.
   utf::string GetDisplayNameForAdapter(utf::string const& adapter) const;
   // Enters the adapter's network, which may be null. Nothing happens for an unknown adapter.
   void MoveHostAdapter(utf::string const& adapter, Network* network);

   // network may be null.
   void SetAutoBridgeNetwork(Network* network);
   Network* GetAutoBridgeNetwork() const { return autoBridgeNetwork; }

   // Writes the file of network and device names, whole; a file that can't be written isn't.
   void WriteNetmapConf(utf::string const& path) const;

   // The snapshot: the whole model as one line of ASCII JSON with a newline at its end.
   static utf::string Serialize(Editable const* editable);
   // A new model, owned by the caller; null if text isn't JSON or nests deeper than 64 levels.
   // Throws boost::property_tree::ptree_error for JSON that lacks a key or has a bad value, and
   // std::out_of_range for an automatic network that isn't among the networks.
   static Editable* Restore(utf::string const& text);

private:
   unsigned int const maxNetworks;
   std::map<unsigned int, Network*> networks;
   std::map<utf::string, Network*> hostAdapters;
   std::map<utf::string, utf::string> adapterDisplayNames;
   Network* autoBridgeNetwork = nullptr;
};

} // namespace netcfg::common
