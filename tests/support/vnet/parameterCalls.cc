// SPDX-License-Identifier: GPL-2.0-or-later
// The double's parameters and port forwards.
#include "support/vnet/recorder.hh"

using test::Enter;
using test::FindNetwork;
using test::MakeNetwork;
using test::VnetForward;
using test::VnetNetwork;

namespace {

using Params = std::map<std::uint32_t, std::string>;

bool GetParam(VnetNetwork const* network, Params VnetNetwork::*params, std::uint32_t id,
              char* buffer, std::uint32_t* length)
{
   if (!network) {
      return false;
   }
   auto const found = (network->*params).find(id);
   return found != (network->*params).end() && test::CopyValue(found->second, buffer, length);
}

bool SetParam(VnetNetwork* network, Params VnetNetwork::*params, std::uint32_t id,
              const char* value, std::uint32_t size)
{
   if (!network || size > VNL_VALUE_SIZE) {
      return false;
   }
   (network->*params)[id] = std::string(value ? value : "", size);
   return true;
}

} // namespace

bool VNL_GetNATParam(const char* name, std::uint32_t id, int mode, char* buffer,
                     std::uint32_t* length)
{
   bool const works = Enter(__func__, name, test::Id{id}, mode, *length);
   return works && GetParam(FindNetwork(name), &VnetNetwork::natParams, id, buffer, length);
}

bool VNL_GetDHCPParam(const char* name, std::uint32_t id, int mode, char* buffer,
                      std::uint32_t* length)
{
   bool const works = Enter(__func__, name, test::Id{id}, mode, *length);
   return works && GetParam(FindNetwork(name), &VnetNetwork::dhcpParams, id, buffer, length);
}

bool VNL_SetNATParam(const char* name, std::uint32_t id, const char* value, std::uint32_t size)
{
   bool const works = Enter(__func__, name, test::Id{id}, test::Sized{value, size});
   return works && SetParam(MakeNetwork(name), &VnetNetwork::natParams, id, value, size);
}

bool VNL_SetDHCPParam(const char* name, std::uint32_t id, const char* value, std::uint32_t size)
{
   bool const works = Enter(__func__, name, test::Id{id}, test::Sized{value, size});
   return works && SetParam(MakeNetwork(name), &VnetNetwork::dhcpParams, id, value, size);
}

bool VNL_EnumNATPortForward(const char* name, bool tcp, std::uint32_t* cursor,
                            std::uint16_t* hostPort, char* address, std::uint32_t* addressLength,
                            std::uint16_t* vmPort, char* description,
                            std::uint32_t* descriptionLength)
{
   bool const works = Enter(__func__, name, tcp, *cursor, *addressLength, *descriptionLength);
   VnetNetwork* const network = works ? FindNetwork(name) : nullptr;
   if (!network || *cursor >= network->GetForwards(tcp).size()) {
      return false;
   }
   VnetForward const& forward = network->GetForwards(tcp)[*cursor];
   if (!test::CopyText(forward.address, address, addressLength) ||
       !test::CopyValue(forward.description, description, descriptionLength)) {
      return false;
   }
   *hostPort = forward.hostPort;
   *vmPort = forward.vmPort;
   ++*cursor;
   return true;
}

bool VNL_SetNATPortForward(const char* name, bool tcp, std::uint16_t hostPort, const char* address,
                           std::uint16_t vmPort, const char* description,
                           std::uint32_t descriptionSize)
{
   bool const works = Enter(__func__, name, tcp, hostPort, address, vmPort,
                            test::Sized{description, descriptionSize});
   VnetNetwork* const network = works ? MakeNetwork(name) : nullptr;
   if (!network || descriptionSize > VNL_VALUE_SIZE) {
      return false;
   }
   if (!address) {
      return network->RemoveForward(tcp, hostPort);
   }
   network->PutForward({tcp, hostPort, address, vmPort, std::string(description, descriptionSize)});
   return true;
}
