// SPDX-License-Identifier: GPL-2.0-or-later
// Plans made real, on the host of a laboratory.
#pragma once

#include "support/netlab/lab.hh"
#include "support/netlab/resolver.hh"
#include "support/testProcess.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/process/dnsmasq.hh"
#include "vnet/services/hostFacts.hh"
#include "vnet/services/plan.hh"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vnet::services {

using netlab::Resolve;

// A machine on a bridge.
struct Guest {
   netlab::Namespace place;
   std::string device = "eth0";
};

// The host has eth0, 198.51.100.1 and 2001:db8::1, on a cable to `outside`, 198.51.100.2 and
// 2001:db8::2, which is its default router and its resolver: it knows that outside.test is
// 203.0.113.7.
class RealNetworkTest : public netlab::LabTest {
protected:
   void SetUp() override;
   void TearDown() override;

   HostFacts& GetFacts() { return facts; }
   NetworkSettings& Get(unsigned int index) { return settings.networks[index]; }
   Settings& GetSettings() { return settings; }

   // A network with this /24 and all services, to be changed by Get().
   NetworkSettings& AddNat(unsigned int index, std::string const& subnet);
   NetworkSettings& AddHostOnly(unsigned int index, std::string const& subnet);

   // A resolver outside that knows this address for outside.test.
   void AddResolver(std::string const& address, std::string const& known);

   // Makes what is planned for the network of what this made for it before. What stays is left
   // alone, so what comes is behind it.
   WantedNetwork Make(unsigned int index);
   // The same with NAT stopped.
   void Park(unsigned int index);

   // Plugs a machine in, with an address by the plan's DHCP server.
   Guest& AddGuest(unsigned int index);
   // One with a fixed address, "192.168.8.10/24", and this default router.
   Guest& AddGuest(unsigned int index, std::string const& address, std::string const& router);

   netlab::Namespace outside;

private:
   struct Made {
      WantedNetwork wanted;
      std::optional<process::Dnsmasq> dnsmasq;
   };

   void MakeOutside();
   void MakeBridge(WantedNetwork const& wanted);
   void MakeAddresses(WantedNetwork const& wanted, host::Link const& link);
   void MakeRoutes(WantedNetwork const& wanted, host::Link const& link);
   void MakeDnsmasq(WantedNetwork const& wanted, host::Link const& link);
   Guest& Plug(unsigned int index);

   HostFacts facts;
   Settings settings;
   std::unique_ptr<host::RouteSocket> socket;
   std::unique_ptr<host::Ruleset> ruleset;
   std::deque<Guest> guests;
   std::vector<netlab::Resolver> resolvers;
   std::map<unsigned int, Made> made;
};

} // namespace vnet::services
