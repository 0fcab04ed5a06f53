// SPDX-License-Identifier: GPL-2.0-or-later
// All setters of libvnetlib.so, in any order and with any values, on a database of its own and a
// host on which nothing happens. What they store is read back, saved and loaded, and generates
// configurations and rulesets that hold nothing unparsed.
//
// Input: a call a line, as the table of calls below tells.
#include "fuzz/planningHost.hh"
#include "fuzz/require.hh"
#include "fuzz/script.hh"
#include "fuzz/target.hh"
#include "fuzz/textForms.hh"
#include "lib/vnet/database/tempPlace.hh"
#include "vnet/interface/library.hh"
#include "vnet/values/text.hh"
#include "vnet/vnetlib.h"

#include <cstdlib>
#include <map>

using fuzz::Require;
using fuzz::ScriptLine;

namespace {

std::string const emptyDatabase = "[general]\nversion=1\n";

// "-" is null.
char const* OrNull(std::string const& text)
{
   return text == "-" ? nullptr : text.c_str();
}

std::uint32_t Size(std::string const& text)
{
   return text == "-" ? 0 : static_cast<std::uint32_t>(text.size());
}

std::string Export()
{
   char* const text = VNL_ExportDatabaseToBuffer();
   std::string const copy = text ? text : "";
   std::free(text);
   return copy;
}

// --- Reading back ---

using TextReader = bool (*)(char const*, char*, std::uint32_t*);

std::string ReadText(TextReader read, char const* name, std::uint32_t size)
{
   std::vector<char> buffer(size);
   std::uint32_t length = size;
   if (!read(name, buffer.data(), &length)) {
      Require(length == size, "a failure leaves the length alone");
      return {};
   }
   Require(length < size && buffer[length] == '\0', "a text has its NUL within the buffer");
   return buffer.data();
}

void ReadParameter(char const* name, bool nat, std::uint32_t id)
{
   std::vector<char> buffer(VNL_VALUE_SIZE);
   std::uint32_t length = VNL_VALUE_SIZE;
   bool const there = nat ? VNL_GetNATParam(name, id, 1, buffer.data(), &length)
                          : VNL_GetDHCPParam(name, id, 1, buffer.data(), &length);
   Require(!there || vnet::IsPlainText({buffer.data(), length}, VNL_VALUE_SIZE),
           "a parameter is one line");
}

void ReadForwards(char const* name, bool tcp)
{
   std::uint32_t cursor = 0;
   std::uint16_t hostPort = 0;
   std::uint16_t vmPort = 0;
   for (;;) {
      std::vector<char> address(VNL_VALUE_SIZE);
      std::vector<char> description(VNL_VALUE_SIZE);
      std::uint32_t addressLength = VNL_VALUE_SIZE;
      std::uint32_t descriptionLength = VNL_VALUE_SIZE;
      std::uint16_t const last = hostPort;
      if (!VNL_EnumNATPortForward(name, tcp, &cursor, &hostPort, address.data(), &addressLength,
                                  &vmPort, description.data(), &descriptionLength)) {
         return;
      }
      Require(hostPort > last && vmPort > 0, "forwards come in order, with ports");
      Require(fuzz::ReadAddress(address.data()).has_value(), "a forward's address is one");
      Require(vnet::IsPlainText({description.data(), descriptionLength}, VNL_VALUE_SIZE),
              "a description is one line");
   }
}

void ReadNetwork(std::string const& text)
{
   char const* const name = text.c_str();
   auto const address = ReadText(VNL_GetVnetSubnetAddr, name, VNL_ADDRESS_SIZE);
   Require(address.empty() || fuzz::ReadAddress(address), "a subnet is an address");
   auto const mask = ReadText(VNL_GetVnetSubnetMask, name, VNL_ADDRESS_SIZE);
   Require(mask.empty() || fuzz::IsMask(mask), "a mask is one");
   Require(vnet::IsPlainText(ReadText(VNL_GetVnetDisplayName, name, VNL_DISPLAY_NAME_SIZE), 127),
           "a display name is one line");
   std::uint32_t mtu = 68;
   VNL_GetVnetMTU(name, &mtu);
   Require(mtu >= 68 && mtu <= 9194, "an MTU is one");
   for (std::uint32_t id = 0x2343; id <= 0x235b; ++id) {
      ReadParameter(name, true, id);
   }
   for (std::uint32_t id = 0x3426; id <= 0x3432; ++id) {
      ReadParameter(name, false, id);
   }
   ReadForwards(name, true);
   ReadForwards(name, false);
}

void ReadFeatures(int index)
{
   VNL_FeatureStruct features{};
   features.version = VNL_RECORD_VERSION;
   features.ref = {VNL_RECORD_VERSION, VNL_RECORD_VERSION, index};
   bool const known = VNL_GetVnetFeatures(&features);
   Require(known == (index >= 0 && index < static_cast<int>(VNL_GetNumberOfVnets())),
           "there are as many networks as told");
   bool const any = features.dhcp || features.nat || features.virtualAdapter;
   Require(!any || features.hosted, "a network with services is hosted");
}

void ReadAdapters()
{
   VNL_HostAdapterList* list = nullptr;
   Require(VNL_GetHostAdapterList(1, &list), "the adapters can be listed");
   for (auto const* node = list->first; node; node = node->next) {
      Require(fuzz::IsDeviceName(node->name), "an adapter has a device's name");
      Require(node->network.vnet < static_cast<int>(VNL_GetNumberOfVnets()),
              "an adapter's network is one");
   }
   VNL_FreeHostAdapterList(list);
}

void ReadHost()
{
   VnetRef automatic{VNL_RECORD_VERSION, VNL_RECORD_VERSION, 77};
   Require(VNL_GetBridgeDefaultNetwork(&automatic), "the automatic network can be told");
   for (int const index : {automatic.vnet, 0, 8, 255, 256}) {
      ReadFeatures(index);
   }
   ReadAdapters();
}

// --- The calls ---

void MoveAdapter(std::string const& name, std::int32_t target)
{
   VNL_HostAdapter adapter{};
   adapter.version = VNL_RECORD_VERSION;
   name.copy(adapter.name, sizeof adapter.name);
   VnetRef const ref{VNL_RECORD_VERSION, VNL_RECORD_VERSION, target};
   VNL_BridgeMoveAdapter(&adapter, nullptr, &ref);
}

void SetForward(std::string const& name, ScriptLine& line)
{
   bool const tcp = line.TakeWord() == "tcp";
   auto const hostPort = static_cast<std::uint16_t>(line.TakeNumber());
   auto const address = line.TakeWord();
   auto const vmPort = static_cast<std::uint16_t>(line.TakeNumber());
   auto const description = line.TakeRest();
   VNL_SetNATPortForward(name.c_str(), tcp, hostPort, OrNull(address), vmPort, OrNull(description),
                         Size(description));
}

void SetParameter(bool nat, std::string const& name, ScriptLine& line)
{
   auto const id = line.TakeNumber();
   auto const value = line.TakeRest();
   nat ? VNL_SetNATParam(name.c_str(), id, OrNull(value), Size(value))
       : VNL_SetDHCPParam(name.c_str(), id, OrNull(value), Size(value));
}

void SetAutomatic(std::int32_t network)
{
   VnetRef const ref{VNL_RECORD_VERSION, VNL_RECORD_VERSION, network};
   VNL_SetBridgeDefaultNetwork(&ref);
}

// What is saved loads as equal.
void Reload()
{
   auto const text = Export();
   VNL_Unload();
   Require(VNL_Load(0), "what was saved loads");
   Require(Export() == text, "what was saved loads as equal");
}

using Call = void (*)(std::string const& name, ScriptLine& line);

// "subnet tvnet8 192.168.8.0": the call, its first argument, the others.
std::map<std::string, Call> const calls = {
   {"subnet", [](auto const& name,
                 auto& line) { VNL_SetVnetSubnetAddr(name.c_str(), OrNull(line.TakeRest())); }},
   {"mask", [](auto const& name,
               auto& line) { VNL_SetVnetSubnetMask(name.c_str(), OrNull(line.TakeRest())); }},
   {"assign", [](auto const& name, auto&) { VNL_AssignSubnetAddressToVnet(name.c_str(), 1); }},
   {"name", [](auto const& name,
               auto& line) { VNL_SetVnetDisplayName(name.c_str(), OrNull(line.TakeRest())); }},
   {"mtu", [](auto const& name, auto& line) { VNL_SetVnetMTU(name.c_str(), line.TakeNumber()); }},
   {"no-mtu", [](auto const& name, auto&) { VNL_RemoveMTU(name.c_str()); }},
   {"adapter",
    [](auto const& name, auto& line) { VNL_SetVnetUseAdapter(name.c_str(), line.TakeFlag(), 1); }},
   {"dhcp",
    [](auto const& name, auto& line) { VNL_SetVnetUseDHCP(name.c_str(), line.TakeFlag(), 1); }},
   {"nat",
    [](auto const& name, auto& line) { VNL_SetVnetUseNAT(name.c_str(), line.TakeFlag(), 1); }},
   {"nat-parameter", [](auto const& name, auto& line) { SetParameter(true, name, line); }},
   {"dhcp-parameter", [](auto const& name, auto& line) { SetParameter(false, name, line); }},
   {"forward", [](auto const& name, auto& line) { SetForward(name, line); }},
   {"delete", [](auto const& name, auto&) { VNL_DeleteVnetFromDatabase(name.c_str()); }},
   {"start",
    [](auto const& name, auto& line) { VNL_StartService(name.c_str(), line.TakeNumber()); }},
   {"stop", [](auto const& name, auto& line) { VNL_StopService(name.c_str(), line.TakeNumber()); }},
   {"enable", [](auto const& name, auto&) { VNL_EnableNetworkAdapter(name.c_str()); }},
   {"disable", [](auto const& name, auto&) { VNL_DisableNetworkAdapter(name.c_str()); }},
   {"update",
    [](auto const& name, auto&) {
       VNL_UpdateDHCPFromConfig(name.c_str());
       VNL_UpdateNATFromConfig(name.c_str());
    }},
   {"automatic", [](auto const& name, auto&) { SetAutomatic(std::atoi(name.c_str())); }},
   {"move", [](auto const& name,
               auto& line) { MoveAdapter(name, static_cast<std::int32_t>(line.TakeNumber())); }},
   {"read", [](auto const& name, auto&) { ReadNetwork(name); }},
   {"reload", [](auto const&, auto&) { Reload(); }},
};

void Run(ScriptLine line)
{
   auto const call = calls.find(line.TakeWord());
   if (call != calls.end()) {
      auto const name = line.TakeWord();
      call->second(name, line);
   }
}

// A database without a network, loaded.
void Begin(test::TempPlace const& place)
{
   place.Write(emptyDatabase);
   vnet::Library::Replace(
      std::make_unique<vnet::Library>(place.Get(), std::make_unique<fuzz::PlanningHost>()));
   Require(VNL_Load(0), "an empty database loads");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   static test::TempPlace const place;
   Begin(place);
   for (auto const& line : fuzz::ReadScript(fuzz::ToText(data, size))) {
      Run(line);
   }
   // A subnet that was assigned gives way to one that was set later: not before something asks.
   Export();
   auto const settings = vnet::Library::Get().GetForReading().GetSettings();
   fuzz::CheckPlans(settings);
   for (auto const& [index, network] : settings.networks) {
      ReadNetwork(vnet::GetNetworkName(index));
   }
   ReadHost();
   Reload();
   Require(vnet::Library::Get().GetForReading().GetSettings() == settings,
           "what was saved says the same");
   vnet::Library::Replace(nullptr);
   return 0;
}
