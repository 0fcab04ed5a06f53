// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/clientMain.hh"

#include "base/dictionary.h"
#include "base/log.h"
#include "base/panic.h"
#include "base/poll.h"
#include "base/posix.h"
#include "base/productState.h"
#include "cui/localString.hh"
#include "lui/channel.hh"
#include "lui/elevator.hh"
#include "lui/installation.hh"
#include "lui/singletonApp.hh"
#include "lui/toolkit.hh"
#include "lui/warningDialog.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/editor.hh"

#include <future>
#include <glibmm/miscutils.h>
#include <gtkmm/main.h>
#include <gtkmm/menuitem.h>
#include <memory>
#include <sys/prctl.h>
#include <unistd.h>

namespace netcfg {

namespace {

char const appName[] = "tavrin-netcfg";
char const pkexecName[] = "pkexec";

// The client's numbers are what the server gets, so no end is closed before the server has opened
// them anew, and the child finds them all. Element 0 reads, 1 writes.
struct Channel {
   int requestPipe[2];
   int replyPipe[2];
};

// Both texts are empty for root, who needs no tool.
struct Elevator {
   utf::string name;
   utf::string path;
};

bool FindElevator(Elevator& elevator)
{
   if (!lui::Utils::FindAvailableElevator(elevator.name, elevator.path)) {
      utf::string const text = cui::GetLocalString(
         "@&!*@*@(msg.tvnetcfg.linux.noElevator)tavrin-netcfg needs pkexec or gnomesu to obtain "
         "root "
         "previlege. Please install pkexec or gnomesu first, and then launch tavrin-netcfg again");
      lui::Utils::RaiseWarningDialog(appName, text.c_str());
      return false;
   }
   return true;
}

// pkexec's prompt names its caller, and the caller of pkexec is to read as pkexec itself.
void TakeName(Elevator const& elevator, char const* name)
{
   if (elevator.name == pkexecName) {
      prctl(PR_SET_NAME, name);
   }
}

utf::string GetServerPath()
{
   if (Posix_Getenv("TVDEVEL")) {
      return Glib::build_filename(lui::Utils::GetLibDir().c_str(), "..", appName).c_str();
   }
   return Glib::build_filename(lui::Utils::GetBinDir().c_str(), appName).c_str();
}

// Turns this child into the server, by way of the elevation tool. Returns only on failure.
void ExecuteServer(Elevator const& elevator, Channel const& channel, int clientPid, bool isRoot)
{
   utf::string const serverPath = GetServerPath();
   utf::string const readEnd = utf::IntToStr(channel.requestPipe[0]);
   utf::string const writeEnd = utf::IntToStr(channel.replyPipe[1]);
   utf::string const client = utf::IntToStr(clientPid);

   char* arguments[6] = {};
   int count = 0;
   auto const append = [&](utf::string const& text) {
      arguments[count++] = const_cast<char*>(text.c_str());
   };
   if (!isRoot) {
      append(elevator.path);
   }
   append(serverPath);
   append(readEnd);
   append(writeEnd);
   append(client);
   Posix_Execv(arguments[0], arguments);
}

// Starts the client's log. The result is the configuration that the log goes on reading.
std::shared_ptr<Dictionary> StartLog(int clientPid)
{
   std::shared_ptr<Dictionary> config(Dictionary_Create(), Dictionary_Free);
   Dict_SetString(config.get(), "netcfg.log.fileName", "log.config");
   Dict_SetString(config.get(), "netcfg", "log.suffix");
   LogCfgInterface const* const interface = Log_CfgInterface();

   char const* const option = ProductState_GetCompilationOption();
   char const* const buildNumber = ProductState_GetBuildNumberString();
   char const* const version = ProductState_GetVersion();
   char const* const name = ProductState_GetName();
   Log_SetProductInfo(name, version, buildNumber, option);

   LogOutput* const output = Log_InitWithFileInt("netcfg", config.get(), interface, 1);
   if (!output) {
      Panic("%s: Could not initialize logging\n", g_get_prgname());
   }
   Warning("PID: %u, log output: %s\n", static_cast<unsigned int>(clientPid),
           Log_GetOutputFileName(output));
   return config;
}

bool WaitForServer(Elevator const& elevator, Channel const& channel, int serverPid, bool isRoot)
{
   if (!isRoot && !lui::Utils::WaitForElevator(serverPid, elevator.name, appName)) {
      return false;
   }
   return lui::Utils::WaitForMessageFromServer(channel.replyPipe[0], "Hello World!");
}

// What came of asking the server for the model.
struct Answer {
   bool hasCome = false;
   utf::string refusal; // empty if there is none
   common::Editable* model = nullptr;
};

Answer AskForModel(Elevator const& elevator, Channel const& channel, int serverPid, bool isRoot)
{
   Answer answer;
   utf::string reply;
   answer.hasCome = WaitForServer(elevator, channel, serverPid, isRoot) &&
                    lui::Utils::SendData(channel.requestPipe[1], "Load") &&
                    lui::Utils::ReceiveData(channel.replyPipe[0], reply);
   if (reply.startsWith("Fail", false)) {
      answer.refusal = reply;
   } else if (answer.hasCome) {
      answer.model = common::Editable::Restore(reply);
   }
   return answer;
}

// False if there is nothing to edit. A refusal of the server is shown as it came.
bool CanEdit(Answer const& answer)
{
   if (!answer.refusal.empty()) {
      lui::Utils::RaiseWarningDialog(appName, answer.refusal.c_str());
   }
   return answer.hasCome && answer.refusal.empty();
}

// The child's end is how the client learns of the server's: it holds the server's pipe ends itself.
void FollowServer(Channel const& channel, int serverPid)
{
   lui::Utils::WatchPeer(channel.requestPipe[1], serverPid, "");
   lui::Utils::WatchPeer(channel.replyPipe[0], serverPid, "");
}

void CloseChannel(Channel const& channel)
{
   lui::Utils::UnwatchPeer(channel.replyPipe[0]);
   lui::Utils::UnwatchPeer(channel.requestPipe[1]);
   close(channel.replyPipe[0]);
   close(channel.requestPipe[1]);
}

} // namespace

int client_main(int argc, char** argv)
{
   Gtk::Main gtkMain(argc, argv, true);
   Poll_InitGtk();
   ProductState_SetHelp(1, "16.2.3");

   Channel channel;
   if (pipe(channel.requestPipe) != 0 || pipe(channel.replyPipe) != 0) {
      return 1;
   }
   int const clientPid = getpid();

   Elevator elevator;
   bool const isRoot = geteuid() == 0;
   if (!isRoot && !FindElevator(elevator)) {
      return 1;
   }

   TakeName(elevator, pkexecName);
   int const serverPid = fork();
   if (serverPid < 0) {
      return 0;
   }
   if (serverPid == 0) {
      ExecuteServer(elevator, channel, clientPid, isRoot);
      return 0;
   }
   TakeName(elevator, appName);
   FollowServer(channel, serverPid);

   std::shared_ptr<Dictionary> const logConfig = StartLog(clientPid);
   // Only now: a second launch has its server started, and prompts, before it learns of the first.
   lui::SingletonApp singletonApp;
   singletonApp.Init(utf::string(lui::SingletonApp::DEFAULT_DATA), false);
   // The server starts meanwhile, or its user is asked for a password; with many networks both it
   // and the reading of its answer take as long as the toolkit.
   auto asking = std::async(std::launch::async, AskForModel, elevator, channel, serverPid, isRoot);
   lui::Utils::PrepareToolkit();
   Answer const answer = asking.get();
   if (!CanEdit(answer)) {
      return 1;
   }

   common::Editable* const model = answer.model;
   // Never deleted: the window outlives everything that it shows.
   auto* const editor = new Editor(model, channel.replyPipe[0], channel.requestPipe[1]);
   editor->show();
   singletonApp.signal_launched().connect(sigc::hide(sigc::mem_fun(*editor, &Editor::PresentSelf)));
   Gtk::Main::run(*editor);

   // Part of the order in which the client goes down; nothing depends on it.
   Gtk::MenuItem item;
   item.connect_property_changed("", sigc::slot<void>());
   CloseChannel(channel);
   delete model;
   Poll_Exit();
   return 0;
}

} // namespace netcfg
