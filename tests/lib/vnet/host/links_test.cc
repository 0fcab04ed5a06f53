// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/links.hh"

#include "lib/vnet/getFailure.hh"
#include "support/netlab/lab.hh"
#include "support/testProcess.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <linux/if.h>
#include <thread>

namespace vnet::host {

namespace {

constexpr MacAddress bridgeMac{{2, 0, 0, 0, 0, 8}};

class LinksTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (!IsSkipped()) {
         socket.emplace();
         links.emplace(*socket);
      }
   }

   void MakeVeth(std::string const& name)
   {
      GetHost().Command("ip link add " + name + " type veth peer name " + name + "p");
   }

   std::optional<RouteSocket> socket;
   std::optional<Links> links;
};

TEST_F(LinksTest, ABridgeIsBornAsItShallBe)
{
   auto const bridge = links->CreateBridge({"tvnet8", bridgeMac, 1400, "tavrin network 8"});
   EXPECT_TRUE(bridge.IsBridge());
   EXPECT_TRUE(bridge.IsUp());
   EXPECT_EQ(bridgeMac, bridge.mac);
   EXPECT_EQ(1400u, bridge.mtu);
   EXPECT_EQ("tavrin network 8", bridge.alias);
   auto const told = GetHost().Command("ip -d link show tvnet8");
   EXPECT_NE(std::string::npos, told.find("stp_state 0")) << told;
   EXPECT_NE(std::string::npos, told.find("mcast_snooping 0")) << told;
   // 3 is NET_ADDR_SET: udev leaves such an address alone.
   EXPECT_EQ("3\n", test::ReadFile("/sys/class/net/tvnet8/addr_assign_type"));
}

TEST_F(LinksTest, ABridgesMtuIsNotItsPorts)
{
   MakeVeth("v0");
   for (unsigned int const mtu : {68u, 1500u, 9194u}) {
      auto const bridge = links->CreateBridge({"tvnet8", bridgeMac, mtu, "ours"});
      EXPECT_EQ(mtu, bridge.mtu);
      links->SetMtu(links->Require("v0"), mtu == 1500 ? 1280 : 1500);
      links->SetMaster(links->Require("v0"), bridge);
      EXPECT_EQ(mtu, links->Require("tvnet8").mtu);
      links->Delete(bridge);
   }
}

TEST_F(LinksTest, ASecondBridgeOfThatNameIsRefused)
{
   links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"});
   EXPECT_EQ("create bridge tvnet8: File exists", GetFailure([&] {
                links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"});
             }));
}

TEST_F(LinksTest, SomeoneElsesDeviceOfThatNameIsNotTouched)
{
   GetHost().Command("ip link add tvnet8 type bridge");
   auto const before = GetHost().Command("ip -d link show tvnet8");
   EXPECT_EQ("create bridge tvnet8: File exists", GetFailure([&] {
                links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"});
             }));
   EXPECT_EQ(before, GetHost().Command("ip -d link show tvnet8"));
}

TEST_F(LinksTest, ABridgeThatWasLeftHalfMadeIsCompleted)
{
   GetHost().Command("ip link add tvnet8 address 02:00:00:00:00:08 type bridge");
   auto const bridge = links->CreateBridge({"tvnet8", bridgeMac, 1300, "ours"});
   EXPECT_EQ("ours", bridge.alias);
   EXPECT_EQ(1300u, bridge.mtu);
   EXPECT_TRUE(bridge.IsUp());
}

TEST_F(LinksTest, ABridgeThatCannotBeCompletedIsRemoved)
{
   EXPECT_EQ(0u, GetFailure([&] {
                    links->CreateBridge({"tvnet8", bridgeMac, 1500, std::string(300, 'x')});
                 }).find("set the alias of tvnet8: "));
   EXPECT_FALSE(links->Find("tvnet8"));
}

TEST_F(LinksTest, FailuresNameActionObjectAndCause)
{
   auto const gone = links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"});
   links->Delete(gone);
   EXPECT_EQ("set up tvnet8: No such device", GetFailure([&] { links->SetUp(gone, true); }));
   EXPECT_EQ("find tvnet8: No such device", GetFailure([&] { links->Require("tvnet8"); }));
   EXPECT_EQ(0u, GetFailure([&] {
                    links->CreateBridge({"tvnet8.name.that.is.too.long", bridgeMac, 1500, ""});
                 }).find("create bridge tvnet8.name.that.is.too.long: "));
}

TEST_F(LinksTest, DeletingWhatWentIsNoFailure)
{
   auto const bridge = links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"});
   links->Delete(bridge);
   links->Delete(bridge);
   EXPECT_FALSE(links->Find("tvnet8"));
   EXPECT_FALSE(links->Find(bridge.index));
}

TEST_F(LinksTest, NamesThatNoDeviceHasAreNotFound)
{
   for (auto const* name : {"", "eth0", "a name that is much too long for a device", "a/b"}) {
      EXPECT_FALSE(links->Find(name)) << name;
   }
   EXPECT_FALSE(links->Find(0));
   EXPECT_FALSE(links->Find(-1));
   EXPECT_FALSE(links->Find(4711));
}

