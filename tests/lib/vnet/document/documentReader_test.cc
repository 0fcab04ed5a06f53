// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/document/document.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vnet::document {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

Texts GetComplaints(std::string const& text)
{
   return ReadText(text).complaints;
}

// One network 8 with this in it.
Texts GetNetworkComplaints(std::string const& members)
{
   return GetComplaints("{\"version\": 1, \"networks\": {\"tvnet8\":\n{" + members + "}}}");
}

TEST(DocumentReaderTest, LittleIsEnough)
{
   auto const reading = ReadText(R"({"version": 1, "networks": {}})");
   EXPECT_THAT(reading.complaints, IsEmpty());
   EXPECT_EQ(Settings(), reading.settings);
}

TEST(DocumentReaderTest, NullIsNoAutomaticNetwork)
{
   auto const reading = ReadText(R"({"version": 1, "automatic": null, "networks": {}})");
   EXPECT_THAT(reading.complaints, IsEmpty());
   EXPECT_FALSE(reading.settings.automatic);
}

TEST(DocumentReaderTest, ForwardsAreSorted)
{
   auto const reading = ReadText(R"({"version": 1, "networks": {"tvnet8": {"forwards": [
      {"protocol": "udp", "host-port": 5, "address": "10.0.0.1", "port": 1},
      {"protocol": "tcp", "host-port": 9, "address": "10.0.0.2", "port": 2},
      {"protocol": "tcp", "host-port": 5, "address": "10.0.0.3", "port": 3}]}}})");
   EXPECT_THAT(reading.complaints, IsEmpty());
   std::vector<std::uint16_t> ports;
   for (auto const& forward : reading.settings.networks.at(8).nat.forwards) {
      ports.push_back(forward.vmPort);
   }
   EXPECT_THAT(ports, ElementsAre(3, 2, 1));
}

TEST(DocumentReaderTest, AllThatIsWrongIsToldWithItsPlace)
{
   EXPECT_THAT(
      GetComplaints(R"({
  "version": 2,
  "automatic": "br0",
  "adapters": {"eth0": "tvnet256", "a/b": "tvnet1", "eth1": 3},
  "colour": "red",
  "networks": {
    "tvnet08": {},
    "tvnet8": {"mtu": 10, "nat": "yes", "subnet": "300.1.1.1", "speed": 3}
  }
})"),
      ElementsAre("line 2, column 14, version: 2 isn't 1, the only version that is known "
                  "here",
                  "line 3, column 16, automatic: \"br0\" isn't a network from tvnet0 to "
                  "tvnet255",
                  "line 4, column 24, adapters.eth0: \"tvnet256\" isn't a network from "
                  "tvnet0 to tvnet255",
                  "line 4, column 36, adapters.\"a/b\": This can't be the name of a device",
                  "line 4, column 61, adapters.eth1: 3 isn't a network from tvnet0 to "
                  "tvnet255",
                  "line 5, column 3, colour: There is no such key",
                  "line 7, column 5, networks.tvnet08: This isn't a network from tvnet0 "
                  "to tvnet255",
                  "line 8, column 23, networks.tvnet8.mtu: 10 isn't a number from 68 to "
                  "9194",
                  "line 8, column 34, networks.tvnet8.nat: \"yes\" isn't true or false",
                  "line 8, column 51, networks.tvnet8.subnet: \"300.1.1.1\" isn't an IPv4 "
                  "address of a subnet",
                  "line 8, column 64, networks.tvnet8.speed: There is no such key"));
}

TEST(DocumentReaderTest, ValuesOfAnotherKindAreRefused)
{
   for (auto const* member :
        {R"("mtu": "1400")", R"("mtu": 1400.0)", R"("mtu": 1.4e3)", R"("mtu": -1400)",
         R"("mtu": null)", R"("mtu": [1400])", R"("mtu": 99999999999999999999)", R"("nat": 1)",
         R"("nat": "true")", R"("name": 5)", R"("name": "a\nb")", R"("subnet": 5)",
         R"("forwards": {})", R"("forwards": null)", R"("forwards": [5])",
         R"("dhcp-range-begin": true)", R"("nat-ipv6-prefix": "fd00::")"}) {
      EXPECT_EQ(1u, GetNetworkComplaints(member).size()) << member;
   }
}

