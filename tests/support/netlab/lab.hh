// SPDX-License-Identifier: GPL-2.0-or-later
// A network laboratory for tests: a host of their own to play with.
//
// A test that derives from LabTest runs in a network namespace without devices but lo, with an
// empty /run, /etc/tavrin and /var/lib/tavrin and with /sys of that namespace; all of it goes with
// the process, and nothing reaches the real host. It works as root and, by a user namespace, as an
// ordinary user; where neither is possible the test is skipped with the reason.
//
// What surrounds the host are Namespaces joined by cables:
//
//    class NatTest : public netlab::LabTest {};
//
//    TEST_F(NatTest, AGuestReachesOutside)
//    {
//       netlab::Namespace outside, guest;
//       netlab::Connect(GetHost(), "eth0", outside, "eth0");
//       outside.Command("ip addr add 198.51.100.2/24 dev eth0");
//       netlab::UdpEcho echo(outside, 7);
//       ...
//    }
//
// Everything waits with a deadline, test::patience unless told.
#pragma once

#include "support/netlab/namespace.hh"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace netlab {

// Enters the laboratory with the whole process, once; call it while the process has one thread.
// Empty, or why it can't be had.
std::string const& GetProblem();

class LabTest : public testing::Test {
protected:
   // A fresh host for each test, before the members of the test's own class are made.
   LabTest();
   // Skips the test where there is no laboratory. Whoever overrides it calls it first, and returns
   // if IsSkipped().
   void SetUp() override;

   // The network namespace of the test's main thread, and of the processes it starts.
   Namespace& GetHost() { return *host; }

private:
   std::optional<Namespace> host;
};

} // namespace netlab
