// SPDX-License-Identifier: GPL-2.0-or-later
// Models of every shape, made through the model's own operations.
#pragma once

#include "tvnetcfg/common/editable.hh"

#include <memory>
#include <random>

namespace netcfg::common {

class RandomModel {
public:
   explicit RandomModel(unsigned int seed) : random(seed) {}

   std::unique_ptr<Editable> Make();

private:
   // Below limit.
   unsigned int Below(unsigned int limit);
   bool Chance(unsigned int percent) { return Below(100) < percent; }
   unsigned int Number();
   unsigned int Index();
   utf::string Text();
   utf::string Adapter(Editable const& editable);

   void AddAdapters(Editable& editable);
   void AddNetworks(Editable& editable);
   void Rewire(Editable& editable);
   void Fill(Network& network);
   void FillNAT(NAT& nat);

   std::mt19937 random;
};

} // namespace netcfg::common
