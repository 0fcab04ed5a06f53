// SPDX-License-Identifier: GPL-2.0-or-later
// The host adapters of one bridged network.
#pragma once

#include "tvnetcfg/common/onDone.hh"
#include "utf/string.hh"

#include <boost/property_tree/ptree_fwd.hpp>
#include <set>
#include <sigc++/sigc++.h>

namespace netcfg::common {

class Editable;
class Network;
class SnapshotSink;

// Exists while its network is bridged. Keeps its set and the adapter table of Editable in step, so
// that no adapter serves two networks, and only tvnet0 bridges automatically.
class Bridge : public sigc::trackable {
public:
   sigc::signal<void> changed;

   // With initialize takes automatic bridging or the first free adapter; without, starts empty.
   Bridge(Editable* editable, Network* network, bool initialize);
   // Hands back the adapters and the automatic bridging.
   ~Bridge();
   Bridge(Bridge const&) = delete;
   Bridge& operator=(Bridge const&) = delete;

   bool IsAuto() const { return isAuto; }
   // Turns automatic bridging on; with adoptUnused takes every free adapter. SetAdapter is the way
   // back.
   void SetAuto(bool adoptUnused, OnDone onDone);
   void AddAutoAdapter(utf::string const& adapter, OnDone onDone);
   // Nothing happens if this network doesn't use the adapter.
   void RemoveAutoAdapter(utf::string const& adapter);
   // Bridges to this adapter alone.
   void SetAdapter(utf::string const& adapter, OnDone onDone);
   // The first adapter; empty if there is none.
   utf::string GetAdapter() const;

   // Hands back the adapters.
   void Cleanup();

   boost::property_tree::ptree ToPropertyTree();
   // What that tree has.
   void Write(SnapshotSink& sink) const;

private:
   void TakeInitialAdapters();
   void TakeUnusedAdapters();
   // Enters a free adapter here and in the table of Editable. Nothing happens for an unknown one.
   void Take(utf::string const& adapter);

   bool isAuto = false;
   Editable* const editable;
   Network* const network;
   std::set<utf::string> adapters;
};

} // namespace netcfg::common
