// SPDX-License-Identifier: GPL-2.0-or-later
// A netlink socket.
#pragma once

#include "vnet/host/netlinkMessage.hh"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct nl_sock;
struct nlmsghdr;

namespace vnet::host {

// A request/answer socket of one netlink protocol, in the network namespace of the thread that
// made it. One thread at a time.
class NetlinkSocket {
public:
   using Handler = std::function<void(nlmsghdr const*)>;

   // Throws Error.
   explicit NetlinkSocket(int netlinkProtocol);

   // Sends and waits for the acknowledgement; other answers go to `handler`. Returns 0 or an errno
   // value.
   int Try(Request& request, Handler const& handler = {});
   // Throws Error(action, object, what the kernel said).
   void Run(Request& request, std::string const& action, std::string const& object,
            Handler const& handler = {});
   // What the kernel said when Try last failed: strerror's words, and its own if it added any.
   std::string const& GetCause() const { return cause; }

   // What `parse`, which returns an optional, makes of the messages of a dump. A dump that a change
   // interrupted starts again. Throws Error("list", object, cause).
   template <class Parse>
   auto Collect(Request& request, std::string const& object, Parse const& parse)
   {
      std::vector<typename decltype(parse(std::declval<nlmsghdr const*>()))::value_type> values;
      auto const add = [&](nlmsghdr const* message) {
         if (auto value = parse(message)) {
            values.push_back(std::move(*value));
         }
      };
      Dump(
         request, object, [&] { values.clear(); }, add);
      return values;
   }

private:
   struct Free {
      void operator()(nl_sock* freed) const;
   };
   using Handle = std::unique_ptr<nl_sock, Free>;

   int const protocol;
   Handle socket; // empty after a failure
   std::string cause;

   Handle Open() const;

   int Fail(int error, std::string const& kernelWords = {});
   void Dump(Request& request, std::string const& object, std::function<void()> const& restart,
             Handler const& handler);
};

// What links, addresses, routes and traffic control share.
class RouteSocket : public NetlinkSocket {
public:
   RouteSocket();
};

} // namespace vnet::host
