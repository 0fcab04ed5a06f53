// SPDX-License-Identifier: GPL-2.0-or-later
// The virtual networks of this host, from the command line and at boot.
#include "base/privilege.h"
#include "vnet/cli/commandLine.hh"
#include "vnet/cli/documentFile.hh"
#include "vnet/cli/program.hh"

#include <exception>
#include <iostream>
#include <unistd.h>

namespace {

using vnet::cli::Output;

int Run(std::vector<std::string> const& arguments, Output& output)
{
   auto const line = vnet::cli::ParseCommandLine(arguments);
   output.json = line.json;
   // What the caller names is what the caller can read, and in the caller's folder.
   auto document = line.file.empty() ? base::FileDescriptor() : vnet::cli::OpenDocument(line.file);
   Privilege_Drop();
   int const status = vnet::cli::Program(output, std::move(document)).Run(line);
   if (!std::cout.flush()) {
      throw std::runtime_error("write the output: It can't be written");
   }
   return status;
}

} // namespace

int main(int argc, char** argv)
{
   vnet::cli::Paint const paint(vnet::cli::WantsColours(STDOUT_FILENO));
   Privilege_CleanUp();
   // argc is 0 if whoever started us gave no name.
   std::vector<std::string> const arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
   Output output(std::cout, std::cerr, paint);
   try {
      return Run(arguments, output);
   } catch (vnet::cli::UsageError const& error) {
      output.Complain(error.what());
      std::cerr << "Try \"tavrin-vnets --help\".\n";
      return vnet::cli::status::usage;
   } catch (std::exception const& error) {
      output.Complain(error.what());
      output.TellEnd(false);
      return vnet::cli::status::failure;
   }
}
