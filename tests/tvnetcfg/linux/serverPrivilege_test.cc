// SPDX-License-Identifier: GPL-2.0-or-later
// What the running server and all that a save of its starts may do on the host: the program with
// the real networks below it.
#include "base/capabilities.hh"
#include "base/hiddenProcesses.hh"
#include "support/netlab/lab.hh"
#include "support/processState.hh"
#include "support/rawChannel.hh"
#include "support/testProcess.hh"
#include "vnet/process/runningProcess.hh"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using test::ExitedWith;
using test::ProcessState;
using test::TestProcess;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char server[] = TEST_BUILD_DIR "/tavrin-netcfg";
constexpr char vnets[] = TEST_BUILD_DIR "/tavrin-vnets";

constexpr char database[] =
   "[general]\nversion=1\n"
   "[tvnet1]\nsubnet=192.168.1.0\nmask=255.255.255.0\nadapter=true\ndhcp=true\n"
   "[tvnet8]\nsubnet=192.168.8.0\nmask=255.255.255.0\nadapter=true\ndhcp=true\nnat=true\n"
   "[tvnet8 forward tcp 80]\naddress=192.168.8.130\nport=80\n";

// What may be left to a process of ours. Where /proc hides processes it takes one more.
base::CapabilitySet GetOwn()
{
   bool const hidden = base::HidesProcesses(test::ReadFile("/proc/self/mountinfo"));
   return base::OWN_CAPABILITIES | (hidden ? base::MakeCapabilitySet(CAP_SYS_PTRACE) : 0);
}

class ServerPrivilegeTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      // A user namespace hides this process from the server that is to open its pipes.
      prctl(PR_SET_DUMPABLE, 1);
      std::ofstream("/etc/tavrin/networking") << database;
   }

   void TearDown() override
   {
      if (IsSkipped()) {
         return;
      }
      running.reset();
      EXPECT_EQ(0, Vnets("stop"));
      EXPECT_TRUE(test::Eventually([this] { return ListWatchers().empty(); }));
      EXPECT_TRUE(ListDnsmasqs().empty());
   }

   static int Vnets(std::string const& verb)
   {
      TestProcess process({vnets, verb});
      return ExitedWith(process.Wait(), 0) ? 0 : 1;
   }

   // Starts the server, which is to serve this process; `before` is the command that runs it.
   void Start(std::vector<std::string> command = {},
              TestProcess::Environment const& environment = {})
   {
      command.insert(command.end(),
                     {server, std::to_string(request.GetReadEnd()),
                      std::to_string(reply.GetWriteEnd()), std::to_string(getpid())});
      running = std::make_unique<TestProcess>(command, environment);
      ASSERT_EQ("Hello World!", Receive()) << running->GetOutput();
   }

   std::string Receive() { return test::ReadMessage(reply.GetReadEnd()).value_or("(no message)"); }

   std::string Load()
   {
      EXPECT_TRUE(test::WriteMessage(request.GetWriteEnd(), "Load"));
      return Receive();
   }

   void LoadAndSave()
   {
      std::string const snapshot = Load();
      ASSERT_THAT(snapshot, StartsWith("{"));
      ASSERT_TRUE(test::WriteMessage(request.GetWriteEnd(), "Save\n" + snapshot));
      ASSERT_EQ("Success", Receive());
   }

   void Quit()
   {
      ASSERT_TRUE(test::WriteMessage(request.GetWriteEnd(), "Quit"));
      EXPECT_TRUE(ExitedWith(running->Wait(), 0)) << running->GetOutput();
   }

   ProcessState GetServer() const { return ProcessState(running->GetPid()); }

   static std::vector<int> List(std::vector<std::string> const& arguments)
   {
      std::vector<int> pids;
      for (auto const& facts : vnet::process::FindProcesses(arguments)) {
         if (facts.sameNetwork.value_or(false)) {
            pids.push_back(facts.identity.pid);
         }
      }
      return pids;
   }
   std::vector<int> ListDnsmasqs() const { return List({"/usr/sbin/dnsmasq"}); }
   std::vector<int> ListWatchers() const { return List({vnets, "watch"}); }

   // Neither the channel nor whatever else the test has open.
   static void ExpectNothingInherited(ProcessState const& state)
   {
      auto const ours = ProcessState(getpid()).GetDescriptors();
      for (auto const& [number, target] : state.GetDescriptors()) {
         if (number <= STDERR_FILENO) {
            EXPECT_EQ("/dev/null", target) << number;
            continue;
         }
         for (auto const& [own, ownTarget] : ours) {
            EXPECT_NE(ownTarget, target) << number;
         }
      }
   }

   static void ExpectCleanChild(ProcessState const& state)
   {
      ExpectNothingInherited(state);
      EXPECT_EQ("1", state.GetStatus("NoNewPrivs"));
      EXPECT_EQ("0022", state.GetStatus("Umask"));
      EXPECT_EQ("/", state.GetLink("cwd"));
      EXPECT_EQ("0 0", state.GetLimits("Max core file size"));
      EXPECT_EQ(0u, state.GetCapabilities("CapInh"));
      EXPECT_EQ(0u, state.GetCapabilities("CapAmb"));
   }

   test::Pipe request;
   test::Pipe reply;
   std::unique_ptr<TestProcess> running;
};

