// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/dlg.hh"

#include "cui/dlgMgr.hh"
#include "cui/weakPtr.hh"

namespace cui {

Dlg::~Dlg()
{
   // A signal that dies while it is being emitted forgets to free its slots' bookkeeping.
   replied.clear();
   LeaveDlgMgr();
}

void Dlg::LeaveDlgMgr()
{
   if (owner) {
      owner->Forget(this);
   }
}

// Any step may run handlers, and any handler may delete this dialog.
void Dlg::DeleteDlg()
{
   if (isEnding) {
      return;
   }
   isEnding = true;
   WeakPtr<Dlg> const self(this);
   if (DlgMgr* const mgr = GetDlgMgr()) {
      mgr->EndDlgs();
   }
   if (self) {
      Hide();
   }
   if (!self) {
      return;
   }
   isEnding = false;
   if (owner) {
      delete this;
   }
}

void Dlg::Reply()
{
   WeakPtr<Dlg> const self(this);
   RepliedAction const action = replied.emit();
   if (!self) {
      return;
   }
   if (action == HIDE) {
      Hide();
   } else if (action == CLOSE) {
      DeleteDlg();
   }
}

} // namespace cui
