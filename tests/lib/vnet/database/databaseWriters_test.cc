// SPDX-License-Identifier: GPL-2.0-or-later
// Several processes that change one database at the same time.
#include "lib/vnet/database/tempPlace.hh"
#include "vnet/database/database.hh"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <set>
#include <sys/wait.h>
#include <thread>

using namespace vnet;
using namespace std::chrono_literals;
using test::TempPlace;

namespace {

constexpr int writers = 6;
constexpr int forwardsEach = 20;

// Adds forwards of its own, each in a load of its own.
void AddForwards(TempPlace const& place, int writer)
{
   for (int number = 0; number < forwardsEach; ++number) {
      Database database(place.Get(50s));
      std::uint16_t const port = 1000 + writer * forwardsEach + number;
      database.SetForward(8, {true, port, Address{0x0a000001}, port, ""});
      database.Commit();
   }
}

TEST(DatabaseWritersTest, NothingOfTheOthersIsLost)
{
   TempPlace const place(test::richText);
   std::vector<pid_t> children;
   for (int writer = 0; writer < writers; ++writer) {
      pid_t const child = fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
         AddForwards(place, writer);
         _exit(0);
      }
      children.push_back(child);
   }
   for (pid_t const child : children) {
      int status = -1;
      ASSERT_EQ(child, waitpid(child, &status, 0));
      EXPECT_EQ(0, status);
   }

   Database const database(place.Get());
   std::set<int> ports;
   for (auto const& forward : database.GetNetwork(8).nat.forwards) {
      ports.insert(forward.hostPort);
   }
   for (int port = 1000; port < 1000 + writers * forwardsEach; ++port) {
      EXPECT_EQ(1u, ports.count(port)) << port;
   }
   EXPECT_NE(std::string::npos, place.Read().find("# The students' network."));
}

// Makes the name longer and shorter by thousands of bytes, for ever.
[[noreturn]] void KeepWriting(TempPlace const& place)
{
   for (unsigned int round = 0;; ++round) {
      Database database(place.Get(50s));
      for (std::uint16_t port = 1; port < 100; ++port) {
         if (round % 2 == 0) {
            database.SetForward(1, {true, port, Address{0x0a000001}, port, "some text"});
         } else {
            database.RemoveForward(1, true, port);
         }
      }
      database.Commit();
   }
}

TEST(DatabaseWritersTest, AReaderNeverSeesHalfAFile)
{
   TempPlace const place(test::richText);
   pid_t const writer = fork();
   if (writer == 0) {
      KeepWriting(place);
   }
   std::set<std::size_t> seen;
   auto const deadline = std::chrono::steady_clock::now() + 30s;
   for (int reading = 0; reading < 300 || seen.size() < 2; ++reading) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline);
      Database const database(place.Get());
      auto const count = database.GetNetwork(1).nat.forwards.size();
      ASSERT_TRUE(count == 0 || count == 99) << count;
      seen.insert(count);
   }
   kill(writer, SIGKILL);
   waitpid(writer, nullptr, 0);
}

TEST(DatabaseWritersTest, DeathAtAnyMomentLeavesAWholeFileAndNoLock)
{
   TempPlace const place(test::richText);
   std::uint32_t seed = 3;
   for (int round = 0; round < 100; ++round) {
      pid_t const writer = fork();
      if (writer == 0) {
         KeepWriting(place);
      }
      seed = seed * 1664525 + 1013904223;
      std::this_thread::sleep_for(std::chrono::microseconds(seed >> 18));
      kill(writer, SIGKILL);
      waitpid(writer, nullptr, 0);

      Database database(place.Get(0ms));
      auto const count = database.GetNetwork(1).nat.forwards.size();
      ASSERT_TRUE(count == 0 || count == 99) << count;
      database.Set(3, field::mtu, 1000 + round);
      database.Commit();
   }
   EXPECT_EQ(1099u, Database(place.Get()).GetNetwork(3).mtu);
}

} // namespace
