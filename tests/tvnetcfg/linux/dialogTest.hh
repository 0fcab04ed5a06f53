// SPDX-License-Identifier: GPL-2.0-or-later
// A window with a model made by hand, over which a dialog is opened and used.
#pragma once

#include "cui/weakPtr.hh"
#include "lui/dlgChoice.hh"
#include "support/gtk/find.hh"
#include "support/gtk/input.hh"
#include "support/gtk/loop.hh"
#include "tvnetcfg/common/editable.hh"

#include <gtkmm/label.h>
#include <memory>

namespace netcfg {

// Stands in for the main window.
class BaseWindow : public lui::DlgChoice {
public:
   BaseWindow();

private:
   Gtk::Label text;
};

class DialogTest : public test::gtk::Test {
protected:
   static constexpr unsigned int MAX_NETWORKS = 20;

   explicit DialogTest(unsigned int maxNetworks = MAX_NETWORKS);
   // The dialogs go before the model.
   ~DialogTest() override;
   void TearDown() override;

   // Shows a new dialog as its opener does, and waits until it has the keyboard.
   template <typename Dialog>
   Dialog& Open(Dialog* newDlg)
   {
      dlg = newDlg;
      base->AddManagedDlg(newDlg);
      EXPECT_TRUE(test::gtk::WaitUntilActive(*newDlg));
      test::gtk::Settle();
      return *newDlg;
   }

   bool IsOpen() const { return static_cast<bool>(dlg); }
   // A button that a key presses acts a moment later.
   bool WaitUntilClosed();
   // The dialog that was opened. Throws if it's gone.
   Gtk::Window& GetWindow() { return dlg->GetWindow(); }
   void Press(unsigned int symbol, unsigned int modifiers = 0);
   // Clicks the button that reads this.
   void Click(std::string const& button);
   template <typename Widget>
   Widget& Get(std::string const& label)
   {
      return test::gtk::Get<Widget>(GetWindow(), label);
   }
   std::vector<std::string> GetReplyButtons();
   // What the focused widgets are called, in the order in which Tab visits them, from the one that
   // has the focus until it returns.
   std::vector<std::string> GetTabOrder(Gtk::Window& window);
   std::vector<std::string> GetTabOrder() { return GetTabOrder(GetWindow()); }

   // The error over the dialog on the screen: waits for it, closes it, and returns its text. Fails
   // if there is none.
   std::string DismissError();
   // Whether an error is on the screen.
   bool SeesError();

   std::unique_ptr<common::Editable> editable;
   std::unique_ptr<BaseWindow> base;
   cui::WeakPtr<lui::ManageableDlg> dlg;
};

} // namespace netcfg
