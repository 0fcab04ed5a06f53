// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/dockerChain.hh"

#include "vnet/engine/host.hh"
#include "vnet/engine/ours.hh"
#include "vnet/host/filterWalk.hh"

#include <algorithm>
#include <linux/netlink.h>

namespace vnet::engine {

namespace {

constexpr auto family = "ip";
constexpr auto tableName = "filter";
constexpr auto chainName = "DOCKER-USER";
// Where rules are named in nftables' language.
constexpr auto place = "rule ip filter DOCKER-USER ";

// A rule is told by its comment, which tells all of it: iptables shows it, too.
std::string GetMark(unsigned int index)
{
   return services::GetTableName(index) + " ";
}

bool IsOurs(host::FilterRule const& rule, unsigned int index)
{
   return rule.comment.starts_with(GetMark(index));
}

std::optional<unsigned int> FindOwner(host::FilterRule const& rule)
{
   return ParseTableName(rule.comment.substr(0, rule.comment.find(' ')));
}

std::vector<host::FilterRule>::const_iterator FindEnd(host::FilterChain const& chain)
{
   return std::ranges::find_if(chain.rules, host::AlwaysReturns);
}

// Those that a packet comes to, in order.
std::vector<std::string> ListReached(host::FilterChain const& chain, unsigned int index)
{
   std::vector<std::string> comments;
   for (auto rule = chain.rules.begin(); rule != FindEnd(chain); ++rule) {
      if (IsOurs(*rule, index)) {
         comments.push_back(rule->comment);
      }
   }
   return comments;
}

std::string MakeRule(std::string const& comment, std::string const& bridge)
{
   // "tavrin-tvnet8 out eth0", "tavrin-tvnet8 in"
   auto const out = comment.find(" out ");
   auto const match = out == std::string::npos
                         ? "oifname \"" + bridge + "\""
                         : "iifname \"" + bridge + "\" oifname \"" + comment.substr(out + 5) + "\"";
   return match + " counter accept comment \"" + comment + "\"\n";
}

template <class Predicate>
std::string MakeRemoval(host::FilterChain const& chain, Predicate const& goes)
{
   std::string text;
   for (auto const& rule : chain.rules) {
      if (goes(rule)) {
         text += std::string("delete ") + place + "handle " + std::to_string(rule.handle) + "\n";
      }
   }
   return text;
}

// nftables' language has no way to quote these within a name.
bool CanBeQuoted(std::string const& device)
{
   return device.find_first_of("\"\\*") == std::string::npos;
}

} // namespace

DockerChain::DockerChain(Host& hostOfCaller) : host(hostOfCaller), socket(NETLINK_NETFILTER) {}

std::optional<host::FilterChain> DockerChain::Read()
{
   return host::FindFilterChain(socket, family, tableName, chainName);
}

// A bridge that has the default route is the host's own adapter in disguise.
bool DockerChain::MayPassTo(std::string const& device) const
{
   auto const* found = host.view.Find(device);
   return found && CanBeQuoted(device) &&
          (!found->link.IsBridge() || found == host.view.FindDefault());
}

std::vector<std::string> DockerChain::ListWanted(services::WantedNetwork const& wanted,
                                                 services::HostFacts const& facts) const
{
   std::vector<std::string> comments;
   if (wanted.kind != services::Kind::Nat) {
      return comments;
   }
   for (auto const& way : facts.waysOut) {
      if (MayPassTo(way.device)) {
         comments.push_back(GetMark(wanted.index) + "out " + way.device);
      }
   }
   comments.push_back(GetMark(wanted.index) + "in");
   return comments;
}

bool DockerChain::IsRight(services::WantedNetwork const& wanted, services::HostFacts const& facts)
{
   Known const now{ListWanted(wanted, facts), host.view.GetTableGeneration(tableName)};
   if (auto const before = known.find(wanted.index);
       before != known.end() && before->second == now) {
      return true;
   }
   auto const chain = Read();
   bool const right = !chain || (ListReached(*chain, wanted.index) == now.rules &&
                                 std::ranges::count_if(chain->rules, [&](auto const& rule) {
                                    return IsOurs(rule, wanted.index);
                                 }) == std::ssize(now.rules));
   known.erase(wanted.index);
   if (right) {
      known[wanted.index] = now;
   }
   return right;
}

void DockerChain::Apply(services::WantedNetwork const& wanted, services::HostFacts const& facts)
{
   if (IsRight(wanted, facts)) {
      return;
   }
   auto const chain = Read();
   if (!chain) {
      return;
   }
   auto text = MakeRemoval(*chain, [&](auto const& rule) { return IsOurs(rule, wanted.index); });
   auto const end = FindEnd(*chain);
   auto const where = end == chain->rules.end() ? "add " + std::string(place)
                                                : "insert " + std::string(place) + "handle " +
                                                     std::to_string(end->handle) + " ";
   for (auto const& comment : ListWanted(wanted, facts)) {
      text += where + MakeRule(comment, wanted.bridge.name);
   }
   Run(text);
}

void DockerChain::Run(std::string const& text)
{
   if (!text.empty()) {
      host.ruleset.Run(text, chainName);
      host.view.Refresh();
   }
}

void DockerChain::Remove(unsigned int index)
{
   known.erase(index);
   if (auto const chain = Read()) {
      Run(MakeRemoval(*chain, [&](auto const& rule) { return IsOurs(rule, index); }));
   }
}

void DockerChain::Sweep(std::set<unsigned int> const& networks)
{
   if (auto const chain = Read()) {
      Run(MakeRemoval(*chain, [&](auto const& rule) {
         auto const owner = FindOwner(rule);
         return owner && !networks.contains(*owner);
      }));
   }
}

} // namespace vnet::engine
