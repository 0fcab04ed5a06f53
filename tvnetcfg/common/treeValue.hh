// SPDX-License-Identifier: GPL-2.0-or-later
// The leaf values of the snapshot's tree, as the reader finds them.
#pragma once

#include "utf/string.hh"

#include <boost/property_tree/ptree.hpp>
#include <charconv>
#include <locale>
#include <string>
#include <type_traits>

namespace netcfg::common {

// Numbers and bools as streams of the classic locale read them.
template <typename T>
auto GetTranslator()
{
   using Translator = boost::property_tree::stream_translator<char, std::char_traits<char>,
                                                              std::allocator<char>, T>;
   return Translator(std::locale::classic());
}

// Whether text is what the writer writes. A stream takes more: it reads what this doesn't.
template <typename T>
bool ReadPlain(std::string const& text, T& value)
{
   if constexpr (std::is_same_v<T, bool>) {
      value = text == "true";
      return value || text == "false";
   } else {
      auto const* const end = text.data() + text.size();
      auto const result = std::from_chars(text.data(), end, value);
      return result.ec == std::errc() && result.ptr == end;
   }
}

// These throw ptree_bad_path if there is nothing at path, and ptree_bad_data if its text isn't a T.
template <typename T>
T GetValue(boost::property_tree::ptree const& tree, char const* path)
{
   auto const& leaf = tree.get_child(path);
   T value{};
   return ReadPlain(leaf.data(), value) ? value : leaf.get_value<T>(GetTranslator<T>());
}

// Read as a signed number and used as an unsigned one: what is above 2147483647 isn't accepted.
inline unsigned int GetUnsigned(boost::property_tree::ptree const& tree, char const* path)
{
   return static_cast<unsigned int>(GetValue<int>(tree, path));
}

inline utf::string GetText(boost::property_tree::ptree const& tree, char const* path)
{
   return utf::string(tree.get_child(path).data().c_str());
}

} // namespace netcfg::common
