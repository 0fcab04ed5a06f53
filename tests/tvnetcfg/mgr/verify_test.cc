// SPDX-License-Identifier: GPL-2.0-or-later
#include "mgrTest.hh"

namespace netcfg {

namespace {

constexpr char zeroMask[] = "The subnet mask cannot be zero.";
constexpr char outOfRange[] =
   "The first byte of the subnet IP should be from 0 to 126 or from 128 to 223.";
constexpr char tooLarge[] = "The subnet mask cannot be greater than 0xfffffff8.";
constexpr char invalid[] = "The subnet mask is invalid.";
constexpr char mismatch[] = "The subnet IP and subnet mask are mismatch.";

struct MaskCase {
   char const* ip;
   char const* mask;
   char const* reason;
};

void PrintTo(MaskCase const& mask, std::ostream* out)
{
   *out << '"' << mask.ip << "\" with \"" << mask.mask << '"';
}

class MaskTest : public MgrTest, public testing::WithParamInterface<MaskCase> {};

TEST_P(MaskTest, IsJudgedByTheFirstRuleItBreaks)
{
   EXPECT_EQ(GetParam().reason, mgr.ValidateIPMask(GetParam().ip, GetParam().mask));
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
}

INSTANTIATE_TEST_SUITE_P(
   ByRule, MaskTest,
   testing::Values(
      // Good ones.
      MaskCase{"192.168.1.0", "255.255.255.0", ""}, MaskCase{"223.0.0.0", "255.0.0.0", ""},
      MaskCase{"0.0.0.0", "255.0.0.0", ""}, MaskCase{"128.0.0.0", "128.0.0.0", ""},
      MaskCase{"126.0.0.0", "254.0.0.0", ""}, MaskCase{"192.168.1.8", "255.255.255.248", ""},
      // Nothing at all.
      MaskCase{"", "", zeroMask},
      // A bad first byte, with and without a mask.
      MaskCase{"127.0.0.0", "255.0.0.0", outOfRange},
      MaskCase{"224.0.0.0", "255.0.0.0", outOfRange},
      MaskCase{"255.255.255.255", "255.0.0.0", outOfRange}, MaskCase{"127.0.0.0", "", outOfRange},
      MaskCase{"240.0.0.0", "", outOfRange},
      // What isn't an address reads as all ones.
      MaskCase{"192.168.0.", "255.255.255.0", outOfRange},
      MaskCase{"nonsense", "255.0.0.0", outOfRange}, MaskCase{"300.0.0.0", "0.0.0.0", outOfRange},
      // No mask.
      MaskCase{"192.168.1.0", "", zeroMask}, MaskCase{"192.168.1.0", "0.0.0.0", zeroMask},
      MaskCase{"", "0.0.0.0", zeroMask},
      // Too small a network, contiguous or not, or no mask's text.
      MaskCase{"192.168.1.0", "255.255.255.249", tooLarge},
      MaskCase{"192.168.1.0", "255.255.255.252", tooLarge},
      MaskCase{"192.168.1.0", "255.255.255.254", tooLarge},
      MaskCase{"192.168.1.0", "255.255.255.255", tooLarge},
      MaskCase{"192.168.1.0", "nonsense", tooLarge},
      // Not a run of ones.
      MaskCase{"192.168.1.0", "255.0.255.0", invalid}, MaskCase{"10.0.0.0", "127.0.0.0", invalid},
      MaskCase{"10.0.0.0", "0.0.0.1", invalid}, MaskCase{"192.168.1.1", "255.255.0.255", invalid},
      // Host bits.
      MaskCase{"192.168.1.1", "255.255.255.0", mismatch},
      MaskCase{"192.168.1.4", "255.255.255.248", mismatch},
      MaskCase{"192.168.1.0", "128.0.0.0", mismatch},
      // Without a subnet the mask alone is judged.
      MaskCase{"", "255.255.255.0", ""}, MaskCase{"", "255.255.255.252", tooLarge},
      MaskCase{"", "255.0.255.0", invalid}));

struct RangeCase {
   char const* subnet;
   char const* mask;
   char const* ip;
   bool inside;
};

void PrintTo(RangeCase const& range, std::ostream* out)
{
   *out << range.ip << " in " << range.subnet << '/' << range.mask;
}

class RangeTest : public MgrTest, public testing::WithParamInterface<RangeCase> {};

TEST_P(RangeTest, TellsWhetherTheAddressLiesInTheSubnet)
{
   RangeCase const& range = GetParam();
   EXPECT_EQ(range.inside ? "" : "Enter an IP address in the subnet range.",
             mgr.ValidateIPRange(range.subnet, range.mask, range.ip));
}

INSTANTIATE_TEST_SUITE_P(
   , RangeTest,
   testing::Values(RangeCase{"192.168.8.0", "255.255.255.0", "192.168.8.2", true},
                   RangeCase{"192.168.8.0", "255.255.255.0", "192.168.8.255", true},
                   RangeCase{"192.168.8.0", "255.255.255.0", "192.168.9.2", false},
                   RangeCase{"192.168.8.0", "0.0.0.0", "10.0.0.1", true},
                   // Empty texts read as all ones.
                   RangeCase{"192.168.8.0", "255.255.255.0", "", false},
                   RangeCase{"", "", "192.168.8.2", false}, RangeCase{"", "", "", true},
                   RangeCase{"", "", "255.255.255.255", true},
                   RangeCase{"192.168.8.0", "", "192.168.8.0", true},
                   RangeCase{"192.168.8.0", "", "192.168.8.1", false}));

class VerifyTest : public MgrTest {
protected:
   void ExpectGood()
   {
      EXPECT_TRUE(mgr.Verify(index, error)) << error.what();
      EXPECT_EQ(-7, index) << "a good model leaves the index alone";
      EXPECT_STREQ("before", error.what()) << "a good model leaves the error alone";
   }

