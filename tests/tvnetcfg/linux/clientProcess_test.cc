// SPDX-License-Identifier: GPL-2.0-or-later
// The client as the desktop starts it, on a desktop of the test's own. Elevation tools are
// stand-ins that run what they are given without more rights; the networks are a recording double.
#include "clientTest.hh"

#include <csignal>
#include <unistd.h>

namespace {

using test::ClientProcessTest;
using test::Eventually;
using test::ExitedWith;
using test::KilledBy;
using test::Milliseconds;
using test::ReadFile;
using test::TestProcess;

// --- root needs no tool

class RootClientTest : public ClientProcessTest {
protected:
   void SetUp() override
   {
      if (geteuid() != 0) {
         GTEST_SKIP() << "only root starts the server without an elevation tool";
      }
   }
};

TEST_F(RootClientTest, LoadsAndQuitsWithoutAnyTool)
{
   TestProcess client = Start({{"PATH", "/nowhere"}});
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   EXPECT_TRUE(Eventually([this] { return GetCalls().find("VNL_Unload") != std::string::npos; }));
   EXPECT_NE(std::string::npos, GetCalls().find("VNL_Load(0)"));
}

TEST_F(RootClientTest, LogNamesTheClientsOwnProcess)
{
   TestProcess client = Start();
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   ASSERT_EQ(1u, GetLogs().size()) << "the server and the forked child set no log up";
   std::string const path = GetLogs()[0];
   EXPECT_NE(std::string::npos, ReadFile(path).find("PID: " + std::to_string(client.GetPid()) +
                                                    ", log output: " + path));
}

TEST_F(RootClientTest, ProcessNameIsLeftAlone)
{
   TestProcess client = Start(Preload({{"SYSTEM_DOUBLE_LOG", dir.GetPath() / "system"}}));
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   EXPECT_EQ("fork \n", ReadFile(dir.GetPath() / "system"));
}

TEST_F(RootClientTest, PipeThatCannotBeMadeGivesStatus1InSilence)
{
#ifdef __SANITIZE_ADDRESS__
   GTEST_SKIP() << "the sanitizer's runtime makes pipes itself, to look at memory";
#endif
   for (char const* const which : {"pipe", "pipe2nd"}) {
      TestProcess client = Start(Preload({{"SYSTEM_DOUBLE_FAIL", which}}));
      EXPECT_TRUE(ExitedWith(client.Wait(), 1)) << which << client.GetOutput();
      EXPECT_EQ("", client.GetOutput());
   }
   EXPECT_TRUE(GetLogs().empty());
}

TEST_F(RootClientTest, ForkThatFailsGivesStatus0InSilence)
{
   TestProcess client = Start(Preload({{"SYSTEM_DOUBLE_FAIL", "fork"}}));
   EXPECT_TRUE(ExitedWith(client.Wait(), 0)) << client.GetOutput();
   EXPECT_EQ("", client.GetOutput());
   EXPECT_TRUE(GetLogs().empty());
}

TEST_F(RootClientTest, LogThatCannotBeStartedPanicsAndLeavesNoServer)
{
   std::string const file = dir.Write("notADirectory", "");
   TestProcess client = Start({{"XDG_STATE_HOME", file}});
   EXPECT_TRUE(KilledBy(client.Wait(), SIGABRT));
   EXPECT_NE(std::string::npos,
             client.GetOutput().find("tavrin-netcfg: Could not initialize logging"));

   EXPECT_TRUE(Eventually([&client] { return !HasProcessFor(client); }, Milliseconds(2000)))
      << "a server outlives its client";
}

TEST_F(RootClientTest, FailedLoadIsShownWithItsFirstLineAndEndsWithStatus1)
{
   TestProcess client = Start({{"TAVRIN_DOUBLE_DB", dir.Write("database", "exists=false\n")}});
   std::string const texts = Desktop({"texts", "tavrin-netcfg"});
   EXPECT_NE(std::string::npos, texts.find("Fail\nNetwork configuration is missing. Ensure that "
                                           "/etc/tavrin/networking exists."))
      << texts;
   Desktop({"press", "tavrin-netcfg", "Close"});
   EXPECT_TRUE(ExitedWith(client.Wait(), 1));
   EXPECT_TRUE(Eventually([this] { return GetCalls().find("VNL_Unload") != std::string::npos; }))
      << "the server notices that its client has gone";
}

// As on most machines, where few locales are known.
TEST_F(RootClientTest, SpeaksTheLanguageOfAnUnknownLocaleWithoutAWordAboutIt)
{
   TestProcess client = Start({{"LC_ALL", "de_QQ.UTF-8"}});
   Desktop({"press", "Tavrin-Netzwerkeditor", "Abbrechen"});
   EXPECT_TRUE(ExitedWith(client.Wait(), 0));
   EXPECT_EQ("", client.GetOutput());
}

TEST_F(RootClientTest, TheServersRefusalIsInTheUsersLanguage)
{
   TestProcess client = Start(
      {{"LC_ALL", "de_QQ.UTF-8"}, {"TAVRIN_DOUBLE_DB", dir.Write("database", "exists=false\n")}});
   std::string const texts = Desktop({"texts", "tavrin-netcfg"});
   EXPECT_NE(std::string::npos, texts.find("Fail\nDie Netzwerkkonfiguration fehlt.")) << texts;
   client.Signal(SIGKILL);
   EXPECT_TRUE(KilledBy(client.Wait(), SIGKILL));
}

TEST_F(RootClientTest, ServerKilledBeforeItAnswersGivesStatus1WithinASecond)
{
   // The toolkit is made ready to the end meanwhile, which takes the sanitizers far longer.
#ifdef __SANITIZE_ADDRESS__
   Milliseconds const second(10000);
#else
   Milliseconds const second(1000);
#endif
   TestProcess client = Start({{"TAVRIN_DOUBLE_STOP_AT", "VNL_Load"}});
   ASSERT_TRUE(Eventually([this] { return GetCalls().find("VNL_Load(0)") != std::string::npos; }));
   ASSERT_TRUE(HasProcessFor(client));
   EndProcessesFor(client);
   EXPECT_TRUE(ExitedWith(client.Wait(second), 1)) << client.GetOutput();
}

// --- an ordinary user needs one

class UserClientTest : public ClientProcessTest {
protected:
   void SetUp() override
   {
      if (geteuid() == 0) {
         GTEST_SKIP() << "root needs no elevation tool; these run once more as an ordinary user";
      }
   }

