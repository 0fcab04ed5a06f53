# SPDX-License-Identifier: GPL-2.0-or-later
"""A system bus and a polkit daemon of the sandbox's own, and users for them. To be used as root."""
import os
import re
import shutil
import subprocess
import tempfile

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

from check import skip, until  # noqa: E402
from host import TOOLS  # noqa: E402

ACCESSIBLY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "on-accessibility")
DAEMON = "/usr/lib/polkit-1/polkitd"
ACTIONS = "/usr/share/polkit-1/actions"
# What the policy that we install is about.
ACTION = "org.tavrin.NetCfg.edit"
BUS = "/run/dbus/system_bus_socket"
HOME = "/run/home"
# Whoever knows this password may be root.
KEEPER = "keeper"
PASSWORD = "correct horse"
FIRST_ID = 42420

# As Debian's own, but for services that are started on demand: there are none.
BUS_CONFIG = f"""<busconfig>
  <type>system</type>
  <listen>unix:path={BUS}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus"/>
  </policy>
  <include>/usr/share/dbus-1/system.d/org.freedesktop.PolicyKit1.conf</include>
</busconfig>
"""

# What they don't settle is as the policy says.
RULES = """
polkit.addAdminRule(function(action, subject) { return ["unix-user:%s"]; });
polkit.addRule(function(action, subject) {
    if (action.id == "%s") {
        return { trusted: polkit.Result.YES, refused: polkit.Result.NO }[subject.user];
    }
});
""" % (KEEPER, ACTION)


def _append(path, text):
    with open(path, "a") as file:
        file.write(text)


def _give(folder, number):
    os.chmod(folder, 0o700)
    os.chown(folder, number, number)


def make_users(*names):
    """In the sandbox's own /etc."""
    for number, name in enumerate(names, FIRST_ID):
        _append("/etc/passwd", f"{name}:x:{number}:{number}::{HOME}/{name}:/bin/sh\n")
        _append("/etc/group", f"{name}:x:{number}:\n")
        _append("/etc/shadow", f"{name}:!:19000::::::\n")
        os.makedirs(f"{HOME}/{name}", 0o755)
        _give(f"{HOME}/{name}", number)


def set_password(name, password):
    subprocess.run(["chpasswd"], input=f"{name}:{password}\n", text=True, check=True)


def _write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as file:
        file.write(text)


def _is_answering():
    try:
        bus = Gio.DBusConnection.new_for_address_sync(
            f"unix:path={BUS}", Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
            Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        reply = bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                              "org.freedesktop.DBus", "NameHasOwner",
                              GLib.Variant("(s)", ("org.freedesktop.PolicyKit1",)), None, 0, -1)
        return reply[0]
    except GLib.Error:
        return False


def _offer_policy(program):
    """Our policy beside the system's, but for the program's place."""
    with open(f"{os.environ['SANDBOX_BUILD']}/data/desktop/org.tavrin.NetCfg.policy") as file:
        policy = re.sub(r"(exec\.path\">)[^<]*", rf"\g<1>{program}", file.read())
    shutil.copytree(ACTIONS, "/run/actions")
    _write("/run/actions/org.tavrin.NetCfg.policy", policy)
    subprocess.run(["mount", "--bind", "/run/actions", ACTIONS], check=True)


def start(program):
    """Starts both daemons; they end with the sandbox. Our policy is about the program."""
    if not os.access(DAEMON, os.X_OK):
        skip("polkitd isn't installed")
    _write("/run/dbus.conf", BUS_CONFIG)
    os.makedirs(os.path.dirname(BUS), exist_ok=True)
    subprocess.Popen(["dbus-daemon", "--config-file=/run/dbus.conf", "--nofork", "--nopidfile"])
    until(lambda: os.path.exists(BUS), "the system bus listens")
    _write("/etc/polkit-1/rules.d/01-story.rules", RULES)
    _offer_policy(program)
    make_users(KEEPER, "trusted", "refused", "asked")
    set_password(KEEPER, PASSWORD)
    subprocess.Popen([DAEMON, "--no-debug"])
    until(_is_answering, "polkitd answers")


def run_as(name, *command):
    """Runs a command as one of the users, with a session bus of its own; the status is returned."""
    keep = {key: os.environ[key] for key in os.environ
            if key.startswith(("SANDBOX_", "LC_", "GDK_", "GTK_", "GSETTINGS_", "TVDEVEL", "DISPLAY",
                               "TMPDIR", "ASAN_", "LSAN_", "UBSAN_"))}
    home = f"{HOME}/{name}"
    # One for each session: what ends late takes its sockets away from here.
    runtime = tempfile.mkdtemp(prefix="runtime", dir=home)
    _give(runtime, os.stat(home).st_uid)
    environment = {**keep, "HOME": home, "USER": name, "LOGNAME": name, "SHELL": "/bin/sh",
                   "PATH": "/usr/bin:/bin", "XDG_RUNTIME_DIR": runtime,
                   "XDG_STATE_HOME": f"{home}/state"}
    return subprocess.run(
        ["setpriv", "--reuid", name, "--regid", name, "--init-groups", "--inh-caps=-all",
         "--bounding-set=+all", f"{TOOLS}/on-bus", ACCESSIBLY,
         *command],
        env=environment, cwd="/", stdin=subprocess.DEVNULL, check=False).returncode
