// SPDX-License-Identifier: GPL-2.0-or-later
// An object that tells of its end.
#pragma once

#include "cui/signal.hh"

namespace cui {

// A base that a toolkit's window may share: there is one trackable, however often it's inherited.
class DestroyNotifier : public virtual sigc::trackable {
public:
   // Emitted by the destructor. By then no WeakPtr points at the object any more, and no slot that
   // is bound to it will be called.
   Signal destroyed;

   DestroyNotifier() = default;
   DestroyNotifier(DestroyNotifier const&) = delete;
   DestroyNotifier& operator=(DestroyNotifier const&) = delete;
   virtual ~DestroyNotifier();
};

} // namespace cui
