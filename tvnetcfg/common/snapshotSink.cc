// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/snapshotSink.hh"

#include "tvnetcfg/common/jsonText.hh"

#include <utility>

using boost::property_tree::ptree;

namespace netcfg::common {

ptree& SnapshotTree::Add(std::string_view key)
{
   return path.back()->push_back({std::string(key), {}})->second;
}

void SnapshotTree::PutText(std::string_view key, std::string_view text)
{
   Add(key).data() = text;
}

void SnapshotTree::Open(std::string_view key)
{
   path.push_back(&Add(key));
}

void SnapshotText::PutText(std::string_view key, std::string_view text)
{
   BeginChild(key);
   AppendJsonString(result, text);
}

void SnapshotText::Open(std::string_view key)
{
   BeginChild(key);
   path.emplace_back();
}

// A tree without children is a text to the JSON library, and an empty one.
void SnapshotText::Close()
{
   Group const group = path.back();
   path.pop_back();
   if (group.isEmpty) {
      result += "\"\"";
   } else {
      result += group.isList ? ']' : '}';
   }
}

void SnapshotText::BeginChild(std::string_view key)
{
   Group& group = path.back();
   if (group.isEmpty) {
      group = {false, key.empty()};
      result += group.isList ? '[' : '{';
   } else {
      result += ',';
   }
   if (!group.isList) {
      AppendJsonString(result, key);
      result += ':';
   }
}

std::string SnapshotText::Take()
{
   Close();
   result += '\n';
   return std::move(result);
}

} // namespace netcfg::common