TEST_F(ServerPrivilegeTest, TheServerKeepsWhatASaveNeedsAndNothingElse)
{
   Start();
   auto const state = GetServer();
   for (auto const* set : {"CapPrm", "CapEff", "CapBnd"}) {
      EXPECT_EQ(GetOwn(), state.GetCapabilities(set)) << set;
   }
   EXPECT_EQ(0u, state.GetCapabilities("CapInh"));
   EXPECT_EQ(0u, state.GetCapabilities("CapAmb"));
   EXPECT_EQ("1", state.GetStatus("NoNewPrivs"));
   Quit();
}

// What root's process doesn't have can't be turned against it.
TEST_F(ServerPrivilegeTest, TheServerHasNoToolkit)
{
   Start();
   auto const files = GetServer().GetMappedFiles();
   EXPECT_THAT(files, Contains(HasSubstr("/libvnetlib.so")));
   EXPECT_THAT(files, Not(Contains(AnyOf(HasSubstr("/libgtk"), HasSubstr("/libgdk"),
                                         HasSubstr("/libX11"), HasSubstr("/libtavrinui")))));
   Quit();
}

TEST_F(ServerPrivilegeTest, WhoStartsTheServerSettlesNothingInIt)
{
   mode_t const before = umask(0);
   Start({}, {{"LD_BIND_NOW", "1"},
              {"TVDEVEL", "1"},
              {"GIO_MODULE_DIR", "/tmp"},
              {"LOCPATH", "/tmp"},
              {"HOME", "/tmp"},
              {"G_MESSAGES_DEBUG", "all"}});
   umask(before);
   // From then on it only waits.
   EXPECT_THAT(Load(), StartsWith("{"));
   auto const state = GetServer();
   EXPECT_EQ("0022", state.GetStatus("Umask"));
   EXPECT_EQ("/", state.GetLink("cwd"));
   EXPECT_EQ("0 0", state.GetLimits("Max core file size"));
   EXPECT_THAT(state.GetEnvironment(), ElementsAre());
   for (auto const& [number, target] : state.GetDescriptors()) {
      EXPECT_EQ(number > STDERR_FILENO, state.IsCloseOnExec(number)) << number << " " << target;
   }
   Quit();
}

TEST_F(ServerPrivilegeTest, NetmapConfIsForAllToReadAndForNoneToWrite)
{
   mode_t const before = umask(0);
   Start();
   umask(077);
   LoadAndSave();
   umask(before);
   struct stat status;
   ASSERT_EQ(0, stat("/etc/tavrin/netmap.conf", &status));
   EXPECT_EQ(0644u, status.st_mode & 07777);
   Quit();
}

TEST_F(ServerPrivilegeTest, DnsmasqHasTheRightsOfItsOwnUserAndTheNetworks)
{
   Start();
   LoadAndSave();
   auto const pids = ListDnsmasqs();
   ASSERT_EQ(2u, pids.size());
   for (int const pid : pids) {
      ProcessState const state(pid);
      ExpectCleanChild(state);
      EXPECT_THAT(state.GetEnvironment(),
                  ElementsAre("PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C"));
      EXPECT_EQ("/usr/sbin/dnsmasq", state.GetLink("exe"));
      EXPECT_EQ(0u, state.GetCapabilities("CapBnd") & ~GetOwn());
      EXPECT_EQ(0u, state.GetCapabilities("CapPrm") & ~base::SERVICE_CAPABILITIES);
   }
   Quit();
}

TEST_F(ServerPrivilegeTest, DnsmasqRunsAsItsOwnUserWhereThereIsOne)
{
   auto const* user = getpwnam("dnsmasq");
   if (!user || test::ReadFile("/proc/self/uid_map").find("4294967295") == std::string::npos) {
      GTEST_SKIP() << "no user dnsmasq is mapped here";
   }
   auto const id = std::to_string(user->pw_uid);
   Start();
   LoadAndSave();
   auto const kept = base::MakeCapabilitySet(CAP_NET_ADMIN) | base::MakeCapabilitySet(CAP_NET_RAW) |
                     base::MakeCapabilitySet(CAP_NET_BIND_SERVICE);
   for (int const pid : ListDnsmasqs()) {
      ProcessState const state(pid);
      EXPECT_EQ(id + "\t" + id + "\t" + id + "\t" + id, state.GetStatus("Uid"));
      EXPECT_EQ("", state.GetStatus("Groups"));
      EXPECT_EQ(0u, state.GetCapabilities("CapPrm") & ~kept);
   }
   for (auto const* file :
        {"/run/tavrin/tvnet8/dnsmasq.pid", "/var/lib/tavrin/tvnet8/dnsmasq.leases"}) {
      struct stat status;
      ASSERT_EQ(0, lstat(file, &status)) << file;
      EXPECT_EQ(0u, status.st_uid) << file << ": its process can't make others believe in it";
      EXPECT_EQ(0644u, status.st_mode & 07777) << file;
   }
   Quit();
}

