// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/help.hh"

#include "cui/dlgMgr.hh"
#include "lib/lui/mainDlgTest.hh"
#include "lui/helpPage.hh"
#include "support/gtk/find.hh"
#include "support/testProcess.hh"

#include <filesystem>
#include <fstream>
#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <gtkmm/label.h>
#include <gtkmm/textview.h>
#include <set>
#include <unistd.h>

using lui::Utils::OpenHelp;
using test::gtk::FindAll;
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
   ASSERT_TRUE(WaitUntil([] { return FindWindow("NAT Settings") != nullptr; }));
   Gtk::Window& window = *FindWindow("NAT Settings");
   std::string const text = FindAll<Gtk::TextView>(window).at(0)->get_buffer()->get_text();

   EXPECT_THAT(text, HasSubstr("UDP timeout (in seconds)\n"));
   EXPECT_EQ(&main, window.get_transient_for());
   EXPECT_FALSE(window.get_modal());
   ASSERT_TRUE(test::gtk::WaitUntilActive(window));
   PressKey(window, GDK_KEY_Escape);
   EXPECT_EQ(nullptr, FindWindow("NAT Settings"));
}

TEST_F(HelpTest, APageThatIsOpenComesToTheFront)
{
   OpenHelp(&main, "IDH_TVNET_NAT");
   OpenHelp(&main, "IDH_TVNET_LIN_MAIN");
   OpenHelp(&main, "IDH_TVNET_NAT");
   ASSERT_TRUE(WaitUntil([] { return FindWindow("NAT Settings") != nullptr; }));

   EXPECT_TRUE(test::gtk::WaitUntilActive(*FindWindow("NAT Settings")));
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

   EXPECT_EQ(nullptr, FindWindow("NAT Settings"));
}

TEST_F(HelpTest, AProgramThatShowsAnyTextIsNoViewer)
{
   desktop.Write("data/applications/editor.desktop",
                 "[Desktop Entry]\nType=Application\nName=Editor\nExec=/bin/false %f\n"
                 "MimeType=text/plain;\n");
   desktop.Write("data/applications/mimeinfo.cache", "[MIME Cache]\ntext/plain=editor.desktop;\n");
   OpenHelp(&main, "IDH_TVNET_NAT");

   EXPECT_TRUE(WaitUntil([] { return FindWindow("NAT Settings") != nullptr; }));
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
   EXPECT_EQ(nullptr, FindWindow("Map Incoming Port"));
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
   EXPECT_TRUE(page.blocks[1].runs[1].isStrong);
   EXPECT_FALSE(page.blocks[1].runs[2].isStrong);
}

TEST(HelpPageTest, WhatIsNoPageIsAnError)
{
   test::TempDir const scratch;
   for (char const* const text :
        {"", "plain", "<html><body><p>open</body></html>", "<html><script>x</script></html>",
         "<html><p><p>x</p></p></html>", "<html><p>\xff</p></html>"}) {
      EXPECT_FALSE(ReadHelpPage(scratch.Write("page.html", text)).error.empty()) << text;
   }
}

} // namespace
} // namespace lui
