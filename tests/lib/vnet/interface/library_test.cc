// SPDX-License-Identifier: GPL-2.0-or-later
// Loading, committing and unloading.
#include "lib/vnet/interface/interfaceTest.hh"

#include "vnet/database/database.hh"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using LibraryTest = test::InterfaceTest;

TEST_F(LibraryTest, KnowsWhetherTheFileIsThere)
{
   EXPECT_TRUE(VNL_NetworkingDBExists());
   std::filesystem::remove(place.GetFile());
   EXPECT_FALSE(VNL_NetworkingDBExists());
   EXPECT_THAT(TakeLog(), IsEmpty());

   std::filesystem::create_symlink("nowhere", place.GetFile());
   EXPECT_TRUE(VNL_NetworkingDBExists());
   EXPECT_FALSE(VNL_CanReadNetworkingDB());
   EXPECT_THAT(TakeLog(), ElementsAre(EndsWith(": It is a symbolic link\n")));
}

TEST_F(LibraryTest, KnowsWhetherTheFileCanBeRead)
{
   EXPECT_TRUE(VNL_CanReadNetworkingDB());
   EXPECT_THAT(TakeLog(), IsEmpty());

   for (std::string const bad : {"", "[general]\nversion=2\n", "[general]\nversion=1\n\xff",
                                 "[general]\nversion=1\n[a]\n[a]\n", "no key file"}) {
      place.Write(bad);
      EXPECT_FALSE(VNL_CanReadNetworkingDB()) << bad;
      EXPECT_FALSE(VNL_Load(0)) << bad;
      EXPECT_EQ(2u, TakeLog().size()) << bad;
      EXPECT_EQ(bad, place.Read());
   }
}

TEST_F(LibraryTest, DoesNotLoadWithoutPrivilege)
{
   host.privilege = false;
   EXPECT_FALSE(VNL_Load(0));
   EXPECT_THAT(TakeLog(), ElementsAre("LogV(2): load the networking database: This process may "
                                      "not change the host's networks\n"));
   EXPECT_FALSE(VNL_SetVnetMTU("tvnet8", 1500));
}

TEST_F(LibraryTest, KnowsOneModeOfLoading)
{
   EXPECT_FALSE(VNL_Load(1));
   EXPECT_FALSE(VNL_Load(-1));
   EXPECT_TRUE(VNL_Load(0));
}

TEST_F(LibraryTest, WritesWhatWasChangedWhenItUnloads)
{
   ASSERT_TRUE(VNL_Load(0));
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   EXPECT_EQ(minimal, place.Read());
   VNL_Unload();

   EXPECT_EQ(minimal + "\n[tvnet8]\nmtu=1400\n", place.Read());
   EXPECT_THAT(host.calls, ElementsAre("finish changed"));
   EXPECT_EQ(1400u, host.settings.networks.at(8).mtu);
   EXPECT_TRUE(std::filesystem::is_empty(place.GetLockFolder()));
}

TEST_F(LibraryTest, WritesNothingIfNothingChanged)
{
   place.Write(test::richText);
   struct stat before;
   ASSERT_EQ(0, stat(place.GetFile().c_str(), &before));
   ASSERT_TRUE(VNL_Load(0));
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   ASSERT_TRUE(VNL_SetVnetUseNAT("tvnet8", true, 1));
   VNL_Unload();

   struct stat after;
   ASSERT_EQ(0, stat(place.GetFile().c_str(), &after));
   EXPECT_EQ(before.st_ino, after.st_ino);
   EXPECT_EQ(test::richText, place.Read());
   EXPECT_THAT(host.calls, ElementsAre("finish unchanged"));
}

