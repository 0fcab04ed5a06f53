// SPDX-License-Identifier: GPL-2.0-or-later
// What somebody put in the places of our files and folders: never followed, never changed, and no
// lasting obstacle.
#include "lib/vnet/cli/vnetsTest.hh"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vnet::cli {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr char lockFile[] = "/run/tavrin/networking.lock";
constexpr char preciousText[] = "precious";
constexpr char const* ownFolders[] = {"/run/tavrin", "/run/tavrin/tvnet8", "/var/lib/tavrin",
                                      "/var/lib/tavrin/tvnet8"};

// Each name says what lies at the place.
using Trap = std::pair<char const*, void (*)(fs::path const& place, fs::path const& precious)>;

Trap const traps[] = {
   {"a link to a file",
    [](fs::path const& place, fs::path const& precious) { fs::create_symlink(precious, place); }},
   {"a link to nothing",
    [](fs::path const& place, fs::path const& precious) {
       fs::create_symlink(precious.string() + ".none", place);
    }},
   {"a second name",
    [](fs::path const& place, fs::path const& precious) { fs::create_hard_link(precious, place); }},
   {"a FIFO",
    [](fs::path const& place, fs::path const&) { EXPECT_EQ(0, mkfifo(place.c_str(), 0666)); }},
};

class TrapsTest : public VnetsTest {
protected:
   void SetUp() override
   {
      VnetsTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      WriteDatabase(GetAutomatic({"eth0"}) + GetHosted());
      // On the same file systems, or there could be no second name.
      for (auto const* folder : {"/run/precious", "/var/lib/tavrin/precious"}) {
         fs::create_directories(folder);
         std::ofstream(fs::path(folder) / "file") << preciousText;
         chmod((fs::path(folder) / "file").c_str(), 0604);
      }
   }

   void TearDown() override
   {
      fs::remove_all("/run/precious");
      fs::remove_all("/var/lib/tavrin/precious");
      VnetsTest::TearDown();
   }

   static fs::path GetPrecious(fs::path const& place)
   {
      return place.string().starts_with("/run/") ? "/run/precious/file"
                                                 : "/var/lib/tavrin/precious/file";
   }

   static void ExpectUntouched()
   {
      for (auto const* folder : {"/run/precious", "/var/lib/tavrin/precious"}) {
         auto const file = fs::path(folder) / "file";
         EXPECT_EQ(preciousText, test::ReadFile(file));
         struct stat status;
         ASSERT_EQ(0, stat(file.c_str(), &status));
         EXPECT_EQ(0604u, status.st_mode & 07777);
         EXPECT_EQ(geteuid(), status.st_uid);
         EXPECT_EQ(1, std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
      }
   }

   // As long as no network runs.
   void StartWith(fs::path const& folder)
   {
      RunWell({"stop"});
      Clear();
      fs::create_directories(folder);
   }

   // By us or by the kernel, which lets nobody but its owner write there: we keep no capability
   // that would.
   void ExpectRefused(fs::path const& folder)
   {
      auto const outcome = Run({"start"});
      EXPECT_EQ(1, outcome.status);
      EXPECT_THAT(outcome.output, HasSubstr(folder.string()));
   }

   // All files that running networks have in our folders.
   static std::vector<fs::path> ListFiles()
   {
      std::vector<fs::path> files;
      for (auto const* top : {"/run/tavrin", "/var/lib/tavrin/tvnet1", "/var/lib/tavrin/tvnet8"}) {
         for (auto const& entry : fs::recursive_directory_iterator(top)) {
            // Not what the watcher has there for a moment only.
            bool const lasts =
               entry.path() != lockFile && !entry.path().filename().string().starts_with(".");
            if (lasts && entry.is_regular_file()) {
               files.push_back(entry.path());
            }
         }
      }
      return files;
   }

   static bool IsPlain(fs::path const& file)
   {
      struct stat status;
      return lstat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
   }

   static void Clear()
   {
      for (auto const* top : {"/run/tavrin", "/var/lib/tavrin/tvnet1", "/var/lib/tavrin/tvnet8"}) {
         fs::remove_all(top);
      }
   }

   static void ExpectAllRuns()
   {
      RunWell({"start"});
      EXPECT_EQ(2u, ListDnsmasqs().size());
      EXPECT_EQ(1u, ListWatchers().size());
   }
};

TEST_F(TrapsTest, InTheFilesPlacesAreNeitherFollowedNorInTheWay)
{
   ExpectAllRuns();
   auto const files = ListFiles();
   ASSERT_GT(files.size(), 15u);
   for (auto const& [what, plant] : traps) {
      SCOPED_TRACE(what);
      RunWell({"stop"});
      Clear();
      for (auto const& file : files) {
         fs::create_directories(file.parent_path());
         plant(file, GetPrecious(file));
         auto const fresh = file.parent_path() / ("." + file.filename().string() + ".new");
         plant(fresh, GetPrecious(file));
      }
      ExpectAllRuns();
      for (auto const& file : files) {
         // Some are the watcher's to write.
         EXPECT_TRUE(test::Eventually([&] { return IsPlain(file); })) << file;
      }
      ExpectUntouched();
   }
}

TEST_F(TrapsTest, InTheLocksPlaceAreRefusedOrHarmless)
{
   for (auto const& [what, plant] : traps) {
      SCOPED_TRACE(what);
      fs::create_directories("/run/tavrin");
      plant(lockFile, GetPrecious(lockFile));
      auto const outcome = Run({"start"});
      if (outcome.status != 0) {
         EXPECT_EQ(1, outcome.status);
         EXPECT_THAT(outcome.output, HasSubstr(lockFile));
         fs::remove(lockFile);
      }
      ExpectUntouched();
      ExpectAllRuns();
      RunWell({"stop"});
   }
}

TEST_F(TrapsTest, LinksInTheFoldersPlacesAreRefusedByName)
{
   for (fs::path const folder : {"/run/tavrin", "/run/tavrin/tvnet8", "/var/lib/tavrin/tvnet8"}) {
      SCOPED_TRACE(folder);
      RunWell({"stop"});
      Clear();
      fs::create_directories(folder.parent_path());
      fs::create_directory_symlink(GetPrecious(folder).parent_path(), folder);
      auto const outcome = Run({"start"});
      EXPECT_EQ(1, outcome.status);
      EXPECT_THAT(outcome.output, HasSubstr(folder.string() + ": "));
      ExpectUntouched();
      fs::remove(folder);
      ExpectAllRuns();
   }
}

TEST_F(TrapsTest, FoldersThatOthersMayChangeAreRefusedByName)
{
   for (fs::path const folder : ownFolders) {
      SCOPED_TRACE(folder);
      StartWith(folder);
      chmod(folder.c_str(), 0777);
      ExpectRefused(folder);
      chmod(folder.c_str(), 0755);
      ExpectAllRuns();
   }
}

TEST_F(TrapsTest, FoldersOfSomebodyElseAreRefusedByName)
{
   for (fs::path const folder : ownFolders) {
      SCOPED_TRACE(folder);
      StartWith(folder);
      if (chown(folder.c_str(), geteuid() + 1, getegid() + 1) != 0) {
         GTEST_SKIP() << "There is nobody else in this user namespace";
      }
      ExpectRefused(folder);
      EXPECT_EQ(0, chown(folder.c_str(), geteuid(), getegid()));
      ExpectAllRuns();
   }
}

} // namespace

} // namespace vnet::cli
