// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/netlinkMessage.hh"

#include <cstring>
#include <linux/netlink.h>
#include <netlink/attr.h>
#include <netlink/msg.h>
#include <new>

namespace vnet::host {

Request::Request(int type, int flags) : message(nlmsg_alloc_simple(type, flags | NLM_F_REQUEST))
{
   if (!message) {
      throw std::bad_alloc();
   }
}

void Request::Free::operator()(nl_msg* freed) const
{
   nlmsg_free(freed);
}

nlmsghdr const* Request::GetMessage() const
{
   return nlmsg_hdr(message.get());
}

Request& Request::AppendBytes(void const* data, std::size_t length)
{
   if (nlmsg_append(message.get(), const_cast<void*>(data), length, NLMSG_ALIGNTO) < 0) {
      throw std::bad_alloc();
   }
   return *this;
}

Request& Request::Put(int attribute, void const* data, std::size_t length)
{
   if (nla_put(message.get(), attribute, static_cast<int>(length), data) < 0) {
      throw std::bad_alloc();
   }
   return *this;
}

Request& Request::PutString(int attribute, std::string const& text)
{
   return Put(attribute, text.c_str(), text.size() + 1);
}

Request& Request::Nest(int attribute, std::function<void()> const& fill)
{
   nlattr* const nest = nla_nest_start(message.get(), attribute);
   if (!nest) {
      throw std::bad_alloc();
   }
   fill();
   nla_nest_end(message.get(), nest);
   return *this;
}

Attributes::Attributes(nlmsghdr const* message, std::size_t headerLength)
   : Attributes(static_cast<void const*>(nullptr), 0)
{
   auto const offset = NLMSG_HDRLEN + NLMSG_ALIGN(headerLength);
   if (message->nlmsg_len > offset) {
      *this =
         Attributes(reinterpret_cast<char const*>(message) + offset, message->nlmsg_len - offset);
   }
}

Attributes::Attributes(nlattr const* nest)
   : Attributes(nest ? GetData(nest) : nullptr, nest ? static_cast<std::size_t>(nla_len(nest)) : 0)
{}

Attributes::Attributes(void const* data, std::size_t length)
{
   auto const* next = static_cast<nlattr const*>(data);
   int left = static_cast<int>(length);
   while (next && nla_ok(next, left)) {
      all.push_back(next);
      next = nla_next(next, &left);
   }
}

nlattr const* Attributes::Find(int attribute) const
{
   for (auto found = all.rbegin(); found != all.rend(); ++found) {
      if (nla_type(*found) == attribute) {
         return *found;
      }
   }
   return nullptr;
}

namespace {

template <class Value>
Value GetValue(nlattr const* attribute)
{
   Value value = 0;
   if (attribute && GetLength(attribute) >= sizeof value) {
      std::memcpy(&value, GetData(attribute), sizeof value);
   }
   return value;
}

} // namespace

std::uint8_t Attributes::GetU8(int attribute) const
{
   return GetValue<std::uint8_t>(Find(attribute));
}

std::uint16_t Attributes::GetU16(int attribute) const
{
   return GetValue<std::uint16_t>(Find(attribute));
}

std::uint32_t Attributes::GetU32(int attribute) const
{
   return GetValue<std::uint32_t>(Find(attribute));
}

std::string Attributes::GetString(int attribute) const
{
   auto const* found = Find(attribute);
   if (!found) {
      return {};
   }
   auto const* text = static_cast<char const*>(GetData(found));
   return {text, strnlen(text, GetLength(found))};
}

void const* GetData(nlattr const* attribute)
{
   return nla_data(attribute);
}

std::size_t GetLength(nlattr const* attribute)
{
   return static_cast<std::size_t>(nla_len(attribute));
}

void const* GetHeader(nlmsghdr const* message, std::size_t length)
{
   return message->nlmsg_len >= NLMSG_HDRLEN + length ? nlmsg_data(message) : nullptr;
}

} // namespace vnet::host
