// SPDX-License-Identifier: GPL-2.0-or-later
// A thread that serves one descriptor until its owner goes.
#pragma once

#include "base/fileDescriptor.hh"

#include <functional>
#include <thread>

namespace netlab {

// Calls `serve` whenever the descriptor has input (or its other side left), and `tick`, if given,
// whenever `interval` milliseconds passed. The destructor ends and joins it.
class Worker {
public:
   Worker(int descriptor, std::function<void()> serve, int interval = -1,
          std::function<void()> tick = {});
   ~Worker();
   Worker(Worker const&) = delete;
   Worker& operator=(Worker const&) = delete;

private:
   base::FileDescriptor stop;
   std::thread thread;
};

} // namespace netlab
