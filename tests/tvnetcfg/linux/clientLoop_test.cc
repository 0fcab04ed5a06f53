// SPDX-License-Identifier: GPL-2.0-or-later
// The client from the good reply on: its window, a later launch, replies that can't be edited, and
// the whole program used as somebody with a screen reader would.
#include "clientTest.hh"
#include "support/privateEtc.hh"

#include <csignal>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using test::Eventually;
using test::ExitedWith;
using test::KilledBy;
using test::TestProcess;
using testing::HasSubstr;

class ClientLoopTest : public test::ClientProcessTest {
protected:
   // A save writes netmap.conf. The client must be in the server's user namespace, so the test
   // itself moves, before it has any child.
   ClientLoopTest() { test::HavePrivateEtc(); }

   void SetUp() override
   {
      if (!test::HavePrivateEtc()) {
         GTEST_SKIP() << test::GetPrivateEtcProblem();
      }
      MakePkexec();
   }

   // Networks 0 (automatic), 1 (host-only) and 8 (NAT), and an adapter that nobody uses.
   TestProcess StartOnTheUsualNetworks() const
   {
      return Start({{"TAVRIN_DOUBLE_DB",
                     dir.Write("database", "vnets=20\nautomatic=0\nadapter=eth0 0\n"
                                           "adapter=eth1 -1\nnetwork=0\n"
                                           "network=1 dhcp adapter 172.16.1.0 255.255.255.0\n"
                                           "network=8 nat dhcp adapter 192.168.8.0 255.255.255.0\n"
                                           "mtu=8 1500\n")}});
   }

   // The calls that the server made for a save.
   std::string GetSaveCalls() const
   {
      std::string const calls = GetCalls();
      std::size_t const start = calls.find("VNL_FreeHostAdapterList");
      return start == std::string::npos ? std::string() : calls.substr(start);
   }
};

TEST_F(ClientLoopTest, ListShowsWhatTheServerLoaded)
{
   TestProcess client = StartOnTheUsualNetworks();
   EXPECT_EQ("tvnet0\tbridged\tauto-bridging\t\u2015\t\u2015\t\u2015\t\u2015\n"
             "tvnet1\thost-only\tnone\ttvnet1\tyes\t172.16.1.0\t\u2015\n"
             "tvnet8\tNAT\tNAT\ttvnet8\tyes\t192.168.8.0\t1500\n",
             Desktop({"rows", test::editorTitle}));
   EXPECT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   EXPECT_EQ("", client.GetOutput());
}

TEST_F(ClientLoopTest, EditIsSavedAndTheProgramEnds)
{
   TestProcess client = StartOnTheUsualNetworks();
   Desktop({"select", test::editorTitle, "tvnet8"});
   Desktop(
      {"press", test::editorTitle, "Use local DHCP service to distribute IP addresses to VMs"});
   Desktop({"type", test::editorTitle, "Subnet IP:", "10.8.0.0"});
   Desktop({"press", test::editorTitle, "Save"});
   EXPECT_TRUE(ExitedWith(client.Wait(), 0)) << client.GetOutput();

   std::string const calls = GetSaveCalls();
   EXPECT_THAT(calls, HasSubstr("VNL_SetVnetSubnetAddr(\"tvnet8\", \"10.8.0.0\")"));
   EXPECT_THAT(calls, HasSubstr("VNL_SetVnetSubnetMask(\"tvnet8\", \"255.255.255.0\")"));
   EXPECT_THAT(calls, HasSubstr("VNL_SetVnetUseDHCP(\"tvnet8\", false, 1)"));
   EXPECT_TRUE(Eventually([&] { return !HasProcessFor(client); })) << "the server is left";
}

TEST_F(ClientLoopTest, RefusedSaveIsToldAndMended)
{
   TestProcess client = StartOnTheUsualNetworks();
   Desktop({"select", test::editorTitle, "tvnet8"});
   Desktop({"type", test::editorTitle, "Subnet IP:", "172.16.1.0"});
   Desktop({"press", test::editorTitle, "Save"});
   EXPECT_THAT(Desktop({"texts", "Error"}), HasSubstr("tvnet8: Subnet IPs must all be unique."));
   EXPECT_THAT(GetSaveCalls(), testing::Not(HasSubstr("VNL_StopService")));
   Desktop({"press", "Error", "Close"});
   Desktop({"type", test::editorTitle, "Subnet IP:", "10.8.0.0"});
   Desktop({"press", test::editorTitle, "Save"});
   EXPECT_TRUE(ExitedWith(client.Wait(), 0)) << client.GetOutput();
   EXPECT_THAT(GetSaveCalls(), HasSubstr("\"10.8.0.0\""));
}

