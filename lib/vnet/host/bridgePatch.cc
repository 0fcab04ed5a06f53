// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/bridgePatch.hh"

#include "vnet/host/forwardingTable.hh"
#include "vnet/host/guestAnnouncement.hh"
#include "vnet/host/netlink.hh"
#include "vnet/host/patchRules.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/host/sysctl.hh"
#include "vnet/host/trafficControl.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <functional>
#include <linux/if_arp.h>

namespace vnet::host {

namespace {

constexpr std::uint16_t redirectPriority = 1;

constexpr auto family = "netdev";

// The ends carry others' frames and say nothing of their own.
void Silence(Link const& link)
{
   Sysctl const sysctl;
   if (sysctl.Read("ipv6", link.name, "disable_ipv6")) {
      sysctl.Write("ipv6", link.name, "disable_ipv6", "1");
   }
}

void Attempt(std::vector<std::string>& failures, std::function<void()> const& step)
{
   try {
      step();
   } catch (Error const& error) {
      failures.emplace_back(error.what());
   }
}

bool NotesPromiscuous(std::vector<PatchPart> const& parts)
{
   return std::any_of(parts.begin(), parts.end(),
                      [](PatchPart const& part) { return part.promiscuous; });
}

} // namespace

BridgePatch::BridgePatch(RouteSocket& socketOfCaller, Ruleset& rulesetOfCaller)
   : socket(socketOfCaller), ruleset(rulesetOfCaller), links(socketOfCaller), pairs(links)
{}

Link BridgePatch::RequireAdapter(std::string const& name)
{
   if (!CanBePatched(name)) {
      throw Error("attach", name, "Its name has unusual characters");
   }
   auto const adapter = links.Require(name);
   if (adapter.hardwareType != ARPHRD_ETHER) {
      throw Error("attach", name, "Not an Ethernet device");
   }
   return adapter;
}

Link BridgePatch::RequireBridge(std::string const& name, Link const& adapter)
{
   auto const bridge = links.Require(name);
   if (!bridge.IsBridge() || !CanBePatched(name)) {
      throw Error("attach " + adapter.name + " to", name, "Not a bridge");
   }
   if (adapter.master == bridge.index || adapter.index == bridge.index) {
      throw Error("attach " + adapter.name + " to", name, "It is part of it already");
   }
   return bridge;
}

void BridgePatch::Attach(std::string const& adapterName, std::string const& bridgeName)
{
   auto const bridge = RequireBridge(bridgeName, RequireAdapter(adapterName));
   LeaveOther(adapterName, bridgeName);
   // As it is when it has left.
   auto const adapter = RequireAdapter(adapterName);
   auto const pair = pairs.Find(adapterName);
   bool const hadRules = ruleset.HasTable(family, GetPatchTable(adapterName));
   // If it was promiscuous before us, that stays someone else's.
   bool const promiscuous = IsPromiscuityOurs(adapterName) || !adapter.IsSetPromiscuous();
   if (pair) {
      Join(adapter, bridge, *pair, promiscuous);
   } else {
      JoinAnew(adapter, bridge, promiscuous);
   }
   if (!pair || !hadRules) {
      Announce(adapterName);
   }
}

bool BridgePatch::IsPromiscuityOurs(std::string const& adapter)
{
   return NotesPromiscuous(pairs.List(adapter)) || IsPromiscuousInRules(adapter);
}

bool BridgePatch::IsPromiscuousInRules(std::string const& adapter)
{
   return IsPromiscuousNoted(ruleset.List(family, GetPatchTable(adapter)));
}

void BridgePatch::LeaveOther(std::string const& adapter, std::string const& bridge)
{
   auto const parts = pairs.List(adapter);
   auto const isOther = [&](PatchPart const& part) { return part.bridge != bridge; };
   if (std::none_of(parts.begin(), parts.end(), isOther)) {
      return;
   }
   if (auto const failures = Detach(adapter); !failures.empty()) {
      throw Error("take " + adapter + " from", parts.front().bridge, failures.front());
   }
}

void BridgePatch::JoinAnew(Link const& adapter, Link const& bridge, bool promiscuous)
{
   try {
      Join(adapter, bridge, pairs.Make(adapter, bridge.name), promiscuous);
   } catch (...) {
      Detach(adapter.name);
      throw;
   }
}

// The rules come before the bridge's frames, which would all reach the host without them.
void BridgePatch::Join(Link const& adapter, Link const& bridge, PatchPair const& pair,
                       bool promiscuous)
{
   auto const& port = pair.port.link;
   auto const& hostEnd = pair.hostEnd.link;
   if (promiscuous && !pair.hostEnd.promiscuous) {
      pairs.NotePromiscuous(pair);
   }
   if (!adapter.IsSetPromiscuous()) {
      links.SetPromiscuous(adapter, true);
   }
   SetMtus(adapter.mtu, {port, hostEnd, bridge});
   Silence(port);
   Silence(hostEnd);
   TrafficControl(socket).RedirectArriving(hostEnd, adapter, redirectPriority);
   SetRules({adapter.name, adapter.index, adapter.mac, bridge.name, port.name, hostEnd.index,
             promiscuous});
   PlugIn(adapter, bridge, pair);
}

void BridgePatch::PlugIn(Link const& adapter, Link const& bridge, PatchPair const& pair)
{
   auto const& port = pair.port.link;
   if (port.master != bridge.index) {
      links.SetMaster(port, bridge);
   }
   PinHost(adapter, bridge, port);
   links.SetUp(pair.hostEnd.link, true);
   links.SetUp(port, true);
}

void BridgePatch::SetMtus(std::uint32_t mtu, std::vector<Link> const& devices)
{
   for (auto const& device : devices) {
      if (device.mtu != mtu) {
         links.SetMtu(device, mtu);
      }
   }
}

// The bridge knows the host behind the port from the start, so that frames for it don't go to all,
// and no guest can draw them to itself. The adapter's address may have changed since.
void BridgePatch::PinHost(Link const& adapter, Link const& bridge, Link const& port)
{
   ForwardingTable table(socket);
   for (auto const& entry : table.List(bridge)) {
      if (entry.port == port.index && entry.kind == ForwardingEntry::Kind::Pinned &&
          entry.mac != adapter.mac) {
         table.Unpin(port, entry.mac);
      }
   }
   table.Pin(port, adapter.mac);
}

void BridgePatch::SetRules(PatchDevices const& devices)
{
   auto const table = GetPatchTable(devices.adapter);
   auto const rules = MakePatchRules(devices);
   try {
      ruleset.Run(rules, table);
   } catch (Error const&) {
      // Chains of that name hook other devices: all anew, in one transaction too.
      auto const name = std::string(family) + " " + table + "\n";
      ruleset.Run("table " + name + "delete table " + name + rules, table);
   }
}

std::vector<std::string> BridgePatch::Detach(std::string const& adapter)
{
   std::vector<std::string> failures;
   std::vector<PatchPart> parts;
   Attempt(failures, [&] { parts = pairs.List(adapter); });
   // First of all nothing comes from the bridge any more: without rules it would reach the host.
   for (auto const& part : parts) {
      if (part.role == PatchPart::Role::Port) {
         Attempt(failures, [&] { links.SetUp(part.link, false); });
      }
   }
   auto const owed = RestorePromiscuity(adapter, NotesPromiscuous(parts), failures);
   Attempt(failures, [&] { DeleteRules(adapter, owed); });
   for (auto const& part : parts) {
      Attempt(failures, [&] { links.Delete(part.link); });
   }
   Attempt(failures, [&] { DeleteNameless(); });
   return failures;
}

bool BridgePatch::RestorePromiscuity(std::string const& adapterName, bool owed,
                                     std::vector<std::string>& failures)
{
   Attempt(failures, [&] {
      owed = owed || IsPromiscuousInRules(adapterName);
      auto const adapter = links.Find(adapterName);
      if (owed && adapter && adapter->IsSetPromiscuous()) {
         links.SetPromiscuous(*adapter, false);
      }
      owed = false;
   });
   return owed;
}

// What notes that the adapter is promiscuous for us goes only after it isn't any more.
void BridgePatch::DeleteRules(std::string const& adapter, bool keepNote)
{
   if (!CanBePatched(adapter)) {
      return;
   }
   auto const table = GetPatchTable(adapter);
   if (keepNote) {
      ruleset.Run(MakePromiscuousNote(adapter), table);
   } else {
      ruleset.Delete(family, table);
   }
}

void BridgePatch::DeleteNameless()
{
   for (auto const& link : pairs.ListNameless()) {
      links.Delete(link);
   }
}

std::vector<Patch> BridgePatch::List()
{
   std::vector<Patch> patches;
   auto const add = [&](std::string const& adapter, std::string const& bridge) {
      if (std::none_of(patches.begin(), patches.end(),
                       [&](auto const& patch) { return patch.adapter == adapter; })) {
         patches.push_back({adapter, bridge});
      }
   };
   for (auto const& part : pairs.List()) {
      add(part.adapter, part.bridge);
   }
   for (auto const& table : ruleset.ListTables(family)) {
      if (auto const adapter = ParsePatchTable(table)) {
         add(*adapter, "");
      }
   }
   return patches;
}

void BridgePatch::Announce(std::string const& adapter)
{
   auto const pair = pairs.Find(adapter);
   if (!pair) {
      throw Error("announce guests by", adapter, "It isn't attached");
   }
   std::vector<MacAddress> guests;
   for (auto const& entry : ForwardingTable(socket).List(links.Require(pair->port.bridge))) {
      if (entry.kind != ForwardingEntry::Kind::Own && entry.port != pair->port.link.index &&
          !entry.mac.IsMulticast()) {
         guests.push_back(entry.mac);
      }
   }
   // Sent by the bridge's port, they take the way of all frames from guests.
   AnnounceGuests(pair->port.link, guests);
}

} // namespace vnet::host
