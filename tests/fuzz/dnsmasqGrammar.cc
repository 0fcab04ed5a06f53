// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz/dnsmasqGrammar.hh"

#include <algorithm>
#include <map>
#include <vector>

namespace fuzz {

namespace {

using Lines = std::vector<std::string>;

// A line with values in it, each as <kind>.
constexpr char const* configurationForms[] = {
   "user=<user>",
   "group=<group>",
   "pid-file=<run>/<device>/dnsmasq.pid",
   "interface=<device>",
   "except-interface=lo",
   "bind-interfaces",
   "port=0",
   "no-hosts",
   "no-resolv",
   "servers-file=<run>/<device>/dnsmasq.servers",
   "strict-order",
   "domain-needed",
   "domain=<device>.internal",
   "local=/<device>.internal/",
   "dhcp-name-match=set:wpad,wpad",
   "dhcp-ignore-names=tag:wpad",
   "dhcp-leasefile=<state>/<device>/dnsmasq.leases",
   "dhcp-optsfile=<run>/<device>/dnsmasq.options",
   "dhcp-authoritative",
   "no-ping",
   "dhcp-lease-max=<leases>",
   "dhcp-match=set:asks,51",
   "dhcp-range=tag:asks,<host>,<host>,<mask>,<seconds>",
   "dhcp-range=tag:!asks,<host>,<host>,<mask>,<seconds>",
   "enable-ra",
   "quiet-ra",
   "dhcp-range=<host6>,ra-only,<length>",
   "dhcp-range=<host6>,<host6>,<length>,<seconds>",
   "dhcp-range=<host6>,<host6>,slaac,<length>,<seconds>",
};

constexpr char const* optionForms[] = {
   "option:router",
   "option:router,<host>",
   "option:dns-server",
   "option:dns-server,<address>",
   "option:netbios-ns,<address>",
   "option:mtu,<mtu>",
   "option6:dns-server,[<host6>]",
};

// Without these dnsmasq would serve others, or as root.
constexpr char const* required[] = {
   "user=", "group=", "pid-file=", "interface=", "except-interface=", "bind-interfaces"};

bool IsValue(std::string const& kind, std::string const& text, Permitted const& permitted)
{
   auto const& facts = permitted.GetFacts();
   if (kind == "user" || kind == "group") {
      return text == (kind == "user" ? facts.dnsmasqUser : facts.dnsmasqGroup);
   }
   if (kind == "run" || kind == "state") {
      return text == (kind == "run" ? facts.runFolder : facts.stateFolder);
   }
   if (kind == "host6") {
      return permitted.IsHost6(text);
   }
   if (kind == "mask") {
      return IsMask(text);
   }
   static std::map<std::string, std::uint32_t> const largest = {
      {"leases", 65536}, {"seconds", 0x7fffffff}, {"length", 125}, {"mtu", 9194}};
   if (auto const found = largest.find(kind); found != largest.end()) {
      return IsNumberTo(text, found->second);
   }
   return kind == "device"    ? text == permitted.GetDevice()
          : kind == "host"    ? permitted.IsHost(text)
          : kind == "address" ? permitted.IsAddress(text)
                              : false;
}

// How many bytes of the line a value takes that stands before this byte of the form; '\0': all.
std::size_t FindValueEnd(std::string const& kind, std::string_view line, char next,
                         Permitted const& permitted)
{
   auto const& facts = permitted.GetFacts();
   if (kind == "run" || kind == "state") {
      return (kind == "run" ? facts.runFolder : facts.stateFolder).size();
   }
   return next == '\0' ? line.size() : line.find(next);
}

bool HasForm(std::string_view line, std::string_view form, Permitted const& permitted)
{
   while (!form.empty()) {
      if (form[0] != '<') {
         if (line.empty() || line[0] != form[0]) {
            return false;
         }
         line.remove_prefix(1);
         form.remove_prefix(1);
         continue;
      }
      std::size_t const close = form.find('>');
      std::string const kind(form.substr(1, close - 1));
      form.remove_prefix(close + 1);
      std::size_t const end = FindValueEnd(kind, line, form.empty() ? '\0' : form[0], permitted);
      if (end > line.size() || !IsValue(kind, std::string(line.substr(0, end)), permitted)) {
         return false;
      }
      line.remove_prefix(end);
   }
   return line.empty();
}

// Each with its newline taken away; what follows the last newline is a line of its own.
Lines Split(std::string const& text)
{
   Lines lines;
   std::size_t begin = 0;
   for (std::size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
      lines.push_back(text.substr(begin, end - begin));
   }
   if (begin < text.size()) {
      lines.push_back(text.substr(begin) + " without an end");
   }
   return lines;
}

template <class Forms>
std::string FindBadLine(Lines const& lines, Forms const& forms, Permitted const& permitted)
{
   for (auto const& line : lines) {
      bool const known = std::ranges::any_of(
         forms, [&](char const* form) { return HasForm(line, form, permitted); });
      if (!known) {
         return "\"" + line + "\"";
      }
   }
   return {};
}

// dnsmasq takes the last of two, or both.
std::string FindRepetition(Lines lines)
{
   std::erase_if(lines, [](std::string const& line) { return line.starts_with("dhcp-range="); });
   for (auto& line : lines) {
      line = line.substr(0, line.find_first_of("=,"));
   }
   std::ranges::sort(lines);
   auto const twice = std::ranges::adjacent_find(lines);
   return twice == lines.end() ? "" : "twice " + *twice;
}

std::string FindMissing(Lines const& lines)
{
   for (std::string const start : required) {
      if (std::ranges::none_of(lines, [&](auto const& line) { return line.starts_with(start); })) {
         return "no " + start;
      }
   }
   return {};
}

std::string FindBadServer(Lines const& lines, Permitted const& permitted)
{
   auto const& known = permitted.GetFacts().nameservers;
   for (auto const& line : lines) {
      bool const server =
         line.starts_with("server=") && std::ranges::find(known, line.substr(7)) != known.end();
      if (!server) {
         return "\"" + line + "\"";
      }
   }
   return {};
}

} // namespace

std::string FindBadDnsmasqLine(vnet::services::WantedDnsmasq const& files,
                               Permitted const& permitted)
{
   Lines const configuration = Split(files.configuration);
   Lines const options = Split(files.options);
   for (auto const& fault :
        {FindBadLine(configuration, configurationForms, permitted),
         FindBadLine(options, optionForms, permitted), FindRepetition(configuration),
         FindRepetition(options), FindMissing(configuration),
         FindBadServer(Split(files.servers), permitted)}) {
      if (!fault.empty()) {
         return fault;
      }
   }
   return {};
}

} // namespace fuzz
