// SPDX-License-Identifier: GPL-2.0-or-later
// Pictures of windows, in one folder.
#pragma once

#include <gtkmm/window.h>
#include <string>

namespace screenshots {

class Camera {
public:
   explicit Camera(std::string const& folder) : folder(folder) {}

   // The window alone, once it is drawn.
   void Shoot(Gtk::Window& window, std::string const& name);
   // All windows as they stand over each other on the screen.
   void ShootScreen(std::string const& name);
   // False if a picture couldn't be taken; the standard error tells which.
   bool IsGood() const { return isGood; }

private:
   std::string GetPath(std::string const& name) const { return folder + "/" + name + ".png"; }
   void Judge(bool isTaken, std::string const& name);

   std::string const folder;
   bool isGood = true;
};

} // namespace screenshots
