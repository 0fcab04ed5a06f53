// SPDX-License-Identifier: GPL-2.0-or-later
// The client's side of the channel when the real server dies under it, step by step.
#include "lui/channel.hh"
#include "support/privateEtc.hh"
#include "support/testProcess.hh"
#include "tvnetcfg/linux/saveMessage.hh"

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <signal.h>
#include <unistd.h>

namespace {

using test::Eventually;
using test::Milliseconds;
using test::TestProcess;
using Clock = std::chrono::steady_clock;

// The server stops itself in this call of the library, and is killed there.
struct Step {
   char const* name;
   char const* function;
};

class ServerDeathTest : public testing::Test {
protected:
   ServerDeathTest() { test::HavePrivateEtc(); }

   void SetUp() override
   {
      if (!test::HavePrivateEtc()) {
         GTEST_SKIP() << test::GetPrivateEtcProblem();
      }
   }

   ~ServerDeathTest() override
   {
      lui::Utils::UnwatchPeer(reply.GetReadEnd());
      lui::Utils::UnwatchPeer(request.GetWriteEnd());
   }

   // As the client does it: it holds all four ends itself.
   void Start(char const* stopAt)
   {
      server = std::make_unique<TestProcess>(
         std::vector<std::string>{TEST_BUILD_DIR "/tavrin-netcfg",
                                  std::to_string(request.GetReadEnd()),
                                  std::to_string(reply.GetWriteEnd()), std::to_string(getpid())},
         TestProcess::Environment{{"LD_LIBRARY_PATH", TEST_BUILD_DIR "/tests/double"},
                                  {"TAVRIN_DOUBLE_LOG", GetCallLogPath()},
                                  {"TAVRIN_DOUBLE_STOP_AT", stopAt}});
      lui::Utils::WatchPeer(reply.GetReadEnd(), server->GetPid(), "");
      lui::Utils::WatchPeer(request.GetWriteEnd(), server->GetPid(), "");
      ASSERT_TRUE(lui::Utils::WaitForMessageFromServer(reply.GetReadEnd(), "Hello World!"));
   }

   std::string GetCallLogPath() const { return dir.GetPath() / "calls"; }

   void KillAt(char const* function)
   {
      std::string const call = std::string(function) + "(";
      ASSERT_TRUE(Eventually([&] {
         return test::ReadFile(GetCallLogPath()).find(call) != std::string::npos;
      })) << function;
      server->Signal(SIGKILL);
   }

   void ExpectNoMessageWithinASecond()
   {
      auto const start = Clock::now();
      utf::string text;
      EXPECT_FALSE(lui::Utils::ReceiveData(reply.GetReadEnd(), text));
      EXPECT_LT(Clock::now() - start, std::chrono::seconds(1));
   }

   test::TempDir dir;
   test::Pipe request;
   test::Pipe reply;
   std::unique_ptr<TestProcess> server;
};

class DeathInLoadTest : public ServerDeathTest, public testing::WithParamInterface<Step> {};

TEST_P(DeathInLoadTest, EndsTheClientsWait)
{
   Start(GetParam().function);
   ASSERT_TRUE(lui::Utils::SendData(request.GetWriteEnd(), "Load"));
   KillAt(GetParam().function);
   ExpectNoMessageWithinASecond();
}

INSTANTIATE_TEST_SUITE_P(, DeathInLoadTest,
                         testing::Values(Step{"Sizing", "VNL_GetNumberOfVnets"},
                                         Step{"LookingForIt", "VNL_NetworkingDBExists"},
                                         Step{"Loading", "VNL_Load"},
                                         Step{"Filling", "VNL_GetVnetFeatures"},
                                         Step{"Freeing", "VNL_FreeHostAdapterList"}),
                         [](auto const& step) { return step.param.name; });

class DeathInSaveTest : public ServerDeathTest, public testing::WithParamInterface<Step> {};

TEST_P(DeathInSaveTest, EndsTheClientsWait)
{
   Start(GetParam().function);
   ASSERT_TRUE(lui::Utils::SendData(request.GetWriteEnd(), "Load"));
   utf::string snapshot;
   ASSERT_TRUE(lui::Utils::ReceiveData(reply.GetReadEnd(), snapshot));
   ASSERT_TRUE(netcfg::WriteSaveMessage(request.GetWriteEnd(), snapshot));
   KillAt(GetParam().function);
   ExpectNoMessageWithinASecond();
}

INSTANTIATE_TEST_SUITE_P(, DeathInSaveTest,
                         testing::Values(Step{"StoppingServices", "VNL_StopService"},
                                         Step{"Writing", "VNL_SetVnetSubnetMask"},
                                         Step{"StartingServices", "VNL_StartService"},
                                         Step{"Unloading", "VNL_Unload"}),
                         [](auto const& step) { return step.param.name; });

TEST_F(ServerDeathTest, WhileTheUserEditsMakesTheNextSaveFailAndTheOneAfterIt)
{
   Start("");
   ASSERT_TRUE(lui::Utils::SendData(request.GetWriteEnd(), "Load"));
   utf::string snapshot;
   ASSERT_TRUE(lui::Utils::ReceiveData(reply.GetReadEnd(), snapshot));
   server->Signal(SIGKILL);
   ASSERT_TRUE(server->Wait());

   // More than the pipe holds: nobody reads it any more.
   std::string const large(1 << 20, ' ');
   for (int attempt = 0; attempt < 2; ++attempt) {
      netcfg::WriteSaveMessage(request.GetWriteEnd(), large.c_str());
      ExpectNoMessageWithinASecond();
   }
   EXPECT_FALSE(lui::Utils::SendData(request.GetWriteEnd(), "Quit"));
}

TEST_F(ServerDeathTest, BeforeTheGreetingEndsTheWaitForIt)
{
   TestProcess mute = TestProcess::MakeIdle();
   lui::Utils::WatchPeer(reply.GetReadEnd(), mute.GetPid(), "");
   mute.Signal(SIGKILL);
   auto const start = Clock::now();
   EXPECT_FALSE(lui::Utils::WaitForMessageFromServer(reply.GetReadEnd(), "Hello World!"));
   EXPECT_LT(Clock::now() - start, std::chrono::seconds(1));
}

} // namespace
