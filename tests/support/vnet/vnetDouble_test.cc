// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/vnet/vnetDouble.hh"

#include "support/testProcess.hh"
#include "vnet/vnetlib.h"

#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

using testing::ElementsAre;

class VnetDoubleTest : public testing::Test {
protected:
   VnetDoubleTest()
   {
      VnetDouble::Reset();
      VnetDouble::Load();
   }
};

// --- the text form

TEST(VnetDatabaseTest, TextOfADatabaseReadsBackEqual)
{
   VnetDatabase database = VnetDatabase::MakeDefault();
   database.loadable = false;
   database.networks[8].displayName = "Home B\xc3\xbcro";
   database.networks[8].mtu = 1400;
   database.networks[8].dhcpParams[0x3426] = "192.168.8.128";
   database.networks[8].PutForward({true, 80, "192.168.8.3", 8080, "two words"});
   database.networks[8].PutForward({false, 53, "192.168.8.3", 53, ""});

   EXPECT_EQ(database, VnetDatabase::Parse(database.ToText()));
}

TEST(VnetDatabaseTest, EmptyTextIsAnEmptyDatabase)
{
   EXPECT_EQ(VnetDatabase(), VnetDatabase::Parse(""));
}

class BadLineTest : public testing::TestWithParam<char const*> {};

TEST_P(BadLineTest, IsRefused)
{
   EXPECT_THROW(VnetDatabase::Parse(GetParam()), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(, BadLineTest,
                         testing::Values("nonsense", "color=8 red", "exists=maybe", "automatic=",
                                         "adapter=eth0", "mtu=8 large", "nat=8", "nat=x 0x2343 a",
                                         "forward=8 sctp 80 10.0.0.1 80", "forward=8 tcp 65536 a 1",
                                         "forward=8 tcp 80 10.0.0.1", "vnets=1 2"));

// --- lines and failures

TEST_F(VnetDoubleTest, LineShowsArgumentsAsTheyAre)
{
   VnetRef const ref{1, 1, -1};
   VNL_FeatureStruct features{};
   features.version = 1;
   features.ref = {1, 2, 8};
   VNL_GetVnetFeatures(&features);
   VNL_SetBridgeDefaultNetwork(&ref);
   VNL_SetVnetSubnetMask("tvnet8", nullptr);
   VNL_SetVnetDisplayName("tvnet8", "\"\\\n\x01");
   VNL_SetVnetUseNAT("tvnet8", true, 1);
   VNL_SetNATParam("tvnet8", 0x2343, "10.0.0.2 and more", 8);
   VNL_FreeHostAdapterList(nullptr);

   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_GetVnetFeatures({1, {1, 2, 8}})",
                           "VNL_SetBridgeDefaultNetwork({1, 1, -1})",
                           "VNL_SetVnetSubnetMask(\"tvnet8\", null)",
                           "VNL_SetVnetDisplayName(\"tvnet8\", \"\\\"\\\\\\n\\x01\")",
                           "VNL_SetVnetUseNAT(\"tvnet8\", true, 1)",
                           "VNL_SetNATParam(\"tvnet8\", 0x2343, \"10.0.0.2\", 8)",
                           "VNL_FreeHostAdapterList(null)"));
}

TEST_F(VnetDoubleTest, CallThatIsMadeToFailHasNoEffect)
{
   VnetDouble::FailCall(1);
   EXPECT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   EXPECT_FALSE(VNL_SetVnetMTU("tvnet8", 9000));
   EXPECT_EQ(1400u, VnetDouble::GetDatabase().networks[8].mtu);

   VnetDouble::FailFunction("VNL_RemoveMTU");
   EXPECT_FALSE(VNL_RemoveMTU("tvnet8"));
   EXPECT_EQ(1400u, VnetDouble::GetDatabase().networks[8].mtu);
}

TEST_F(VnetDoubleTest, FailedReadOfTheDefaultNetworkWritesItAllTheSame)
{
   VnetDouble::FailFunction("VNL_GetBridgeDefaultNetwork");
   VnetRef ref{1, 1, 77};
   EXPECT_FALSE(VNL_GetBridgeDefaultNetwork(&ref));
   EXPECT_EQ(-1, ref.vnet);
}

