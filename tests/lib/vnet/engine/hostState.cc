// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/engine/hostState.hh"

#include "support/testProcess.hh"
#include "vnet/process/runningProcess.hh"

#include <filesystem>
#include <fstream>
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

// Sorted, without indices, and without what the kernel does for each link in its own time.
std::string Select(std::string const& text)
{
   static std::regex const left("tv[ph][0-9]+ |fe80|ff00|multicast|anycast|linkdown");
   std::multiset<std::string> selected;
   for (auto const& line : SortLines(Replace(text, " linkdown", ""))) {
      if (!std::regex_search(line, left)) {
         selected.insert(Replace(line, "^[0-9]+: ", ""));
      }
   }
   std::string joined;
   for (auto const& line : selected) {
      joined += line + "\n";
   }
   return joined;
}

// Without indices, with the random addresses of veth devices left out.
void AddLinks(Namespace const& host, HostState& state)
{
   for (auto line : SortLines(host.Command("ip -d -o link show"))) {
      line = Replace(line, "^[0-9]+: ", "");
      // Carriers come and go in the kernel's own time.
      line = Replace(line, "NO-CARRIER,|,LOWER_UP|state [A-Z]+ ", "");
      line = Replace(line, "@[^:]*:", ":");
      line = Replace(line, "link-netns(id)? \\S+", "");
      line = Replace(line, "[a-z_]+_timer +[0-9.]+|tso_max_size [0-9]+", "");
      line = Replace(line, "qlen [0-9]+", "");
      line = Replace(line, "link/ether \\S+ (brd \\S+ .*veth)", "$1");
      line = Replace(line, "tv([ph])[0-9]+", "tv$1");
      state["link " + line.substr(0, line.find(':'))] = line;
   }
}

// Each table by itself: their order is that of their making. What sets learned is left out.
void AddRules(Namespace const& host, HostState& state)
{
   auto rules = Replace(host.Command("nft list ruleset"), "tv([ph])[0-9]+", "tv$1");
   rules = Replace(rules, "elements = \\{[^}]*expires[^}]*\\}", "");
   std::istringstream lines(rules);
   std::string table;
   for (std::string line; std::getline(lines, line);) {
      table = line.starts_with("table ") ? line : table;
      state[table] += line + "\n";
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
   state["addresses"] = Select(host.Command("ip -o addr show"));
   state["routes"] = Select(host.Command("ip -4 route show table all"));
   state["routes 6"] = Select(host.Command("ip -6 route show table all"));
   AddRules(host, state);
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

namespace {

std::string ListMissing(std::string const& lines, std::string const& other, char const* mark)
{
   auto const others = SortLines(other);
   std::string missing;
   for (auto const& line : SortLines(lines)) {
      if (!others.contains(line)) {
         missing += std::string("   ") + mark + line + "\n";
      }
   }
   return missing;
}

std::string Get(HostState const& state, std::string const& subject)
{
   auto const found = state.find(subject);
   return found == state.end() ? "" : found->second;
}

} // namespace

testing::AssertionResult AreEqual(HostState const& expected, HostState const& actual)
{
   if (expected == actual) {
      return testing::AssertionSuccess() << "equal";
   }
   auto all = expected;
   all.insert(actual.begin(), actual.end());
   auto result = testing::AssertionFailure();
   for (auto const& [subject, value] : all) {
      auto const wanted = Get(expected, subject);
      auto const found = Get(actual, subject);
      if (wanted != found || expected.contains(subject) != actual.contains(subject)) {
         result << "\n"
                << subject << ":\n"
                << ListMissing(wanted, found, "- ") << ListMissing(found, wanted, "+ ");
      }
   }
   return result;
}

void WriteText(std::string const& path, std::string const& text)
{
   std::ofstream file(path, std::ios::trunc);
   file << text << std::flush;
   ASSERT_TRUE(file.good()) << path;
}

} // namespace test
