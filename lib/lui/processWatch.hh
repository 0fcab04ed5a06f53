// SPDX-License-Identifier: GPL-2.0-or-later
// The end of a process that need not be a child.
#pragma once

#include "base/fileDescriptor.hh"

#include <string>

namespace lui {

// Tells when a process has ended. A zombie has ended: it runs no more, whoever is to reap it.
// Another process that gets the same id later is not mistaken for it.
class ProcessWatch {
public:
   // A process that doesn't exist has ended already.
   explicit ProcessWatch(int pid);

   int Pid() const { return pid; }
   bool HasEnded() const;

   // For poll(2): becomes readable at the end of the process. Negative, which poll ignores, on a
   // kernel without such a descriptor; then HasEnded is to be asked now and then.
   int Descriptor() const { return pidfd.Get(); }
   // The timeout to poll with instead of `wanted`, in milliseconds; negative means none.
   int PollTimeout(int wanted) const;

private:
   bool HasEndedByProc() const;

   int pid;
   bool gone = false;          // at the start already
   base::FileDescriptor pidfd; // none on a kernel without, or if it has no more descriptors
   std::string startTime;      // as /proc tells it; empty where /proc hides the process
};

} // namespace lui
