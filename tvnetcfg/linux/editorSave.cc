// SPDX-License-Identifier: GPL-2.0-or-later
// The reply buttons of the main window.
#include "base/panic.h"
#include "lui/channel.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/addNetworkDlg.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/editor.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"
#include "tvnetcfg/linux/saveMessage.hh"

namespace netcfg {

namespace {

// Positions of the buttons.
constexpr unsigned int SAVE = 0;
constexpr unsigned int CANCEL = 1;
constexpr unsigned int HELP = 2;

} // namespace

cui::Dlg::RepliedAction Editor::OnReplied()
{
   switch (GetChoice()) {
   case SAVE:
      return OnSave();
   case CANCEL:
      Quit();
      return CLOSE;
   case HELP:
      ShowHelp();
      return KEEP_OPEN;
   default:
      NOT_IMPLEMENTED_AT("tvnetcfg/linux/editor", __LINE__);
   }
}

cui::Dlg::RepliedAction Editor::OnSave()
{
   if (autoBridgeDlg && autoBridgeDlg->ValidateSelection() == KEEP_OPEN) {
      return KEEP_OPEN;
   }
   cui::Error error;
   int index = -1;
   if (mgr.Verify(index, error)) {
      if (!Save()) {
         return KEEP_OPEN;
      }
      Quit();
      return CLOSE;
   }
   if (index != -1) {
      SelectRow(FindRow(index));
   }
   GetDlgMgr()->MakeAbortSlot("%s")(false, error);
   return KEEP_OPEN;
}

bool Editor::Save()
{
   utf::string reply;
   return WriteSaveMessage(requestFd, common::Editable::Serialize(editable)) &&
          lui::Utils::ReceiveData(replyFd, reply) && reply == "Success";
}

bool Editor::Quit()
{
   return lui::Utils::SendData(requestFd, "Quit");
}

} // namespace netcfg
