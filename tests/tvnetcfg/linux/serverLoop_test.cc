// SPDX-License-Identifier: GPL-2.0-or-later
// The server's loop on a channel that does what a test says.
#include "base/privilege.h"
#include "lui/channel.hh"
#include "support/privateEtc.hh"
#include "support/testProcess.hh"
#include "support/vnet/vnetDouble.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/serverMain.hh"

#include <algorithm>
#include <boost/property_tree/exceptions.hpp>
#include <deque>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <optional>
#include <unistd.h>

namespace {

// What the loop receives, in order: nothing is a failed receive. What it sends.
struct ChannelDouble {
   std::deque<std::optional<utf::string>> incoming;
   std::vector<utf::string> sent;
   // The number of messages that can be sent; beyond it sending fails.
   unsigned int sendLimit = 1000;
   unsigned int receives = 0;
} channel;

} // namespace

namespace lui::Utils {

bool SendData(int, utf::string const& text)
{
   if (channel.sent.size() >= channel.sendLimit) {
      return false;
   }
   channel.sent.push_back(text);
   return true;
}

bool ReceiveData(int, utf::string& text)
{
   ++channel.receives;
   if (channel.incoming.empty()) {
      ADD_FAILURE() << "the loop asks for more than there is";
      text = "Quit";
      return true;
   }
   auto const next = channel.incoming.front();
   channel.incoming.pop_front();
   if (next) {
      text = *next;
   }
   return next.has_value();
}

void WatchPeer(int, int, utf::string const&) {}
void UnwatchPeer(int) {}

} // namespace lui::Utils

namespace {

// What had been sent when the rights were given up. This process keeps its own.
std::vector<std::size_t> sentAtDrops;

} // namespace

bool Privilege_Drop(void)
{
   sentAtDrops.push_back(channel.sent.size());
   return true;
}

namespace {

using test::Pipe;

class ServerLoopTest : public testing::Test {
protected:
   ServerLoopTest()
   {
      channel = {};
      sentAtDrops.clear();
      test::VnetDouble::Reset();
   }

   // Runs the server role on the given messages.
   int Serve(std::deque<std::optional<utf::string>> messages)
   {
      channel.incoming = std::move(messages);
      Pipe request;
      Pipe reply;
      std::vector<std::string> texts{"tavrin-netcfg", std::to_string(request.GetReadEnd()),
                                     std::to_string(reply.GetWriteEnd()), std::to_string(getpid())};
      std::vector<char*> argv;
      for (std::string& text : texts) {
         argv.push_back(text.data());
      }
      argv.push_back(nullptr);
      return netcfg::server_main(4, argv.data());
   }

   static long CountCalls(std::string const& name)
   {
      auto const& log = test::VnetDouble::GetLog();
      return std::count_if(log.begin(), log.end(), [&](std::string const& line) {
         return line.compare(0, name.size() + 1, name + "(") == 0;
      });
   }

   static bool IsSnapshot(utf::string const& text)
   {
      std::unique_ptr<netcfg::common::Editable> const model(
         netcfg::common::Editable::Restore(text));
      return model != nullptr;
   }

