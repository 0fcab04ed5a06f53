// SPDX-License-Identifier: GPL-2.0-or-later
// One instance of the program per desktop session.
#pragma once

#include "utf/string.hh"

#include <memory>
#include <sigc++/sigc++.h>

namespace lui {

class SessionName;

// Claims a name on the session bus and answers later launches from the main loop.
class SingletonApp {
public:
   // What a launch hands to the first instance: its plain wish to be shown.
   static const utf::string DEFAULT_DATA;

   SingletonApp();
   // Gives the name back.
   ~SingletonApp();
   SingletonApp(SingletonApp const&) = delete;
   SingletonApp& operator=(SingletonApp const&) = delete;

   // Claims the single instance. If another process of this session has it, hands data to that
   // one, ends the children that WatchPeer knows and that wait for the user's password, and ends
   // this process with status 0; with allowSecond it leaves the other alone instead and goes on.
   // True if this is the first instance; false if it isn't, and without a session bus, where the
   // program simply runs.
   bool Init(utf::string data, bool allowSecond);

   // Emitted in the first instance with the data of a later launch.
   sigc::signal<void, utf::string const&>& signal_launched() { return launched; }

private:
   std::unique_ptr<SessionName> name;
   sigc::signal<void, utf::string const&> launched;
};

} // namespace lui
