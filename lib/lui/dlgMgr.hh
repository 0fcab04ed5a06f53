// SPDX-License-Identifier: GPL-2.0-or-later
// The dialogs over one GTK window.
#pragma once

#include "cui/dlgMgr.hh"

namespace Gtk {
class Widget;
class Window;
} // namespace Gtk

namespace lui {

class ManageableDlg;

// A manager of its own has no window: its dialogs stand alone.
class DlgMgr : public virtual cui::DlgMgr {
public:
   ~DlgMgr() override;

   cui::DlgInfo* NewInfo(utf::string const& text, utf::string const& second) override;
   cui::DlgWarning* NewWarning(utf::string const& text, utf::string const& second) override;
   cui::DlgError* NewError(utf::string const& text, utf::string const& second,
                           bool isModal) override;
   cui::DlgHint* NewHint(utf::string const& text, utf::string const& second, bool isModal) override;
   cui::DlgQuestion* NewQuestion(utf::string const& text, std::vector<utf::string> const& buttons,
                                 int dismissChoice, int defaultChoice, utf::string const& second,
                                 cui::severity::Level level, bool isModal) override;
   cui::DlgSQuestion* NewSQuestion(utf::string const& text, std::vector<utf::string> const& buttons,
                                   int dismissChoice, int defaultChoice, utf::string const& second,
                                   bool isModal) override;
   // The window below the dialogs; null if there is none.
   virtual Gtk::Window* GetParent();
   // Shows a window over the parent: in its middle, in front of it, and gone with it. A focus that
   // isn't null gets the keyboard. isModal keeps the user from the parent.
   virtual void DisplayWindow(Gtk::Window& window, Gtk::Widget* focus, bool isModal);

   // Takes ownership of a new dialog, gives it its default size and shows it over this window,
   // which stays usable. A dialog that is owned already is only brought to the front.
   void AddManagedDlg(ManageableDlg* dlg);
   // Brings a dialog of this manager's to the front, and back to the screen if it was hidden.
   void Present(ManageableDlg* dlg) const;

private:
   template <typename Interface>
   Interface* Adopt(Interface* dlg);
};

} // namespace lui
