// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/obstacles.hh"

#include "vnet/engine/hostView.hh"
#include "vnet/engine/ours.hh"

#include <algorithm>
#include <linux/netlink.h>
#include <netinet/in.h>

namespace vnet::engine {

namespace {

using host::FilterDrop;
using host::FilteredPacket;
using host::FilterHook;

constexpr std::uint16_t dhcpPort = 67;
constexpr std::uint16_t dnsPort = 53;

// Something that a network lives on, and the packet that stands for it.
struct Need {
   std::string what;
   FilteredPacket packet;
};

// As good as any: rules about single guests aren't looked for.
Address GetGuest(Subnet const& subnet)
{
   return {subnet.GetBroadcast().value - 2};
}

FilteredPacket ToHost(services::WantedNetwork const& wanted, std::uint16_t port)
{
   FilteredPacket packet;
   packet.hook = FilterHook::Input;
   packet.in = wanted.bridge.name;
   packet.protocol = IPPROTO_UDP;
   packet.port = port;
   return packet;
}

std::vector<Need> ListNeeds(services::WantedNetwork const& wanted, std::string const& wayOut)
{
   std::vector<Need> needs;
   auto const& name = wanted.bridge.name;
   if (wanted.dnsmasq) {
      needs.push_back({"lease addresses to guests of " + name, ToHost(wanted, dhcpPort)});
   }
   if (wanted.kind != services::Kind::Nat || !wanted.subnet) {
      return needs;
   }
   if (wanted.dnsmasq) {
      needs.push_back(
         {"answer the names that guests of " + name + " ask for", ToHost(wanted, dnsPort)});
      needs.back().packet.source = GetGuest(*wanted.subnet);
   }
   if (wayOut.empty()) {
      return needs;
   }
   FilteredPacket out;
   out.in = name;
   out.out = wayOut;
   out.source = GetGuest(*wanted.subnet);
   needs.push_back({"let guests of " + name + " out by " + wayOut, out});
   FilteredPacket in;
   in.in = wayOut;
   in.out = name;
   in.reply = true;
   needs.push_back({"let answers from " + wayOut + " in to guests of " + name, in});
   if (!wanted.forwards.empty()) {
      in.reply = false;
      in.forwarded = true;
      needs.push_back({"forward ports from " + wayOut + " to guests of " + name, in});
   }
   return needs;
}

bool HasChain(std::vector<host::FilterTable> const& tables, FilterDrop const& drop,
              std::string const& chain)
{
   return std::ranges::any_of(tables, [&](host::FilterTable const& table) {
      return table.family == drop.family && table.name == drop.table &&
             table.chains.contains(chain);
   });
}

// Whoever made the table; of iptables', which ufw and Docker share, who filters more.
std::string FindOwner(std::vector<host::FilterTable> const& tables, FilterDrop const& drop)
{
   if (drop.table == "firewalld") {
      return "firewalld";
   }
   if (HasChain(tables, drop, "ufw-user-forward")) {
      return "ufw";
   }
   return HasChain(tables, drop, "DOCKER") ? "Docker" : "";
}

// What helps, in the words of the table's owner.
std::string MakeAdvice(std::string const& owner, FilterDrop const& drop,
                       FilteredPacket const& packet, std::string const& bridge)
{
   bool const comesIn = packet.in == bridge;
   if (owner == "firewalld") {
      return "firewall-cmd --permanent --zone=trusted --change-interface=" + bridge +
             " && firewall-cmd --reload";
   }
   if (owner == "ufw") {
      return std::string("ufw ") +
             (packet.hook == FilterHook::Forward ? "route allow " : "allow ") +
             (comesIn ? "in on " : "out on ") + bridge;
   }
   // As iptables calls its table and chains.
   bool const ofIptables = drop.family == "ip" && drop.table == "filter" &&
                           (drop.base == "INPUT" || drop.base == "FORWARD");
   if (ofIptables) {
      return "iptables -I " + drop.base + (comesIn ? " -i " : " -o ") + bridge + " -j ACCEPT";
   }
   return "nft insert rule " + drop.family + " " + drop.table + " " + drop.base +
          (comesIn ? " iifname " : " oifname ") + bridge + " accept";
}

} // namespace

std::string Obstacle::ToString() const
{
   return need + ": chain " + chain + " of table " + family + " " + table + " drops it; \"" +
          advice + "\" helps";
}

Obstacles::Obstacles(HostView const& viewOfCaller) : view(viewOfCaller), socket(NETLINK_NETFILTER)
{}

void Obstacles::Read()
{
   auto const now = view.GetOthersTableGeneration();
   if (generation != now) {
      tables = host::ListFilters(socket, tablePrefix);
      generation = now;
   }
}

std::vector<Obstacle> Obstacles::Find(services::WantedNetwork const& wanted)
{
   Read();
   auto const* wayOut = view.FindDefault();
   std::vector<Obstacle> found;
   for (auto const& need : ListNeeds(wanted, wayOut ? wayOut->link.name : "")) {
      if (auto const drop = host::FindDrop(tables, need.packet)) {
         auto const owner = FindOwner(tables, *drop);
         found.push_back({need.what, drop->family, drop->table, drop->chain, owner,
                          MakeAdvice(owner, *drop, need.packet, wanted.bridge.name)});
      }
   }
   return found;
}

} // namespace vnet::engine
