// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/fields.hh"

namespace vnet {

std::optional<bool> ParseBoolean(std::string_view text)
{
   bool const known = text == "true" || text == "false";
   return known ? std::optional(text == "true") : std::nullopt;
}

std::optional<std::string> Write(bool value)
{
   return value ? "true" : "false";
}

std::optional<std::string> Write(std::uint16_t value)
{
   return std::to_string(value);
}

std::optional<std::string> Write(std::uint32_t value)
{
   return std::to_string(value);
}

std::optional<std::string> Write(std::string const& value)
{
   return value.empty() ? std::nullopt : std::optional(value);
}

std::optional<std::string> Write(std::optional<std::uint32_t> value)
{
   return value ? Write(*value) : std::nullopt;
}

std::optional<std::string> Write(std::optional<Address> value)
{
   return value ? std::optional(value->ToString()) : std::nullopt;
}

std::optional<std::string> Write(std::optional<Prefix6> const& value)
{
   return value ? std::optional(value->ToString()) : std::nullopt;
}

} // namespace vnet
