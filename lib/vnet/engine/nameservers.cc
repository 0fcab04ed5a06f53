// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/nameservers.hh"

#include "base/fileDescriptor.hh"
#include "base/log.h"
#include "vnet/host/inetAddress.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sstream>
#include <tuple>
#include <utility>

namespace vnet::engine {

namespace {

constexpr std::size_t maxNameservers = 16;
constexpr std::size_t maxBytes = 65536;

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
   // Without O_NONBLOCK a FIFO would hold us up.
   base::FileDescriptor const file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
   std::string text(maxBytes, '\0');
   std::size_t size = 0;
   ssize_t got = file.IsOpen() || errno != ENOENT ? -1 : 0;
   while (file.IsOpen() && size < text.size()) {
      got = read(file.Get(), text.data() + size, text.size() - size);
      if (got == 0 || (got < 0 && errno != EINTR)) {
         break;
      }
      size += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
   }
   if (got < 0) {
      throw Error("read", path, std::strerror(errno));
   }
   text.resize(size);
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
   if (known && !complained && IsSameFile(stamp, now)) {
      return false;
   }
   auto const before = std::exchange(nameservers, Read(now));
   return !std::exchange(known, true) || nameservers != before;
}

std::vector<std::string> Nameservers::Read(struct stat const& now)
{
   try {
      auto const read = ReadNameservers(path);
      stamp = now;
      complained = false;
      return read;
   } catch (Error const& error) {
      stamp = {};
      if (!std::exchange(complained, true)) {
         Warning("%s; the guests keep the nameservers that are known\n", error.what());
      }
      return nameservers;
   }
}

} // namespace vnet::engine
