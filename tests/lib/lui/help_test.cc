// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/help.hh"

#include "cui/dlgMgr.hh"
#include "lib/lui/mainDlgTest.hh"
#include "lui/helpDlg.hh"
#include "lui/helpFiles.hh"
#include "lui/helpPage.hh"
#include "support/gtk/find.hh"
#include "support/testProcess.hh"

#include <clocale>
#include <filesystem>
#include <fstream>
#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/textview.h>
#include <set>
#include <unistd.h>

using lui::Utils::OpenHelp;
using test::gtk::FindAll;
using test::gtk::FindButton;
using test::gtk::FindWindow;
using test::gtk::PressKey;
using test::gtk::WaitUntil;
using testing::HasSubstr;

namespace lui {
namespace {

constexpr char const* TOPICS[] = {"IDH_TVNET_LIN_MAIN", "IDH_TVNET_LIN_AUTOBRIDGE",
                                  "IDH_TVNET_MAPPORT", "IDH_TVNET_NAT"};

// What the page says, without its looks.
std::string GetText(HelpPage const& page)
{
   std::string text;
   for (HelpPage::Block const& block : page.blocks) {
      for (HelpPage::Run const& run : block.runs) {
         text += run.text.c_str();
      }
      text += "\n";
   }
   return text;
}

// While it lives, the program is asked for these languages.
class Languages {
public:
   explicit Languages(char const* list) { setenv("LANGUAGE", list, 1); }
   Languages(Languages const&) = delete;
   Languages& operator=(Languages const&) = delete;
   ~Languages() { unsetenv("LANGUAGE"); }
};

class HelpTest : public MainDlgTest {
protected:
   // The programs that this test's desktop has, decided before anybody asks for one.
   static void SetUpTestSuite()
   {
      setenv("XDG_DATA_DIRS", (desktop.GetPath() / "data").c_str(), 1);
      setenv("XDG_DATA_HOME", (desktop.GetPath() / "home").c_str(), 1);
      setenv("XDG_CONFIG_DIRS", (desktop.GetPath() / "config").c_str(), 1);
      setenv("XDG_CONFIG_HOME", (desktop.GetPath() / "config").c_str(), 1);
      std::filesystem::create_directories(desktop.GetPath() / "data/applications");
      for (char const* const folder : {"mime", "icons", "glib-2.0"}) {
         std::filesystem::create_symlink(std::filesystem::path("/usr/share") / folder,
                                         desktop.GetPath() / "data" / folder);
      }
      Test::SetUpTestSuite();
   }

   std::string GetErrorText()
   {
      EXPECT_TRUE(WaitUntil([] { return FindWindow("Error") != nullptr; }));
      std::string text;
      for (Gtk::Label const* label : FindAll<Gtk::Label>(*FindWindow("Error"))) {
         text += label->get_text() + "\n";
      }
      return text;
   }

   // A window of the help, with the keyboard.
   static Gtk::Window& Await(std::string const& title)
   {
      EXPECT_TRUE(WaitUntil([&title] { return FindWindow(title) != nullptr; })) << title;
      Gtk::Window* const window = FindWindow(title);
      if (!window) {
         throw std::runtime_error("no such window");
      }
      EXPECT_TRUE(test::gtk::WaitUntilActive(*window));
      test::gtk::WaitForLayout(*window);
      return *window;
   }

   static Gtk::TextView& GetView(Gtk::Window& window)
   {
      return *FindAll<Gtk::TextView>(window).at(0);
   }

   static std::string GetSelection(Gtk::Window& window)
   {
      Gtk::TextIter begin;
      Gtk::TextIter end;
      auto const buffer = GetView(window).get_buffer();
      return buffer->get_selection_bounds(begin, end) ? buffer->get_text(begin, end).raw() : "";
   }

   // A page with a link that leads nowhere.
   std::string WriteLonelyPage()
   {
      return desktop.Write("lonely.html", "<html><head><title>Lonely</title></head><body><p>"
                                          "<a href=\"nowhere.html\">On</a></p></body></html>");
   }

