// SPDX-License-Identifier: GPL-2.0-or-later
// Messages that a hostile or future kernel might send.
#include "vnet/host/decode.hh"
#include "vnet/host/netlink.hh"

#include <cstring>
#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <random>
#include <vector>

namespace vnet::host {

namespace {

// A message of exactly its length on the heap, so that a read beyond it is seen.
std::vector<char> MakeMessage(int type, std::vector<char> const& payload)
{
   std::vector<char> bytes(NLMSG_HDRLEN + payload.size());
   nlmsghdr header{};
   header.nlmsg_len = static_cast<__u32>(bytes.size());
   header.nlmsg_type = static_cast<__u16>(type);
   std::memcpy(bytes.data(), &header, sizeof header);
   std::copy(payload.begin(), payload.end(), bytes.begin() + NLMSG_HDRLEN);
   return bytes;
}

nlmsghdr const* AsMessage(std::vector<char> const& bytes)
{
   return reinterpret_cast<nlmsghdr const*>(bytes.data());
}

void DecodeAll(std::vector<char> const& bytes)
{
   DecodeLink(AsMessage(bytes));
   DecodeAddress(AsMessage(bytes));
   DecodeRoute(AsMessage(bytes));
}

TEST(NetlinkTest, EmptyMessagesSayNothing)
{
   auto const bytes = MakeMessage(RTM_NEWLINK, {});
   EXPECT_FALSE(DecodeLink(AsMessage(bytes)));
   EXPECT_FALSE(DecodeAddress(AsMessage(bytes)));
   EXPECT_FALSE(DecodeRoute(AsMessage(bytes)));
   EXPECT_TRUE(Attributes(AsMessage(bytes), sizeof(ifinfomsg)).GetAll().empty());
}

TEST(NetlinkTest, AMessageCutAtAnyByteIsReadNoFurther)
{
   ifinfomsg header{};
   header.ifi_index = 7;
   std::vector<char> payload(sizeof header);
   std::memcpy(payload.data(), &header, sizeof header);
   std::vector<char> const name{8, 0, IFLA_IFNAME, 0, 'e', 't', 'h', '0'};
   payload.insert(payload.end(), name.begin(), name.end());
   auto const whole = DecodeLink(AsMessage(MakeMessage(RTM_NEWLINK, payload)));
   ASSERT_TRUE(whole);
   EXPECT_EQ("eth0", whole->name); // not ended by a zero byte, and not read beyond
   for (std::size_t length = 0; length < payload.size(); ++length) {
      DecodeAll(MakeMessage(RTM_NEWLINK, {payload.begin(), payload.begin() + long(length)}));
   }
}

TEST(NetlinkTest, RandomMessagesAreReadWithinTheirBounds)
{
   std::mt19937 random(1);
   for (int i = 0; i < 20000; ++i) {
      std::vector<char> payload(random() % 200);
      for (auto& byte : payload) {
         // Small numbers make lengths and types that occur.
         byte = static_cast<char>(random() % 4 ? random() % 24 : random());
      }
      if (!payload.empty()) {
         payload[0] = static_cast<char>(random() % 2 ? AF_INET : AF_INET6);
      }
      DecodeAll(MakeMessage(RTM_NEWROUTE, payload));
   }
}

TEST(NetlinkTest, NumbersOfAnotherSizeReadAsZero)
{
   std::vector<char> const attribute{6, 0, 5, 0, 1, 2, 0, 0};
   Attributes const attributes(attribute.data(), attribute.size());
   EXPECT_TRUE(attributes.Has(5));
   EXPECT_EQ(0x0201u, attributes.GetU16(5));
   EXPECT_EQ(0u, attributes.GetU32(5));
   EXPECT_EQ(0u, attributes.GetU32(6));
   EXPECT_EQ("", attributes.GetString(6));
}

TEST(NetlinkTest, ARequestHoldsWhatWasPut)
{
   Request request(RTM_NEWLINK, 0);
   request.Append(ifinfomsg{});
   request.PutString(IFLA_IFNAME, "tvnet8").Nest(IFLA_LINKINFO, [&] {
      request.PutString(IFLA_INFO_KIND, "bridge");
   });
   Link const link = DecodeLink(request.GetMessage()).value();
   EXPECT_EQ("tvnet8", link.name);
   EXPECT_EQ("bridge", link.kind);
}

} // namespace

} // namespace vnet::host
