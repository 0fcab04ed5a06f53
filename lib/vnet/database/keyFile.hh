// SPDX-License-Identifier: GPL-2.0-or-later
// A key file as its lines, so that what nobody changes stays as somebody wrote it.
#pragma once

#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vnet {

// What counts as a key file is GLib's GKeyFile to say. The editing is ours: GKeyFile forgets white
// space and puts new keys below the comments that introduce the next group.
//
// A group that stands twice, and a key that stands twice in a group, are refused, as either could
// be the one that is meant.
class KeyFile {
public:
   // Throws std::runtime_error with the cause if text isn't UTF-8 or isn't a key file.
   static KeyFile Parse(std::string_view text);

   KeyFile(KeyFile&&) = default;
   KeyFile& operator=(KeyFile&&) = default;

   bool HasGroup(std::string const& group) const { return index.count(group) != 0; }
   // In the order of the file.
   std::vector<std::string> GetGroups() const;
   std::vector<std::string> GetKeys(std::string const& group) const;
   // The value as it stands, without white space around it; empty if group or key isn't there.
   // Valid until the next change.
   std::optional<std::string_view> GetRaw(std::string const& group, std::string_view key) const;

   // Stores a text of one line. A new key stands behind the group's last, a new group at the end.
   void Set(std::string const& group, std::string const& key, std::string_view text);
   // The comments around a key stay, and the group, even if that was its last key.
   void RemoveKey(std::string const& group, std::string_view key);
   // With the comments below its header. Those directly above the header stay.
   void RemoveGroup(std::string const& group);

   // Removes a group that holds neither key nor comment.
   void RemoveIfBlank(std::string const& group);

   std::string ToText() const;

   // From a value as it stands to its text; empty if it holds a backslash that GKeyFile doesn't
   // know.
   static std::optional<std::string> Unescape(std::string_view raw);

private:
   struct Line {
      std::string text;
      std::string key; // empty: a comment or an empty line
   };
   struct Group {
      std::string name;
      std::vector<Line> lead; // the comments directly above the header
      std::string header;
      std::vector<Line> body;
   };

   KeyFile() = default;
   void AddLine(std::string_view text, std::vector<Line>& pending);
   void AddGroup(std::string name, std::string_view header, std::vector<Line> lead);
   Group* Find(std::string const& group);
   Group const* Find(std::string const& group) const;
   Group& FindOrAdd(std::string const& group);

   std::list<Group> groups;
   std::unordered_map<std::string, std::list<Group>::iterator> index;
};

} // namespace vnet
