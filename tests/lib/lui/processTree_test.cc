// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/processTree.hh"

#include "forkedProcess.hh"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/prctl.h>

using lui::ChildrenOf;
using lui::FindServer;
using lui::ReadCommandLine;
using lui::ReadProcessStat;
using test::Eventually;
using test::ForkedProcess;

namespace {

int Idle()
{
   for (;;) {
      pause();
   }
}

// The arguments of a server of this process, with one of them replaced.
std::vector<std::string> MakeServerArguments(std::size_t which = 0, std::string const& text = {})
{
   std::vector<std::string> arguments{SERVER_STAND_IN, "3", "6", std::to_string(getpid())};
   if (which > 0) {
      arguments[which] = text;
   }
   return arguments;
}

bool Runs(ForkedProcess const& process, std::vector<std::string> const& arguments)
{
   return Eventually([&] { return ReadCommandLine(process.GetPid()) == arguments; });
}

} // namespace

TEST(ProcessTreeTest, TheStateOfAProcessIsReadWhateverItsName)
{
   ForkedProcess const process([] {
      prctl(PR_SET_NAME, ") Z 1 (x y");
      return Idle();
   });
   ASSERT_TRUE(Eventually([&] {
      auto const stat = ReadProcessStat(process.GetPid());
      return stat && stat->state == 'S';
   }));
   EXPECT_EQ(getpid(), ReadProcessStat(process.GetPid())->parent);
   EXPECT_FALSE(ReadProcessStat(process.GetPid())->startTime.empty());

   process.Kill();
   process.WaitForEnd();
   EXPECT_EQ('Z', ReadProcessStat(process.GetPid())->state);
   process.Reap();
   EXPECT_FALSE(ReadProcessStat(process.GetPid()));
}

TEST(ProcessTreeTest, ACommandLineKeepsEmptyArguments)
{
   std::vector<std::string> const arguments{SERVER_STAND_IN, "", "a b", ""};
   ForkedProcess const process(arguments);
   EXPECT_TRUE(Runs(process, arguments));
}

TEST(ProcessTreeTest, AnEndlessCommandLineIsNotRead)
{
   std::vector<std::string> const arguments{SERVER_STAND_IN, std::string(100000, 'x')};
   ForkedProcess const process(arguments);
   EXPECT_TRUE(Eventually([&] {
      return ReadProcessStat(process.GetPid())->state == 'S' &&
             ReadCommandLine(process.GetPid()).empty();
   }));
}

TEST(ProcessTreeTest, ChildrenAreFoundAndGrandchildrenAreNot)
{
   ForkedProcess const parent([] {
      ForkedProcess const child([] {
         ForkedProcess const grandchild(Idle);
         return Idle();
      });
      return Idle();
   });
   ASSERT_TRUE(Eventually([&] { return ChildrenOf(parent.GetPid()).size() == 1; }));
   int const child = ChildrenOf(parent.GetPid())[0];
   ASSERT_TRUE(Eventually([&] { return ChildrenOf(child).size() == 1; }));
   EXPECT_EQ(1u, ChildrenOf(parent.GetPid()).size());
   std::vector<int> const own = ChildrenOf(getpid());
   EXPECT_TRUE(std::find(own.begin(), own.end(), parent.GetPid()) != own.end());
}

TEST(ProcessTreeTest, AProcessThatIsNotThereHasNoChildrenAndNoCommandLine)
{
   EXPECT_TRUE(ChildrenOf(-1).empty());
   EXPECT_TRUE(ReadCommandLine(-1).empty());
   EXPECT_EQ(0, FindServer(-1, "tavrin-netcfg"));
}

TEST(ProcessTreeTest, TheServerIsFoundInPlace)
{
   ForkedProcess const server(MakeServerArguments());
   ASSERT_TRUE(Runs(server, MakeServerArguments()));
   EXPECT_EQ(server.GetPid(), FindServer(server.GetPid(), "tavrin-netcfg"));
}

TEST(ProcessTreeTest, TheServerIsFoundBelowOtherProcesses)
{
   int const client = getpid();
   ForkedProcess const tool([client] {
      ForkedProcess const helper([client] {
         ForkedProcess const other(Idle);
         ForkedProcess const server(
            {std::string(SERVER_STAND_IN), "3", "6", std::to_string(client)});
         return Idle();
      });
      return Idle();
   });
   EXPECT_TRUE(Eventually([&] { return FindServer(tool.GetPid(), "tavrin-netcfg") != 0; }));
   int const server = FindServer(tool.GetPid(), "tavrin-netcfg");
   EXPECT_EQ(MakeServerArguments(), ReadCommandLine(server));
}

TEST(ProcessTreeTest, TheSameNameWithOtherArgumentsIsNoServerOfOurs)
{
   // The last argument is one that runs, since the stand-in ends with the client that it names.
   std::string const own = std::to_string(getpid());
   std::vector<std::vector<std::string>> const others{
      {SERVER_STAND_IN},
      {SERVER_STAND_IN, "3", own},
      {SERVER_STAND_IN, "3", "6", own, own},
      MakeServerArguments(1, "x"),
      MakeServerArguments(1, ""),
      MakeServerArguments(2, "-6"),
      MakeServerArguments(3, "1"),
      MakeServerArguments(3, "0" + own),
   };
   for (std::vector<std::string> const& arguments : others) {
      ForkedProcess const process(arguments);
      ASSERT_TRUE(Runs(process, arguments));
      EXPECT_EQ(0, FindServer(process.GetPid(), "tavrin-netcfg"))
         << testing::PrintToString(arguments);
   }
}

TEST(ProcessTreeTest, AnotherProgramWithTheServersArgumentsIsNoServer)
{
   ForkedProcess const process(MakeServerArguments());
   ASSERT_TRUE(Runs(process, MakeServerArguments()));
   EXPECT_EQ(0, FindServer(process.GetPid(), "netcfg"));
}
