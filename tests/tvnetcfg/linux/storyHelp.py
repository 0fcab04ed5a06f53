# SPDX-License-Identifier: GPL-2.0-or-later
"""Help by F1 and by its button in every window, and the program's own window of it."""
import story
from story import ADD, BRIDGES, CONTENTS, EDITOR, NAT, PORT, Window

DATABASE = """vnets=20
automatic=0
adapter=eth0 0
network=0
network=8 nat dhcp adapter 192.168.8.0 255.255.255.0
"""


class HelpStory(story.Story):
    def expect_help(self, title, page):
        self.give_keyboard(title)
        self.keys("F1")
        self.wait_for_help(page)
        if title != ADD:
            Window(title).press("Help")
            self.wait_for_help(page)

    def open(self, opener, button, title):
        Window(opener).press(button)
        Window(title).wait_until_active()

    def test_each_window_opens_its_page(self):
        self.launch(DATABASE)
        self.expect_help(EDITOR, "main.html")
        self.open(EDITOR, "Add Network...", ADD)
        self.expect_help(ADD, "main.html")
        self.open(EDITOR, "Automatic Settings...", BRIDGES)
        self.expect_help(BRIDGES, "autobridge.html")
        self.editor.select("tvnet8")
        self.open(EDITOR, "NAT Settings...", NAT)
        self.expect_help(NAT, "nat.html")
        self.open(NAT, "Add", PORT)
        self.expect_help(PORT, "mapport.html")
        self.cancel()

    def test_f1_helps_from_every_kind_of_field(self):
        self.launch(DATABASE)
        self.editor.select("tvnet8")
        self.open(EDITOR, "NAT Settings...", NAT)
        for label in ("Gateway IP:", "UDP timeout (in seconds):", "Allow active FTP",
                      "Port Forwarding", "Save"):
            Window(NAT).get(label, story.FOCUSABLE_ROLES).get_component_iface().grab_focus()
            self.expect(label, Window(NAT).focused)
            self.expect_help(NAT, "nat.html")
        self.cancel()

    def test_without_a_viewer_the_pages_are_walked_by_keyboard(self):
        self.remove_viewer()
        self.launch(DATABASE)
        self.keys("F1")
        pages = [f"Help: {title}" for title in (EDITOR, CONTENTS, BRIDGES)]
        self.expect_page(pages[0])
        # The first link leads to the contents, and the second one there to this page.
        self.keys("Tab", "Enter")
        self.expect_page(pages[1])
        self.keys("Tab", "Tab", "Enter")
        self.expect_page(pages[2])
        self.keys("Alt+Left")
        self.expect_page(pages[1])
        self.keys("Alt+b")
        self.expect_page(pages[0])
        self.keys("Alt+c")
        self.expect_page(pages[1])
        self.keys("Escape")
        Window(pages[1]).wait_until_gone()
        self.editor.wait_until_active()
        self.assertEqual("Virtual networks", self.editor.focused())
        # A page that is open doesn't keep the window below from ending.
        self.keys("F1")
        self.expect_page(pages[0])
        self.cancel()

    def expect_page(self, title):
        """The page has the keyboard, and says what it is."""
        page = Window(title)
        page.wait_until_active()
        self.expect(title.removeprefix("Help: "), page.focused)


if __name__ == "__main__":
    story.main()
