// SPDX-License-Identifier: GPL-2.0-or-later
#include "screenshots/camera.hh"

#include "support/gtk/screenshot.hh"

#include <iostream>

namespace screenshots {

void Camera::Shoot(Gtk::Window& window, std::string const& name)
{
   Judge(test::gtk::SaveScreenshot(window, GetPath(name)), name);
}

void Camera::ShootScreen(std::string const& name)
{
   Judge(test::gtk::SaveScreen(GetPath(name)), name);
}

void Camera::Judge(bool isTaken, std::string const& name)
{
   if (!isTaken) {
      std::cerr << "no picture: " << GetPath(name) << "\n";
      isGood = false;
   }
}

} // namespace screenshots
