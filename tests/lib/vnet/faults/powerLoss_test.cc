// SPDX-License-Identifier: GPL-2.0-or-later
// The order of the calls that write what must survive a power failure, as they were really made.
#include "lib/vnet/faults/powerLoss.hh"

#include "lib/vnet/faults/faultTest.hh"
#include "support/testProcess.hh"

#include <cstdio>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace vnet::engine {

namespace {

using test::FindLosses;
using testing::ElementsAre;
using testing::IsEmpty;

class PowerLossTest : public FaultTest {
protected:
   // What the walk writes by opening it as the system is told to do it; nothing reads it back.
   static std::vector<test::SystemCall> WithoutNetmap(std::vector<test::SystemCall> calls)
   {
      std::erase_if(calls, [](auto const& call) { return call.object.ends_with("/netmap.conf"); });
      return calls;
   }
};

TEST_F(PowerLossTest, TheDatabaseIsWrittenSyncedRenamedAndItsFolderSynced)
{
   auto const recorded = Record(Second);
   ASSERT_TRUE(recorded.Ended());
   auto const calls = WithoutNetmap(recorded.run.calls);

   EXPECT_THAT(FindLosses(calls, "/etc/tavrin"), IsEmpty());
   EXPECT_THAT(
      test::ListSteps(calls, "/etc/tavrin"),
      ElementsAre("openat /etc/tavrin/.networking.new", "write /etc/tavrin/.networking.new",
                  "fchmod /etc/tavrin/.networking.new", "fsync /etc/tavrin/.networking.new",
                  "renameat /etc/tavrin/.networking.new networking", "fsync /etc/tavrin"));
   ExpectMended(First);
}

TEST_F(PowerLossTest, NothingElseIsWrittenThatOutlivesAReboot)
{
   auto const recorded = Record(Second);
   ASSERT_TRUE(recorded.Ended());
   for (auto const& step : test::ListSteps(WithoutNetmap(recorded.run.calls), "")) {
      bool const isKept = step.find(" /etc/tavrin") == std::string::npos &&
                          step.find(" /run/tavrin/") == std::string::npos &&
                          step.find(" /proc/sys/net/") == std::string::npos &&
                          step.find(" /memfd:") == std::string::npos &&
                          step.find(" pipe:") == std::string::npos;
      EXPECT_FALSE(isKept) << step;
   }
   ExpectMended(First);
}

// What the search finds in hands that are less careful.
class CarelessTest : public testing::Test {
protected:
   void SetUp() override
   {
      if (!test::GetTraceProblem().empty()) {
         GTEST_SKIP() << test::GetTraceProblem();
      }
   }

   std::vector<std::string> Find(std::function<void()> const& work)
   {
      return FindLosses(test::RunTraced({.work = work}).calls, folder);
   }
   void Write(int flags, bool sync) const
   {
      int const fd = open(fresh.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0600);
      EXPECT_EQ(4, write(fd, "text", 4));
      EXPECT_EQ(0, sync ? fsync(fd) : 0);
      close(fd);
   }
   void SyncFolder() const
   {
      int const fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      EXPECT_EQ(0, fsync(fd));
      close(fd);
   }

   test::TempDir dir;
   std::string const folder = dir.GetPath();
   std::string const file = folder + "/file";
   std::string const fresh = folder + "/fresh";
};

TEST_F(CarelessTest, ARenamingBeforeTheSyncIsFound)
{
   EXPECT_THAT(Find([this] {
                  Write(O_EXCL, false);
                  rename(fresh.c_str(), file.c_str());
                  SyncFolder();
               }),
               ElementsAre(fresh + " takes the place of " + file + " before it is synced"));
}

TEST_F(CarelessTest, AFolderThatIsntSyncedIsFound)
{
   EXPECT_THAT(Find([this] {
                  Write(O_EXCL, true);
                  rename(fresh.c_str(), file.c_str());
               }),
               ElementsAre(folder + " isn't synced after a renaming"));
}

TEST_F(CarelessTest, AFileThatIsWrittenInPlaceIsFound)
{
   EXPECT_THAT(Find([this] { Write(O_TRUNC, true); }),
               ElementsAre(fresh + " is emptied in place", fresh + " is written in place"));
}

TEST_F(CarelessTest, CareIsFoundToBeCareful)
{
   EXPECT_THAT(Find([this] {
                  Write(O_EXCL, true);
                  rename(fresh.c_str(), file.c_str());
                  SyncFolder();
               }),
               IsEmpty());
}

} // namespace

} // namespace vnet::engine
