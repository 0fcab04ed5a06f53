// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/faults/faultList.hh"

#include <cstdlib>
#include <map>
#include <regex>
#include <set>
#include <sys/syscall.h>

namespace test {

namespace {

std::string GetMoment(SystemCall const& before, SystemCall const& call)
{
   static std::regex const number("[0-9]+");
   auto const text = (call.process > 0 ? "child " : "") +
                     (before.process == call.process ? before.ToString() : "") + ", " +
                     call.ToString();
   return std::regex_replace(text, number, "#");
}

// Those that can fail, each moment once.
std::vector<SystemCall> ListMoments(std::vector<SystemCall> const& calls)
{
   std::vector<SystemCall> moments;
   std::set<std::string> seen;
   std::map<int, SystemCall> before;
   for (auto const& call : calls) {
      auto const* kind = FindCallKind(call.number);
      // The report on the run is no part of it.
      bool const isReport = call.object.starts_with("/memfd:");
      if (kind && !kind->errors.empty() && !isReport &&
          seen.insert(GetMoment(before[call.process], call)).second) {
         moments.push_back(call);
      }
      before[call.process] = call;
   }
   return moments;
}

} // namespace

std::vector<Fault> ListFailures(std::vector<SystemCall> const& calls)
{
   std::vector<Fault> faults;
   for (auto const& call : ListMoments(calls)) {
      auto const* kind = FindCallKind(call.number);
      for (int const error : kind->errors) {
         faults.push_back({call.process, call.index, call.number, Fault::Kind::Fail, error});
      }
      if (kind->shortens) {
         faults.push_back({call.process, call.index, call.number, Fault::Kind::Shorten, 0});
      }
      if (call.number == SYS_execve) {
         faults.push_back({call.process, call.index, call.number, Fault::Kind::KillProgram, 0});
      }
   }
   return faults;
}

std::vector<Fault> ListDeaths(std::vector<SystemCall> const& calls)
{
   std::vector<Fault> faults;
   for (auto const& call : ListMoments(calls)) {
      faults.push_back({call.process, call.index, call.number, Fault::Kind::Kill, 0});
   }
   return faults;
}

std::vector<Fault> Thin(std::vector<Fault> const& faults, std::size_t count)
{
   if (count == 0 || count >= faults.size()) {
      return faults;
   }
   std::vector<Fault> some;
   for (std::size_t at = 0; at < count; ++at) {
      some.push_back(faults[at * faults.size() / count]);
   }
   return some;
}

std::size_t GetCount(char const* variable, std::size_t few)
{
   auto const* text = std::getenv(variable);
   return text ? static_cast<std::size_t>(std::atol(text)) : few;
}

} // namespace test
