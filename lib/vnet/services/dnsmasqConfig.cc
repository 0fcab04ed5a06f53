// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/dnsmasqConfig.hh"

#include "vnet/services/hostFacts.hh"

#include <algorithm>

namespace vnet::services {

namespace {

constexpr std::uint32_t minLease = 120;        // seconds; dnsmasq takes no less
constexpr std::uint32_t maxLease = 0x7fffffff; // seconds; more would read as endless or negative
constexpr std::uint32_t maxLeases = 65536;     // bounds what guests can make dnsmasq keep
constexpr std::uint32_t leases6 = 32768;       // beside those of IPv4

// "name=value" lines.
class Lines {
public:
   void Add(std::string const& name) { text += name + "\n"; }
   void Add(std::string const& name, std::string const& value) { Add(name + "=" + value); }
   std::string const& ToString() const { return text; }

private:
   std::string text;
};

struct Leases {
   std::string standard;
   std::string longest;
};

Leases GetLeases(DhcpSettings const& dhcp)
{
   auto const longest = std::clamp(dhcp.maxLease, minLease, maxLease);
   auto const standard = std::clamp(dhcp.defaultLease, minLease, longest);
   return {std::to_string(standard), std::to_string(longest)};
}

void AddProcess(Lines& lines, WantedDnsmasq const& files, HostFacts const& facts)
{
   lines.Add("user", facts.dnsmasqUser);
   lines.Add("group", facts.dnsmasqGroup);
   lines.Add("pid-file", files.pidPath);
}

// The addresses of this device alone: other resolvers of the host aren't disturbed, and the kernel
// gives each network's requests to its own process.
void AddBinding(Lines& lines, std::string const& device)
{
   lines.Add("interface", device);
   lines.Add("except-interface", "lo");
   lines.Add("bind-interfaces");
}

// Names of guests are known under a domain that is nobody else's. The host's own /etc/hosts isn't
// for guests: it tells them that the host is 127.0.1.1. A dnsmasq that reads the host's resolv.conf
// itself watches it with inotify, of which a user has 128 instances for all programs.
void AddDns(Lines& lines, std::string const& device, WantedDnsmasq const& files)
{
   std::string const domain = device + ".internal";
   lines.Add("no-hosts");
   lines.Add("no-resolv");
   lines.Add("servers-file", files.serversPath);
   lines.Add("strict-order");
   lines.Add("domain-needed");
   lines.Add("domain", domain);
   lines.Add("local", "/" + domain + "/");
   // A guest of this name would take over the others' proxy settings.
   lines.Add("dhcp-name-match", "set:wpad,wpad");
   lines.Add("dhcp-ignore-names", "tag:wpad");
}

// Who asks for a time gets it up to the longest; who doesn't gets the standard one.
void AddRanges(Lines& lines, Layout const& layout, Leases const& leases)
{
   std::string const mask = layout.subnet.GetMask().ToString();
   lines.Add("dhcp-match", "set:asks,51");
   for (auto const& [begin, end] : layout.ranges) {
      std::string const range = begin.ToString() + "," + end.ToString() + "," + mask + ",";
      lines.Add("dhcp-range", "tag:asks," + range + leases.longest);
      lines.Add("dhcp-range", "tag:!asks," + range + leases.standard);
   }
}

void AddIpv6(Lines& lines, Layout const& layout, Leases const& leases)
{
   auto const& ipv6 = *layout.ipv6;
   std::string const length = std::to_string(ipv6.prefix.length);
   lines.Add("enable-ra");
   lines.Add("quiet-ra");
   if (layout.ranges.empty()) {
      lines.Add("dhcp-range", ipv6.prefix.GetHost(0) + ",ra-only," + length);
      return;
   }
   lines.Add("dhcp-range", ipv6.rangeBegin + "," + ipv6.rangeEnd + "," +
                              (ipv6.IsAutonomous() ? "slaac," : "") + length + "," +
                              leases.standard);
}

std::uint32_t CountLeases(Layout const& layout)
{
   std::uint64_t count = layout.ipv6 ? leases6 : 0;
   for (auto const& [begin, end] : layout.ranges) {
      count += std::uint64_t{end.value} - begin.value + 1;
   }
   return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, maxLeases));
}

