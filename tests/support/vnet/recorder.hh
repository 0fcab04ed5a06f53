// SPDX-License-Identifier: GPL-2.0-or-later
// What the double's functions share: the state, and the recording of a call.
#pragma once

#include "support/vnet/vnetDatabase.hh"
#include "vnet/vnetlib.h"

#include <concepts>
#include <cstddef>
#include <initializer_list>

namespace test {

struct VnetState {
   VnetDatabase database = VnetDatabase::MakeDefault();
   bool loaded = false;
   std::set<std::string> failingFunctions;
   std::set<std::size_t> failingCalls;
   std::string stopAt;
   std::uint32_t excessLength = 0;
   int openLists = 0;
   std::vector<std::string> log;
   int traceFd = -1;
};

VnetState& GetVnetState();

// An id, to be shown in hexadecimal.
struct Id {
   std::uint32_t value;
};

// A text of a given size, to be shown with it.
struct Sized {
   char const* text;
   std::uint32_t size;
};

// Arguments as a line shows them.
std::string Show(char const* text);
std::string Show(Id id);
std::string Show(Sized value);
std::string Show(VnetRef const* ref);
std::string Show(VNL_FeatureStruct const* features);
std::string Show(VNL_HostAdapter const* adapter);
std::string Show(VNL_HostAdapterList const* list);
std::string Show(std::same_as<bool> auto value)
{
   return value ? "true" : "false";
}
std::string Show(std::integral auto value) requires(!std::same_as<decltype(value), bool>)
{
   return std::to_string(value);
}

// Records the line; stops the process if it is told to. False if the call is to fail.
bool EnterCall(char const* function, std::initializer_list<std::string> arguments);

template <typename... Arguments>
bool Enter(char const* function, Arguments... arguments)
{
   return EnterCall(function, {Show(arguments)...});
}

// The index of "tvnet0" to the last one; empty for any other name.
std::optional<unsigned int> ParseVnetName(char const* name);
// The loaded network; null if it isn't there.
VnetNetwork* FindNetwork(char const* name);
// The loaded network, made if it isn't there; null if nothing is loaded or it can't be named so.
VnetNetwork* MakeNetwork(char const* name);
// Copies the text with its NUL. *length is the buffer's size, then the text's length.
bool CopyText(std::string const& text, char* buffer, std::uint32_t* length);
// Copies the bytes without a NUL. *length is the buffer's size, then the value's.
bool CopyValue(std::string const& value, char* buffer, std::uint32_t* length);

} // namespace test
