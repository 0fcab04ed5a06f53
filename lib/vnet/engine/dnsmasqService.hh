// SPDX-License-Identifier: GPL-2.0-or-later
// The dnsmasq of a network, as it is wanted.
#pragma once

#include "vnet/process/dnsmasq.hh"
#include "vnet/process/units.hh"
#include "vnet/services/hostFacts.hh"
#include "vnet/services/wanted.hh"

#include <memory>
#include <optional>
#include <string>

namespace vnet::engine {

struct Host;

// It serves DHCP and DNS in one process, so both services share one comparison.
class DnsmasqService {
public:
   // Without units, it is a process of its own.
   DnsmasqService(Host& hostOfCaller, std::string bridgeName,
                  services::HostFacts const& factsOfHost,
                  std::shared_ptr<process::Units> const& units);

   bool IsRunning() const;
   // Whether what is wanted, perhaps nothing, is what runs.
   bool Runs(std::optional<services::WantedDnsmasq> const& wanted) const;
   // What its unit says if it should run and doesn't; empty if there is nothing to say.
   std::string Remark() const;
   // Stops it if nothing is wanted. Throws Error.
   void Apply(std::optional<services::WantedDnsmasq> const& wanted) const;
   // Removes what it remembers of its guests. Throws Error.
   void ForgetLeases() const;

private:
   Host& host;
   std::string bridge;
   services::WantedDnsmasq place;
   process::Unit unit;

   process::Dnsmasq Make(services::WantedDnsmasq const& where) const;
   // Of the device, or 0.
   int GetLink() const;
};

} // namespace vnet::engine