   // A tool that stays, with the program as a child of a child.
   std::string MakeGnomesu() const
   {
      return MakeTool("gnomesu", "#!/bin/sh\nprintf '%s\\n' \"$0\" \"$@\" >\"$HOME/vector\"\n"
                                 "(\"$@\"; exit $?)\nexit $?\n");
   }

   std::vector<std::string> GetVector() const
   {
      std::vector<std::string> lines;
      std::istringstream text(ReadFile(dir.GetPath() / "vector"));
      for (std::string line; std::getline(text, line);) {
         lines.push_back(line);
      }
      return lines;
   }

   // PATH without the tools of this machine.
   TestProcess::Environment OnlyOurTools() const { return {{"PATH", dir.GetPath() / "tools"}}; }

   void ExpectVector(std::string const& tool, std::string const& program, int client) const
   {
      std::vector<std::string> const vector = GetVector();
      ASSERT_EQ(5u, vector.size());
      EXPECT_EQ(tool, vector[0]);
      EXPECT_EQ(program, vector[1]);
      EXPECT_EQ(std::to_string(client), vector[4]);
      EXPECT_NE(vector[2], vector[3]);
   }
};

TEST_F(UserClientTest, PkexecGetsTheProgramTheTwoDescriptorsAndTheClient)
{
   std::string const tool = MakePkexec();
   TestProcess client = Start(OnlyOurTools());
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   ExpectVector(tool, TEST_BUILD_DIR "/tavrin-netcfg", client.GetPid());
}

TEST_F(UserClientTest, GnomesuGetsTheSame)
{
   std::string const tool = MakeGnomesu();
   TestProcess client = Start(OnlyOurTools());
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   ExpectVector(tool, TEST_BUILD_DIR "/tavrin-netcfg", client.GetPid());
}

TEST_F(UserClientTest, PkexecIsPreferred)
{
   std::string const tool = MakePkexec();
   MakeGnomesu();
   TestProcess client = Start(OnlyOurTools());
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   ASSERT_FALSE(GetVector().empty());
   EXPECT_EQ(tool, GetVector()[0]);
}

TEST_F(UserClientTest, DeveloperVariableTakesTheServerFromAboveTheLibraries)
{
   MakePkexec();
   for (char const* const value : {"1", " "}) {
      TestProcess client = Start(With(OnlyOurTools(), {{"TVDEVEL", value}}));
      ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
      ASSERT_EQ(5u, GetVector().size());
      EXPECT_EQ(TEST_BUILD_DIR "/lib/../tavrin-netcfg", GetVector()[1]);
   }
}

TEST_F(UserClientTest, EmptyDeveloperVariableCountsToo)
{
   MakePkexec();
   // By way of env(1), since an empty value here means to remove the variable.
   TestProcess client({"/usr/bin/env", "TVDEVEL=", TEST_BUILD_DIR "/tavrin-netcfg"},
                      With(GetEnvironment(), OnlyOurTools()));
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   ASSERT_EQ(5u, GetVector().size());
   EXPECT_EQ(TEST_BUILD_DIR "/lib/../tavrin-netcfg", GetVector()[1]);
}

TEST_F(UserClientTest, ProcessIsNamedPkexecForTheForkAloneAndHasItsNameBackAfterwards)
{
   MakePkexec();
   TestProcess client =
      Start(With(OnlyOurTools(), Preload({{"SYSTEM_DOUBLE_LOG", dir.GetPath() / "system"}})));
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   EXPECT_EQ(0u,
             ReadFile(dir.GetPath() / "system").find("name pkexec\nfork \nname tavrin-netcfg\n"));
}

TEST_F(UserClientTest, ProcessNameIsLeftAloneWithGnomesu)
{
   MakeGnomesu();
   TestProcess client =
      Start(With(OnlyOurTools(), Preload({{"SYSTEM_DOUBLE_LOG", dir.GetPath() / "system"}})));
   ASSERT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   EXPECT_EQ(std::string::npos, ReadFile(dir.GetPath() / "system").find("name "));
}

TEST_F(UserClientTest, WithoutAToolItSaysSoAndEndsWithStatus1)
{
   TestProcess client = Start(OnlyOurTools());
   std::string const texts = Desktop({"texts", "tavrin-netcfg"});
   EXPECT_NE(std::string::npos,
             texts.find("tavrin-netcfg needs pkexec or gnomesu to obtain root previlege. Please "
                        "install pkexec or gnomesu first, and then launch tavrin-netcfg again"))
      << texts;
   Desktop({"press", "tavrin-netcfg", "Close"});
   EXPECT_TRUE(ExitedWith(client.Wait(), 1));
   EXPECT_TRUE(GetLogs().empty()) << "nothing is logged before the fork";
}

class RefusedTest : public UserClientTest, public testing::WithParamInterface<char const*> {};

TEST_P(RefusedTest, GivesStatus1WithoutADialog)
{
   MakeTool("pkexec", GetParam());
   TestProcess client = Start(OnlyOurTools());
   EXPECT_TRUE(ExitedWith(client.Wait(), 1)) << client.GetOutput();
   EXPECT_EQ("", GetCalls());
}

INSTANTIATE_TEST_SUITE_P(, RefusedTest,
                         testing::Values("#!/bin/sh\nexit 126\n", "#!/bin/sh\nexit 127\n",
                                         "#!/bin/sh\nkill -9 $$\n", "#!/bin/sh\nexit 0\n",
                                         "#!/nonexistent\n"));

// --- a second launch

class SecondLaunchTest : public UserClientTest {};

TEST_F(SecondLaunchTest, EndsQuietlyAndTakesItsOwnPromptAway)
{
   // A prompt that nobody answers, and that keeps its command line.
   MakeTool("pkexec", "#!/bin/sh\nwhile :; do sleep 1; done\n");
   TestProcess::Environment const environment{
      {"PATH", std::string(dir.GetPath() / "tools") + ":/usr/bin:/bin"}};

   TestProcess first = Start(environment);
   ASSERT_TRUE(Eventually([&] { return HasProcessFor(first) && !GetLogs().empty(); }));
   TestProcess second = Start(environment);
   EXPECT_TRUE(ExitedWith(second.Wait(), 0)) << second.GetOutput();
   EXPECT_EQ("", second.GetOutput());

   EXPECT_TRUE(Eventually([&] { return !HasProcessFor(second); })) << "its prompt is left";
   EXPECT_TRUE(HasProcessFor(first)) << "the first launch's prompt was taken away";
   EXPECT_FALSE(first.Wait(Milliseconds(0)));
   EndProcessesFor(first);
   EXPECT_TRUE(ExitedWith(first.Wait(), 1));
}

TEST_F(SecondLaunchTest, WithoutASessionBusEveryLaunchRuns)
{
   MakePkexec();
   TestProcess client = Start(With(OnlyOurTools(), {{"DBUS_SESSION_BUS_ADDRESS", ""},
                                                    {"XDG_RUNTIME_DIR", dir.GetPath()},
                                                    {"NO_AT_BRIDGE", "1"}}));
   // Nobody can press a button without a bus.
   EXPECT_TRUE(Eventually(
      [this] { return GetCalls().find("VNL_FreeHostAdapterList") != std::string::npos; }));
   EXPECT_FALSE(client.Wait(Milliseconds(0)));
   client.Signal(SIGTERM);
   EXPECT_TRUE(KilledBy(client.Wait(), SIGTERM)) << client.GetOutput();
}

} // namespace
