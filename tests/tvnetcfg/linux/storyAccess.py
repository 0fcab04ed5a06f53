# SPDX-License-Identifier: GPL-2.0-or-later
"""Every window as it is to somebody who has only a keyboard and a screen reader: what each control
is called, what it is and in which state, and that the keyboard reaches it and leaves it again."""
import os

# What a window says of itself is asked of it each time.
os.environ["ATSPI_NO_CACHE"] = "1"

import story  # noqa: E402
from listener import Listener  # noqa: E402
from story import (ADD, BRIDGES, EDITOR, MTU, NAT, NAT_TYPE, PORT, Atspi,  # noqa: E402
                   Window)

DATABASE = """vnets=20
automatic=0
adapter=eth0 0
adapter=eth1 1
network=0
network=1
network=8 nat dhcp adapter 192.168.8.0 255.255.255.0
forward=8 tcp 8080 192.168.8.128 80 Web server
"""
FIRST_BYTE = "tvnet8: The first byte of the subnet IP should be from 0 to 126 or from 128 to 223."
MANY = 40
ROLE, STATE = Atspi.Role, Atspi.StateType
LISTS = {ROLE.TABLE, ROLE.TREE_TABLE}
SWITCHES = {ROLE.CHECK_BOX, ROLE.RADIO_BUTTON}
TEXTS = {ROLE.TEXT, ROLE.ENTRY, ROLE.SPIN_BUTTON}
CONTROLS = SWITCHES | TEXTS | LISTS | {ROLE.PUSH_BUTTON, ROLE.COMBO_BOX, ROLE.LABEL}
PICTURES = {ROLE.IMAGE, ROLE.ICON}
# What these hold is theirs: cells, choices, and the titles of columns, which do nothing.
WHOLES = LISTS | {ROLE.COMBO_BOX}
COUNTERPARTS = {Atspi.RelationType.LABELLED_BY: Atspi.RelationType.LABEL_FOR,
                Atspi.RelationType.DESCRIBED_BY: Atspi.RelationType.DESCRIPTION_FOR}


def shown(node):
    """The elements on the screen, those of lists and combo boxes left out."""
    if not story.is_shown(node):
        return
    yield node
    if node.get_role() not in WHOLES:
        for child in story.desktop.children(node):
            yield from shown(child)


def own_name(node):
    """What the label that names it says, or else its name; what describes it doesn't count."""
    labels = [target.get_name() for target in targets(node, Atspi.RelationType.LABELLED_BY)]
    return next((text for text in (*labels, node.get_name()) if text), "")


def targets(node, relation):
    for one in node.get_relation_set():
        if one.get_relation_type() == relation:
            yield from (one.get_target(index) for index in range(one.get_n_targets()))


def wholes(node):
    """What the node is part of, from the inside."""
    while node:
        yield node
        node = node.get_parent()


def call(node):
    """As a test's failure calls it; radio buttons of a group share a name."""
    return f"{node.get_role_name()} {own_name(node)!r} {node.get_description()!r}"


def is_control(node):
    # The button inside a combo box is the one that can have the focus.
    return story.has(node, STATE.FOCUSABLE) or node.get_role() == ROLE.COMBO_BOX


