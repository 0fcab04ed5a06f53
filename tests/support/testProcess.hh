// SPDX-License-Identifier: GPL-2.0-or-later
// Processes, pipes and folders of a test, each ended by its owner.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace test {

using Milliseconds = std::chrono::milliseconds;
// Long enough for a busy machine; reaching it is a failure.
#ifdef __SANITIZE_ADDRESS__
inline constexpr Milliseconds patience{100000};
#else
inline constexpr Milliseconds patience{20000};
#endif

// A folder that goes with its owner.
class TempDir {
public:
   TempDir();
   ~TempDir();
   TempDir(TempDir const&) = delete;
   TempDir& operator=(TempDir const&) = delete;

   std::filesystem::path const& GetPath() const { return path; }
   // Writes a file below it, in folders that are made if need be, and returns the file's path.
   std::string Write(std::string const& name, std::string const& text) const;

private:
   std::filesystem::path path;
};

// The whole file; empty if it isn't there.
std::string ReadFile(std::filesystem::path const& path);

// Both ends are inherited by children, as the program's own pipes are.
class Pipe {
public:
   Pipe();
   ~Pipe();
   Pipe(Pipe const&) = delete;
   Pipe& operator=(Pipe const&) = delete;

   int GetReadEnd() const { return ends[0]; }
   int GetWriteEnd() const { return ends[1]; }
   void CloseReadEnd();
   void CloseWriteEnd();

private:
   int ends[2];
};

// A running program. Its standard output and error go into one file. What GLib or GTK complains of
// there is passed on to this process's standard error in the end, where it fails a test on a
// desktop.
class TestProcess {
public:
   using Environment = std::vector<std::pair<std::string, std::string>>;

   // Variables of environment are added to this process's own; an empty value removes one.
   explicit TestProcess(std::vector<std::string> const& arguments,
                        Environment const& environment = {});
   // A forked copy of this process that waits for its end.
   static TestProcess MakeIdle();
   // Kills and reaps what still runs.
   ~TestProcess();
   TestProcess(TestProcess&& other) noexcept;
   TestProcess& operator=(TestProcess&&) = delete;

   int GetPid() const { return pid; }
   void Signal(int number) const;
   // Waits for the end and reaps. The status as waitpid(2) gives it; empty at the deadline.
   std::optional<int> Wait(Milliseconds deadline = patience);
   // What it has printed so far.
   std::string GetOutput() const;

private:
   TestProcess() = default;

   int pid = -1;
   int outputFd = -1;
   std::optional<int> status;
};

// Whether a wait status is an orderly end with that exit status.
bool ExitedWith(std::optional<int> const& status, int exitStatus);
// Whether a wait status is an end by that signal.
bool KilledBy(std::optional<int> const& status, int signalNumber);

// A few milliseconds, between two looks at a condition that gives no event.
void Pause();

// Calls condition every few milliseconds until it is true. False at the deadline.
template <typename Condition>
bool Eventually(Condition condition, Milliseconds deadline = patience)
{
   auto const end = std::chrono::steady_clock::now() + deadline;
   while (!condition()) {
      if (std::chrono::steady_clock::now() >= end) {
         return false;
      }
      Pause();
   }
   return true;
}

} // namespace test
