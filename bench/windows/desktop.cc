// SPDX-License-Identifier: GPL-2.0-or-later
#include "windows/desktop.hh"

#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xdamage.h>
#include <chrono>
#include <poll.h>
#include <stdexcept>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience(30);
constexpr int restInMilliseconds = 300;

// A window may go while one speaks of it.
int Ignore(::Display*, XErrorEvent*)
{
   return 0;
}

} // namespace

Desktop::Desktop() : display(XOpenDisplay(nullptr))
{
   int error = 0;
   if (!display || !XDamageQueryExtension(display, &damageEvent, &error)) {
      throw std::runtime_error("open the display: there is none, or it can't tell what is drawn");
   }
   XSetErrorHandler(Ignore);
   root = XDefaultRootWindow(display);
   XSelectInput(display, root, SubstructureNotifyMask);
   // What any window draws is drawn on this one.
   XDamageCreate(display, root, XDamageReportRawRectangles);
   damageEvent += XDamageNotify;
   // No menu opens under the pointer.
   XTestFakeMotionEvent(display, -1, 1279, 1023, CurrentTime);
   XSync(display, False);
}

Desktop::~Desktop()
{
   XCloseDisplay(display);
}

bool Desktop::Take(XEvent& event, int milliseconds)
{
   if (XPending(display) == 0) {
      pollfd polled{ConnectionNumber(display), POLLIN, 0};
      if (poll(&polled, 1, milliseconds) <= 0 || XPending(display) == 0) {
         return false;
      }
   }
   XNextEvent(display, &event);
   drawn = drawn || event.type == damageEvent;
   return true;
}

template <class Condition>
void Desktop::TakeUntil(char const* what, Condition const& condition)
{
   auto const end = Clock::now() + patience;
   XEvent event{};
   while (!condition(event)) {
      if (Clock::now() > end) {
         throw std::runtime_error(std::string("wait for ") + what + ": it doesn't come");
      }
      event.type = 0;
      Take(event, 100);
   }
}

std::string Desktop::ReadTitle(Window window)
{
   char* name = nullptr;
   std::string title;
   if (XFetchName(display, window, &name)) {
      title = name;
      XFree(name);
   }
   return title;
}

Window Desktop::WaitForWindow(std::string const& title)
{
   Window found = 0;
   TakeUntil("a window", [&](XEvent const& event) {
      if (event.type == MapNotify && ReadTitle(event.xmap.window) == title) {
         found = event.xmap.window;
      }
      return found != 0;
   });
   XSetInputFocus(display, found, RevertToParent, CurrentTime);
   WaitUntilHandled(found);
   drawn = false;
   // What was drawn before it had the keyboard is drawn anew by getting it.
   WaitUntilDrawn();
   WaitUntilHandled(found);
   return found;
}

void Desktop::Send(Window window, Atom protocol, long data)
{
   XEvent event{};
   event.xclient.type = ClientMessage;
   event.xclient.window = window;
   event.xclient.message_type = GetAtom("WM_PROTOCOLS");
   event.xclient.format = 32;
   event.xclient.data.l[0] = static_cast<long>(protocol);
   event.xclient.data.l[1] = data;
   event.xclient.data.l[2] = static_cast<long>(window);
   XSendEvent(display, window, False, NoEventMask, &event);
   XFlush(display);
}

// The program answers when it has handled all that came before (_NET_WM_PING, Extended Window
// Manager Hints).
void Desktop::WaitUntilHandled(Window window)
{
   Send(window, GetAtom("_NET_WM_PING"), ++pings);
   TakeUntil("an answer", [this](XEvent const& event) {
      return event.type == ClientMessage && event.xclient.data.l[1] == pings;
   });
}

void Desktop::WaitUntilDrawn()
{
   TakeUntil("a drawing", [this](XEvent const&) { return drawn; });
}

void Desktop::Press(char const* name, bool alt)
{
   auto const key = XKeysymToKeycode(display, XStringToKeysym(name));
   auto const held = XKeysymToKeycode(display, XStringToKeysym("Alt_L"));
   drawn = false;
   if (alt) {
      XTestFakeKeyEvent(display, held, True, CurrentTime);
   }
   XTestFakeKeyEvent(display, key, True, CurrentTime);
   XTestFakeKeyEvent(display, key, False, CurrentTime);
   if (alt) {
      XTestFakeKeyEvent(display, held, False, CurrentTime);
   }
   XFlush(display);
}

void Desktop::WaitUntilQuiet()
{
   XEvent event;
   while (Take(event, restInMilliseconds)) {
   }
}

} // namespace bench
