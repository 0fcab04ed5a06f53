// SPDX-License-Identifier: GPL-2.0-or-later
// The server executable at the end of real pipes. The test plays the client; an idle child stands
// for the client's process where that is to die.
#include "support/privateEtc.hh"
#include "support/rawChannel.hh"
#include "support/testProcess.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/nat.hh"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using netcfg::common::Editable;
using netcfg::common::Network;
using test::Eventually;
using test::ExitedWith;
using test::KilledBy;
using test::Milliseconds;
using test::ReadFile;
using test::TestProcess;

// Within this time a peer's end is to be noticed, on a busy machine too. The sanitizers' own work
// on the way out takes more.
#ifdef __SANITIZE_ADDRESS__
constexpr Milliseconds soon{20000};
#else
constexpr Milliseconds soon{5000};
#endif

class ServerProcessTest : public testing::Test {
protected:
   // A save writes netmap.conf. The client's process must be in the server's user namespace, so the
   // test itself moves, and before it has any child.
   ServerProcessTest() { test::HavePrivateEtc(); }

   void SetUp() override
   {
      if (!test::HavePrivateEtc()) {
         GTEST_SKIP() << test::GetPrivateEtcProblem();
      }
   }

   // Starts the server for the client process `client`, which has this test's descriptors.
   void Start(int client, TestProcess::Environment environment = {})
   {
      environment.emplace_back("LD_LIBRARY_PATH", TEST_BUILD_DIR "/tests/double");
      environment.emplace_back("TAVRIN_DOUBLE_LOG", GetCallLogPath());
      server = std::make_unique<TestProcess>(
         std::vector<std::string>{TEST_BUILD_DIR "/tavrin-netcfg",
                                  std::to_string(request.GetReadEnd()),
                                  std::to_string(reply.GetWriteEnd()), std::to_string(client)},
         environment);
   }

   void StartGreeted(int client, TestProcess::Environment const& environment = {})
   {
      Start(client, environment);
      ASSERT_EQ("Hello World!", Receive()) << server->GetOutput();
   }

   void Send(std::string const& text)
   {
      ASSERT_TRUE(test::WriteMessage(request.GetWriteEnd(), text));
   }

   std::string Receive() { return test::ReadMessage(reply.GetReadEnd()).value_or("(no message)"); }

   std::string Load()
   {
      Send("Load");
      return Receive();
   }

   std::string GetCallLogPath() const { return dir.GetPath() / "calls"; }
   std::string GetCalls() const { return ReadFile(GetCallLogPath()); }

   long CountCalls(std::string const& name) const
   {
      std::string const calls = "\n" + GetCalls();
      long count = 0;
      std::size_t at = 0;
      while ((at = calls.find("\n" + name + "(", at)) != std::string::npos) {
         ++count;
         ++at;
      }
      return count;
   }

   test::TempDir dir;
   test::Pipe request;
   test::Pipe reply;
   std::unique_ptr<TestProcess> server;
};

TEST_F(ServerProcessTest, ServesAWholeRunWithSaveAndEndsWithStatus0)
{
   StartGreeted(getpid());
   std::string const snapshot = Load();
   Send("Save\n" + snapshot);
   EXPECT_EQ("Success", Receive());
   Send("Quit");
   EXPECT_TRUE(ExitedWith(server->Wait(), 0)) << server->GetOutput();
   EXPECT_EQ(2, CountCalls("VNL_Unload"));
}

TEST_F(ServerProcessTest, QuitBeforeAnythingElseEndsWithStatus0)
{
   StartGreeted(getpid());
   Send("Quit");
   EXPECT_TRUE(ExitedWith(server->Wait(), 0));
   EXPECT_EQ(1, CountCalls("VNL_Unload"));
}

TEST_F(ServerProcessTest, SnapshotIsOneLineOfAsciiWithANewlineAtItsEnd)
{
   StartGreeted(getpid());
   std::string const snapshot = Load();
   ASSERT_FALSE(snapshot.empty());
   EXPECT_EQ(snapshot.size() - 1, snapshot.find('\n'));
   for (char const c : snapshot) {
      ASSERT_LT(static_cast<unsigned char>(c), 0x80);
   }
}

TEST_F(ServerProcessTest, UnknownVerbEndsInAPanicThatNamesItsPlace)
{
   StartGreeted(getpid());
   Send("load");
   EXPECT_TRUE(KilledBy(server->Wait(), SIGABRT));
   EXPECT_NE(std::string::npos, server->GetOutput().find("NOT_REACHED tvnetcfg/linux/main:358"));
}

