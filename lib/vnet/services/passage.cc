// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/passage.hh"

#include "vnet/services/chain.hh"
#include "vnet/services/match.hh"

namespace vnet::services {

namespace {

std::string DropForeignOuis(std::vector<std::string> const& accepted)
{
   return accepted.empty() ? "drop"
                           : "ether saddr & ff:ff:ff:00:00:00 != { " + Join(accepted) + " } drop";
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

// What isn't tracked isn't translated, and would show the network's addresses outside.
std::string MakeFromGuests(RulesetInput const& input)
{
   Chain chain("from-guests");
   // With bridge filtering on, this is what keeps the guests of one network together.
   chain.Add(Match(input.device).out + " accept");
   chain.Add("jump timeouts");
   if (input.activeFtp) {
      chain.Add("tcp dport 21 ct helper set \"ftp\"");
   }
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
   chain.Add("jump timeouts");
   chain.Add("ct state { established, related } accept");
   chain.Add("ct status dnat accept");
   chain.Add("drop");
   return chain.ToString();
}

// Nearly all packets are of flows that both ends know. For them these rules say what the others
// would, but sooner: a device's name costs several times what an address does. A flow's timeout is
// set before it is known.
void AcceptKnown(Chain& chain, std::string const& protocol, std::string const& subnet)
{
   for (auto const* end : {" saddr ", " daddr "}) {
      chain.Add(protocol + end + subnet + " ct state established accept");
   }
}

} // namespace

// Before translation, so that a packet from outside that names an address of the network is told
// from one that a port forward sends there. Replies to the guests still name the host here.
// Addresses come first, as they cost less than a device's name.
std::string MakeGuard(RulesetInput const& input)
{
   Match const match(input.device);
   std::string const fromOthers = " iifname != { \"lo\", \"" + input.device + "\" } drop";
   Chain chain("guard", "type filter hook prerouting priority raw");
   chain.Add("ip daddr " + input.layout.subnet.ToString() + fromOthers);
   if (auto const& ipv6 = input.layout.ipv6) {
      chain.Add("ip6 daddr " + ipv6->prefix.ToString() + fromOthers);
   }
   // route_localnet lets these in.
   chain.Add("ip daddr 127.0.0.0/8 " + match.in + " drop");
   chain.Add("ip saddr 127.0.0.0/8 " + match.in + " drop");
   if (input.acceptedOuis) {
      chain.Add(match.in + " " + DropForeignOuis(*input.acceptedOuis));
   }
   return chain.ToString();
}

std::string MakeNatPassage(RulesetInput const& input)
{
   Match const match(input.device);
   Chain chain = StartForward();
   AcceptKnown(chain, "ip", input.layout.subnet.ToString());
   if (auto const& ipv6 = input.layout.ipv6) {
      AcceptKnown(chain, "ip6", ipv6->prefix.ToString());
   }
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
