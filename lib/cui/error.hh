// SPDX-License-Identifier: GPL-2.0-or-later
// The error value, passed by value through slots and out-parameters.
#pragma once

#include "utf/string.hh"

#include <exception>
#include <string>
#include <vector>

namespace cui {

class Error : public std::exception {
public:
   Error() = default;
   // message is what the user sees.
   explicit Error(utf::string const& message);
   Error(utf::string const& message, std::string const& detail,
         std::vector<utf::string> const& arguments);
   Error(Error const&) = default;
   Error& operator=(Error const&) = default;
   ~Error() override = default;

   // The message as UTF-8, valid as long as this error.
   char const* what() const noexcept override { return message.c_str(); }

   std::string const& GetDetail() const { return detail; }
   std::vector<utf::string> const& GetArguments() const { return arguments; }

private:
   utf::string message;
   std::string detail;
   std::vector<utf::string> arguments;
};

// A null WeakPtr was followed.
class NullPointerError : public Error {
public:
   NullPointerError();
};

// Throws a copy of error: the program's one way to throw.
template <typename T>
[[noreturn]] void Throw(T const& error)
{
   throw T(error);
}

} // namespace cui