TEST_F(ServerProcessTest, SaveOfTextThatIsNotJsonEndsTheProcessWithoutSuccess)
{
   StartGreeted(getpid());
   Load();
   Send("Save\n{\"MaxNetworks\":");
   EXPECT_TRUE(KilledBy(server->Wait(), SIGABRT));
   EXPECT_FALSE(test::ReadMessage(reply.GetReadEnd(), Milliseconds(50)));
   EXPECT_EQ(0, CountCalls("VNL_StopService"));
}

TEST_F(ServerProcessTest, SaveOfJsonWithoutAKeyEndsTheProcessWithoutSuccess)
{
   StartGreeted(getpid());
   Load();
   Send("Save\n{}");
   EXPECT_TRUE(KilledBy(server->Wait(), SIGABRT));
   EXPECT_EQ(0, CountCalls("VNL_StopService"));
}

TEST_F(ServerProcessTest, DeeplyNestedTextIsRefusedBeforeItOverflowsTheStack)
{
   StartGreeted(getpid());
   Send("Save\n" + std::string(1000000, '['));
   EXPECT_TRUE(KilledBy(server->Wait(), SIGABRT));
   EXPECT_NE(std::string::npos, server->GetOutput().find("NOT_REACHED"));
}

// --- start

class BadArgumentsTest : public ServerProcessTest,
                         public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(BadArgumentsTest, EndWithStatus1)
{
   std::vector<std::string> arguments{TEST_BUILD_DIR "/tavrin-netcfg"};
   for (std::string argument : GetParam()) {
      if (argument == "READ") {
         argument = std::to_string(request.GetReadEnd());
      } else if (argument == "WRITE") {
         argument = std::to_string(reply.GetWriteEnd());
      } else if (argument == "PID") {
         argument = std::to_string(getpid());
      }
      arguments.push_back(argument);
   }
   TestProcess process(arguments, {{"LD_LIBRARY_PATH", TEST_BUILD_DIR "/tests/double"}});
   EXPECT_TRUE(ExitedWith(process.Wait(), 1)) << process.GetOutput();
}

using Words = std::vector<std::string>;
INSTANTIATE_TEST_SUITE_P(, BadArgumentsTest,
                         testing::Values(Words{"READ"}, Words{"READ", "WRITE"},
                                         Words{"READ", "WRITE", ""}, Words{"READ", "WRITE", "0"},
                                         Words{"READ", "WRITE", "-1"},
                                         Words{"READ", "WRITE", "999999999999999999999"},
                                         Words{"READ", "100000", "PID"},
                                         Words{"-1", "WRITE", "PID"}, Words{"", "", ""},
                                         Words{"--help"}, Words{"x", "y", "z", "more"}));

TEST_F(ServerProcessTest, MissingReplyPipeGivesStatus1)
{
   int const gone = reply.GetWriteEnd();
   reply.CloseWriteEnd();
   TestProcess process({TEST_BUILD_DIR "/tavrin-netcfg", std::to_string(request.GetReadEnd()),
                        std::to_string(gone), std::to_string(getpid())},
                       {{"LD_LIBRARY_PATH", TEST_BUILD_DIR "/tests/double"}});
   EXPECT_TRUE(ExitedWith(process.Wait(), 1));
}

TEST_F(ServerProcessTest, ClientThatHasEndedAlreadyGivesStatus1)
{
   int gone;
   {
      TestProcess const client = TestProcess::MakeIdle();
      gone = client.GetPid();
   }
   Start(gone);
   EXPECT_TRUE(ExitedWith(server->Wait(), 1));
}

TEST_F(ServerProcessTest, RegularFileInPlaceOfAPipeIsNotWritten)
{
   std::string const path = dir.Write("victim", "precious");
   int const fd = open(path.c_str(), O_WRONLY | O_APPEND);
   TestProcess process({TEST_BUILD_DIR "/tavrin-netcfg", std::to_string(request.GetReadEnd()),
                        std::to_string(fd), std::to_string(getpid())},
                       {{"LD_LIBRARY_PATH", TEST_BUILD_DIR "/tests/double"}});
   EXPECT_TRUE(ExitedWith(process.Wait(), 1));
   close(fd);
   EXPECT_EQ("precious", ReadFile(path));
}

TEST_F(ServerProcessTest, ServerGivesInheritedDescriptorsNoUse)
{
   // The numbers name the client's descriptors: in the server the same numbers are other files.
   TestProcess client = TestProcess::MakeIdle();
   Start(client.GetPid());
   EXPECT_EQ("Hello World!", Receive());
   Send("Quit");
   EXPECT_TRUE(ExitedWith(server->Wait(), 0));
}

