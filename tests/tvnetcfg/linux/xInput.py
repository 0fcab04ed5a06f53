# SPDX-License-Identifier: GPL-2.0-or-later
"""The keyboard of an X display without a window manager, and the little that one would do.

Keys go through the XTEST extension to the window that has the keyboard. A key counts as delivered
when the program answers a ping (the _NET_WM_PING protocol) that was sent behind it: a GTK program
reads the ping only when it has handled all that came before.
"""
import ctypes
import time

PATIENCE = 40.0
CLIENT_MESSAGE = 33
SUBSTRUCTURE_NOTIFY = 1 << 19
KEYSYMS = {"space": 0x20, "Tab": 0xff09, "Enter": 0xff0d, "Escape": 0xff1b, "BackSpace": 0xff08,
           "Delete": 0xffff, "Home": 0xff50, "End": 0xff57, "Left": 0xff51, "Up": 0xff52,
           "Right": 0xff53, "Down": 0xff54, "Alt": 0xffe9, "Shift": 0xffe1, "Control": 0xffe3,
           "F1": 0xffbe, "F4": 0xffc1}


class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("message_type", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 5)]


class Event(ctypes.Union):
    _fields_ = [("type", ctypes.c_int), ("client", ClientMessage), ("pad", ctypes.c_long * 24)]


ErrorHandler = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)
# A window may go while one speaks of it.
_ignore_errors = ErrorHandler(lambda display, error: 0)


def _load():
    x = ctypes.CDLL("libX11.so.6")
    test = ctypes.CDLL("libXtst.so.6")
    window, pointer = ctypes.c_ulong, ctypes.c_void_p
    signatures = {
        "XOpenDisplay": (pointer, [ctypes.c_char_p]),
        "XDefaultRootWindow": (window, [pointer]),
        "XInternAtom": (window, [pointer, ctypes.c_char_p, ctypes.c_int]),
        "XSelectInput": (ctypes.c_int, [pointer, window, ctypes.c_long]),
        "XSetErrorHandler": (pointer, [ErrorHandler]),
        "XQueryTree": (ctypes.c_int, [pointer, window] + [pointer] * 4),
        "XFetchName": (ctypes.c_int, [pointer, window, pointer]),
        "XFree": (ctypes.c_int, [pointer]),
        "XSetInputFocus": (ctypes.c_int, [pointer, window, ctypes.c_int, ctypes.c_ulong]),
        "XSendEvent": (ctypes.c_int, [pointer, window, ctypes.c_int, ctypes.c_long, pointer]),
        "XCheckTypedEvent": (ctypes.c_int, [pointer, ctypes.c_int, pointer]),
        "XSync": (ctypes.c_int, [pointer, ctypes.c_int]),
        "XKeysymToKeycode": (ctypes.c_ubyte, [pointer, ctypes.c_ulong]),
        "XkbKeycodeToKeysym": (ctypes.c_ulong, [pointer, ctypes.c_ubyte] + [ctypes.c_uint] * 2),
        "XAutoRepeatOff": (ctypes.c_int, [pointer]),
    }
    for name, (result, arguments) in signatures.items():
        getattr(x, name).restype = result
        getattr(x, name).argtypes = arguments
    test.XTestFakeKeyEvent.argtypes = [pointer, ctypes.c_uint, ctypes.c_int, ctypes.c_ulong]
    test.XTestFakeMotionEvent.argtypes = [pointer] + [ctypes.c_int] * 3 + [ctypes.c_ulong]
    return x, test


class Keyboard:
    """The user's hands on the display that DISPLAY names."""

    def __init__(self):
        self.x, self.test = _load()
        self.display = self.x.XOpenDisplay(None)
        assert self.display, "no display"
        self.x.XSetErrorHandler(_ignore_errors)
        self.root = self.x.XDefaultRootWindow(self.display)
        self.x.XSelectInput(self.display, self.root, SUBSTRUCTURE_NOTIFY)
        # A handler that takes its time is no key held down, and no menu opens under the pointer.
        self.x.XAutoRepeatOff(self.display)
        self.test.XTestFakeMotionEvent(self.display, -1, 1279, 1023, 0)
        self.x.XSync(self.display, False)
        self.pings = 0

    def atom(self, name):
        return self.x.XInternAtom(self.display, name.encode(), False)

    def find_window(self, title):
        """The window of this title on the display; None if there is none."""
        root, parent = ctypes.c_ulong(), ctypes.c_ulong()
        children, count = ctypes.POINTER(ctypes.c_ulong)(), ctypes.c_uint()
        self.x.XQueryTree(self.display, self.root, ctypes.byref(root), ctypes.byref(parent),
                          ctypes.byref(children), ctypes.byref(count))
        found = [children[index] for index in range(count.value)
                 if self.read_title(children[index]) == title]
        self.x.XFree(children)
        return found[-1] if found else None

    def read_title(self, window):
        name = ctypes.c_char_p()
        if not self.x.XFetchName(self.display, window, ctypes.byref(name)):
            return None
        title = name.value.decode(errors="replace")
        self.x.XFree(name)
        return title

    def give_keyboard(self, window):
        """As a window manager does when a window comes up or is clicked."""
        self.x.XSetInputFocus(self.display, window, 2, 0)
        self.x.XSync(self.display, False)

    def close(self, window):
        """As a window manager does when its close control is pressed."""
        self.send(window, window, "WM_PROTOCOLS", self.atom("WM_DELETE_WINDOW"), 0)

    def send(self, target, window, kind, *data):
        event = Event()
        event.client = ClientMessage(CLIENT_MESSAGE, 0, 1, None, window, self.atom(kind), 32,
                                     (ctypes.c_long * 5)(*data))
        self.x.XSendEvent(self.display, target, False, 0, ctypes.byref(event))
        self.x.XSync(self.display, False)

    def wait_for(self, window, is_running):
        """Waits until the window's program has handled what was sent to it, or has ended."""
        self.pings += 1
        self.send(window, window, "WM_PROTOCOLS", self.atom("_NET_WM_PING"), self.pings, window)
        event = Event()
        end = time.monotonic() + PATIENCE
        while is_running():
            while self.x.XCheckTypedEvent(self.display, CLIENT_MESSAGE, ctypes.byref(event)):
                if event.client.data[1] == self.pings:
                    return
            assert time.monotonic() < end, "the program handles no keys"
            time.sleep(0.002)

    def strike(self, symbol, *held):
        """Presses and releases a key while others are held down."""
        codes = [self.x.XKeysymToKeycode(self.display, one) for one in (*held, symbol)]
        assert all(codes), f"no key gives {symbol:#x}"
        for is_press, order in ((True, codes), (False, codes[::-1])):
            for code in order:
                self.test.XTestFakeKeyEvent(self.display, code, is_press, 0)
        self.x.XSync(self.display, False)

    def press(self, name):
        """A key such as "Tab", "a" or "Alt+Shift+Tab"."""
        *held, key = name.split("+")
        self.strike(KEYSYMS.get(key) or ord(key), *(KEYSYMS[one] for one in held))

    def type(self, text):
        """A text of ASCII characters, key by key."""
        for character in text:
            symbol = ord(character)
            code = self.x.XKeysymToKeycode(self.display, symbol)
            plain = self.x.XkbKeycodeToKeysym(self.display, code, 0, 0)
            self.strike(symbol, *(() if plain == symbol else (KEYSYMS["Shift"],)))
