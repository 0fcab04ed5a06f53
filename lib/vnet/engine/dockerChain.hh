// SPDX-License-Identifier: GPL-2.0-or-later
// Our networks beside Docker.
#pragma once

#include "vnet/host/filters.hh"
#include "vnet/services/hostFacts.hh"
#include "vnet/services/wanted.hh"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vnet::engine {

struct Host;

// Docker lets nothing through the host that isn't its own (iptables' FORWARD has policy DROP). What
// others need goes into its chain DOCKER-USER: Docker makes it for them, asks it first, and leaves
// what is in it. There we let NAT networks pass; what of their traffic is right, our own tables
// say. Traffic to bridges of others isn't let pass: Docker's chains are to decide on it.
//
// Only Docker's rules in nftables, as iptables-nft writes them. Every failure throws Error.
class DockerChain {
public:
   explicit DockerChain(Host& hostOfCaller);

   // Whether what the network needs stands there, and nothing else of ours for it. Without Docker
   // it does.
   bool IsRight(services::WantedNetwork const& wanted, services::HostFacts const& facts);
   // Our rules come after those of the chain's owner, so that what is forbidden there stays so.
   void Apply(services::WantedNetwork const& wanted, services::HostFacts const& facts);
   void Remove(unsigned int index);
   // Removes the rules of all networks but these.
   void Sweep(std::set<unsigned int> const& networks);

private:
   struct Known {
      std::vector<std::string> rules;
      unsigned long generation = 0; // of the table

      bool operator==(Known const&) const = default;
   };

   Host& host;
   host::NetlinkSocket socket;
   std::map<unsigned int, Known> known;

   std::optional<host::FilterChain> Read();
   std::vector<std::string> ListWanted(services::WantedNetwork const& wanted,
                                       services::HostFacts const& facts) const;
   bool MayPassTo(std::string const& device) const;
   void Run(std::string const& text);
};

} // namespace vnet::engine
