// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/hostRules.hh"

#include "vnet/services/chain.hh"
#include "vnet/services/match.hh"

namespace vnet::services {

namespace {

constexpr char const* toDns = " meta l4proto { tcp, udp } th dport 53 accept";

Chain StartInput()
{
   return Chain("input", "type filter hook input priority filter");
}

Chain StartOutput()
{
   return Chain("output", "type filter hook output priority filter");
}

// A guest that reaches another by a forward must go on doing so.
void DropRedirects(Chain& chain, Match const& match)
{
   chain.Add(match.out + " icmp type redirect drop");
}

// dnsmasq leaves the choice of the source to the routing table, but a guest's firewall expects the
// answer from whom it asked.
std::string MakeDhcpSource(RulesetInput const& input)
{
   Chain chain("dhcp-source", "type filter hook output priority raw");
   chain.Add(Match(input.device).out + " udp sport 67 udp dport 68 ip saddr set " +
             input.layout.server->ToString());
   return chain.ToString();
}

std::string ListOurs(Layout const& layout)
{
   std::vector<std::string> ours;
   for (auto const& address : {layout.gateway, layout.server}) {
      if (address) {
         ours.push_back(address->ToString());
      }
   }
   return Join(ours);
}

// --- Without a host adapter ---

void AddServices(Chain& chain, RulesetInput const& input)
{
   std::string const ours = ListOurs(input.layout);
   if (ours.empty()) {
      return;
   }
   if (input.dhcp) {
      chain.Add("ip daddr { 255.255.255.255, " + input.layout.server->ToString() +
                " } udp sport 68 udp dport 67 accept");
   }
   chain.Add("ip daddr { " + ours + " } icmp type echo-request accept");
   if (input.nat && input.layout.server) {
      chain.Add("ip daddr { " + ours + " }" + toDns);
   }
}

void AddServices6(Chain& chain, Layout6 const& layout)
{
   chain.Add("icmpv6 type { nd-router-solicit, nd-neighbor-solicit, nd-neighbor-advert } accept");
   chain.Add("ip6 daddr " + layout.gateway + " icmpv6 type echo-request accept");
   chain.Add("udp sport 546 udp dport 547 accept");
   chain.Add("ip6 daddr " + layout.gateway + toDns);
}

std::string MakeFromGuestsToHost(RulesetInput const& input)
{
   Chain chain("from-guests-to-host");
   if (input.nat) {
      // Answers to what the host asked by a forward.
      chain.Add("ct direction reply ct status dnat accept");
   }
   AddServices(chain, input);
   if (input.layout.ipv6) {
      AddServices6(chain, *input.layout.ipv6);
   }
   chain.Add("drop");
   return chain.ToString();
}

std::string MakeFromHost(RulesetInput const& input)
{
   Chain chain("from-host");
   if (input.nat) {
      chain.Add("ct direction reply accept");
      chain.Add("ct status dnat accept");
      // Errors about what passes: too big, unreachable, expired.
      chain.Add("ct state related accept");
   }
   if (input.dhcp) {
      chain.Add("udp sport 67 udp dport 68 accept");
   }
   if (!input.nat && input.layout.server) {
      chain.Add("icmp type echo-reply accept");
   }
   if (input.layout.ipv6) {
      chain.Add("icmpv6 type { nd-router-advert, nd-neighbor-solicit, nd-neighbor-advert, "
                "mld2-listener-report } accept");
      chain.Add("udp sport 547 udp dport 546 accept");
   }
   chain.Add("drop");
   return chain.ToString();
}

std::string MakeClosed(RulesetInput const& input)
{
   Match const match(input.device);
   Chain in = StartInput();
   Chain out = StartOutput();
   in.Add(match.in + " jump from-guests-to-host");
   DropRedirects(out, match);
   out.Add(match.out + " jump from-host");
   return MakeFromGuestsToHost(input) + MakeFromHost(input) + in.ToString() + out.ToString();
}

// --- With a host adapter ---

std::string MakeOpen(RulesetInput const& input)
{
   Match const match(input.device);
   Chain out = StartOutput();
   DropRedirects(out, match);
   if (input.nat) {
      return out.ToString();
   }
   Chain in = StartInput();
   in.Add(match.in + " fib daddr . iif type != { local, broadcast, multicast } drop");
   return in.ToString() + out.ToString();
}

} // namespace

std::string MakeHostRules(RulesetInput const& input)
{
   return (input.dhcp ? MakeDhcpSource(input) : "") +
          (input.layout.adapter ? MakeOpen(input) : MakeClosed(input));
}

std::string MakeSilentHostRules(std::string const& device)
{
   Match const match(device);
   Chain in = StartInput();
   Chain out = StartOutput();
   in.Add(match.in + " drop");
   out.Add(match.out + " drop");
   return in.ToString() + out.ToString();
}

} // namespace vnet::services
