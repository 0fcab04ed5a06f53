// SPDX-License-Identifier: GPL-2.0-or-later
// A dialog that a manager can own, and that manages the dialogs over itself.
#pragma once

#include "cui/dlg.hh"
#include "cui/weakPtr.hh"
#include "lui/dlgMgr.hh"

#include <gtkmm/widget.h>
#include <gtkmm/window.h>

namespace lui {

class ManageableDlg : public DlgMgr, public virtual cui::Dlg {
public:
   ~ManageableDlg() override = default;

   // Called by the manager before the dialog is shown for the first time.
   virtual void SetDefaultSize() {}
   void Hide() override;
   // Over the owner's window if a manager owns the dialog, otherwise alone.
   void Show() override;
   // Makes the whole dialog insensitive until Reenable(), which also gives the focus back.
   virtual void Disable();
   void Reenable() override;
   bool IsEnabled() const override;
   // The manager of the dialogs over this one: the dialog itself.
   DlgMgr* GetDlgMgr() override { return this; }
   virtual Gtk::Window& GetWindow() = 0;
   // The button at this position was pressed.
   virtual void OnClicked(unsigned int choice);

   Gtk::Window* GetParent() override { return &GetWindow(); }

   // Whether Show() keeps the user from the window below; false at first.
   void SetModal(bool modal) { isModal = modal; }

private:
   // Where the keyboard was when the dialog was disabled.
   cui::WeakPtr<Gtk::Widget> focusBefore;
   bool isEnabled = true;
   bool isModal = false;
};

} // namespace lui
