// SPDX-License-Identifier: GPL-2.0-or-later
// A test of what stands over a program's main window.
#pragma once

#include "lui/dlgChoice.hh"
#include "support/gtk/input.hh"
#include "support/gtk/loop.hh"

namespace lui {

class MainDlgTest : public test::gtk::Test {
protected:
   MainDlgTest()
   {
      main.set_title("main");
      main.SetButtons({"Close"}, 0, 0);
      EXPECT_TRUE(test::gtk::ShowActive(main));
   }

   void TearDown() override
   {
      main.DeleteDlg();
      Test::TearDown();
   }

   DlgChoice main;
};

} // namespace lui
