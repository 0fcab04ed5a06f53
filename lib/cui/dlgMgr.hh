// SPDX-License-Identifier: GPL-2.0-or-later
// The dialogs over one window: who owns them, and how new ones are made.
#pragma once

#include "cui/error.hh"
#include "cui/severity.hh"

#include <sigc++/sigc++.h>
#include <vector>

namespace cui {

class Dlg;
class DlgError;
class DlgHint;
class DlgInfo;
class DlgQuestion;
class DlgSQuestion;
class DlgWarning;

// Owns its dialogs: they end with it at the latest. A dialog that a New... operation makes belongs
// to the manager at once, isn't shown before its Show(), and dies when it's answered.
// Every text is shown as it is, without mark-up. second is a smaller text below, or empty.
// isModal keeps the user from the window below until the dialog is answered.
class DlgMgr {
public:
   DlgMgr();
   DlgMgr(DlgMgr const&) = delete;
   DlgMgr& operator=(DlgMgr const&) = delete;
   virtual ~DlgMgr();

   virtual DlgInfo* NewInfo(utf::string const& text, utf::string const& second) = 0;
   virtual DlgWarning* NewWarning(utf::string const& text, utf::string const& second) = 0;
   virtual DlgError* NewError(utf::string const& text, utf::string const& second, bool isModal) = 0;
   virtual void ShowError(DlgError*) {}
   virtual DlgHint* NewHint(utf::string const& text, utf::string const& second, bool isModal) = 0;
   virtual void ShowHint(DlgHint*) {}
   // The labels from left to right, then the answer of a dismissal and that of the default button.
   virtual DlgQuestion* NewQuestion(utf::string const& text,
                                    std::vector<utf::string> const& buttons, int dismissChoice,
                                    int defaultChoice, utf::string const& second,
                                    severity::Level level, bool isModal) = 0;
   virtual void ShowQuestion(DlgQuestion*) {}
   virtual DlgSQuestion* NewSQuestion(utf::string const& text,
                                      std::vector<utf::string> const& buttons, int dismissChoice,
                                      int defaultChoice, utf::string const& second,
                                      bool isModal) = 0;
   virtual void ShowSQuestion(DlgSQuestion*) {}

   // For toolkits that have these. Without one of its own a manager gives null: there is no such
   // dialog.
   virtual Dlg* NewPassword(utf::string const& text);
   virtual Dlg* NewChangePassword(utf::string const& text);
   virtual Dlg* NewProgress(utf::string const& text);
   virtual Dlg* NewProgressFromProgress(Dlg* progress);
   virtual Dlg* NewFileBrowser(utf::string const& title);
   virtual Dlg* NewLicense(utf::string const& text);
   virtual Dlg* NewLicenseEntry(utf::string const& text);
   virtual Dlg* NewLicenseExpiry(utf::string const& text);

   // Called whenever the number of dialogs changed, with the new one.
   virtual void OnDlgsChanged(int count);

   // A slot for what may fail. Called with false, it shows the error in an error dialog over the
   // window; with true, which means success, it does nothing. format holds one %s, which stands
   // for the error's text. The slot may outlive the manager, and is empty from then on.
   sigc::slot<void, bool, Error const&> MakeAbortSlot(utf::string const& format);

   // Takes ownership of a dialog that nobody owns yet. Null, and a dialog that is owned already,
   // are left alone; false then.
   bool Own(Dlg* dlg);
   bool Owns(Dlg const* dlg) const;
   // The oldest first. Valid until the next dialog comes or goes.
   std::vector<Dlg*> const& GetDlgs() const { return dlgs; }
   // Ends all dialogs, the youngest first.
   void EndDlgs();

protected:
   // Ends all dialogs and empties the abort slots. To be called by the destructor of a derived
   // class, as long as that class is whole; the base's own destructor does it last of all.
   void Shutdown();

private:
   friend class Dlg;

   // What the abort slots are bound to, since a manager needn't be trackable itself.
   struct Aborter : public sigc::trackable {
      explicit Aborter(DlgMgr& owner) : mgr(owner) {}
      void Report(bool isDone, Error const& error, utf::string const& format);

      DlgMgr& mgr;
   };

   void Forget(Dlg* dlg);

   std::vector<Dlg*> dlgs;
   Aborter aborter;
};

} // namespace cui
