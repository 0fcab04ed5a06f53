// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/pidFile.hh"

#include "support/testProcess.hh"
#include "vnet/process/childProcess.hh"
#include "vnet/values/error.hh"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;

class PidFileTest : public testing::Test {
protected:
   test::TempDir folder;
   std::string path = folder.GetPath() / "process";
   PidFile file{path};
   std::string sleep = fs::canonical("/bin/sleep");
   ChildProcess child = ChildProcess::Start({.arguments = {"/bin/sleep", "600"}});
   PidFile::Record record{FindProcess(child.GetPid())->identity, 7};
};

TEST_F(PidFileTest, RemembersAProcess)
{
   EXPECT_FALSE(file.Read());
   EXPECT_FALSE(file.FindLiving(sleep));
   file.Write(record);
   EXPECT_EQ(record, file.Read());
   ASSERT_TRUE(file.FindLiving(sleep));
   EXPECT_EQ(record.identity, file.FindLiving(sleep)->identity);
}

TEST_F(PidFileTest, AProcessThatGotTheNumberLaterIsAnother)
{
   --record.identity.startTime;
   file.Write(record);
   EXPECT_FALSE(file.FindLiving(sleep));
}

TEST_F(PidFileTest, AProcessThatRunsAnotherProgramIsAnother)
{
   file.Write(record);
   EXPECT_FALSE(file.FindLiving("/usr/sbin/dnsmasq"));
}

TEST_F(PidFileTest, AnEndedProcessIsNotLiving)
{
   file.Write(record);
   ProcessHandle::Open(record.identity)->Terminate(test::patience);
   EXPECT_FALSE(file.FindLiving(sleep)) << "a zombie";
   ASSERT_TRUE(child.Wait(test::patience));
   EXPECT_FALSE(file.FindLiving(sleep));
   EXPECT_TRUE(file.Read()) << "the file is stale, but there";
}

TEST_F(PidFileTest, DamagedTextIsNoRecord)
{
   for (auto const* text : {"", "\n", "12", "12 34", "12 34 5 6", "x 34 5", "-1 34 5", "0 34 5",
                            "99999999999999999999 1 1", "12 34 x"}) {
      folder.Write("process", text);
      EXPECT_FALSE(file.Read()) << text;
   }
}

TEST_F(PidFileTest, ALinkIsNeitherReadNorFollowed)
{
   auto const precious = folder.Write("precious", "12 34 5\n");
   fs::create_symlink(precious, path);
   EXPECT_FALSE(file.Read());
   file.Write(record);
   EXPECT_EQ("12 34 5\n", test::ReadFile(precious));
   EXPECT_FALSE(fs::is_symlink(path));
   EXPECT_EQ(record, file.Read());
}

TEST_F(PidFileTest, AFileThatOthersMayChangeIsNotBelieved)
{
   file.Write(record);
   ASSERT_TRUE(file.Read());
   chmod(path.c_str(), 0664);
   EXPECT_FALSE(file.Read());
}

TEST_F(PidFileTest, RemovingTwiceIsRemovingOnce)
{
   file.Write(record);
   file.Remove();
   EXPECT_FALSE(fs::exists(path));
   file.Remove();
   PidFile const elsewhere(folder.GetPath() / "no folder/process");
   elsewhere.Remove();
   EXPECT_THROW(elsewhere.Write(record), Error);
}

} // namespace

} // namespace vnet::process
