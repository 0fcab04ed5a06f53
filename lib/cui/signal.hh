// SPDX-License-Identifier: GPL-2.0-or-later
// A signal without arguments, and an object that tells of its end.
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

class DestroyNotifier : public sigc::trackable {
public:
   // Emitted by the destructor.
   Signal destroyed;

   DestroyNotifier() = default;
   DestroyNotifier(DestroyNotifier const&) = delete;
   DestroyNotifier& operator=(DestroyNotifier const&) = delete;
   virtual ~DestroyNotifier();
};

} // namespace cui
