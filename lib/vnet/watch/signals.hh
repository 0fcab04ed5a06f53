// SPDX-License-Identifier: GPL-2.0-or-later
// The signals that the watcher is led by.
#pragma once

#include "base/fileDescriptor.hh"

namespace vnet::watch {

// From its construction on, they no longer do what they do by default, in this thread and those
// that it starts; they wait to be read. For the whole life of a process: nothing is restored.
class Signals {
public:
   // Throws Error.
   Signals();

   int GetDescriptor() const { return descriptor.Get(); }

   enum class Request { None, Look, End };
   // What those that came ask for: End goes before Look. Doesn't block.
   Request Read();

private:
   base::FileDescriptor descriptor;
};

} // namespace vnet::watch