// --- databases that can't be opened

class FailTest : public ServerProcessTest {
protected:
   void ExpectFailThenSnapshot(std::string const& state, std::string const& text)
   {
      StartGreeted(getpid(), {{"TAVRIN_DOUBLE_DB", dir.Write("database", state)}});
      EXPECT_EQ("Fail\n" + text, Load());
      std::unique_ptr<Editable> const model(Editable::Restore(Receive().c_str()));
      EXPECT_TRUE(model);
      Send("Quit");
      EXPECT_TRUE(ExitedWith(server->Wait(), 0));
   }
};

TEST_F(FailTest, MissingDatabaseIsTold)
{
   ExpectFailThenSnapshot("exists=false\n",
                          "Network configuration is missing. Ensure that /etc/tavrin/networking "
                          "exists.");
}

TEST_F(FailTest, UnreadableDatabaseIsTold)
{
   ExpectFailThenSnapshot("readable=false\n",
                          "Network configuration format is unsupported. Ensure that "
                          "/etc/tavrin/networking contains valid data.");
}

TEST_F(FailTest, DatabaseThatCannotBeLoadedIsTold)
{
   ExpectFailThenSnapshot("loadable=false\n",
                          "Unable to load host network configuration. Are you root?");
}

// --- large and foreign texts

// A model whose snapshot has at least `bytes` bytes.
std::unique_ptr<Editable> MakeLargeModel(std::size_t bytes)
{
   auto model = std::make_unique<Editable>(256);
   Network* const network = model->AddNetwork(Network::NAT, 8, false, {});
   netcfg::common::NAT::PortForwardList forwards;
   std::string const description(100, 'x');
   for (std::size_t i = 0; i < bytes / 150 + 1; ++i) {
      auto const port = static_cast<std::uint16_t>(i % 65535 + 1);
      forwards.push_back({port, port, i < 65535, "192.168.8.128", description.c_str()});
   }
   network->GetNAT()->SetPortForwardList(forwards);
   return model;
}

TEST_F(ServerProcessTest, SnapshotOf8MiBIsSaved)
{
   StartGreeted(getpid());
   Load();
   utf::string const snapshot = Editable::Serialize(MakeLargeModel(8 << 20).get());
   ASSERT_GE(snapshot.bytes(), 8u << 20);
   Send("Save\n" + std::string(snapshot.c_str()));
   EXPECT_EQ("Success", Receive());
   EXPECT_NE(std::string::npos, GetCalls().find("VNL_SetNATPortForward(\"tvnet8\""));
   Send("Quit");
   EXPECT_TRUE(ExitedWith(server->Wait(), 0));
}

TEST_F(ServerProcessTest, NonAsciiDescriptionComesBackEqual)
{
   char const description[] = "B\xc3\xbcro \xe2\x82\xac \xf0\x9f\x90\xa7 \"quoted\"";
   StartGreeted(getpid());
   std::unique_ptr<Editable> const model(Editable::Restore(Load().c_str()));
   ASSERT_TRUE(model && model->GetNetwork(8));
   model->GetNetwork(8)->GetNAT()->SetPortForwardList(
      {{8888, 80, true, "192.168.8.130", description}});
   Send(std::string("Save\n") + Editable::Serialize(model.get()).c_str());
   EXPECT_EQ("Success", Receive());

   // The double keeps its database within one process.
   std::unique_ptr<Editable> const saved(Editable::Restore(Load().c_str()));
   ASSERT_TRUE(saved && saved->GetNetwork(8));
   auto const& forwards = saved->GetNetwork(8)->GetNAT()->GetPortForwardList();
   ASSERT_EQ(1u, forwards.size());
   EXPECT_STREQ(description, forwards[0].description.c_str());
   Send("Quit");
   EXPECT_TRUE(ExitedWith(server->Wait(), 0));
}

TEST_F(ServerProcessTest, DisplayNameWithANewlineIsSavedWhole)
{
   StartGreeted(getpid());
   std::unique_ptr<Editable> const model(Editable::Restore(Load().c_str()));
   ASSERT_TRUE(model && model->GetNetwork(8));
   model->GetNetwork(8)->SetDisplayName("two\nlines");
   Send(std::string("Save\n") + Editable::Serialize(model.get()).c_str());
   EXPECT_EQ("Success", Receive());

   std::unique_ptr<Editable> const saved(Editable::Restore(Load().c_str()));
   ASSERT_TRUE(saved && saved->GetNetwork(8));
   EXPECT_STREQ("two\nlines", saved->GetNetwork(8)->GetDisplayName().c_str());
   Send("Quit");
   EXPECT_TRUE(ExitedWith(server->Wait(), 0));
}

