// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/hostSwitches.hh"

#include "vnet/engine/failures.hh"
#include "vnet/host/sysctl.hh"
#include "vnet/process/smallFile.hh"
#include "vnet/values/settings.hh"

#include <algorithm>
#include <sstream>
#include <utility>

namespace vnet::engine {

namespace {

// A value of several words isn't a switch; an empty one couldn't be read back.
bool CanBeNoted(std::string const& value)
{
   return !value.empty() && value.find_first_of(" \t\n") == std::string::npos;
}

} // namespace

bool HostSwitches::Switch::Is(services::WantedSysctl const& wanted) const
{
   return family == wanted.family && device == wanted.device && name == wanted.name &&
          ours == wanted.value;
}

HostSwitches::HostSwitches(host::Sysctl const& kernel, std::string const& runFolder)
   : sysctl(kernel), folder(runFolder), path(runFolder + "/switches")
{}

// A line each: "ipv4 eth0 forwarding 1 0 8 9" was 0, is 1, and is used by the networks 8 and 9.
HostSwitches::Switches HostSwitches::Parse(std::string const& text)
{
   Switches switches;
   std::istringstream lines(text);
   for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      Switch one;
      words >> one.family >> one.device >> one.name >> one.ours >> one.before;
      for (unsigned int index = 0; words >> index;) {
         one.users.insert(index);
      }
      if (!one.before.empty()) {
         switches.push_back(one);
      }
   }
   return switches;
}

// Each network asks, and the more there are the longer it takes to parse.
HostSwitches::Switches const& HostSwitches::Read()
{
   auto text = process::ReadTrustedFile(path).value_or("");
   if (text != lastText) {
      lastSwitches = Parse(text);
      lastText = std::move(text);
   }
   return lastSwitches;
}

void HostSwitches::Write(Switches const& switches) const
{
   std::string text;
   for (auto const& one : switches) {
      text += one.family + " " + one.device + " " + one.name + " " + one.ours + " " + one.before;
      for (unsigned int const index : one.users) {
         text += " " + std::to_string(index);
      }
      text += "\n";
   }
   if (text.empty()) {
      process::RemoveFile(path);
      return;
   }
   process::MakeFolder(folder);
   process::ReplaceFile(path, text);
}

bool HostSwitches::HasAll(unsigned int index, std::vector<services::WantedSysctl> const& wanted)
{
   auto const& switches = Read();
   std::ptrdiff_t used = std::ranges::count_if(
      switches, [index](Switch const& one) { return one.users.contains(index); });
   for (auto const& each : wanted) {
      auto const now = sysctl.Read(each.family, each.device, each.name);
      if (!now || !CanBeNoted(*now)) {
         continue;
      }
      bool const noted = std::ranges::any_of(
         switches, [&](Switch const& one) { return one.Is(each) && one.users.contains(index); });
      if (!noted || now != each.value) {
         return false;
      }
      --used;
   }
   // The rest is no longer wanted, or of a device that went.
   return used == 0;
}

std::set<unsigned int> HostSwitches::ListUsers()
{
   std::set<unsigned int> users;
   for (auto const& one : Read()) {
      users.insert(one.users.begin(), one.users.end());
   }
   return users;
}

void HostSwitches::Use(unsigned int index, std::vector<services::WantedSysctl> const& wanted)
{
   if (HasAll(index, wanted)) {
      return;
   }
   Failures failures;
   auto switches = Read();
   for (auto one = switches.rbegin(); one != switches.rend(); ++one) {
      bool const stays =
         std::ranges::any_of(wanted, [&](auto const& each) { return one->Is(each); });
      if (!stays) {
         failures.Try([&] { LetGo(index, *one); });
      }
   }
   std::erase_if(switches, [](Switch const& one) { return one.users.empty(); });
   Write(switches);
   // A host that forwards before it was told to heed router advertisements all the same loses the
   // routes that it has from them.
   for (auto const& each : wanted) {
      if (!failures.Try([&] { Take(switches, index, each); })) {
         break;
      }
   }
   failures.Throw("set switches of the host for", GetNetworkName(index));
}

void HostSwitches::Take(Switches& switches, unsigned int index,
                        services::WantedSysctl const& wanted)
{
   auto found = std::ranges::find_if(switches, [&](Switch const& one) { return one.Is(wanted); });
   auto const now = sysctl.Read(wanted.family, wanted.device, wanted.name);
   if (!now || !CanBeNoted(*now)) {
      return;
   }
   if (found == switches.end()) {
      switches.push_back({wanted.family, wanted.device, wanted.name, wanted.value, *now, {}});
      found = switches.end() - 1;
   }
   if (found->users.insert(index).second) {
      Write(switches);
   }
   sysctl.Write(wanted.family, wanted.device, wanted.name, wanted.value);
}

void HostSwitches::LetGo(unsigned int index, Switch& one)
{
   if (one.users != std::set<unsigned int>{index}) {
      one.users.erase(index);
      return;
   }
   GiveBack(one);
   one.users.clear();
}

void HostSwitches::GiveBack(Switch const& one) const
{
   if (sysctl.Read(one.family, one.device, one.name) != one.ours) {
      return;
   }
   // Someone made the whole host a router since: then every device forwards.
   if (one.family == "ipv4" && one.name == "forwarding" &&
       sysctl.Read("ipv4", "all", "forwarding") == "1") {
      return;
   }
   sysctl.Write(one.family, one.device, one.name, one.before);
}

} // namespace vnet::engine
