// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/textFile.hh"

#include "lib/vnet/database/tempPlace.hh"
#include "vnet/values/error.hh"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace vnet;
using test::TempPlace;

namespace {

constexpr std::size_t limit = 1000;

TEST(ReadTextFileTest, GivesTheWholeText)
{
   TempPlace const place("some text\n");
   auto const read = ReadTextFile(place.GetFile(), limit);

   EXPECT_EQ("some text\n", read.text);
   EXPECT_EQ(GetStamp(place.GetFile()), read.stamp);
}

TEST(ReadTextFileTest, ReadsUpToItsLimit)
{
   TempPlace const place(std::string(limit, 'x'));
   EXPECT_EQ(limit, ReadTextFile(place.GetFile(), limit).text.size());

   place.Write(std::string(limit + 1, 'x'));
   EXPECT_THROW(ReadTextFile(place.GetFile(), limit), Error);
}

TEST(ReadTextFileTest, FollowsNoSymbolicLink)
{
   TempPlace const place;
   std::ofstream(place.GetFolder() / "target") << "text";
   std::filesystem::create_symlink("target", place.GetFile());

   EXPECT_THROW(ReadTextFile(place.GetFile(), limit), Error);
}

TEST(ReadTextFileTest, ReadsRegularFilesAlone)
{
   TempPlace const place;
   EXPECT_THROW(ReadTextFile(place.GetFile(), limit), Error);

   std::filesystem::create_directory(place.GetFile());
   EXPECT_THROW(ReadTextFile(place.GetFile(), limit), Error);

   std::filesystem::remove(place.GetFile());
   ASSERT_EQ(0, mkfifo(place.GetFile().c_str(), 0600));
   EXPECT_THROW(ReadTextFile(place.GetFile(), limit), Error);

   EXPECT_THROW(ReadTextFile("/dev/null", limit), Error);
}

TEST(ReadTextFileTest, NamesActionObjectAndCause)
{
   TempPlace const place;
   try {
      ReadTextFile(place.GetFile(), limit);
      FAIL();
   } catch (Error const& error) {
      EXPECT_EQ("open " + place.GetFile() + ": No such file or directory", error.what());
   }
}

TEST(StampTest, DiffersForEveryFileThatTakesThePlace)
{
   TempPlace const place("text");
   auto const first = ReadTextFile(place.GetFile(), limit);
   EXPECT_EQ(first.stamp, GetStamp(place.GetFile()));

   // Of the same size, and perhaps of the same time.
   WriteTextFile(place.GetFile(), "TEXT", Existing::Replace, FileSteps::GetReal());
   auto const second = ReadTextFile(place.GetFile(), limit);
   WriteTextFile(place.GetFile(), "text", Existing::Replace, FileSteps::GetReal());

   EXPECT_FALSE(first.stamp == second.stamp);
   EXPECT_FALSE(first.stamp == GetStamp(place.GetFile()));
   EXPECT_FALSE(second.stamp == GetStamp(place.GetFile()));
}

// Records the steps, and lets one of them go wrong.
class ScriptedSteps : public FileSteps {
public:
   int CreateNew(int folder, char const* name) override
   {
      return Take(std::string("create ") + name,
                  [=, this] { return FileSteps::CreateNew(folder, name); });
   }
   ssize_t Write(int fd, char const* data, std::size_t size) override
   {
      return Take("write", [=, this] { return FileSteps::Write(fd, data, std::min(size, piece)); });
   }
   int SetMode(int fd, mode_t mode) override
   {
      return Take("mode", [=, this] { return FileSteps::SetMode(fd, mode); });
   }
   int Sync(int fd) override
   {
      struct stat status;
      bool const folder = fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
      return Take(folder ? "sync folder" : "sync file", [=, this] { return FileSteps::Sync(fd); });
   }
   int Replace(int folder, char const* from, char const* to) override
   {
      return Take(std::string("replace ") + to,
                  [=, this] { return FileSteps::Replace(folder, from, to); });
   }
   int Place(int folder, char const* from, char const* to) override
   {
      return Take(std::string("place ") + to,
                  [=, this] { return FileSteps::Place(folder, from, to); });
   }
   int Remove(int folder, char const* name) override
   {
      return Take(std::string("remove ") + name,
                  [=, this] { return FileSteps::Remove(folder, name); });
   }

