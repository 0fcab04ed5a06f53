// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/watcherControl.hh"

#include "base/log.h"
#include "vnet/process/childProcess.hh"
#include "vnet/values/error.hh"
#include "vnet/watch/hostUnits.hh"
#include "vnet/watch/watcherRecord.hh"

#include <cerrno>
#include <chrono>
#include <optional>
#include <sys/wait.h>
#include <utility>

namespace vnet::watch {

namespace {

// For a watcher to end that isn't doing anything, on a busy machine.
constexpr std::chrono::seconds patience(5);

// A watcher that this process started outlives it, but while both live it is a child. Its number
// is nobody else's until it is reaped.
pid_t ownChild = 0;

void ReapOwn()
{
   if (ownChild > 0 && waitpid(ownChild, nullptr, WNOHANG) != 0) {
      ownChild = 0;
   }
}

void Wake(process::Identity const& identity)
{
   // One that ends just now is no watcher of ours to care for: who ends it holds the lock.
   if (auto const handle = process::ProcessHandle::Open(identity)) {
      handle->Signal(wakeSignal);
   }
}

void Start(std::string const& runFolder, std::string const& program)
{
   process::Command command;
   command.arguments = {program, "watch", runFolder};
   command.newSession = true;
   // It is a program of ours, which gives up by itself what it doesn't need.
   command.capabilities = ~base::CapabilitySet{0};
   command.captureErrors = false;
   auto child = process::ChildProcess::Start(command);
   auto const started = process::FindProcess(child.GetPid());
   if (!started) {
      throw Error("start", program, "It ended at once");
   }
   WatcherRecord(runFolder).Write(started->identity);
   ownChild = child.GetPid();
   child.Detach();
}

} // namespace

// The manager runs no second one. It reads the database when it has the lock for the first time,
// and is noted then.
void EnsureWatcher(std::shared_ptr<process::Units> const& units, std::string const& runFolder)
{
   if (!units || IsWatcherRunning(runFolder)) {
      EnsureWatcher(runFolder);
   } else {
      units->Start(watcherUnit);
   }
}

// The manager first, so that it doesn't start it again. One that can't be asked doesn't keep us
// from ending it.
void StopWatcher(std::shared_ptr<process::Units> const& units, std::string const& runFolder)
{
   try {
      if (units) {
         units->Stop(watcherUnit);
      }
   } catch (Error const& error) {
      Warning("%s\n", error.what());
   }
   StopWatcher(runFolder);
}

void EnsureWatcher(std::string const& runFolder, std::string const& program)
{
   ReapOwn();
   if (auto const running = WatcherRecord(runFolder).FindLiving()) {
      Wake(*running);
   } else {
      Start(runFolder, program);
   }
}

void StopWatcher(std::string const& runFolder)
{
   WatcherRecord const record(runFolder);
   if (auto const running = record.FindLiving()) {
      if (auto const handle = process::ProcessHandle::Open(*running)) {
         handle->Terminate(patience);
      }
   }
   ReapOwn();
   record.Remove();
}

bool IsWatcherRunning(std::string const& runFolder)
{
   ReapOwn();
   return WatcherRecord(runFolder).FindLiving().has_value();
}

} // namespace vnet::watch
