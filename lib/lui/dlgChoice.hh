// SPDX-License-Identifier: GPL-2.0-or-later
// A dialog's window that remembers which button answered.
#pragma once

#include "cui/dlgChoice.hh"
#include "lui/dlg.hh"

namespace lui {

class DlgChoice : public cui::DlgChoice, public virtual Dlg {
public:
   unsigned int GetChoice() const override { return choice; }
   // Records the choice, then answers.
   void OnClicked(unsigned int newChoice) override;
};

} // namespace lui
