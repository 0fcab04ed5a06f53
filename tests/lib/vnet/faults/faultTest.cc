// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/faults/faultTest.hh"

#include "lib/vnet/faults/models.hh"
#include "lib/vnet/faults/wholeState.hh"
#include "support/logDouble.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/mgr/mgr.hh"
#include "vnet/database/database.hh"
#include "vnet/interface/library.hh"
#include "vnet/process/runningProcess.hh"
#include "vnet/vnetlib.h"
#include "vnet/watch/watcherControl.hh"

#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

namespace vnet::engine {

namespace {

namespace fs = std::filesystem;

constexpr auto databaseFile = "/etc/tavrin/networking";
constexpr auto idleProgram = TEST_BUILD_DIR "/tests/bin/idle-program";

using netcfg::Mgr;
using netcfg::common::Editable;

std::set<std::string> ListDescriptors()
{
   std::set<std::string> descriptors;
   for (auto const& entry : fs::directory_iterator("/proc/self/fd")) {
      std::error_code none;
      // That of the listing itself is gone again.
      auto const target = fs::read_symlink(entry.path(), none).string();
      if (!target.ends_with("/fd")) {
         descriptors.insert(entry.path().filename().string() + " " + target);
      }
   }
   return descriptors;
}

// All of this process; the watcher is left out.
std::string ListChildren()
{
   std::istringstream pids(
      test::ReadFile("/proc/self/task/" + std::to_string(getpid()) + "/children"));
   std::string text;
   for (std::string pid; pids >> pid;) {
      if (!test::ReadFile("/proc/" + pid + "/cmdline").starts_with(idleProgram)) {
         text += "child " + pid + ": " + test::ReadFile("/proc/" + pid + "/stat");
      }
   }
   return text;
}

std::string FindLeaks(std::set<std::string> const& before)
{
   std::string text = ListChildren();
   for (auto const& each : ListDescriptors()) {
      text += before.contains(each) ? "" : "descriptor " + each + "\n";
   }
   try {
      LockFile::Take("/run/tavrin", std::chrono::milliseconds(0));
   } catch (Error const& error) {
      text += error.what() + std::string("\n");
   }
   return text;
}

void UseIdleWatcher()
{
   Place place;
   place.ensureWatcher = [] { watch::EnsureWatcher("/run/tavrin", idleProgram); };
   place.stopWatcher = [] { watch::StopWatcher("/run/tavrin"); };
   Library::Replace(std::make_unique<Library>(Database::Place(), std::make_unique<Engine>(place)));
}

// As the server serves "Load", "Save" and "Quit". An editor that is told of a database that can't
// be opened saves nothing.
void Serve(std::string const& snapshot)
{
   auto editable = std::make_unique<Editable>(VNL_GetNumberOfVnets());
   Mgr mgr(editable.release());
   bool const loaded = VNL_NetworkingDBExists() && VNL_CanReadNetworkingDB() && VNL_Load(0);
   mgr.Load();
   if (loaded) {
      mgr.RebuildEditable(snapshot.c_str());
      mgr.Save();
      mgr.Unload();
   }
   mgr.Unload();
   editable.reset(mgr.GetEditable());
}

// A file without a name, for what a child has to tell.
class Telling {
public:
   Telling() : descriptor(memfd_create("telling", MFD_CLOEXEC)) {}

