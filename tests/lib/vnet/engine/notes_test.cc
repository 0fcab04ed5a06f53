// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/notes.hh"

#include "support/testProcess.hh"

#include <filesystem>
#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

services::WantedForward MakeForward(bool tcp, std::uint16_t port)
{
   return {tcp, port, Address{0xc0a80880}, 80};
}

class NotesTest : public testing::Test {
protected:
   test::TempDir const place;
   Notes const notes{place.GetPath(), 8};
   std::string const folder = place.GetPath() / "tvnet8";
};

} // namespace

TEST_F(NotesTest, NothingIsNotedAtFirst)
{
   EXPECT_FALSE(notes.Exist());
   EXPECT_THAT(notes.ReadStopped(), IsEmpty());
   EXPECT_THAT(notes.ReadForwards(), IsEmpty());
   EXPECT_EQ(Notes::Rules(), notes.ReadRules());
   EXPECT_FALSE(notes.IsPatch(""));
   EXPECT_THAT(Notes::List(place.GetPath()), IsEmpty());
}

TEST_F(NotesTest, WhatIsNotedIsReadByAnother)
{
   std::vector<services::WantedForward> const forwards = {MakeForward(false, 53),
                                                          MakeForward(true, 8080)};
   notes.WriteStopped({Part::Nat, Part::Adapter});
   notes.WriteForwards(forwards);
   notes.WriteRules(Notes::Rules::Of("text", "description"));
   notes.WritePatch("eth0");

   Notes const other(place.GetPath(), 8);
   EXPECT_THAT(other.ReadStopped(), ElementsAre(Part::Nat, Part::Adapter));
   EXPECT_EQ(forwards, other.ReadForwards());
   EXPECT_EQ(Notes::Rules::Of("text", "description"), other.ReadRules());
   EXPECT_NE(Notes::Rules::Of("text", "other"), other.ReadRules());
   EXPECT_TRUE(other.IsPatch("eth0"));
   EXPECT_FALSE(other.IsPatch("eth1"));
   EXPECT_THAT(Notes::List(place.GetPath()), ElementsAre(8));
}

TEST_F(NotesTest, AnEmptySetIsANoteToo)
{
   notes.WriteStopped({});
   EXPECT_TRUE(notes.Exist());
}

TEST_F(NotesTest, DamagedLinesAreLeftOut)
{
   std::filesystem::create_directory(folder);
   place.Write("tvnet8/forwards", "tcp 8080 192.168.8.128 80\n"
                                  "sctp 1 192.168.8.128 1\n"
                                  "tcp 0 192.168.8.128 80\n"
                                  "tcp 80 192.168.8.300 80\n"
                                  "tcp 80\n"
                                  "\n"
                                  "udp 65536 192.168.8.128 80\n");
   place.Write("tvnet8/stopped", "nat nonsense");
   EXPECT_THAT(notes.ReadForwards(), ElementsAre(MakeForward(true, 8080)));
   EXPECT_THAT(notes.ReadStopped(), ElementsAre(Part::Nat));
}

TEST_F(NotesTest, AFileThatOthersMayChangeIsNotBelieved)
{
   notes.WriteRules(Notes::Rules::Of("text", "description"));
   std::filesystem::permissions(folder + "/rules", std::filesystem::perms::others_write,
                                std::filesystem::perm_options::add);
   EXPECT_EQ(Notes::Rules(), notes.ReadRules());
}

TEST_F(NotesTest, RemovingLeavesNothingOfAKilledProcessEither)
{
   notes.WriteStopped({});
   place.Write("tvnet8/.rules.new", "half");
   notes.Remove();
   EXPECT_FALSE(std::filesystem::exists(folder));
   notes.Remove();
}

TEST_F(NotesTest, OnlyFoldersOfNetworksAreListed)
{
   for (auto const* name : {"tvnet0", "tvnet255", "tvnet256", "tvnet08", "other"}) {
      std::filesystem::create_directory(place.GetPath() / name);
   }
   EXPECT_THAT(Notes::List(place.GetPath()), ElementsAre(0, 255));
}

} // namespace vnet::engine
