// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/processTree.hh"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace lui {

namespace {

// A path and three numbers are shorter; what is longer need not be read.
constexpr std::streamsize LONGEST_COMMAND_LINE = 8192;
// Nobody needs so many to ask for a password.
constexpr std::size_t MOST_PROCESSES = 4096;

std::string ProcPath(int pid, char const* file)
{
   return "/proc/" + std::to_string(pid) + "/" + file;
}

std::optional<int> ToPid(std::string const& text)
{
   int pid = 0;
   auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), pid);
   bool const whole = error == std::errc() && end == text.data() + text.size();
   return whole && pid > 0 ? std::optional(pid) : std::nullopt;
}

// The names in a directory; none if it can't be read, or vanishes meanwhile.
std::vector<std::string> NamesIn(std::string const& directory)
{
   std::vector<std::string> names;
   std::error_code error;
   std::filesystem::directory_iterator entry(directory, error);
   while (!error && entry != std::filesystem::directory_iterator()) {
      names.push_back(entry->path().filename());
      entry.increment(error);
   }
   return names;
}

// The kernel's own lists, one per thread of the parent. Nothing if this kernel keeps none.
std::optional<std::vector<int>> ListedChildren(int pid)
{
   std::optional<std::vector<int>> children;
   std::string const tasks = ProcPath(pid, "task");
   for (std::string const& task : NamesIn(tasks)) {
      std::ifstream list(tasks + "/" + task + "/children");
      if (!list) {
         continue;
      }
      if (!children) {
         children.emplace();
      }
      children->insert(children->end(), std::istream_iterator<int>(list), {});
   }
   return children;
}

std::vector<int> SearchedChildren(int pid)
{
   std::vector<int> children;
   for (std::string const& name : NamesIn("/proc")) {
      std::optional<int> const candidate = ToPid(name);
      std::optional<ProcessStat> const stat =
         candidate ? ReadProcessStat(*candidate) : std::nullopt;
      if (stat && stat->parent == pid) {
         children.push_back(*candidate);
      }
   }
   return children;
}

bool IsDecimal(std::string const& text)
{
   return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

bool RunsOurServer(int pid, std::string const& program)
{
   std::vector<std::string> const arguments = ReadCommandLine(pid);
   return arguments.size() == 4 && std::filesystem::path(arguments[0]).filename() == program &&
          IsDecimal(arguments[1]) && IsDecimal(arguments[2]) &&
          arguments[3] == std::to_string(getpid());
}

} // namespace

std::optional<ProcessStat> ReadProcessStat(int pid)
{
   std::ifstream file(ProcPath(pid, "stat"));
   std::string line;
   std::getline(file, line);
   // The name stands in parentheses and may hold any character, parentheses and blanks included.
   std::size_t const nameEnd = line.rfind(')');
   if (nameEnd == std::string::npos) {
      return std::nullopt;
   }
   std::istringstream fields(line.substr(nameEnd + 1));
   ProcessStat stat{};
   fields >> stat.state >> stat.parent;
   std::string skipped;
   for (int field = 5; field < 22; ++field) {
      fields >> skipped;
   }
   fields >> stat.startTime;
   return fields ? std::optional(stat) : std::nullopt;
}

std::vector<std::string> ReadCommandLine(int pid)
{
   std::ifstream file(ProcPath(pid, "cmdline"), std::ios::binary);
   std::string text(LONGEST_COMMAND_LINE, '\0');
   file.read(text.data(), LONGEST_COMMAND_LINE);
   text.resize(static_cast<std::size_t>(file.gcount()));
   std::vector<std::string> arguments;
   if (file.gcount() == LONGEST_COMMAND_LINE) {
      return arguments;
   }
   for (std::size_t start = 0; start < text.size();) {
      std::size_t const end = std::min(text.find('\0', start), text.size());
      arguments.push_back(text.substr(start, end - start));
      start = end + 1;
   }
   return arguments;
}

std::vector<int> ChildrenOf(int pid)
{
   std::optional<std::vector<int>> listed = ListedChildren(pid);
   return listed ? std::move(*listed) : SearchedChildren(pid);
}

int FindServer(int root, std::string const& program)
{
   std::vector<int> tree{root};
   for (std::size_t next = 0; next < tree.size() && next < MOST_PROCESSES; ++next) {
      if (RunsOurServer(tree[next], program)) {
         return tree[next];
      }
      for (int child : ChildrenOf(tree[next])) {
         if (std::find(tree.begin(), tree.end(), child) == tree.end()) {
            tree.push_back(child);
         }
      }
   }
   return 0;
}

} // namespace lui
