// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/dlgMgr.hh"

#include "cui/format.hh"
#include "cui/messageDlgs.hh"

#include <algorithm>

namespace cui {

DlgMgr::DlgMgr() : aborter(*this) {}

DlgMgr::~DlgMgr()
{
   Shutdown();
}

void DlgMgr::Shutdown()
{
   aborter.notify_callbacks();
   EndDlgs();
}

Dlg* DlgMgr::NewPassword(utf::string const&)
{
   return nullptr;
}

Dlg* DlgMgr::NewChangePassword(utf::string const&)
{
   return nullptr;
}

Dlg* DlgMgr::NewProgress(utf::string const&)
{
   return nullptr;
}

Dlg* DlgMgr::NewProgressFromProgress(Dlg*)
{
   return nullptr;
}

Dlg* DlgMgr::NewFileBrowser(utf::string const&)
{
   return nullptr;
}

Dlg* DlgMgr::NewLicense(utf::string const&)
{
   return nullptr;
}

Dlg* DlgMgr::NewLicenseEntry(utf::string const&)
{
   return nullptr;
}

Dlg* DlgMgr::NewLicenseExpiry(utf::string const&)
{
   return nullptr;
}

void DlgMgr::OnDlgsChanged(int) {}

sigc::slot<void, bool, Error const&> DlgMgr::MakeAbortSlot(utf::string const& format)
{
   return sigc::bind(sigc::mem_fun(aborter, &Aborter::Report), format);
}

void DlgMgr::Aborter::Report(bool isDone, Error const& error, utf::string const& format)
{
   if (isDone) {
      return;
   }
   if (DlgError* const dlg = mgr.NewError(Format(format.c_str(), error.what()), "", true)) {
      dlg->Show();
   }
}

bool DlgMgr::Own(Dlg* dlg)
{
   if (!dlg || dlg->owner) {
      return false;
   }
   dlg->owner = this;
   dlgs.push_back(dlg);
   OnDlgsChanged(static_cast<int>(dlgs.size()));
   return true;
}

bool DlgMgr::Owns(Dlg const* dlg) const
{
   return dlg && dlg->owner == this;
}

void DlgMgr::Forget(Dlg* dlg)
{
   dlg->owner = nullptr;
   std::erase(dlgs, dlg);
   OnDlgsChanged(static_cast<int>(dlgs.size()));
}

void DlgMgr::EndDlgs()
{
   while (!dlgs.empty()) {
      Dlg* const dlg = dlgs.back();
      // One that is ending waits for a handler of its own, which is what led here.
      if (dlg->isEnding) {
         delete dlg;
      } else {
         dlg->DeleteDlg();
      }
   }
}

} // namespace cui