// no-ping: else the first lease waits for three seconds.
void AddDhcp(Lines& lines, WantedDnsmasq const& files, NetworkSettings const& settings,
             Layout const& layout)
{
   auto const leases = GetLeases(settings.dhcp);
   lines.Add("dhcp-leasefile", files.leasePath);
   lines.Add("dhcp-optsfile", files.optionsPath);
   lines.Add("dhcp-authoritative");
   lines.Add("no-ping");
   lines.Add("dhcp-lease-max", std::to_string(CountLeases(layout)));
   if (!layout.ranges.empty()) {
      AddRanges(lines, layout, leases);
   }
   if (layout.ipv6) {
      AddIpv6(lines, layout, leases);
   }
}

std::string MakeConfiguration(WantedDnsmasq const& files, std::string const& device,
                              NetworkSettings const& settings, Layout const& layout,
                              HostFacts const& facts)
{
   Lines lines;
   AddProcess(lines, files, facts);
   AddBinding(lines, device);
   if (layout.gateway) {
      AddDns(lines, device, files);
   } else {
      lines.Add("port", "0");
   }
   if (!layout.ranges.empty() || layout.ipv6) {
      AddDhcp(lines, files, settings, layout);
   }
   return lines.ToString();
}

Address ChooseRouter(DhcpSettings const& dhcp, Layout const& layout, std::string const& device,
                     std::vector<std::string>& remarks)
{
   if (!dhcp.router || layout.subnet.IsHost(*dhcp.router)) {
      return dhcp.router.value_or(*layout.gateway);
   }
   remarks.push_back("tell guests of " + device + " the router " + dhcp.router->ToString() +
                     ": it is no host of " + layout.subnet.ToString());
   return *layout.gateway;
}

// An option without a value isn't sent, where dnsmasq would send itself.
std::string MakeOptions(std::string const& device, NetworkSettings const& settings,
                        Layout const& layout, std::vector<std::string>& remarks)
{
   auto const& dhcp = settings.dhcp;
   std::string router = "option:router";
   std::string dns = "option:dns-server";
   std::string rest;
   if (layout.gateway) {
      router += "," + ChooseRouter(dhcp, layout, device, remarks).ToString();
      dns += "," + dhcp.dnsServer.value_or(*layout.gateway).ToString();
      if (dhcp.netbiosServer) {
         rest += "option:netbios-ns," + dhcp.netbiosServer->ToString() + "\n";
      }
   }
   if (settings.mtu) {
      rest += "option:mtu," + std::to_string(*settings.mtu) + "\n";
   }
   if (layout.ipv6) {
      rest += "option6:dns-server,[" + layout.ipv6->gateway + "]\n";
   }
   return router + "\n" + dns + "\n" + rest;
}

std::string MakeServers(Layout const& layout, HostFacts const& facts)
{
   std::string servers;
   for (auto const& nameserver : facts.nameservers) {
      servers += layout.gateway ? "server=" + nameserver + "\n" : "";
   }
   return servers;
}

} // namespace

WantedDnsmasq PlaceDnsmasq(std::string const& device, HostFacts const& facts)
{
   std::string const folder = facts.runFolder + "/" + device;
   WantedDnsmasq dnsmasq;
   dnsmasq.configurationPath = folder + "/dnsmasq.conf";
   dnsmasq.optionsPath = folder + "/dnsmasq.options";
   dnsmasq.serversPath = folder + "/dnsmasq.servers";
   dnsmasq.pidPath = folder + "/dnsmasq.pid";
   dnsmasq.leasePath = facts.stateFolder + "/" + device + "/dnsmasq.leases";
   return dnsmasq;
}

WantedDnsmasq MakeDnsmasq(std::string const& device, NetworkSettings const& settings,
                          Layout const& layout, HostFacts const& facts,
                          std::vector<std::string>& remarks)
{
   auto dnsmasq = PlaceDnsmasq(device, facts);
   dnsmasq.configuration = MakeConfiguration(dnsmasq, device, settings, layout, facts);
   dnsmasq.options = MakeOptions(device, settings, layout, remarks);
   dnsmasq.servers = MakeServers(layout, facts);
   return dnsmasq;
}

} // namespace vnet::services