   static utf::string MakeSave()
   {
      netcfg::common::Editable const empty(4);
      return utf::string("Save\n") + netcfg::common::Editable::Serialize(&empty);
   }
};

TEST_F(ServerLoopTest, GreetsBeforeItReceives)
{
   EXPECT_EQ(0, Serve({"Quit"}));
   ASSERT_EQ(1u, channel.sent.size());
   EXPECT_STREQ("Hello World!", channel.sent[0].c_str());
}

TEST_F(ServerLoopTest, GivesItsRightsUpOnceBeforeItGreets)
{
   Serve({"Quit"});
   EXPECT_EQ(std::vector<std::size_t>{0}, sentAtDrops);
}

TEST_F(ServerLoopTest, GreetingThatCannotBeSentGivesStatus1AndNoCall)
{
   channel.sendLimit = 0;
   EXPECT_EQ(1, Serve({}));
   EXPECT_EQ(0u, channel.receives);
   EXPECT_TRUE(test::VnetDouble::GetLog().empty());
}

TEST_F(ServerLoopTest, ModelIsSizedBeforeAnythingIsLoaded)
{
   Serve({"Quit"});
   ASSERT_FALSE(test::VnetDouble::GetLog().empty());
   EXPECT_EQ(0u, test::VnetDouble::GetLog().front().find("VNL_GetNumberOfVnets"));
}

TEST_F(ServerLoopTest, ClientsDeathDoesNotEndTheLoopByItself)
{
   std::deque<std::optional<utf::string>> messages(1000, std::nullopt);
   messages.push_back("Quit");
   EXPECT_EQ(0, Serve(messages));
   EXPECT_EQ(1001u, channel.receives);
   EXPECT_EQ(1u, channel.sent.size());
}

TEST_F(ServerLoopTest, QuitFirstUnloadsOnceWithNothingLoaded)
{
   EXPECT_EQ(0, Serve({"Quit"}));
   EXPECT_EQ(1, CountCalls("VNL_Unload"));
   EXPECT_EQ(0, CountCalls("VNL_Load"));
}

TEST_F(ServerLoopTest, LoadAnswersWithTheSnapshotAlone)
{
   EXPECT_EQ(0, Serve({"Load", "Quit"}));
   ASSERT_EQ(2u, channel.sent.size());
   EXPECT_TRUE(IsSnapshot(channel.sent[1]));
   EXPECT_EQ(1, CountCalls("VNL_Load"));
}

TEST_F(ServerLoopTest, LoadWithASecondLineIsLoad)
{
   EXPECT_EQ(0, Serve({"Load\nQuit", "Quit"}));
   ASSERT_EQ(2u, channel.sent.size());
   EXPECT_TRUE(IsSnapshot(channel.sent[1]));
}

TEST_F(ServerLoopTest, RunWithoutASaveUnloadsOnce)
{
   Serve({"Load", "Quit"});
   EXPECT_EQ(1, CountCalls("VNL_Unload"));
}

TEST_F(ServerLoopTest, RunWithASaveUnloadsTwiceAndSaysSuccess)
{
   if (!test::HavePrivateEtc()) {
      GTEST_SKIP() << test::GetPrivateEtcProblem();
   }
   EXPECT_EQ(0, Serve({"Load", MakeSave(), "Quit"}));
   EXPECT_EQ(2, CountCalls("VNL_Unload"));
   ASSERT_EQ(3u, channel.sent.size());
   EXPECT_STREQ("Success", channel.sent[2].c_str());
}

TEST_F(ServerLoopTest, LoadAfterASaveAnswersWithTheSavedModel)
{
   if (!test::HavePrivateEtc()) {
      GTEST_SKIP() << test::GetPrivateEtcProblem();
   }
   EXPECT_EQ(0, Serve({"Load", MakeSave(), "Load", "Quit"}));
   ASSERT_EQ(4u, channel.sent.size());
   EXPECT_NE(utf::string::npos, channel.sent[3].find("\"MaxNetworks\":\"4\"", 0));
}

TEST_F(ServerLoopTest, ReplyThatCannotBeSentLeavesWithStatus0)
{
   channel.sendLimit = 1;
   EXPECT_EQ(0, Serve({"Load"}));
   EXPECT_EQ(1u, channel.receives);
}

TEST_F(ServerLoopTest, FailThatCannotBeSentLeavesBeforeTheModelIsFilled)
{
   test::VnetDouble::SetDatabaseExists(false);
   channel.sendLimit = 1;
   EXPECT_EQ(0, Serve({"Load"}));
   EXPECT_EQ(0, CountCalls("VNL_GetHostAdapterList"));
}

TEST_F(ServerLoopTest, SaveWithoutJsonEndsTheProcessBeforeAnyFurtherCall)
{
   EXPECT_EXIT(
      {
         test::VnetDouble::SetTrace(2);
         Serve({"Save\nnonsense"});
      },
      testing::KilledBySignal(SIGABRT), "^VNL_GetNumberOfVnets\\(\\)\n.*NOT_REACHED");
}

TEST_F(ServerLoopTest, AnExceptionOfASnapshotGoesOutAndLeavesNothingOpen)
{
   auto const count = [] {
      std::filesystem::directory_iterator const open("/proc/self/fd");
      return std::distance(begin(open), end(open));
   };
   auto const before = count();
   EXPECT_THROW(Serve({"Save\n{}"}), boost::property_tree::ptree_bad_path);
   EXPECT_EQ(before, count());
   EXPECT_EQ(1u, channel.sent.size());
}

TEST_F(ServerLoopTest, SaveWithoutASnapshotEndsTheProcess)
{
   EXPECT_EXIT(Serve({"Save"}), testing::KilledBySignal(SIGABRT), "NOT_REACHED");
}

class FailedLoadTest : public ServerLoopTest {
protected:
   void ExpectFail(char const* text)
   {
      EXPECT_EQ(0, Serve({"Load", "Quit"}));
      ASSERT_EQ(3u, channel.sent.size());
      EXPECT_STREQ(text, channel.sent[1].c_str());
      EXPECT_TRUE(IsSnapshot(channel.sent[2])) << "a snapshot follows the failure";
   }
};

TEST_F(FailedLoadTest, MissingDatabaseIsToldWhateverTheStateOfTheOthers)
{
   test::VnetDouble::SetDatabaseExists(false);
   test::VnetDouble::SetDatabaseReadable(false);
   test::VnetDouble::SetDatabaseLoadable(false);
   ExpectFail("Fail\nNetwork configuration is missing. Ensure that /etc/tavrin/networking exists.");
   EXPECT_EQ(0, CountCalls("VNL_CanReadNetworkingDB"));
}

TEST_F(FailedLoadTest, UnreadableDatabaseIsTold)
{
   test::VnetDouble::SetDatabaseReadable(false);
   ExpectFail("Fail\nNetwork configuration format is unsupported. Ensure that "
              "/etc/tavrin/networking contains valid data.");
   EXPECT_EQ(0, CountCalls("VNL_Load"));
}

TEST_F(FailedLoadTest, DatabaseThatCannotBeLoadedIsTold)
{
   test::VnetDouble::SetDatabaseLoadable(false);
   ExpectFail("Fail\nUnable to load host network configuration. Are you root?");
}

class UnknownVerbTest : public ServerLoopTest, public testing::WithParamInterface<char const*> {};

TEST_P(UnknownVerbTest, EndsInPanic)
{
   EXPECT_EXIT(Serve({GetParam()}), testing::KilledBySignal(SIGABRT),
               "NOT_REACHED tvnetcfg/linux/main:358");
}

INSTANTIATE_TEST_SUITE_P(, UnknownVerbTest,
                         testing::Values("load", "QUIT", "", "\nLoad", " Load", "Loadx",
                                         "Hello World!"));

} // namespace
