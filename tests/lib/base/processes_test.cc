// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/processes.hh"

#include "forkedTest.hh"
#include "support/testProcess.hh"

#include <gtest/gtest.h>
#include <map>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace base {

namespace {

constexpr uid_t ROOT = 0;
constexpr uid_t USER = 1000;
constexpr uid_t OTHER = 1001;

struct TreeCase {
   char const* claim;
   std::vector<ProcessInfo> tree; // all others of the host
   OwnProcess own;
   pid_t lender;
   bool allowed;
};

ProcessInfo Process(pid_t pid, pid_t parent, uid_t user)
{
   return {pid, parent, user, true};
}

bool Decide(TreeCase const& c)
{
   auto find = [&c](pid_t pid) -> std::optional<ProcessInfo> {
      for (ProcessInfo const& process : c.tree) {
         if (process.pid == pid) {
            return process;
         }
      }
      return std::nullopt;
   };
   return MayLendPipe(*find(c.lender), c.own, find);
}

// A user's session: shell 10, client 20, further processes of his 30, of another user 40, of
// root 50.
std::vector<ProcessInfo> Session(uid_t client = USER)
{
   return {Process(1, 0, ROOT),   Process(10, 1, USER),  Process(20, 10, client),
           Process(30, 10, USER), Process(40, 1, OTHER), Process(50, 1, ROOT)};
}

// The same with root's tool 21 and its helper 22 between client and server.
std::vector<ProcessInfo> SessionWithTool()
{
   std::vector<ProcessInfo> tree = Session();
   tree.push_back(Process(21, 20, ROOT));
   tree.push_back(Process(22, 21, ROOT));
   return tree;
}

// A host without any user but root.
std::vector<ProcessInfo> RootsHost()
{
   return {Process(1, 0, ROOT), Process(10, 1, ROOT), Process(20, 10, ROOT), Process(40, 1, OTHER),
           Process(50, 1, ROOT)};
}

OwnProcess Server(pid_t parent)
{
   return {100, parent, ROOT, ROOT};
}

std::vector<TreeCase> Cases()
{
   std::vector<ProcessInfo> loop = {Process(20, 21, ROOT), Process(21, 20, ROOT),
                                    Process(50, 1, ROOT)};
   std::vector<ProcessInfo> userIsFirst = {Process(1, 0, USER), Process(20, 1, USER),
                                           Process(50, 0, ROOT)};
   return {
      {"a tool in our place: the parent is the client", Session(), Server(20), 20, true},
      {"a tool in our place: the user's other process", Session(), Server(20), 30, true},
      {"a tool in our place: another user's process", Session(), Server(20), 40, false},
      {"a tool in our place: root's process", Session(), Server(20), 50, false},
      {"a tool in our place: the first process", Session(), Server(20), 1, false},
      {"a tool between: the client", SessionWithTool(), Server(22), 20, true},
      {"a tool between: the user's other process", SessionWithTool(), Server(22), 30, true},
      {"a tool between: the tool", SessionWithTool(), Server(22), 21, true},
      {"a tool between: another user's process", SessionWithTool(), Server(22), 40, false},
      {"a tool between: root's process", SessionWithTool(), Server(22), 50, false},
      {"a root client below a user's shell: the client", Session(ROOT), Server(20), 20, true},
      {"a root client below a user's shell: the user's", Session(ROOT), Server(20), 30, true},
      {"a root client below a user's shell: root's", Session(ROOT), Server(20), 50, false},
      {"a root client below a user's shell: another's", Session(ROOT), Server(20), 40, false},
      {"nobody but root: the client", RootsHost(), Server(20), 20, true},
      {"nobody but root: root's other process", RootsHost(), Server(20), 50, true},
      {"nobody but root: a user's process", RootsHost(), Server(20), 40, false},
      {"the client is the first process", RootsHost(), Server(1), 1, true},
      {"the first process is a user's: his process", userIsFirst, Server(1), 20, true},
      {"the first process is a user's: root's process", userIsFirst, Server(1), 50, false},
      {"our parent is beyond our view: root's process", RootsHost(), Server(0), 50, true},
      {"our parent is beyond our view: a user's process", RootsHost(), Server(0), 40, false},
      {"an ancestor has vanished: root's process", RootsHost(), Server(77), 50, false},
      {"an ancestor has vanished: a user's process", RootsHost(), Server(77), 40, false},
      {"a tree that changes into a ring", loop, Server(20), 50, false},
      {"no rights: our user's process", Session(), {100, 1, USER, USER}, 30, true},
      {"no rights: another user's process", Session(), {100, 20, USER, USER}, 40, false},
      {"no rights: root's process", Session(), {100, 20, USER, USER}, 50, false},
      {"root's rights by set-user-id: our user's process",
       Session(),
       {100, 1, OTHER, ROOT},
       40,
       false},
   };
}

TEST(ProcessesTest, PipesAreLentByTheUserWhoStartedUsAlone)
{
   for (TreeCase const& c : Cases()) {
      EXPECT_EQ(c.allowed, Decide(c)) << c.claim;
   }
}

TEST(ProcessesTest, TheKernelsWordOnThisProcessIsRead)
{
   std::optional<ProcessInfo> self = FindProcess(getpid());
   ASSERT_TRUE(self);
   EXPECT_EQ(getpid(), self->pid);
   EXPECT_EQ(getppid(), self->parent);
   EXPECT_EQ(getuid(), self->user);
   EXPECT_TRUE(self->alive);
}

TEST(ProcessesTest, TheRealUserCounts)
{
   if (geteuid() != 0) {
      GTEST_SKIP() << "only root can have two user ids";
   }
   EXPECT_TRUE(PassesInChild([] {
      ASSERT_EQ(0, setresuid(NOBODY, 0, 0));
      std::optional<ProcessInfo> self = FindProcess(getpid());
      ASSERT_TRUE(self);
      EXPECT_EQ(NOBODY, self->user);
   }));
}

TEST(ProcessesTest, AZombieIsNotAlive)
{
   pid_t zombie = MakeZombie();
   std::optional<ProcessInfo> process = FindProcess(zombie);
   waitpid(zombie, nullptr, 0);

   ASSERT_TRUE(process);
   EXPECT_FALSE(process->alive);
   EXPECT_EQ(getpid(), process->parent);
}

TEST(ProcessesTest, AReapedProcessIsNotFoundAndItsDirectoryIsNoOthers)
{
   pid_t zombie = MakeZombie();
   FileDescriptor directory = OpenProcess(zombie);
   ASSERT_TRUE(directory.IsOpen());
   ASSERT_TRUE(ReadProcess(directory));
   waitpid(zombie, nullptr, 0);

   EXPECT_FALSE(ReadProcess(directory));
   EXPECT_FALSE(OpenProcess(zombie).IsOpen());
   EXPECT_FALSE(FindProcess(zombie));
}

TEST(ProcessesTest, AProcessCannotForgeItsEntryByItsName)
{
   EXPECT_TRUE(PassesInChild([] {
      ASSERT_EQ(0, prctl(PR_SET_NAME, "a\nUid:\t4\nPPid:"));
      std::optional<ProcessInfo> self = FindProcess(getpid());
      ASSERT_TRUE(self);
      EXPECT_EQ(getuid(), self->user);
      EXPECT_EQ(getppid(), self->parent);
   }));
}

} // namespace

} // namespace base
