// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/sysctl.hh"

#include "base/fileDescriptor.hh"
#include "vnet/values/error.hh"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>

namespace vnet::host {

namespace {

std::string MakePath(std::string const& family, std::string const& device, std::string const& name)
{
   if (device.empty() || device.size() >= IFNAMSIZ || device == "." || device == ".." ||
       device.find('/') != std::string::npos) {
      throw Error("find settings of device", device, "No device has such a name");
   }
   return family + "/conf/" + device + "/" + name;
}

// read(2), but for interruptions.
ssize_t ReadOn(int descriptor, char* text, std::size_t size)
{
   ssize_t length;
   do {
      length = read(descriptor, text, size);
   } while (length < 0 && errno == EINTR);
   return length;
}

// write(2), but for interruptions.
ssize_t WriteOn(int descriptor, std::string const& text)
{
   ssize_t length;
   do {
      length = write(descriptor, text.data(), text.size());
   } while (length < 0 && errno == EINTR);
   return length;
}

} // namespace

std::optional<std::string> Sysctl::Read(std::string const& family, std::string const& device,
                                        std::string const& name) const
{
   return ReadGlobal(MakePath(family, device, name));
}

void Sysctl::Write(std::string const& family, std::string const& device, std::string const& name,
                   std::string const& value) const
{
   WriteGlobal(MakePath(family, device, name), value);
}

std::optional<std::string> Sysctl::ReadGlobal(std::string const& path) const
{
   base::FileDescriptor const file(open((root + "/" + path).c_str(), O_RDONLY | O_CLOEXEC));
   if (!file.IsOpen() && (errno == ENOENT || errno == ENOTDIR)) {
      return {};
   }
   char text[256]; // longer values aren't switches
   auto const length = file.IsOpen() ? ReadOn(file.Get(), text, sizeof text) : -1;
   if (length < 0) {
      throw Error("read", path, strerror(errno));
   }
   std::string value(text, static_cast<std::size_t>(length));
   value.erase(value.find_last_not_of('\n') + 1);
   return value;
}

void Sysctl::WriteGlobal(std::string const& path, std::string const& value) const
{
   if (ReadGlobal(path) == value) {
      return;
   }
   base::FileDescriptor const file(open((root + "/" + path).c_str(), O_WRONLY | O_CLOEXEC));
   // One write: the kernel takes the value whole or not at all.
   if (!file.IsOpen() || WriteOn(file.Get(), value) < 0) {
      throw Error("set " + path + " to", value, strerror(errno));
   }
}

} // namespace vnet::host