   std::vector<std::string> taken;
   std::size_t piece = 1 << 20; // bytes at most in one write
   int failAt = -1;             // the number of the step that fails
   int failure = ENOSPC;
   int dieAt = -1; // the number of the step at which the process ends

private:
   template <class Step>
   auto Take(std::string name, Step step) -> decltype(step())
   {
      int const number = static_cast<int>(taken.size());
      taken.push_back(std::move(name));
      if (number == dieAt) {
         raise(SIGKILL);
      }
      if (number == failAt) {
         errno = failure;
         return -1;
      }
      return step();
   }
};

using Names = std::vector<std::string>;

TEST(WriteTextFileTest, SyncsBeforeItReplacesAndTheFolderAfter)
{
   TempPlace const place("old");
   ScriptedSteps steps;
   auto const stamp = WriteTextFile(place.GetFile(), "new", Existing::Replace, steps);

   EXPECT_EQ((Names{"remove .networking.new", "create .networking.new", "write", "mode",
                    "sync file", "replace networking", "sync folder"}),
             steps.taken);
   EXPECT_EQ("new", place.Read());
   EXPECT_EQ(stamp, GetStamp(place.GetFile()));
   EXPECT_EQ(Names{"networking"}, place.List());
}

TEST(WriteTextFileTest, TheFileIsReadableByAllWhateverTheMask)
{
   TempPlace const place("old");
   auto const mask = umask(0077);
   WriteTextFile(place.GetFile(), "new", Existing::Replace, FileSteps::GetReal());
   umask(mask);

   struct stat status;
   ASSERT_EQ(0, stat(place.GetFile().c_str(), &status));
   EXPECT_EQ(0644u, status.st_mode & 07777);
}

TEST(WriteTextFileTest, WritesOnAfterShortWritesAndInterruptions)
{
   TempPlace const place("old");
   ScriptedSteps steps;
   steps.piece = 1;
   steps.failAt = 4;
   steps.failure = EINTR;
   WriteTextFile(place.GetFile(), "something new", Existing::Replace, steps);

   EXPECT_EQ("something new", place.Read());
}

TEST(WriteTextFileTest, AFailedStepLeavesTheOldFileAndNoOther)
{
   // The first removal finds nothing, and may not fail for another reason.
   for (int step = 0; step < 6; ++step) {
      TempPlace const place("old");
      ScriptedSteps steps;
      steps.failAt = step;

      EXPECT_THROW(WriteTextFile(place.GetFile(), "new", Existing::Replace, steps), Error) << step;
      EXPECT_EQ("old", place.Read()) << step;
      EXPECT_EQ(Names{"networking"}, place.List()) << step;
   }
}

TEST(WriteTextFileTest, AFolderThatDoesNotSyncIsReported)
{
   TempPlace const place("old");
   ScriptedSteps steps;
   steps.failAt = 6;
   steps.failure = EIO;

   EXPECT_THROW(WriteTextFile(place.GetFile(), "new", Existing::Replace, steps), Error);
   EXPECT_EQ("new", place.Read());
   EXPECT_EQ(Names{"networking"}, place.List());
}

TEST(WriteTextFileTest, RefusesToReplaceWhenAskedToCreate)
{
   TempPlace const place("old");
   EXPECT_THROW(WriteTextFile(place.GetFile(), "new", Existing::Refuse, FileSteps::GetReal()),
                Error);
   EXPECT_EQ("old", place.Read());
   EXPECT_EQ(Names{"networking"}, place.List());

   std::filesystem::remove(place.GetFile());
   WriteTextFile(place.GetFile(), "new", Existing::Refuse, FileSteps::GetReal());
   EXPECT_EQ("new", place.Read());
}

TEST(WriteTextFileTest, WritesThroughNoLinkThatLiesInItsWay)
{
   TempPlace const place("old");
   std::ofstream(place.GetFolder() / "victim") << "untouched";
   std::filesystem::create_symlink("victim", place.GetFolder() / ".networking.new");
   WriteTextFile(place.GetFile(), "new", Existing::Replace, FileSteps::GetReal());

   EXPECT_EQ("new", place.Read());
   EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(place.GetFile())));
   std::ifstream victim(place.GetFolder() / "victim");
   EXPECT_EQ("untouched", std::string(std::istreambuf_iterator<char>(victim), {}));
}

TEST(WriteTextFileTest, AFolderThatAnybodyCanChangeIsRefused)
{
   TempPlace const place("old");
   std::filesystem::permissions(place.GetFolder(), std::filesystem::perms(0777));
   EXPECT_THROW(WriteTextFile(place.GetFile(), "new", Existing::Replace, FileSteps::GetReal()),
                Error);
   std::filesystem::permissions(place.GetFolder(), std::filesystem::perms(0770));
   EXPECT_EQ(Names{"networking"}, place.List());
   WriteTextFile(place.GetFile(), "new", Existing::Replace, FileSteps::GetReal());
   EXPECT_EQ("new", place.Read());
}

TEST(WriteTextFileTest, AnotherUsersFolderIsRefused)
{
   TempPlace const place("old");
   if (chown(place.GetFolder().c_str(), 1234, 1234) != 0) {
      GTEST_SKIP() << "only root can give a folder to somebody";
   }
   EXPECT_THROW(WriteTextFile(place.GetFile(), "new", Existing::Replace, FileSteps::GetReal()),
                Error);
   EXPECT_EQ("old", place.Read());
}

// Replaces in a child that is killed at the step. There are eight.
void ReplaceAndDie(TempPlace const& place, int step)
{
   pid_t const child = fork();
   ASSERT_GE(child, 0);
   if (child == 0) {
      ScriptedSteps steps;
      steps.piece = 2;
      steps.dieAt = step;
      WriteTextFile(place.GetFile(), "new", Existing::Replace, steps);
      _exit(0);
   }
   int status = 0;
   ASSERT_EQ(child, waitpid(child, &status, 0));
   ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
}

TEST(WriteTextFileTest, DeathAtAnyStepLeavesOldOrNewAndTheNextOneSucceeds)
{
   // Two pieces make eight steps, of which the seventh replaces.
   for (int step = 0; step < 8; ++step) {
      TempPlace const place("old");
      ReplaceAndDie(place, step);
      EXPECT_EQ(step < 7 ? "old" : "new", place.Read()) << step;

      WriteTextFile(place.GetFile(), "newer", Existing::Replace, FileSteps::GetReal());
      EXPECT_EQ("newer", place.Read()) << step;
      EXPECT_EQ(Names{"networking"}, place.List()) << step;
   }
}

} // namespace
