// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/document/sampleSettings.hh"
#include "vnet/database/fields.hh"
#include "vnet/document/document.hh"
#include "vnet/json/text.hh"

#include <gtest/gtest.h>

namespace vnet::document {

namespace {

TEST(DocumentWriterTest, AllNetworksAreOneText)
{
   auto settings = MakeSampleSettings();
   auto& network = settings.networks[8] = {};
   network.subnetAddress = Address::Parse("192.168.8.0");
   network.subnetMask = Address::Parse("255.255.255.0");
   network.useDhcp = network.useNat = true;
   network.nat.forwards = {{true, 80, *Address::Parse("192.168.8.100"), 8080, "web"}};
   EXPECT_EQ(R"({
  "version": 1,
  "automatic": "tvnet0",
  "adapters": {
    "eth0": "tvnet0",
    "eth1": "tvnet0",
    "eth2": "tvnet3"
  },
  "networks": {
    "tvnet1": {
      "subnet": "192.168.1.0",
      "mask": "255.255.255.0",
      "adapter": true,
      "dhcp": false,
      "nat": false
    },
    "tvnet3": {
      "adapter": false,
      "dhcp": false,
      "nat": false
    },
    "tvnet8": {
      "subnet": "192.168.8.0",
      "mask": "255.255.255.0",
      "adapter": false,
      "dhcp": true,
      "nat": true,
      "forwards": [
        {
          "protocol": "tcp",
          "host-port": 80,
          "address": "192.168.8.100",
          "port": 8080,
          "description": "web"
        }
      ]
    }
  }
}
)",
             json::Write(Make(settings)));
}

TEST(DocumentWriterTest, WhatIsWrittenIsReadBack)
{
   for (auto const& settings : {MakeSampleSettings(), Settings()}) {
      auto const reading = ReadText(json::Write(Make(settings)));
      EXPECT_TRUE(reading.complaints.empty()) << reading.complaints.front();
      EXPECT_EQ(settings, reading.settings);
   }
}

// Else the test before this one would miss a value that isn't written.
TEST(DocumentWriterTest, TheFullNetworkHasNothingAtItsDefault)
{
   NetworkSettings const defaults;
   auto const full = MakeFullNetwork();
   ForEachField(
      [&](auto const& field) { EXPECT_FALSE(field.in(full) == field.in(defaults)) << field.key; });
}

} // namespace

} // namespace vnet::document
