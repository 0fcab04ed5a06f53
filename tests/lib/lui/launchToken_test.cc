// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/launchToken.hh"

#include "lui/singletonApp.hh"
#include "support/gtk/loop.hh"
#include "support/testProcess.hh"

#include <glibmm/main.h>
#include <gtest/gtest.h>

// After GoogleTest, some of whose names it defines as macros.
#include <gdk/gdkx.h>

namespace {

class LaunchTokenTest : public test::gtk::Test {};

} // namespace

TEST_F(LaunchTokenTest, AProcessThatNobodyLaunchedHasNone)
{
   lui::LaunchToken const token = lui::GetOwnLaunchToken();
   EXPECT_EQ("", token.startupId);
   EXPECT_EQ("", token.activationToken);
}

TEST_F(LaunchTokenTest, WindowsOfTheFirstInstanceActOnTheTokenOfALaterLaunch)
{
   lui::SingletonApp app;
   ASSERT_TRUE(app.Init(lui::SingletonApp::DEFAULT_DATA, false));
   std::string startupId;
   auto const loop = Glib::MainLoop::create();
   app.signal_launched().connect([&](utf::string const&) {
      char const* const id = gdk_x11_display_get_startup_notification_id(gdk_display_get_default());
      startupId = id ? id : "";
      loop->quit();
   });
   sigc::connection const deadline = Glib::signal_timeout().connect(
      [&] {
         loop->quit();
         return false;
      },
      static_cast<unsigned int>(test::patience.count()));

   test::TestProcess later({SINGLETON_INSTANCE}, {{"DESKTOP_STARTUP_ID", "panel-7_TIME4711"}});
   loop->run();

   EXPECT_EQ("panel-7_TIME4711", startupId);
   EXPECT_TRUE(test::ExitedWith(later.Wait(), 0));
}
