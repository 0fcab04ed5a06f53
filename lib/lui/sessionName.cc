// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/sessionName.hh"

#include "lui/launchToken.hh"
#include "lui/singletonApp.hh"

#include <filesystem>
#include <gio/gio.h>
#include <giomm/dbusintrospection.h>
#include <giomm/dbusmessage.h>
#include <giomm/dbusmethodinvocation.h>
#include <glibmm/miscutils.h>
#include <glibmm/utility.h>
#include <map>

namespace lui {

namespace {

constexpr char NAME[] = "org.tavrin.NetCfg";
constexpr char PATH[] = "/org/tavrin/NetCfg";

// The interface by which freedesktop.org's desktops launch a program. A launch by other means than
// ours carries no data.
constexpr char INTERFACE[] = "org.freedesktop.Application";
constexpr char INTROSPECTION[] = R"(<node><interface name="org.freedesktop.Application">
   <method name="Activate">
      <arg type="a{sv}" name="platform_data" direction="in"/>
   </method>
   <method name="Open">
      <arg type="as" name="uris" direction="in"/>
      <arg type="a{sv}" name="platform_data" direction="in"/>
   </method>
   <method name="ActivateAction">
      <arg type="s" name="action_name" direction="in"/>
      <arg type="av" name="parameter" direction="in"/>
      <arg type="a{sv}" name="platform_data" direction="in"/>
   </method>
</interface></node>)";
constexpr char DATA_KEY[] = "data";
constexpr char STARTUP_ID_KEY[] = "desktop-startup-id";
constexpr char ACTIVATION_TOKEN_KEY[] = "activation-token";

// A flag and a result of the bus's RequestName.
constexpr guint32 DO_NOT_QUEUE = 4;
constexpr guint32 REPLY_EXISTS = 3;
// A bus that takes longer than this many milliseconds is as good as none.
constexpr int BUS_TIMEOUT = 5000;

using PlatformData = std::map<Glib::ustring, Glib::VariantBase>;

void Add(PlatformData& platformData, char const* key, Glib::ustring const& text)
{
   if (!text.empty() && text.validate()) {
      platformData[key] = Glib::Variant<Glib::ustring>::create(text);
   }
}

// Empty if it isn't there, or isn't a text.
char const* Find(GVariant* platformData, char const* key)
{
   char const* text = "";
   g_variant_lookup(platformData, key, "&s", &text);
   return text;
}

} // namespace

std::string SessionName::FindBus()
{
   std::string const address = Glib::getenv("DBUS_SESSION_BUS_ADDRESS");
   if (!address.empty()) {
      return address.starts_with("autolaunch:") ? std::string() : address;
   }
   std::string const runtimeDir = Glib::getenv("XDG_RUNTIME_DIR");
   std::string const socket = Glib::build_filename(runtimeDir, "bus");
   std::error_code error;
   if (runtimeDir.empty() || !std::filesystem::is_socket(socket, error)) {
      return {};
   }
   char* const escaped = g_dbus_address_escape_value(socket.c_str());
   return "unix:path=" + Glib::convert_return_gchar_ptr_to_stdstring(escaped);
}

SessionName::SessionName(std::string const& busAddress,
                         sigc::slot<void, utf::string const&> launched)
   : onLaunched(std::move(launched)),
     connection(Gio::DBus::Connection::create_for_address_sync(
        busAddress, Gio::DBus::CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                       Gio::DBus::CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION)),
     operations(sigc::mem_fun(*this, &SessionName::OnMethodCall))
{
   // The end of the desktop's bus isn't the end of the user's work.
   connection->set_exit_on_close(false);
   // Before the name is ours, so that whoever finds the name finds the object.
   object = connection->register_object(
      PATH, Gio::DBus::NodeInfo::create_for_xml(INTROSPECTION)->lookup_interface(INTERFACE),
      operations);
}

SessionName::~SessionName()
{
   connection->unregister_object(object);
   try {
      connection->close_sync();
   } catch (Glib::Error const&) {
      // It was closed from the other side.
   }
}

bool SessionName::Claim()
{
   auto const arguments = Glib::VariantContainerBase::create_tuple(
      {Glib::Variant<Glib::ustring>::create(NAME), Glib::Variant<guint32>::create(DO_NOT_QUEUE)});
   Glib::VariantContainerBase const reply =
      connection->call_sync("/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                            arguments, "org.freedesktop.DBus", BUS_TIMEOUT);
   Glib::Variant<guint32> result;
   reply.get_child(result);
   return result.get() != REPLY_EXISTS;
}

void SessionName::HandOver(utf::string const& data)
{
   LaunchToken const token = GetOwnLaunchToken();
   PlatformData platformData;
   Add(platformData, DATA_KEY, data);
   Add(platformData, STARTUP_ID_KEY, token.startupId);
   Add(platformData, ACTIVATION_TOKEN_KEY, token.activationToken);

   auto const message = Gio::DBus::Message::create_method_call(NAME, PATH, INTERFACE, "Activate");
   message->set_flags(Gio::DBus::MESSAGE_FLAGS_NO_REPLY_EXPECTED);
   message->set_body(
      Glib::VariantContainerBase::create_tuple(Glib::Variant<PlatformData>::create(platformData)));
   connection->send_message(message);
   connection->flush_sync();
}

void SessionName::OnMethodCall(Glib::RefPtr<Gio::DBus::Connection> const&, Glib::ustring const&,
                               Glib::ustring const&, Glib::ustring const&, Glib::ustring const&,
                               Glib::VariantContainerBase const& arguments,
                               Glib::RefPtr<Gio::DBus::MethodInvocation> const& invocation)
{
   // The last argument of each method. GDBus has checked the types.
   Glib::VariantBase platform;
   arguments.get_child(platform, arguments.get_n_children() - 1);
   GVariant* const platformData = platform.gobj();
   LaunchToken const token{Find(platformData, STARTUP_ID_KEY),
                           Find(platformData, ACTIVATION_TOKEN_KEY)};
   utf::string const data = Find(platformData, DATA_KEY);

   // What follows may take as long as the user likes.
   invocation->return_value(Glib::VariantContainerBase());
   UseLaunchToken(token);
   onLaunched(data.empty() ? SingletonApp::DEFAULT_DATA : data);
   EndLaunch(token);
}

} // namespace lui