TEST_F(LibraryTest, ASecondUnloadDoesNothing)
{
   ASSERT_TRUE(VNL_Load(0));
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   VNL_Unload();
   place.Write(minimal);
   host.calls.clear();
   VNL_Unload();

   EXPECT_THAT(host.calls, IsEmpty());
   EXPECT_EQ(minimal, place.Read());
   EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(LibraryTest, ASecondLoadKeepsWhatWasChanged)
{
   ASSERT_TRUE(VNL_Load(0));
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   ASSERT_TRUE(VNL_Load(0));
   std::uint32_t mtu = 0;

   EXPECT_TRUE(VNL_GetVnetMTU("tvnet8", &mtu));
   EXPECT_EQ(1400u, mtu);
   VNL_Unload();
   EXPECT_FALSE(VNL_GetVnetMTU("tvnet8", &mtu));
}

TEST_F(LibraryTest, ReadsAFileThatChangedAfterTheLoad)
{
   ASSERT_TRUE(VNL_Load(0));
   place.Write(minimal + "[tvnet8]\nmtu=1300\n");
   std::uint32_t mtu = 0;

   EXPECT_TRUE(VNL_GetVnetMTU("tvnet8", &mtu));
   EXPECT_EQ(1300u, mtu);
}

TEST_F(LibraryTest, ANewLoadStartsFromTheFile)
{
   ASSERT_TRUE(VNL_Load(0));
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   VNL_Unload();
   ASSERT_TRUE(VNL_Load(0));

   EXPECT_EQ(minimal + "\n[tvnet8]\nmtu=1400\n", Export());
}

TEST_F(LibraryTest, ADamagedFileIsNeverOverwrittenByASave)
{
   ASSERT_TRUE(VNL_Load(0));
   place.Write("damaged");
   EXPECT_FALSE(VNL_SetVnetMTU("tvnet8", 1400));
   EXPECT_FALSE(VNL_StartService("tvnet8", VNL_SERVICE_NAT));
   EXPECT_FALSE(VNL_DeleteVnetFromDatabase("tvnet8"));
   VNL_Unload();

   EXPECT_EQ("damaged", place.Read());
   EXPECT_THAT(host.calls, ElementsAre("finish unchanged"));
}

TEST_F(LibraryTest, AFailedCommitIsLoggedAndTheHostFollowsAllTheSame)
{
   ASSERT_TRUE(VNL_Load(0));
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   // The new file can't be made in the place of a folder.
   std::filesystem::create_directory(place.GetFolder() / ".networking.new");
   std::filesystem::create_directory(place.GetFolder() / ".networking.new" / "x");
   VNL_Unload();

   EXPECT_EQ(minimal, place.Read());
   EXPECT_THAT(host.calls, ElementsAre("finish changed"));
   EXPECT_THAT(TakeLog(), ElementsAre(HasSubstr("LogV(2): commit " + place.GetFile())));
}

TEST_F(LibraryTest, AHostThatFailsAtTheEndIsLoggedAndTheCommitStands)
{
   ASSERT_TRUE(VNL_Load(0));
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   host.failing = true;
   VNL_Unload();

   EXPECT_EQ(minimal + "\n[tvnet8]\nmtu=1400\n", place.Read());
   EXPECT_THAT(TakeLog(), ElementsAre(EndsWith(": do finish changed: The host fails\n")));
   EXPECT_TRUE(std::filesystem::is_empty(place.GetLockFolder()));
}

TEST_F(LibraryTest, WhileAnotherChangesTheNetworksAChangeIsRefused)
{
   ASSERT_TRUE(VNL_Load(0));
   vnet::Database other(place.Get());
   other.Set(1, vnet::field::mtu, 1000);

   EXPECT_FALSE(VNL_SetVnetMTU("tvnet8", 1400));
   EXPECT_FALSE(VNL_StartService("tvnet8", VNL_SERVICE_NAT));
   EXPECT_EQ(2u, TakeLog().size());
   EXPECT_THAT(host.calls, IsEmpty());

   other.Commit();
   std::uint32_t mtu = 0;
   EXPECT_TRUE(VNL_GetVnetMTU("tvnet1", &mtu));
   EXPECT_EQ(1000u, mtu);
}

TEST_F(LibraryTest, WhatAnotherWroteMeanwhileIsCommittedWithOurs)
{
   ASSERT_TRUE(VNL_Load(0));
   {
      vnet::Database other(place.Get());
      other.Set(1, vnet::field::mtu, 1000);
      other.Commit();
   }
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   VNL_Unload();

   EXPECT_EQ(minimal + "\n[tvnet1]\nmtu=1000\n\n[tvnet8]\nmtu=1400\n", place.Read());
}

} // namespace
