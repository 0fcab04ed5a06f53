#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""A polkit agent of one process, as a desktop has one for its session.

    agent.py cancel|PASSWORD PID LOCALE

Says "ready" when it is registered, then what it is asked, in the language of the locale. It answers
each request by dismissing it, or with the password.
"""
import subprocess
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

HELPER = "/usr/lib/polkit-1/polkit-agent-helper-1"
PATH = "/agent"
INTERFACE = """<node><interface name="org.freedesktop.PolicyKit1.AuthenticationAgent">
  <method name="BeginAuthentication">
    <arg type="s" name="action_id" direction="in"/>
    <arg type="s" name="message" direction="in"/>
    <arg type="s" name="icon_name" direction="in"/>
    <arg type="a{ss}" name="details" direction="in"/>
    <arg type="s" name="cookie" direction="in"/>
    <arg type="a(sa{sv})" name="identities" direction="in"/>
  </method>
  <method name="CancelAuthentication">
    <arg type="s" name="cookie" direction="in"/>
  </method>
</interface></node>"""


def authenticate(cookie, password):
    """Lets polkit's own helper ask PAM; it tells the daemon itself if the password is right."""
    helper = subprocess.Popen([HELPER, "keeper"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              text=True)
    helper.stdin.write(f"{cookie}\n")
    helper.stdin.flush()
    for line in helper.stdout:
        if line.startswith("PAM_PROMPT_ECHO_OFF"):
            helper.stdin.write(f"{password}\n")
            helper.stdin.flush()
        elif line.strip() in ("SUCCESS", "FAILURE"):
            break
    helper.stdin.close()
    helper.wait()


def on_call(_bus, _sender, _path, _interface, method, arguments, invocation):
    if method == "BeginAuthentication":
        print(f"asked: {arguments[0]}: {arguments[1]}", flush=True)
        if sys.argv[1] == "cancel":
            invocation.return_dbus_error("org.freedesktop.PolicyKit1.Error.Cancelled", "dismissed")
            return
        authenticate(arguments[4], sys.argv[1])
    invocation.return_value(None)


def start_time(pid):
    with open(f"/proc/{pid}/stat") as file:
        return int(file.read().rpartition(")")[2].split()[19])


bus = Gio.bus_get_sync(Gio.BusType.SYSTEM)
bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0], on_call, None, None)
process = int(sys.argv[2])
subject = ("unix-process", {"pid": GLib.Variant("u", process),
                            "start-time": GLib.Variant("t", start_time(process))})
bus.call_sync("org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
              "org.freedesktop.PolicyKit1.Authority", "RegisterAuthenticationAgent",
              GLib.Variant("((sa{sv})ss)", (subject, sys.argv[3], PATH)), None, 0, -1)
print("ready", flush=True)
GLib.MainLoop().run()
