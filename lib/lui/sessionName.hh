// SPDX-License-Identifier: GPL-2.0-or-later
// Our name on the session bus.
#pragma once

#include "utf/string.hh"

#include <giomm/dbusconnection.h>
#include <giomm/dbusinterfacevtable.h>
#include <sigc++/sigc++.h>

namespace lui {

// A connection of its own to the session bus with our object on it. Ends the name with itself.
// Operations throw Glib::Error.
class SessionName {
public:
   // Where the session's bus is, as D-Bus writes addresses. Empty if the session has none; none is
   // ever started for us.
   static std::string FindBus();

   // From the main loop, launched gets the data of each launch that was handed over.
   SessionName(std::string const& busAddress, sigc::slot<void, utf::string const&> launched);
   ~SessionName();
   SessionName(SessionName const&) = delete;
   SessionName& operator=(SessionName const&) = delete;

   // False if another process has the name.
   bool Claim();
   // Hands a launch to the process that has the name. Waits until it is sent, not for an answer:
   // that process may be busy for long.
   void HandOver(utf::string const& data);

private:
   void OnMethodCall(Glib::RefPtr<Gio::DBus::Connection> const& source, Glib::ustring const& sender,
                     Glib::ustring const& path, Glib::ustring const& interface,
                     Glib::ustring const& method, Glib::VariantContainerBase const& arguments,
                     Glib::RefPtr<Gio::DBus::MethodInvocation> const& invocation);

   sigc::slot<void, utf::string const&> onLaunched;
   Glib::RefPtr<Gio::DBus::Connection> connection;
   Gio::DBus::InterfaceVTable operations;
   unsigned int object = 0;
};

} // namespace lui
