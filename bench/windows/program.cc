// SPDX-License-Identifier: GPL-2.0-or-later
#include "windows/program.hh"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

namespace fs = std::filesystem;

// The number that stands behind the word in the file; 0 if it isn't there.
long ReadNumber(fs::path const& file, std::string const& wanted)
{
   std::ifstream stream(file);
   for (std::string word; stream >> word;) {
      if (word == wanted) {
         long number = 0;
         stream >> number;
         return number;
      }
   }
   return 0;
}

// Those behind the name of /proc/<pid>/stat, from the state on.
std::vector<std::string> ReadStat(pid_t pid)
{
   std::ifstream stream("/proc/" + std::to_string(pid) + "/stat");
   std::string text;
   std::getline(stream, text);
   std::istringstream words(text.substr(text.rfind(')') + 1));
   std::vector<std::string> fields;
   for (std::string word; words >> word;) {
      fields.push_back(word);
   }
   return fields;
}

} // namespace

Program::Program(std::string const& path)
{
   posix_spawnattr_t attributes;
   posix_spawnattr_init(&attributes);
   posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
   char* const arguments[] = {const_cast<char*>(path.c_str()), nullptr};
   int const error = posix_spawn(&pid, path.c_str(), nullptr, &attributes, arguments, environ);
   posix_spawnattr_destroy(&attributes);
   if (error != 0) {
      throw std::runtime_error("start " + path + ": it can't be started");
   }
}

Program::~Program()
{
   kill(-pid, SIGKILL);
   waitpid(pid, nullptr, 0);
}

std::vector<pid_t> Program::ListProcesses() const
{
   std::vector<pid_t> all;
   for (auto const& entry : fs::directory_iterator("/proc")) {
      auto const name = entry.path().filename().string();
      if (name.find_first_not_of("0123456789") == std::string::npos) {
         auto const stat = ReadStat(std::stoi(name));
         if (stat.size() > 2 && stat[2] == std::to_string(pid)) {
            all.push_back(std::stoi(name));
         }
      }
   }
   return all;
}

long Program::GetMemory() const
{
   long sum = 0;
   for (pid_t const each : ListProcesses()) {
      sum += ReadNumber("/proc/" + std::to_string(each) + "/smaps_rollup", "Pss:");
   }
   return sum;
}

std::map<pid_t, Use> Program::GetUse() const
{
   std::map<pid_t, Use> uses;
   for (pid_t const each : ListProcesses()) {
      uses[each] = bench::GetUse(each);
   }
   return uses;
}

std::string GetName(pid_t pid)
{
   std::ifstream stream("/proc/" + std::to_string(pid) + "/comm");
   std::string name;
   std::getline(stream, name);
   return name;
}

Use GetUse(pid_t pid)
{
   Use use;
   auto const stat = ReadStat(pid);
   if (stat.size() > 12) {
      use.ticks = std::stol(stat[11]) + std::stol(stat[12]);
   }
   std::error_code none;
   for (auto const& thread :
        fs::directory_iterator("/proc/" + std::to_string(pid) + "/task", none)) {
      for (auto const* kind : {"voluntary_ctxt_switches:", "nonvoluntary_ctxt_switches:"}) {
         use.switches += ReadNumber(thread.path() / "status", kind);
      }
   }
   return use;
}

Verdict JudgeIdle(std::string const& name, Use const& before, Use const& after)
{
   long const switches = after.switches - before.switches;
   long const ticks = after.ticks - before.ticks;
   return {"idle for a minute, " + name,
           std::to_string(switches) + " wake-ups, " + std::to_string(ticks) + " ticks",
           "",
           static_cast<double>(switches + ticks),
           Bar::AtMost,
           0};
}

} // namespace bench
