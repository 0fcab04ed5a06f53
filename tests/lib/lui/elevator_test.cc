// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/elevator.hh"

#include "forkedProcess.hh"
#include "lui/channel.hh"
#include "lui/channelPeer.hh"
#include "lui/processTree.hh"
#include "support/logDouble.hh"
#include "testThread.hh"

#include <gmock/gmock.h>
#include <sys/stat.h>

using lui::Utils::FindAvailableElevator;
using lui::Utils::WaitForElevator;
using test::Eventually;
using test::ForkedProcess;
using test::Milliseconds;
using test::OnceAsleep;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class ElevatorTest : public testing::Test {
protected:
   ElevatorTest()
      : serverArguments{SERVER_STAND_IN, std::to_string(request.GetReadEnd()),
                        std::to_string(reply.GetWriteEnd()), std::to_string(getpid())}
   {
      test::LogDouble::Clear();
   }
   ~ElevatorTest() override
   {
      lui::Utils::UnwatchPeer(request.GetWriteEnd());
      lui::Utils::UnwatchPeer(reply.GetReadEnd());
   }

   // A tool that does what the shell's text says. "$@" runs the server.
   std::vector<std::string> MakeTool(std::string const& name, std::string const& text) const
   {
      std::vector<std::string> arguments{dir.Write(name, "#!/bin/sh\n" + text + "\n")};
      chmod(arguments[0].c_str(), 0700);
      arguments.insert(arguments.end(), serverArguments.begin(), serverArguments.end());
      return arguments;
   }

   void Watch(ForkedProcess const& tool) const
   {
      lui::Utils::WatchPeer(request.GetWriteEnd(), tool.GetPid(), "");
      lui::Utils::WatchPeer(reply.GetReadEnd(), tool.GetPid(), "Quit");
   }

   // Runs a tool, waits for it, and reaps it. Whether it got the server running.
   bool RunTool(std::string const& name, std::string const& text)
   {
      ForkedProcess const tool(MakeTool(name, text));
      Watch(tool);
      bool const isRunning = WaitForElevator(tool.GetPid(), name.c_str(), "tavrin-netcfg");
      if (isRunning) {
         tool.Kill();
      }
      EXPECT_TRUE(tool.Reap().has_value()) << "the child was reaped by somebody else";
      return isRunning;
   }

   test::TempDir dir;
   test::Pipe request;
   test::Pipe reply;
   std::vector<std::string> serverArguments;
};

} // namespace

TEST_F(ElevatorTest, AToolThatBecomesTheServerSucceeds)
{
   EXPECT_TRUE(RunTool("pkexec", "exec \"$@\""));
   EXPECT_THAT(test::LogDouble::GetLines(), IsEmpty());
}

TEST_F(ElevatorTest, AToolThatStartsTheServerBelowItselfSucceeds)
{
   EXPECT_TRUE(RunTool("gnomesu", "\"$@\" & wait"));
}

TEST_F(ElevatorTest, AServerBelowShellsSucceeds)
{
   EXPECT_TRUE(RunTool("gnomesu", "sh -c \"sh -c '$*; true'; true\"; true"));
}

TEST_F(ElevatorTest, TheWaitLastsUntilTheServerRuns)
{
   ForkedProcess const tool(MakeTool("pkexec", "while [ ! -e " + dir.GetPath().string() +
                                                  "/password ]; do sleep 0.01; done\n"
                                                  "exec \"$@\""));
   OnceAsleep user([this] { dir.Write("password", ""); });
   EXPECT_TRUE(WaitForElevator(tool.GetPid(), "pkexec", "tavrin-netcfg"));
   EXPECT_TRUE(std::filesystem::exists(dir.GetPath() / "password"));
   EXPECT_LT(user.GetAge(), Milliseconds(3000));
}

TEST_F(ElevatorTest, TheWatchFollowsTheServerThatWasFound)
{
   ForkedProcess const tool(MakeTool("gnomesu", "\"$@\" & wait; while :; do sleep 1; done"));
   Watch(tool);
   ASSERT_TRUE(WaitForElevator(tool.GetPid(), "gnomesu", "tavrin-netcfg"));
   int const server = lui::FindServer(tool.GetPid(), "tavrin-netcfg");
   ASSERT_NE(tool.GetPid(), server);
   EXPECT_EQ(std::set<int>{server}, lui::ChannelEnds::Get().Peers());

   utf::string text;
   OnceAsleep killer([server] { kill(server, SIGKILL); });
   EXPECT_TRUE(lui::Utils::ReceiveData(reply.GetReadEnd(), text));
   EXPECT_EQ("Quit", text);
   EXPECT_LT(killer.GetAge(), Milliseconds(1000));
}

TEST_F(ElevatorTest, AProcessOfTheSameNameIsNotTheServer)
{
   std::string text;
   for (char const* decoy : {"\"$1\"", "\"$1\" 3 6", "\"$1\" 3 6 1", "\"$1\" a b $4", "\"$@\" 7"}) {
      text += std::string(decoy) + " & pids=\"$pids $!\"\n";
   }
   EXPECT_FALSE(RunTool("gnomesu", text + "sleep 0.3; kill $pids; wait; exit 1"));
}

