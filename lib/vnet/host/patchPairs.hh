// SPDX-License-Identifier: GPL-2.0-or-later
// The pairs of veth devices between adapters and bridges.
#pragma once

#include "vnet/host/links.hh"

#include <optional>
#include <string>
#include <vector>

namespace vnet::host {

// One end of a pair, known again by its alias.
struct PatchPart {
   enum class Role { Port, HostEnd };

   Link link;
   Role role = Role::Port;
   std::string adapter;
   std::string bridge;
   // On the host end: the adapter was set promiscuous for this patch.
   bool promiscuous = false;
};

// Empty for a device that isn't one.
std::optional<PatchPart> ParsePatchPart(Link const& link);

struct PatchPair {
   PatchPart port;    // in the bridge
   PatchPart hostEnd; // what arrives here goes to the adapter's way in
};

// Every failure throws Error.
class PatchPairs {
public:
   explicit PatchPairs(Links& linksOfCaller) : links(linksOfCaller) {}

   // All ends of all pairs, also those that lack the other.
   std::vector<PatchPart> List();
   std::vector<PatchPart> List(std::string const& adapter);
   // Empty unless both ends are there.
   std::optional<PatchPair> Find(std::string const& adapter);
   // Devices that an earlier process created but didn't come to name.
   std::vector<Link> ListNameless();
   // A new pair, down and in no bridge. Ends that lack the other, and nameless ones, go first.
   PatchPair Make(Link const& adapter, std::string const& bridge);
   // Notes on the host end that the adapter is promiscuous for this patch. Do it before the deed:
   // then it is undone whatever happens in between.
   void NotePromiscuous(PatchPair const& pair);

private:
   Links& links;

   void Name(PatchPart const& part);
};

} // namespace vnet::host
