// SPDX-License-Identifier: GPL-2.0-or-later
#include "wholeSave.hh"

#include <algorithm>
#include <cstdlib>

namespace netcfg {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

INSTANTIATE_TEST_SUITE_P(, WholeSaveTest, testing::Bool(),
                         [](auto const& test) { return GetModeName(test.param); });

TEST_P(WholeSaveTest, MakesExactlyTheGoldenCalls)
{
   EXPECT_THAT(Save(), testing::ElementsAreArray(ReadGolden()));
}

TEST_P(WholeSaveTest, LeavesTheDatabaseAsTheModelSays)
{
   Save();

   VnetDatabase const& saved = VnetDouble::GetDatabase();
   EXPECT_EQ(-1, saved.automatic);
   EXPECT_THAT(saved.adapters,
               ElementsAre(test::VnetAdapter{"eth0", 0}, test::VnetAdapter{"eth1", 2},
                           test::VnetAdapter{"eth2", -1}, test::VnetAdapter{"eth3", 0},
                           test::VnetAdapter{"usb0", -1}, test::VnetAdapter{"wlan0", -1}));
   EXPECT_EQ(0u, saved.networks.count(3));
   EXPECT_FALSE(saved.networks.at(1).mtu);
   EXPECT_EQ(9000u, saved.networks.at(5).mtu);
   EXPECT_EQ("255.255.255.0", saved.networks.at(5).subnetMask) << "assigned with the subnet";
   EXPECT_EQ("", saved.networks.at(9).natParams.at(0x2343));
   EXPECT_EQ("192.168.8.3", saved.networks.at(8).dhcpParams.at(0x342e));
}

TEST_P(WholeSaveTest, LeavesTheServicesRunningOnlyOnARealSave)
{
   Save();

   using Services = std::set<std::uint32_t>;
   auto const running = [](unsigned int index) { return Stored(index).services; };
   bool const apply = GetParam();
   EXPECT_EQ(apply ? Services{0x8801} : Services{}, running(0));
   EXPECT_EQ(Services{}, running(1));
   EXPECT_EQ(apply ? Services{0x8802} : Services{}, running(5));
   EXPECT_EQ(apply ? (Services{0x8802, 0x8803}) : Services{}, running(8));
   EXPECT_EQ(apply, Stored(1).adapterEnabled);
   EXPECT_FALSE(Stored(5).adapterEnabled);
}

TEST_P(WholeSaveTest, ASecondSaveMovesAndComparesWithWhatTheFirstLeft)
{
   Save();
   Lines const calls = Save();

   for (std::string const& call : calls) {
      EXPECT_THAT(call, Not(HasSubstr("BridgeMoveAdapter")));
      EXPECT_THAT(call, Not(HasSubstr("SetNATParam")));
      EXPECT_THAT(call, Not(HasSubstr("SetNATPortForward")));
   }
   EXPECT_EQ(0, VnetDouble::GetDatabase().automatic);
}

// --- failures

bool StartsWith(std::string const& line, char const* start)
{
   return line.rfind(start, 0) == 0;
}

// A call that only tells something. What it tells, or doesn't, may change what is written.
bool IsRead(std::string const& call)
{
   return StartsWith(call, "VNL_Get") || StartsWith(call, "VNL_Enum");
}

// What is called whatever is read.
Lines GetSkeleton(Lines const& calls)
{
   char const* const dependent[] = {"VNL_EnumNATPortForward", "VNL_SetNATPortForward",
                                    "VNL_SetNATParam",        "VNL_SetDHCPParam",
                                    "VNL_BridgeMoveAdapter",  "VNL_SetBridgeDefaultNetwork",
                                    "VNL_GetVnetFeatures",    "VNL_GetBridgeDefaultNetwork"};
   Lines skeleton;
   for (std::string const& call : calls) {
      bool const isFixed = std::none_of(std::begin(dependent), std::end(dependent),
                                        [&](char const* start) { return StartsWith(call, start); });
      if (isFixed) {
         skeleton.push_back(call);
      }
   }
   return skeleton;
}

class FailedCallTest : public WholeSaveTest {
protected:
   // The save's calls with the call of that number failing.
   Lines SaveWithFailure(std::size_t number)
   {
      Undo();
      VnetDouble::FailCall(number);
      VnetDouble::ClearLog();
      std::free(GetParam() ? mgr.Save() : mgr.SaveToBuffer());
      return VnetDouble::GetLog();
   }
};

INSTANTIATE_TEST_SUITE_P(, FailedCallTest, testing::Bool(),
                         [](auto const& test) { return GetModeName(test.param); });

TEST_P(FailedCallTest, NeverStopsTheWalk)
{
   Lines const golden = ReadGolden();
   for (std::size_t number = 0; number < golden.size(); ++number) {
      Lines const calls = SaveWithFailure(number);
      if (IsRead(golden[number])) {
         EXPECT_EQ(GetSkeleton(golden), GetSkeleton(calls)) << golden[number];
      } else {
         EXPECT_EQ(golden, calls) << golden[number];
      }
   }
}

TEST_P(FailedCallTest, AllOfThemTogetherDoNotStopItEither)
{
   for (std::string const& call : ReadGolden()) {
      VnetDouble::FailFunction(call.substr(0, call.find('(')));
   }
   VnetDouble::ClearLog();
   EXPECT_EQ(nullptr, GetParam() ? mgr.Save() : mgr.SaveToBuffer());

   EXPECT_EQ(GetSkeleton(ReadGolden()), GetSkeleton(VnetDouble::GetLog()));
}

TEST_P(FailedCallTest, DoesNotStopItWithoutALoadedDatabaseEither)
{
   VnetDouble::Reset();
   EXPECT_EQ(nullptr, GetParam() ? mgr.Save() : mgr.SaveToBuffer());

   EXPECT_EQ(GetSkeleton(ReadGolden()), GetSkeleton(VnetDouble::GetLog()));
}

} // namespace

} // namespace netcfg
