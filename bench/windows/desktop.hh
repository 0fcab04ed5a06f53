// SPDX-License-Identifier: GPL-2.0-or-later
// A user's eyes and hands on an X display.
#pragma once

#include <X11/Xlib.h>
#include <string>

namespace bench {

// The display that DISPLAY names, without a window manager. What takes too long throws
// std::runtime_error.
class Desktop {
public:
   Desktop();
   ~Desktop();
   Desktop(Desktop const&) = delete;
   Desktop& operator=(Desktop const&) = delete;

   // A window of this title comes up, is drawn, has the keyboard, and its program handles events.
   Window WaitForWindow(std::string const& title);
   // Until the program has handled what was sent to it so far.
   void WaitUntilHandled(Window window);
   // Until something is drawn after the last key.
   void WaitUntilDrawn();
   // A key by its name (XStringToKeysym(3)), with Alt held down if that is asked for.
   void Press(char const* name, bool alt = false);
   // Until the display has been at rest for a while.
   void WaitUntilQuiet();

private:
   ::Display* display;
   Window root;
   int damageEvent = 0; // its type
   long pings = 0;
   bool drawn = false;

   std::string ReadTitle(Window window);
   // Takes in the next event, if one comes within so many milliseconds.
   bool Take(XEvent& event, int milliseconds);
   template <class Condition>
   void TakeUntil(char const* what, Condition const& condition);
   Atom GetAtom(char const* name) { return XInternAtom(display, name, False); }
   void Send(Window window, Atom protocol, long data);
};

} // namespace bench
