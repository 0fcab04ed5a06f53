// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/launchToken.hh"

#include <fstream>
#include <gdk/gdk.h>
#include <string_view>
#ifdef GDK_WINDOWING_WAYLAND
#include <gdk/gdkwayland.h>
#endif
#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

namespace lui {

LaunchToken GetOwnLaunchToken()
{
   constexpr std::string_view STARTUP_ID = "DESKTOP_STARTUP_ID=";
   constexpr std::string_view ACTIVATION_TOKEN = "XDG_ACTIVATION_TOKEN=";
   LaunchToken token;
   // GDK takes both out of the environment; the kernel still knows the one we began with.
   std::ifstream environment("/proc/self/environ", std::ios::binary);
   for (std::string variable; std::getline(environment, variable, '\0');) {
      if (variable.starts_with(STARTUP_ID)) {
         token.startupId = variable.substr(STARTUP_ID.size());
      } else if (variable.starts_with(ACTIVATION_TOKEN)) {
         token.activationToken = variable.substr(ACTIVATION_TOKEN.size());
      }
   }
   return token;
}

void UseLaunchToken(LaunchToken const& token)
{
   GdkDisplay* const display = gdk_display_get_default();
   if (!display) {
      return;
   }
#ifdef GDK_WINDOWING_X11
   if (GDK_IS_X11_DISPLAY(display) && !token.startupId.empty()) {
      gdk_x11_display_set_startup_notification_id(display, token.startupId.c_str());
   }
#endif
#ifdef GDK_WINDOWING_WAYLAND
   if (GDK_IS_WAYLAND_DISPLAY(display) && !token.activationToken.empty()) {
      gdk_wayland_display_set_startup_notification_id(display, token.activationToken.c_str());
   }
#endif
}

void EndLaunch(LaunchToken const& token)
{
   if (gdk_display_get_default() && !token.startupId.empty()) {
      gdk_notify_startup_complete_with_id(token.startupId.c_str());
   }
}

} // namespace lui
