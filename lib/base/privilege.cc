// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/privilege.h"

#include "base/capabilities.hh"
#include "base/cleanStart.hh"
#include "base/hiddenProcesses.hh"
#include "base/log.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

constexpr mode_t MASK = 022;

// An ordinary user's process has nothing that its starter hasn't.
bool IsRoot()
{
   return geteuid() == 0;
}

std::string ReadMounts()
{
   std::ostringstream text;
   text << std::ifstream("/proc/self/mountinfo").rdbuf();
   return text.str();
}

// Where processes are hidden from all but those who may trace them, a service that runs as its own
// user couldn't be found again.
base::CapabilitySet GetCapabilities()
{
   bool const hidden = base::HidesProcesses(ReadMounts());
   return base::OWN_CAPABILITIES | (hidden ? base::MakeCapabilitySet(CAP_SYS_PTRACE) : 0);
}

bool Succeeds(bool done, char const* what)
{
   if (!done) {
      LogV(LOG_SEVERITY_ERROR, "%s: %s\n", what, std::strerror(errno));
   }
   return done;
}

} // namespace

void Privilege_CleanUp(void)
{
   umask(MASK);
   base::CleanDescriptors();
   if (IsRoot()) {
      base::CleanEnvironment();
      rlimit const none{0, 0};
      setrlimit(RLIMIT_CORE, &none);
   }
}

bool Privilege_Drop(void)
{
   bool const hid = !IsRoot() || Succeeds(prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0,
                                          "keep others from looking into this process");
   bool const closed =
      Succeeds(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "do without new rights");
   bool const gone = Succeeds(base::KeepCapabilities(GetCapabilities()), "give rights up");
   bool const moved = Succeeds(chdir("/") == 0, "leave the working directory");
   return hid && closed && gone && moved;
}
