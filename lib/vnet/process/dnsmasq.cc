// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/dnsmasq.hh"

#include "base/log.h"
#include "vnet/process/childProcess.hh"
#include "vnet/process/smallFile.hh"
#include "vnet/values/error.hh"

#include <charconv>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;

constexpr Milliseconds startDeadline{10000};
constexpr Milliseconds stopDeadline{2000};
constexpr int attempts = 5;
constexpr Milliseconds pauseBetween{20};

// As the kernel names it; a program that isn't there keeps its name.
std::string Resolve(std::string const& program)
{
   std::error_code none;
   auto const path = fs::canonical(program, none);
   return none ? program : path.string();
}

std::string FindFolder(std::string const& path)
{
   return fs::path(path).parent_path().string();
}

std::string GetLastLine(std::string const& text)
{
   std::istringstream lines(text);
   std::string last;
   for (std::string line; std::getline(lines, line);) {
      last = line.empty() ? last : line;
   }
   return last;
}

// A program that starts may still have something to say.
void LogLines(std::string const& text)
{
   std::istringstream lines(text);
   for (std::string line; std::getline(lines, line);) {
      Log("%s\n", line.c_str());
   }
}

} // namespace

Dnsmasq::Dnsmasq(DnsmasqFiles filesOfNetwork, std::string programPath, Unit unitOfNetwork)
   : files(std::move(filesOfNetwork)), program(Resolve(programPath)),
     unit(std::move(unitOfNetwork)), record(FindFolder(files.configuration) + "/dnsmasq.process")
{}

std::vector<std::string> Dnsmasq::GetArguments() const
{
   return {program, "--conf-file=" + files.configuration};
}

// The same files may be in use in another network namespace.
bool Dnsmasq::IsOurs(ProcessFacts const& facts) const
{
   return facts.arguments == GetArguments() && facts.sameNetwork.value_or(true) &&
          (facts.executable.empty() || facts.executable == program);
}

std::optional<ProcessFacts> Dnsmasq::FindRunning() const
{
   auto const facts = FindRecorded();
   bool const stopped = facts && facts->state == 'T';
   return facts && IsOurs(*facts) && !stopped ? facts : std::nullopt;
}

// A unit's that died was started anew by the manager. As long as there is a record, it has read the
// very files that the record stands for.
std::optional<ProcessFacts> Dnsmasq::FindRecorded() const
{
   auto const facts = record.FindLiving(program);
   return facts || !unit || !record.Read() ? facts : FindNamed();
}

// The one that dnsmasq's own file names. That may have become its user's, so what it names has to
// be looked at.
std::optional<ProcessFacts> Dnsmasq::FindNamed() const
{
   auto const text = ReadSmallFile(files.pid).value_or("");
   pid_t pid = 0;
   std::from_chars(text.data(), text.data() + text.size(), pid);
   return pid > 0 ? FindProcess(pid) : std::nullopt;
}

bool Dnsmasq::IsRunning() const
{
   return FindRunning().has_value();
}

bool Dnsmasq::HasConfiguration(DnsmasqTexts const& texts) const
{
   auto const remembered = record.Read();
   return remembered && remembered->note == texts.link &&
          ReadTrustedFile(files.configuration) == texts.configuration;
}

bool Dnsmasq::HasReloaded(DnsmasqTexts const& texts) const
{
   return ReadTrustedFile(files.options) == texts.options &&
          ReadTrustedFile(files.servers) == texts.servers;
}

void Dnsmasq::WriteReloaded(DnsmasqTexts const& texts) const
{
   ReplaceFile(files.options, texts.options);
   ReplaceFile(files.servers, texts.servers);
}

bool Dnsmasq::Runs(DnsmasqTexts const& texts) const
{
   return FindRunning() && HasConfiguration(texts) && HasReloaded(texts);
}

DnsmasqChange Dnsmasq::Apply(DnsmasqTexts const& texts) const
{
   auto const running = FindRunning();
   if (running && HasConfiguration(texts)) {
      if (HasReloaded(texts)) {
         return DnsmasqChange::None;
      }
      Reload(*running, texts);
      return DnsmasqChange::Reloaded;
   }
   bool const interrupted = !running && HasLeftovers();
   bool const ended = EndAll();
   WriteFiles(texts);
   Launch(interrupted);
   record.Write({ReadStarted(), texts.link});
   return ended ? DnsmasqChange::Restarted : DnsmasqChange::Started;
}

