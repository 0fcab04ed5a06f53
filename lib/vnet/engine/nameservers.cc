// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/nameservers.hh"

#include "vnet/host/inetAddress.hh"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <net/if.h>
#include <sstream>
#include <tuple>
#include <utility>

namespace vnet::engine {

namespace {

constexpr std::size_t maxNameservers = 16;
constexpr std::streamsize maxBytes = 65536;

// Of a device's name, what can't be mistaken for anything else in a configuration.
bool IsZone(std::string const& text)
{
   return !text.empty() && text.size() < IFNAMSIZ &&
          std::ranges::all_of(text, [](unsigned char character) {
             return std::isalnum(character) || character == '.' || character == '_' ||
                    character == '-';
          });
}

// Empty if it is none.
std::string GetCanonical(std::string const& word)
{
   auto const percent = word.find('%');
   auto const address = host::InetAddress::Parse(word.substr(0, percent));
   if (!address) {
      return {};
   }
   if (percent == std::string::npos) {
      return address->ToString();
   }
   auto const zone = word.substr(percent + 1);
   return IsZone(zone) ? address->ToString() + "%" + zone : "";
}

std::string ReadSome(std::string const& path)
{
   std::string text(maxBytes, '\0');
   std::ifstream file(path);
   file.read(text.data(), maxBytes);
   text.resize(static_cast<std::size_t>(file.gcount()));
   return text;
}

bool IsSameFile(struct stat const& one, struct stat const& other)
{
   auto const all = [](struct stat const& file) {
      return std::tuple(file.st_dev, file.st_ino, file.st_size, file.st_mtim.tv_sec,
                        file.st_mtim.tv_nsec, file.st_ctim.tv_sec, file.st_ctim.tv_nsec);
   };
   return all(one) == all(other);
}

} // namespace

std::vector<std::string> ReadNameservers(std::string const& path)
{
   std::vector<std::string> nameservers;
   std::istringstream lines(ReadSome(path));
   for (std::string line; std::getline(lines, line) && nameservers.size() < maxNameservers;) {
      std::istringstream words(line);
      std::string keyword;
      std::string word;
      words >> keyword >> word;
      auto const nameserver = keyword == "nameserver" ? GetCanonical(word) : "";
      if (!nameserver.empty()) {
         nameservers.push_back(nameserver);
      }
   }
   return nameservers;
}

bool Nameservers::Refresh()
{
   struct stat now {};
   stat(path.c_str(), &now);
   if (known && IsSameFile(stamp, now)) {
      return false;
   }
   stamp = now;
   auto const before = std::exchange(nameservers, ReadNameservers(path));
   return !std::exchange(known, true) || nameservers != before;
}

} // namespace vnet::engine
