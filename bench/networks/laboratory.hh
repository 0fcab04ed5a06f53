// SPDX-License-Identifier: GPL-2.0-or-later
// A host of its own to measure on, with a way out and one guest.
#pragma once

#include "support/netlab/dhcpClient.hh"
#include "support/netlab/lab.hh"
#include "vnet/values/settings.hh"

#include <string>

namespace bench {

// A host's eth0 leads to `outside` (198.51.100.1 and .2, the way out), its device "guest" to
// `guest`.
void Surround(netlab::Namespace const& host, netlab::Namespace const& outside,
              netlab::Namespace const& guest);

// A network namespace without devices but eth0, by which the default route leaves, and the guest's
// port; with folders of its own. It goes with the process. Throws std::runtime_error where there
// can't be one.
class Laboratory : private netlab::LabTest {
public:
   Laboratory();

   netlab::Namespace const& GetOutside() const { return outside; }
   netlab::Namespace const& GetGuest() const { return guest; }

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
