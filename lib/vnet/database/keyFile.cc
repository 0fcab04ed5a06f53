// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/keyFile.hh"

#include "vnet/values/text.hh"

#include <algorithm>
#include <glib.h>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <unordered_set>
#include <vector>

namespace vnet {

namespace {

constexpr std::string_view space = " \t\r\n\v\f";

std::string_view TrimLeft(std::string_view text)
{
   return text.substr(std::min(text.find_first_not_of(space), text.size()));
}

std::string_view TrimRight(std::string_view text)
{
   return text.substr(0, text.find_last_not_of(space) + 1);
}

bool IsKeyFile(std::string_view text)
{
   std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> file(g_key_file_new(), g_key_file_unref);
   return text.empty() ||
          g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
}

// GLib's words for it quote the line, but don't tell which it is. Up to the line before it all is
// well.
std::string TellFirstBadLine(std::string_view text)
{
   std::vector<std::size_t> ends; // of the lines
   for (std::size_t at = 0; at < text.size(); at = ends.back() + 1) {
      ends.push_back(std::min(text.find('\n', at), text.size()));
   }
   auto const bad = std::ranges::partition_point(
      ends.begin(), ends.end() - 1, [&](auto end) { return IsKeyFile(text.substr(0, end)); });
   auto const start = bad == ends.begin() ? 0 : *std::prev(bad) + 1;
   return "line " + std::to_string(bad - ends.begin() + 1) + ", " +
          Quote(text.substr(start, *bad - start));
}

void RequireKeyFile(std::string_view text)
{
   if (!text.empty() && !g_utf8_validate_len(text.data(), text.size(), nullptr)) {
      throw std::runtime_error("It is not UTF-8");
   }
   if (!IsKeyFile(text)) {
      throw std::runtime_error("It is not a key file: " + TellFirstBadLine(text));
   }
}

bool IsHeader(std::string_view line)
{
   return TrimLeft(line).starts_with('[');
}

std::string GetHeaderName(std::string_view line)
{
   auto const header = TrimRight(TrimLeft(line));
   return std::string(header.substr(1, header.size() - 2));
}

std::string GetKey(std::string_view line)
{
   auto const text = TrimLeft(line);
   if (text.empty() || text.starts_with('#')) {
      return {};
   }
   return std::string(TrimRight(text.substr(0, text.find('='))));
}

// A space at either end would be taken for white space around the value.
std::string Escape(std::string_view text)
{
   std::string escaped;
   for (std::size_t at = 0; at < text.size(); ++at) {
      bool const atEnd = at == 0 || at + 1 == text.size();
      if (text[at] == '\\') {
         escaped += "\\\\";
      } else if (text[at] == ' ' && atEnd) {
         escaped += "\\s";
      } else {
         escaped += text[at];
      }
   }
   return escaped;
}

std::size_t GetValueStart(std::string_view line)
{
   auto const behind = line.find('=') + 1;
   auto const start = line.find_first_not_of(space, behind);
   return start == std::string_view::npos ? behind : start;
}

} // namespace

KeyFile KeyFile::Parse(std::string_view text)
{
   RequireKeyFile(text);
   KeyFile file;
   // The comments since the last key, header or empty line.
   std::vector<Line> pending;
   while (!text.empty()) {
      auto const end = std::min(text.find('\n'), text.size());
      file.AddLine(text.substr(0, end), pending);
      text.remove_prefix(std::min(end + 1, text.size()));
   }
   if (!pending.empty() && file.groups.empty()) {
      throw std::runtime_error("It has no group");
   }
   if (!pending.empty()) {
      std::ranges::move(pending, std::back_inserter(file.groups.back().body));
   }
   for (auto const& group : file.groups) {
      std::unordered_set<std::string_view> seen;
      for (auto const& line : group.body) {
         if (!line.key.empty() && !seen.insert(line.key).second) {
            throw std::runtime_error("Key " + Quote(line.key) + " of group " + Quote(group.name) +
                                     " stands twice");
         }
      }
   }
   return file;
}

void KeyFile::AddLine(std::string_view text, std::vector<Line>& pending)
{
   if (IsHeader(text)) {
      AddGroup(GetHeaderName(text), text, std::move(pending));
      pending.clear();
      return;
   }
   pending.push_back({std::string(text), GetKey(text)});
   // Above the first header everything waits for it.
   bool const comment = TrimLeft(text).starts_with('#');
   if (!comment && !groups.empty()) {
      std::ranges::move(pending, std::back_inserter(groups.back().body));
      pending.clear();
   }
}

void KeyFile::AddGroup(std::string name, std::string_view header, std::vector<Line> lead)
{
   if (HasGroup(name)) {
      throw std::runtime_error("Group " + Quote(name) + " stands twice");
   }
   groups.push_back({name, std::move(lead), std::string(header), {}});
   index.emplace(std::move(name), std::prev(groups.end()));
}

KeyFile::Group* KeyFile::Find(std::string const& group)
{
   auto const found = index.find(group);
   return found == index.end() ? nullptr : &*found->second;
}

KeyFile::Group const* KeyFile::Find(std::string const& group) const
{
   auto const found = index.find(group);
   return found == index.end() ? nullptr : &*found->second;
}

KeyFile::Group& KeyFile::FindOrAdd(std::string const& group)
{
   if (auto const found = Find(group)) {
      return *found;
   }
   if (!groups.empty()) {
      auto& last = groups.back();
      bool const apart = !last.body.empty() && TrimLeft(last.body.back().text).empty();
      if (!apart) {
         last.body.push_back({});
      }
   }
   AddGroup(group, "[" + group + "]", {});
   return groups.back();
}

std::vector<std::string> KeyFile::GetGroups() const
{
   std::vector<std::string> names;
   for (auto const& group : groups) {
      names.push_back(group.name);
   }
   return names;
}

std::vector<std::string> KeyFile::GetKeys(std::string const& group) const
{
   std::vector<std::string> keys;
   auto const found = Find(group);
   for (auto const& line : found ? found->body : std::vector<Line>()) {
      if (!line.key.empty()) {
         keys.push_back(line.key);
      }
   }
   return keys;
}

std::optional<std::string_view> KeyFile::GetRaw(std::string const& group,
                                                std::string_view key) const
{
   auto const found = Find(group);
   if (!found) {
      return {};
   }
   auto const line = std::ranges::find(found->body, key, &Line::key);
   if (line == found->body.end()) {
      return {};
   }
   return TrimRight(std::string_view(line->text).substr(GetValueStart(line->text)));
}

void KeyFile::Set(std::string const& group, std::string const& key, std::string_view text)
{
   auto& body = FindOrAdd(group).body;
   auto const line = std::ranges::find(body, key, &Line::key);
   if (line != body.end()) {
      line->text = line->text.substr(0, GetValueStart(line->text)) + Escape(text);
      return;
   }
   auto const hasKey = [](Line const& other) { return !other.key.empty(); };
   auto const last = std::find_if(body.rbegin(), body.rend(), hasKey);
   body.insert(last.base(), {key + "=" + Escape(text), key});
}

void KeyFile::RemoveKey(std::string const& group, std::string_view key)
{
   if (auto const found = Find(group)) {
      std::erase_if(found->body, [&](Line const& line) { return line.key == key; });
   }
}

void KeyFile::RemoveGroup(std::string const& group)
{
   auto const found = index.find(group);
   if (found == index.end()) {
      return;
   }
   auto const removed = found->second;
   auto const next = std::next(removed);
   if (next != groups.end()) {
      next->lead.insert(next->lead.begin(), removed->lead.begin(), removed->lead.end());
   } else if (removed != groups.begin()) {
      std::ranges::move(removed->lead, std::back_inserter(std::prev(removed)->body));
   }
   groups.erase(removed);
   index.erase(found);
}

void KeyFile::RemoveIfBlank(std::string const& group)
{
   auto const found = Find(group);
   auto const isBlank = [](Line const& line) { return TrimLeft(line.text).empty(); };
   if (found && std::ranges::all_of(found->body, isBlank)) {
      RemoveGroup(group);
   }
}

std::string KeyFile::ToText() const
{
   std::string text;
   auto const add = [&text](std::string const& line) { text.append(line).append("\n"); };
   for (auto const& group : groups) {
      std::ranges::for_each(group.lead, add, &Line::text);
      add(group.header);
      std::ranges::for_each(group.body, add, &Line::text);
   }
   return text;
}

std::optional<std::string> KeyFile::Unescape(std::string_view raw)
{
   static constexpr std::string_view letters = "sntr\\";
   static constexpr std::string_view meanings = " \n\t\r\\";
   std::string text;
   for (std::size_t at = 0; at < raw.size(); ++at) {
      if (raw[at] != '\\') {
         text += raw[at];
         continue;
      }
      auto const letter = ++at < raw.size() ? letters.find(raw[at]) : std::string_view::npos;
      if (letter == std::string_view::npos) {
         return {};
      }
      text += meanings[letter];
   }
   return text;
}

} // namespace vnet
