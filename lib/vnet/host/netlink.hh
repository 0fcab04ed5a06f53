// SPDX-License-Identifier: GPL-2.0-or-later
// Netlink: one message in the making, and one socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct nl_msg;
struct nl_sock;
struct nlattr;
struct nlmsghdr;

namespace vnet::host {

// A request to the kernel. Attributes stand in the order of the calls.
class Request {
public:
   // `flags` are NLM_F_ flags beside NLM_F_REQUEST.
   Request(int type, int flags);

   // The fixed header of this type of message; first of all.
   template <class Header>
   Request& Append(Header const& header)
   {
      return AppendBytes(&header, sizeof header);
   }
   Request& Put(int attribute, void const* data, std::size_t length);
   Request& PutU8(int attribute, std::uint8_t value) { return Put(attribute, &value, 1); }
   Request& PutU16(int attribute, std::uint16_t value) { return Put(attribute, &value, 2); }
   Request& PutU32(int attribute, std::uint32_t value) { return Put(attribute, &value, 4); }
   // Ends in a zero byte, as names do.
   Request& PutString(int attribute, std::string const& text);
   // An attribute that holds what `fill` puts.
   Request& Nest(int attribute, std::function<void()> const& fill);
   // Raw bytes within a nest: the fixed header with which some begin.
   Request& AppendBytes(void const* data, std::size_t length);

   nl_msg* Get() { return message.get(); }
   // The message as it would go out.
   nlmsghdr const* GetMessage() const;

private:
   struct Free {
      void operator()(nl_msg* freed) const;
   };
   std::unique_ptr<nl_msg, Free> message;
};

// The attributes of a received message or of a nested attribute. They point into it.
class Attributes {
public:
   // Those after the message's fixed header; none if the message is too short.
   Attributes(nlmsghdr const* message, std::size_t headerLength);
   // Those inside a nest; none if it is null.
   explicit Attributes(nlattr const* nest);
   // Those of a run of bytes, as some nests hold it after a fixed header.
   Attributes(void const* data, std::size_t length);

   // Null if absent. Of several with one number, the last.
   nlattr const* Find(int attribute) const;
   bool Has(int attribute) const { return Find(attribute); }
   // Absent or too short ones read as 0 or as empty.
   std::uint8_t GetU8(int attribute) const;
   std::uint16_t GetU16(int attribute) const;
   std::uint32_t GetU32(int attribute) const;
   std::string GetString(int attribute) const;
   // Number and bytes of each, in order.
   std::vector<nlattr const*> const& GetAll() const { return all; }

private:
   std::vector<nlattr const*> all;
};

// The bytes of one attribute.
void const* GetData(nlattr const* attribute);
std::size_t GetLength(nlattr const* attribute);

// A message's fixed header, or null if the message is too short for it.
void const* GetHeader(nlmsghdr const* message, std::size_t length);
template <class Header>
Header const* GetHeader(nlmsghdr const* message)
{
   return static_cast<Header const*>(GetHeader(message, sizeof(Header)));
}

// A request/answer socket of one netlink protocol, in the network namespace of the thread that
// made it. One thread at a time.
class NetlinkSocket {
public:
   using Handler = std::function<void(nlmsghdr const*)>;

   // Throws Error.
   explicit NetlinkSocket(int protocol);

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
   std::unique_ptr<nl_sock, Free> socket;
   std::string cause;

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
