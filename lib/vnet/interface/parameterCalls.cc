// SPDX-License-Identifier: GPL-2.0-or-later
// The calls on the parameters of NAT and DHCP, and on port forwards.
#include "vnet/interface/arguments.hh"
#include "vnet/interface/attempt.hh"
#include "vnet/interface/library.hh"
#include "vnet/interface/parameters.hh"
#include "vnet/values/text.hh"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

using namespace vnet;

namespace {

// "get NAT parameter 0x2343 of"
class Action {
public:
   Action(char const* verb, std::uint32_t id)
   {
      std::snprintf(text, sizeof text, "%s parameter 0x%x of", verb, id);
   }
   operator char const*() const { return text; }

private:
   char text[64];
};

// "set TCP forward 2222 of"
class ForwardAction {
public:
   ForwardAction(char const* verb, bool tcp, std::uint16_t hostPort)
   {
      std::snprintf(text, sizeof text, "%s %s forward %u of", verb, tcp ? "TCP" : "UDP", hostPort);
   }
   operator char const*() const { return text; }

private:
   char text[64];
};

void Get(Parameter const& parameter, char const* name, int mode, char* buffer,
         std::uint32_t* length)
{
   RequireConstant(static_cast<std::uint32_t>(mode), 1, "mode");
   auto const index = RequireIndex(name);
   auto const& network = Library::Get().GetForReading().GetNetwork(index);
   CopyOut(parameter.get(network), false, buffer, length);
}

void Set(Parameter const& parameter, char const* name, char const* value, std::uint32_t size)
{
   auto const index = RequireIndex(name);
   auto const text = RequireText(value, size);
   parameter.set(Library::Get().GetForWriting(), index, text);
}

// The cursor is the next host port to look at, so a forward that comes or goes meanwhile makes no
// other one appear twice or never.
PortForward const* FindNext(std::vector<PortForward> const& forwards, bool tcp,
                            std::uint32_t cursor)
{
   auto const found = std::ranges::find_if(forwards, [=](PortForward const& forward) {
      return forward.tcp == tcp && forward.hostPort >= cursor;
   });
   return found == forwards.end() ? nullptr : &*found;
}

Address RequireAddress(NetworkSettings const& network, char const* text)
{
   Require(text, "address");
   auto const address = ParseHostAddress(GetText(text));
   if (!address) {
      throw std::runtime_error(Quote(GetText(text)) + " isn't " + field::address);
   }
   RequireHostOf(network, *address, false);
   return *address;
}

std::string RequireDescription(char const* description, std::uint32_t size)
{
   auto const text = ParseDescription(RequireText(description, size));
   if (!text) {
      throw std::runtime_error("The description isn't UTF-8 without control characters");
   }
   return *text;
}

void RequirePort(std::uint16_t port)
{
   if (port == 0) {
      throw std::runtime_error("0 isn't a port");
   }
}

void SetForward(unsigned int index, bool tcp, std::uint16_t hostPort, char const* address,
                std::uint16_t vmPort, std::string const& description)
{
   RequirePort(hostPort);
   auto& database = Library::Get().GetForWriting();
   if (!address && vmPort == 0 && description.empty()) {
      database.RemoveForward(index, tcp, hostPort);
      return;
   }
   RequirePort(vmPort);
   auto const target = RequireAddress(database.GetNetwork(index), address);
   database.SetForward(index, {tcp, hostPort, target, vmPort, description});
}

} // namespace

bool VNL_GetNATParam(const char* name, uint32_t id, int mode, char* buffer, uint32_t* length)
{
   return Attempt(Action("get NAT", id), name,
                  [=] { Get(RequireNatParameter(id), name, mode, buffer, length); });
}

bool VNL_GetDHCPParam(const char* name, uint32_t id, int mode, char* buffer, uint32_t* length)
{
   return Attempt(Action("get DHCP", id), name,
                  [=] { Get(RequireDhcpParameter(id), name, mode, buffer, length); });
}

bool VNL_SetNATParam(const char* name, uint32_t id, const char* value, uint32_t size)
{
   return Attempt(Action("set NAT", id), name,
                  [=] { Set(RequireNatParameter(id), name, value, size); });
}

bool VNL_SetDHCPParam(const char* name, uint32_t id, const char* value, uint32_t size)
{
   return Attempt(Action("set DHCP", id), name,
                  [=] { Set(RequireDhcpParameter(id), name, value, size); });
}

bool VNL_EnumNATPortForward(const char* name, bool tcp, uint32_t* cursor, uint16_t* hostPort,
                            char* address, uint32_t* addressLength, uint16_t* vmPort,
                            char* description, uint32_t* descriptionLength)
{
   return AttemptFor("list the forwards of", name, [=] {
      Require(cursor, "cursor");
      Require(hostPort, "room for the host port");
      Require(vmPort, "room for the virtual machine's port");
      auto const index = RequireIndex(name);
      auto const& network = Library::Get().GetForReading().GetNetwork(index);
      auto const* const forward = FindNext(network.nat.forwards, tcp, *cursor);
      if (!forward) {
         return false;
      }
      CheckRoom(forward->description, false, description, descriptionLength);
      CopyOut(forward->address.ToString(), true, address, addressLength);
      CopyOut(forward->description, false, description, descriptionLength);
      *hostPort = forward->hostPort;
      *vmPort = forward->vmPort;
      *cursor = forward->hostPort + 1u;
      return true;
   });
}

bool VNL_SetNATPortForward(const char* name, bool tcp, uint16_t hostPort, const char* address,
                           uint16_t vmPort, const char* description, uint32_t descriptionSize)
{
   return Attempt(ForwardAction("set", tcp, hostPort), name, [=] {
      auto const index = RequireIndex(name);
      SetForward(index, tcp, hostPort, address, vmPort,
                 RequireDescription(description, descriptionSize));
   });
}
