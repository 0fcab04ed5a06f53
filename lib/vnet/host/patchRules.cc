// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/patchRules.hh"

#include <net/if.h>
#include <string_view>
#include <utility>
#include <vector>

namespace vnet::host {

namespace {

constexpr std::string_view tablePrefix = "tavrin-patch-";

// A frame from the bridge carries this bit of the mark until it has reached the adapter, where it
// is taken off again: frames that carry it don't come round a second time.
constexpr std::string_view bit = "0x1000";
constexpr std::string_view otherBits = "0xffffefff";

// After those who filter: what they drop is dropped for guests too.
constexpr std::string_view priority = "1000";

constexpr std::string_view groupBit = "01:00:00:00:00:00";
constexpr std::string_view noBits = "00:00:00:00:00:00";

// An idle guest is remembered as long as hosts keep it in mind. One that moved to the wire is
// forgotten with its first frame from there.
constexpr std::string_view guests =
   "{ type ether_addr; flags dynamic,timeout; timeout 1h; size 65535; }";

using Words = std::vector<std::pair<std::string_view, std::string>>;

// Replaces each "$NAME" of the list.
std::string Fill(std::string text, Words const& words)
{
   for (auto const& [name, value] : words) {
      for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
         text.replace(at, name.size(), value);
         at += value.size();
      }
   }
   return text;
}

// Chains that are there stay; only their rules are replaced.
constexpr std::string_view hooks = R"(
add table $TABLE
add set $TABLE guests $GUESTS
add chain $TABLE from-guest
add chain $TABLE from-wire { type filter hook ingress device "$ADAPTER" priority $PRIORITY; }
add chain $TABLE from-host { type filter hook egress device "$ADAPTER" priority $PRIORITY; }
add chain $TABLE from-bridge { type filter hook egress device "$PORT" priority $PRIORITY; }
add chain $TABLE bridge-to-host { type filter hook ingress device "$BRIDGE" priority $PRIORITY; policy drop; }
add chain $TABLE host-to-bridge { type filter hook egress device "$BRIDGE" priority $PRIORITY; policy drop; }
flush chain $TABLE from-guest
flush chain $TABLE from-wire
flush chain $TABLE from-host
flush chain $TABLE from-bridge
flush chain $TABLE bridge-to-host
flush chain $TABLE host-to-bridge
)";

// What arrives at the adapter. Frames to an address that is neither the host's nor a known guest's
// go both ways, as other devices may share the adapter, and a guest may have been silent. The
// host's own multicast arrives too, looped back without an Ethernet header (PACKET_LOOPBACK, which
// rules can't ask for): it has been everywhere already, and would be passed on with its IP header
// in the place of the other. Newer kernels match no rule about Ethernet with it. Older ones read
// the IP header, in which the EtherType is the beginning of the sender's address.
constexpr std::string_view fromWire = R"(
add rule $TABLE from-wire meta mark & $BIT != 0 goto from-guest
add rule $TABLE from-wire ether saddr @guests delete @guests { ether saddr }
add rule $TABLE from-wire ether daddr $MAC accept
add rule $TABLE from-wire ether daddr @guests fwd to $HOSTEND
add rule $TABLE from-wire meta protocol ip ether type != { ip, 8021q, 8021ad } accept
add rule $TABLE from-wire meta protocol ip6 ether type != { ip6, 8021q, 8021ad } accept
add rule $TABLE from-wire ether daddr != $NONE dup to $HOSTEND
)";

// What the host takes from the bridge's guests: the packet type says whom a frame is for, and was
// decided by the address of the device that handed it over.
constexpr std::string_view fromGuest = R"(
add rule $TABLE from-guest meta mark set meta mark & $OTHERBITS
add rule $TABLE from-guest ether daddr $MAC meta pkttype set host
)";

// What leaves by the adapter: of a guest, as it is; of the host, to the bridge what is for guests.
constexpr std::string_view fromHost = R"(
add rule $TABLE from-host ether saddr != $MAC meta mark & $BIT != 0 meta mark set meta mark & $OTHERBITS accept
add rule $TABLE from-host ether daddr @guests fwd to $HOSTEND
add rule $TABLE from-host ether daddr & $GROUP != $NONE dup to $HOSTEND
)";

// What the bridge sends to its port. What stays there goes on to the host end, and so to the host.
constexpr std::string_view fromBridge = R"(
add rule $TABLE from-bridge ether saddr $MAC drop
add rule $TABLE from-bridge ether saddr & $GROUP == $NONE update @guests { ether saddr }
add rule $TABLE from-bridge meta mark set meta mark | $BIT
add rule $TABLE from-bridge ether daddr $MAC accept
add rule $TABLE from-bridge ether daddr & $GROUP != $NONE dup to $WIRE accept
add rule $TABLE from-bridge fwd to $WIRE
)";

// An empty chain that nothing calls: a note, in case the devices that bear one are gone.
constexpr std::string_view noteChain = "promiscuous";

} // namespace

bool CanBePatched(std::string const& adapter)
{
   return !adapter.empty() && adapter.size() < IFNAMSIZ &&
          adapter.find_first_not_of(
             "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_") ==
             std::string::npos;
}

std::string GetPatchTable(std::string const& adapter)
{
   return std::string(tablePrefix) + adapter;
}

std::optional<std::string> ParsePatchTable(std::string const& table)
{
   if (!table.starts_with(tablePrefix)) {
      return {};
   }
   auto adapter = table.substr(tablePrefix.size());
   return CanBePatched(adapter) ? std::optional(std::move(adapter)) : std::nullopt;
}

std::string MakePatchRules(PatchDevices const& devices)
{
   std::string text;
   for (auto const part : {hooks, fromWire, fromGuest, fromHost, fromBridge}) {
      text += part;
   }
   if (devices.promiscuous) {
      text += "add chain $TABLE " + std::string(noteChain) + "\n";
   }
   return Fill(std::move(text), {{"$TABLE", "netdev " + GetPatchTable(devices.adapter)},
                                 {"$GUESTS", std::string(guests)},
                                 {"$PRIORITY", std::string(priority)},
                                 {"$ADAPTER", devices.adapter},
                                 {"$BRIDGE", devices.bridge},
                                 {"$PORT", devices.port},
                                 {"$WIRE", std::to_string(devices.adapterIndex)},
                                 {"$HOSTEND", std::to_string(devices.hostEndIndex)},
                                 {"$MAC", devices.adapterMac.ToString()},
                                 {"$BIT", std::string(bit)},
                                 {"$OTHERBITS", std::string(otherBits)},
                                 {"$GROUP", std::string(groupBit)},
                                 {"$NONE", std::string(noBits)}});
}

std::string MakePromiscuousNote(std::string const& adapter)
{
   auto const table = "table netdev " + GetPatchTable(adapter);
   return table + "\ndelete " + table + "\n" + table + " { chain " + std::string(noteChain) +
          " { } }\n";
}

bool IsPromiscuousNoted(std::string const& listing)
{
   return listing.find("chain " + std::string(noteChain) + " {") != std::string::npos;
}

} // namespace vnet::host
