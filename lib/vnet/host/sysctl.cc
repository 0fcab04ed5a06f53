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
   if (!file.IsOpen()) {
      return {};
   }
   char text[256]; // longer values aren't switches
   auto const length = read(file.Get(), text, sizeof text);
   if (length < 0) {
      return {};
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
   if (!file.IsOpen() || write(file.Get(), value.data(), value.size()) < 0) {
      throw Error("set " + path + " to", value, strerror(errno));
   }
}

} // namespace vnet::host
