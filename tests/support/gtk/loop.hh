// SPDX-License-Identifier: GPL-2.0-or-later
// GTK in a test's own process.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <gtkmm/window.h>

namespace test::gtk {

// Starts GTK once. Needs a display without a window manager, whose part it takes: a window that
// comes up gets the keyboard. Ends the process if there is no display.
void Start();

// Handles events until the condition holds. False if it doesn't within the deadline.
bool WaitUntil(std::function<bool()> const& condition);

// Handles the events that are there, those under way to the display and back included.
void Settle();

// Waits until everything in a window on the screen has its place and is drawn.
void WaitForLayout(Gtk::Window& window);

// A test with GTK running. Fails if a window stays on the screen.
class Test : public testing::Test {
protected:
   static void SetUpTestSuite() { Start(); }
   void TearDown() override;
};

} // namespace test::gtk
