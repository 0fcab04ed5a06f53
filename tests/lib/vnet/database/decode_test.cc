// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/decode.hh"

#include "lib/vnet/database/tempPlace.hh"
#include "vnet/database/groups.hh"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace vnet;

namespace {

Decoded Read(std::string const& text)
{
   return Decode(KeyFile::Parse(text));
}

Decoded ReadWith(std::string const& rest)
{
   return Read("[general]\nversion=1\n" + rest);
}

NetworkSettings GetRich8()
{
   NetworkSettings network;
   network.displayName = " NAT ";
   network.subnetAddress = Address::Parse("10.1.2.0");
   network.subnetMask = Address::Parse("255.255.255.0");
   network.mtu = 1400;
   network.useAdapter = network.useDhcp = network.useNat = true;
   auto const gateway = Address::Parse("10.1.2.2");
   network.nat = {gateway, 33445, false, false, 60, true, Prefix6::Parse("fd00:1:2::/64"), {}};
   network.nat.forwards = {
      {true, 8080, Address::Parse("10.1.2.10").value(), 80, "web \\ \"intern\""},
      {false, 53, Address::Parse("10.1.2.11").value(), 5353, ""}};
   network.dhcp = {Address::Parse("10.1.2.100"),
                   Address::Parse("10.1.2.200"),
                   600,
                   1200,
                   gateway,
                   gateway,
                   gateway};
   return network;
}

TEST(DecodeTest, EveryKeyIsRead)
{
   auto const decoded = Read(test::richText);

   EXPECT_EQ(GetRich8(), decoded.settings.networks.at(8));
   EXPECT_EQ("Büro", decoded.settings.networks.at(1).displayName);
   EXPECT_EQ(0u, decoded.settings.automatic);
   EXPECT_EQ((std::map<std::string, unsigned int>{{"eth0", 0}, {"eth[1]", 2}}),
             decoded.settings.adapters);
   EXPECT_TRUE(decoded.complaints.empty());
   EXPECT_EQ((std::vector<std::string>{"[general] \"owner\"", "[tvnet8] \"colour\"",
                                       "group \"extension\""}),
             decoded.unknown);
}

TEST(DecodeTest, WhatIsNotThereStandsAtItsDefault)
{
   auto const decoded = ReadWith("[tvnet3]\n");

   EXPECT_EQ(NetworkSettings(), decoded.settings.networks.at(3));
   EXPECT_FALSE(decoded.settings.automatic);
   EXPECT_TRUE(decoded.settings.adapters.empty());
}

TEST(DecodeTest, AMissingBadOrNewerVersionIsRefused)
{
   EXPECT_NO_THROW(Read("[general]\nversion=1\n"));
   for (auto const text :
        {"", "[general]\n", "[other]\nversion=1\n", "[general]\nversion=2\n",
         "[general]\nversion=0\n", "[general]\nversion=-1\n", "[general]\nversion=1.0\n",
         "[general]\nversion=one\n", "[general]\nversion=\n", "[general]\nversion=01\n",
         "[general]\nversion=99999999999999999999\n", "[tvnet1]\nsubnet=1.2.3.0\n"}) {
      EXPECT_THROW(Read(text), std::runtime_error) << text;
   }
}

TEST(DecodeTest, ABadValueCountsAsNeverSetAndIsNamed)
{
   struct {
      char const* line;
      char const* complaint;
   } const cases[] = {
      {"name=a\\nb", "name: \"a\\x5cnb\" isn't UTF-8 of at most 127 bytes without control "
                     "characters"},
      {"name=a\\q", "name: \"a\\x5cq\" isn't UTF-8 of at most 127 bytes without control "
                    "characters"},
      {"subnet=10.0.0", "subnet: \"10.0.0\" isn't an IPv4 address of a subnet"},
      {"mask=255.0.255.0", "mask: \"255.0.255.0\" isn't a contiguous mask of 1 to 29 bits"},
      {"mtu=67", "mtu: \"67\" isn't a number from 68 to 9194"},
      {"adapter=yes", "adapter: \"yes\" isn't \"true\" or \"false\""},
      {"dhcp=TRUE", "dhcp: \"TRUE\" isn't \"true\" or \"false\""},
      {"nat=1", "nat: \"1\" isn't \"true\" or \"false\""},
      {"nat-gateway=224.0.0.1", "nat-gateway: \"224.0.0.1\" isn't an IPv4 address of a host"},
      {"nat-config-port=65536", "nat-config-port: \"65536\" isn't a number from 0 to 65535"},
      {"nat-udp-timeout=-1", "nat-udp-timeout: \"-1\" isn't a number of seconds from 0 to 86400"},
      {"nat-ipv6-prefix=fd00::", "nat-ipv6-prefix: \"fd00::\" isn't an IPv6 address, \"/\" and a "
                                 "length from 0 to 128"},
      {"dhcp-max-lease=1h", "dhcp-max-lease: \"1h\" isn't a number of seconds from 1 to "
                            "2147483647"},
   };
   for (auto const& [line, complaint] : cases) {
      auto const decoded = ReadWith("[tvnet3]\n" + std::string(line) + "\n");
      EXPECT_EQ(NetworkSettings(), decoded.settings.networks.at(3)) << line;
      EXPECT_EQ(std::vector<std::string>{"[tvnet3] " + std::string(complaint)}, decoded.complaints);
   }
}

TEST(DecodeTest, AnEmptyValueIsNoComplaint)
{
   auto const decoded = ReadWith("[tvnet3]\nnat-gateway=\nmtu=\nname=\n");

   EXPECT_EQ(NetworkSettings(), decoded.settings.networks.at(3));
   EXPECT_TRUE(decoded.complaints.empty());
}

TEST(DecodeTest, AForwardNeedsAnAddressAndAPort)
{
   for (auto const body : {"address=10.0.0.1\n", "port=80\n", "address=10.0.0.1\nport=0\n",
                           "address=10.0.0.1;\nport=80\n", ""}) {
      auto const decoded = ReadWith("[tvnet3 forward tcp 80]\n" + std::string(body));
      EXPECT_TRUE(decoded.settings.networks.empty()) << body;
      EXPECT_FALSE(decoded.complaints.empty()) << body;
   }
}

TEST(DecodeTest, AForwardWithABadDescriptionHasNone)
{
   auto const decoded =
      ReadWith("[tvnet3 forward udp 80]\naddress=10.0.0.1\nport=80\ndescription=a\\nb\n");

   EXPECT_EQ((std::vector<PortForward>{{false, 80, Address{0x0a000001}, 80, ""}}),
             decoded.settings.networks.at(3).nat.forwards);
   EXPECT_EQ(1u, decoded.complaints.size());
}

TEST(DecodeTest, ForwardsAreInOrderWhereverTheyStand)
{
   std::string text;
   for (auto const name : {"udp 9", "tcp 100", "udp 10", "tcp 9"}) {
      text += "[tvnet3 forward " + std::string(name) + "]\naddress=10.0.0.1\nport=1\n";
   }
   auto const forwards = ReadWith(text).settings.networks.at(3).nat.forwards;

   std::vector<std::pair<bool, int>> order;
   for (auto const& forward : forwards) {
      order.emplace_back(forward.tcp, forward.hostPort);
   }
   EXPECT_EQ((std::vector<std::pair<bool, int>>{{true, 9}, {true, 100}, {false, 9}, {false, 10}}),
             order);
}

TEST(DecodeTest, AnAdapterOfABadNetworkHasNone)
{
   auto const decoded = ReadWith("[adapter eth0]\nnetwork=tvnet256\n[adapter eth1]\n");

   EXPECT_TRUE(decoded.settings.adapters.empty());
   EXPECT_EQ(1u, decoded.complaints.size());
}

TEST(DecodeTest, AGroupWithAnotherNameMeansNothing)
{
   for (std::string const name : {"tvnet256",
                                  "tvnet08",
                                  "tvnet",
                                  "Tvnet8",
                                  "tvnet8 ",
                                  "tvnet8 forward tcp 0",
                                  "tvnet8 forward tcp 65536",
                                  "tvnet8 forward tcp 080",
                                  "tvnet8 forward sctp 80",
                                  "tvnet8 forward tcp",
                                  "tvnet8  forward tcp 80",
                                  "tvnet8 forward tcp 80 ",
                                  "tvnet256 forward tcp 80",
                                  "adapter",
                                  "adapter ",
                                  "adapter a/b",
                                  "adapter eth0 ",
                                  "adapter  eth0",
                                  "adapter eth%",
                                  "adapter eth%41",
                                  "adapter 1234567890123456",
                                  "adapter .."}) {
      auto const decoded =
         ReadWith("[" + name + "]\nnetwork=tvnet1\naddress=10.0.0.1\nport=80\nnat=true\n");
      EXPECT_EQ(Settings(), decoded.settings) << name;
      EXPECT_EQ(1u, decoded.unknown.size()) << name;
   }
}

TEST(GroupsTest, EveryForwardAndAdapterHasAGroupOfItsOwn)
{
   EXPECT_EQ("tvnet8 forward tcp 2222", GetForwardGroup({8, true, 2222}));
   EXPECT_EQ("tvnet255 forward udp 65535", GetForwardGroup({255, false, 65535}));
   EXPECT_EQ("adapter eth0", GetAdapterGroup("eth0"));
   EXPECT_EQ("adapter %5ba%5d%25", GetAdapterGroup("[a]%"));
   for (std::string const name : {"eth0", "[a]%", "%5b", "%", "%%25", "a%b"}) {
      EXPECT_EQ(name, ParseAdapterGroup(GetAdapterGroup(name)));
   }
}

} // namespace
