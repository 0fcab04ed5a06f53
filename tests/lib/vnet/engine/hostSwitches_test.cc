// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/hostSwitches.hh"

#include "support/testProcess.hh"
#include "vnet/host/sysctl.hh"
#include "vnet/values/error.hh"

#include <filesystem>
#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using services::WantedSysctl;
using testing::ElementsAre;
using testing::IsEmpty;

// A tree of switches of the test's own.
class HostSwitchesTest : public testing::Test {
protected:
   HostSwitchesTest()
   {
      Set("ipv4", "eth0", "forwarding", "0");
      Set("ipv4", "eth1", "forwarding", "1");
      Set("ipv4", "all", "forwarding", "0");
      Set("ipv6", "all", "forwarding", "0");
      Set("ipv6", "eth0", "accept_ra", "1");
   }

   void Set(std::string const& family, std::string const& device, std::string const& name,
            std::string const& value)
   {
      auto const folder = family + "/conf/" + device;
      std::filesystem::create_directories(tree.GetPath() / folder);
      tree.Write(folder + "/" + name, value + "\n");
   }

   std::string Get(std::string const& family, std::string const& device, std::string const& name)
   {
      return sysctl.Read(family, device, name).value_or("none");
   }

   // Each time as another process would.
   HostSwitches Make() { return HostSwitches(sysctl, run.GetPath() / "tavrin"); }

   bool IsNoteLeft() { return std::filesystem::exists(run.GetPath() / "tavrin/switches"); }

   test::TempDir const tree;
   test::TempDir const run;
   host::Sysctl const sysctl{tree.GetPath()};
   WantedSysctl const forwarding{"ipv4", "eth0", "forwarding", "1", true};
   WantedSysctl const second{"ipv4", "eth1", "forwarding", "1", true};
   WantedSysctl const forwarding6{"ipv6", "all", "forwarding", "1", true};
   WantedSysctl const advertised{"ipv6", "eth0", "accept_ra", "2", true};
};

} // namespace

TEST_F(HostSwitchesTest, AreSetAndGivenBack)
{
   EXPECT_FALSE(Make().HasAll(8, {forwarding}));
   Make().Use(8, {forwarding});
   EXPECT_EQ("1", Get("ipv4", "eth0", "forwarding"));
   EXPECT_TRUE(Make().HasAll(8, {forwarding}));
   Make().Use(8, {});
   EXPECT_EQ("0", Get("ipv4", "eth0", "forwarding"));
   EXPECT_FALSE(IsNoteLeft());
}

TEST_F(HostSwitchesTest, TheLastUserGivesBack)
{
   Make().Use(8, {forwarding});
   Make().Use(9, {forwarding});
   EXPECT_THAT(Make().ListUsers(), ElementsAre(8, 9));
   Make().Use(8, {});
   EXPECT_EQ("1", Get("ipv4", "eth0", "forwarding"));
   EXPECT_THAT(Make().ListUsers(), ElementsAre(9));
   Make().Use(9, {});
   EXPECT_EQ("0", Get("ipv4", "eth0", "forwarding"));
}

TEST_F(HostSwitchesTest, WhatWasSetBeforeStaysSet)
{
   Make().Use(8, {second});
   Make().Use(8, {});
   EXPECT_EQ("1", Get("ipv4", "eth1", "forwarding"));
}

TEST_F(HostSwitchesTest, WhatIsNoLongerNeededIsLetGo)
{
   Make().Use(8, {forwarding, advertised, forwarding6});
   Make().Use(8, {forwarding});
   EXPECT_EQ("1", Get("ipv4", "eth0", "forwarding"));
   EXPECT_EQ("1", Get("ipv6", "eth0", "accept_ra"));
   EXPECT_EQ("0", Get("ipv6", "all", "forwarding"));
}

TEST_F(HostSwitchesTest, WhatSomeoneElseSetSinceIsTheirs)
{
   Make().Use(8, {advertised});
   Set("ipv6", "eth0", "accept_ra", "0");
   EXPECT_FALSE(Make().HasAll(8, {advertised}));
   Make().Use(8, {});
   EXPECT_EQ("0", Get("ipv6", "eth0", "accept_ra"));
}

TEST_F(HostSwitchesTest, AHostThatBecameARouterStaysOne)
{
   Make().Use(8, {forwarding});
   Set("ipv4", "all", "forwarding", "1");
   Make().Use(8, {});
   EXPECT_EQ("1", Get("ipv4", "eth0", "forwarding"));
}

TEST_F(HostSwitchesTest, AValueThatChangedIsSetAgain)
{
   Make().Use(8, {forwarding});
   Set("ipv4", "eth0", "forwarding", "0");
   Make().Use(8, {forwarding});
   EXPECT_EQ("1", Get("ipv4", "eth0", "forwarding"));
}

TEST_F(HostSwitchesTest, AProcessThatDiedBeforeTheDeedIsMadeGood)
{
   // Noted, but not set.
   Make().Use(8, {forwarding});
   Set("ipv4", "eth0", "forwarding", "0");
   Make().Use(8, {});
   EXPECT_EQ("0", Get("ipv4", "eth0", "forwarding"));
   EXPECT_FALSE(IsNoteLeft());
}

TEST_F(HostSwitchesTest, NoneIsSetBeforeAnotherThatItBuildsOn)
{
   auto const place = tree.GetPath() / "ipv6/conf/eth0/accept_ra";
   std::filesystem::remove(place);
   std::filesystem::create_directory(place); // can't be read
   std::vector const all{forwarding, advertised, forwarding6};
   EXPECT_THROW(Make().Use(8, all), Error);
   EXPECT_EQ("1", Get("ipv4", "eth0", "forwarding"));
   EXPECT_EQ("0", Get("ipv6", "all", "forwarding"));
   std::filesystem::remove(place);
   Set("ipv6", "eth0", "accept_ra", "1");
   Make().Use(8, all);
   EXPECT_EQ("2", Get("ipv6", "eth0", "accept_ra"));
   EXPECT_EQ("1", Get("ipv6", "all", "forwarding"));
   EXPECT_TRUE(Make().HasAll(8, all));
}

TEST_F(HostSwitchesTest, ADeviceThatIsNotThereIsLeftOut)
{
   WantedSysctl const gone{"ipv4", "eth7", "forwarding", "1", true};
   Make().Use(8, {gone, forwarding});
   EXPECT_EQ("1", Get("ipv4", "eth0", "forwarding"));
   EXPECT_TRUE(Make().HasAll(8, {gone, forwarding}));
}

TEST_F(HostSwitchesTest, ADeviceThatWentIsForgotten)
{
   Make().Use(8, {forwarding});
   std::filesystem::remove_all(tree.GetPath() / "ipv4/conf/eth0");
   Make().Use(8, {});
   EXPECT_FALSE(IsNoteLeft());
}

TEST_F(HostSwitchesTest, ADamagedNoteIsNoObstacle)
{
   std::filesystem::create_directory(run.GetPath() / "tavrin");
   run.Write("tavrin/switches", "ipv4 eth0\n\n\xff\xff nonsense of more words 8\n");
   EXPECT_NO_THROW(Make().Use(8, {forwarding}));
   EXPECT_EQ("1", Get("ipv4", "eth0", "forwarding"));
}

} // namespace vnet::engine
