// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/ruleset.hh"

#include "vnet/services/chain.hh"

namespace vnet::services {

namespace {

// iifname and oifname throughout: unlike iif and oif they hold when the bridge is made anew.
struct Match {
   std::string in;  // from the network
   std::string out; // to it

   explicit Match(std::string const& device)
      : in("iifname \"" + device + "\""), out("oifname \"" + device + "\"")
   {}
};

// No device is called this.
constexpr char const* nowhere = "oifname \"tavrin-nowhere\"";
// All of our bridges.
constexpr char const* anyInput = "iifname \"tvnet*\"";
constexpr char const* anyOutput = "oifname \"tvnet*\"";

std::string Join(std::vector<std::string> const& parts)
{
   std::string text;
   for (auto const& part : parts) {
      text += (text.empty() ? "" : ", ") + part;
   }
   return text;
}

// Frames of manufacturers that aren't taken.
std::string DropForeignOuis(Match const& match, std::vector<std::string> const& accepted)
{
   if (accepted.empty()) {
      return match.in + " drop";
   }
   return match.in + " ether saddr & ff:ff:ff:00:00:00 != { " + Join(accepted) + " } drop";
}

// Before translation, so that a packet from outside that names an address of the network is told
// from one that a port forward sent there. Replies to the guests still name the host here.
std::string MakeGuard(RulesetInput const& input)
{
   Match const match(input.device);
   std::string const outside = "iifname != { \"lo\", \"" + input.device + "\" } ";
   Chain chain("guard", "type filter hook prerouting priority raw");
   if (input.nat && input.acceptedOuis) {
      chain.Add(DropForeignOuis(match, *input.acceptedOuis));
   }
   // route_localnet lets these in.
   chain.Add(match.in + " ip daddr 127.0.0.0/8 drop");
   chain.Add(match.in + " ip saddr 127.0.0.0/8 drop");
   chain.Add(outside + "ip daddr " + input.layout.subnet.ToString() + " drop");
   if (input.layout.ipv6) {
      chain.Add(outside + "ip6 daddr " + input.layout.ipv6->prefix.ToString() + " drop");
   }
   return chain.ToString();
}

// dnsmasq leaves the choice of the source to the routing table, but a guest's firewall expects the
// answer from whom it asked.
std::string MakeDhcpSource(RulesetInput const& input)
{
   Match const match(input.device);
   Chain chain("dhcp-source", "type filter hook output priority raw");
   if (input.dhcp && input.layout.server) {
      chain.Add(match.out + " udp sport 67 udp dport 68 ip saddr set " +
                input.layout.server->ToString());
   }
   return chain.ToString();
}

// --- Objects of connection tracking ---

std::string MakeObjects(RulesetInput const& input)
{
   std::string const seconds = std::to_string(input.udpTimeout);
   auto const timeout = [&seconds](std::string const& name, std::string const& protocol) {
      return "   ct timeout " + name + " {\n      protocol udp\n      l3proto " + protocol +
             "\n      policy = { unreplied : " + seconds + ", replied : " + seconds + " }\n   }\n";
   };
   std::string text = timeout("udp4", "ip");
   if (input.layout.ipv6) {
      text += timeout("udp6", "ip6");
   }
   if (input.activeFtp) {
      text += "   ct helper ftp {\n      type \"ftp\" protocol tcp\n      l3proto inet\n   }\n";
   }
   return text;
}

std::string MakeFtp(RulesetInput const& input)
{
   Chain chain("ftp", "type filter hook prerouting priority mangle");
   if (input.activeFtp) {
      chain.Add(Match(input.device).in + " tcp dport 21 ct helper set \"ftp\"");
   }
   return chain.ToString();
}

std::string MakeTimeouts(RulesetInput const& input)
{
   Chain chain("timeouts");
   chain.Add("meta nfproto ipv4 meta l4proto udp ct timeout set \"udp4\"");
   if (input.layout.ipv6) {
      chain.Add("meta nfproto ipv6 meta l4proto udp ct timeout set \"udp6\"");
   }
   return chain.ToString();
}

// --- Port forwards ---

std::string MakeForwardMap(std::string const& name, bool tcp,
                           std::vector<WantedForward> const& forwards)
{
   std::vector<std::string> elements;
   for (auto const& forward : forwards) {
      if (forward.tcp == tcp) {
         elements.push_back(std::to_string(forward.hostPort) + " : " + forward.address.ToString() +
                            " . " + std::to_string(forward.vmPort));
      }
   }
   std::string const content =
      elements.empty() ? "" : "      elements = { " + Join(elements) + " }\n";
   return "   map " + name + " {\n      type inet_service : ipv4_addr . inet_service\n" + content +
          "   }\n";
}

std::string MakeForwards(RulesetInput const& input)
{
   if (input.forwards.empty()) {
      return "";
   }
   Chain chain("forwards");
   chain.Add("meta nfproto ipv4 dnat ip to tcp dport map @tcp-forwards");
   chain.Add("meta nfproto ipv4 dnat ip to udp dport map @udp-forwards");
   // What the host itself sends to one of its addresses, 127.0.0.1 too.
   Chain own("redirect-own", "type nat hook output priority dstnat");
   own.Add("fib daddr type local jump forwards");
   return MakeForwardMap("tcp-forwards", true, input.forwards) +
          MakeForwardMap("udp-forwards", false, input.forwards) + chain.ToString() + own.ToString();
}

// The chain is there without a rule, too: it keeps the kernel translating replies.
std::string MakeRedirect(RulesetInput const& input)
{
   Match const match(input.device);
   Chain chain("redirect", "type nat hook prerouting priority dstnat");
   if (auto const server = input.layout.server) {
      chain.Add(match.in + " ip daddr " + server->ToString() + " return");
      chain.Add(match.in + " ip daddr " + input.layout.gateway->ToString() +
                " meta l4proto { tcp, udp } th dport 53 return");
   }
   if (!input.forwards.empty()) {
      // What another network's guests ask of the host is between them and their network.
      chain.Add(std::string(anyInput) + " iifname != \"" + input.device +
                "\" fib daddr . iif type local return");
      chain.Add("fib daddr type local jump forwards");
   }
   return chain.ToString();
}

// A guest that comes back to its own network by a forward, and the host: the answer has to come
// by the gateway. Then what leaves the network.
std::string MakeMasquerade(RulesetInput const& input)
{
   Match const match(input.device);
   std::string const subnet = input.layout.subnet.ToString();
   std::string const away = "oifname != { \"lo\", \"" + input.device + "\" } ";
   Chain chain("masquerade", "type nat hook postrouting priority srcnat");
   if (!input.forwards.empty()) {
      std::string const toGateway = " snat ip to " + input.layout.gateway->ToString();
      chain.Add(match.out + " ct status dnat ip saddr " + subnet + toGateway);
      chain.Add(match.out + " ct status dnat fib saddr type local" + toGateway);
   }
   chain.Add("ip saddr " + subnet + " " + away +
             "ip daddr != { 224.0.0.0/4, 255.255.255.255 } masquerade");
   if (input.layout.ipv6) {
      chain.Add("ip6 saddr " + input.layout.ipv6->prefix.ToString() + " " + away +
                "ip6 daddr != ff00::/8 masquerade");
   }
   return chain.ToString();
}

// --- Who may pass ---

// With bridge filtering on, the first rule is what keeps the guests of one network together.
Chain StartForward(Match const& match)
{
   Chain chain("forward", "type filter hook forward priority filter");
   chain.Add(match.in + " " + match.out + " accept");
   return chain;
}

std::string MakeClosedForward(RulesetInput const& input)
{
   Match const match(input.device);
   Chain chain = StartForward(match);
   chain.Add(match.in + " drop");
   chain.Add(match.out + " drop");
   return chain.ToString();
}

std::string MakeNatForward(Match const& match)
{
   Chain chain = StartForward(match);
   chain.Add(match.in + " jump timeouts");
   chain.Add(match.out + " jump timeouts");
   chain.Add(match.in + " jump from-guests");
   chain.Add(match.out + " jump to-guests");
   return chain.ToString();
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

// --- The host itself ---

void AddGuestServices6(Chain& chain, Layout6 const& layout)
{
   chain.Add("icmpv6 type { nd-router-solicit, nd-neighbor-solicit, nd-neighbor-advert } accept");
   chain.Add("ip6 daddr " + layout.gateway + " icmpv6 type echo-request accept");
   chain.Add("udp sport 546 udp dport 547 accept");
   chain.Add("ip6 daddr " + layout.gateway + " meta l4proto { tcp, udp } th dport 53 accept");
}

// Without a host adapter, guests meet the gateway and the server and nothing else of the host.
std::string MakeFromGuestsToHost(RulesetInput const& input)
{
   Chain chain("from-guests-to-host");
   std::vector<std::string> ours;
   if (auto const gateway = input.layout.gateway) {
      // Answers to what the host asked by a forward.
      chain.Add("ct direction reply ct status dnat accept");
      ours.push_back(gateway->ToString());
   }
   if (auto const server = input.layout.server) {
      ours.push_back(server->ToString());
   }
   if (input.dhcp) {
      chain.Add("ip daddr { 255.255.255.255, " + input.layout.server->ToString() +
                " } udp sport 68 udp dport 67 accept");
   }
   if (!ours.empty()) {
      chain.Add("ip daddr { " + Join(ours) + " } icmp type echo-request accept");
   }
   if (input.nat && input.layout.server) {
      chain.Add("ip daddr { " + Join(ours) + " } meta l4proto { tcp, udp } th dport 53 accept");
   }
   if (input.nat && input.layout.ipv6) {
      AddGuestServices6(chain, *input.layout.ipv6);
   }
   chain.Add("drop");
   return chain.ToString();
}

std::string MakeFromHost(RulesetInput const& input)
{
   Chain chain("from-host");
   if (input.layout.gateway) {
      chain.Add("ct direction reply accept");
      chain.Add("ct status dnat accept");
      // Errors about what passes: too big, unreachable, expired.
      chain.Add("ct state related accept");
   }
   if (input.dhcp) {
      chain.Add("udp sport 67 udp dport 68 accept");
   }
   chain.Add("icmp type echo-reply accept");
   if (input.layout.ipv6) {
      chain.Add("icmpv6 type { nd-router-advert, nd-neighbor-solicit, nd-neighbor-advert, "
                "mld2-listener-report } accept");
      chain.Add("udp sport 547 udp dport 546 accept");
   }
   chain.Add("drop");
   return chain.ToString();
}

// With a host adapter. A host-only network reaches the host by this adapter alone, not by its other
// addresses.
std::string MakeOpenHost(RulesetInput const& input)
{
   Match const match(input.device);
   Chain in("input", "type filter hook input priority filter");
   Chain out("output", "type filter hook output priority filter");
   if (!input.nat) {
      in.Add(match.in + " fib daddr . iif type != { local, broadcast, multicast } drop");
   }
   // A guest that reaches another by a forward must go on doing so.
   out.Add(match.out + " icmp type redirect drop");
   return in.ToString() + out.ToString();
}

std::string MakeClosedHost(RulesetInput const& input)
{
   Match const match(input.device);
   Chain in("input", "type filter hook input priority filter");
   Chain out("output", "type filter hook output priority filter");
   in.Add(match.in + " jump from-guests-to-host");
   out.Add(match.out + " icmp type redirect drop");
   out.Add(match.out + " jump from-host");
   return MakeFromGuestsToHost(input) + MakeFromHost(input) + in.ToString() + out.ToString();
}

std::string MakeHost(RulesetInput const& input)
{
   return input.layout.adapter ? MakeOpenHost(input) : MakeClosedHost(input);
}

} // namespace

std::string MakeHostOnlyRules(RulesetInput const& input)
{
   return MakeGuard(input) + MakeDhcpSource(input) + MakeClosedForward(input) + MakeHost(input);
}

std::string MakeNatRules(RulesetInput const& input)
{
   return MakeObjects(input) + MakeGuard(input) + MakeDhcpSource(input) + MakeFtp(input) +
          MakeForwards(input) + MakeRedirect(input) + MakeMasquerade(input) + MakeTimeouts(input) +
          MakeFromGuests(input) + MakeToGuests() + MakeNatForward(Match(input.device)) +
          MakeHost(input);
}

std::string MakeParkedRules(RulesetInput const& input)
{
   Match const match(input.device);
   std::string const subnet = input.layout.subnet.ToString();
   Chain redirect("redirect", "type nat hook prerouting priority dstnat");
   // Chains without a statement that translates aren't enough.
   Chain masquerade("masquerade", "type nat hook postrouting priority srcnat");
   masquerade.Add(std::string(nowhere) + " masquerade");
   Chain forward = StartForward(match);
   forward.Add(match.in + " drop");
   forward.Add(match.out + " drop");
   // The route into the network may be gone, and the way out would be taken instead.
   forward.Add("ip saddr " + subnet + " drop");
   forward.Add("ip daddr " + subnet + " drop");
   if (auto const& ipv6 = input.layout.ipv6) {
      forward.Add("ip6 saddr " + ipv6->prefix.ToString() + " drop");
      forward.Add("ip6 daddr " + ipv6->prefix.ToString() + " drop");
   }
   return MakeGuard(input) + MakeDhcpSource(input) + redirect.ToString() + masquerade.ToString() +
          forward.ToString() + MakeHost(input);
}

std::string MakeSilentRules(std::string const& device)
{
   Match const match(device);
   Chain forward = StartForward(match);
   Chain in("input", "type filter hook input priority filter");
   Chain out("output", "type filter hook output priority filter");
   forward.Add(match.in + " drop");
   forward.Add(match.out + " drop");
   in.Add(match.in + " drop");
   out.Add(match.out + " drop");
   return forward.ToString() + in.ToString() + out.ToString();
}

std::string MakeReplacement(unsigned int index, std::string const& body)
{
   return GetRemovalRuleset(index) + "table inet " + GetTableName(index) + " {\n" + body + "}\n";
}

} // namespace vnet::services
