// SPDX-License-Identifier: GPL-2.0-or-later
// Servers and clients of the domain name system.
#pragma once

#include "support/netlab/namespace.hh"
#include "support/testProcess.hh"

#include <optional>
#include <string>
#include <utility>

namespace netlab {

// A server that knows one name, "outside.test", on an address of the namespace.
class Resolver {
public:
   // Throws std::runtime_error if it can't be started.
   Resolver(Namespace const& place, std::string const& address, std::string const& known);
   ~Resolver();
   Resolver(Resolver&& other) noexcept : pidFile(std::exchange(other.pidFile, {})) {}
   Resolver& operator=(Resolver&&) = delete;

private:
   std::string pidFile; // empty if it was moved from
};

// The IPv4 address that the resolver tells for a name; empty if it tells none in time.
std::optional<std::string> Resolve(Namespace const& place, std::string const& resolver,
                                   std::string const& name,
                                   test::Milliseconds deadline = test::patience);

} // namespace netlab
