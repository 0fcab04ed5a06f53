// SPDX-License-Identifier: GPL-2.0-or-later
// A dialog, whatever the toolkit that draws it.
#pragma once

#include "cui/destroyNotifier.hh"

namespace cui {

class DlgMgr;

// May be deleted at any time, also by a handler of its own reply.
class Dlg : public DestroyNotifier {
public:
   // What a handler of a reply wants to happen next.
   enum RepliedAction {
      KEEP_OPEN = 0, // nothing
      HIDE = 1,      // the dialog leaves the screen, and may be shown again
      CLOSE = 2,     // the reply is final
   };

   // Emitted by Reply(). The last handler's result counts; without handlers the dialog stays.
   sigc::signal<RepliedAction> replied;

   ~Dlg() override;

   // The manager of the dialogs that open over this one.
   virtual DlgMgr* GetDlgMgr() = 0;
   // Ends the dialog: the dialogs over it go first, then it leaves the screen. One that a manager
   // owns is deleted before this returns; any other belongs to who made it, and is only hidden.
   virtual void DeleteDlg();
   // Lets the user back in after the toolkit's Disable().
   virtual void Reenable() = 0;
   // False while the dialog is disabled.
   virtual bool IsEnabled() const = 0;
   virtual void Hide() = 0;
   virtual void Show() = 0;
   // Emits replied and does what the handlers want.
   virtual void Reply();

protected:
   Dlg() = default;

   // Called by the destructor of a derived class, so that nobody finds half a dialog. The base's
   // own destructor does it last of all.
   void LeaveDlgMgr();
   // The manager that owns this dialog; null if none does.
   DlgMgr* GetOwner() const { return owner; }

private:
   friend class DlgMgr;

   DlgMgr* owner = nullptr;
   bool isEnding = false;
};

} // namespace cui
