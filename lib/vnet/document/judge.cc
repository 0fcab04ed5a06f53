// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/document/judge.hh"

#include "vnet/services/hostFacts.hh"
#include "vnet/services/plan.hh"

#include <iterator>
#include <set>

namespace vnet::document {

namespace {

using Texts = std::vector<std::string>;

std::string FindSubnetProblem(NetworkSettings const& network)
{
   auto const& address = network.subnetAddress;
   if (!address && network.subnetMask) {
      return "It has a mask and no subnet";
   }
   if (!address && network.IsHosted()) {
      return "It has no subnet, and needs one for its adapter, DHCP or NAT";
   }
   if (address && !network.subnetMask) {
      return "Its subnet has no mask";
   }
   if (address && !network.GetSubnet()) {
      return "Its subnet " + address->ToString() + " isn't the beginning of one with the mask " +
             network.subnetMask->ToString();
   }
   return {};
}

void JudgeSubnets(Settings const& settings, Texts& problems)
{
   for (auto one = settings.networks.begin(); one != settings.networks.end(); ++one) {
      auto const name = GetNetworkName(one->first);
      if (auto const problem = FindSubnetProblem(one->second); !problem.empty()) {
         problems.push_back(name + ": " + problem);
      }
      auto const subnet = one->second.GetSubnet();
      for (auto other = settings.networks.begin(); subnet && other != one; ++other) {
         auto const taken = other->second.GetSubnet();
         if (taken && taken->Overlaps(*subnet)) {
            problems.push_back(name + ": Its subnet " + subnet->ToString() + " overlaps " +
                               taken->ToString() + " of " + GetNetworkName(other->first));
         }
      }
   }
}

bool IsHosted(Settings const& settings, unsigned int index)
{
   auto const found = settings.networks.find(index);
   return found != settings.networks.end() && found->second.IsHosted();
}

void JudgeBridging(Settings const& settings, Texts& problems)
{
   if (settings.automatic && IsHosted(settings, *settings.automatic)) {
      problems.push_back(GetNetworkName(*settings.automatic) +
                         ": It bridges automatically, and has a subnet of its own");
   }
   for (auto const& [adapter, index] : settings.adapters) {
      if (IsHosted(settings, index)) {
         problems.push_back(GetNetworkName(index) + ": " + adapter +
                            " is bridged to it, and it has a subnet of its own");
      }
   }
}

void NoteForwards(Settings const& settings, Texts& notes)
{
   std::set<std::pair<bool, unsigned int>> ports;
   for (auto const& [index, network] : settings.networks) {
      for (auto const& forward : network.nat.forwards) {
         auto const port =
            std::string(forward.tcp ? "TCP" : "UDP") + " port " + std::to_string(forward.hostPort);
         if (!network.useNat) {
            notes.push_back("forward " + port + " to " + GetNetworkName(index) + ": it has no NAT");
         } else if (!ports.emplace(forward.tcp, forward.hostPort).second) {
            notes.push_back("forward " + port + " to " + GetNetworkName(index) +
                            ": another network's forward has the port");
         }
      }
   }
}

} // namespace

Judgement Judge(Settings const& settings)
{
   Judgement judgement;
   JudgeSubnets(settings, judgement.problems);
   JudgeBridging(settings, judgement.problems);
   NoteForwards(settings, judgement.notes);
   services::HostFacts const anyHost;
   for (auto const& entry : settings.networks) {
      auto remarks = services::Plan(settings, entry.first, anyHost).remarks;
      std::move(remarks.begin(), remarks.end(), std::back_inserter(judgement.notes));
   }
   return judgement;
}

} // namespace vnet::document
