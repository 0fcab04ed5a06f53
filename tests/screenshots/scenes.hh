// SPDX-License-Identifier: GPL-2.0-or-later
// Every window of the program in each of its states. They are found and worked by their places, so
// that the language doesn't matter.
#pragma once

#include "cui/dlgMgr.hh"
#include "lui/dlg.hh"
#include "screenshots/camera.hh"
#include "support/gtk/input.hh"
#include "support/gtk/loop.hh"

#include <stdexcept>

namespace screenshots {

// The main window alone.
void ShootMainWindow(Camera& camera);
// The dialogs over it, fresh and filled.
void ShootDialogs(Camera& camera);
// Everything that tells of an error.
void ShootErrors(Camera& camera);

// Shows a dialog over the window, as the window itself does.
template <typename Dialog>
Dialog& Open(lui::Dlg& window, Dialog* dlg)
{
   window.AddManagedDlg(dlg);
   test::gtk::WaitUntilActive(*dlg);
   test::gtk::Settle();
   return *dlg;
}

// The youngest dialog over the window. Throws if there is none.
inline Gtk::Window& GetYoungest(lui::Dlg& window)
{
   auto const& dlgs = window.GetDlgs();
   auto* const youngest = dlgs.empty() ? nullptr : dynamic_cast<lui::Dlg*>(dlgs.back());
   if (!youngest) {
      throw std::runtime_error("no dialog over " + window.get_title().raw());
   }
   return *youngest;
}

// Ends all dialogs over the window.
inline void EndDialogs(lui::Dlg& window)
{
   window.EndDlgs();
   test::gtk::Settle();
}

} // namespace screenshots
