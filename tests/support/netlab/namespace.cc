// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/namespace.hh"

#include "support/netlab/lab.hh"
#include "support/testProcess.hh"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <net/if.h>
#include <sched.h>
#include <sstream>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netlab {

namespace {

constexpr auto ownNamespace = "/proc/thread-self/ns/net";

void Check(bool works, std::string const& action)
{
   if (!works) {
      throw std::runtime_error(action + ": " + std::strerror(errno));
   }
}

base::FileDescriptor OpenCurrent()
{
   base::FileDescriptor current(open(ownNamespace, O_RDONLY | O_CLOEXEC));
   Check(current.IsOpen(), std::string("open ") + ownNamespace);
   return current;
}

base::FileDescriptor MakeNew()
{
   std::packaged_task<base::FileDescriptor()> task([] {
      Check(unshare(CLONE_NEWNET) == 0, "make a network namespace");
      return OpenCurrent();
   });
   auto made = task.get_future();
   std::thread(std::ref(task)).join();
   return made.get();
}

std::vector<std::string> SplitWords(std::string const& text)
{
   std::istringstream stream(text);
   return {std::istream_iterator<std::string>(stream), {}};
}

ifreq Ask(std::string const& device, unsigned long what)
{
   base::FileDescriptor const socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
   ifreq request{};
   device.copy(request.ifr_name, IFNAMSIZ - 1);
   Check(ioctl(socket.Get(), what, &request) == 0, "look at " + device);
   return request;
}

} // namespace

Namespace::Namespace()
{
   if (GetProblem().empty()) {
      descriptor = MakeNew();
      Prepare();
   }
}

Namespace::Namespace(base::FileDescriptor ofNamespace) : descriptor(std::move(ofNamespace))
{
   Prepare();
}

Namespace Namespace::TakeCurrent()
{
   return Namespace(OpenCurrent());
}

void Namespace::Prepare() const
{
   Run([] {
      base::FileDescriptor const socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
      ifreq request{};
      std::strcpy(request.ifr_name, "lo");
      request.ifr_flags = IFF_UP;
      Check(ioctl(socket.Get(), SIOCSIFFLAGS, &request) == 0, "set up lo");
      // Absent where there is no IPv6.
      std::ofstream("/proc/sys/net/ipv6/conf/default/accept_dad") << 0;
      std::ofstream("/proc/sys/net/ipv6/conf/all/accept_dad") << 0;
   });
}

void Namespace::Enter() const
{
   if (setns(descriptor.Get(), CLONE_NEWNET) < 0) {
      std::perror("enter a network namespace");
      std::abort();
   }
}

std::string Namespace::Command(std::string const& command) const
{
   return Command(SplitWords(command));
}

std::string Namespace::Command(std::vector<std::string> const& arguments) const
{
   return Run([&] {
      test::TestProcess process(arguments);
      auto const status = process.Wait();
      if (!test::ExitedWith(status, 0)) {
         std::string line;
         for (auto const& argument : arguments) {
            line += argument + " ";
         }
         throw std::runtime_error(line + "failed: " + process.GetOutput());
      }
      return process.GetOutput();
   });
}

std::string Namespace::GetPath() const
{
   return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor.Get());
}

vnet::host::MacAddress Namespace::GetMac(std::string const& device) const
{
   auto const answer = Run([&] { return Ask(device, SIOCGIFHWADDR); });
   vnet::host::MacAddress mac;
   std::memcpy(mac.bytes.data(), answer.ifr_hwaddr.sa_data, mac.bytes.size());
   return mac;
}

void Namespace::AddAddress(std::string const& device, std::string const& addressAndLength) const
{
   Command("ip addr add " + addressAndLength + " dev " + device);
   Command("ip link set " + device + " up");
}

void Connect(Namespace const& one, std::string const& device, Namespace const& other,
             std::string const& otherDevice)
{
   one.Command("ip link add " + device + " type veth peer name " + otherDevice + " netns " +
               other.GetPath());
   one.Command("ip link set " + device + " up");
   other.Command("ip link set " + otherDevice + " up");
}

Lan::Lan()
{
   place.Command("ip link add switch type bridge stp_state 0 mcast_snooping 0");
   place.Command("ip link set switch up");
}

std::string Lan::Plug(Namespace const& host, std::string const& device)
{
   auto const port = "port" + std::to_string(++ports);
   Connect(place, port, host, device);
   place.Command("ip link set " + port + " master switch");
   return port;
}

} // namespace netlab
