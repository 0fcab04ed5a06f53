// SPDX-License-Identifier: GPL-2.0-or-later
// The user's wish behind a launch, without which a desktop may refuse to raise a window.
#pragma once

#include <string>

namespace lui {

// What the desktop gave to the process that it launched; empty where it gave nothing.
struct LaunchToken {
   std::string startupId;       // of the startup notification protocol of X11 desktops
   std::string activationToken; // of the Wayland protocol xdg-activation
};

// What this process was launched with.
LaunchToken GetOwnLaunchToken();

// Lets the windows that are presented from now on act on the token.
void UseLaunchToken(LaunchToken const& token);

// Tells the desktop that the launch has come to its end, so that it stops showing it.
void EndLaunch(LaunchToken const& token);

} // namespace lui
