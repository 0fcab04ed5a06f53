// SPDX-License-Identifier: GPL-2.0-or-later
// What saves, stops and deaths cost the guests whose flows go on meanwhile.
#include "lib/vnet/engine/engineTest.hh"
#include "lib/vnet/engine/saveWalk.hh"
#include "support/netlab/dhcpClient.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"
#include "vnet/interface/library.hh"
#include "vnet/vnetlib.h"

#include <csignal>
#include <gmock/gmock.h>
#include <iostream>
#include <sys/wait.h>
#include <unistd.h>

namespace vnet::engine {

namespace {

using test::Edited;
using test::Save;

constexpr std::uint16_t sourcePort = 5001;
constexpr std::uint16_t echoPort = 5002;
constexpr std::uint64_t someBytes = 2 << 20;

class SaveTrafficTest : public EngineTest {
protected:
   void SetUp() override;
   void TearDown() override;

   void UseLibrary();
   // A download and a flow of datagrams through NAT go on while `work` runs. Expects that neither
   // is cut, and returns what the datagrams met.
   template <class Work>
   netlab::FlowReport Disturb(char const* what, Work work);
   // A save in a process that dies before its call of this number. Returns whether it came to that.
   bool SaveAndDie(unsigned int atCall);

   Edited model;
   netlab::Namespace guest;
   std::string first; // the guest's address
   std::optional<netlab::TcpSource> source;
   std::optional<netlab::UdpEcho> echo;
};

void SaveTrafficTest::UseLibrary()
{
   Library::Replace(std::make_unique<Library>(Database::Place(), std::make_unique<Engine>()));
}

void SaveTrafficTest::SetUp()
{
   EngineTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   test::WriteText("/etc/tavrin/networking", "[general]\nversion=1\n");
   UseLibrary();
   model.networks[1] = Edited::MakeHostOnly(1);
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   netlab::Connect(GetHost(), "guest", guest, "eth0");
   GetHost().Command("ip link set guest master tvnet8");
   auto const lease = netlab::DhcpClient(guest, "eth0").Acquire();
   ASSERT_TRUE(lease);
   netlab::DhcpClient::Configure(guest, "eth0", *lease);
   first = lease->address.ToString();
   source.emplace(outside, sourcePort);
   echo.emplace(outside, echoPort);
}

void SaveTrafficTest::TearDown()
{
   if (!IsSkipped()) {
      Library::Replace(nullptr);
   }
   EngineTest::TearDown();
}

template <class Work>
netlab::FlowReport SaveTrafficTest::Disturb(char const* what, Work work)
{
   netlab::TcpDownload download(guest, {"198.51.100.2", sourcePort});
   netlab::UdpFlow flow(guest, {"198.51.100.2", echoPort});
   EXPECT_TRUE(download.WaitForMore(someBytes) && flow.WaitForMore(20));
   work();
   EXPECT_TRUE(download.WaitForMore(someBytes)) << what;
   EXPECT_TRUE(flow.WaitForMore(20)) << what;
   EXPECT_FALSE(download.IsCut()) << what;
   auto const report = flow.Finish();
   std::cout << what << ": " << report.GetLost() << " of " << report.sent
             << " datagrams lost, longest gap " << report.longestGap.count()
             << " ms; longest gap of the download " << download.GetLongestGap().count() << " ms\n";
   return report;
}

bool SaveTrafficTest::SaveAndDie(unsigned int atCall)
{
   auto const child = fork();
   if (child == 0) {
      UseLibrary();
      if (VNL_Load(0) && test::WalkSave(model, atCall) == atCall) {
         kill(getpid(), SIGKILL);
      }
      _exit(0);
   }
   int status = 0;
   EXPECT_EQ(child, waitpid(child, &status, 0));
   return WIFSIGNALED(status);
}

} // namespace

TEST_F(SaveTrafficTest, ASaveThatChangesNothingLosesNothing)
{
   EXPECT_EQ(0u, Disturb("a save that changes nothing", [this] { Save(model); }).GetLost());
}

TEST_F(SaveTrafficTest, ASaveThatChangesAnotherNetworkLosesNothing)
{
   auto const report = Disturb("a save that changes another network", [this] {
      model.networks[1] = Edited::MakeNat(3);
      Save(model);
   });
   EXPECT_EQ(0u, report.GetLost());
}

TEST_F(SaveTrafficTest, ASaveThatAddsAForwardCutsNothing)
{
   Disturb("a save that adds a forward", [this] {
      model.networks[8]->forwards = {MakeForward(8080, "192.168.8.128", 80)};
      Save(model);
   });
}

TEST_F(SaveTrafficTest, ASaveThatTurnsDhcpOffAndOnCutsNothing)
{
   Disturb("a save that turns DHCP off", [this] {
      model.networks[8]->dhcp = false;
      Save(model);
   });
   Disturb("a save that turns DHCP on", [this] {
      model.networks[8]->dhcp = true;
      Save(model);
   });
}

TEST_F(SaveTrafficTest, ASaveThatTurnsTheHostsAdapterOffAndOnCutsNothing)
{
   Disturb("a save that turns the host's adapter off", [this] {
      model.networks[8]->adapter = false;
      Save(model);
   });
   Disturb("a save that turns the host's adapter on", [this] {
      model.networks[8]->adapter = true;
      Save(model);
   });
}

TEST_F(SaveTrafficTest, AStopAndAStartCutNothing)
{
   Disturb("a stop and a start", [this] {
      settings = Database(Database::Place()).GetSettings();
      engine->Stop(settings, 8);
      engine->Start(settings, 8);
   });
}

TEST_F(SaveTrafficTest, AStoppedServiceThatIsStartedByTheNextSaveCutsNothing)
{
   Disturb("a stop and a start by the C interface", [] {
      ASSERT_TRUE(VNL_Load(0));
      VNL_StopService("tvnet8", VNL_SERVICE_NAT);
      VNL_Unload();
      ASSERT_TRUE(VNL_Load(0));
      VNL_StartService("tvnet8", VNL_SERVICE_NAT);
      VNL_Unload();
   });
}

TEST_F(SaveTrafficTest, ADeathInTheMiddleOfASaveAndAStartCutNothing)
{
   model.networks[8]->forwards = {MakeForward(8080, "192.168.8.128", 80)};
   int deaths = 0;
   for (unsigned int atCall = 1; atCall < 100; atCall += 5) {
      SCOPED_TRACE("death before call " + std::to_string(atCall));
      bool died = false;
      Disturb(("a death before call " + std::to_string(atCall) + " and a start").c_str(), [&] {
         died = SaveAndDie(atCall);
         settings = Database(Database::Place()).GetSettings();
         Engine().StartAll(settings);
      });
      if (!died) {
         break;
      }
      ++deaths;
      EXPECT_THAT(ListDifferences(8), testing::IsEmpty());
   }
   EXPECT_GT(deaths, 5);
}

// What lies in the old target's socket may still be counted, on a busy machine even for a while.
bool HearsNothingMore(netlab::UdpEcho const& former, netlab::UdpEcho const& current)
{
   for (int round = 0; round < 10; ++round) {
      auto const before = former.GetCount();
      if (current.WaitFor(current.GetCount() + 20) && former.GetCount() == before) {
         return true;
      }
   }
   return false;
}

// A sender that never pauses keeps its flow in the kernel's memory, and with it the old target.
TEST_F(SaveTrafficTest, AChangedForwardCountsForTheNextPacketOfARunningFlow)
{
   netlab::Namespace other;
   netlab::Connect(GetHost(), "other", other, "eth0");
   GetHost().Command("ip link set other master tvnet8");
   auto const lease = netlab::DhcpClient(other, "eth0").Acquire();
   ASSERT_TRUE(lease);
   netlab::DhcpClient::Configure(other, "eth0", *lease);
   auto const second = lease->address.ToString();
   ASSERT_NE(first, second);
   netlab::UdpEcho atFirst(guest, 9);
   netlab::UdpEcho atSecond(other, 9);
   model.networks[8]->forwards = {MakeForward(9000, first, 9, false)};
   Save(model);
   netlab::UdpFlow flow(outside, {"198.51.100.1", 9000});
   ASSERT_TRUE(flow.WaitForMore(20));
   ASSERT_EQ(0u, atSecond.GetCount());

   model.networks[8]->forwards = {MakeForward(9000, second, 9, false)};
   Save(model);
   EXPECT_TRUE(atSecond.WaitFor(20));
   EXPECT_TRUE(HearsNothingMore(atFirst, atSecond));

   model.networks[8]->forwards.clear();
   Save(model);
   ASSERT_TRUE(flow.WaitForSilence(netlab::silence));
   auto const reached = atSecond.GetCount();
   netlab::UdpFlow late(outside, {"198.51.100.1", 9000});
   late.Finish();
   EXPECT_EQ(reached, atSecond.GetCount());
}

} // namespace vnet::engine
