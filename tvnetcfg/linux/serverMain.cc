// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/serverMain.hh"

#include "base/panic.h"
#include "base/posix.h"
#include "base/privilege.h"
#include "cui/localString.hh"
#include "lui/channel.hh"
#include "lui/systemTexts.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/mgr/mgr.hh"
#include "vnet/vnetlib.h"

#include <cstdlib>
#include <fcntl.h>
#include <glibmm/miscutils.h>
#include <memory>
#include <unistd.h>

namespace netcfg {

namespace {

// What the loop serves with. The manager frees the model on a rebuild, so this frame takes the new
// one over each time and stays its only owner.
struct Frame {
   int readFd;
   int writeFd;
   common::Editable* editable;
   Mgr* mgr;
};

enum class Next { Serve, Leave };

// Opens a descriptor of the client's anew, with the client's numbers as they came.
int OpenClientPipe(char const* pid, char const* descriptor, int flags)
{
   std::string const path =
      Glib::build_filename("/proc", utf::IntToStr(std::strtol(pid, nullptr, 10)).c_str(), "fd",
                           utf::IntToStr(std::strtol(descriptor, nullptr, 10)).c_str());
   return Posix_Open(path.c_str(), flags);
}

// Opens the networking database. Empty on success, else the localised reason.
utf::string LoadDatabase()
{
   if (!VNL_NetworkingDBExists()) {
      return cui::GetLocalString(
         "@&!*@*@(msg.tvnetcfg.linux.noDB)Network configuration is missing. "
         "Ensure that /etc/tavrin/networking exists.");
   }
   if (!VNL_CanReadNetworkingDB()) {
      return cui::GetLocalString("@&!*@*@(msg.tvnetcfg.linux.cantRead)Network configuration format "
                                 "is unsupported. Ensure that /etc/tavrin/networking contains "
                                 "valid data.");
   }
   if (!VNL_Load(0)) {
      return cui::GetLocalString("@&!*@*@(msg.tvnetcfg.linux.cantLoad)Unable to load host network "
                                 "configuration. Are you root?");
   }
   return {};
}

Next Reply(Frame const& frame, utf::string const& text)
{
   return lui::Utils::SendData(frame.writeFd, text) ? Next::Serve : Next::Leave;
}

// A database that can't be opened is reported and answered with a snapshot all the same: the client
// has stopped reading by then, and the verb ends as it always does.
Next ServeLoad(Frame& frame)
{
   utf::string const problem = LoadDatabase();
   if (!problem.empty() && Reply(frame, utf::string("Fail") + "\n" + problem) == Next::Leave) {
      return Next::Leave;
   }
   frame.mgr->Load();
   return Reply(frame, common::Editable::Serialize(frame.editable));
}

Next ServeSave(Frame& frame, utf::string const& snapshot)
{
   frame.editable = nullptr; // from here on the manager's to free
   frame.mgr->RebuildEditable(snapshot);
   frame.editable = frame.mgr->GetEditable();
   frame.mgr->Save();
   frame.mgr->Unload();
   return Reply(frame, "Success");
}

Next Serve(Frame& frame, utf::string const& message)
{
   std::vector<utf::string> const pieces = message.split("\n", 0);
   utf::string const& verb = pieces[0];
   if (verb == "Load") {
      return ServeLoad(frame);
   }
   if (verb == "Save") {
      // A message that ends with its verb has the empty text for a snapshot, which isn't JSON.
      return ServeSave(frame, pieces.size() > 1 ? pieces[1] : utf::string());
   }
   if (verb == "Quit") {
      frame.mgr->Unload();
      return Next::Leave;
   }
   NOT_REACHED_AT("tvnetcfg/linux/main", 358);
}

void ServeUntilTold(Frame& frame)
{
   Next next = Next::Serve;
   while (next == Next::Serve) {
      utf::string message;
      if (lui::Utils::ReceiveData(frame.readFd, message)) {
         next = Serve(frame, message);
      }
   }
}

// The pipes alone don't tell when the client ends: this process may have inherited its ends, and so
// may the elevation tool. A client that has gone without a word asks for nothing more.
void FollowClient(Frame const& frame, char const* pid)
{
   int const clientPid = static_cast<int>(std::strtol(pid, nullptr, 10));
   lui::Utils::WatchPeer(frame.readFd, clientPid, "Quit");
   lui::Utils::WatchPeer(frame.writeFd, clientPid, "");
}

void CleanUp(Frame* frame)
{
   delete frame->editable;
   delete frame->mgr;
   lui::Utils::UnwatchPeer(frame->readFd);
   lui::Utils::UnwatchPeer(frame->writeFd);
   close(frame->readFd);
   close(frame->writeFd);
}

} // namespace

int server_main(int, char** argv)
{
   // The journal is read by others than the user whose language this process has.
   lui::Utils::KeepSystemTexts();
   Frame frame{};
   frame.readFd = OpenClientPipe(argv[3], argv[1], O_RDONLY);
   frame.writeFd = OpenClientPipe(argv[3], argv[2], O_WRONLY);
   // Another user's process was the last thing that took all of root's rights.
   Privilege_Drop();
   if (frame.readFd == -1 || frame.writeFd == -1) {
      return 1;
   }
   FollowClient(frame, argv[3]);
   if (!lui::Utils::SendData(frame.writeFd, "Hello World!")) {
      return 1;
   }

   frame.editable = new common::Editable(VNL_GetNumberOfVnets());
   frame.mgr = new Mgr(frame.editable);
   std::unique_ptr<Frame, decltype(&CleanUp)> const end(&frame, &CleanUp);
   ServeUntilTold(frame);
   return 0;
}

} // namespace netcfg
