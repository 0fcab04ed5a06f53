// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/addresses.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/ping.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <gtest/gtest.h>
#include <linux/if_addr.h>

namespace vnet::host {

namespace {

class AddressesTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      socket.emplace();
      addresses.emplace(*socket);
      Links links(*socket);
      bridge = links.CreateBridge({"tvnet8", {{2, 0, 0, 0, 0, 8}}, 1500, "ours"});
   }

   // Those that were given, not the link-local one that the kernel makes.
   std::vector<std::string> List()
   {
      std::vector<std::string> texts;
      for (auto const& address : addresses->List(bridge)) {
         if (!address.address.ToString().starts_with("fe80")) {
            texts.push_back(address.address.ToString() + "/" +
                            std::to_string(address.prefixLength));
         }
      }
      std::sort(texts.begin(), texts.end());
      return texts;
   }

   InterfaceAddress Make(std::string const& text, unsigned char length, unsigned int flags = 0)
   {
      return {bridge.index, InetAddress::Parse(text).value(), length, flags, 0};
   }

   using Texts = std::vector<std::string>;

   std::optional<RouteSocket> socket;
   std::optional<Addresses> addresses;
   Link bridge;
};

TEST_F(AddressesTest, BothFamiliesComeAndGo)
{
   addresses->Add(bridge, Make("192.168.8.1", 24));
   addresses->Add(bridge, Make("192.168.8.2", 32));
   addresses->Add(bridge, Make("fd00:8::1", 64, IFA_F_NODAD));
   EXPECT_EQ((Texts{"192.168.8.1/24", "192.168.8.2/32", "fd00:8::1/64"}), List());
   addresses->Remove(bridge, Make("192.168.8.2", 32));
   addresses->Remove(bridge, Make("fd00:8::1", 64));
   EXPECT_EQ((Texts{"192.168.8.1/24"}), List());
}

TEST_F(AddressesTest, AnAddressHasItsBroadcast)
{
   addresses->Add(bridge, Make("192.168.8.1", 24));
   addresses->Add(bridge, Make("192.168.8.2", 32));
   auto const told = GetHost().Command("ip -4 -o addr show tvnet8");
   EXPECT_NE(std::string::npos, told.find("192.168.8.1/24 brd 192.168.8.255 ")) << told;
   EXPECT_NE(std::string::npos, told.find("192.168.8.2/32 scope")) << told;
}

TEST_F(AddressesTest, AddingTwiceIsAddingOnce)
{
   addresses->Add(bridge, Make("192.168.8.1", 24));
   addresses->Add(bridge, Make("192.168.8.1", 24));
   addresses->Add(bridge, Make("fd00:8::1", 64));
   addresses->Add(bridge, Make("fd00:8::1", 64));
   EXPECT_EQ((Texts{"192.168.8.1/24", "fd00:8::1/64"}), List());
}

TEST_F(AddressesTest, RemovingWhatIsNotThereIsNoFailure)
{
   addresses->Remove(bridge, Make("192.168.8.1", 24));
   addresses->Remove(bridge, Make("fd00:8::1", 64));
   Links(*socket).Delete(bridge);
   addresses->Remove(bridge, Make("192.168.8.1", 24));
}

TEST_F(AddressesTest, FlagsArriveAndAreTold)
{
   addresses->Add(bridge, Make("192.168.8.1", 24, IFA_F_NOPREFIXROUTE));
   addresses->Add(bridge, Make("fd00:8::1", 64, IFA_F_NODAD | IFA_F_NOPREFIXROUTE));
   EXPECT_EQ("", GetHost().Command("ip route show dev tvnet8"));
   for (auto const& address : addresses->List(bridge)) {
      if (!address.address.ToString().starts_with("fe80")) {
         EXPECT_TRUE(address.flags & IFA_F_NOPREFIXROUTE) << address.address.ToString();
         EXPECT_FALSE(address.flags & IFA_F_TENTATIVE) << address.address.ToString();
      }
   }
}

TEST_F(AddressesTest, AListNamesTheDeviceOfEach)
{
   addresses->Add(bridge, Make("192.168.8.1", 24));
   bool loopback = false;
   for (auto const& address : addresses->List()) {
      loopback |= address.address.ToString() == "127.0.0.1" && address.link != bridge.index;
   }
   EXPECT_TRUE(loopback);
}

TEST_F(AddressesTest, TheOwnAddressOfAPointToPointLinkIsTold)
{
   GetHost().Command("ip addr add 10.9.0.1 peer 10.9.0.2/32 dev tvnet8");
   EXPECT_EQ((Texts{"10.9.0.1/32"}), List());
}

TEST_F(AddressesTest, AFailureNamesAddressAndDevice)
{
   Links(*socket).Delete(bridge);
   try {
      addresses->Add(bridge, Make("192.168.8.1", 24));
      FAIL();
   } catch (Error const& error) {
      EXPECT_EQ(0u, std::string(error.what()).find("add address 192.168.8.1/24 of tvnet8: "))
         << error.what();
   }
}

} // namespace

} // namespace vnet::host