class AccessStory(story.Story):
    def setUp(self):
        super().setUp()
        self.listener = Listener(["object:state-changed:focused"])
        self.addCleanup(self.listener.end)

    def check(self, window, expected):
        """The window's controls are these, each as role and name, and as they should be, and the
        keyboard reaches them."""
        controls = self.check_controls(window, expected)
        self.give_keyboard(window.title)
        reached = self.check_walk(window, "Tab", controls)
        back = self.check_walk(window, "Shift+Tab", controls)
        self.assertEqual([call(node) for node in reached[:1] + reached[:0:-1]],
                         [call(node) for node in back])

    def check_controls(self, window, expected):
        # A window that has just come up may not be whole.
        self.expect(sorted(expected), lambda: sorted(self.describe_controls(window)))
        nodes = list(shown(window.node()))
        controls = [node for node in nodes if is_control(node)]
        for node in controls:
            self.check_states(node)
        for node in nodes:
            self.check_relations(node)
            if node.get_role() in PICTURES:
                self.assertTrue(node.get_name(), f"a picture without a name in {window.title!r}")
        return controls

    def describe_controls(self, window):
        return [(node.get_role(), own_name(node)) for node in shown(window.node())
                if is_control(node)]

    def check_states(self, node):
        self.assertIn(node.get_role(), CONTROLS, call(node))
        self.assertEqual(story.has(node, STATE.ENABLED), story.is_sensitive(node), call(node))
        self.assertTrue(story.has(node, STATE.VISIBLE), call(node))
        if node.get_role() in TEXTS and not story.has(node, STATE.MULTI_LINE):
            self.assertTrue(story.has(node, STATE.EDITABLE), call(node))
        if node.get_role() in SWITCHES | {ROLE.PUSH_BUTTON}:
            self.assertGreater(node.get_action_iface().get_n_actions(), 0, call(node))

    def check_relations(self, node):
        """Whoever is labelled or described knows by whom, and the other way round."""
        for relation, counterpart in COUNTERPARTS.items():
            for target in targets(node, relation):
                self.assertIn(node, list(targets(target, counterpart)), call(node))

    def check_walk(self, window, key, controls):
        """The key reaches every control that is on, and of radio buttons the chosen one."""
        reached = self.walk(window, key)
        wanted = [node for node in controls if story.is_sensitive(node) and
                  (node.get_role() != ROLE.RADIO_BUTTON or story.is_checked(node))]
        self.assertCountEqual([call(node) for node in wanted], [call(node) for node in reached])
        return reached

    def walk(self, window, key):
        """What has the keyboard, from the present control until it comes back there."""
        reached = [self.focus(window)]
        while len(reached) < MANY:
            self.keys(key)
            focus = self.focus(window)
            if focus == reached[0]:
                return reached
            self.assertNotIn(focus, reached, f"{call(focus)} keeps the keyboard to itself")
            reached.append(focus)
        self.fail(f"{key} goes on and on in {window.title!r}")

    def focus(self, window):
        """What has the keyboard. Of a combo box it is a button inside, which is found only by the
        event that tells of it."""
        def find():
            nodes = list(shown(window.node()))
            inner = [node for node in nodes if story.is_focused(node) and
                     node.get_role() not in story.desktop.WINDOW_ROLES]
            outer = list(wholes(self.listener.focus()))
            combos = [node for node in nodes if node.get_role() == ROLE.COMBO_BOX and node in outer]
            return next(iter(inner or combos), None)

        return story.until(find, "a focus")

    def check_arrows(self, window, names, arrow):
        """An arrow key goes through a group of radio buttons, and chooses each."""
        radios = [window.get(name, {ROLE.RADIO_BUTTON}) for name in names]
        radios[0].get_component_iface().grab_focus()
        self.expect(radios[0], lambda: self.focus(window))
        for radio in radios[1:]:
            self.keys(arrow)
            self.assertEqual(call(radio), call(self.focus(window)))
            self.assertEqual([radio], [one for one in radios if story.is_checked(one)])

    def open(self, opener, button, title):
        Window(opener).press(button)
        Window(title).wait_until_active()
        return Window(title)

    def buttons(self, *names):
        return [(ROLE.PUSH_BUTTON, name) for name in names]

    def main_window(self, network):
        return [(ROLE.TABLE, "Virtual networks"), *self.buttons("Add Network...", "Remove Network"),
                (ROLE.RADIO_BUTTON, story.BRIDGED_TYPE), (ROLE.COMBO_BOX, "Bridged to:"),
                (ROLE.RADIO_BUTTON, NAT_TYPE), (ROLE.RADIO_BUTTON, story.HOST_ONLY_TYPE),
                (ROLE.CHECK_BOX, story.DHCP),
                (ROLE.CHECK_BOX, f"Connect a host virtual adapter ({network}) to this network"),
                (ROLE.TEXT, "Subnet IP:"), (ROLE.TEXT, "Subnet mask:"), (ROLE.TEXT, "MTU *:"),
                *self.buttons("Automatic Settings...", "NAT Settings...", "Save", "Cancel", "Help")]

    def test_main_window(self):
        self.launch(DATABASE)
        self.check(self.editor, self.main_window("tvnet0"))
        self.editor.select("tvnet8")
        self.check(self.editor, self.main_window("tvnet8"))
        mtu = self.editor.entry(MTU)
        self.assertEqual("MTU *:", own_name(mtu))
        subnet = self.editor.entry("Subnet IP:")
        self.assertEqual(["Leave blank to automatically select an unused subnet IP."],
                         [story.read(one) for one in
                          targets(subnet, Atspi.RelationType.DESCRIBED_BY)])
        self.cancel()

    def test_dialogs(self):
        self.remove_viewer()
        self.launch(DATABASE)
        add = self.open(EDITOR, "Add Network...", ADD)
        types = [(ROLE.RADIO_BUTTON, name) for name in ("Bridged", "NAT", "Host-only")]
        self.check(add, [(ROLE.SPIN_BUTTON, "Network name:"), *types,
                         *self.buttons("Add", "Cancel")])
        for role, name in types:
            self.assertTrue(add.get(name, {role}).get_description(), name)
        self.check_arrows(add, [name for _, name in types], "Down")
        add.press("Cancel")
        add.wait_until_gone()
        bridges = self.open(EDITOR, "Automatic Settings...", BRIDGES)
        self.check(bridges, [(ROLE.TABLE, "Automatically bridge to one of these host network "
                              "adapters:"), *self.buttons("Close", "Help")])
        self.check_adapters()

    def check_adapters(self):
        """Neither a tick nor a note is a matter of looks."""
        self.assertEqual([["x", "eth0", ""], ["x", "eth1", ""]], Window(BRIDGES).rows())
        Window(BRIDGES).press("Close")
        self.editor.select("tvnet1")
        items = [node for node in story.desktop.walk(self.editor.combo())
                 if node.get_role() == ROLE.MENU_ITEM]
        self.assertEqual([("Automatic", "(tvnet0 only)"), ("eth0", "(Bridged to tvnet0)"),
                          ("eth1", "(Bridged to tvnet0)")],
                         [(item.get_name(), item.get_description()) for item in items])
        self.assertFalse(any(story.is_sensitive(item) for item in items))
        self.cancel()

    def test_nat_dialogs(self):
        self.remove_viewer()
        self.launch(DATABASE)
        self.editor.select("tvnet8")
        nat = self.open(EDITOR, "NAT Settings...", NAT)
        controls = [(ROLE.TEXT, "Gateway IP:"), (ROLE.TABLE, "Port Forwarding"),
                    (ROLE.CHECK_BOX, "Allow active FTP"),
                    (ROLE.CHECK_BOX, "Allow any Organizationally Unique Identifier"),
                    (ROLE.SPIN_BUTTON, "UDP timeout (in seconds):"),
                    (ROLE.SPIN_BUTTON, "Config Port:"), (ROLE.CHECK_BOX, "Enable IPv6 NAT"),
                    (ROLE.TEXT, "IPv6 Prefix:"),
                    *self.buttons("Edit", "Add", "Remove", "Save", "Cancel", "Help")]
        self.check(nat, controls)
        nat.press("Enable IPv6 NAT")
        self.check(nat, controls)
        port = self.open(NAT, "Add", PORT)
        self.check(port, [(ROLE.SPIN_BUTTON, "Host port:"), (ROLE.RADIO_BUTTON, "Type:"),
                          (ROLE.RADIO_BUTTON, "Type:"), (ROLE.TEXT, "Virtual machine IP address:"),
                          (ROLE.SPIN_BUTTON, "Virtual machine port:"), (ROLE.TEXT, "Description:"),
                          *self.buttons("Save", "Cancel", "Help")])
        self.check_arrows(port, ["TCP", "UDP"], "Right")
        self.open(PORT, "Help", f"Help: {PORT}")
        self.keys("Tab", "Enter")
        page = Window("Help: Virtual Networks")
        page.wait_until_active()
        controls = self.check_controls(page, [(ROLE.TEXT, "Virtual Networks"),
                                              *self.buttons("Back", "Contents", "Close")])
        # Forward, Tab goes from link to link first.
        self.check_walk(page, "Shift+Tab", controls)
        self.cancel()

    def test_message(self):
        self.launch(DATABASE)
        self.editor.select("tvnet8")
        self.enter(self.editor, "Subnet IP:", "127.0.0.0")
        self.keys("Tab", "Enter")
        self.error.wait_until_active()
        self.assertEqual(ROLE.ALERT, self.error.node().get_role())
        self.check(self.error, [(ROLE.LABEL, FIRST_BYTE), *self.buttons("Close")])
        self.keys("Escape")
        self.error.wait_until_gone()
        self.cancel()


if __name__ == "__main__":
    story.main()
