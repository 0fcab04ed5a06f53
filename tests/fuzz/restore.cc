// SPDX-License-Identifier: GPL-2.0-or-later
// Editable::Restore. Whatever it makes of a text is a sound model that survives its own snapshot.
#include "fuzz/processDouble.hh"
#include "fuzz/require.hh"
#include "fuzz/target.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/editable.hh"

#include <algorithm>
#include <boost/property_tree/exceptions.hpp>
#include <map>
#include <memory>
#include <stdexcept>

using fuzz::Require;
using netcfg::common::Editable;
using netcfg::common::Network;

namespace {

using Model = std::unique_ptr<Editable>;

// Null also for the ends that a bad snapshot may have.
Model Restore(utf::string const& text)
{
   try {
      return Model(Editable::Restore(text));
   } catch (boost::property_tree::ptree_error const&) {
      return nullptr;
   } catch (std::out_of_range const&) {
      return nullptr;
   } catch (fuzz::Panicked const&) {
      return nullptr;
   }
}

bool IsPlainLine(utf::string const& text)
{
   std::string const bytes = text.c_str();
   bool const printable = std::all_of(bytes.begin(), bytes.end() - 1, [](char byte) {
      auto const code = static_cast<unsigned char>(byte);
      return code >= 0x20 && code < 0x80;
   });
   return printable && bytes.size() == text.bytes() && bytes.back() == '\n';
}

// The writer writes numbers up to 4294967295, the reader takes those up to 2147483647.
bool HasLargeNumber(utf::string const& text)
{
   std::string const bytes = text.c_str();
   for (std::size_t at = 0; (at = bytes.find('"', at)) != std::string::npos; ++at) {
      std::size_t const end = std::min(bytes.find_first_not_of("0123456789", at + 1), bytes.size());
      if (end - at - 1 >= 10 && bytes[end] == '"') {
         return true;
      }
   }
   return false;
}

// How many adapters each network has.
std::map<Network*, unsigned int> CheckAdapters(Editable& model)
{
   std::map<Network*, unsigned int> counts;
   for (auto const& [name, owner] : model.GetHostAdapters()) {
      if (!owner) {
         continue;
      }
      Require(model.GetNetwork(owner->GetIndex()) == owner, "an adapter's network is in the model");
      bool const isFirst = ++counts[owner] == 1;
      Require(owner->GetBridge() && (!isFirst || owner->GetBridge()->GetAdapter() == name),
              "an adapter's network knows it");
   }
   return counts;
}

// Whether the reader takes all that the writer writes of the bridges: of an automatic one it takes
// whatever is free, in the order of the text, and else the first adapter.
bool CheckNetworks(Editable& model)
{
   auto const counts = CheckAdapters(model);
   bool whole = true;
   for (auto const& [index, network] : model.GetNetworks()) {
      if (!network) {
         continue;
      }
      Require(network->GetIndex() == index, "a network stands at its index");
      auto* const bridge = network->GetBridge();
      Require((network->GetType() == Network::Bridged) == (bridge != nullptr),
              "a bridged network has a bridge");
      bool const many = counts.contains(network) && counts.at(network) > 1;
      whole = whole && !(bridge && (bridge->IsAuto() || many));
   }
   auto* const chosen = model.GetAutoBridgeNetwork();
   Require(!chosen || model.GetNetwork(chosen->GetIndex()) == chosen,
           "the automatic network is in the model");
   return whole;
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   Model const model = Restore(utf::string(reinterpret_cast<char const*>(data), size));
   if (!model) {
      return 0;
   }
   bool const whole = CheckNetworks(*model);

   utf::string const first = Editable::Serialize(model.get());
   Require(IsPlainLine(first), "a snapshot is one line of ASCII");
   Model const again = Restore(first);
   if (HasLargeNumber(first)) {
      return 0;
   }
   Require(again != nullptr, "a snapshot that was written can be read");
   utf::string const second = Editable::Serialize(again.get());
   Require(!whole || first == second, "a snapshot of which all is read is stable");
   Model const third = Restore(second);
   Require(third && Editable::Serialize(third.get()) == second, "a snapshot becomes stable");
   return 0;
}
