// SPDX-License-Identifier: GPL-2.0-or-later
// Joins a host adapter and a bridge while the host keeps its addresses on the adapter.
#pragma once

#include "vnet/host/links.hh"
#include "vnet/host/patchPairs.hh"

#include <cstdint>
#include <string>
#include <vector>

namespace vnet::host {

class RouteSocket;
class Ruleset;
struct PatchDevices;

// An adapter that is joined to a bridge, wholly or in part.
struct Patch {
   std::string adapter;
   std::string bridge;

   bool operator==(Patch const&) const = default;
};

// Putting an adapter into a bridge would silence the host's addresses on it. Instead, a pair of
// veth devices stands between: the port in the bridge, and the host end, from which everything that
// arrives is handed to the adapter's way in, where the host takes it as if from the wire. An
// nftables table of family netdev sends each frame its way:
// - from the adapter: to the host's address, to the host; to a guest, to the bridge; the rest, also
//   multicast, to both;
// - from the host out of the adapter: to a guest, to the bridge alone; multicast, to both; the
// rest,
//   to the wire;
// - from the bridge: to the host's address, to the host; multicast, to both; the rest, to the wire.
//   Frames that claim the host's address are dropped;
// - nothing passes between the bridge device itself and the host, which has it all by the adapter.
// Guests are learned from their frames. The adapter is set promiscuous, unless someone else did.
//
// All is found again by its names and aliases, so an earlier process may have left any part of it.
class BridgePatch {
public:
   BridgePatch(RouteSocket& socketOfCaller, Ruleset& rulesetOfCaller);

   // Joins the two, taking the adapter from another bridge first. Attaching what is attached puts
   // right what changed (the adapter's MAC or MTU, missing rules) and disturbs nothing else: call
   // it again when the adapter or the ruleset changed. The bridge gets the adapter's MTU. A new
   // patch, or one whose rules were gone, announces the bridge's guests. Throws Error, and then
   // leaves nothing new behind.
   void Attach(std::string const& adapter, std::string const& bridge);
   // Restores the adapter exactly, also if it is gone or the patch is only there in part. Carries
   // on after a failure and returns what went wrong.
   std::vector<std::string> Detach(std::string const& adapter);
   // Patches with any part left, whatever process made them; the bridge is empty where only the
   // rules are left. Throws Error.
   std::vector<Patch> List();

   // Sends a frame from every guest that the bridge knows, so that switches beyond the adapter send
   // their frames here: needed after a carrier came back. Throws Error.
   void Announce(std::string const& adapter);

private:
   RouteSocket& socket;
   Ruleset& ruleset;
   Links links;
   PatchPairs pairs;

   Link RequireAdapter(std::string const& name);
   Link RequireBridge(std::string const& name, Link const& adapter);
   void LeaveOther(std::string const& adapter, std::string const& bridge);
   void JoinAnew(Link const& adapter, Link const& bridge, bool promiscuous);
   void Join(Link const& adapter, Link const& bridge, PatchPair const& pair, bool promiscuous);
   void PlugIn(Link const& adapter, Link const& bridge, PatchPair const& pair);
   void SetMtus(std::uint32_t mtu, std::vector<Link> const& devices);
   void PinHost(Link const& adapter, Link const& bridge, Link const& port);
   void SetRules(PatchDevices const& devices);
   bool IsPromiscuityOurs(std::string const& adapter);
   bool IsPromiscuousInRules(std::string const& adapter);
   // `owed`: the devices note that it was ours. Returns whether it is still to be done, which adds
   // to the failures.
   bool RestorePromiscuity(std::string const& adapter, bool owed,
                           std::vector<std::string>& failures);
   void DeleteRules(std::string const& adapter, bool keepNote);
   void DeleteNameless();
};

} // namespace vnet::host
