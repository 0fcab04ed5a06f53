// SPDX-License-Identifier: GPL-2.0-or-later
// Models of every shape on their way through a snapshot, against a prediction of their own.
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/common/plainModel.hh"
#include "tvnetcfg/common/randomModel.hh"
#include "tvnetcfg/common/snapshotText.hh"

#include <boost/property_tree/exceptions.hpp>
#include <gtest/gtest.h>
#include <memory>

namespace netcfg::common {

namespace {

constexpr unsigned int MODELS = 4000;
constexpr unsigned int FEWER_MODELS = 1000;
constexpr unsigned int FIRST_SEED = 20240501;

class RandomRoundTripTest : public testing::Test {
protected:
   // Calls check with as many models and their descriptions, until one fails.
   template <typename Check>
   void ForEachModel(unsigned int models, Check check)
   {
      for (unsigned int seed = FIRST_SEED; seed < FIRST_SEED + models && !HasFailure(); ++seed) {
         SCOPED_TRACE("seed " + std::to_string(seed));
         std::unique_ptr<Editable> const editable = RandomModel(seed).Make();
         check(*editable, Describe(*editable));
      }
   }
};

} // namespace

TEST_F(RandomRoundTripTest, TheReaderYieldsWhatIsPredictedFieldByField)
{
   unsigned int read = 0;
   unsigned int refused = 0;
   ForEachModel(MODELS, [&](Editable& editable, PlainModel const& written) {
      auto const expected = Predict(written);
      if (std::holds_alternative<BadNumber>(expected)) {
         EXPECT_THROW(RoundTrip(editable), boost::property_tree::ptree_bad_data) << written;
         ++refused;
         return;
      }
      std::unique_ptr<Editable> const restored = RoundTrip(editable);
      ASSERT_NE(nullptr, restored);
      EXPECT_EQ(std::get<PlainModel>(expected), Describe(*restored)) << written;
      ++read;
   });
   // Both outcomes have been seen, and neither by chance alone.
   EXPECT_GT(read, MODELS / 2);
   EXPECT_GT(refused, MODELS / 100);
}

TEST_F(RandomRoundTripTest, WritingLeavesTheModelAsItWas)
{
   ForEachModel(FEWER_MODELS, [&](Editable& editable, PlainModel const& before) {
      utf::string const first = Editable::Serialize(&editable);

      EXPECT_EQ(before, Describe(editable));
      EXPECT_EQ(first, Editable::Serialize(&editable));
   });
}

TEST_F(RandomRoundTripTest, TheTextIsOneLineOfAscii)
{
   ForEachModel(FEWER_MODELS, [&](Editable& editable, PlainModel const& written) {
      utf::string const text = Editable::Serialize(&editable);

      EXPECT_EQ(text.bytes(), text.size()) << written;
      EXPECT_EQ(text.bytes() - 1, text.find("\n", 0)) << written;
   });
}

TEST_F(RandomRoundTripTest, ASecondTripChangesNothingMore)
{
   ForEachModel(FEWER_MODELS, [&](Editable& editable, PlainModel const& written) {
      if (std::holds_alternative<BadNumber>(Predict(written))) {
         return;
      }
      std::unique_ptr<Editable> const once = RoundTrip(editable);
      std::unique_ptr<Editable> const twice = RoundTrip(*once);

      EXPECT_EQ(Describe(*once), Describe(*twice)) << written;
      EXPECT_EQ(Editable::Serialize(once.get()), Editable::Serialize(twice.get())) << written;
   });
}

TEST_F(RandomRoundTripTest, TheTextStaysTheSameIfTheTripLosesNothing)
{
   unsigned int same = 0;
   ForEachModel(FEWER_MODELS, [&](Editable& editable, PlainModel const& written) {
      auto const expected = Predict(written);
      if (!std::holds_alternative<PlainModel>(expected) ||
          std::get<PlainModel>(expected) != written) {
         return;
      }
      EXPECT_EQ(Editable::Serialize(&editable), Editable::Serialize(RoundTrip(editable).get()));
      ++same;
   });
   EXPECT_GT(same, FEWER_MODELS / 100);
}

// A step that isn't linear in the text would run into the time limit of the test.
TEST(LargeSnapshotTest, EightMebibytesComeAndGo)
{
   Editable written(20);
   NAT::PortForwardList forwards;
   for (unsigned int i = 0; i < 45000; ++i) {
      forwards.push_back({static_cast<std::uint16_t>(i), static_cast<std::uint16_t>(i * 7),
                          i % 2 == 0, "192.168.100.200",
                          utf::string(std::string(100, 'x').c_str()) + utf::IntToStr(i)});
   }
   written.AddNetwork(Network::NAT, 8, true, OnDone())->GetNAT()->SetPortForwardList(forwards);

   utf::string const text = Editable::Serialize(&written);
   std::unique_ptr<Editable> const editable(Editable::Restore(text));

   EXPECT_GT(text.bytes(), 8u * 1024 * 1024);
   ASSERT_NE(nullptr, editable);
   EXPECT_EQ(forwards, editable->GetNetwork(8)->GetNAT()->GetPortForwardList());
}

} // namespace netcfg::common
