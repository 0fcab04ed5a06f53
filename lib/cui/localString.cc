// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/localString.hh"

#include "cui/conversions.hh"

#include <libintl.h>

#include <string>
#include <string_view>

namespace cui {

namespace {

constexpr char DOMAIN[] = "tavrin-netcfg";
constexpr std::string_view MARKER = "@&!*@*@";
constexpr std::string_view ID_CHARACTERS = "0123456789"
                                           "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                           "abcdefghijklmnopqrstuvwxyz"
                                           "._-";
// Stands between context and text in a catalogue's keys, as msgfmt(1) writes them.
constexpr char CONTEXT_GLUE = '\004';

// Without a directory of ours, gettext would look into the system's, in an encoding of its choice.
bool haveCatalogues = false;

struct Message {
   std::string_view id;
   std::string_view text;
};

// A text without a marker has no id. Neither has one whose id isn't well formed: there the marker
// goes, and everything behind it stays but for the parentheses of an empty id.
Message Parse(std::string_view marked)
{
   if (!marked.starts_with(MARKER)) {
      return {"", marked};
   }
   std::string_view const rest = marked.substr(MARKER.size());
   size_t const close = rest.find_first_not_of(ID_CHARACTERS, 1);
   if (!rest.starts_with('(') || close == std::string_view::npos || rest[close] != ')') {
      return {"", rest};
   }
   return {rest.substr(1, close - 1), rest.substr(close + 1)};
}

// The catalogue's text; the default text if there is none. One that takes other arguments would
// make printf read what isn't there.
utf::string Translate(Message const& message)
{
   std::string const original(message.text);
   std::string const key = std::string(message.id) + CONTEXT_GLUE + original;
   char const* const translated = dgettext(DOMAIN, key.c_str());
   bool const usable =
      translated != key.c_str() && GetConversions(translated) == GetConversions(original);
   return usable ? translated : original.c_str();
}

} // namespace

utf::string GetLocalString(char const* marked)
{
   if (!marked) {
      return utf::string();
   }
   Message const message = Parse(marked);
   if (message.id.empty() || !haveCatalogues) {
      return utf::string(message.text.data(), message.text.size());
   }
   return Translate(message);
}

void SetCatalogueDirectory(char const* directory)
{
   haveCatalogues =
      directory && bindtextdomain(DOMAIN, directory) && bind_textdomain_codeset(DOMAIN, "UTF-8");
}

} // namespace cui
