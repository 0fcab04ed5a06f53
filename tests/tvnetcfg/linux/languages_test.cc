// SPDX-License-Identifier: GPL-2.0-or-later
// Every window in every language that has a catalogue.
#include "appearance.hh"
#include "cui/localString.hh"
#include "editorTest.hh"
#include "lib/cui/languages.hh"
#include "lui/helpDlg.hh"
#include "lui/helpFiles.hh"
#include "lui/messageDlgs.hh"
#include "mnemonics.hh"
#include "po/linguas.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/linux/addNetworkDlg.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/mapPortDlg.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <clocale>
#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <gtkmm/spinbutton.h>
#include <libintl.h>

// Tells gettext that the language may be another one; see "Being a gettext grok" in its manual.
extern "C" int _nl_msg_cat_cntr;

namespace {

using netcfg::common::NAT;
using netcfg::common::Network;
using test::gtk::FindAll;
using testing::IsSupersetOf;

bool IsRightToLeft(std::string const& language)
{
   return language == "ar";
}

void Speak(std::string const& language)
{
   std::setlocale(LC_ALL, "C.UTF-8");
   setenv("LANGUAGE", language.c_str(), 1);
   ++_nl_msg_cat_cntr;
   cui::SetCatalogueDirectory(TEST_BUILD_DIR "/locale");
   Gtk::Widget::set_default_direction(IsRightToLeft(language) ? Gtk::TEXT_DIR_RTL
                                                              : Gtk::TEXT_DIR_LTR);
   netcfg::Editor::sAutoBridgeComboText = {};
}

void SpeakNone()
{
   unsetenv("LANGUAGE");
   ++_nl_msg_cat_cntr;
   cui::SetCatalogueDirectory(nullptr);
   Gtk::Widget::set_default_direction(Gtk::TEXT_DIR_LTR);
   netcfg::Editor::sAutoBridgeComboText = {};
}

std::vector<std::string> ReadEntries(Gtk::Window& window)
{
   std::vector<std::string> texts;
   for (Gtk::Entry* const entry : FindAll<Gtk::Entry>(window)) {
      texts.push_back(entry->get_text());
   }
   return texts;
}

// The cells with addresses of the test's.
std::vector<std::string> FindAddresses(Gtk::TreeView& view)
{
   std::vector<std::string> addresses;
   for (int row = 0; row < test::gtk::CountRows(view); ++row) {
      for (std::string const& cell : test::gtk::ReadRow(view, row)) {
         if (cell.find("192.168") != std::string::npos) {
            addresses.push_back(cell);
         }
      }
   }
   return addresses;
}

class LanguagesTest : public test::EditorTest, public testing::WithParamInterface<std::string> {
protected:
   using Look = std::function<void(Gtk::Window&)>;

   ~LanguagesTest() override { SpeakNone(); }

   void SetUp() override
   {
      Speak(GetParam());
      OpenWithNetworks();
   }

   void OpenWithNetworks()
   {
      AddAdapters({"enp3s0", "wlp0s20f3"});
      AddFixed(2, "enp4s0");
      Add(Network::Bridged, 0).GetBridge()->SetAuto(true, {});
      Add(Network::HostOnly, 1, "172.16.104.0");
      Add(Network::NAT, 8, "192.168..0").SetMTU("9000");
      NAT& nat = *At(8).GetNAT();
      nat.SetGatewayIP("192.168.20.2");
      nat.SetPortForwardList({{8080, 80, true, "192.168..128", "Web server"}});
      nat.SetEnableIPv6(true);
      nat.SetIPv6Prefix("2001::/16");
      Open();
   }

   // Looks at the windows one by one.
   void Visit(Look const& look)
   {
      for (int row = 0; row < test::gtk::CountRows(List()); ++row) {
         SelectRow(row);
         LookAt(*editor, look);
      }
      VisitDialog(new netcfg::AddNetworkDlg(&model), look);
      VisitDialog(new netcfg::AutoBridgeDlg(&model), look);
      VisitDialog(new netcfg::NatSettingsDlg(At(8).GetNAT()), look);
      auto list = At(8).GetNAT()->GetPortForwardList();
      VisitDialog(new netcfg::MapPortDlg(&list, 0), look);
      VisitDialog(
         new lui::ErrorDlg(NAT::GetIPv6PrefixErrorMessage(NAT::PrefixV6BadSubnet), "", false),
         look);
      VisitDialog(new lui::HintDlg("tvnet8", "", false), look);
      std::string const page = lui::FindHelpPage("IDH_TVNET_NAT");
      VisitDialog(new lui::HelpDlg(page, lui::ReadHelpPage(page)), look);
   }

   template <typename Dialog>
   void VisitDialog(Dialog* dlg, Look const& look)
   {
      editor->AddManagedDlg(dlg);
      ASSERT_TRUE(test::gtk::WaitUntil([dlg] { return dlg->get_mapped(); }));
      LookAt(*dlg, look);
      editor->EndDlgs();
      test::gtk::Settle();
   }

   static void LookAt(Gtk::Window& window, Look const& look)
   {
      SCOPED_TRACE(window.get_title().raw());
      test::gtk::WaitForLayout(window);
      look(window);
   }

