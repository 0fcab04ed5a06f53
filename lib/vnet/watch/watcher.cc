// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/watcher.hh"

#include "base/log.h"
#include "vnet/host/addresses.hh"
#include "vnet/host/links.hh"
#include "vnet/host/routes.hh"
#include "vnet/services/plan.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vnet::watch {

namespace {

using Milliseconds = std::chrono::milliseconds;

// A host whose links change without end is compared twice a second.
constexpr Milliseconds longestHostGap(500);
// A tool that doesn't let our rules be is put right twice a minute.
constexpr Milliseconds longestRulesGap(30000);
// From here on, putting back is a fight.
constexpr Milliseconds fightGap(1000);
// An answer that is due so soon takes in what happens until then.
constexpr Milliseconds soon(500);
constexpr unsigned int maxRetries = 5;

process::Identity GetSelf()
{
   auto const self = process::FindProcess(getpid());
   if (!self) {
      throw Error("find", "this process", "It isn't in /proc");
   }
   return self->identity;
}

Database::Place MakeDatabasePlace(engine::Place const& place)
{
   return {place.databaseFolder + "/networking", place.runFolder, Milliseconds(0)};
}

engine::Place WithoutWatcher(engine::Place place)
{
   place.ensureWatcher = nullptr;
   place.stopWatcher = nullptr;
   return place;
}

int ToTimeout(std::optional<Clock::time_point> due)
{
   if (!due) {
      return -1;
   }
   auto const left = std::chrono::ceil<Milliseconds>(*due - Clock::now());
   return static_cast<int>(std::max<Milliseconds::rep>(left.count(), 0));
}

std::optional<Clock::time_point> GetEarlier(std::optional<Clock::time_point> one,
                                            std::optional<Clock::time_point> other)
{
   return one && other ? std::min(one, other) : one ? one : other;
}

std::string Describe(Findings const& found)
{
   std::string text = found.patches ? "bridged adapters" : "";
   for (unsigned int const index : found.networks) {
      text += (text.empty() ? "" : ", ") + GetNetworkName(index);
   }
   return text;
}

} // namespace

Watcher::Watcher(engine::Place const& place)
   : databasePlace(MakeDatabasePlace(place)), record(place.runFolder), self(GetSelf()),
     resolver(place.resolvFile), lockTaker(place.runFolder), engine(WithoutWatcher(place)),
     filter(host::FindOwnProcess()), hostPace(longestHostGap), rulesPace(longestRulesGap)
{
   Learn();
   hostPace.Note(Clock::now());
}

Watcher::Ending Watcher::Run()
{
   for (;;) {
      Wait();
      if (auto const ending = Step()) {
         return *ending;
      }
   }
}

std::optional<Clock::time_point> Watcher::GetAnswerDue() const
{
   auto const due = GetEarlier(hostPace.GetDue(), rulesPace.GetDue());
   return due ? std::optional(std::max(*due, lockTaker.GetNextTime())) : std::nullopt;
}

void Watcher::Wait()
{
   auto const due = GetAnswerDue();
   bool const isSoon = due && *due < Clock::now() + soon;
   pollfd watched[] = {{signals.GetDescriptor(), POLLIN, 0},
                       {isSoon ? -1 : events.GetDescriptor(), POLLIN, 0},
                       {isSoon ? -1 : resolver.GetDescriptor(), POLLIN, 0}};
   int const timeout = ToTimeout(GetEarlier(due, lans.GetDue()));
   if (poll(watched, std::size(watched), timeout) < 0 && errno != EINTR) {
      throw Error("wait for", "events", std::strerror(errno));
   }
}

std::optional<Watcher::Ending> Watcher::Step()
{
   auto const request = signals.Read();
   if (request == Signals::Request::End) {
      return Ending::Asked;
   }
   if (request == Signals::Request::Look) {
      // Whoever wakes us changed rules for good reason.
      rulesPace.StartOver();
      hostPace.Note(Clock::now());
   }
   if (resolver.Read()) {
      hostPace.Note(Clock::now());
   }
   ReadEvents();
   lans.Tell();
   auto const due = GetAnswerDue();
   return due && *due <= Clock::now() ? Answer() : std::nullopt;
}

void Watcher::ReadEvents()
{
   for (auto const& event : events.Read()) {
      filter.Look(event, findings);
   }
   if (std::exchange(findings.lost, false)) {
      Learn();
   }
   if (std::exchange(findings.host, false)) {
      hostPace.Note(Clock::now());
   }
   if (findings.HasRules()) {
      rulesPace.Note(Clock::now());
   }
}

