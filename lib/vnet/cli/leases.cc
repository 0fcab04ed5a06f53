// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/leases.hh"

#include "vnet/cli/table.hh"
#include "vnet/database/textFile.hh"
#include "vnet/services/dnsmasqConfig.hh"
#include "vnet/services/hostFacts.hh"
#include "vnet/values/address.hh"
#include "vnet/values/settings.hh"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <sstream>

namespace vnet::cli {

namespace {

// 65536 leases with the longest names.
constexpr std::size_t maxBytes = 32 << 20;

std::optional<std::int64_t> ParseTime(std::string const& text)
{
   std::int64_t number = 0;
   auto const* const end = text.data() + text.size();
   auto const [at, error] = std::from_chars(text.data(), end, number);
   return error == std::errc() && at == end && number >= 0 ? std::optional(number) : std::nullopt;
}

// Empty for any other text.
std::string NormaliseAddress(std::string const& text)
{
   if (auto const address = Address::Parse(text)) {
      return address->ToString();
   }
   auto const address = Prefix6::Parse(text + "/128");
   auto const whole = address ? address->ToString() : "";
   return whole.substr(0, whole.find('/'));
}

// "52:54:00:12:34:56"; of other hardware with its type before: "20-80:00:...".
bool IsMac(std::string const& text)
{
   return text.size() >= 17 && std::ranges::all_of(text, [](unsigned char character) {
             return std::isxdigit(character) != 0 || character == ':' || character == '-';
          });
}

std::optional<Lease> ParseLine(std::string const& line, std::time_t now)
{
   std::istringstream words(line);
   std::string time, owner, address, name;
   words >> time >> owner >> address >> name;
   auto const end = ParseTime(time);
   Lease lease;
   lease.address = NormaliseAddress(address);
   if (!end || lease.address.empty() || name.empty()) {
      return {};
   }
   lease.mac = IsMac(owner) ? owner : "";
   lease.name = name == "*" ? "" : name;
   if (*end != 0) {
      lease.left = *end - now;
   }
   return lease;
}

std::string DescribeTime(std::int64_t seconds)
{
   auto const number = [](std::int64_t value, char const* unit) {
      return std::to_string(value) + " " + unit;
   };
   std::int64_t const minute = 60;
   std::int64_t const hour = 60 * minute;
   std::int64_t const day = 24 * hour;
   if (seconds < minute) {
      return number(seconds, "s");
   }
   if (seconds < hour) {
      return number(seconds / minute, "min");
   }
   return seconds < 2 * day ? number(seconds / hour, "h") : number(seconds / day, "days");
}

std::string DescribeLeft(Lease const& lease)
{
   if (!lease.left) {
      return "endless";
   }
   return *lease.left < 0 ? "ran out" : DescribeTime(*lease.left);
}

std::string OrDash(std::string const& text)
{
   return text.empty() ? "-" : MakePrintable(text);
}

} // namespace

std::vector<Lease> ParseLeases(std::string_view text, std::time_t now)
{
   std::vector<Lease> leases;
   std::istringstream lines{std::string(text)};
   for (std::string line; std::getline(lines, line);) {
      if (auto lease = ParseLine(line, now)) {
         leases.push_back(std::move(*lease));
      }
   }
   return leases;
}

std::vector<Lease> ReadLeases(std::string const& stateFolder, unsigned int index, std::time_t now)
{
   services::HostFacts facts;
   facts.stateFolder = stateFolder;
   auto const path = services::PlaceDnsmasq(GetNetworkName(index), facts).leasePath;
   if (GetStamp(path) == Stamp()) {
      return {};
   }
   return ParseLeases(ReadTextFile(path, maxBytes).text, now);
}

std::string DescribeLease(Lease const& lease)
{
   auto const left = DescribeLeft(lease);
   bool const counts = lease.left && *lease.left >= 0;
   return lease.address + ", " + (lease.mac.empty() ? "" : lease.mac + ", ") +
          (lease.name.empty() ? "" : MakePrintable(lease.name) + ", ") + left +
          (counts ? " left" : "");
}

std::string DescribeLeases(Leases const& leases, Paint const& paint)
{
   std::vector<Row> rows{{"NETWORK", "ADDRESS", "MAC", "LEFT", "NAME"}};
   for (auto const& [index, all] : leases) {
      for (auto const& lease : all) {
         rows.push_back({GetNetworkName(index), lease.address, OrDash(lease.mac),
                         DescribeLeft(lease), OrDash(lease.name)});
      }
   }
   return Align(rows, paint);
}

json::Value MakeLeases(std::vector<Lease> const& leases)
{
   auto list = json::Value::MakeList();
   for (auto const& lease : leases) {
      auto object = json::Value::MakeObject();
      object.Add("address", lease.address);
      object.Add("mac", lease.mac.empty() ? json::Value() : json::Value(lease.mac));
      object.Add("name", lease.name.empty() ? json::Value() : json::Value(lease.name));
      object.Add("seconds-left", lease.left ? json::Value(*lease.left) : json::Value());
      list.Add(std::move(object));
   }
   return list;
}

} // namespace vnet::cli
