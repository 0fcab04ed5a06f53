// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/translation.hh"

#include "vnet/services/chain.hh"
#include "vnet/services/match.hh"

namespace vnet::services {

namespace {

// No device is called this.
constexpr char const* nowhere = "oifname \"tavrin-nowhere\"";

constexpr char const* beforeRouting = "type nat hook prerouting priority dstnat";
constexpr char const* afterRouting = "type nat hook postrouting priority srcnat";

// --- Connection tracking ---

std::string MakeTimeout(std::string const& name, std::string const& protocol,
                        std::uint32_t udpTimeout)
{
   std::string const seconds = std::to_string(udpTimeout);
   return "   ct timeout " + name + " {\n      protocol udp\n      l3proto " + protocol +
          "\n      policy = { unreplied : " + seconds + ", replied : " + seconds + " }\n   }\n";
}

constexpr char const* ftpHelper = R"(   ct helper ftp {
      type "ftp" protocol tcp
      l3proto inet
   }
)";

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
   Chain chain("forwards");
   chain.Add("meta nfproto ipv4 dnat ip to tcp dport map @tcp-forwards");
   chain.Add("meta nfproto ipv4 dnat ip to udp dport map @udp-forwards");
   // What the host itself sends to one of its addresses, 127.0.0.1 too.
   Chain own("translate-own", "type nat hook output priority -100");
   own.Add("fib daddr type local jump forwards");
   return MakeForwardMap("tcp-forwards", true, input.forwards) +
          MakeForwardMap("udp-forwards", false, input.forwards) + chain.ToString() + own.ToString();
}

// There without a rule, too: a flow's replies are translated only where such a chain is.
std::string MakeIn(RulesetInput const& input)
{
   Match const match(input.device);
   Chain chain("translate-in", beforeRouting);
   if (input.forwards.empty()) {
      return chain.ToString();
   }
   if (auto const server = input.layout.server) {
      chain.Add(match.in + " ip daddr " + server->ToString() + " return");
      chain.Add(match.in + " ip daddr " + input.layout.gateway->ToString() +
                " meta l4proto { tcp, udp } th dport 53 return");
   }
   // What another network's guests ask of the host in their network isn't for ours.
   chain.Add(std::string(anyInput) + " iifname != \"" + input.device +
             "\" fib daddr . iif type local return");
   chain.Add("fib daddr type local jump forwards");
   return chain.ToString();
}

// A guest that comes back to its own network by a forward, and the host: the answer has to come
// by the gateway. Then what leaves the network.
std::string MakeOut(RulesetInput const& input)
{
   Match const match(input.device);
   std::string const subnet = input.layout.subnet.ToString();
   std::string const away = " oifname != { \"lo\", \"" + input.device + "\" } ";
   Chain chain("translate-out", afterRouting);
   if (!input.forwards.empty()) {
      std::string const toGateway = " snat ip to " + input.layout.gateway->ToString();
      chain.Add(match.out + " ct status dnat ip saddr " + subnet + toGateway);
      chain.Add(match.out + " ct status dnat fib saddr type local" + toGateway);
   }
   chain.Add("ip saddr " + subnet + away +
             "ip daddr != { 224.0.0.0/4, 255.255.255.255 } masquerade");
   if (auto const& ipv6 = input.layout.ipv6) {
      chain.Add("ip6 saddr " + ipv6->prefix.ToString() + away + "ip6 daddr != ff00::/8 masquerade");
   }
   return chain.ToString();
}

} // namespace

std::string MakeTimeouts(RulesetInput const& input)
{
   std::string objects = MakeTimeout("udp4", "ip", input.udpTimeout);
   Chain chain("timeouts");
   chain.Add("meta nfproto ipv4 meta l4proto udp ct timeout set \"udp4\"");
   if (input.layout.ipv6) {
      objects += MakeTimeout("udp6", "ip6", input.udpTimeout);
      chain.Add("meta nfproto ipv6 meta l4proto udp ct timeout set \"udp6\"");
   }
   return objects + chain.ToString();
}

std::string MakeTranslation(RulesetInput const& input)
{
   return (input.activeFtp ? ftpHelper : "") + (input.forwards.empty() ? "" : MakeForwards(input)) +
          MakeIn(input) + MakeOut(input);
}

std::string MakeIdleTranslation()
{
   // Chains without a statement that translates aren't enough.
   Chain out("translate-out", afterRouting);
   out.Add(std::string(nowhere) + " masquerade");
   return Chain("translate-in", beforeRouting).ToString() + out.ToString();
}

} // namespace vnet::services