TEST_F(ServerProcessTest, EmptyDatabaseStillGivesAnObjectAndNoFailure)
{
   StartGreeted(getpid(), {{"TAVRIN_DOUBLE_DB", dir.Write("database", "vnets=0\n")}});
   EXPECT_EQ("{\"MaxNetworks\":\"0\",\"Networks\":\"\",\"AutoBridgeNetworkIndex\":\"-1\","
             "\"HostAdapterDisplayName\":\"\"}\n",
             Load());
   Send("Quit");
   EXPECT_TRUE(ExitedWith(server->Wait(), 0));
}

// --- the client's end

class ClientDeathTest : public ServerProcessTest {
protected:
   TestProcess client = TestProcess::MakeIdle();

   void ExpectOrderlyEndSoon()
   {
      client.Signal(SIGKILL);
      client.Wait();
      EXPECT_TRUE(ExitedWith(server->Wait(soon), 0)) << server->GetOutput();
   }
};

TEST_F(ClientDeathTest, BeforeTheLoadEndsTheServerInOrder)
{
   StartGreeted(client.GetPid());
   ExpectOrderlyEndSoon();
   EXPECT_EQ(1, CountCalls("VNL_Unload"));
}

TEST_F(ClientDeathTest, WhileTheUserEditsEndsTheServerInOrder)
{
   StartGreeted(client.GetPid());
   Load();
   ExpectOrderlyEndSoon();
   EXPECT_EQ(1, CountCalls("VNL_Unload"));
}

TEST_F(ClientDeathTest, UnreapedClientCountsAsEnded)
{
   StartGreeted(client.GetPid());
   client.Signal(SIGKILL);
   EXPECT_TRUE(ExitedWith(server->Wait(soon), 0));
}

TEST_F(ClientDeathTest, InTheMiddleOfAMessageDropsTheMessage)
{
   StartGreeted(client.GetPid());
   Load();
   std::string const half = "Save\n{\"MaxNet";
   ASSERT_EQ(static_cast<ssize_t>(half.size()),
             write(request.GetWriteEnd(), half.data(), half.size()));
   ExpectOrderlyEndSoon();
   EXPECT_EQ(0, CountCalls("VNL_StopService"));
}

TEST_F(ClientDeathTest, AfterACompleteSaveStillSaves)
{
   StartGreeted(client.GetPid());
   std::string const snapshot = Load();
   Send("Save\n" + snapshot);
   client.Signal(SIGKILL);
   EXPECT_TRUE(server->Wait());
   // Once for each of the two hosted networks.
   EXPECT_EQ(2, CountCalls("VNL_UpdateNATFromConfig"));
}

TEST_F(ClientDeathTest, WhileALargeSnapshotFillsThePipeEndsTheServer)
{
   // Nobody reads the reply, so that the server stands in its send when the client dies.
   std::string state = "network=8 nat dhcp adapter 192.168.8.0 255.255.255.0\n";
   for (int port = 1; port <= 5000; ++port) {
      state += "forward=8 tcp " + std::to_string(port) + " 192.168.8.130 80 description\n";
   }
   StartGreeted(client.GetPid(), {{"TAVRIN_DOUBLE_DB", dir.Write("database", state)}});
   Send("Load");
   ASSERT_TRUE(Eventually([this] { return CountCalls("VNL_FreeHostAdapterList") == 1; }));
   ExpectOrderlyEndSoon();
}

TEST_F(ServerProcessTest, WaitingServerUsesNoProcessorTime)
{
   StartGreeted(getpid());
   Load();
   auto const ticks = [this] {
      std::string const stat = ReadFile("/proc/" + std::to_string(server->GetPid()) + "/stat");
      std::istringstream fields(stat.substr(stat.rfind(')') + 2));
      std::string skipped;
      for (int i = 0; i < 11; ++i) {
         fields >> skipped;
      }
      long user = 0;
      long system = 0;
      fields >> user >> system;
      return user + system;
   };
   long const before = ticks();
   usleep(500000);
   EXPECT_LE(ticks() - before, 1);
   Send("Quit");
   EXPECT_TRUE(ExitedWith(server->Wait(), 0));
}

} // namespace