TEST_F(LinksTest, APairHasItsAddressesAndMtu)
{
   MacAddress const one{{2, 0, 0, 0, 1, 1}}, two{{2, 0, 0, 0, 1, 2}};
   auto const first = links->CreateVeth({"a0", one, "b0", two, 1400});
   auto const second = links->Require("b0");
   EXPECT_EQ("veth", first.kind);
   EXPECT_EQ(one, first.mac);
   EXPECT_EQ(two, second.mac);
   EXPECT_EQ(1400u, first.mtu);
   EXPECT_EQ(1400u, second.mtu);
   EXPECT_FALSE(first.IsUp());
   EXPECT_FALSE(first.carrier);
   links->SetUp(first, true);
   links->SetUp(second, true);
   EXPECT_TRUE(links->Require("a0").carrier);
   links->SetUp(second, false);
   EXPECT_FALSE(links->Require("a0").carrier);
   EXPECT_TRUE(links->Require("a0").IsUp());
}

TEST_F(LinksTest, ADeviceIsPluggedInAndOut)
{
   MakeVeth("v0");
   auto const bridge = links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"});
   links->SetMaster(links->Require("v0"), bridge);
   EXPECT_EQ(bridge.index, links->Require("v0").master);
   links->SetMaster(links->Require("v0"), {});
   EXPECT_EQ(0, links->Require("v0").master);
}

TEST_F(LinksTest, PropertiesAreSet)
{
   MakeVeth("v0");
   auto const link = links->Require("v0");
   links->SetMtu(link, 1234);
   links->SetMac(link, bridgeMac);
   links->SetAlias(link, "an \"alias\" of ours");
   auto const now = links->Require("v0");
   EXPECT_EQ(1234u, now.mtu);
   EXPECT_EQ(bridgeMac, now.mac);
   EXPECT_EQ("an \"alias\" of ours", now.alias);
   EXPECT_EQ(now.name, links->Find(now.index)->name);
}

TEST_F(LinksTest, TheDevicesOwnPromiscuityIsNotTheSockets)
{
   MakeVeth("v0");
   auto const link = links->Require("v0");
   links->SetPromiscuous(link, true);
   links->SetPromiscuous(link, true);
   EXPECT_TRUE(links->Require("v0").IsSetPromiscuous());
   EXPECT_EQ(1u, links->Require("v0").promiscuity);
   links->SetPromiscuous(link, false);
   EXPECT_FALSE(links->Require("v0").IsSetPromiscuous());
   EXPECT_EQ(0u, links->Require("v0").promiscuity);
   // A bridge asks for it without setting it.
   links->SetMaster(link, links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"}));
   EXPECT_FALSE(links->Require("v0").IsSetPromiscuous());
   EXPECT_EQ(1u, links->Require("v0").promiscuity);
}

TEST_F(LinksTest, SoftwareDevicesAreNoHardware)
{
   MakeVeth("v0");
   links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"});
   for (auto const& link : links->List()) {
      EXPECT_FALSE(link.IsHardware()) << link.name;
   }
   EXPECT_TRUE(links->Require("lo").IsLoopback());
   Link adapter;
   adapter.hardwareType = 1; // ARPHRD_ETHER
   EXPECT_TRUE(adapter.IsHardware());
   adapter.kind = "tun";
   EXPECT_FALSE(adapter.IsHardware());
}

TEST_F(LinksTest, WirelessAdaptersAreKnownBySysfs)
{
   MakeVeth("v0");
   MakeVeth("w0");
   test::TempDir sys;
   std::filesystem::create_directories(sys.GetPath() / "class/net/w0/phy80211");
   Links withSys(*socket, sys.GetPath());
   EXPECT_TRUE(withSys.Require("w0").wireless);
   EXPECT_FALSE(withSys.Require("v0").wireless);
   for (auto const& link : withSys.List()) {
      EXPECT_EQ(link.name == "w0", link.wireless) << link.name;
   }
}

TEST_F(LinksTest, AListIsWholeWhileDevicesComeAndGo)
{
   std::vector<std::string> names;
   for (int i = 0; i < 60; ++i) {
      names.push_back("stay" + std::to_string(i));
      GetHost().Command("ip link add " + names.back() + " type bridge");
   }
   std::atomic<bool> stop{false};
   std::thread disturber([&] {
      RouteSocket own;
      Links ownLinks(own);
      while (!stop) {
         ownLinks.Delete(ownLinks.CreateVeth(
            {"x0", MacAddress::MakeRandom(), "y0", MacAddress::MakeRandom(), 1500}));
      }
   });
   for (int round = 0; round < 50; ++round) {
      auto const all = links->List();
      auto const stayed = std::count_if(
         all.begin(), all.end(), [](auto const& link) { return link.name.starts_with("stay"); });
      EXPECT_EQ(60, stayed);
   }
   stop = true;
   disturber.join();
}

TEST_F(LinksTest, TheSocketIsClosedForOtherPrograms)
{
   auto const output = GetHost().Command(
      std::vector<std::string>{"sh", "-c", "for f in /proc/self/fd/*; do readlink $f; done; true"});
   EXPECT_EQ(std::string::npos, output.find("socket:")) << output;
}

TEST_F(LinksTest, AnExchangeThatFailedDoesNotDisturbTheNext)
{
   auto const gone = links->CreateBridge({"tvnet8", bridgeMac, 1500, "ours"});
   links->Delete(gone);
   for (int i = 0; i < 100; ++i) {
      EXPECT_THROW(links->SetUp(gone, true), Error);
      EXPECT_TRUE(links->Find("lo"));
      EXPECT_EQ(1u, links->List().size());
   }
}

} // namespace

} // namespace vnet::host
