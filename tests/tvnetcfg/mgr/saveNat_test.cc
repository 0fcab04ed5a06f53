// SPDX-License-Identifier: GPL-2.0-or-later
#include "mgrTest.hh"

namespace netcfg {

namespace {

using testing::ElementsAre;

// A NAT network with a good gateway, and the database's values beside it.
class SaveNATTest : public MgrTest {
protected:
   SaveNATTest()
      : network(AddHosted(Network::NAT, 8, "192.168.8.0", "255.255.255.0")), nat(*network.GetNAT())
   {
      nat.SetGatewayIP("192.168.8.2");
      database.SetGatewayIP("192.168.8.2");
   }

   bool Save() { return mgr.SaveNAT("tvnet8", &nat, &database); }

   static std::string InvalidGateway(std::string const& gateway)
   {
      return "Log: Mgr::SaveNAT: User attempted to set invalid Gateway IP '" + gateway + "'.\n";
   }

   Network& network;
   NAT& nat;
   NAT database{&network};
};

TEST_F(SaveNATTest, EqualValuesWriteNothingAndAreNoChange)
{
   EXPECT_FALSE(Save());
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_F(SaveNATTest, EmptyGatewayIsLoggedOnEachSaveAndIsAChangeThatWritesNothing)
{
   nat.SetGatewayIP("");
   database.SetGatewayIP("");
   int heard = 0;
   nat.changed.connect([&heard] { ++heard; });

   EXPECT_TRUE(Save());
   EXPECT_TRUE(Save());
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
   EXPECT_THAT(LogDouble::GetLines(), ElementsAre(InvalidGateway(""), InvalidGateway("")));
   EXPECT_EQ(0, heard);
}

TEST_F(SaveNATTest, GatewayOutsideTheSubnetIsBlankedInModelAndDatabase)
{
   nat.SetGatewayIP("192.168.9.2");
   int heard = 0;
   nat.changed.connect([&heard] { ++heard; });

   EXPECT_TRUE(Save());
   EXPECT_EQ("", nat.GetGatewayIP());
   EXPECT_EQ(1, heard);
   EXPECT_THAT(VnetDouble::GetLog(), ElementsAre("VNL_SetNATParam(\"tvnet8\", 0x2343, null, 0)",
                                                 "VNL_SetDHCPParam(\"tvnet8\", 0x342e, null, 0)",
                                                 "VNL_SetDHCPParam(\"tvnet8\", 0x3432, null, 0)",
                                                 "VNL_SetDHCPParam(\"tvnet8\", 0x342d, null, 0)"));
   EXPECT_THAT(LogDouble::GetLines(), ElementsAre(InvalidGateway("192.168.9.2")));
}

TEST_F(SaveNATTest, GatewayOutsideTheSubnetIsNotBlankedInADatabaseThatHasNone)
{
   nat.SetGatewayIP("192.168.9.2");
   database.SetGatewayIP("");

   EXPECT_TRUE(Save());
   EXPECT_EQ("", nat.GetGatewayIP());
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
}

TEST_F(SaveNATTest, SubnetOfTheDatabasesChoiceMakesAlmostAnyGatewayInvalid)
{
   network.SetSubnetAddr("");
   network.SetSubnetMask("");

   EXPECT_TRUE(Save());
   EXPECT_EQ("", nat.GetGatewayIP());
   EXPECT_THAT(LogDouble::GetLines(), ElementsAre(InvalidGateway("192.168.8.2")));
}

TEST_F(SaveNATTest, WithoutASubnetTheBroadcastAddressAloneIsAValidGateway)
{
   network.SetSubnetAddr("");
   network.SetSubnetMask("");
   nat.SetGatewayIP("255.255.255.255");
   database.SetGatewayIP("255.255.255.255");

   EXPECT_FALSE(Save());
   EXPECT_EQ("255.255.255.255", nat.GetGatewayIP());
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_F(SaveNATTest, WholeForwardListIsRemovedBeforeAnythingIsAdded)
{
   nat.SetPortForwardList({{80, 1, true, "10.0.0.1", "a"},
                           {81, 1, true, "10.0.0.1", "kept"},
                           {82, 2, false, "10.0.0.2", "c"}});
   database.SetPortForwardList({{81, 1, true, "10.0.0.1", "kept"},
                                {82, 2, false, "10.0.0.2", "b"},
                                {80, 1, true, "10.0.0.9", "a"}});

   EXPECT_TRUE(Save());
   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_SetNATPortForward(\"tvnet8\", false, 82, null, 0, null, 0)",
                           "VNL_SetNATPortForward(\"tvnet8\", true, 80, null, 0, null, 0)",
                           "VNL_SetNATPortForward(\"tvnet8\", true, 80, \"10.0.0.1\", 1, \"a\", 1)",
                           "VNL_SetNATPortForward(\"tvnet8\", false, 82, \"10.0.0.2\", 2, \"c\", "
                           "1)"));
}

TEST_F(SaveNATTest, ForwardsInAnotherOrderAreNoChange)
{
   nat.SetPortForwardList({{80, 1, true, "10.0.0.1", ""}, {81, 1, true, "10.0.0.1", ""}});
   database.SetPortForwardList({{81, 1, true, "10.0.0.1", ""}, {80, 1, true, "10.0.0.1", ""}});

   EXPECT_FALSE(Save());
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
}

struct DifferenceCase {
   char const* name;
   void (*change)(NAT& nat);
};

void PrintTo(DifferenceCase const& difference, std::ostream* out)
{
   *out << difference.name;
}

class DifferenceTest : public SaveNATTest, public testing::WithParamInterface<DifferenceCase> {};

TEST_P(DifferenceTest, IsAChangeAlsoIfItsWritingFails)
{
   GetParam().change(nat);
   VnetDouble::FailFunction("VNL_SetNATParam");
   VnetDouble::FailFunction("VNL_SetDHCPParam");
   VnetDouble::FailFunction("VNL_SetNATPortForward");

   EXPECT_TRUE(Save());
   EXPECT_FALSE(LogDouble::GetLines().empty());
}

INSTANTIATE_TEST_SUITE_P(
   , DifferenceTest,
   testing::Values(DifferenceCase{"Gateway", [](NAT& nat) { nat.SetGatewayIP("192.168.8.3"); }},
                   DifferenceCase{"ConfigPort", [](NAT& nat) { nat.SetConfigPort(1); }},
                   DifferenceCase{"AllowActiveFTP", [](NAT& nat) { nat.SetAllowActiveFTP(false); }},
                   DifferenceCase{"AllowOUI", [](NAT& nat) { nat.SetAllowOUI(false); }},
                   DifferenceCase{"UDPTimeout", [](NAT& nat) { nat.SetUDPTimeout(31); }},
                   DifferenceCase{"EnableIPv6", [](NAT& nat) { nat.SetEnableIPv6(true); }},
                   DifferenceCase{"IPv6Prefix", [](NAT& nat) { nat.SetIPv6Prefix("fd00::/64"); }},
                   DifferenceCase{"Forwards",
                                  [](NAT& nat) {
                                     nat.SetPortForwardList({{1, 2, true, "10.0.0.1", ""}});
                                  }}),
   [](auto const& test) { return std::string(test.param.name); });

TEST_F(SaveNATTest, ForwardThatOnlyWentIsAChange)
{
   database.SetPortForwardList({{80, 1, true, "10.0.0.1", ""}});
   EXPECT_TRUE(Save());
}

TEST_F(SaveNATTest, FailuresAreLoggedOneByOneAndStopNothing)
{
   nat.SetGatewayIP("192.168.8.3");
   nat.SetUDPTimeout(31);
   nat.SetPortForwardList({{80, 1, true, "10.0.0.1", ""}, {53, 1, false, "10.0.0.1", ""}});
   database.SetPortForwardList({{22, 1, true, "10.0.0.1", ""}, {23, 1, false, "10.0.0.1", ""}});
   VnetDouble::FailFunction("VNL_SetNATParam");
   VnetDouble::FailFunction("VNL_SetDHCPParam");
   VnetDouble::FailFunction("VNL_SetNATPortForward");
   Save();

   EXPECT_THAT(
      LogDouble::GetLines(),
      ElementsAre(
         "LogV(2): SetNATParam: Unable to set NAT param 0x2343.\n",
         "LogV(2): SetDHCPParam: Unable to set DHCP param 0x342e.\n",
         "LogV(2): SetDHCPParam: Unable to set DHCP param 0x3432.\n",
         "LogV(2): SetDHCPParam: Unable to set DHCP param 0x342d.\n",
         "LogV(2): SetNATParam: Unable to set NAT param 0x2349.\n",
         "LogV(2): RemoveNATPortForward: Unable to remove port forwarding port = 22, type = TCP.\n",
         "LogV(2): RemoveNATPortForward: Unable to remove port forwarding port = 23, type = UDP.\n",
         "LogV(2): SetNATPortForward: Unable to set port forwarding port = 80, type = TCP.\n",
         "LogV(2): SetNATPortForward: Unable to set port forwarding port = 53, type = UDP.\n"));
}

using StopServicesTest = MgrTest;

TEST_F(StopServicesTest, StopsAllThreeAndThenTheAdapterWhateverTheirResults)
{
   VnetDouble::FailFunction("VNL_StopService");
   mgr.StopServices("tvnet3");

   EXPECT_THAT(VnetDouble::GetLog(), ElementsAre("VNL_StopService(\"tvnet3\", 0x8801)",
                                                 "VNL_StopService(\"tvnet3\", 0x8802)",
                                                 "VNL_StopService(\"tvnet3\", 0x8803)",
                                                 "VNL_DisableNetworkAdapter(\"tvnet3\")"));
}

} // namespace

} // namespace netcfg