void Dnsmasq::Reload(ProcessFacts const& running, DnsmasqTexts const& texts) const
{
   record.Remove();
   WriteReloaded(texts);
   auto const handle = ProcessHandle::Open(running.identity);
   if (!handle) {
      throw Error("reload", "dnsmasq with " + files.configuration, "it has ended");
   }
   handle->Signal(SIGHUP);
   record.Write({running.identity, texts.link});
}

// Of a start that was cut short, or of one that died.
bool Dnsmasq::HasLeftovers() const
{
   return MayExist(files.configuration) || MayExist(files.pid);
}

// Ends the one that is known. Looks for others only where something of ours was left, as a look at
// all processes of the host takes its time.
bool Dnsmasq::EndAll() const
{
   auto const running = FindRunning();
   if (!running && !HasLeftovers()) {
      return false;
   }
   EndUnit();
   if (!running) {
      record.Remove();
      return EndStrays();
   }
   bool const ended = End(*running) || unit;
   record.Remove();
   return ended;
}

// A manager that can't be asked doesn't keep us from ending it. One that is asked to end is not
// started anew.
void Dnsmasq::EndUnit() const
{
   try {
      if (unit) {
         unit.Stop();
      }
   } catch (Error const& error) {
      Warning("%s\n", error.what());
   }
}

// One that just starts may make another while we look, and be gone by then: whoever found one looks
// again.
bool Dnsmasq::EndStrays() const
{
   bool found = false;
   for (bool more = true; more;) {
      more = false;
      for (auto const& facts : FindProcesses(GetArguments())) {
         // Not knowing isn't enough: it may be a container's.
         if (facts.sameNetwork.has_value() && IsOurs(facts)) {
            End(facts);
            more = true;
         }
      }
      found = found || more;
   }
   return found;
}

bool Dnsmasq::End(ProcessFacts const& facts) const
{
   auto const handle = ProcessHandle::Open(facts.identity);
   if (handle) {
      handle->Terminate(stopDeadline);
   }
   return handle.has_value();
}

void Dnsmasq::WriteFiles(DnsmasqTexts const& texts) const
{
   MakeFolder(FindFolder(files.configuration));
   MakeFolder(FindFolder(files.leases));
   // dnsmasq opens it as root, and follows where it leads.
   if (RemoveUnlessOurs(files.leases)) {
      Warning("%s: it was no plain file of ours, and was removed\n", files.leases.c_str());
   }
   RemoveFile(files.pid);
   WriteReloaded(texts);
   ReplaceFile(files.configuration, texts.configuration);
}

void Dnsmasq::Launch(bool interrupted) const
{
   if (unit) {
      unit.Start();
   } else {
      LaunchOwn(interrupted);
   }
}

// The first process is killed with us: else it could take its place after whoever comes next looked
// for strays. What it made by then is found by its arguments. One that is just dying has lost its
// arguments and has its sockets for a moment longer.
void Dnsmasq::LaunchOwn(bool interrupted) const
{
   for (int attempt = 1;; ++attempt) {
      auto const completion = RunToEnd(
         {.arguments = GetArguments(), .newSession = true, .endsWithUs = true}, startDeadline);
      if (completion.ending.IsSuccess()) {
         LogLines(completion.errors);
         return;
      }
      bool const mayHelp = EndStrays() || interrupted;
      if (attempt == attempts || !mayHelp) {
         auto const words = GetLastLine(completion.errors);
         throw Error("start", "dnsmasq with " + files.configuration,
                     words.empty() ? completion.ending.ToString() : words);
      }
      std::this_thread::sleep_for(pauseBetween);
   }
}

// The first process ends when the one that stays has bound its sockets, given its rights up and
// written its number down.
Identity Dnsmasq::ReadStarted() const
{
   auto const facts = FindNamed();
   if (!facts || !IsOurs(*facts)) {
      throw Error("start", "dnsmasq with " + files.configuration, "it is gone again");
   }
   return facts->identity;
}

void Dnsmasq::Stop() const
{
   EndAll();
   record.Remove();
   for (auto const& path : {files.pid, files.options, files.servers, files.configuration}) {
      RemoveFile(path);
   }
   // Others may keep files there, too.
   rmdir(FindFolder(files.configuration).c_str());
}

} // namespace vnet::process
