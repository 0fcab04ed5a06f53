// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/systemdUnits.hh"

#include "base/fileDescriptor.hh"
#include "lib/vnet/getFailure.hh"
#include "lib/vnet/process/managerDouble.hh"
#include "support/testProcess.hh"

#include <future>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace vnet::process {

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char const* unit = "tavrin-dhcp@tvnet8.service";

class SystemdUnitsTest : public testing::Test {
protected:
   ManagerDouble manager;
   SystemdUnits units{manager.GetAddress(), test::patience};
};

TEST_F(SystemdUnitsTest, AStartIsAJobThatIsWaitedFor)
{
   units.Start(unit);
   units.Start(unit); // whose end is told before it is named
   EXPECT_THAT(manager.GetCalls(),
               ElementsAre("Subscribe", "ResetFailedUnit tavrin-dhcp@tvnet8.service",
                           "StartUnit tavrin-dhcp@tvnet8.service replace", "Subscribe",
                           "ResetFailedUnit tavrin-dhcp@tvnet8.service",
                           "StartUnit tavrin-dhcp@tvnet8.service replace"));
}

TEST_F(SystemdUnitsTest, AStopIsAJobThatIsWaitedFor)
{
   units.Stop(unit);
   units.Stop(unit);
   EXPECT_THAT(manager.GetCalls(),
               ElementsAre("Subscribe", "StopUnit tavrin-dhcp@tvnet8.service replace", "Subscribe",
                           "StopUnit tavrin-dhcp@tvnet8.service replace"));
}

TEST_F(SystemdUnitsTest, AUnitThatFailsSaysWhereToRead)
{
   manager.SetResult(unit, "failed");
   for (int i = 0; i < 2; ++i) {
      EXPECT_EQ("start tavrin-dhcp@tvnet8.service: failed (exit-code); \"journalctl -u "
                "tavrin-dhcp@tvnet8.service\" tells why",
                GetFailure([this] { units.Start(unit); }));
   }
}

TEST_F(SystemdUnitsTest, ARefusalIsToldInItsWords)
{
   manager.SetResult(unit, "refused");
   EXPECT_EQ("start tavrin-dhcp@tvnet8.service: Unit is masked.",
             GetFailure([this] { units.Start(unit); }));
}

TEST_F(SystemdUnitsTest, AnUnknownUnitIsStoppedAlreadyAndCannotBeStarted)
{
   manager.SetResult(unit, "unknown");
   EXPECT_NO_THROW(units.Stop(unit));
   EXPECT_EQ("start tavrin-dhcp@tvnet8.service: Unit isn't loaded.",
             GetFailure([this] { units.Start(unit); }));
}

TEST_F(SystemdUnitsTest, AJobThatDoesNotEndEndsTheWait)
{
   manager.SetResult(unit, "never");
   SystemdUnits hasty(manager.GetAddress(), test::Milliseconds(200));
   // The second, where not even an answer came in time.
   EXPECT_THAT(GetFailure([&] { hasty.Start(unit); }),
               AnyOf("start tavrin-dhcp@tvnet8.service: the service manager didn't answer in time",
                     "start tavrin-dhcp@tvnet8.service: Timeout was reached"));
}

TEST_F(SystemdUnitsTest, TheStateIsTheManagersWord)
{
   EXPECT_EQ("inactive", units.GetState(unit));
}

TEST_F(SystemdUnitsTest, ABusThatEndsEndsTheWait)
{
   manager.SetResult(unit, "never");
   SystemdUnits patient(manager.GetAddress(), 2 * test::patience);
   auto failure =
      std::async(std::launch::async, [&] { return GetFailure([&] { patient.Start(unit); }); });
   EXPECT_TRUE(test::Eventually([this] {
      auto const calls = manager.GetCalls();
      return !calls.empty() && calls.back().starts_with("StartUnit");
   }));
   manager.Vanish();
   EXPECT_EQ(std::future_status::ready, failure.wait_for(test::patience));
   EXPECT_THAT(failure.get(), HasSubstr("start tavrin-dhcp@tvnet8.service: "));
}

TEST(SystemdUnitsBusTest, AManagerThatComesLateIsWaitedFor)
{
   ManagerDouble manager("org.freedesktop.stranger1");
   SystemdUnits units(manager.GetAddress(), 2 * test::patience);
   auto failure =
      std::async(std::launch::async, [&] { return GetFailure([&] { units.Start(unit); }); });
   EXPECT_EQ(std::future_status::timeout, failure.wait_for(test::Milliseconds(50)));
   EXPECT_THAT(manager.GetCalls(), IsEmpty());
   manager.TakeName();
   EXPECT_EQ("", failure.get());
   EXPECT_EQ("StartUnit tavrin-dhcp@tvnet8.service replace", manager.GetCalls().back());
}

TEST(SystemdUnitsBusTest, ABusWithoutTheManagerIsTold)
{
   ManagerDouble const stranger("org.freedesktop.stranger1");
   SystemdUnits units(stranger.GetAddress(), test::Milliseconds(200));
   EXPECT_THAT(GetFailure([&] { units.Start(unit); }),
               HasSubstr("start tavrin-dhcp@tvnet8.service: "));
   EXPECT_THAT(stranger.GetCalls(), IsEmpty());
}

TEST(SystemdUnitsBusTest, ABusThatDoesNotAnswerEndsTheWait)
{
   test::TempDir const place;
   auto const path = (place.GetPath() / "bus").string();
   base::FileDescriptor const listening(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   path.copy(address.sun_path, sizeof address.sun_path - 1);
   ASSERT_EQ(0, bind(listening.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
   ASSERT_EQ(0, listen(listening.Get(), 1));
   SystemdUnits units("unix:path=" + path, test::Milliseconds(200));
   EXPECT_EQ("start tavrin-dhcp@tvnet8.service: the system's bus didn't answer in time",
             GetFailure([&] { units.Start(unit); }));
}

TEST(SystemdUnitsBusTest, AMissingBusIsTold)
{
   SystemdUnits units("unix:path=/nowhere/bus");
   EXPECT_EQ("stop tavrin-dhcp@tvnet8.service: Could not connect: No such file or directory",
             GetFailure([&] { units.Stop(unit); }));
}

} // namespace

} // namespace vnet::process
