// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/elevator.hh"

#include "base/log.h"
#include "cui/format.hh"
#include "lui/channelPeer.hh"
#include "lui/processTree.hh"

#include <algorithm>
#include <csignal>
#include <glibmm/miscutils.h>
#include <poll.h>
#include <sys/wait.h>

namespace lui::Utils {

namespace {

// How often the process tree is looked at, in milliseconds: at first the tool may need no password,
// later somebody is typing it.
constexpr int FIRST_INTERVAL = 20;
constexpr int LAST_INTERVAL = 200;

// What pkexec(1) ends with if it didn't run the program.
constexpr int PKEXEC_DISMISSED = 126;
constexpr int PKEXEC_NOT_AUTHORIZED = 127;

// A child that is to become the server, or to start it.
class Elevation {
public:
   Elevation(int pid, utf::string const& appName);

   // Waits for the server and gives its process id; 0 if the child ended without.
   int WaitForServer();

private:
   bool HasGreeted() const;
   void WaitForNews(int timeout);

   ProcessWatch child;
   std::string program;
   std::vector<pollfd> entries; // the child's end, then what its server would write to
};

Elevation::Elevation(int pid, utf::string const& appName) : child(pid), program(appName.c_str())
{
   entries.push_back({child.Descriptor(), POLLIN, 0});
   for (int fd : ChannelEnds::Get().InputsFrom(pid)) {
      entries.push_back({fd, POLLIN, 0});
   }
}

int Elevation::WaitForServer()
{
   for (int interval = FIRST_INTERVAL;; interval = std::min(interval * 2, LAST_INTERVAL)) {
      // Asked first: what the child did before it ended is seen by the looks below.
      bool const hasEnded = child.HasEnded();
      if (int const server = FindServer(child.Pid(), program)) {
         return server;
      }
      // /proc may hide the processes of other users, root's too.
      if (HasGreeted()) {
         return child.Pid();
      }
      if (hasEnded) {
         return 0;
      }
      WaitForNews(interval);
   }
}

bool Elevation::HasGreeted() const
{
   return std::any_of(entries.begin() + 1, entries.end(), [](pollfd entry) {
      return poll(&entry, 1, 0) > 0 && entry.revents & POLLIN;
   });
}

void Elevation::WaitForNews(int timeout)
{
   poll(entries.data(), entries.size(), timeout);
   for (pollfd& entry : entries) {
      // A pipe without a writer would wake us for ever.
      if (entry.revents != 0 && !(entry.revents & POLLIN)) {
         entry.fd = -1;
      }
   }
}

utf::string DescribeExit(utf::string const& elevatorName, int status)
{
   bool const isPkexec = elevatorName == "pkexec";
   if (isPkexec && status == PKEXEC_DISMISSED) {
      return "the request for the password was dismissed";
   }
   if (isPkexec && status == PKEXEC_NOT_AUTHORIZED) {
      return "not authorized, or the tool could not start";
   }
   return cui::Format("ended with status %d", status);
}

// How the child ended, without reaping it.
utf::string DescribeEnd(utf::string const& elevatorName, int pid)
{
   siginfo_t info{};
   if (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
       info.si_pid == 0) {
      return "ended";
   }
   if (info.si_code == CLD_EXITED) {
      return DescribeExit(elevatorName, info.si_status);
   }
   return cui::Format("ended by signal %d", info.si_status);
}

} // namespace

bool FindAvailableElevator(utf::string& name, utf::string& path)
{
   for (char const* candidate : {"pkexec", "gnomesu"}) {
      std::string const found = Glib::find_program_in_path(candidate);
      if (!found.empty()) {
         name = candidate;
         path = found.c_str();
         return true;
      }
   }
   return false;
}

bool WaitForElevator(int pid, utf::string const& elevatorName, utf::string const& appName)
{
   int const server = Elevation(pid, appName).WaitForServer();
   if (server == 0) {
      Warning("%s: start %s by %s: %s\n", __func__, appName.c_str(), elevatorName.c_str(),
              DescribeEnd(elevatorName, pid).c_str());
      return false;
   }
   if (server != pid) {
      ChannelEnds::Get().MovePeer(pid, server);
   }
   return true;
}

} // namespace lui::Utils
