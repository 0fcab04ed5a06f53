// SPDX-License-Identifier: GPL-2.0-or-later
// The whole program on a desktop of the test's own, with folders and networks of its own.
#pragma once

#include "support/testProcess.hh"

#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace test {

inline constexpr char editorTitle[] = "Tavrin Network Editor";

class ClientProcessTest : public testing::Test {
protected:
   ClientProcessTest();

   TestProcess::Environment GetEnvironment() const;
   static TestProcess::Environment With(TestProcess::Environment environment,
                                        TestProcess::Environment const& more);
   // With the double of the system's calls, and what more is given.
   static TestProcess::Environment Preload(TestProcess::Environment more);
   // The client, in the environment of all these tests and more.
   TestProcess Start(TestProcess::Environment const& more = {}) const;

   // The recorded calls of the networking library.
   std::string GetCalls() const;
   bool HasCalled(std::string const& call) const;
   // The client's log files.
   std::vector<std::filesystem::path> GetLogs() const;

   // Runs the desktop helper and returns what it printed; a failure of its is one of the test's.
   static std::string Desktop(std::vector<std::string> arguments);
   // Waits for the editor, presses its button, and returns how the client ended.
   static std::optional<int> Cancel(TestProcess& client);

   // The processes that were started for the client: they have its number as their last argument.
   static std::vector<int> FindProcessesFor(TestProcess const& client);
   static bool HasProcessFor(TestProcess const& client);
   static void EndProcessesFor(TestProcess const& client);

   // An elevation tool of this name, first in PATH.
   std::string MakeTool(std::string const& name, std::string const& script) const;
   // One that writes its command line down and runs the program in its own place.
   std::string MakePkexec() const;

   TempDir dir;
};

} // namespace test