   void SelectRow(int row)
   {
      List().set_cursor(Gtk::TreePath(std::to_string(row)));
      test::gtk::Settle();
   }
};

class RightToLeftTest : public LanguagesTest {};

// In a locale that writes numbers otherwise.
class NumbersTest : public LanguagesTest {
protected:
   void SetUp() override
   {
      ASSERT_TRUE(
         locales.Speak(GetParam(), "UTF-8", IsRightToLeft(GetParam()) ? "ar_EG" : "de_DE"));
      Gtk::Widget::set_default_direction(IsRightToLeft(GetParam()) ? Gtk::TEXT_DIR_RTL
                                                                   : Gtk::TEXT_DIR_LTR);
      ++_nl_msg_cat_cntr;
      cui::SetCatalogueDirectory(TEST_BUILD_DIR "/locale");
      netcfg::Editor::sAutoBridgeComboText = {};
      OpenWithNetworks();
   }

private:
   cui::Languages locales;
};

std::vector<std::string> GetRightToLeft()
{
   std::vector<std::string> languages = test::ReadLanguages();
   std::erase_if(languages, [](std::string const& language) { return !IsRightToLeft(language); });
   return languages;
}

} // namespace

TEST_P(LanguagesTest, TitleIsTheCataloguesAndNoMnemonicStandsTwiceInAWindow)
{
   EXPECT_NE("Tavrin Network Editor", editor->get_title());
   EXPECT_NE(std::string::npos, editor->get_title().raw().find("Tavrin"));
   Visit([](Gtk::Window& window) {
      std::map<unsigned int, Gtk::Widget*> owners;
      for (auto const& [key, mnemonic] : test::FindMnemonics(window)) {
         EXPECT_TRUE(mnemonic.target) << mnemonic.text;
         EXPECT_TRUE(owners.emplace(key, mnemonic.target).second) << mnemonic.text;
      }
   });
}

TEST_P(LanguagesTest, NothingIsCutOffAndEveryWindowFitsOnASmallScreen)
{
   Visit([](Gtk::Window& window) {
      test::ExpectToFit(window);
      test::ExpectWholeTexts(window);
   });
}

INSTANTIATE_TEST_SUITE_P(In, LanguagesTest, testing::ValuesIn(test::ReadLanguages()),
                         test::NameLanguage);

TEST_P(RightToLeftTest, GtkTakesTheDirectionFromTheLanguage)
{
   if (std::string(dgettext("gtk30", "Close")) == "Close") {
      GTEST_SKIP() << "GTK's own texts aren't installed in this language";
   }
   EXPECT_EQ(GTK_TEXT_DIR_RTL, gtk_get_locale_direction());
}

TEST_P(RightToLeftTest, AddressesAndNumbersReadFromLeftToRight)
{
   std::size_t found = 0;
   Visit([&found](Gtk::Window& window) {
      for (Gtk::Entry* const entry : FindAll<Gtk::Entry>(window)) {
         EXPECT_TRUE(test::IsLeftToRight(entry->get_layout())) << entry->get_text();
      }
      for (Gtk::Label* const label : FindAll<Gtk::Label>(window)) {
         bool const isAddress = label->get_text().raw().find("192.168") != std::string::npos;
         EXPECT_TRUE(!isAddress || test::IsLeftToRight(label->get_layout())) << label->get_text();
      }
      for (Gtk::TreeView* const view : FindAll<Gtk::TreeView>(window)) {
         for (std::string const& cell : FindAddresses(*view)) {
            ++found;
            EXPECT_TRUE(test::IsLeftToRight(view->create_pango_layout(cell))) << cell;
         }
      }
   });
   EXPECT_LE(2u, found);
}

TEST_P(RightToLeftTest, ANetworksNumberStandsBehindItsName)
{
   VisitDialog(new netcfg::AddNetworkDlg(&model), [](Gtk::Window& window) {
      Gtk::Widget& name = *test::gtk::FindLabel(window, "tvnet");
      Gtk::Widget& number = *FindAll<Gtk::SpinButton>(window).at(0);
      int x = 0;
      int y = 0;
      ASSERT_TRUE(name.translate_coordinates(number, name.get_allocated_width(), 0, x, y));
      EXPECT_LE(x, 0);
      EXPECT_GT(x, -20);
   });
}

INSTANTIATE_TEST_SUITE_P(In, RightToLeftTest, testing::ValuesIn(GetRightToLeft()),
                         test::NameLanguage);

TEST_P(NumbersTest, AreWrittenInPlainDigits)
{
   EXPECT_NE("Tavrin Network Editor", editor->get_title()) << "the language wasn't taken";
   EXPECT_EQ("9000", test::WithoutMark(test::gtk::ReadRow(List(), 3).back()));
   VisitDialog(new netcfg::NatSettingsDlg(At(8).GetNAT()), [](Gtk::Window& window) {
      Gtk::TreeView& table = *FindAll<Gtk::TreeView>(window).at(0);
      EXPECT_EQ("8080", test::gtk::ReadRow(table, 0).at(0));
      EXPECT_THAT(ReadEntries(window), IsSupersetOf({"30", "192.168.20.2", "2001::/16"}));
   });
   auto list = At(8).GetNAT()->GetPortForwardList();
   VisitDialog(new netcfg::MapPortDlg(&list, 0), [](Gtk::Window& window) {
      EXPECT_THAT(ReadEntries(window), IsSupersetOf({"8080", "80", "192.168..128"}));
   });
}

INSTANTIATE_TEST_SUITE_P(In, NumbersTest, testing::Values("ar", "de"), test::NameLanguage);
