// SPDX-License-Identifier: GPL-2.0-or-later
// The server's loop on whatever a client sends, down to a real database and to the plans of every
// network, on a host on which nothing happens.
//
// Input: what the client writes on the request pipe, then its end. Each message ends with a NUL.
#include "fuzz/planningHost.hh"
#include "fuzz/processDouble.hh"
#include "fuzz/require.hh"
#include "fuzz/target.hh"
#include "fuzz/textForms.hh"
#include "lib/vnet/database/tempPlace.hh"
#include "support/privateEtc.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/serverMain.hh"
#include "vnet/interface/library.hh"

#include <algorithm>
#include <array>
#include <boost/property_tree/exceptions.hpp>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <unistd.h>

using fuzz::Require;

namespace {

constexpr char netmapPath[] = "/etc/tavrin/netmap.conf";
constexpr std::size_t pipeSize = 65536;

// Reads what the server writes, so that it never has to wait.
class Replies {
public:
   explicit Replies(test::Pipe& pipe)
      : fd(pipe.GetReadEnd()), thread([this] {
           std::array<char, pipeSize> chunk;
           for (ssize_t count; (count = read(fd, chunk.data(), chunk.size())) > 0;) {
              bytes.append(chunk.data(), static_cast<std::size_t>(count));
           }
        })
   {}

   // Waits until nobody can write any more.
   std::string const& Join()
   {
      thread.join();
      return bytes;
   }

private:
   int fd;
   std::string bytes;
   std::jthread thread;
};

// The end that a bad snapshot or an unknown verb brings is as good as a reply.
void Serve(test::Pipe const& request, test::Pipe const& reply)
{
   std::array<std::string, 4> texts{"tavrin-netcfg", std::to_string(request.GetReadEnd()),
                                    std::to_string(reply.GetWriteEnd()), std::to_string(getpid())};
   std::array<char*, 5> argv{texts[0].data(), texts[1].data(), texts[2].data(), texts[3].data()};
   try {
      Require(netcfg::server_main(4, argv.data()) == 0, "the server ends with status 0");
   } catch (boost::property_tree::ptree_error const&) {
   } catch (std::out_of_range const&) {
   } catch (fuzz::Panicked const&) {
   }
}

std::string Exchange(std::string_view messages)
{
   test::Pipe request;
   test::Pipe reply;
   bool const sent = write(request.GetWriteEnd(), messages.data(), messages.size()) ==
                     static_cast<ssize_t>(messages.size());
   Require(sent, "the pipe takes the messages");
   request.CloseWriteEnd();
   Replies replies(reply);
   Serve(request, reply);
   reply.CloseWriteEnd();
   return replies.Join();
}

bool IsSnapshot(std::string const& text)
{
   return text.starts_with("{\"MaxNetworks\":\"") && text.ends_with("}\n") &&
          std::ranges::all_of(text.substr(0, text.size() - 1), [](char byte) {
             auto const code = static_cast<unsigned char>(byte);
             return code >= 0x20 && code < 0x80;
          });
}

void CheckReplies(std::string const& bytes)
{
   std::string const greeting = "Hello World!";
   Require(bytes.starts_with(greeting + '\0') && bytes.ends_with('\0'), "whole messages come");
   std::size_t begin = greeting.size() + 1;
   for (std::size_t end; (end = bytes.find('\0', begin)) != std::string::npos; begin = end + 1) {
      std::string const reply = bytes.substr(begin, end - begin);
      Require(reply == "Success" || reply.starts_with("Fail\n") || IsSnapshot(reply),
              "a reply is one of three");
   }
}

// "network8.name = "NAT"" and "network8.device = "tvnet8"".
bool IsNetmapLine(std::string const& line)
{
   auto const dot = line.find('.');
   if (!line.starts_with("network") || dot == std::string::npos) {
      return line.starts_with('#');
   }
   std::string const number = line.substr(7, dot - 7);
   std::string const rest = line.substr(dot);
   bool const name = rest == ".name = \"TVNet" + number + "\"" || rest == ".name = \"Bridged\"" ||
                     rest == ".name = \"HostOnly\"" || rest == ".name = \"NAT\"";
   return fuzz::ReadNumber(number) && (name || rest == ".device = \"tvnet" + number + "\"");
}

void CheckNetmap()
{
   std::ifstream file(netmapPath);
   for (std::string line; std::getline(file, line);) {
      Require(IsNetmapLine(line), "netmap.conf has its lines alone: " + line);
   }
}

void CheckDatabase(test::TempPlace const& place)
{
   vnet::Database const database(place.Get());
   fuzz::CheckPlans(database.GetSettings());
}

} // namespace

int LLVMFuzzerInitialize(int*, char***)
{
   if (!test::HavePrivateEtc()) {
      std::fprintf(stderr, "skipped: %s\n", test::GetPrivateEtcProblem().c_str());
      std::exit(77);
   }
   return 0;
}

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   static test::TempPlace const place;
   if (size > pipeSize) {
      return 0;
   }
   place.Write(test::richText);
   std::filesystem::remove(netmapPath);
   vnet::Library::Replace(
      std::make_unique<vnet::Library>(place.Get(), std::make_unique<fuzz::PlanningHost>()));
   CheckReplies(Exchange(fuzz::ToText(data, size)));
   vnet::Library::Replace(nullptr);
   CheckDatabase(place);
   CheckNetmap();
   return 0;
}
