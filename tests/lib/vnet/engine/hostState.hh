// SPDX-License-Identifier: GPL-2.0-or-later
// What the kernel, the files and the processes say, for comparisons.
#pragma once

#include "support/netlab/namespace.hh"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace test {

// By subject: "link eth0", "addresses", "routes", "rules", "sysctl ...", "file ...", "dnsmasq".
// Two are equal if the host is in the same state, however it came to it: nothing here tells which
// device, table or process it is, but what it is like.
using HostState = std::map<std::string, std::string>;
HostState TakeState(netlab::Namespace const& host);

// Which one each of our things is: the indices of devices, the handles of tables, the numbers of
// processes. Two are equal if nothing was made anew in between.
HostState TakeIdentity(netlab::Namespace const& host);

// A failure tells the subjects that differ, with their lines.
testing::AssertionResult AreEqual(HostState const& expected, HostState const& actual);

// Replaces a file of the laboratory's own.
void WriteText(std::string const& path, std::string const& text);

} // namespace test
