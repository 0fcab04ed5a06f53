// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/ipEntry.hh"

#include <algorithm>

namespace lui {

namespace {

constexpr unsigned int FIELDS = 4;
constexpr char SEPARATOR = '.';
constexpr unsigned int MAX_DIGITS = 3;
constexpr unsigned int MAX_VALUE = 255;
constexpr std::size_t MAX_PREFIX_DIGITS = 2;

// The prefix length tells about the network, not about the address.
std::string WithoutPrefixLength(std::string const& text)
{
   std::size_t const slash = text.find('/');
   if (slash == std::string::npos) {
      return text;
   }
   std::string const prefix = text.substr(slash + 1);
   bool const isLength = !prefix.empty() && prefix.size() <= MAX_PREFIX_DIGITS &&
                         prefix.find_first_not_of("0123456789") == std::string::npos &&
                         std::stoi(prefix) <= 32;
   return isLength && slash > 0 ? text.substr(0, slash) : text;
}

} // namespace

IPEntry::IPEntry(Mode) : FieldEntry(FIELDS, SEPARATOR, MAX_DIGITS, MAX_VALUE) {}

void IPEntry::SetIP(Glib::ustring const& address)
{
   set_text(address);
}

Glib::ustring IPEntry::GetAsShown(Glib::ustring const& address)
{
   FieldText model(FIELDS, SEPARATOR, MAX_DIGITS, MAX_VALUE);
   model.Insert(WithoutPrefixLength(CleanFields(address, SEPARATOR)), 0);
   return model.Read();
}

std::string IPEntry::Clean(Glib::ustring const& text) const
{
   return WithoutPrefixLength(FieldEntry::Clean(text));
}

} // namespace lui
