// SPDX-License-Identifier: GPL-2.0-or-later
// The leaf values of the snapshot's tree.
#pragma once

#include "utf/string.hh"

#include <boost/property_tree/ptree.hpp>
#include <locale>
#include <string>

namespace netcfg::common {

// Numbers and bools in the classic locale: the user's may group digits.
template <typename T>
auto GetTranslator()
{
   using Translator = boost::property_tree::stream_translator<char, std::char_traits<char>,
                                                              std::allocator<char>, T>;
   return Translator(std::locale::classic());
}

template <typename T>
void PutValue(boost::property_tree::ptree& tree, char const* path, T value)
{
   tree.put(path, value, GetTranslator<T>());
}

// Up to its first NUL.
inline void PutText(boost::property_tree::ptree& tree, char const* path, utf::string const& text)
{
   tree.put(path, std::string(text.c_str()));
}

// These throw ptree_bad_path if there is nothing at path, and ptree_bad_data if its text isn't a T.
template <typename T>
T GetValue(boost::property_tree::ptree const& tree, char const* path)
{
   return tree.get<T>(path, GetTranslator<T>());
}

// Read as a signed number and used as an unsigned one: what is above 2147483647 isn't accepted.
inline unsigned int GetUnsigned(boost::property_tree::ptree const& tree, char const* path)
{
   return static_cast<unsigned int>(GetValue<int>(tree, path));
}

inline utf::string GetText(boost::property_tree::ptree const& tree, char const* path)
{
   return utf::string(tree.get<std::string>(path).c_str());
}

} // namespace netcfg::common
