// SPDX-License-Identifier: GPL-2.0-or-later
// A dialog that is answered by one of several buttons.
#pragma once

#include "cui/dlg.hh"

#include <cstdint>

namespace cui {

class DlgChoice : public virtual Dlg {
public:
   // The button that caused the current reply: its position from 0. 0 before the first reply.
   virtual unsigned int GetChoice() const = 0;
   ~DlgChoice() override = default;

protected:
   std::uint32_t choice = 0;
};

} // namespace cui
