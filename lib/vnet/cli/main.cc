// SPDX-License-Identifier: GPL-2.0-or-later
// The virtual networks of this host, from the command line and at boot.
#include "base/privilege.h"
#include "vnet/cli/commandLine.hh"
#include "vnet/cli/program.hh"

#include <exception>
#include <iostream>

namespace {

int Tell(std::exception const& error, char const* advice, int status)
{
   std::cerr << "tavrin-vnets: " << error.what() << '\n' << advice;
   return status;
}

} // namespace

int main(int argc, char** argv)
{
   Privilege_CleanUp();
   Privilege_Drop();
   // argc is 0 if whoever started us gave no name.
   std::vector<std::string> const arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
   try {
      int const status =
         vnet::cli::Program(std::cout, std::cerr).Run(vnet::cli::ParseCommandLine(arguments));
      if (!std::cout.flush()) {
         throw std::runtime_error("write the output: It can't be written");
      }
      return status;
   } catch (vnet::cli::UsageError const& error) {
      return Tell(error, "Try \"tavrin-vnets --help\".\n", 2);
   } catch (std::exception const& error) {
      return Tell(error, "", 1);
   }
}
