// SPDX-License-Identifier: GPL-2.0-or-later
// A signal without arguments.
#pragma once

#include <sigc++/sigc++.h>

namespace cui {

// Emitted by its owner.
class Signal {
public:
   sigc::connection connect(sigc::slot<void> const& slot);
   void emit() { signal.emit(); }

private:
   sigc::signal<void> signal;
};

} // namespace cui