TEST_F(ElevatorTest, ARefusalFailsAndIsLogged)
{
   EXPECT_FALSE(RunTool("pkexec", "exit 126"));
   EXPECT_THAT(test::LogDouble::GetLines(),
               ElementsAre(HasSubstr("pkexec: the request for the password was dismissed\n")));
   test::LogDouble::Clear();
   EXPECT_FALSE(RunTool("pkexec", "exit 127"));
   EXPECT_THAT(test::LogDouble::GetLines(),
               ElementsAre(HasSubstr("pkexec: not authorized, or the tool could not start\n")));
   test::LogDouble::Clear();
   EXPECT_FALSE(RunTool("gnomesu", "exit 126"));
   EXPECT_THAT(test::LogDouble::GetLines(),
               ElementsAre(HasSubstr("gnomesu: ended with status 126\n")));
}

TEST_F(ElevatorTest, AToolThatIsKilledFailsAndIsLogged)
{
   EXPECT_FALSE(RunTool("pkexec", "kill -KILL $$"));
   EXPECT_THAT(test::LogDouble::GetLines(), ElementsAre(HasSubstr("pkexec: ended by signal 9\n")));
}

TEST_F(ElevatorTest, AToolThatEndsWellWithoutAServerFails)
{
   EXPECT_FALSE(RunTool("pkexec", "exit 0"));
   EXPECT_THAT(test::LogDouble::GetLines(),
               ElementsAre(HasSubstr("pkexec: ended with status 0\n")));
}

TEST_F(ElevatorTest, TheEndOfAToolThatAsksIsNoticedAtOnce)
{
   ForkedProcess const tool(MakeTool("pkexec", "exec sleep 1000"));
   OnceAsleep killer([&] { tool.Kill(); });
   EXPECT_FALSE(WaitForElevator(tool.GetPid(), "pkexec", "tavrin-netcfg"));
   EXPECT_LT(killer.GetAge(), Milliseconds(500));
   EXPECT_TRUE(test::KilledBy(tool.Reap(), SIGKILL));
}

TEST_F(ElevatorTest, AChildThatSomebodyReapedFails)
{
   ForkedProcess const tool([] { return 0; });
   tool.Reap();
   EXPECT_FALSE(WaitForElevator(tool.GetPid(), "pkexec", "tavrin-netcfg"));
   EXPECT_FALSE(WaitForElevator(-1, "pkexec", "tavrin-netcfg"));
   EXPECT_FALSE(WaitForElevator(0, "pkexec", "tavrin-netcfg"));
}

TEST_F(ElevatorTest, AGreetingSucceedsWhereTheServerCannotBeSeen)
{
   ForkedProcess const tool([this] {
      usleep(50000);
      return lui::Utils::SendData(reply.GetWriteEnd(), "Hello World!") ? pause() : 1;
   });
   Watch(tool);
   EXPECT_TRUE(WaitForElevator(tool.GetPid(), "gnomesu", "tavrin-netcfg"));
   EXPECT_TRUE(lui::Utils::WaitForMessageFromServer(reply.GetReadEnd(), "Hello World!"));
}

TEST_F(ElevatorTest, APipeWithoutAWriterNeitherSucceedsNorSpins)
{
   ForkedProcess const tool([] {
      usleep(500000);
      return 1;
   });
   // Made after the fork, so the tool doesn't hold it open.
   test::Pipe orphan;
   lui::Utils::WatchPeer(orphan.GetReadEnd(), tool.GetPid(), "");
   orphan.CloseWriteEnd();

   auto const start = test::GetProcessorTime();
   EXPECT_FALSE(WaitForElevator(tool.GetPid(), "pkexec", "tavrin-netcfg"));
   EXPECT_LT(test::GetProcessorTime() - start, Milliseconds(100));
   lui::Utils::UnwatchPeer(orphan.GetReadEnd());
}

TEST_F(ElevatorTest, PkexecIsPreferredAndOnlyWhatCanBeRunCounts)
{
   std::string const path = getenv("PATH");
   setenv("PATH", dir.GetPath().c_str(), 1);
   utf::string name = "name";
   utf::string file = "file";
   EXPECT_FALSE(FindAvailableElevator(name, file));
   EXPECT_EQ("name", name);
   EXPECT_EQ("file", file);

   MakeTool("gnomesu", "");
   dir.Write("pkexec", ""); // not executable
   EXPECT_TRUE(FindAvailableElevator(name, file));
   EXPECT_EQ("gnomesu", name);
   EXPECT_EQ((dir.GetPath() / "gnomesu").c_str(), file);

   MakeTool("pkexec", "");
   EXPECT_TRUE(FindAvailableElevator(name, file));
   EXPECT_EQ("pkexec", name);
   EXPECT_EQ((dir.GetPath() / "pkexec").c_str(), file);
   setenv("PATH", path.c_str(), 1);
}