// --- a plausible library

TEST_F(VnetDoubleTest, NothingIsReadOrChangedWithNothingLoaded)
{
   VNL_Unload();
   VNL_Unload();
   VnetDatabase const before = VnetDouble::GetDatabase();
   char buffer[VNL_ADDRESS_SIZE];
   std::uint32_t length = sizeof buffer;

   EXPECT_EQ(256u, VNL_GetNumberOfVnets());
   EXPECT_FALSE(VNL_GetVnetSubnetAddr("tvnet8", buffer, &length));
   EXPECT_FALSE(VNL_SetVnetMTU("tvnet8", 1400));
   EXPECT_FALSE(VNL_DeleteVnetFromDatabase("tvnet8"));
   EXPECT_EQ(nullptr, VNL_ExportDatabaseToBuffer());
   EXPECT_EQ(before, VnetDouble::GetDatabase());
}

TEST_F(VnetDoubleTest, DatabaseThatIsMissingOrBadIsNotLoaded)
{
   VnetDouble::Reset();
   EXPECT_TRUE(VNL_Load(0));
   VnetDouble::SetDatabaseReadable(false);
   EXPECT_FALSE(VNL_CanReadNetworkingDB());
   EXPECT_FALSE(VNL_Load(0));
   EXPECT_FALSE(VnetDouble::IsLoaded());
}

TEST_F(VnetDoubleTest, MovedAdapterIsListedWhereItWasMovedTo)
{
   VNL_HostAdapterList* list = nullptr;
   ASSERT_TRUE(VNL_GetHostAdapterList(1, &list));
   ASSERT_EQ(2u, list->count);
   VnetRef const from{1, 1, 0};
   VnetRef const to{1, 1, 4};
   EXPECT_TRUE(VNL_BridgeMoveAdapter(list->first, &from, &to));
   EXPECT_FALSE(VNL_BridgeMoveAdapter(list->first, nullptr, &to)) << "it isn't nowhere now";
   EXPECT_EQ(1, VnetDouble::GetOpenLists());
   VNL_FreeHostAdapterList(list);
   EXPECT_EQ(0, VnetDouble::GetOpenLists());

   ASSERT_TRUE(VNL_GetHostAdapterList(1, &list));
   EXPECT_STREQ("eth0", list->first->name);
   EXPECT_EQ(4, list->first->network.vnet);
   EXPECT_EQ(0, list->first->next->network.vnet);
   VNL_FreeHostAdapterList(list);
}

TEST_F(VnetDoubleTest, ValuesKeepToTheirLimits)
{
   std::string const value(129, 'x');
   char buffer[VNL_VALUE_SIZE];
   std::uint32_t length = 127;

   EXPECT_TRUE(VNL_SetNATParam("tvnet8", 0x2343, value.data(), 128));
   EXPECT_FALSE(VNL_SetNATParam("tvnet8", 0x2343, value.data(), 129));
   EXPECT_FALSE(VNL_GetNATParam("tvnet8", 0x2343, 1, buffer, &length));
   EXPECT_EQ(127u, length);
   EXPECT_FALSE(VNL_SetVnetDisplayName("tvnet8", value.c_str() + 1));
   EXPECT_TRUE(VNL_SetVnetDisplayName("tvnet8", value.c_str() + 2));
   EXPECT_FALSE(VNL_SetVnetMTU("tvnet8", 67));
   EXPECT_FALSE(VNL_SetVnetMTU("tvnet256", 1400));
   EXPECT_FALSE(VNL_SetVnetSubnetAddr("tvnet8", "nonsense"));
}

TEST_F(VnetDoubleTest, EmptyMaskKeepsTheAssignedOne)
{
   EXPECT_TRUE(VNL_AssignSubnetAddressToVnet("tvnet4", 1));
   EXPECT_TRUE(VNL_SetVnetSubnetMask("tvnet4", ""));
   EXPECT_EQ("255.255.255.0", VnetDouble::GetDatabase().networks[4].subnetMask);
   EXPECT_TRUE(VNL_SetVnetSubnetMask("tvnet8", ""));
   EXPECT_EQ("", VnetDouble::GetDatabase().networks[8].subnetMask);
}

