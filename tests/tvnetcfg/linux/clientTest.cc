// SPDX-License-Identifier: GPL-2.0-or-later
#include "clientTest.hh"

#include <csignal>
#include <cstdlib>
#include <sys/stat.h>

namespace test {

ClientProcessTest::ClientProcessTest()
{
   for (char const* const name : {"state", "tools", "config"}) {
      std::filesystem::create_directory(dir.GetPath() / name);
   }
}

TestProcess::Environment ClientProcessTest::GetEnvironment() const
{
   return {{"LD_LIBRARY_PATH", TEST_BUILD_DIR "/tests/double"},
           {"TAVRIN_DOUBLE_LOG", dir.GetPath() / "calls"},
           {"XDG_STATE_HOME", dir.GetPath() / "state"},
           {"XDG_CONFIG_HOME", dir.GetPath() / "config"},
           {"XDG_DATA_HOME", dir.GetPath() / "data"},
           {"HOME", dir.GetPath()},
           {"PATH", std::string(dir.GetPath() / "tools") + ":/usr/bin:/bin"}};
}

TestProcess::Environment ClientProcessTest::With(TestProcess::Environment environment,
                                                 TestProcess::Environment const& more)
{
   environment.insert(environment.end(), more.begin(), more.end());
   return environment;
}

TestProcess::Environment ClientProcessTest::Preload(TestProcess::Environment more)
{
   more.emplace_back("LD_PRELOAD", TEST_BUILD_DIR "/tests/lib/libsystemDouble.so");
   // The sanitizer's runtime wants to be first, and the double comes before it.
   char const* const options = getenv("ASAN_OPTIONS");
   more.emplace_back("ASAN_OPTIONS",
                     std::string(options ? options : "") + ":verify_asan_link_order=0");
   return more;
}

TestProcess ClientProcessTest::Start(TestProcess::Environment const& more) const
{
   return TestProcess({TEST_BUILD_DIR "/tavrin-netcfg"}, With(GetEnvironment(), more));
}

std::string ClientProcessTest::GetCalls() const
{
   return ReadFile(dir.GetPath() / "calls");
}

bool ClientProcessTest::HasCalled(std::string const& call) const
{
   return GetCalls().find(call) != std::string::npos;
}

std::vector<std::filesystem::path> ClientProcessTest::GetLogs() const
{
   std::vector<std::filesystem::path> logs;
   if (std::filesystem::exists(dir.GetPath() / "state/tavrin")) {
      for (auto const& entry :
           std::filesystem::directory_iterator(dir.GetPath() / "state/tavrin")) {
         logs.push_back(entry.path());
      }
   }
   return logs;
}

std::string ClientProcessTest::Desktop(std::vector<std::string> arguments)
{
   // The bindings of Debian 12 call interfaces deprecated that have no other name there.
   arguments.insert(arguments.begin(), {"/usr/bin/python3", "-W", "ignore::DeprecationWarning",
                                        TEST_SUPPORT_DIR "/desktop.py"});
   TestProcess helper(arguments);
   EXPECT_TRUE(ExitedWith(helper.Wait(Milliseconds(40000)), 0)) << helper.GetOutput();
   return helper.GetOutput();
}

std::optional<int> ClientProcessTest::Cancel(TestProcess& client)
{
   Desktop({"press", editorTitle, "Cancel"});
   return client.Wait();
}

std::vector<int> ClientProcessTest::FindProcessesFor(TestProcess const& client)
{
   std::string const number = '\0' + std::to_string(client.GetPid()) + '\0';
   std::vector<int> found;
   for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
      std::string const line = ReadFile(entry.path() / "cmdline");
      if (line.size() > number.size() && line.ends_with(number) &&
          line.find("tavrin-netcfg") != std::string::npos) {
         found.push_back(std::stoi(entry.path().filename()));
      }
   }
   return found;
}

bool ClientProcessTest::HasProcessFor(TestProcess const& client)
{
   return !FindProcessesFor(client).empty();
}

void ClientProcessTest::EndProcessesFor(TestProcess const& client)
{
   for (int const pid : FindProcessesFor(client)) {
      kill(pid, SIGKILL);
   }
}

std::string ClientProcessTest::MakeTool(std::string const& name, std::string const& script) const
{
   std::string const path = dir.Write("tools/" + name, script);
   chmod(path.c_str(), 0755);
   return path;
}

std::string ClientProcessTest::MakePkexec() const
{
   return MakeTool("pkexec", "#!/bin/sh\nprintf '%s\\n' \"$0\" \"$@\" >\"$HOME/vector\"\n"
                             "exec \"$@\"\n");
}

} // namespace test
