// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/vnet/recorder.hh"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace test {

namespace {

std::string ShowByte(char byte)
{
   if (byte == '"' || byte == '\\') {
      return {'\\', byte};
   }
   if (byte == '\n') {
      return "\\n";
   }
   if (static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7f) {
      return {byte};
   }
   char text[8];
   std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned char>(byte));
   return text;
}

std::string Quote(std::string_view text)
{
   std::string quoted = "\"";
   for (char const byte : text) {
      quoted += ShowByte(byte);
   }
   return quoted + '"';
}

std::string ShowRef(VnetRef const& ref)
{
   return "{" + std::to_string(ref.version) + ", " + std::to_string(ref.kindVersion) + ", " +
          std::to_string(ref.vnet) + "}";
}

void WriteTrace(int fd, std::string const& line)
{
   if (fd >= 0 && write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
      std::perror("write the double's log");
   }
}

} // namespace

VnetState& GetVnetState()
{
   static VnetState state;
   return state;
}

std::string Show(char const* text)
{
   return text ? Quote(text) : "null";
}

std::string Show(Id id)
{
   char text[16];
   std::snprintf(text, sizeof text, "0x%x", id.value);
   return text;
}

std::string Show(Sized value)
{
   return (value.text ? Quote({value.text, value.size}) : "null") + ", " +
          std::to_string(value.size);
}

std::string Show(VnetRef const* ref)
{
   return ref ? ShowRef(*ref) : "null";
}

std::string Show(VNL_FeatureStruct const* features)
{
   return features ? "{" + std::to_string(features->version) + ", " + ShowRef(features->ref) + "}"
                   : "null";
}

std::string Show(VNL_HostAdapter const* adapter)
{
   return adapter ? "[" + Quote(adapter->name) + ", " + ShowRef(VnetRef(adapter->network)) + "]"
                  : "null";
}

std::string Show(VNL_HostAdapterList const* list)
{
   return list ? "list" : "null";
}

bool EnterCall(char const* function, std::initializer_list<std::string> arguments)
{
   std::string line = function;
   char const* separator = "(";
   for (std::string const& argument : arguments) {
      line += separator + argument;
      separator = ", ";
   }
   line += arguments.size() ? ")" : "()";

   VnetState& state = GetVnetState();
   bool const fails =
      state.failingFunctions.count(function) || state.failingCalls.count(state.log.size());
   state.log.push_back(line);
   WriteTrace(state.traceFd, line + "\n");
   if (state.stopAt == function) {
      std::raise(SIGSTOP);
   }
   return !fails;
}

std::optional<unsigned int> ParseVnetName(char const* name)
{
   std::string_view const text = name ? name : "";
   constexpr std::string_view prefix = "tvnet";
   unsigned int index = 0;
   if (text.substr(0, prefix.size()) != prefix) {
      return {};
   }
   auto const [end, error] =
      std::from_chars(text.data() + prefix.size(), text.data() + text.size(), index);
   bool const whole = error == std::errc() && end == text.data() + text.size();
   return whole && index < GetVnetState().database.numberOfVnets ? std::optional(index)
                                                                 : std::nullopt;
}

VnetNetwork* FindNetwork(char const* name)
{
   VnetState& state = GetVnetState();
   auto const index = ParseVnetName(name);
   if (!state.loaded || !index) {
      return nullptr;
   }
   auto const found = state.database.networks.find(*index);
   return found == state.database.networks.end() ? nullptr : &found->second;
}

VnetNetwork* MakeNetwork(char const* name)
{
   VnetState& state = GetVnetState();
   auto const index = ParseVnetName(name);
   return state.loaded && index ? &state.database.networks[*index] : nullptr;
}

bool CopyText(std::string const& text, char* buffer, std::uint32_t* length)
{
   if (text.size() >= *length) {
      return false;
   }
   std::memcpy(buffer, text.c_str(), text.size() + 1);
   *length = static_cast<std::uint32_t>(text.size());
   return true;
}

bool CopyValue(std::string const& value, char* buffer, std::uint32_t* length)
{
   if (value.size() > *length) {
      return false;
   }
   std::memcpy(buffer, value.data(), value.size());
   *length = static_cast<std::uint32_t>(value.size()) + GetVnetState().excessLength;
   return true;
}

} // namespace test
