// SPDX-License-Identifier: GPL-2.0-or-later
// The two forms of a snapshot. A model's classes tell their values once, to either.
#pragma once

#include "utf/string.hh"

#include <boost/property_tree/ptree.hpp>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace netcfg::common {

// Takes in a tree: leaves of text, and groups of what comes between Open and Close. In a group
// either no child or each has the empty key: that one is a list.
class SnapshotSink {
public:
   virtual ~SnapshotSink() = default;

   // key is ASCII, text is UTF-8.
   virtual void PutText(std::string_view key, std::string_view text) = 0;
   virtual void Open(std::string_view key) = 0;
   virtual void Close() = 0;

   // Up to its first NUL.
   void PutText(std::string_view key, utf::string const& text) { PutText(key, text.c_str()); }
   void PutText(std::string_view key, char const* text) { PutText(key, std::string_view(text)); }
   // In decimal, or as "true" or "false", whatever the user's locale is.
   template <typename T>
   void PutValue(std::string_view key, T value)
   {
      if constexpr (std::is_same_v<T, bool>) {
         PutText(key, value ? "true" : "false");
      } else {
         PutText(key, std::string_view(std::to_string(value)));
      }
   }
};

class SnapshotTree : public SnapshotSink {
public:
   using SnapshotSink::PutText;
   void PutText(std::string_view key, std::string_view text) override;
   void Open(std::string_view key) override;
   void Close() override { path.pop_back(); }

   boost::property_tree::ptree Take() { return std::move(root); }

private:
   boost::property_tree::ptree root;
   std::vector<boost::property_tree::ptree*> path{&root};

   boost::property_tree::ptree& Add(std::string_view key);
};

// Writes the one line of ASCII JSON that the JSON library would make of the tree, at a fraction of
// the time.
class SnapshotText : public SnapshotSink {
public:
   using SnapshotSink::PutText;
   void PutText(std::string_view key, std::string_view text) override;
   void Open(std::string_view key) override;
   void Close() override;

   // With a newline at its end.
   std::string Take();

private:
   struct Group {
      bool isEmpty = true;
      bool isList = false;
   };

   std::string result;
   std::vector<Group> path{Group()};

   void BeginChild(std::string_view key);
};

} // namespace netcfg::common
