// SPDX-License-Identifier: GPL-2.0-or-later
// The dialogs that a manager makes of a text.
#pragma once

#include "cui/dlg.hh"

namespace cui {

// Each of these has one button, which closes it.
class DlgInfo : public virtual Dlg {};
class DlgWarning : public virtual Dlg {};
class DlgError : public virtual Dlg {};

// An information that the user may not want to see again.
class DlgHint : public virtual Dlg {
public:
   // Whether the user asked for silence. Keeping that in mind is up to the caller.
   virtual bool IsSilenced() const = 0;
};

// Closes with any answer, unless a handler of the caller's keeps it open.
class DlgQuestion : public virtual Dlg {
public:
   // The button that was pressed: its position from 0.
   virtual unsigned int GetAnswer() const = 0;
};

// A question that the user may want answered this way from now on.
class DlgSQuestion : public DlgQuestion {
public:
   // Whether the user asked for silence. Keeping that in mind is up to the caller.
   virtual bool IsSilenced() const = 0;
};

} // namespace cui
