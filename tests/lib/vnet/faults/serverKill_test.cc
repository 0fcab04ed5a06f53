// SPDX-License-Identifier: GPL-2.0-or-later
// The real server is killed at any moment of a save. The database is the old or the new one, and
// the next start brings the host in line with it.
#include "lib/vnet/engine/engineTest.hh"
#include "lib/vnet/faults/faultList.hh"
#include "lib/vnet/faults/models.hh"
#include "lib/vnet/faults/wholeState.hh"
#include "support/rawChannel.hh"
#include "vnet/database/database.hh"
#include "vnet/process/runningProcess.hh"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <thread>
#include <unistd.h>

namespace vnet::engine {

namespace {

namespace fs = std::filesystem;

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using test::Eventually;
using test::ExitedWith;
using test::TestProcess;

constexpr auto databaseFile = "/etc/tavrin/networking";
constexpr auto vnets = TEST_BUILD_DIR "/tavrin-vnets";

std::vector<process::ProcessFacts> ListHere(std::vector<std::string> const& arguments)
{
   auto found = process::FindProcesses(arguments);
   std::erase_if(found, [](auto const& facts) { return !facts.sameNetwork.value_or(false); });
   return found;
}

// A server at the other ends of this test's pipes.
class Server {
public:
   Server()
      : process({TEST_BUILD_DIR "/tavrin-netcfg", std::to_string(request.GetReadEnd()),
                 std::to_string(reply.GetWriteEnd()), std::to_string(getpid())})
   {}

   // As an editor does it up to its "Save".
   void Begin(std::string const& snapshot)
   {
      ASSERT_EQ("Hello World!", Receive()) << process.GetOutput();
      ASSERT_TRUE(test::WriteMessage(request.GetWriteEnd(), "Load"));
      ASSERT_TRUE(Receive().starts_with("{")) << process.GetOutput();
      ASSERT_TRUE(test::WriteMessage(request.GetWriteEnd(), "Save\n" + snapshot));
   }
   // The rest of an undisturbed save.
   void End()
   {
      ASSERT_EQ("Success", Receive()) << process.GetOutput();
      ASSERT_TRUE(test::WriteMessage(request.GetWriteEnd(), "Quit"));
      ASSERT_TRUE(ExitedWith(process.Wait(), 0)) << process.GetOutput();
   }
   void Kill()
   {
      process.Signal(SIGKILL);
      ASSERT_TRUE(process.Wait());
   }

private:
   test::Pipe request;
   test::Pipe reply;
   TestProcess process;

   std::string Receive() { return test::ReadMessage(reply.GetReadEnd()).value_or("(no message)"); }
};

// What is asked for, and what the database and the host are like then.
struct Target {
   std::string snapshot;
   std::string database;
   test::HostState state;
};

class ServerKillTest : public EngineTest {
protected:
   void SetUp() override;
   void TearDown() override;

   // Kills a save of the target after the time, and has everything checked.
   void Round(Target const& target, microseconds after);
   Target const& GetCurrent() const;
   Target const& GetOther() const;

   Target targets[2];
   // How long a save takes.
   microseconds whole{0};

private:
   void Learn(Target& target);
   test::HostState TakeState();
};

// netmap.conf is written without ceremony, and may be either one or a part. The watcher brings its
// own table up to date in its own time.
test::HostState ServerKillTest::TakeState()
{
   auto state = test::TakeWholeState(GetHost());
   state.erase("file /etc/tavrin/netmap.conf");
   std::erase_if(state, [](auto const& entry) {
      return entry.first.starts_with("table inet tavrin-keeper ");
   });
   state["watchers"] = std::to_string(ListHere({vnets, "watch"}).size());
   return state;
}

void ServerKillTest::Learn(Target& target)
{
   Server server;
   server.Begin(target.snapshot);
   auto const start = Clock::now();
   server.End();
   whole = std::max(whole, std::chrono::duration_cast<microseconds>(Clock::now() - start));
   target.database = test::ReadFile(databaseFile);
   target.state = TakeState();
}

void ServerKillTest::SetUp()
{
   EngineTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   test::WriteText("/etc/tavrin/config", "host.adapters = \"eth0 eth1\"\n");
   test::WriteText(databaseFile, "[general]\nversion=1\n");
   targets[0].snapshot = test::MakeFirstModel();
   targets[1].snapshot = test::MakeSecondModel();
   for (auto const index : {0, 1, 0}) {
      ASSERT_NO_FATAL_FAILURE(Learn(targets[index]));
   }
}

void ServerKillTest::TearDown()
{
   if (!IsSkipped()) {
      test::WriteText(databaseFile, "[general]\nversion=1\n");
      TestProcess({vnets, "stop"}).Wait();
      EXPECT_TRUE(Eventually([] { return ListHere({vnets, "watch"}).empty(); }));
      fs::remove(databaseFile);
   }
   EngineTest::TearDown();
}

Target const& ServerKillTest::GetCurrent() const
{
   return targets[test::ReadFile(databaseFile) == targets[0].database ? 0 : 1];
}

Target const& ServerKillTest::GetOther() const
{
   return targets[test::ReadFile(databaseFile) == targets[0].database ? 1 : 0];
}

void ServerKillTest::Round(Target const& target, microseconds after)
{
   Server server;
   ASSERT_NO_FATAL_FAILURE(server.Begin(target.snapshot));
   std::this_thread::sleep_for(after);
   ASSERT_NO_FATAL_FAILURE(server.Kill());
   EXPECT_NO_THROW(Database{Database::Place()});
   ASSERT_EQ(GetCurrent().database, test::ReadFile(databaseFile));

   TestProcess start({vnets, "start"});
   EXPECT_TRUE(ExitedWith(start.Wait(), 0)) << start.GetOutput();

   auto const started = ListDnsmasqs();
   // The kernel brings IPv6 addresses and routes up in its own time.
   EXPECT_TRUE(Eventually([&] { return test::AreEqual(GetCurrent().state, TakeState()); }))
      << test::AreEqual(GetCurrent().state, TakeState()).message();
   // The watcher has woken up, and has taken the lock for a moment, but found all in order.
   EXPECT_TRUE(Eventually([] { return !fs::exists("/run/tavrin/networking.lock"); }));
   EXPECT_EQ(started, ListDnsmasqs());
}

} // namespace

TEST_F(ServerKillTest, TheDatabaseIsOldOrNewAndTheNextStartAgreesWithIt)
{
   std::mt19937 random{4711};
   std::uniform_int_distribution<long> moment(0, whole.count());
   auto const kills = test::GetCount("KILLS", 3);
   std::size_t old = 0;
   for (std::size_t round = 0; round < kills && !HasFailure(); ++round) {
      microseconds const after(moment(random));
      SCOPED_TRACE("round " + std::to_string(round) + ", after " + std::to_string(after.count()) +
                   " of " + std::to_string(whole.count()) + " us");
      auto const& target = GetOther();
      Round(target, after);
      old += &GetOther() == &target ? 1 : 0;
   }
   RecordProperty("old", static_cast<int>(old));
   std::cout << kills << " kills, " << old << " of them left the old database\n";
}

} // namespace vnet::engine
