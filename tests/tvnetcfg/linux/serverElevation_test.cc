// SPDX-License-Identifier: GPL-2.0-or-later
// Whose pipes the program opens that runs as root below a user's client.
#include "base/capabilities.hh"
#include "base/hiddenProcesses.hh"
#include "lib/base/forkedTest.hh"
#include "support/processState.hh"
#include "support/rawChannel.hh"
#include "support/testProcess.hh"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/sched.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

using base::BecomeNobody;
using base::HeldChild;
using base::PassesInChild;
using test::ExitedWith;

constexpr char program[] = TEST_BUILD_DIR "/tavrin-netcfg";

// A user who is neither root nor the client's.
constexpr uid_t STRANGER = 1234;
// Where each of the processes here has its pipes.
constexpr int READ_END = 200;
constexpr int WRITE_END = 201;

void Check(bool good, char const* what)
{
   if (!good) {
      throw std::system_error(errno, std::generic_category(), what);
   }
}

// Their other ends stay open as well.
void MakeNumberedPipes()
{
   int request[2];
   int reply[2];
   Check(pipe(request) == 0 && pipe(reply) == 0 && dup2(request[0], READ_END) == READ_END &&
            dup2(reply[1], WRITE_END) == WRITE_END,
         "pipe");
}

void BecomeStrangerWithPipes()
{
   Check(setgroups(0, nullptr) == 0 && setresgid(STRANGER, STRANGER, STRANGER) == 0 &&
            setresuid(STRANGER, STRANGER, STRANGER) == 0 && prctl(PR_SET_DUMPABLE, 1) == 0,
         "become a stranger");
   MakeNumberedPipes();
}

// What the server is told: its arguments, as numbers.
struct Order {
   int requests;
   int replies;
   pid_t client;
};

// The client's side of a run: an ordinary user's process whose child, root's, becomes the server.
class Client {
public:
   Client()
   {
      server = fork();
      Check(server >= 0, "fork");
      if (server == 0) {
         BecomeServer();
      }
      BecomeNobody();
      request.emplace();
      reply.emplace();
   }

   Order GetOrder() const { return {request->GetReadEnd(), reply->GetWriteEnd(), getpid()}; }

   void Give(Order const& told)
   {
      Check(write(order.GetWriteEnd(), &told, sizeof told) == sizeof told, "write");
   }

   std::optional<std::string> ReadGreeting() { return test::ReadMessage(reply->GetReadEnd()); }
   void Quit() { test::WriteMessage(request->GetWriteEnd(), "Quit"); }
   pid_t GetServer() const { return server; }

   int Wait() const
   {
      int status = 0;
      Check(waitpid(server, &status, 0) == server, "waitpid");
      return status;
   }

   // The server's end without a greeting.
   void ExpectRefused(Order const& told, char const* what)
   {
      Give(told);
      EXPECT_TRUE(ExitedWith(Wait(), 1)) << what;
      reply->CloseWriteEnd();
      EXPECT_FALSE(ReadGreeting()) << what;
   }

private:
   [[noreturn]] void BecomeServer()
   {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      Order told;
      if (read(order.GetReadEnd(), &told, sizeof told) == sizeof told) {
         execl(program, program, std::to_string(told.requests).c_str(),
               std::to_string(told.replies).c_str(), std::to_string(told.client).c_str(), nullptr);
      }
      _exit(127);
   }

   test::Pipe order;
   std::optional<test::Pipe> request;
   std::optional<test::Pipe> reply;
   pid_t server;
};

// Runs body as a process that has become an ordinary user's, with a client of its own.
bool PassesInClient(std::function<void(Client&)> const& body)
{
   return PassesInChild([&] {
      Client client;
      body(client);
   });
}

class ServerElevationTest : public testing::Test {
protected:
   void SetUp() override
   {
      unsigned long inside = 0, outside = 0, count = 0;
      std::ifstream("/proc/self/uid_map") >> inside >> outside >> count;
      if (geteuid() != 0 || inside != 0 || count <= base::NOBODY) {
         GTEST_SKIP() << "only root can play a server with root's rights";
      }
   }
};

TEST_F(ServerElevationTest, AUsersPipesAreOpenedByRightsThatAreGoneAtTheGreeting)
{
   EXPECT_TRUE(PassesInClient([](Client& client) {
      client.Give(client.GetOrder());
      EXPECT_EQ("Hello World!", client.ReadGreeting());
      test::ProcessState const state(client.GetServer());
      EXPECT_EQ("0\t0\t0\t0", state.GetStatus("Uid"));
      bool const hidden = base::HidesProcesses(test::ReadFile("/proc/self/mountinfo"));
      for (auto const* set : {"CapPrm", "CapEff", "CapBnd"}) {
         EXPECT_EQ(base::OWN_CAPABILITIES | (hidden ? base::MakeCapabilitySet(CAP_SYS_PTRACE) : 0),
                   state.GetCapabilities(set))
            << set;
      }
      client.Quit();
      EXPECT_TRUE(ExitedWith(client.Wait(), 0));
   }));
}

TEST_F(ServerElevationTest, AUserCannotLookIntoTheServer)
{
   EXPECT_TRUE(PassesInClient([](Client& client) {
      client.Give(client.GetOrder());
      EXPECT_EQ("Hello World!", client.ReadGreeting());
      auto const folder = "/proc/" + std::to_string(client.GetServer());
      EXPECT_EQ(-1, open((folder + "/environ").c_str(), O_RDONLY));
      EXPECT_EQ(-1, open((folder + "/fd").c_str(), O_RDONLY | O_DIRECTORY));
      client.Quit();
      EXPECT_TRUE(ExitedWith(client.Wait(), 0));
   }));
}

