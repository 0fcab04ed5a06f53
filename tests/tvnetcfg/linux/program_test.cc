// SPDX-License-Identifier: GPL-2.0-or-later
// What the program does where something is missing that it is made of, or that it stands on.
#include "clientTest.hh"

namespace {

using test::ClientProcessTest;
using test::ExitedWith;
using test::TestProcess;

TEST_F(ClientProcessTest, WithoutADisplayItSaysSoAndStartsNoServer)
{
   TestProcess client = Start({{"DISPLAY", ":nowhere"}, {"WAYLAND_DISPLAY", "nowhere"}});
   EXPECT_TRUE(ExitedWith(client.Wait(), 1));
   EXPECT_NE(std::string::npos, client.GetOutput().find("cannot open display: :nowhere"))
      << client.GetOutput();
   EXPECT_FALSE(HasProcessFor(client));
   EXPECT_EQ("", GetCalls());
}

// The program and those of its modules, in a build tree of their own.
class LoneProgramTest : public ClientProcessTest {
protected:
   void Take(std::string const& name) const
   {
      std::filesystem::create_directories((dir.GetPath() / name).parent_path());
      std::filesystem::copy_file(std::filesystem::path(TEST_BUILD_DIR) / name,
                                 dir.GetPath() / name);
   }

   // What it says when it is started with these arguments and ends with status 1.
   std::string GetComplaint(std::vector<std::string> command) const
   {
      dir.Write("CMakeCache.txt", "");
      command.insert(command.begin(), dir.GetPath() / "tavrin-netcfg");
      TestProcess program(command, GetEnvironment());
      EXPECT_TRUE(ExitedWith(program.Wait(), 1)) << program.GetOutput();
      return program.GetOutput();
   }

   std::string GetModule(std::string const& name) const
   {
      return dir.GetPath() / "lib/tavrin-netcfg" / name;
   }
};

TEST_F(LoneProgramTest, EachRoleNamesTheModuleThatItMisses)
{
   Take("tavrin-netcfg");
   EXPECT_EQ(0u, GetComplaint({}).find("tavrin-netcfg: " + GetModule("toolkit.so")));
   EXPECT_EQ(0u, GetComplaint({"3", "4", "1"}).find("tavrin-netcfg: " + GetModule("server.so")));
   EXPECT_EQ("", GetCalls());
}

TEST_F(LoneProgramTest, AClientThatGotItsToolkitAloneEndsAllTheSame)
{
   Take("tavrin-netcfg");
   Take("lib/tavrin-netcfg/toolkit.so");
   EXPECT_NE(std::string::npos, GetComplaint({}).find("tavrin-netcfg: " + GetModule("client.so")));
}

} // namespace
