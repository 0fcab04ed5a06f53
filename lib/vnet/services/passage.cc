// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/passage.hh"

#include "vnet/services/chain.hh"
#include "vnet/services/match.hh"

namespace vnet::services {

namespace {

std::string DropForeignOuis(Match const& match, std::vector<std::string> const& accepted)
{
   if (accepted.empty()) {
      return match.in + " drop";
   }
   return match.in + " ether saddr & ff:ff:ff:00:00:00 != { " + Join(accepted) + " } drop";
}

// With bridge filtering on, the first rule is what keeps the guests of one network together.
Chain StartForward(Match const& match)
{
   Chain chain("forward", "type filter hook forward priority filter");
   chain.Add(match.in + " " + match.out + " accept");
   return chain;
}

Chain StartClosedForward(Match const& match)
{
   Chain chain = StartForward(match);
   chain.Add(match.in + " drop");
   chain.Add(match.out + " drop");
   return chain;
}

// What isn't tracked isn't translated, and would show the network's addresses outside.
std::string MakeFromGuests(RulesetInput const& input)
{
   Chain chain("from-guests");
   chain.Add("meta nfproto ipv4 ip saddr != " + input.layout.subnet.ToString() + " drop");
   chain.Add(input.layout.ipv6
                ? "meta nfproto ipv6 ip6 saddr != " + input.layout.ipv6->prefix.ToString() + " drop"
                : "meta nfproto ipv6 drop");
   chain.Add("ct state invalid drop");
   chain.Add("ct state established,related accept");
   // What another network publishes by a forward is for all.
   chain.Add(std::string(anyOutput) + " ct status dnat accept");
   chain.Add(std::string(anyOutput) + " drop");
   return chain.ToString();
}

std::string MakeToGuests()
{
   Chain chain("to-guests");
   chain.Add("ct state established,related accept");
   chain.Add("ct status dnat accept");
   chain.Add("drop");
   return chain.ToString();
}

} // namespace

// Before translation, so that a packet from outside that names an address of the network is told
// from one that a port forward sends there. Replies to the guests still name the host here.
std::string MakeGuard(RulesetInput const& input)
{
   Match const match(input.device);
   std::string const outside = "iifname != { \"lo\", \"" + input.device + "\" } ";
   Chain chain("guard", "type filter hook prerouting priority raw");
   if (input.acceptedOuis) {
      chain.Add(DropForeignOuis(match, *input.acceptedOuis));
   }
   // route_localnet lets these in.
   chain.Add(match.in + " ip daddr 127.0.0.0/8 drop");
   chain.Add(match.in + " ip saddr 127.0.0.0/8 drop");
   chain.Add(outside + "ip daddr " + input.layout.subnet.ToString() + " drop");
   if (auto const& ipv6 = input.layout.ipv6) {
      chain.Add(outside + "ip6 daddr " + ipv6->prefix.ToString() + " drop");
   }
   return chain.ToString();
}

std::string MakeNatPassage(RulesetInput const& input)
{
   Match const match(input.device);
   Chain chain = StartForward(match);
   chain.Add(match.in + " jump timeouts");
   chain.Add(match.out + " jump timeouts");
   chain.Add(match.in + " jump from-guests");
   chain.Add(match.out + " jump to-guests");
   return MakeFromGuests(input) + MakeToGuests() + chain.ToString();
}

std::string MakeClosedPassage(std::string const& device)
{
   return StartClosedForward(Match(device)).ToString();
}

// A packet that has no route into the network any more would take the way out instead.
std::string MakeParkedPassage(RulesetInput const& input)
{
   Chain chain = StartClosedForward(Match(input.device));
   chain.Add("ip saddr " + input.layout.subnet.ToString() + " drop");
   chain.Add("ip daddr " + input.layout.subnet.ToString() + " drop");
   if (auto const& ipv6 = input.layout.ipv6) {
      chain.Add("ip6 saddr " + ipv6->prefix.ToString() + " drop");
      chain.Add("ip6 daddr " + ipv6->prefix.ToString() + " drop");
   }
   return chain.ToString();
}

} // namespace vnet::services
