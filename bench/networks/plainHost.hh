// SPDX-License-Identifier: GPL-2.0-or-later
// A host with nothing but the kernel's own network between its guest and outside: the floor.
#pragma once

#include "support/netlab/namespace.hh"

namespace bench {

// Surrounded as a Laboratory is, in namespaces of its own, and set up by ip and nft.
class PlainHost {
public:
   PlainHost();

   // Either, once.
   // eth0 goes into the bridge in which the guest is.
   void MakeBridged();
   // The bridge is 192.168.0.1, and what leaves it is masqueraded.
   void MakeNat();

   netlab::Namespace const& GetOutside() const { return outside; }
   netlab::Namespace const& GetGuest() const { return guest; }

private:
   netlab::Namespace host;
   netlab::Namespace outside;
   netlab::Namespace guest;
};

} // namespace bench
