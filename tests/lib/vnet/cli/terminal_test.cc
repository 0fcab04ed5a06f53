// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/terminal.hh"

#include "base/fileDescriptor.hh"

#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>

namespace vnet::cli {

namespace {

class TerminalTest : public testing::Test {
protected:
   TerminalTest()
   {
      setenv("TERM", "xterm", 1);
      unsetenv("NO_COLOR");
   }

   // The end of a terminal that programs get.
   static base::FileDescriptor OpenTerminal(base::FileDescriptor& master)
   {
      master = base::FileDescriptor(posix_openpt(O_RDWR | O_NOCTTY));
      if (!master.IsOpen() || grantpt(master.Get()) != 0 || unlockpt(master.Get()) != 0) {
         return {};
      }
      return base::FileDescriptor(open(ptsname(master.Get()), O_RDWR | O_NOCTTY));
   }
};

TEST_F(TerminalTest, ColoursAreForTerminalsThatMayHaveThem)
{
   base::FileDescriptor master;
   auto const terminal = OpenTerminal(master);
   if (!terminal.IsOpen()) {
      GTEST_SKIP() << "no pseudo terminals here";
   }
   EXPECT_TRUE(WantsColours(terminal.Get()));
   setenv("NO_COLOR", "", 1);
   EXPECT_TRUE(WantsColours(terminal.Get()));
   setenv("NO_COLOR", "1", 1);
   EXPECT_FALSE(WantsColours(terminal.Get()));
   unsetenv("NO_COLOR");
   setenv("TERM", "dumb", 1);
   EXPECT_FALSE(WantsColours(terminal.Get()));
   unsetenv("TERM");
   EXPECT_FALSE(WantsColours(terminal.Get()));
}

TEST_F(TerminalTest, AFileIsNoTerminal)
{
   base::FileDescriptor const null(open("/dev/null", O_RDWR));
   EXPECT_FALSE(WantsColours(null.Get()));
   EXPECT_FALSE(WantsColours(-1));
}

TEST_F(TerminalTest, TextsAreColouredAndSetBack)
{
   EXPECT_EQ("\x1b[32mgood\x1b[0m", Paint(true).Good("good"));
   EXPECT_EQ("good", Paint(false).Good("good"));
   EXPECT_EQ("", Paint(true).Strong(""));
}

} // namespace

} // namespace vnet::cli