TEST(DocumentReaderTest, KeysThatStandTwiceAreRefused)
{
   EXPECT_THAT(GetNetworkComplaints(R"("mtu": 1400, "mtu": 1500)"),
               ElementsAre("line 2, column 15, networks.tvnet8.mtu: It stands above already"));
   EXPECT_THAT(GetComplaints(R"({"version": 1, "networks": {"tvnet8": {}, "tvnet8": {}}})"),
               ElementsAre("line 1, column 43, networks.tvnet8: It stands above already"));
   EXPECT_THAT(GetComplaints(R"({"version": 1, "version": 1, "networks": {}})"),
               ElementsAre("line 1, column 16, version: It stands above already"));
}

TEST(DocumentReaderTest, AForwardIsReadWhole)
{
   std::string const good =
      R"({"protocol": "tcp", "host-port": 80, "address": "10.0.0.5", "port": 81})";
   EXPECT_THAT(GetNetworkComplaints("\"forwards\": [" + good + "]"), IsEmpty());
   EXPECT_THAT(GetNetworkComplaints("\"forwards\": [" + good + ",\n" + good + "]"),
               ElementsAre("line 3, column 1, networks.tvnet8.forwards[1]: TCP port 80 is "
                           "forwarded above already"));
   EXPECT_THAT(GetNetworkComplaints(R"("forwards": [{"protocol": "tcp", "port": 0, "to": 1}])"),
               ElementsAre("line 2, column 43, networks.tvnet8.forwards[0].port: 0 isn't a number "
                           "from 1 to 65535",
                           "line 2, column 46, networks.tvnet8.forwards[0].to: There is no such "
                           "key",
                           "line 2, column 15, networks.tvnet8.forwards[0]: It has no "
                           "\"host-port\"",
                           "line 2, column 15, networks.tvnet8.forwards[0]: It has no "
                           "\"address\""));
   EXPECT_THAT(GetNetworkComplaints(R"("forwards": [{"protocol": "sctp", "host-port": 80,
"address": "0.0.0.0", "port": 81, "description": "a\u001bb"}])"),
               ElementsAre("line 2, column 28, networks.tvnet8.forwards[0].protocol: \"sctp\" "
                           "isn't \"tcp\" or \"udp\"",
                           "line 3, column 12, networks.tvnet8.forwards[0].address: \"0.0.0.0\" "
                           "isn't an IPv4 address of a host",
                           "line 3, column 50, networks.tvnet8.forwards[0].description: "
                           "\"a\\x1bb\" isn't UTF-8 of at most 128 bytes without control "
                           "characters"));
}

TEST(DocumentReaderTest, WhatHasToBeThereIsMissed)
{
   EXPECT_THAT(GetComplaints("{}"), ElementsAre("line 1, column 1: It has no \"version\"",
                                                "line 1, column 1: It has no \"networks\""));
   EXPECT_THAT(GetComplaints("[]"), ElementsAre("line 1, column 1: a list isn't an object"));
   EXPECT_THAT(GetComplaints(R"({"version": 1, "networks": []})"),
               ElementsAre("line 1, column 28, networks: a list isn't an object"));
}

TEST(DocumentReaderTest, WhatIsNoJsonOrTooLargeIsRefused)
{
   EXPECT_THAT(GetComplaints("{"), ElementsAre(testing::StartsWith("line 1, column 1: ")));
   EXPECT_THAT(GetComplaints(std::string(maxBytes + 1, ' ')),
               ElementsAre("It is larger than 8388608 bytes"));
}

} // namespace

} // namespace vnet::document