TEST_F(VnetDoubleTest, ForwardsAreListedByHostPort)
{
   EXPECT_TRUE(VNL_SetNATPortForward("tvnet8", true, 80, "10.0.0.1", 1, "b", 1));
   EXPECT_TRUE(VNL_SetNATPortForward("tvnet8", true, 22, "10.0.0.2", 2, "a", 1));
   EXPECT_TRUE(VNL_SetNATPortForward("tvnet8", true, 80, "10.0.0.3", 3, "c", 1));
   EXPECT_FALSE(VNL_SetNATPortForward("tvnet8", false, 80, nullptr, 0, nullptr, 0));

   auto const& forwards = VnetDouble::GetDatabase().networks[8].tcpForwards;
   EXPECT_THAT(forwards, ElementsAre(VnetForward{true, 22, "10.0.0.2", 2, "a"},
                                     VnetForward{true, 80, "10.0.0.3", 3, "c"}));
   EXPECT_TRUE(VNL_SetNATPortForward("tvnet8", true, 22, nullptr, 0, nullptr, 0));
   EXPECT_EQ(1u, forwards.size());
}

// --- the shared library

class SharedDoubleTest : public testing::Test {
protected:
   // Loads the library in a child with this environment, calls VNL_Load there, and ends with its
   // result as status.
   int RunChild(std::vector<std::pair<char const*, std::string>> const& environment)
   {
      int const pid = fork();
      if (pid == 0) {
         for (auto const& [name, value] : environment) {
            setenv(name, value.c_str(), 1);
         }
         void* const library = dlopen(TEST_BUILD_DIR "/tests/double/libvnetlib.so.0", RTLD_NOW);
         auto* const load =
            library ? reinterpret_cast<bool (*)(int)>(dlsym(library, "VNL_Load")) : nullptr;
         _exit(load ? load(0) : 99);
      }
      return pid;
   }

   static int Wait(int pid, int flags)
   {
      int status = -1;
      EXPECT_EQ(pid, waitpid(pid, &status, flags));
      return status;
   }

   TempDir dir;
};

TEST_F(SharedDoubleTest, TakesItsDatabaseFromAFileAndLogsToOne)
{
   std::string const log = dir.GetPath() / "log";
   int const pid = RunChild(
      {{"TAVRIN_DOUBLE_DB", dir.Write("db", "loadable=false\n")}, {"TAVRIN_DOUBLE_LOG", log}});

   EXPECT_TRUE(ExitedWith(Wait(pid, 0), 0));
   EXPECT_EQ("VNL_Load(0)\n", ReadFile(log));
}

TEST_F(SharedDoubleTest, HasADatabaseOfItsOwn)
{
   EXPECT_TRUE(ExitedWith(Wait(RunChild({}), 0), 1));
}

TEST_F(SharedDoubleTest, RefusesADatabaseThatItCannotRead)
{
   EXPECT_TRUE(
      KilledBy(Wait(RunChild({{"TAVRIN_DOUBLE_DB", dir.Write("db", "nonsense\n")}}), 0), SIGABRT));
   EXPECT_TRUE(
      KilledBy(Wait(RunChild({{"TAVRIN_DOUBLE_DB", dir.GetPath() / "missing"}}), 0), SIGABRT));
}

TEST_F(SharedDoubleTest, StopsBehindTheLineAndBeforeTheWork)
{
   std::string const log = dir.GetPath() / "log";
   int const pid = RunChild({{"TAVRIN_DOUBLE_STOP_AT", "VNL_Load"}, {"TAVRIN_DOUBLE_LOG", log}});

   EXPECT_TRUE(WIFSTOPPED(Wait(pid, WUNTRACED)));
   EXPECT_EQ("VNL_Load(0)\n", ReadFile(log));
   kill(pid, SIGCONT);
   EXPECT_TRUE(ExitedWith(Wait(pid, 0), 1));
}

} // namespace

} // namespace test
