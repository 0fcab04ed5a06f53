// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/clientPipe.hh"

#include <gtest/gtest.h>

namespace base {

namespace {

TEST(ClientPipeTest, APlainPathNamesProcessAndDescriptor)
{
   struct Case {
      char const* path;
      int pid;
      int number;
   };
   for (Case const& c : {Case{"/proc/1/fd/0", 1, 0}, Case{"/proc/4194304/fd/12", 4194304, 12},
                         Case{"/proc/2147483647/fd/2147483647", 2147483647, 2147483647}}) {
      std::optional<ClientPipe> pipe = ParseClientPipe(c.path);
      ASSERT_TRUE(pipe) << c.path;
      EXPECT_EQ(c.pid, pipe->pid) << c.path;
      EXPECT_EQ(c.number, pipe->number) << c.path;
   }
}

TEST(ClientPipeTest, EveryOtherTextNamesNothing)
{
   for (char const* path : {"",
                            "/",
                            "/proc",
                            "/proc/1",
                            "/proc/1/fd",
                            "/proc/1/fd/",
                            "/proc//fd/1",
                            "/proc/0/fd/1",
                            "/proc/-1/fd/1",
                            "/proc/1/fd/-1",
                            "/proc/+1/fd/1",
                            "/proc/01/fd/1",
                            "/proc/1/fd/01",
                            "/proc/self/fd/1",
                            "/proc/thread-self/fd/1",
                            "/proc/1x/fd/1",
                            "/proc/1/fd/1x",
                            "/proc/ 1/fd/1",
                            "/proc/1/fd/1/",
                            "/proc//1/fd/1",
                            "//proc/1/fd/1",
                            "/proc/./1/fd/1",
                            "proc/1/fd/1",
                            "/proc/1/fdinfo/1",
                            "/proc/1/task/1/fd/1",
                            "/proc/1/fd/1/2",
                            "/proc/2147483648/fd/1",
                            "/proc/1/fd/2147483648",
                            "/proc/4294967297/fd/1",
                            "/proc/99999999999999999999999999/fd/1",
                            "/prox/1/fd/1",
                            "/proc/\xd9\xa1/fd/1"}) {
      EXPECT_FALSE(ParseClientPipe(path)) << path;
   }
}

TEST(ClientPipeTest, PathsToDescriptorsAreKnownInAnySpelling)
{
   for (char const* path :
        {"/proc/1/fd/1", "/proc/self/fd/1", "//proc//1///fd/1", "/proc/1/fd", "/proc/./1/fd/1",
         "/proc/1/task/1/fd/1", "/proc/-1/fd/1", "/proc//fd/1", "/./proc/1/fd/", "/proc/fd"}) {
      EXPECT_TRUE(IsDescriptorPath(path)) << path;
   }
   for (char const* path : {"", "/", "/proc/1/status", "/proc/1/fdinfo/1", "/dev/fd/1",
                            "proc/1/fd/1", "/home/proc/1/fd/1", "/etc/tavrin/config"}) {
      EXPECT_FALSE(IsDescriptorPath(path)) << path;
   }
}

} // namespace

} // namespace base
