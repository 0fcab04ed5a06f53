// SPDX-License-Identifier: GPL-2.0-or-later
// When there is a watcher, and what it is like.
#include "lib/vnet/watch/watchTest.hh"
#include "vnet/database/lockFile.hh"
#include "vnet/values/error.hh"
#include "vnet/watch/watcherControl.hh"

#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vnet::watch {

namespace {

namespace fs = std::filesystem;

class WatcherLifeTest : public WatchTest {
protected:
   void Start()
   {
      WriteDatabase(GetHosted());
      RunWell({"start"});
   }

   netlab::Namespace guest;
};

TEST_F(WatcherLifeTest, TheFirstNetworkBringsOne)
{
   EXPECT_FALSE(IsWatcherRunning());
   WriteDatabase(GetHosted());
   RunWell({"start", "8"});
   EXPECT_NE(0, GetWatcher());
   EXPECT_TRUE(IsWatcherRunning());
}

TEST_F(WatcherLifeTest, OtherStartsLeaveTheOne)
{
   Start();
   int const watcher = GetWatcher();
   RunWell({"start"});
   RunWell({"restart", "8"});
   EXPECT_EQ(watcher, GetWatcher());
}

TEST_F(WatcherLifeTest, StartsAtTheSameTimeBringOne)
{
   WriteDatabase(GetHosted());
   std::vector<test::TestProcess> starts;
   for (int i = 0; i < 6; ++i) {
      starts.emplace_back(std::vector<std::string>{GetProgram(), "start"});
   }
   for (auto& start : starts) {
      EXPECT_TRUE(test::ExitedWith(start.Wait(), 0)) << start.GetOutput();
   }
   EXPECT_EQ(1u, ListWatchers().size());
}

TEST_F(WatcherLifeTest, ItStaysWithOneNetworkAndGoesWithTheLast)
{
   Start();
   int const watcher = GetWatcher();
   RunWell({"stop", "8"});
   EXPECT_EQ(watcher, GetWatcher());
   RunWell({"stop", "1"});
   EXPECT_TRUE(ListWatchers().empty());
   EXPECT_FALSE(IsWatcherRunning());
   EXPECT_FALSE(fs::exists("/run/tavrin/watcher.pid"));
}

TEST_F(WatcherLifeTest, ItStaysForABridgeThatWasLeftAndGoesWithIt)
{
   Start();
   Plug(guest, "tap0", "tvnet8");
   RunWell({"stop"});
   EXPECT_TRUE(HasLink("tvnet8"));
   EXPECT_NE(0, GetWatcher());
   Unplug("tap0");
   EXPECT_TRUE(test::Eventually([this] { return !HasLink("tvnet8"); }));
   EXPECT_TRUE(test::Eventually([] { return ListWatchers().empty(); }));
   EXPECT_FALSE(fs::exists("/run/tavrin/watcher.pid"));
}

TEST_F(WatcherLifeTest, AKilledOneIsReplacedByTheNextStart)
{
   Start();
   int const watcher = GetWatcher();
   KillWatcher();
   EXPECT_FALSE(IsWatcherRunning());
   RunWell({"start"});
   EXPECT_NE(0, GetWatcher());
   EXPECT_NE(watcher, GetWatcher());
   GetHost().Command("nft flush ruleset");
   EXPECT_TRUE(test::Eventually([this] { return HasTable("tavrin-tvnet8"); }));
}

TEST_F(WatcherLifeTest, AStaleRecordOfAnotherProcessIsNotBelieved)
{
   Start();
   KillWatcher();
   // This process has the number now, and started at another time.
   std::ofstream("/run/tavrin/watcher.pid") << getpid() << " 1 0\n";
   EXPECT_FALSE(IsWatcherRunning());
   RunWell({"start"});
   EXPECT_NE(0, GetWatcher());
}

TEST_F(WatcherLifeTest, ASecondOneByHandLeaves)
{
   Start();
   int const watcher = GetWatcher();
   auto const outcome = Run({"watch"});
   EXPECT_EQ(1, outcome.status);
   EXPECT_EQ("tavrin-vnets: watch the networks: Another watcher does already\n", outcome.output);
   EXPECT_EQ(watcher, GetWatcher());
   EXPECT_TRUE(IsWatcherRunning());
}

TEST_F(WatcherLifeTest, OneByHandIsAsGoodAsAnother)
{
   Start();
   KillWatcher();
   test::TestProcess watcher({GetProgram(), "watch"});
   ASSERT_TRUE(test::Eventually([] { return IsWatcherRunning(); }));
   RunWell({"start"});
   EXPECT_EQ(watcher.GetPid(), GetWatcher());
   RunWell({"stop"});
   EXPECT_TRUE(test::ExitedWith(watcher.Wait(), 0));
}

TEST_F(WatcherLifeTest, WithoutNetworksThereIsNothingToWatch)
{
   WriteDatabase(GetHosted());
   EXPECT_EQ(0, Run({"watch"}).status);
   EXPECT_FALSE(fs::exists("/run/tavrin/watcher.pid"));
}

TEST_F(WatcherLifeTest, TermEndsItAndTheNetworksGoOn)
{
   Start();
   int const watcher = GetWatcher();
   ASSERT_NE(0, watcher);
   kill(watcher, SIGTERM);
   EXPECT_TRUE(test::Eventually([] { return ListWatchers().empty(); }));
   EXPECT_TRUE(HasLink("tvnet1") && HasLink("tvnet8"));
   EXPECT_EQ(2u, ListDnsmasqs().size());
}

TEST_F(WatcherLifeTest, ItHasItsOwnSessionAndNothingOfItsStarter)
{
   base::FileDescriptor const inherited(open("/etc/passwd", O_RDONLY));
   ASSERT_TRUE(inherited.IsOpen());
   Start();
   int const watcher = GetWatcher();
   // What it has open while it works is its own business.
   ASSERT_TRUE(FallsAsleep(watcher));
   EXPECT_EQ(watcher, getsid(watcher));
   auto const folder = "/proc/" + std::to_string(watcher);
   EXPECT_EQ("/", fs::read_symlink(folder + "/cwd"));
   for (auto const* number : {"0", "1", "2"}) {
      EXPECT_EQ("/dev/null", fs::read_symlink(folder + "/fd/" + number));
   }
   for (auto const& entry : fs::directory_iterator(folder + "/fd")) {
      auto const target = fs::read_symlink(entry.path()).string();
      // netlink, signals and the database
      EXPECT_TRUE(target == "/dev/null" || target.starts_with("socket:") ||
                  target.starts_with("anon_inode:") || target == "/etc/tavrin/networking")
         << target;
   }
}

TEST_F(WatcherLifeTest, AnIdleOneSleeps)
{
   WriteDatabase(GetAutomatic({"eth0", "eth1"}) + GetHosted());
   RunWell({"start"});
   ASSERT_NE(0, GetWatcher());
   EXPECT_TRUE(FallsAsleep(GetWatcher()));
   // Also after it had something to do.
   GetHost().Command("nft flush ruleset");
   ASSERT_TRUE(test::Eventually([this] { return HasTable("tavrin-tvnet8"); }));
   EXPECT_TRUE(FallsAsleep(GetWatcher()));
}

TEST_F(WatcherLifeTest, ItEndsWhileItWaitsForTheLockOfWhoEndsIt)
{
   Start();
   ASSERT_TRUE(FallsAsleep(GetWatcher()));
   auto const lock = LockFile::Take("/run/tavrin", test::patience);
   GetHost().Command("nft flush ruleset");
   long const asleep = CountSwitches(GetWatcher());
   ASSERT_TRUE(test::Eventually([&] { return CountSwitches(GetWatcher()) > asleep + 3; }));
   auto const begin = std::chrono::steady_clock::now();
   StopWatcher();
   EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
   EXPECT_TRUE(ListWatchers().empty());
   EXPECT_EQ("", ListTables());
}

TEST_F(WatcherLifeTest, EnsuringStartsWakesAndReplaces)
{
   Start();
   {
      auto const lock = LockFile::Take("/run/tavrin", test::patience);
      int const watcher = GetWatcher();
      EnsureWatcher("/run/tavrin", GetProgram());
      EXPECT_EQ(watcher, GetWatcher());
      StopWatcher();
      EXPECT_FALSE(IsWatcherRunning());
      EnsureWatcher("/run/tavrin", GetProgram());
      // It needn't be ready to be the one.
      EXPECT_TRUE(IsWatcherRunning());
      EnsureWatcher("/run/tavrin", GetProgram());
      EXPECT_EQ(1u, ListWatchers().size());
   }
   // Once more, without leaving a dead child behind.
   auto const lock = LockFile::Take("/run/tavrin", test::patience);
   StopWatcher();
   auto const children = test::ReadFile("/proc/thread-self/children");
   EXPECT_EQ("", children);
}

TEST_F(WatcherLifeTest, AProgramThatIsNotThereIsAFailure)
{
   fs::create_directory("/run/tavrin");
   try {
      EnsureWatcher("/run/tavrin", "/nowhere/tavrin-vnets");
      ADD_FAILURE();
   } catch (Error const& error) {
      EXPECT_STREQ("start /nowhere/tavrin-vnets: No such file or directory", error.what());
   }
   EXPECT_FALSE(IsWatcherRunning());
}

TEST_F(WatcherLifeTest, StoppingNoneDoesNothing)
{
   StopWatcher();
   EXPECT_FALSE(IsWatcherRunning());
}

TEST_F(WatcherLifeTest, ALibraryOfABuildTreeRunsTheProgramBesideIt)
{
   WriteDatabase(GetHosted());
   void* const library = dlopen(TEST_BUILD_DIR "/lib/libvnetlib.so", RTLD_NOW | RTLD_LOCAL);
   ASSERT_NE(nullptr, library) << dlerror();
   auto const load = reinterpret_cast<bool (*)(int)>(dlsym(library, "VNL_Load"));
   auto const unload = reinterpret_cast<void (*)()>(dlsym(library, "VNL_Unload"));
   auto const enable =
      reinterpret_cast<bool (*)(char const*)>(dlsym(library, "VNL_EnableNetworkAdapter"));
   ASSERT_TRUE(load && unload && enable);
   ASSERT_TRUE(load(0));
   EXPECT_TRUE(enable("tvnet1"));
   unload();
   EXPECT_NE(0, GetWatcher());
   RunWell({"stop"});
   // The library may have a child to reap; it does with the next call.
   ASSERT_TRUE(load(0));
   EXPECT_TRUE(enable("tvnet1"));
   unload();
   EXPECT_EQ(1u, ListWatchers().size());
   dlclose(library);
}

// This test program isn't tavrin-vnets, and no library of the build tree.
TEST_F(WatcherLifeTest, AnyOtherProgramRunsTheInstalledOne)
{
   EXPECT_EQ(INSTALLED_PROGRAM, FindWatcherProgram());
   setenv("PATH", "/tmp", 1);
   setenv("LD_LIBRARY_PATH", "/tmp", 1);
   EXPECT_EQ(INSTALLED_PROGRAM, FindWatcherProgram());
   unsetenv("LD_LIBRARY_PATH");
   setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
}

} // namespace

} // namespace vnet::watch
