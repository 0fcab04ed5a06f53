// SPDX-License-Identifier: GPL-2.0-or-later
// The database's parameters and port forwards as texts.
#include "base/log.h"
#include "base/strUtil.h"
#include "tvnetcfg/mgr/mgr.hh"
#include "vnet/vnetlib.h"

#include <algorithm>

namespace netcfg {

namespace {

// Receives a text of the library, of at most VNL_VALUE_SIZE bytes, and gives it its NUL.
struct ValueBuffer {
   char bytes[VNL_VALUE_SIZE + 1] = {};
   std::uint32_t length = VNL_VALUE_SIZE;

   // The text up to its first NUL. A length beyond the buffer reads as a full one.
   utf::string GetText()
   {
      bytes[std::min<std::uint32_t>(length, VNL_VALUE_SIZE)] = '\0';
      return bytes;
   }
};

using Getter = bool(const char*, std::uint32_t, int, char*, std::uint32_t*);
using Setter = bool(const char*, std::uint32_t, const char*, std::uint32_t);

// True with the value in text, or false with text left alone.
bool GetParam(Getter* get, utf::string const& name, unsigned int id, utf::string& text)
{
   ValueBuffer value;
   if (!get(name.c_str(), id, 1, value.bytes, &value.length)) {
      return false;
   }
   text = value.GetText();
   return true;
}

bool SetParam(Setter* set, utf::string const& name, unsigned int id, utf::string const& value)
{
   if (value.empty()) {
      return set(name.c_str(), id, nullptr, 0);
   }
   return set(name.c_str(), id, value.c_str(), static_cast<std::uint32_t>(value.bytes()));
}

char const* ProtocolName(bool tcp)
{
   return tcp ? "TCP" : "UDP";
}

} // namespace

utf::string Mgr::GetNATParam(utf::string const& name, unsigned int id)
{
   utf::string text;
   if (!GetParam(&VNL_GetNATParam, name, id, text)) {
      Warning("%s: Unable to get NAT param 0x%x.\n", "GetNATParam", id);
   }
   return text;
}

bool Mgr::GetNATParam(utf::string const& name, unsigned int id, int* value)
{
   bool const valid = StrUtil_StrToInt(value, GetNATParam(name, id).c_str());
   if (!valid) {
      Warning("%s: Bad config file: Unable to convert NAT param \"0x%x\" to an integer value.\n",
              "GetNATParam", id);
   }
   return valid;
}

bool Mgr::SetNATParam(utf::string const& name, unsigned int id, utf::string const& value)
{
   bool const set = SetParam(&VNL_SetNATParam, name, id, value);
   if (!set) {
      LogV(LOG_SEVERITY_FAILURE, "%s: Unable to set NAT param 0x%x.\n", "SetNATParam", id);
   }
   return set;
}

utf::string Mgr::GetDHCPParam(utf::string const& name, unsigned int id)
{
   utf::string text;
   if (!GetParam(&VNL_GetDHCPParam, name, id, text)) {
      Warning("%s: Unable to get DHCP param 0x%x.\n", "GetDHCPParam", id);
   }
   return text;
}

bool Mgr::SetDHCPParam(utf::string const& name, unsigned int id, utf::string const& value)
{
   bool const set = SetParam(&VNL_SetDHCPParam, name, id, value);
   if (!set) {
      LogV(LOG_SEVERITY_FAILURE, "%s: Unable to set DHCP param 0x%x.\n", "SetDHCPParam", id);
   }
   return set;
}

bool Mgr::EnumNATPortForward(utf::string const& name, common::NAT::PortForwardEntry& entry,
                             unsigned int* cursor)
{
   ValueBuffer address;
   ValueBuffer description;
   std::uint16_t hostPort = 0;
   std::uint16_t vmPort = 0;
   if (!VNL_EnumNATPortForward(name.c_str(), entry.tcp, cursor, &hostPort, address.bytes,
                               &address.length, &vmPort, description.bytes, &description.length)) {
      // The ordinary end of every enumeration.
      LogV(LOG_SEVERITY_TRACE, "%s: enumeration for network \"%s\" stopped at %d.\n",
           "EnumNATPortForward", name.c_str(), static_cast<int>(*cursor));
      return false;
   }
   entry.ip = address.bytes;
   entry.description = description.GetText();
   entry.hostPort = hostPort;
   entry.vmPort = vmPort;
   return true;
}

bool Mgr::SetNATPortForward(utf::string const& name, common::NAT::PortForwardEntry const& entry)
{
   bool const set = VNL_SetNATPortForward(name.c_str(), entry.tcp, entry.hostPort, entry.ip.c_str(),
                                          entry.vmPort, entry.description.c_str(),
                                          static_cast<std::uint32_t>(entry.description.bytes()));
   if (!set) {
      LogV(LOG_SEVERITY_FAILURE, "%s: Unable to set port forwarding port = %d, type = %s.\n",
           "SetNATPortForward", entry.hostPort, ProtocolName(entry.tcp));
   }
   return set;
}

bool Mgr::RemoveNATPortForward(utf::string const& name, bool tcp, unsigned int port)
{
   bool const removed = VNL_SetNATPortForward(name.c_str(), tcp, static_cast<std::uint16_t>(port),
                                              nullptr, 0, nullptr, 0);
   if (!removed) {
      LogV(LOG_SEVERITY_FAILURE, "%s: Unable to remove port forwarding port = %d, type = %s.\n",
           "RemoveNATPortForward", static_cast<int>(port), ProtocolName(tcp));
   }
   return removed;
}

} // namespace netcfg
