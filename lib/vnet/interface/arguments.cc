// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/interface/arguments.hh"

#include "vnet/values/settings.hh"

#include <cstring>
#include <stdexcept>

namespace vnet {

namespace {

constexpr std::size_t maxText = 4096;

} // namespace

unsigned int RequireIndex(char const* name)
{
   auto const index = name ? ParseNetworkName(GetText(name)) : std::nullopt;
   if (!index) {
      throw std::runtime_error("It is not a network's name");
   }
   return *index;
}

std::optional<unsigned int> RequireReference(VnetRef const* reference)
{
   Require(reference, "reference to a network");
   RequireConstant(reference->version, VNL_RECORD_VERSION, "version of a record");
   RequireConstant(reference->kindVersion, VNL_RECORD_VERSION, "version of a record");
   if (reference->vnet == VNL_NO_VNET) {
      return {};
   }
   if (reference->vnet < 0 || reference->vnet >= static_cast<std::int32_t>(maxNetworks)) {
      throw std::runtime_error(std::to_string(reference->vnet) + " is not a network's index");
   }
   return reference->vnet;
}

void Require(void const* pointer, char const* what)
{
   if (!pointer) {
      throw std::runtime_error(std::string("There is no ") + what);
   }
}

void RequireConstant(std::uint32_t given, std::uint32_t known, char const* what)
{
   if (given != known) {
      throw std::runtime_error(std::string("The ") + what + " is " + std::to_string(given) +
                               ", not " + std::to_string(known));
   }
}

std::string_view GetText(char const* text)
{
   return {text, strnlen(text, maxText)};
}

std::string_view RequireText(char const* text, std::uint32_t size)
{
   if (size > VNL_VALUE_SIZE) {
      throw std::runtime_error("The value has more than " + std::to_string(VNL_VALUE_SIZE) +
                               " bytes");
   }
   if (!text && size > 0) {
      throw std::runtime_error("There is no value");
   }
   return {text ? text : "", size};
}

void CheckRoom(std::string_view text, bool withNul, char* buffer, std::uint32_t const* length)
{
   Require(buffer, "buffer");
   Require(length, "length");
   if (text.size() + (withNul ? 1 : 0) > *length) {
      throw std::runtime_error("The buffer of " + std::to_string(*length) + " bytes is too small");
   }
}

void CopyOut(std::string_view text, bool withNul, char* buffer, std::uint32_t* length)
{
   CheckRoom(text, withNul, buffer, length);
   std::memcpy(buffer, text.data(), text.size());
   if (withNul) {
      buffer[text.size()] = '\0';
   }
   *length = static_cast<std::uint32_t>(text.size());
}

} // namespace vnet
