// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/processState.hh"

#include "support/testProcess.hh"

#include <filesystem>
#include <sstream>
#include <system_error>

namespace test {

namespace fs = std::filesystem;

ProcessState::ProcessState(int process)
   : folder("/proc/" + std::to_string(process)), status(ReadFile(folder + "/status"))
{}

std::string ProcessState::GetStatus(std::string const& name) const
{
   std::istringstream lines(status);
   for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(name + ":")) {
         auto const start = line.find_first_not_of(" \t", name.size() + 1);
         return start == line.npos ? "" : line.substr(start);
      }
   }
   return "";
}

std::uint64_t ProcessState::GetCapabilities(std::string const& name) const
{
   return std::stoull(GetStatus(name), nullptr, 16);
}

std::vector<std::string> ProcessState::GetEnvironment() const
{
   std::istringstream text(ReadFile(folder + "/environ"));
   std::vector<std::string> variables;
   for (std::string variable; std::getline(text, variable, '\0');) {
      if (!variable.empty()) {
         variables.push_back(variable);
      }
   }
   return variables;
}

std::map<int, std::string> ProcessState::GetDescriptors() const
{
   std::map<int, std::string> found;
   for (auto const& entry : fs::directory_iterator(folder + "/fd")) {
      std::error_code gone;
      auto const target = fs::read_symlink(entry.path(), gone);
      if (!gone) {
         found[std::stoi(entry.path().filename())] = target;
      }
   }
   return found;
}

bool ProcessState::IsCloseOnExec(int descriptor) const
{
   std::istringstream words(ReadFile(folder + "/fdinfo/" + std::to_string(descriptor)));
   constexpr unsigned long closeOnExec = 02000000; // O_CLOEXEC
   for (std::string word; words >> word;) {
      if (word == "flags:" && words >> word) {
         return (std::stoul(word, nullptr, 8) & closeOnExec) != 0;
      }
   }
   return false;
}

std::string ProcessState::GetLink(std::string const& name) const
{
   std::error_code none;
   return fs::read_symlink(folder + "/" + name, none);
}

std::set<std::string> ProcessState::GetMappedFiles() const
{
   std::set<std::string> files;
   std::istringstream lines(ReadFile(folder + "/maps"));
   for (std::string line; std::getline(lines, line);) {
      auto const path = line.find('/');
      if (path != std::string::npos) {
         files.insert(line.substr(path));
      }
   }
   return files;
}

std::string ProcessState::GetLimits(std::string const& name) const
{
   std::istringstream lines(ReadFile(folder + "/limits"));
   for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(name)) {
         std::istringstream words(line.substr(name.size()));
         std::string soft, hard;
         words >> soft >> hard;
         return soft + " " + hard;
      }
   }
   return "";
}

} // namespace test
