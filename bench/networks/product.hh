// SPDX-License-Identifier: GPL-2.0-or-later
// The networks as our own library makes them.
#pragma once

#include "lib/vnet/engine/saveWalk.hh"
#include "vnet/engine/place.hh"
#include "vnet/values/settings.hh"

namespace bench {

// Works on the host of this thread and on its /etc/tavrin, each operation as a process of its own
// would: nothing is known from the one before. Failures are in the log, and throw where the library
// throws.
class Product {
public:
   // `count` networks as the default database has them: of eight, seven share the host's
   // connection, and one is private to the host; all with DHCP and the host's adapter. None runs.
   explicit Product(unsigned int count);
   // As they are given.
   explicit Product(test::Edited networks, vnet::engine::Place const& place = {});
   ~Product();
   Product(Product const&) = delete;
   Product& operator=(Product const&) = delete;

   // What the next save changes in each network.
   void ChangeMtus();
   void ChangeForwards();
   // All calls of a save, in the order in which the server makes them.
   void Save();
   void StartAll();
   void StopAll();
   void Start(unsigned int index);
   void Stop(unsigned int index);

   // The database. Throws std::runtime_error if any of its networks isn't as wanted.
   vnet::Settings Check(bool running) const;

private:
   test::Edited model;
   // How often each was changed; it goes to and fro.
   unsigned int mtuChanges = 0;
   unsigned int forwardChanges = 0;
};

} // namespace bench
