// SPDX-License-Identifier: GPL-2.0-or-later
// Somebody who edits networks at random, as the window allows.
#pragma once

#include "tvnetcfg/common/editable.hh"

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace netcfg::onHost {

// The same seed gives the same edits of the same models.
class RandomUser {
public:
   // Never removes the networks in `kept`.
   RandomUser(std::uint32_t seed, std::set<unsigned int> kept);

   // One to four changes of the model. What they make of it may be refused by a save. Returns what
   // was changed, in words.
   std::string Edit(common::Editable& model);

private:
   std::mt19937 random;
   std::set<unsigned int> const kept;

   unsigned int Pick(unsigned int below);
   bool Toss() { return Pick(2) == 0; }
   template <class Item>
   Item const& PickOf(std::vector<Item> const& items)
   {
      return items[Pick(static_cast<unsigned int>(items.size()))];
   }
   common::Network* PickNetwork(common::Editable& model);

   std::string EditOnce(common::Editable& model);
   std::string Add(common::Editable& model);
   std::string Remove(common::Editable& model);
   std::string ChangeType(common::Editable& model);
   std::string ChangeAdapter(common::Editable& model);
   std::string ChangeHosted(common::Network& network);
   std::string ChangeNat(common::Network& network);
   std::string ChangeForwards(common::Network& network);
   void SetSubnet(common::Network& network);
   // One of forty addresses of the network's subnet, from this number on.
   std::string MakeAddress(common::Network const& network, unsigned int first);
};

} // namespace netcfg::onHost