   void Write(std::string const& text) const
   {
      EXPECT_EQ(static_cast<ssize_t>(text.size()),
                write(descriptor.Get(), text.data(), text.size()));
   }
   int GetDescriptor() const { return descriptor.Get(); }
   std::string Read() const
   {
      return test::ReadFile("/proc/self/fd/" + std::to_string(descriptor.Get()));
   }

private:
   base::FileDescriptor descriptor;
};

constexpr auto endOfLog = "end of log\n";

Outcome MakeOutcome(test::TracedRun run, std::string const& report)
{
   Outcome outcome;
   outcome.run = std::move(run);
   auto const end = report.find(endOfLog);
   std::istringstream lines(report.substr(0, end));
   for (std::string line; std::getline(lines, line);) {
      // Who only follows what is done isn't of interest.
      if (!line.starts_with("LogV(7)")) {
         outcome.log.push_back(line);
      }
   }
   outcome.leaks = end == std::string::npos ? "" : report.substr(end + std::strlen(endOfLog));
   return outcome;
}

} // namespace

std::string Outcome::GetLog() const
{
   std::string text;
   for (auto const& line : log) {
      text += line + "\n";
   }
   return text;
}

bool Outcome::WasEnded() const
{
   return test::ExitedWith(run.status, 1) &&
          GetLog().find("ends this process") != std::string::npos;
}

void FaultTest::SetUp()
{
   EngineTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   if (!test::GetTraceProblem().empty()) {
      GTEST_SKIP() << test::GetTraceProblem();
   }
   test::WriteText("/etc/tavrin/config", "host.adapters = \"eth0 eth1\"\n");
   test::WriteText(databaseFile, "[general]\nversion=1\n");
   for (auto const model : {First, Second, First}) {
      auto const outcome = Save(model);
      ASSERT_TRUE(outcome.Ended()) << outcome.GetLog();
      ASSERT_EQ("", outcome.leaks);
      states[model] = TakeState();
      databases[model] = ReadDatabase();
   }
}

namespace {

// A real watcher that nobody noted, as who started it died over that, sees the other and ends.
void EndStrayWatchers()
{
   for (auto const& facts : process::FindProcesses({idleProgram})) {
      auto const stray = process::ProcessHandle::Open(facts.identity);
      if (stray && facts.sameNetwork.value_or(false)) {
         stray->Terminate(test::patience);
      }
   }
}

} // namespace

void FaultTest::TearDown()
{
   if (!IsSkipped()) {
      watch::StopWatcher("/run/tavrin");
      EndStrayWatchers();
   }
   EngineTest::TearDown();
}

namespace {

Outcome RunSave(std::string const& snapshot, std::function<test::TracedRun(test::TracedWork)> run)
{
   Telling const telling;
   std::set<std::string> descriptors;
   auto const prepare = [&] {
      UseIdleWatcher();
      test::LogDouble::PassOn(telling.GetDescriptor());
      descriptors = ListDescriptors();
   };
   auto const finish = [&] {
      telling.Write(endOfLog + FindLeaks(descriptors));
      return 0;
   };
   auto traced = run({prepare, [&] { Serve(snapshot); }, finish});
   return MakeOutcome(std::move(traced), telling.Read());
}

} // namespace

std::string FaultTest::MakeSnapshot(Model model)
{
   return model == First ? test::MakeFirstModel() : test::MakeSecondModel();
}

Outcome FaultTest::Save(Model model)
{
   return RunSave(MakeSnapshot(model), [](test::TracedWork const& work) {
      return test::TracedRun{{}, test::RunUntraced(work)};
   });
}

Outcome FaultTest::Save(Model model, test::Fault const& fault)
{
   return RunSave(MakeSnapshot(model),
                  [&](test::TracedWork const& work) { return test::RunTraced(work, fault); });
}

Outcome FaultTest::Record(Model model)
{
   return RunSave(MakeSnapshot(model),
                  [](test::TracedWork const& work) { return test::RunTraced(work); });
}

test::HostState FaultTest::TakeState()
{
   return test::TakeWholeState(GetHost());
}

std::string FaultTest::ReadDatabase()
{
   return test::ReadFile(databaseFile);
}

testing::AssertionResult FaultTest::IsWhole(std::string const& one, std::string const& other)
{
   try {
      Database const loads{Database::Place()};
   } catch (Error const& error) {
      return testing::AssertionFailure() << error.what();
   }
   auto const text = ReadDatabase();
   if (text == one || text == other) {
      return testing::AssertionSuccess() << "it is one of the two";
   }
   return testing::AssertionFailure() << "it is neither the old nor the new one:\n" << text;
}

void FaultTest::ExpectMended(Model model)
{
   auto const outcome = Save(model);
   EXPECT_TRUE(outcome.Ended()) << outcome.GetLog();
   EXPECT_EQ("", outcome.leaks);
   EXPECT_EQ(GetDatabase(model), ReadDatabase());
   EXPECT_TRUE(test::AreEqual(GetState(model), TakeState())) << outcome.GetLog();
   EXPECT_FALSE(fs::exists("/run/tavrin/networking.lock"));
}

} // namespace vnet::engine
