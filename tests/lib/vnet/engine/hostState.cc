// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/engine/hostState.hh"

#include "support/testProcess.hh"
#include "vnet/process/runningProcess.hh"

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

namespace test {

namespace {

namespace fs = std::filesystem;
using netlab::Namespace;

std::string Replace(std::string const& text, char const* pattern, char const* with)
{
   return std::regex_replace(text, std::regex(pattern), with);
}

std::multiset<std::string> SortLines(std::string const& text)
{
   std::multiset<std::string> lines;
   std::istringstream stream(text);
   for (std::string line; std::getline(stream, line);) {
      lines.insert(line);
   }
   return lines;
}

std::string Sort(std::string const& text)
{
   std::string sorted;
   for (auto const& line : SortLines(text)) {
      sorted += line + "\n";
   }
   return sorted;
}

// Without indices, with the random addresses of veth devices left out.
void AddLinks(Namespace const& host, HostState& state)
{
   for (auto line : SortLines(host.Command("ip -d -o link show"))) {
      line = Replace(line, "^[0-9]+: ", "");
      line = Replace(line, "@[^:]*:", ":");
      line = Replace(line, "link-netns(id)? \\S+", "");
      line = Replace(line, "(hello|tcn|topology_change|gc)_timer +[0-9.]+", "");
      line = Replace(line, "qlen [0-9]+", "");
      line = Replace(line, "link/ether \\S+ (brd \\S+ .*veth)", "$1");
      line = Replace(line, "tv([ph])[0-9]+", "tv$1");
      state["link " + line.substr(0, line.find(':'))] = line;
   }
}

// In the namespace of the calling thread. Those that only root of the machine may read are left
// out.
void AddSysctls(HostState& state)
{
   fs::path const root("/proc/sys/net");
   std::error_code none;
   for (auto const* family : {"ipv4/conf", "ipv6/conf"}) {
      for (auto const& entry : fs::recursive_directory_iterator(root / family, none)) {
         if (entry.is_regular_file() && entry.path().filename() != "stable_secret") {
            auto const name =
               Replace(entry.path().lexically_relative(root), "tv([ph])[0-9]+", "tv$1");
            state["sysctl " + name] = ReadFile(entry.path());
         }
      }
   }
}

void AddFiles(std::string const& folder, HostState& state)
{
   std::error_code none;
   for (auto const& entry : fs::recursive_directory_iterator(folder, none)) {
      std::string const path = entry.path();
      bool const isOfProcess = path.ends_with(".pid") || path.ends_with(".process");
      bool const isDatabase = path.ends_with("networking.lock");
      if (entry.is_regular_file() && !isDatabase) {
         state["file " + path] =
            isOfProcess || path.ends_with(".leases") ? "present" : ReadFile(path);
      }
   }
}

std::vector<vnet::process::ProcessFacts> ListDnsmasqs()
{
   std::vector<vnet::process::ProcessFacts> ours;
   for (auto const& facts : vnet::process::FindProcesses({"/usr/sbin/dnsmasq"})) {
      if (facts.sameNetwork.value_or(false)) {
         ours.push_back(facts);
      }
   }
   return ours;
}

} // namespace

HostState TakeState(Namespace const& host)
{
   HostState state;
   AddLinks(host, state);
   state["addresses"] = Sort(Replace(
      Replace(host.Command("ip -o addr show"), "(^|\n)[0-9]+: ", "$1"), "tv[ph][0-9]+ .*\n", ""));
   state["routes"] = Sort(host.Command("ip route show table all"));
   state["routes 6"] = Sort(Replace(host.Command("ip -6 route show table all"),
                                    "[^\n]*(fe80|ff00|multicast|anycast)[^\n]*\n", ""));
   state["rules"] = Replace(host.Command("nft list ruleset"), "tv([ph])[0-9]+", "tv$1");
   AddFiles("/run/tavrin", state);
   AddFiles("/var/lib/tavrin", state);
   host.Run([&] {
      AddSysctls(state);
      std::multiset<std::string> arguments;
      for (auto const& facts : ListDnsmasqs()) {
         arguments.insert(facts.arguments.back());
      }
      for (auto const& each : arguments) {
         state["dnsmasq"] += each + "\n";
      }
   });
   return state;
}

HostState TakeIdentity(Namespace const& host)
{
   HostState identity;
   identity["links"] = Replace(host.Command("ip -o link show"), "([0-9]+: [^:]*:)[^\n]*", "$1");
   identity["tables"] = host.Command("nft -a list ruleset");
   host.Run([&] {
      for (auto const& facts : ListDnsmasqs()) {
         identity[facts.arguments.back()] = std::to_string(facts.identity.pid);
      }
   });
   return identity;
}

std::string Compare(HostState const& expected, HostState const& actual)
{
   std::string text;
   for (auto const& [subject, value] : expected) {
      auto const found = actual.find(subject);
      if (found == actual.end() || found->second != value) {
         text += subject + ": expected <" + value + ">, but it is <" +
                 (found == actual.end() ? "nothing" : found->second) + ">\n";
      }
   }
   for (auto const& [subject, value] : actual) {
      if (!expected.contains(subject)) {
         text += subject + ": unexpected <" + value + ">\n";
      }
   }
   return text;
}

} // namespace test