TEST_F(ClientLoopTest, RemovedNetworkIsDeletedFromTheDatabase)
{
   TestProcess client = StartOnTheUsualNetworks();
   Desktop({"select", test::editorTitle, "tvnet1"});
   Desktop({"press", test::editorTitle, "Remove Network"});
   EXPECT_EQ("tvnet0\tbridged\tauto-bridging\t\u2015\t\u2015\t\u2015\t\u2015\n"
             "tvnet8\tNAT\tNAT\ttvnet8\tyes\t192.168.8.0\t1500\n",
             Desktop({"rows", test::editorTitle}));
   Desktop({"press", test::editorTitle, "Save"});
   EXPECT_TRUE(ExitedWith(client.Wait(), 0)) << client.GetOutput();
   EXPECT_THAT(GetSaveCalls(), HasSubstr("VNL_DeleteVnetFromDatabase(\"tvnet1\")"));
}

TEST_F(ClientLoopTest, CancelledEditReachesNobody)
{
   TestProcess client = StartOnTheUsualNetworks();
   Desktop({"select", test::editorTitle, "tvnet8"});
   Desktop({"press", test::editorTitle, "Host-only (connect VMs internally in a private network)"});
   EXPECT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
   EXPECT_TRUE(Eventually([this] { return HasCalled("VNL_Unload"); }));
   EXPECT_THAT(GetSaveCalls(), testing::Not(HasSubstr("VNL_Set")));
}

TEST_F(ClientLoopTest, EscapeClosesTheWindowAndEndsTheProgram)
{
   TestProcess client = StartOnTheUsualNetworks();
   Desktop({"focus", test::editorTitle, "Add Network..."});
   Desktop({"key", test::editorTitle, "0xff1b"});
   EXPECT_TRUE(ExitedWith(client.Wait(), 0)) << client.GetOutput();
   EXPECT_TRUE(Eventually([this] { return HasCalled("VNL_Unload"); }));
   EXPECT_THAT(GetSaveCalls(), testing::Not(HasSubstr("VNL_Set")));
}

TEST_F(ClientLoopTest, HelpOpensItsTopicInTheDesktopsViewerAndTheWindowStays)
{
   std::string const viewer = MakeTool("viewer", "#!/bin/sh\nprintf '%s' \"$1\" >\"$HOME/part\"\n"
                                                 "mv \"$HOME/part\" \"$HOME/viewed\"\n");
   std::filesystem::create_directories(dir.GetPath() / "data/applications");
   dir.Write("data/applications/viewer.desktop",
             "[Desktop Entry]\nType=Application\nName=Viewer\nExec=" + viewer +
                " %u\nMimeType=text/html;\n");
   dir.Write("data/applications/mimeinfo.cache", "[MIME Cache]\ntext/html=viewer.desktop;\n");

   TestProcess client = StartOnTheUsualNetworks();
   Desktop({"press", test::editorTitle, "Help"});
   EXPECT_TRUE(Eventually([this] { return std::filesystem::exists(dir.GetPath() / "viewed"); }));
   EXPECT_THAT(test::ReadFile(dir.GetPath() / "viewed"), testing::EndsWith("/main.html"));
   EXPECT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
}

TEST_F(ClientLoopTest, LaterLaunchBringsTheWindowToTheFront)
{
   TestProcess client = StartOnTheUsualNetworks();
   Desktop({"press", test::editorTitle, "Add Network..."});
   Desktop({"focus", "Add Virtual Network", "Cancel"});
   Desktop({"wait-active", "Add Virtual Network"});
   TestProcess later = StartOnTheUsualNetworks();
   EXPECT_TRUE(ExitedWith(later.Wait(), 0)) << later.GetOutput();
   Desktop({"wait-active", test::editorTitle});
   EXPECT_TRUE(ExitedWith(Cancel(client), 0)) << client.GetOutput();
}

// --- replies that can't be edited

class BadReplyTest : public ClientLoopTest {
protected:
   void SetUp() override
   {
      if (geteuid() == 0) {
         GTEST_SKIP() << "root starts the real server; this runs once more as an ordinary user";
      }
      ClientLoopTest::SetUp();
   }

   // A server whose answer to the request to load is this text.
   void MakeServer(std::string const& answer) const
   {
      MakeTool("pkexec", "#!/bin/sh\nexec 3<\"/proc/$4/fd/$2\" 4>\"/proc/$4/fd/$3\"\n"
                         "printf 'Hello World!\\0' >&4\nhead -c 5 <&3 >/dev/null\n"
                         "printf '" +
                            answer + "\\0' >&4\n");
   }
};

TEST_F(BadReplyTest, TextThatIsNotJsonEndsInAPanic)
{
   MakeServer("nonsense");
   TestProcess client = Start();
   EXPECT_TRUE(KilledBy(client.Wait(), SIGABRT)) << client.GetOutput();
   EXPECT_THAT(client.GetOutput(), HasSubstr("NOT_REACHED tvnetcfg/linux/editor:"));
}

TEST_F(BadReplyTest, JsonWithoutARequiredKeyEndsInAnUncaughtException)
{
   MakeServer("{}");
   TestProcess client = Start();
   EXPECT_TRUE(KilledBy(client.Wait(), SIGABRT)) << client.GetOutput();
   EXPECT_THAT(client.GetOutput(), HasSubstr("MaxNetworks"));
}

} // namespace
