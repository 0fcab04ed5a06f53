// SPDX-License-Identifier: GPL-2.0-or-later
// The reader of lease files, in which guests choose their names: nothing of theirs reaches a
// terminal as it is.
#include "vnet/cli/leases.hh"
#include "fuzz/require.hh"
#include "fuzz/target.hh"
#include "vnet/json/text.hh"

#include <algorithm>

using fuzz::Require;

namespace {

bool IsPrintable(std::string const& text)
{
   return std::ranges::all_of(text, [](unsigned char byte) { return byte >= ' ' && byte < 0x7f; });
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   auto const leases = vnet::cli::ParseLeases(fuzz::ToText(data, size), 1700000000);
   for (auto const& lease : leases) {
      Require(IsPrintable(vnet::cli::DescribeLease(lease)), "a lease is a line of letters");
      Require(!lease.address.empty(), "a lease has an address");
   }
   auto const table = vnet::cli::DescribeLeases({{8, leases}});
   Require(std::ranges::count(table, '\n') == std::ssize(leases) + 1, "each has a line");
   auto const list = vnet::json::Parse(vnet::json::Write(vnet::cli::MakeLeases(leases)));
   Require(list.items.size() == leases.size(), "each is in the list");
   return 0;
}
