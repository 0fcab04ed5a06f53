// SPDX-License-Identifier: GPL-2.0-or-later
// A host of its own to measure on, with a way out and one guest.
#pragma once

#include "support/netlab/dhcpClient.hh"
#include "support/netlab/lab.hh"
#include "vnet/values/settings.hh"

#include <string>

namespace bench {

// A network namespace without devices but eth0, by which the default route leaves, and the guest's
// port; with folders of its own. It goes with the process. Throws std::runtime_error where there
// can't be one.
class Laboratory : private netlab::LabTest {
public:
   Laboratory();

   // The guest's device goes into the network's bridge, or out of whichever it is in.
   void Plug(unsigned int index);
   void Unplug();
   // Whether a DHCP server on the guest's network grants it a lease.
   bool AsksForLease();

private:
   netlab::Namespace outside;
   netlab::Namespace guest;

   void TestBody() override {}
};

} // namespace bench
