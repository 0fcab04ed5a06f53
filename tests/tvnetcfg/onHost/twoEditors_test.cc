// SPDX-License-Identifier: GPL-2.0-or-later
// Who else writes the networks while an editor is open.
#include "support/netlab/dhcpClient.hh"
#include "support/netlab/ping.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/onHost/editing.hh"
#include "tvnetcfg/onHost/savedHost.hh"
#include "vnet/database/lockFile.hh"

#include <csignal>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace netcfg::onHost {

namespace {

using common::Network;
using testing::HasSubstr;

class TwoEditorsTest : public SavedHostTest {
protected:
   static std::optional<std::uint32_t> ReadMtu(unsigned int index)
   {
      return ReadSettings().networks.at(index).mtu;
   }

   // As a text editor does it.
   static void AppendByHand(std::string const& lines)
   {
      auto const text = ReadDatabase();
      WriteDatabase(text.substr(text.find('\n', text.find("version")) + 1) + lines);
   }
};

TEST_F(TwoEditorsTest, ASaveKeepsTheNetworkThatAnotherEditorAddedMeanwhile)
{
   Model const one = OpenEditor();
   Model const other = OpenEditor();
   AddHosted(*other, Network::HostOnly, 5);
   ASSERT_TRUE(Save(*other));
   one->GetNetwork(8)->SetMTU("1400");
   ASSERT_TRUE(Save(*one));

   EXPECT_TRUE(ReadSettings().networks.contains(5));
   EXPECT_EQ(1400u, ReadMtu(8));
   EXPECT_TRUE(HasLink("tvnet5"));
   EXPECT_EQ(3u, ListDnsmasqs().size());
   ExpectInLine();
}

TEST_F(TwoEditorsTest, TheLastOneWinsEachNetworkThatItsModelHolds)
{
   Model const one = OpenEditor();
   Model const other = OpenEditor();
   one->GetNetwork(8)->SetMTU("1400");
   one->GetNetwork(1)->SetMTU("1280");
   other->GetNetwork(8)->SetMTU("1300");
   ASSERT_TRUE(Save(*one));
   ASSERT_TRUE(Save(*other));

   EXPECT_EQ(1300u, ReadMtu(8));
   EXPECT_EQ(std::nullopt, ReadMtu(1));
   ExpectSaved(*other);
}

TEST_F(TwoEditorsTest, ARemovedNetworkComesBackWithTheEditorThatStillHoldsIt)
{
   Model const one = OpenEditor();
   Model const other = OpenEditor();
   other->RemoveNetwork(8);
   ASSERT_TRUE(Save(*other));
   EXPECT_FALSE(HasLink("tvnet8"));
   ASSERT_TRUE(Save(*one));

   ExpectSaved(*one);
}

TEST_F(TwoEditorsTest, ANetworkThatBothRemoveIsGone)
{
   Model const one = OpenEditor();
   Model const other = OpenEditor();
   one->RemoveNetwork(8);
   other->RemoveNetwork(8);
   ASSERT_TRUE(Save(*other));
   ASSERT_TRUE(Save(*one));

   ExpectSaved(*one);
}

TEST_F(TwoEditorsTest, WhatAHandWroteWhileAnEditorWasOpenStays)
{
   Model const editor = OpenEditor();
   AppendByHand("# for the lab\n[tvnet6]\nsubnet=192.168.6.0\nmask=255.255.255.0\nadapter=true\n"
                "colour=green\n");
   editor->GetNetwork(8)->SetMTU("1400");
   ASSERT_TRUE(Save(*editor));

   auto const text = ReadDatabase();
   EXPECT_THAT(text, HasSubstr("# for the lab\n[tvnet6]\n"));
   EXPECT_THAT(text, HasSubstr("colour=green\n"));
   EXPECT_EQ(1400u, ReadMtu(8));
   EXPECT_TRUE(HasLink("tvnet6"));
   ExpectInLine();
}

TEST_F(TwoEditorsTest, AFileThatAHandBrokeIsLeftAsItIs)
{
   Model const editor = OpenEditor();
   WriteDatabase("version=99\n");
   auto const broken = ReadDatabase();
   editor->GetNetwork(8)->SetMTU("1400");
   EXPECT_FALSE(Save(*editor));

   EXPECT_EQ(broken, ReadDatabase());
   EXPECT_TRUE(HasLink("tvnet1") && HasLink("tvnet8"));
}

TEST_F(TwoEditorsTest, ASaveStartsWhatTheCommandLineStopped)
{
   Model const editor = OpenEditor();
   RunWell({"stop"});
   editor->GetNetwork(8)->SetMTU("1400");
   ASSERT_TRUE(Save(*editor));

   ExpectSaved(*editor);
}

// Its holder's death ends a lock, though its file stays.
TEST_F(TwoEditorsTest, TheLockOfADeadProcessHoldsNobodyUp)
{
   int ready[2];
   ASSERT_EQ(0, pipe(ready));
   int const holder = fork();
   if (holder == 0) {
      auto const lock = vnet::LockFile::Take("/run/tavrin", std::chrono::seconds(5));
      char const byte = 0;
      _exit(write(ready[1], &byte, 1) == 1 && pause() == 0 ? 0 : 1);
   }
   char byte = 1;
   ASSERT_EQ(1, read(ready[0], &byte, 1));
   close(ready[0]);
   close(ready[1]);
   kill(holder, SIGKILL);
   ASSERT_EQ(holder, waitpid(holder, nullptr, 0));

   Model const editor = OpenEditor();
   editor->GetNetwork(8)->SetMTU("1400");
   ASSERT_TRUE(Save(*editor));
   EXPECT_EQ(1400u, ReadMtu(8));
}

// Each has its own network beside those that all have. Nobody waits for ever, nobody's last save is
// lost, and in the end the host is as the database says.
TEST_F(TwoEditorsTest, ManySavesAndCommandsAtOnceEndWell)
{
   constexpr unsigned int editors = 4;
   Model const common = OpenEditor();
   std::vector<Model> models;
   std::vector<std::unique_ptr<SavingProcess>> saves;
   for (unsigned int number = 0; number < editors; ++number) {
      models.push_back(Copy(*common));
      Network& own =
         AddHosted(*models.back(), number % 2 ? Network::NAT : Network::HostOnly, 10 + number);
      own.SetMTU(utf::IntToStr(1300 + number));
   }
   for (auto const& model : models) {
      saves.push_back(std::make_unique<SavingProcess>(*model, 3));
   }
   for (auto const* command : {"restart", "start", "status", "restart"}) {
      auto const outcome = Run({command});
      EXPECT_EQ(0, outcome.status) << outcome.output;
   }
   for (auto const& save : saves) {
      EXPECT_TRUE(save->Wait(test::patience * 3));
   }

   auto const settings = ReadSettings();
   for (unsigned int number = 0; number < editors; ++number) {
      ASSERT_TRUE(settings.networks.contains(10 + number)) << number;
      EXPECT_EQ(1300 + number, settings.networks.at(10 + number).mtu);
   }
   EXPECT_EQ(1u, ListWatchers().size());
   EXPECT_EQ(2 + editors, ListDnsmasqs().size());
   ExpectInLine();
}

} // namespace

} // namespace netcfg::onHost
