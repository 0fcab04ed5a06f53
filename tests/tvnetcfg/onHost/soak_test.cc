// SPDX-License-Identifier: GPL-2.0-or-later
// Somebody edits and saves at random for a long time. SAVES in the environment is how often, SEED
// which edits.
#include "support/netlab/dhcpClient.hh"
#include "support/netlab/ping.hh"
#include "tvnetcfg/onHost/editing.hh"
#include "tvnetcfg/onHost/randomUser.hh"
#include "tvnetcfg/onHost/savedHost.hh"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <unistd.h>

namespace netcfg::onHost {

namespace {

using common::Network;
using Clock = std::chrono::steady_clock;

constexpr unsigned int guestNetwork = 8;
constexpr unsigned int otherGuestNetwork = 1;

unsigned int GetNumber(char const* variable, unsigned int otherwise)
{
   char const* const text = std::getenv(variable);
   return text ? static_cast<unsigned int>(std::strtoul(text, nullptr, 10)) : otherwise;
}

std::size_t CountDescriptors()
{
   return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

long GetResidentKilobytes()
{
   long pages = 0;
   std::ifstream("/proc/self/statm") >> pages >> pages;
   return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

double GetMedian(std::vector<double> values)
{
   auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
   std::nth_element(values.begin(), middle, values.end());
   return *middle;
}

// What one save cost this process.
struct Cost {
   double milliseconds;
   long kilobytes;
   std::size_t descriptors;
};

class SoakTest : public SavedHostTest {
protected:
   void SetUp() override
   {
      SavedHostTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      Plug(guest, "guest", "tvnet8");
      Plug(otherGuest, "other", "tvnet1");
   }

   static Cost SaveAndMeasure(common::Editable& model)
   {
      auto const start = Clock::now();
      EXPECT_TRUE(Save(model));
      std::chrono::duration<double, std::milli> const taken = Clock::now() - start;
      return {taken.count(), GetResidentKilobytes(), CountDescriptors()};
   }

   // A guest has what its network promises: a lease by DHCP, and the way out by NAT.
   void ExpectServed(common::Editable& model, unsigned int index, netlab::Namespace const& place)
   {
      Network* const network = model.GetNetwork(index);
      if (!network || !network->GetHasDHCP()) {
         return;
      }
      place.Command("ip -4 addr flush dev eth0");
      auto const lease = netlab::DhcpClient(place, "eth0").Acquire();
      ASSERT_TRUE(lease) << index;
      netlab::DhcpClient::Configure(place, "eth0", *lease);
      if (network->GetType() == Network::NAT) {
         EXPECT_TRUE(netlab::Ping(place, "10.3.0.9")) << index;
      }
   }

   netlab::Namespace guest;
   netlab::Namespace otherGuest;
};

// The first saves fill pools and caches.
void ExpectFlat(std::vector<Cost> const& costs)
{
   std::size_t const quarter = costs.size() / 4;
   std::vector<double> early;
   std::vector<double> late;
   for (std::size_t each = 0; each < quarter; ++each) {
      early.push_back(costs[quarter + each].milliseconds);
      late.push_back(costs[costs.size() - 1 - each].milliseconds);
   }
   std::cout << costs.size() << " saves: " << GetMedian(early) << " ms each in the second quarter, "
             << GetMedian(late) << " in the last; resident " << costs[quarter].kilobytes
             << " KiB after the first quarter, " << costs.back().kilobytes
             << " in the end; descriptors " << costs[quarter].descriptors << " and "
             << costs.back().descriptors << "\n";
   EXPECT_EQ(costs[quarter].descriptors, costs.back().descriptors);
#ifndef __SANITIZE_ADDRESS__ // which keeps what was freed
   EXPECT_LT(costs.back().kilobytes, costs[quarter].kilobytes + 4096);
#endif
}

TEST_F(SoakTest, EachOfManySavesMakesTheHostWhatTheModelSays)
{
   unsigned int const saves = GetNumber("SAVES", 20);
   RandomUser user(GetNumber("SEED", 1), {guestNetwork, otherGuestNetwork});
   Model model = OpenEditor();
   std::vector<Cost> costs;
   while (costs.size() < saves && !HasFailure()) {
      Model edited = Copy(*model);
      auto const told = user.Edit(*edited);
      if (!IsValid(*edited)) {
         continue;
      }
      // A snapshot may give adapters to another network than the window showed.
      edited = Copy(*edited);
      costs.push_back(SaveAndMeasure(*edited));
      ExpectSaved(*edited, {guestNetwork, otherGuestNetwork});
      ExpectServed(*edited, guestNetwork, guest);
      ExpectServed(*edited, otherGuestNetwork, otherGuest);
      EXPECT_FALSE(HasFailure()) << "save " << costs.size() << ": " << told;
      // As the editor that is opened next has it.
      model = OpenEditor();
   }
   ExpectFlat(costs);
}

} // namespace

} // namespace netcfg::onHost
