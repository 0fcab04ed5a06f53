// SPDX-License-Identifier: GPL-2.0-or-later
// One netlink message: in the making, and as it was received.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct nl_msg;
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

} // namespace vnet::host
