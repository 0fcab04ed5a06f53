// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/lockFile.hh"

#include "lib/vnet/database/tempPlace.hh"
#include "vnet/values/error.hh"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>

using namespace std::chrono_literals;
using test::TempPlace;
using vnet::Error;
using vnet::LockFile;

namespace {

mode_t GetMode(std::string const& path)
{
   struct stat status;
   return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(LockFileTest, MakesTheFolderReadableByAllAndTheFileByItsOwner)
{
   TempPlace const place;
   auto const mask = umask(0077);
   auto const lock = LockFile::Take(place.GetLockFolder(), 0ms);
   umask(mask);

   EXPECT_EQ(0755u, GetMode(place.GetLockFolder()));
   EXPECT_EQ(0600u, GetMode(place.GetLockFolder() + "/networking.lock"));
}

TEST(LockFileTest, ExcludesASecondOne)
{
   TempPlace const place;
   auto const lock = LockFile::Take(place.GetLockFolder(), 0ms);

   auto const begin = std::chrono::steady_clock::now();
   EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 50ms), Error);
   EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
}

TEST(LockFileTest, IsFreeAfterItsEndAndLeavesNoFile)
{
   TempPlace const place;
   for (int round = 0; round < 3; ++round) {
      LockFile::Take(place.GetLockFolder(), 0ms);
      EXPECT_TRUE(std::filesystem::is_empty(place.GetLockFolder()));
   }
}

TEST(LockFileTest, AMovedLockIsHeldOnce)
{
   TempPlace const place;
   {
      auto first = LockFile::Take(place.GetLockFolder(), 0ms);
      auto const second = std::move(first);
      EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 0ms), Error);
   }
   EXPECT_NO_THROW(LockFile::Take(place.GetLockFolder(), 0ms));
}

TEST(LockFileTest, WaitsUntilTheOtherLetsGo)
{
   TempPlace const place;
   auto held = std::make_unique<LockFile>(LockFile::Take(place.GetLockFolder(), 0ms));
   std::thread waiter([&place] { EXPECT_NO_THROW(LockFile::Take(place.GetLockFolder(), 30s)); });
   held.reset();
   waiter.join();
}

// A child that takes the lock and tells it through a pipe.
pid_t StartHolder(TempPlace const& place)
{
   int ends[2];
   EXPECT_EQ(0, pipe(ends));
   pid_t const child = fork();
   if (child == 0) {
      auto const lock = LockFile::Take(place.GetLockFolder(), 0ms);
      (void)!write(ends[1], "x", 1);
      for (;;) {
         pause();
      }
   }
   char ready;
   EXPECT_EQ(1, read(ends[0], &ready, 1));
   close(ends[0]);
   close(ends[1]);
   return child;
}

TEST(LockFileTest, TheDeathOfItsProcessEndsIt)
{
   TempPlace const place;
   pid_t const holder = StartHolder(place);
   EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 0ms), Error);

   kill(holder, SIGKILL);
   ASSERT_EQ(holder, waitpid(holder, nullptr, 0));
   EXPECT_NO_THROW(LockFile::Take(place.GetLockFolder(), 0ms));
}

TEST(LockFileTest, AChildThatInheritsTheFileDoesNotHoldIt)
{
   TempPlace const place;
   auto lock = std::make_unique<LockFile>(LockFile::Take(place.GetLockFolder(), 0ms));
   pid_t const child = fork();
   if (child == 0) {
      for (;;) {
         pause();
      }
   }
   lock.reset();

   EXPECT_NO_THROW(LockFile::Take(place.GetLockFolder(), 0ms));
   kill(child, SIGKILL);
   waitpid(child, nullptr, 0);
}

TEST(LockFileTest, AChildThatLetsGoOfItsCopyLeavesItHeld)
{
   TempPlace const place;
   auto lock = std::make_unique<LockFile>(LockFile::Take(place.GetLockFolder(), 0ms));
   pid_t const child = fork();
   if (child == 0) {
      lock.reset();
      _exit(0);
   }
   waitpid(child, nullptr, 0);

   EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 0ms), Error);
   lock.reset();
   EXPECT_TRUE(std::filesystem::is_empty(place.GetLockFolder()));
}

TEST(LockFileTest, SignalsDoNotCutTheWaitingShort)
{
   TempPlace const place;
   auto const lock = LockFile::Take(place.GetLockFolder(), 0ms);
   struct sigaction handler {};
   struct sigaction before {};
   handler.sa_handler = [](int) {};
   sigaction(SIGALRM, &handler, &before);
   itimerval const often{{0, 3000}, {0, 3000}};
   setitimer(ITIMER_REAL, &often, nullptr);

   auto const begin = std::chrono::steady_clock::now();
   EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 100ms), Error);
   EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);

   itimerval const never{};
   setitimer(ITIMER_REAL, &never, nullptr);
   sigaction(SIGALRM, &before, nullptr);
}

TEST(LockFileTest, FollowsNoLinkAndUsesNoFolderOfOthers)
{
   TempPlace const place;
   std::filesystem::create_directory(place.GetFolder() / "elsewhere");
   std::filesystem::create_symlink("elsewhere", place.GetLockFolder());
   EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 0ms), Error);

   std::filesystem::remove(place.GetLockFolder());
   std::filesystem::create_directory(place.GetLockFolder());
   std::filesystem::create_symlink("../elsewhere/file", place.GetLockFolder() + "/networking.lock");
   EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 0ms), Error);
   EXPECT_TRUE(std::filesystem::is_empty(place.GetFolder() / "elsewhere"));

   std::filesystem::remove(place.GetLockFolder() + "/networking.lock");
   ASSERT_EQ(0, chmod(place.GetLockFolder().c_str(), 0777));
   EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 0ms), Error);

   EXPECT_THROW(LockFile::Take(place.GetFolder() / "no" / "such", 0ms), Error);
}

TEST(LockFileTest, WhatIsNoPlainFileIsNoLock)
{
   TempPlace const place;
   std::filesystem::create_directory(place.GetLockFolder());
   ASSERT_EQ(0, mkfifo((place.GetLockFolder() + "/networking.lock").c_str(), 0600));
   EXPECT_THROW(LockFile::Take(place.GetLockFolder(), 0ms), Error);

   std::filesystem::remove(place.GetLockFolder() + "/networking.lock");
   LockFile::Take(place.GetLockFolder(), 0ms);
}

// Waiters hold files whose name the holder takes away; none may think that it has the lock then.
TEST(LockFileTest, NeverTwoOfManyHoldIt)
{
   TempPlace const place;
   std::atomic<int> holders = 0;
   std::atomic<int> mostHolders = 0;
   std::vector<std::thread> threads;
   for (int number = 0; number < 8; ++number) {
      threads.emplace_back([&] {
         for (int round = 0; round < 30; ++round) {
            auto const lock = LockFile::Take(place.GetLockFolder(), 50s);
            mostHolders = std::max(mostHolders.load(), ++holders);
            std::this_thread::yield();
            --holders;
         }
      });
   }
   for (auto& thread : threads) {
      thread.join();
   }
   EXPECT_EQ(1, mostHolders);
}

} // namespace
