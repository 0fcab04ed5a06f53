// SPDX-License-Identifier: GPL-2.0-or-later
// One instance of a program that exists once per session. Says on standard output what happens to
// it. Arguments, in any order:
//    data=TEXT    what it hands over
//    second       may be a second one
//    busy         doesn't serve its main loop until it gets SIGUSR1
//    prompt=FILE  has a child that runs FILE, as a tool that asks for a password
//    server=FILE  has a child that runs FILE as its server
// SIGUSR2 makes it give the name back and go on.
#include "lui/channel.hh"
#include "lui/processTree.hh"
#include "lui/singletonApp.hh"

#include <csignal>
#include <cstdio>
#include <glib-unix.h>
#include <glibmm/main.h>
#include <map>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

using Options = std::map<std::string, std::string>;

Options Parse(int argc, char** argv)
{
   Options options;
   for (int index = 1; index < argc; ++index) {
      std::string const argument = argv[index];
      std::size_t const end = std::min(argument.find('='), argument.size());
      options[argument.substr(0, end)] = argument.substr(std::min(end + 1, argument.size()));
   }
   return options;
}

void Say(std::string const& what)
{
   std::puts(what.c_str());
   std::fflush(stdout);
}

// Returns once the child runs the program.
void StartChild(std::vector<std::string> arguments)
{
   int request[2];
   if (pipe(request) != 0) {
      return;
   }
   int const child = fork();
   if (child == 0) {
      std::vector<char*> vector;
      for (std::string& argument : arguments) {
         vector.push_back(argument.data());
      }
      vector.push_back(nullptr);
      execv(vector[0], vector.data());
      _exit(125);
   }
   while (lui::ReadCommandLine(child) != arguments) {
      usleep(1000);
   }
   lui::Utils::WatchPeer(request[1], child, "");
   Say("child " + std::to_string(child));
}

void StartChildren(Options const& options)
{
   if (options.contains("prompt")) {
      StartChild({options.at("prompt"), "1000"});
   }
   if (options.contains("server")) {
      StartChild({options.at("server"), "3", "6", std::to_string(getpid())});
   }
}

void WaitForSignal(int number)
{
   sigset_t set;
   sigemptyset(&set);
   sigaddset(&set, number);
   int received;
   sigwait(&set, &received);
}

int GiveBack(void* data)
{
   static_cast<std::optional<lui::SingletonApp>*>(data)->reset();
   Say("given back");
   return G_SOURCE_REMOVE;
}

} // namespace

int main(int argc, char** argv)
{
   Options const options = Parse(argc, argv);
   sigset_t go;
   sigemptyset(&go);
   sigaddset(&go, SIGUSR1);
   pthread_sigmask(SIG_BLOCK, &go, nullptr);
   StartChildren(options);

   std::optional<lui::SingletonApp> app(std::in_place);
   app->signal_launched().connect(
      [](utf::string const& data) { Say(std::string("launched ") + data.c_str()); });
   utf::string const data =
      options.contains("data") ? options.at("data").c_str() : lui::SingletonApp::DEFAULT_DATA;
   Say(app->Init(data, options.contains("second")) ? "first" : "alone");

   if (options.contains("busy")) {
      WaitForSignal(SIGUSR1);
      Say("no longer busy");
   }
   g_unix_signal_add(SIGUSR2, GiveBack, &app);
   Glib::MainLoop::create()->run();
}
