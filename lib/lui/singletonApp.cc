// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/singletonApp.hh"

#include "base/log.h"
#include "lui/channelPeer.hh"
#include "lui/processTree.hh"
#include "lui/sessionName.hh"

#include <csignal>
#include <cstdlib>
#include <giomm/init.h>
#include <sys/wait.h>

namespace lui {

namespace {

constexpr char SERVER_PROGRAM[] = "tavrin-netcfg";

bool IsChild(int pid)
{
   siginfo_t info;
   return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

// A child that runs the server already has got its password; it ends by itself, once it learns
// that we have.
void EndUnansweredPrompts()
{
   for (int pid : ChannelEnds::Get().Peers()) {
      if (IsChild(pid) && FindServer(pid, SERVER_PROGRAM) == 0) {
         kill(pid, SIGTERM);
      }
   }
}

} // namespace

const utf::string SingletonApp::DEFAULT_DATA = "show";

SingletonApp::SingletonApp() = default;
SingletonApp::~SingletonApp() = default;

bool SingletonApp::Init(utf::string data, bool allowSecond)
{
   std::string const bus = SessionName::FindBus();
   if (bus.empty()) {
      return false;
   }
   try {
      Gio::init();
      name = std::make_unique<SessionName>(bus, launched.make_slot());
      if (name->Claim()) {
         return true;
      }
      if (!allowSecond) {
         name->HandOver(data);
      }
      name.reset();
   } catch (Glib::Error const& error) {
      Log("%s: claim the single instance: %s\n", __func__, error.what().c_str());
      name.reset();
      return false;
   }
   if (allowSecond) {
      return false;
   }
   EndUnansweredPrompts();
   std::exit(EXIT_SUCCESS);
}

} // namespace lui
