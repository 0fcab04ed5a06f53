// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/passage.hh"

#include "vnet/services/chain.hh"
#include "vnet/services/match.hh"

namespace vnet::services {

namespace {

std::string DropForeignOuis(std::vector<std::string> const& accepted)
{
   if (accepted.empty()) {
      return "drop";
   }
   return "ether saddr & ff:ff:ff:00:00:00 != { " + Join(accepted) + " } drop";
}

std::string MakeGuardOfGuests(RulesetInput const& input)
{
   Chain chain("guard-guests");
   if (input.acceptedOuis) {
      chain.Add(DropForeignOuis(*input.acceptedOuis));
   }
   // route_localnet lets these in.
   chain.Add("ip daddr 127.0.0.0/8 drop");
   chain.Add("ip saddr 127.0.0.0/8 drop");
   return chain.ToString();
}

Chain StartForward()
{
   return Chain("forward", "type filter hook forward priority filter");
}

// With bridge filtering on, the first rule is what keeps the guests of one network together.
Chain StartClosedForward(Match const& match)
{
   Chain chain = StartForward();
   chain.Add(match.in + " " + match.out + " accept");
   chain.Add(match.in + " drop");
   chain.Add(match.out + " drop");
   return chain;
}

// Nearly all packets are of flows that both ends know: they take the first rule, which says what
// the others would, but sooner. A flow's timeout is set before it is one.
//
// What isn't tracked isn't translated, and would show the network's addresses outside.
std::string MakeFromGuests(RulesetInput const& input)
{
   Chain chain("from-guests");
   chain.Add("ip saddr " + input.layout.subnet.ToString() + " ct state established accept");
   if (auto const& ipv6 = input.layout.ipv6) {
      chain.Add("ip6 saddr " + ipv6->prefix.ToString() + " ct state established accept");
   }
   // With bridge filtering on, this is what keeps the guests of one network together.
   chain.Add(Match(input.device).out + " accept");
   chain.Add("jump timeouts");
   chain.Add("meta nfproto ipv4 ip saddr != " + input.layout.subnet.ToString() + " drop");
   chain.Add(input.layout.ipv6
                ? "meta nfproto ipv6 ip6 saddr != " + input.layout.ipv6->prefix.ToString() + " drop"
                : "meta nfproto ipv6 drop");
   chain.Add("ct state invalid drop");
   chain.Add("ct state related accept");
   // What another network publishes by a forward is for all.
   chain.Add(std::string(anyOutput) + " ct status dnat accept");
   chain.Add(std::string(anyOutput) + " drop");
   return chain.ToString();
}

std::string MakeToGuests()
{
   Chain chain("to-guests");
   chain.Add("ct state established accept");
   chain.Add("jump timeouts");
   chain.Add("ct state related accept");
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
   Chain chain("guard", "type filter hook prerouting priority raw");
   chain.Add(match.in + " goto guard-guests");
   chain.Add("iifname \"lo\" accept");
   chain.Add("ip daddr " + input.layout.subnet.ToString() + " drop");
   if (auto const& ipv6 = input.layout.ipv6) {
      chain.Add("ip6 daddr " + ipv6->prefix.ToString() + " drop");
   }
   return MakeGuardOfGuests(input) + chain.ToString();
}

std::string MakeNatPassage(RulesetInput const& input)
{
   Match const match(input.device);
   Chain chain = StartForward();
   chain.Add(match.in + " goto from-guests");
   chain.Add(match.out + " goto to-guests");
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
