// SPDX-License-Identifier: GPL-2.0-or-later
// Failures of steps that don't keep the next ones from being tried.
#pragma once

#include "vnet/values/error.hh"

#include <string>
#include <vector>

namespace vnet::engine {

class Failures {
public:
   // Whether the step went well.
   template <class Step>
   bool Try(Step const& step)
   {
      try {
         step();
         return true;
      } catch (std::exception const& error) {
         Add(error.what());
      }
      return false;
   }
   void Add(std::string const& failure) { texts.push_back(failure); }
   void Add(std::vector<std::string> const& failures)
   {
      texts.insert(texts.end(), failures.begin(), failures.end());
   }

   bool IsEmpty() const { return texts.empty(); }
   // Throws Error(action, object, all of them) if there are any.
   void Throw(std::string const& action, std::string const& object) const
   {
      if (texts.empty()) {
         return;
      }
      std::string all;
      for (auto const& text : texts) {
         all += (all.empty() ? "" : "; ") + text;
      }
      throw Error(action, object, all);
   }

private:
   std::vector<std::string> texts;
};

} // namespace vnet::engine