   void ExpectBad(int where, char const* message)
   {
      EXPECT_FALSE(mgr.Verify(index, error));
      EXPECT_EQ(where, index);
      EXPECT_STREQ(message, error.what());
   }

   int index = -7;
   cui::Error error{"before"};
};

TEST_F(VerifyTest, ModelWithoutSlotsIsGood)
{
   ExpectGood();
}

TEST_F(VerifyTest, NothingReachesTheLibrary)
{
   AddHosted(Network::NAT, 8, "192.168.8.0", "255.255.255.0");
   AddHosted(Network::HostOnly, 9);
   ExpectGood();
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_F(VerifyTest, RemovedAndBridgedNetworksAreNotLookedAt)
{
   AddRemoved(1);
   Network& bridged = AddBridged(2);
   bridged.SetMTU("1");
   bridged.SetSubnetAddr("1..2");
   bridged.SetSubnetMask("255.0.255.0");
   ExpectGood();
   EXPECT_EQ("255.0.255.0", bridged.GetSubnetMask());
}

TEST_F(VerifyTest, BridgedNetworksSubnetMayBeRepeated)
{
   AddBridged(2).SetSubnetAddr("10.0.0.0");
   AddHosted(Network::NAT, 8, "10.0.0.0", "255.0.0.0");
   ExpectGood();
}

struct MTUCase {
   char const* text;
   bool good;
};

void PrintTo(MTUCase const& mtu, std::ostream* out)
{
   *out << '"' << mtu.text << '"';
}

class MTUTest : public VerifyTest, public testing::WithParamInterface<MTUCase> {
protected:
   void ExpectJudgement()
   {
      AddHosted(Network::HostOnly, 5, "10.0.0.0", "255.0.0.0").SetMTU(GetParam().text);
      if (GetParam().good) {
         ExpectGood();
      } else {
         ExpectBad(5, "tvnet5: Invalid MTU value. Must be between 68 and 9194.");
      }
   }
};

TEST_P(MTUTest, IsAbsentOrFrom68To9194)
{
   ExpectJudgement();
}

TEST_P(MTUTest, IsJudgedWithoutTheCapabilityToo)
{
   cui::GetFeatures().mtu = cui::Capability(false);
   ExpectJudgement();
}

INSTANTIATE_TEST_SUITE_P(
   , MTUTest,
   testing::Values(MTUCase{"-", true}, MTUCase{"68", true}, MTUCase{"9194", true},
                   MTUCase{"1500", true}, MTUCase{" 1500", true}, MTUCase{"1500 bytes", true},
                   MTUCase{"67", false}, MTUCase{"9195", false}, MTUCase{"", false},
                   MTUCase{"none", false}, MTUCase{"--", false}, MTUCase{"- ", false},
                   MTUCase{"-1500", false}, MTUCase{"0", false}, MTUCase{"2147483648", false},
                   MTUCase{"4294967295", false}, MTUCase{"99999999999999999999", false},
                   // 1500 and a multiple of 2^32: the save writes 1500.
                   MTUCase{"4294968796", true}));

TEST_F(VerifyTest, BadMTUIsToldBeforeARepeatedSubnet)
{
   AddHosted(Network::NAT, 1, "10.0.0.0", "255.0.0.0");
   AddHosted(Network::NAT, 2, "10.0.0.0", "255.0.0.0").SetMTU("67");
   ExpectBad(2, "tvnet2: Invalid MTU value. Must be between 68 and 9194.");
}

TEST_F(VerifyTest, BadMTUCountsWithoutASubnetToo)
{
   AddHosted(Network::NAT, 1).SetMTU("67");
   ExpectBad(1, "tvnet1: Invalid MTU value. Must be between 68 and 9194.");
}

TEST_F(VerifyTest, EmptySubnetPassesAndLosesItsMask)
{
   Network& network = AddHosted(Network::HostOnly, 1, "", "255.255.255.0");
   int heard = 0;
   network.changed.connect([&heard] { ++heard; });

   ExpectGood();
   EXPECT_EQ("", network.GetSubnetMask());
   EXPECT_EQ(1, heard);

   ExpectGood();
   EXPECT_EQ(1, heard) << "an empty mask isn't cleared again";
}

TEST_F(VerifyTest, EmptySubnetsAreNoRepeats)
{
   AddHosted(Network::HostOnly, 1);
   AddHosted(Network::HostOnly, 2);
   ExpectGood();
}

TEST_F(VerifyTest, MaskIsClearedEvenIfALaterNetworkIsBad)
{
   Network& network = AddHosted(Network::HostOnly, 1, "", "255.255.255.0");
   AddHosted(Network::HostOnly, 2, "10.0.0.0", "");
   ExpectBad(2, "tvnet2: The subnet mask cannot be zero.");
   EXPECT_EQ("", network.GetSubnetMask());
}

TEST_F(VerifyTest, MaskBehindTheFirstFailureIsKept)
{
   AddHosted(Network::HostOnly, 1, "10.0.0.0", "");
   Network& network = AddHosted(Network::HostOnly, 2, "", "255.255.255.0");
   ExpectBad(1, "tvnet1: The subnet mask cannot be zero.");
   EXPECT_EQ("255.255.255.0", network.GetSubnetMask());
}

TEST_F(VerifyTest, TwoDotsInARowAreABlankField)
{
   AddHosted(Network::NAT, 8, "192.168..0", "255.255.255.0");
   ExpectBad(8, "tvnet8: Subnet IP must have no blank fields.");
}

TEST_F(VerifyTest, BlankLastFieldIsToldAsItsFirstByte)
{
   AddHosted(Network::NAT, 8, "192.168.0.", "255.255.255.0");
   ExpectBad(8, "tvnet8: The first byte of the subnet IP should be from 0 to 126 or from 128 to "
                "223.");
}

TEST_F(VerifyTest, BlankFieldIsToldBeforeARepeat)
{
   AddHosted(Network::NAT, 1, "10..0.0", "255.0.0.0");
   AddHosted(Network::NAT, 2, "10..0.0", "255.0.0.0");
   ExpectBad(1, "tvnet1: Subnet IP must have no blank fields.");
}

TEST_F(VerifyTest, RepeatIsToldAtTheHigherIndexWhateverTheMasks)
{
   AddHosted(Network::HostOnly, 9, "10.0.0.0", "255.0.0.0");
   AddHosted(Network::NAT, 3, "10.0.0.0", "255.255.0.0");
   ExpectBad(9, "tvnet9: Subnet IPs must all be unique.");
}

TEST_F(VerifyTest, RepeatIsToldBeforeABadMask)
{
   AddHosted(Network::NAT, 1, "10.0.0.0", "255.0.0.0");
   AddHosted(Network::NAT, 2, "10.0.0.0", "");
   ExpectBad(2, "tvnet2: Subnet IPs must all be unique.");
}

TEST_F(VerifyTest, OnlyTheExactTextIsARepeat)
{
   AddHosted(Network::NAT, 1, "10.0.0.0", "255.0.0.0");
   AddHosted(Network::NAT, 2, "010.0.0.0", "255.0.0.0");
   ExpectGood();
}

TEST_F(VerifyTest, MaskReasonIsToldWithTheNetwork)
{
   AddHosted(Network::NAT, 255, "192.168.1.1", "255.255.255.0");
   ExpectBad(255, "tvnet255: The subnet IP and subnet mask are mismatch.");
}

TEST_F(VerifyTest, LowestBadNetworkIsToldAlone)
{
   AddHosted(Network::NAT, 1, "10.0.0.0", "255.0.0.0");
   AddHosted(Network::NAT, 7, "192.168.1.0", "255.0.255.0");
   AddHosted(Network::NAT, 4, "192.168.1.0", "0.0.0.0");
   ExpectBad(4, "tvnet4: The subnet mask cannot be zero.");
}

} // namespace

} // namespace netcfg