   static inline test::TempDir const desktop;
};

TEST_F(HelpTest, EveryTopicHasAPageOfItsOwnWithATitle)
{
   std::set<std::string> titles;
   for (char const* const topic : TOPICS) {
      HelpPage const page = ReadHelpPage(FindHelpPage(topic));
      EXPECT_TRUE(page.error.empty()) << page.error.c_str();
      EXPECT_GT(page.blocks.size(), 8u) << topic;
      titles.insert(page.title.c_str());
   }
   EXPECT_THAT(titles,
               testing::UnorderedElementsAre("Tavrin Network Editor", "NAT Settings",
                                             "Automatic Bridging Settings", "Map Incoming Port"));
}

TEST_F(HelpTest, WithoutAViewerThePageOpensInAWindowOfOurs)
{
   OpenHelp(&main, "IDH_TVNET_NAT");
   ASSERT_TRUE(WaitUntil([] { return FindWindow("Help: NAT Settings") != nullptr; }));
   Gtk::Window& window = *FindWindow("Help: NAT Settings");
   std::string const text = FindAll<Gtk::TextView>(window).at(0)->get_buffer()->get_text();

   EXPECT_THAT(text, HasSubstr("UDP timeout (in seconds)\n"));
   EXPECT_EQ(&main, window.get_transient_for());
   EXPECT_FALSE(window.get_modal());
   ASSERT_TRUE(test::gtk::WaitUntilActive(window));
   PressKey(window, GDK_KEY_Escape);
   EXPECT_EQ(nullptr, FindWindow("Help: NAT Settings"));
}

TEST_F(HelpTest, APageThatIsOpenComesToTheFront)
{
   OpenHelp(&main, "IDH_TVNET_NAT");
   OpenHelp(&main, "IDH_TVNET_LIN_MAIN");
   OpenHelp(&main, "IDH_TVNET_NAT");
   ASSERT_TRUE(WaitUntil([] { return FindWindow("Help: NAT Settings") != nullptr; }));

   EXPECT_TRUE(test::gtk::WaitUntilActive(*FindWindow("Help: NAT Settings")));
   EXPECT_EQ(2u, main.GetDlgs().size());
}

TEST_F(HelpTest, AnUnknownTopicIsAnError)
{
   OpenHelp(&main, "IDH_<b>_NOTHING");

   EXPECT_THAT(GetErrorText(), HasSubstr("There is no help on \"IDH_<b>_NOTHING\"."));
}

TEST_F(HelpTest, WithoutAManagerNothingHappens)
{
   OpenHelp(nullptr, "IDH_TVNET_NAT");
   test::gtk::Settle();

   EXPECT_EQ(nullptr, FindWindow("Help: NAT Settings"));
}

TEST_F(HelpTest, AProgramThatShowsAnyTextIsNoViewer)
{
   desktop.Write("data/applications/editor.desktop",
                 "[Desktop Entry]\nType=Application\nName=Editor\nExec=/bin/false %f\n"
                 "MimeType=text/plain;\n");
   desktop.Write("data/applications/mimeinfo.cache", "[MIME Cache]\ntext/plain=editor.desktop;\n");
   OpenHelp(&main, "IDH_TVNET_NAT");

   EXPECT_TRUE(WaitUntil([] { return FindWindow("Help: NAT Settings") != nullptr; }));
}

TEST_F(HelpTest, ALinkIsFollowedByAClick)
{
   OpenHelp(&main, "IDH_TVNET_LIN_MAIN");
   Gtk::Window& window = Await("Help: Tavrin Network Editor");
   test::gtk::ClickText(GetView(window), "Map Incoming Port");

   EXPECT_TRUE(WaitUntil([&window] { return window.get_title() == "Help: Map Incoming Port"; }));
   EXPECT_EQ(1u, main.GetDlgs().size());
   EXPECT_THAT(GetView(window).get_buffer()->get_text().raw(), HasSubstr("Host port"));
}

TEST_F(HelpTest, AClickBesideALinkFollowsNothing)
{
   OpenHelp(&main, "IDH_TVNET_LIN_MAIN");
   Gtk::Window& window = Await("Help: Tavrin Network Editor");
   test::gtk::ClickText(GetView(window), "The window shows");
   test::gtk::Settle();

   EXPECT_EQ("Help: Tavrin Network Editor", window.get_title());
}

TEST_F(HelpTest, TabGoesFromLinkToLinkAndEnterFollows)
{
   OpenHelp(&main, "IDH_TVNET_MAPPORT");
   Gtk::Window& window = Await("Help: Map Incoming Port");
   PressKey(window, GDK_KEY_Tab);
   EXPECT_EQ("Contents", GetSelection(window));
   PressKey(window, GDK_KEY_Tab);
   EXPECT_EQ("NAT Settings", GetSelection(window));
   PressKey(window, GDK_KEY_Tab, GDK_SHIFT_MASK);
   EXPECT_EQ("Contents", GetSelection(window));
   PressKey(window, GDK_KEY_Tab);
   PressKey(window, GDK_KEY_Return);

   EXPECT_EQ("Help: NAT Settings", window.get_title());
   EXPECT_TRUE(GetView(window).has_focus());
   EXPECT_EQ("", GetSelection(window));
}

TEST_F(HelpTest, TabLeavesThePageBehindItsLastLinkAndComesBack)
{
   OpenHelp(&main, "IDH_TVNET_NAT");
   Gtk::Window& window = Await("Help: NAT Settings");
   int tabs = 0;
   while (GetView(window).has_focus() && tabs < 20) {
      PressKey(window, GDK_KEY_Tab);
      ++tabs;
   }
   // Contents, the main window and port forwards.
   EXPECT_EQ(4, tabs);
   EXPECT_TRUE(FindButton(window, "Contents")->has_focus());
   PressKey(window, GDK_KEY_Tab, GDK_SHIFT_MASK);
   EXPECT_TRUE(GetView(window).has_focus());
}

TEST_F(HelpTest, BackReturnsToWhereTheReaderWas)
{
   OpenHelp(&main, "IDH_TVNET_MAPPORT");
   Gtk::Window& window = Await("Help: Map Incoming Port");
   EXPECT_FALSE(FindButton(window, "Back")->is_sensitive());
   for (unsigned int const key : {GDK_KEY_Tab, GDK_KEY_Tab, GDK_KEY_Return, GDK_KEY_Tab}) {
      PressKey(window, key);
   }
   PressKey(window, GDK_KEY_Return);
   EXPECT_EQ("Help: Virtual Networks", window.get_title());
   PressKey(window, GDK_KEY_Left, GDK_MOD1_MASK);
   EXPECT_EQ("Help: NAT Settings", window.get_title());
   test::gtk::Click(*FindButton(window, "Back"));
   EXPECT_TRUE(WaitUntil([&window] { return window.get_title() == "Help: Map Incoming Port"; }));
   EXPECT_FALSE(FindButton(window, "Back")->is_sensitive());
   PressKey(window, GDK_KEY_Return);

   // The cursor is in the link that was followed first.
   EXPECT_EQ("Help: NAT Settings", window.get_title());
}

TEST_F(HelpTest, ContentsAreAButtonAndAKeyAway)
{
   OpenHelp(&main, "IDH_TVNET_NAT");
   Gtk::Window& window = Await("Help: NAT Settings");
   PressKey(window, GDK_KEY_F1);
   EXPECT_EQ("Help: Virtual Networks", window.get_title());
   PressKey(window, GDK_KEY_Left, GDK_MOD1_MASK);
   test::gtk::Click(*FindButton(window, "Contents"));

   EXPECT_TRUE(WaitUntil([&] { return window.get_title() == "Help: Virtual Networks"; }));
   EXPECT_TRUE(GetView(window).has_focus());
   EXPECT_EQ(1u, main.GetDlgs().size());
}

TEST_F(HelpTest, ALinkThatLeadsNowhereIsAnErrorAndThePageStays)
{
   std::string const file = WriteLonelyPage();
   HelpDlg::Open(main, file, ReadHelpPage(file));
   Gtk::Window& window = Await("Help: Lonely");
   PressKey(window, GDK_KEY_Tab);
   PressKey(window, GDK_KEY_Return);

   EXPECT_THAT(GetErrorText(), HasSubstr("nowhere.html"));
   EXPECT_EQ("Help: Lonely", window.get_title());
   EXPECT_FALSE(FindButton(window, "Back")->is_sensitive());
}

TEST_F(HelpTest, AScreenReaderReadsAPageAsOneNamedText)
{
   OpenHelp(&main, "IDH_TVNET_MAPPORT");
   Gtk::Window& window = Await("Help: Map Incoming Port");

   EXPECT_EQ("Map Incoming Port", test::gtk::ReadAccessibleName(GetView(window)));
   EXPECT_EQ("Tab goes to the next link, and Enter follows it.",
             test::gtk::ReadAccessibleDescription(GetView(window)));
   PressKey(window, GDK_KEY_Tab);
   PressKey(window, GDK_KEY_Return);
   EXPECT_EQ("Virtual Networks", test::gtk::ReadAccessibleName(GetView(window)));
}

TEST_F(HelpTest, F1OpensAWindowsTopicAndWithoutOneNothing)
{
   PressKey(main, GDK_KEY_F1);
   test::gtk::Settle();
   EXPECT_TRUE(main.GetDlgs().empty());
   main.SetHelpTopic("IDH_TVNET_NAT");
   PressKey(main, GDK_KEY_F1, GDK_CONTROL_MASK);
   test::gtk::Settle();
   EXPECT_TRUE(main.GetDlgs().empty());
   PressKey(main, GDK_KEY_F1);

   EXPECT_TRUE(WaitUntil([] { return FindWindow("Help: NAT Settings") != nullptr; }));
}

TEST_F(HelpTest, PagesSpeakTheProgramsLanguageAndEnglishElse)
{
   using testing::EndsWith;
   {
      Languages const languages("xx:de_AT:fr");
      EXPECT_THAT(FindHelpPage("IDH_TVNET_NAT"), EndsWith("/help/de/nat.html"));
   }
   {
      Languages const languages("xx:yy");
      EXPECT_THAT(FindHelpPage("IDH_TVNET_NAT"), EndsWith("/help/C/nat.html"));
   }
   Languages const languages("de");
   std::string const before = std::setlocale(LC_MESSAGES, nullptr);
   std::setlocale(LC_MESSAGES, "C");
   EXPECT_THAT(FindHelpPage("IDH_TVNET_NAT"), EndsWith("/help/C/nat.html"));
   std::setlocale(LC_MESSAGES, before.c_str());
}

// The last of all, since the desktop keeps its viewer.
TEST_F(HelpTest, ZTheDesktopsViewerGetsThePage)
{
   std::string const script = desktop.Write(
      "viewer", "#!/bin/sh\nprintf '%s' \"$1\" >\"$0.part\"\nmv \"$0.part\" \"$0.seen\"\n");
   std::filesystem::permissions(script, std::filesystem::perms::owner_all);
   desktop.Write("data/applications/viewer.desktop",
                 "[Desktop Entry]\nType=Application\nName=Viewer\nExec=" + script +
                    " %u\nMimeType=text/html;\n");
   desktop.Write("data/applications/mimeinfo.cache", "[MIME Cache]\ntext/html=viewer.desktop;\n");
   // The desktop learns of new programs from a watch on the folder.
   std::string const seen = script + ".seen";
   ASSERT_TRUE(WaitUntil([] {
      GAppInfo* const viewer = g_app_info_get_default_for_type("text/html", FALSE);
      bool const isThere =
         viewer != nullptr && std::string(g_app_info_get_name(viewer)) == "Viewer";
      if (viewer) {
         g_object_unref(viewer);
      }
      return isThere;
   }));
   OpenHelp(&main, "IDH_TVNET_MAPPORT");
   ASSERT_TRUE(WaitUntil([&seen] { return std::filesystem::exists(seen); }));

   EXPECT_THAT(test::ReadFile(seen), testing::EndsWith("/help/C/mapport.html"));
   EXPECT_EQ(nullptr, FindWindow("Help: Map Incoming Port"));
}

TEST(HelpPageTest, AMissingPageSaysSo)
{
   HelpPage const page = ReadHelpPage("/nonexistent/page.html");

   EXPECT_THAT(page.error.c_str(), HasSubstr("/nonexistent/page.html"));
}

TEST(HelpPageTest, ReadsBlocksAndStrongRuns)
{
   test::TempDir const scratch;
   HelpPage const page = ReadHelpPage(scratch.Write(
      "page.html", "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"/><title>The\n title"
                   "</title></head><body><h1>One</h1>\n<p>a\n  b <strong>c</strong> &amp; d</p>"
                   "<ul><li>e</li></ul></body></html>"));

   EXPECT_TRUE(page.error.empty()) << page.error.c_str();
   EXPECT_STREQ("The title", page.title.c_str());
   EXPECT_EQ("One\na b c & d\ne\n", GetText(page));
   ASSERT_EQ(3u, page.blocks.size());
   EXPECT_EQ(HelpPage::TITLE, page.blocks[0].style);
   EXPECT_EQ(HelpPage::ITEM, page.blocks[2].style);
   ASSERT_EQ(3u, page.blocks[1].runs.size());
   EXPECT_EQ(HelpPage::STRONG, page.blocks[1].runs[1].look);
   EXPECT_EQ(HelpPage::PLAIN, page.blocks[1].runs[2].look);
}

TEST(HelpPageTest, ReadsNumbersCodeAndLinks)
{
   test::TempDir const scratch;
   HelpPage const page = ReadHelpPage(
      scratch.Write("page.html", "<html><ul><li>a</li></ul><ol><li>b</li><li><code>c</code></li>"
                                 "</ol><ol><li><a href=\"on-it.html\">d</a></li></ol></html>"));

   EXPECT_TRUE(page.error.empty()) << page.error.c_str();
   ASSERT_EQ(4u, page.blocks.size());
   std::vector<int> numbers;
   for (HelpPage::Block const& block : page.blocks) {
      numbers.push_back(block.number);
   }
   EXPECT_THAT(numbers, testing::ElementsAre(0, 1, 2, 1));
   EXPECT_EQ(HelpPage::CODE, page.blocks[2].runs.at(0).look);
   EXPECT_EQ(HelpPage::LINK, page.blocks[3].runs.at(0).look);
   EXPECT_EQ("on-it.html", page.blocks[3].runs.at(0).target);
   EXPECT_EQ("", page.blocks[2].runs.at(0).target);
}

TEST(HelpPageTest, ALinkThatLeavesItsFolderIsAnError)
{
   test::TempDir const scratch;
   for (char const* const target :
        {"", ".html", "../page.html", "/etc/passwd", "http://example.org/page.html", "page.txt",
         "a/page.html", "page.html#part", "..%2fpage.html"}) {
      std::string const text = "<html><p><a href=\"" + std::string(target) + "\">x</a></p></html>";
      EXPECT_FALSE(ReadHelpPage(scratch.Write("page.html", text)).error.empty()) << target;
   }
}

TEST(HelpPageTest, WhatIsNoPageIsAnError)
{
   test::TempDir const scratch;
   for (char const* const text :
        {"", "plain", "<html><body><p>open</body></html>", "<html><script>x</script></html>",
         "<html><strong>x</strong></html>", "<html><p><strong><kbd>x</kbd></strong></p></html>",
         "<html><p><a>x</a></p></html>", "<html><p><p>x</p></p></html>",
         "<html><p>\xff</p></html>"}) {
      EXPECT_FALSE(ReadHelpPage(scratch.Write("page.html", text)).error.empty()) << text;
   }
}

} // namespace
} // namespace lui
