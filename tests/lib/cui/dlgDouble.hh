// SPDX-License-Identifier: GPL-2.0-or-later
// Dialogs and managers that draw nothing and write down what happens to them.
#pragma once

#include "cui/dlgMgr.hh"
#include "cui/messageDlgs.hh"

#include <string>
#include <vector>

namespace cui {

using Story = std::vector<std::string>;

class DlgDouble : public DlgError {
public:
   DlgDouble(std::string const& title, Story& teller, DlgMgr* over)
      : name(title), story(teller), mgr(over)
   {}
   ~DlgDouble() override
   {
      hidden.clear();
      story.push_back(name + " dies");
   }

   DlgMgr* GetDlgMgr() override { return mgr; }
   void Reenable() override {}
   bool IsEnabled() const override { return true; }
   void Show() override { story.push_back(name + " shows"); }
   void Hide() override
   {
      story.push_back(name + " hides");
      hidden.emit();
   }

   // Emitted by Hide(), as a focus handler would be called.
   sigc::signal<void> hidden;

private:
   std::string name;
   Story& story;
   DlgMgr* mgr;
};

class DlgMgrDouble : public DlgMgr {
public:
   explicit DlgMgrDouble(Story& teller) : story(teller) {}
   ~DlgMgrDouble() override { Shutdown(); }

   DlgInfo* NewInfo(utf::string const&, utf::string const&) override { return nullptr; }
   DlgWarning* NewWarning(utf::string const&, utf::string const&) override { return nullptr; }
   DlgError* NewError(utf::string const& text, utf::string const& second, bool isModal) override
   {
      auto* const dlg = new DlgDouble("error [" + std::string(text.c_str()) + second.c_str() + "]",
                                      story, nullptr);
      wasModal = isModal;
      Own(dlg);
      return dlg;
   }
   DlgHint* NewHint(utf::string const&, utf::string const&, bool) override { return nullptr; }
   DlgQuestion* NewQuestion(utf::string const&, std::vector<utf::string> const&, int, int,
                            utf::string const&, severity::Level, bool) override
   {
      return nullptr;
   }
   DlgSQuestion* NewSQuestion(utf::string const&, std::vector<utf::string> const&, int, int,
                              utf::string const&, bool) override
   {
      return nullptr;
   }
   void OnDlgsChanged(int count) override { counts.push_back(count); }

   std::vector<int> counts;
   bool wasModal = false;

private:
   Story& story;
};

} // namespace cui