void Watcher::Learn()
{
   auto const links = host::Links(socket).List();
   filter.Learn(links, host::Addresses(socket).List(), host::Routes(socket).List(AF_INET));
   for (auto const& link : links) {
      if (link.carrier) {
         findings.carriers.insert(link.name);
      }
   }
}

std::optional<Watcher::Ending> Watcher::Answer()
{
   auto const lock = lockTaker.Try();
   if (!lock) {
      return {};
   }
   if (!claimed && !Claim()) {
      return Ending::Another;
   }
   // What happened up to here is answered with the rest.
   ReadEvents();
   Attempt([this] { Compare(); });
   if (!FollowNetworks()) {
      flows.End();
      record.Remove();
      return Ending::Unneeded;
   }
   return {};
}

bool Watcher::FollowNetworks()
{
   try {
      auto present = engine.ListPresent();
      if (present.empty()) {
         return false;
      }
      flows.Keep(LeaveOutBridged(std::move(present)));
      return true;
   } catch (Error const& error) {
      LogV(LOG_SEVERITY_FAILURE, "%s\n", error.what());
      return true;
   }
}

// Theirs aren't translated, and the host passes nothing on for them whatever the rules are.
// Tracking their connections too, where the host filters bridges, would slow them.
std::set<unsigned int> Watcher::LeaveOutBridged(std::set<unsigned int> networks) const
{
   if (database) {
      std::erase_if(networks, [this](unsigned int index) {
         return services::FindKind(database->GetSettings(), index) == services::Kind::Bridged;
      });
   }
   return networks;
}

// Whoever started us noted it, unless that was by hand, or it died over it.
bool Watcher::Claim()
{
   auto const living = record.FindLiving();
   if (living && *living != self) {
      return false;
   }
   record.Write(self);
   claimed = true;
   return true;
}

// What can't be done now is tried a few times more, and then with the next change.
template <class Work>
void Watcher::Attempt(Work work)
{
   try {
      work();
      failures = 0;
   } catch (Error const& error) {
      LogV(LOG_SEVERITY_FAILURE, "%s\n", error.what());
      if (++failures <= maxRetries) {
         hostPace.Note(Clock::now());
      }
   }
}

// As it stands now. If it can't be read any more, what was read before counts.
Settings const& Watcher::ReadSettings()
{
   if (database) {
      database->Refresh();
   } else {
      database.emplace(databasePlace);
   }
   return database->GetSettings();
}

void Watcher::Compare()
{
   auto const now = Clock::now();
   bool const all = hostPace.IsDue(now);
   bool const rules = findings.HasRules() && (all || rulesPace.IsDue(now));
   auto const found = TakeFindings(all);
   if (all) {
      hostPace.Answer(now);
   }
   if (rules) {
      rulesPace.Answer(now);
      TellOfRules(found);
   }
   auto const& settings = ReadSettings();
   if (all || found.patches) {
      engine.Reconcile(settings);
      lans.Look(found.carriers);
   } else {
      CompareNetworks(settings, found.networks);
   }
   ports.Keep(engine.ListForwards(settings));
}

// Carriers are for who looks at the adapters.
Findings Watcher::TakeFindings(bool all)
{
   auto found = std::exchange(findings, {});
   if (!all && !found.patches) {
      std::swap(findings.carriers, found.carriers);
   }
   return found;
}

void Watcher::CompareNetworks(Settings const& settings, std::set<unsigned int> const& networks)
{
   std::optional<Error> failure;
   for (unsigned int const index : networks) {
      try {
         engine.Reconcile(settings, index);
      } catch (Error const& error) {
         failure = error;
      }
   }
   if (failure) {
      throw Error(*failure);
   }
}

void Watcher::TellOfRules(Findings const& found)
{
   auto const object = Describe(found);
   bool const fights = rulesPace.GetGap() >= fightGap;
   Log("compare the rules of %s: process %u changed them\n", object.c_str(),
       static_cast<unsigned int>(found.intruder));
   if (fights && !fighting) {
      Warning("keep the rules of %s: process %u changes them again and again; they come back ever "
              "later\n",
              object.c_str(), static_cast<unsigned int>(found.intruder));
   }
   fighting = fights;
}

} // namespace vnet::watch
