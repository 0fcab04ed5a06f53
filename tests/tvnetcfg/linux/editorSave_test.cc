// SPDX-License-Identifier: GPL-2.0-or-later
// The reply buttons of the main window, with a scripted server at the other end.
#include "editorTest.hh"
#include "tvnetcfg/common/bridge.hh"

#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>

namespace {

using netcfg::common::Editable;
using netcfg::common::Network;
using test::gtk::FindWindow;

class EditorSaveTest : public test::EditorTest {
protected:
   // The model that the server would get, taken from the request to save.
   std::unique_ptr<Editable> TakeSavedModel()
   {
      std::string const message = TakeRequest().value_or("(none)");
      std::string const verb = "Save\n";
      if (message.compare(0, verb.size(), verb) != 0) {
         ADD_FAILURE() << "no request to save: " << message;
         return nullptr;
      }
      return std::unique_ptr<Editable>(Editable::Restore(message.substr(verb.size()).c_str()));
   }

   void ExpectClosedAfterQuit()
   {
      EXPECT_FALSE(IsOpen());
      EXPECT_EQ("Quit", TakeRequest());
      EXPECT_EQ(std::nullopt, TakeRequest());
   }

   void ExpectOpenInSilence()
   {
      EXPECT_TRUE(IsOpen());
      EXPECT_FALSE(FindWindow("Error"));
      EXPECT_EQ(std::nullopt, TakeRequest());
   }
};

// --- Save

TEST_F(EditorSaveTest, SendsTheWholeModelThoughNothingWasChanged)
{
   AddUsualNetworks();
   Open();
   Answer("Success");
   Click("Save");
   EXPECT_EQ(std::string("Save\n") + Editable::Serialize(&model).c_str(), TakeRequest());
   ExpectClosedAfterQuit();
}

TEST_F(EditorSaveTest, SnapshotIsAsciiSoThatItsCharactersAreItsBytesAndTheNulArrives)
{
   AddUsualNetworks();
   At(8).SetDisplayName("B\xc3\xbcro \xe2\x82\xac");
   Open();
   Answer("Success");
   Click("Save");
   std::unique_ptr<Editable> const saved = TakeSavedModel();
   ASSERT_TRUE(saved);
   EXPECT_EQ("B\xc3\xbcro \xe2\x82\xac", saved->GetNetwork(8)->GetDisplayName());
   ExpectClosedAfterQuit();
}

TEST_F(EditorSaveTest, RepeatedSubnetSelectsTheHigherNetworkAndTellsIt)
{
   AddUsualNetworks();
   Add(Network::HostOnly, 12, "192.168.8.0");
   Open();
   Click("Save");
   EXPECT_EQ("tvnet12: Subnet IPs must all be unique.", DismissError());
   EXPECT_EQ("tvnet12", Title());
   ExpectOpenInSilence();

   // Mended, it goes through.
   TypeInto(Subnet(), "10.12.0.0");
   Answer("Success");
   Click("Save");
   std::unique_ptr<Editable> const saved = TakeSavedModel();
   ASSERT_TRUE(saved);
   EXPECT_EQ("10.12.0.0", saved->GetNetwork(12)->GetSubnetAddr());
   ExpectClosedAfterQuit();
}

TEST_F(EditorSaveTest, RefusedNetworkIsScrolledIntoSight)
{
   for (unsigned int index = 1; index < 200; ++index) {
      Add(Network::HostOnly, index);
   }
   At(150).SetMTU("1");
   Open();
   Click("Save");
   EXPECT_EQ("tvnet150: Invalid MTU value. Must be between 68 and 9194.", DismissError());
   Gtk::TreePath first;
   Gtk::TreePath last;
   ASSERT_TRUE(List().get_visible_range(first, last));
   EXPECT_LE(first[0], 149);
   EXPECT_GE(last[0], 149);
   // And the keyboard goes on from there.
   List().grab_focus();
   Press(GDK_KEY_Down);
   EXPECT_EQ("tvnet151", Title());
}

TEST_F(EditorSaveTest, EmptiedMtuIsRefused)
{
   AddUsualNetworks();
   Open();
   Select(2);
   TypeInto(Mtu(), "");
   Click("Save");
   EXPECT_EQ("tvnet8: Invalid MTU value. Must be between 68 and 9194.", DismissError());
   ExpectOpenInSilence();
}

TEST_F(EditorSaveTest, BlankSubnetClearsTheMaskAndGoesThrough)
{
   AddUsualNetworks();
   Open();
   Select(2);
   TypeInto(Subnet(), "");
   Answer("Success");
   Click("Save");
   std::unique_ptr<Editable> const saved = TakeSavedModel();
   ASSERT_TRUE(saved);
   EXPECT_EQ("", saved->GetNetwork(8)->GetSubnetAddr());
   EXPECT_EQ("", saved->GetNetwork(8)->GetSubnetMask());
   ExpectClosedAfterQuit();
}

TEST_F(EditorSaveTest, RemovedNetworkIsSavedAsAnEmptySlot)
{
   AddUsualNetworks();
   Open();
   Select(1);
   Click("Remove Network");
   Answer("Success");
   Click("Save");
   std::unique_ptr<Editable> const saved = TakeSavedModel();
   ASSERT_TRUE(saved);
   EXPECT_EQ(1u, saved->GetNetworks().count(1));
   EXPECT_EQ(nullptr, saved->GetNetwork(1));
}

// --- the text that is still being typed

TEST_F(EditorSaveTest, ReplyWithoutTheButtonCommitsNothing)
{
   AddUsualNetworks();
   Open();
   Select(2);
   TypeInto(Subnet(), "10.8.0.0");
   Answer("Success");
   editor->OnClicked(0);
   std::unique_ptr<Editable> const saved = TakeSavedModel();
   ASSERT_TRUE(saved);
   EXPECT_EQ("192.168.8.0", saved->GetNetwork(8)->GetSubnetAddr());
}

// Types a subnet and lets the caller press Save in one way or the other.
class EditorTypedTextTest : public EditorSaveTest {
protected:
   void TypeSubnet()
   {
      AddUsualNetworks();
      Open();
      Select(2);
      TypeInto(Subnet(), "10.8.0.0");
      Answer("Success");
   }