TEST_F(ServerElevationTest, AnotherUsersProcessIsRefused)
{
   HeldChild const stranger(BecomeStrangerWithPipes);
   HeldChild const root(MakeNumberedPipes);
   for (pid_t const pid : {stranger.GetPid(), root.GetPid()}) {
      EXPECT_TRUE(PassesInClient([pid](Client& client) {
         client.ExpectRefused({READ_END, WRITE_END, pid}, "another user's");
      }));
   }
}

TEST_F(ServerElevationTest, OnePipeOfTwoIsNotEnough)
{
   EXPECT_TRUE(PassesInClient([](Client& client) {
      auto const order = client.GetOrder();
      client.ExpectRefused({order.requests, 999, order.client}, "no reply pipe");
   }));
   EXPECT_TRUE(PassesInClient([](Client& client) {
      auto const order = client.GetOrder();
      client.ExpectRefused({999, order.replies, order.client}, "no request pipe");
   }));
}

TEST_F(ServerElevationTest, AProcessThatHasEndedIsRefused)
{
   pid_t dead = 0;
   {
      HeldChild const child(BecomeNobody);
      dead = child.GetPid();
   }
   pid_t const zombie = base::MakeZombie();
   for (pid_t const pid : {dead, zombie, -1, 0}) {
      EXPECT_TRUE(PassesInClient([pid](Client& client) {
         client.ExpectRefused({READ_END, WRITE_END, pid}, "an ended process");
      }));
   }
   waitpid(zombie, nullptr, 0);
}

// A child with that number, if nobody else has it; -1 with errno else.
pid_t ForkWithNumber(pid_t number)
{
   clone_args arguments{};
   arguments.exit_signal = SIGCHLD;
   arguments.set_tid = reinterpret_cast<std::uintptr_t>(&number);
   arguments.set_tid_size = 1;
   return static_cast<pid_t>(syscall(SYS_clone3, &arguments, sizeof arguments));
}

TEST_F(ServerElevationTest, AStrangerWhoGotTheClientsNumberIsRefused)
{
   pid_t client = 0;
   {
      HeldChild const child(BecomeNobody);
      client = child.GetPid();
   }
   test::Pipe ready;
   pid_t const stranger = ForkWithNumber(client);
   if (stranger == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      BecomeStrangerWithPipes();
      [[maybe_unused]] auto const written = write(ready.GetWriteEnd(), "", 1);
      for (;;) {
         pause();
      }
   }
   if (stranger < 0) {
      GTEST_SKIP() << "the number can't be had again: " << std::strerror(errno);
   }
   char byte;
   EXPECT_EQ(1, read(ready.GetReadEnd(), &byte, 1));
   EXPECT_TRUE(PassesInClient([client](Client& other) {
      other.ExpectRefused({READ_END, WRITE_END, client}, "a stranger's");
   }));
   kill(stranger, SIGKILL);
   waitpid(stranger, nullptr, 0);
}

TEST_F(ServerElevationTest, OfTheUsersOwnProcessesAnyMayLendItsPipes)
{
   HeldChild const other([] {
      BecomeNobody();
      MakeNumberedPipes();
   });
   EXPECT_TRUE(PassesInClient([&](Client& client) {
      client.Give({READ_END, WRITE_END, other.GetPid()});
      // Nobody answers there; the server goes with the process that it serves.
      EXPECT_TRUE(test::Eventually(
         [&] { return test::ProcessState(client.GetServer()).GetStatus("NoNewPrivs") == "1"; }));
   }));
}

TEST_F(ServerElevationTest, APipeThatAnotherUserMadeIsRefused)
{
   EXPECT_TRUE(PassesInChild([] {
      MakeNumberedPipes();
      Client client;
      client.ExpectRefused({READ_END, WRITE_END, getpid()}, "root's pipe");
   }));
}

TEST_F(ServerElevationTest, WhatIsNoPipeIsRefused)
{
   test::TempDir const dir;
   std::string const file = dir.Write("file", "precious");
   std::string const fifo = dir.GetPath() / "fifo";
   ASSERT_EQ(0, chmod(dir.GetPath().c_str(), 0755));
   ASSERT_EQ(0, mkfifo(fifo.c_str(), 0666));
   ASSERT_EQ(0, chmod(fifo.c_str(), 0666));
   ASSERT_EQ(0, chmod(file.c_str(), 0666));
   for (auto const& open : std::vector<std::function<int()>>{
           [&] { return ::open(file.c_str(), O_RDWR); },
           [&] { return ::open(fifo.c_str(), O_RDWR); }, [] { return ::open("/dev/null", O_RDWR); },
           [] { return ::open("/", O_RDONLY); }, [] { return socket(AF_UNIX, SOCK_STREAM, 0); },
           [] { return eventfd(0, 0); }, [&] { return ::open(file.c_str(), O_PATH); }}) {
      EXPECT_TRUE(PassesInClient([&](Client& client) {
         int const other = open();
         EXPECT_GE(other, 0);
         auto const order = client.GetOrder();
         client.ExpectRefused({order.requests, other, order.client}, "no pipe");
      }));
   }
   EXPECT_EQ("precious", test::ReadFile(file));
}

} // namespace
