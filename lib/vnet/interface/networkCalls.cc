// SPDX-License-Identifier: GPL-2.0-or-later
// The calls that read and write one network.
#include "vnet/interface/arguments.hh"
#include "vnet/interface/attempt.hh"
#include "vnet/interface/library.hh"
#include "vnet/values/text.hh"

#include <stdexcept>

using namespace vnet;

namespace {

NetworkSettings const& Read(char const* name)
{
   auto const index = RequireIndex(name);
   return Library::Get().GetForReading().GetNetwork(index);
}

// What a text stands for; throws if the field doesn't take it.
template <class Field>
auto Parse(Field const& field, std::string_view text)
{
   auto const value = field.parse(text);
   if (!value) {
      throw std::runtime_error(Quote(text) + " isn't " + field.expects);
   }
   return *value;
}

template <class Field>
void Set(char const* name, Field const& field, typename Field::Value const& value)
{
   auto const index = RequireIndex(name);
   Library::Get().GetForWriting().Set(index, field, value);
}

template <class Field>
void SetFlag(char const* name, Field const& field, bool value, int mode)
{
   if (mode != 0 && mode != 1) {
      throw std::runtime_error("The mode is " + std::to_string(mode) + ", not 1 or 0");
   }
   Set(name, field, value);
}

// A text that was never set reads as the empty one.
bool ReadText(char const* action, char const* name, char* buffer, uint32_t* length,
              std::optional<std::string> (*get)(NetworkSettings const&))
{
   return Attempt(action, name,
                  [=] { CopyOut(get(Read(name)).value_or(""), true, buffer, length); });
}

void FillFeatures(VNL_FeatureStruct* features, NetworkSettings const& network)
{
   features->hosted = network.IsHosted();
   features->dhcp = network.useDhcp;
   features->nat = network.useNat;
   features->virtualAdapter = network.useAdapter;
}

void SetMask(char const* name, char const* mask)
{
   auto const index = RequireIndex(name);
   auto& database = Library::Get().GetForWriting();
   // No mask is said after "choose one": the chosen one holds.
   if (mask && *mask == '\0' && Library::Get().IsAssigned(index)) {
      return;
   }
   database.Set(index, field::subnetMask,
                mask ? std::optional(Parse(field::subnetMask, GetText(mask))) : std::nullopt);
}

} // namespace

bool VNL_GetVnetFeatures(VNL_FeatureStruct* features)
{
   return Attempt("get the features of", "a network", [features] {
      Require(features, "record");
      RequireConstant(features->version, VNL_RECORD_VERSION, "version of a record");
      // The record may still hold another network's.
      FillFeatures(features, {});
      auto const index = RequireReference(&features->ref);
      if (!index) {
         throw std::runtime_error("The record names no network");
      }
      FillFeatures(features, Library::Get().GetForReading().GetNetwork(*index));
   });
}

bool VNL_GetVnetSubnetAddr(const char* name, char* buffer, uint32_t* length)
{
   return ReadText("get the subnet of", name, buffer, length,
                   [](NetworkSettings const& network) { return Write(network.subnetAddress); });
}

bool VNL_GetVnetSubnetMask(const char* name, char* buffer, uint32_t* length)
{
   return ReadText("get the mask of", name, buffer, length,
                   [](NetworkSettings const& network) { return Write(network.subnetMask); });
}

bool VNL_GetVnetDisplayName(const char* name, char* buffer, uint32_t* length)
{
   return ReadText("get the display name of", name, buffer, length,
                   [](NetworkSettings const& network) { return Write(network.displayName); });
}

bool VNL_GetVnetMTU(const char* name, uint32_t* mtu)
{
   return AttemptFor("get the MTU of", name, [=] {
      Require(mtu, "room for the number");
      auto const value = Read(name).mtu;
      if (value) {
         *mtu = *value;
      }
      return value.has_value();
   });
}

bool VNL_AssignSubnetAddressToVnet(const char* name, int mode)
{
   return Attempt("assign a subnet to", name, [=] {
      RequireConstant(static_cast<std::uint32_t>(mode), 1, "mode");
      Library::Get().AssignSubnet(RequireIndex(name));
   });
}

bool VNL_SetVnetSubnetAddr(const char* name, const char* address)
{
   return Attempt("set the subnet of", name, [=] {
      auto const index = RequireIndex(name);
      Library::Get().SetSubnetAddress(
         index,
         address ? std::optional(Parse(field::subnetAddress, GetText(address))) : std::nullopt);
   });
}

bool VNL_SetVnetSubnetMask(const char* name, const char* mask)
{
   return Attempt("set the mask of", name, [=] { SetMask(name, mask); });
}

bool VNL_SetVnetDisplayName(const char* name, const char* displayName)
{
   return Attempt("set the display name of", name, [=] {
      auto const text = displayName ? GetText(displayName) : std::string_view();
      Set(name, field::displayName, Parse(field::displayName, text));
   });
}

bool VNL_SetVnetMTU(const char* name, uint32_t mtu)
{
   return Attempt("set the MTU of", name,
                  [=] { Set(name, field::mtu, Parse(field::mtu, std::to_string(mtu))); });
}

bool VNL_RemoveMTU(const char* name)
{
   return Attempt("remove the MTU of", name, [=] { Set(name, field::mtu, std::nullopt); });
}

bool VNL_SetVnetUseAdapter(const char* name, bool use, int mode)
{
   return Attempt("set the adapter use of", name,
                  [=] { SetFlag(name, field::useAdapter, use, mode); });
}

bool VNL_SetVnetUseDHCP(const char* name, bool use, int mode)
{
   return Attempt("set the DHCP use of", name, [=] { SetFlag(name, field::useDhcp, use, mode); });
}

bool VNL_SetVnetUseNAT(const char* name, bool use, int mode)
{
   return Attempt("set the NAT use of", name, [=] { SetFlag(name, field::useNat, use, mode); });
}

bool VNL_DeleteVnetFromDatabase(const char* name)
{
   return Attempt("delete", name, [=] { Library::Get().DeleteNetwork(RequireIndex(name)); });
}