   // The default button shows that it's pressed before it acts.
   void PressEnter()
   {
      Press(GDK_KEY_Return);
      EXPECT_TRUE(test::gtk::WaitUntil([this] { return !IsOpen(); }));
   }

   void ExpectSaved()
   {
      std::unique_ptr<Editable> const saved = TakeSavedModel();
      ASSERT_TRUE(saved);
      EXPECT_EQ("10.8.0.0", saved->GetNetwork(8)->GetSubnetAddr());
      ExpectClosedAfterQuit();
   }
};

TEST_F(EditorTypedTextTest, IsSavedByAClick)
{
   TypeSubnet();
   Click("Save");
   ExpectSaved();
}

TEST_F(EditorTypedTextTest, IsSavedByTheKeyboardOnTheButton)
{
   TypeSubnet();
   Gtk::Widget* const save = &test::gtk::Get<Gtk::Button>(*editor, "Save");
   for (int step = 0; step < 10 && editor->get_focus() != save; ++step) {
      Press(GDK_KEY_Tab);
   }
   ASSERT_EQ(save, editor->get_focus());
   Press(GDK_KEY_space);
   ExpectSaved();
}

TEST_F(EditorTypedTextTest, IsSavedByEnter)
{
   TypeSubnet();
   PressEnter();
   ExpectSaved();
}

TEST_F(EditorTypedTextTest, OfTheMtuIsSavedByEnter)
{
   AddUsualNetworks();
   Open();
   Select(2);
   TypeInto(Mtu(), "1400");
   Answer("Success");
   PressEnter();
   std::unique_ptr<Editable> const saved = TakeSavedModel();
   ASSERT_TRUE(saved);
   EXPECT_EQ("1400", saved->GetNetwork(8)->GetMTU());
}

// --- the automatic bridging dialog

TEST_F(EditorSaveTest, OpenDialogWithoutATickStopsTheSaveBeforeAnythingIsVerified)
{
   AddAdapters({"eth0"});
   Add(Network::Bridged, 0).GetBridge()->SetAuto(false, {});
   // Verify would refuse this one, and clear the mask of the other.
   Add(Network::HostOnly, 1, "127.0.0.0");
   Add(Network::HostOnly, 2);
   Open();
   Click("Automatic Settings...");
   ASSERT_TRUE(test::gtk::WaitUntil([] { return FindWindow("Automatic Bridging Settings"); }));
   ReturnToWindow();
   Click("Save");
   ASSERT_TRUE(test::gtk::WaitUntil([] { return FindWindow("Error"); }));
   EXPECT_EQ("You must select at least one host network adapter to automatically bridge to.",
             test::gtk::ReadLabel(*FindWindow("Error")));
   EXPECT_TRUE(FindWindow("Automatic Bridging Settings"));
   EXPECT_EQ("tvnet0", Title());
   EXPECT_EQ("255.255.255.0", At(2).GetSubnetMask());
   EXPECT_TRUE(IsOpen());
   EXPECT_EQ(std::nullopt, TakeRequest());
}

TEST_F(EditorSaveTest, OpenDialogWithATickGoesAlong)
{
   AddUsualNetworks();
   Open();
   Click("Automatic Settings...");
   ASSERT_TRUE(test::gtk::WaitUntil([] { return FindWindow("Automatic Bridging Settings"); }));
   ReturnToWindow();
   Answer("Success");
   Click("Save");
   EXPECT_TRUE(TakeSavedModel());
   ExpectClosedAfterQuit();
   EXPECT_FALSE(FindWindow("Automatic Bridging Settings"));
}

// --- a channel that fails

TEST_F(EditorSaveTest, AnyOtherAnswerLeavesTheWindowOpenInSilence)
{
   AddUsualNetworks();
   Open();
   Answer("Fail\nno");
   Click("Save");
   EXPECT_TRUE(TakeSavedModel());
   ExpectOpenInSilence();

   // It stays usable, and a further save is a whole one.
   Answer("Success");
   Click("Save");
   EXPECT_TRUE(TakeSavedModel());
   ExpectClosedAfterQuit();
}

TEST_F(EditorSaveTest, NoAnswerLeavesTheWindowOpenInSilence)
{
   AddUsualNetworks();
   Open();
   reply.CloseWriteEnd();
   Click("Save");
   EXPECT_TRUE(TakeSavedModel());
   ExpectOpenInSilence();
}

TEST_F(EditorSaveTest, NobodyToWriteToLeavesTheWindowOpenInSilence)
{
   AddUsualNetworks();
   Open();
   request.CloseReadEnd();
   Click("Save");
   EXPECT_TRUE(IsOpen());
   EXPECT_FALSE(FindWindow("Error"));
   Click("Cancel");
   EXPECT_FALSE(IsOpen());
}

// --- Cancel and Help

TEST_F(EditorSaveTest, CancelAsksNothingThoughTheModelWasEdited)
{
   AddUsualNetworks();
   Open();
   Select(2);
   Click(test::hostOnlyText);
   Click("Cancel");
   ExpectClosedAfterQuit();
}

TEST_F(EditorSaveTest, HelpLeavesTheSelectionAndAllEditsAlone)
{
   AddUsualNetworks();
   Open();
   Select(2);
   Click(test::dhcpText);
   utf::string const before = Editable::Serialize(&model);
   Click("Help");
   EXPECT_EQ("tvnet8", Title());
   EXPECT_EQ(before, Editable::Serialize(&model));
   EXPECT_TRUE(IsOpen());
   EXPECT_EQ(std::nullopt, TakeRequest());
}

} // namespace
