// SPDX-License-Identifier: GPL-2.0-or-later
// A host on which saves go wrong.
#pragma once

#include "lib/vnet/engine/engineTest.hh"
#include "support/trace/tracedRun.hh"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vnet::engine {

// What a save by a process of its own came to.
struct Outcome {
   test::TracedRun run;
   // What it logged, as LogDouble has it.
   std::vector<std::string> log;
   // Descriptors, children and locks that it still had when all was unloaded. Of one that didn't
   // come to its end nothing can be left.
   std::string leaks;

   bool Ended() const { return test::ExitedWith(run.status, 0); }
   // libnftables ends the process when it lacks a socket or memory.
   bool WasEnded() const;
   // The lines together.
   std::string GetLog() const;
};

// There are two models, each a snapshot as the editor sends it. Going from one to the other
// removes, makes and changes networks of all kinds. The watcher is one that does nothing.
class FaultTest : public EngineTest {
protected:
   void SetUp() override;
   void TearDown() override;

   // The order in which a test takes the models.
   enum Model { First, Second };
   static Model GetOther(Model model) { return model == First ? Second : First; }

   // Loads, saves and unloads as the server does, in a process of its own.
   static Outcome Save(Model model);
   // The same while one call goes wrong.
   static Outcome Save(Model model, test::Fault const& fault);
   // The same, and tells the calls.
   static Outcome Record(Model model);
   // What the host and the database are like after an undisturbed save of the model.
   test::HostState const& GetState(Model model) const { return states.at(model); }
   std::string const& GetDatabase(Model model) const { return databases.at(model); }
   test::HostState TakeState();

   // The database loads, and is that of one of the models.
   static testing::AssertionResult IsWhole(std::string const& one, std::string const& other);
   static std::string ReadDatabase();
   // Saves the model, and expects that all is as if nothing had ever gone wrong.
   void ExpectMended(Model model);

private:
   static std::string MakeSnapshot(Model model);

   std::map<Model, test::HostState> states;
   std::map<Model, std::string> databases;
};

} // namespace vnet::engine