TEST_F(ServerPrivilegeTest, TheWatcherHasWhatItNeedsAndNothingElse)
{
   Start();
   LoadAndSave();
   auto const pids = ListWatchers();
   ASSERT_EQ(1u, pids.size());
   ProcessState state(pids[0]);
   ASSERT_TRUE(test::Eventually([&] {
      state = ProcessState(pids[0]);
      return state.GetEnvironment() == std::vector<std::string>{} &&
             state.GetLimits("Max core file size") == "0 0";
   }));
   ExpectCleanChild(state);
   for (auto const* set : {"CapPrm", "CapEff", "CapBnd"}) {
      EXPECT_EQ(GetOwn(), state.GetCapabilities(set)) << set;
   }
   EXPECT_EQ(vnets, state.GetLink("exe"));
   Quit();
}

TEST_F(ServerPrivilegeTest, ASaveWritesNowhereButInThreeFoldersAndProc)
{
   Start({TEST_BUILD_DIR "/tests/bin/in-read-only"});
   for (auto const* folder : {"/etc", "/run", "/var/lib", "/tmp", "/dev"}) {
      auto const path = "/proc/" + std::to_string(running->GetPid()) + "/root" + folder + "/file";
      int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
      int const cause = errno;
      EXPECT_EQ(-1, file) << folder;
      EXPECT_EQ(EROFS, cause) << folder;
   }
   LoadAndSave();
   EXPECT_EQ(2u, ListDnsmasqs().size());
   EXPECT_EQ(1u, ListWatchers().size());
   EXPECT_THAT(GetHost().Command("nft list tables"), HasSubstr("tavrin-tvnet8"));
   EXPECT_THAT(GetHost().Command("ip addr show tvnet8"), HasSubstr("192.168.8.1/24"));
   EXPECT_THAT(test::ReadFile("/etc/tavrin/netmap.conf"), HasSubstr("network8.device"));
   Quit();
}

// A /proc that tells of other users' processes to nobody who may not trace them.
class HidingProc {
public:
   HidingProc() : mounted(mount("proc", "/proc", "proc", 0, "hidepid=ptraceable") == 0) {}
   ~HidingProc()
   {
      if (mounted) {
         umount2("/proc", MNT_DETACH);
      }
   }
   HidingProc(HidingProc const&) = delete;
   HidingProc& operator=(HidingProc const&) = delete;

   bool IsMounted() const { return mounted; }

private:
   bool mounted;
};

TEST_F(ServerPrivilegeTest, WhereProcHidesProcessesADnsmasqIsFoundAgain)
{
   HidingProc const hiding;
   if (!hiding.IsMounted()) {
      GTEST_SKIP() << "such a /proc can't be mounted here";
   }
   Start();
   EXPECT_NE(0u, GetServer().GetCapabilities("CapEff") & base::MakeCapabilitySet(CAP_SYS_PTRACE));
   EXPECT_EQ(GetOwn(), GetServer().GetCapabilities("CapBnd"));
   LoadAndSave();
   auto const before = ListDnsmasqs();
   ASSERT_EQ(2u, before.size());
   Quit();
   Start();
   LoadAndSave();
   EXPECT_EQ(before, ListDnsmasqs());
   Quit();
   running.reset();
   EXPECT_EQ(0, Vnets("stop"));
}

TEST_F(ServerPrivilegeTest, ASaveRestartsADnsmasqThatRunsAsAnotherUser)
{
   Start();
   LoadAndSave();
   auto const before = ListDnsmasqs();
   ASSERT_EQ(2u, before.size());
   Quit();
   std::ofstream("/etc/tavrin/networking") << database << "[tvnet8 nat]\n";
   GetHost().Command("sed -i s/192.168.8.0/192.168.9.0/ /etc/tavrin/networking");
   Start();
   LoadAndSave();
   auto const after = ListDnsmasqs();
   EXPECT_EQ(2u, after.size());
   EXPECT_NE(before, after);
   EXPECT_THAT(GetHost().Command("ip addr show tvnet8"), HasSubstr("192.168.9.1/24"));
   Quit();
}

} // namespace
