// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/resolver.hh"

#include "support/netlab/udp.hh"
#include "vnet/process/serviceUser.hh"
#include "vnet/values/address.hh"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <sstream>

namespace netlab {

namespace {

// RFC 1035, 4.1: a question for an address.
std::string MakeQuestion(std::string const& name)
{
   std::string question("\x12\x34\x01\x00\x00\x01\x00\x00\x00\x00\x00\x00", 12);
   std::istringstream labels(name);
   for (std::string label; std::getline(labels, label, '.');) {
      question += static_cast<char>(label.size()) + label;
   }
   return question + std::string("\x00\x00\x01\x00\x01", 5);
}

// A server that reads its configuration again forgets the questions that it passed on, so they are
// asked anew, as guests do.
std::optional<std::string> Ask(Namespace const& place, std::string const& resolver,
                               std::string const& name, test::Milliseconds deadline)
{
   constexpr test::Milliseconds once{1000};
   auto const question = MakeQuestion(name);
   for (auto left = deadline; left.count() > 0; left -= once) {
      if (auto answer = AskUdp(place, {resolver, 53}, question, std::min(left, once))) {
         return answer;
      }
   }
   return {};
}

} // namespace

Resolver::Resolver(Namespace const& place, std::string const& address, std::string const& known)
   : pidFile("/run/resolver-" + address + ".pid")
{
   auto const service = vnet::process::FindServiceUser();
   place.Command(std::vector<std::string>{
      "dnsmasq", "--conf-file=/dev/null", "--pid-file=" + pidFile, "--listen-address=" + address,
      "--bind-interfaces", "--no-resolv", "--no-hosts", "--address=/outside.test/" + known,
      "--user=" + service.user, "--group=" + service.group});
}

Resolver::~Resolver()
{
   int pid = 0;
   if (!pidFile.empty() && std::ifstream(pidFile) >> pid) {
      kill(pid, SIGKILL);
   }
}

std::optional<std::string> Resolve(Namespace const& place, std::string const& resolver,
                                   std::string const& name, test::Milliseconds deadline)
{
   auto const answer = Ask(place, resolver, name, deadline);
   // One answer, whose record ends in the address.
   if (!answer || answer->size() < 16 || (*answer)[7] != 1) {
      return {};
   }
   std::uint32_t value = 0;
   for (auto byte = answer->end() - 4; byte != answer->end(); ++byte) {
      value = value << 8 | static_cast<unsigned char>(*byte);
   }
   return vnet::Address{value}.ToString();
}

} // namespace netlab
