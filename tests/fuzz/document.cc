// SPDX-License-Identifier: GPL-2.0-or-later
// The reader of documents. Whatever was read says the same after it was written, and only what
// parsed reaches a configuration.
#include "vnet/document/document.hh"
#include "fuzz/planCheck.hh"
#include "fuzz/require.hh"
#include "fuzz/target.hh"
#include "vnet/document/changes.hh"
#include "vnet/document/judge.hh"
#include "vnet/json/text.hh"

#include <algorithm>

using fuzz::Require;
using vnet::Settings;

namespace {

// Complaints are shown on terminals.
void CheckComplaints(std::vector<std::string> const& complaints)
{
   for (auto const& complaint : complaints) {
      Require(std::ranges::all_of(complaint,
                                  [](unsigned char byte) { return byte >= ' ' && byte < 0x7f; }),
              "a complaint is a line of letters");
   }
}

void CheckSettings(Settings const& settings)
{
   auto const text = vnet::json::Write(vnet::document::Make(settings));
   auto const again = vnet::document::ReadText(text);
   Require(again.complaints.empty(), "what is written can be read");
   Require(again.settings == settings, "what is written says the same");
   Require(vnet::document::FindChanges(settings, settings).empty(), "equal is equal");
   bool const nothing = vnet::document::FindChanges({}, settings).empty();
   Require(nothing == (settings == Settings()), "different is different");
   vnet::document::Judge(settings);
   fuzz::CheckPlans(settings);
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   auto const reading = vnet::document::ReadText(fuzz::ToText(data, size));
   CheckComplaints(reading.complaints);
   if (reading.complaints.empty()) {
      CheckSettings(reading.settings);
   }
   return 0;
}
