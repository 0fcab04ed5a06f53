// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/database.hh"

#include "lib/vnet/database/tempPlace.hh"
#include "support/logDouble.hh"
#include "vnet/database/decode.hh"
#include "vnet/values/error.hh"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace vnet;
using namespace std::chrono_literals;
using test::LogDouble;
using test::richText;
using test::TempPlace;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string const minimal = "[general]\nversion=1\n";

Settings Decode(std::string const& text)
{
   return vnet::Decode(KeyFile::Parse(text)).settings;
}

Address At(char const* text)
{
   return Address::Parse(text).value();
}

TEST(DatabaseTest, ReadsWithoutWriting)
{
   TempPlace const place(richText);
   Database database(place.Get());
   database.Refresh();
   database.Commit();

   EXPECT_EQ(Decode(richText), database.GetSettings());
   EXPECT_FALSE(database.HasChanges());
   EXPECT_EQ(richText, place.Read());
   EXPECT_THAT(place.List(), ElementsAre("networking"));
}

TEST(DatabaseTest, ANetworkThatItDoesNotHoldHasTheDefaults)
{
   TempPlace const place(minimal);
   EXPECT_EQ(NetworkSettings(), Database(place.Get()).GetNetwork(17));
}

TEST(DatabaseTest, SettingTheSameValueChangesNothing)
{
   TempPlace const place(richText);
   Database database(place.Get());
   auto const network = database.GetNetwork(8);
   ForEachField([&](auto const& field) {
      EXPECT_FALSE(database.Set(8, field, field.in(network))) << field.key;
      EXPECT_FALSE(database.Set(9, field, field.in(database.GetNetwork(9)))) << field.key;
   });
   for (auto const& forward : network.nat.forwards) {
      EXPECT_FALSE(database.SetForward(8, forward));
   }
   EXPECT_FALSE(database.RemoveForward(8, true, 1));
   EXPECT_FALSE(database.MoveAdapter("eth[1]", 2));
   EXPECT_FALSE(database.MoveAdapter("eth7", {}));
   EXPECT_FALSE(database.SetAutomatic(0));
   EXPECT_FALSE(database.DeleteNetwork(9));

   EXPECT_FALSE(database.HasChanges());
   database.Commit();
   EXPECT_EQ(richText, place.Read());
}

TEST(DatabaseTest, AChangeTouchesItsLineAlone)
{
   TempPlace const place(richText);
   {
      Database database(place.Get());
      EXPECT_TRUE(database.Set(8, field::mtu, 1300));
      EXPECT_TRUE(database.Set(1, field::subnetAddress, At("192.168.6.0")));
      EXPECT_TRUE(database.HasChanges());
      database.Commit();
      EXPECT_FALSE(database.HasChanges());
   }
   auto expected = richText;
   expected.replace(expected.find("mtu=1400"), 8, "mtu=1300");
   expected.replace(expected.find("192.168.5.0"), 11, "192.168.6.0");
   EXPECT_EQ(expected, place.Read());
}

TEST(DatabaseTest, EveryValueCanBeSetAndTakenBack)
{
   TempPlace const place(minimal);
   auto const rich = Decode(richText).networks.at(8);
   Database database(place.Get());
   ForEachField([&](auto const& field) {
      EXPECT_TRUE(database.Set(4, field, field.in(rich))) << field.key;
      EXPECT_EQ(field.in(rich), field.in(database.GetNetwork(4))) << field.key;
   });
   EXPECT_EQ(Decode(database.Export()), database.GetSettings());

   NetworkSettings const defaults;
   ForEachField([&](auto const& field) {
      EXPECT_TRUE(database.Set(4, field, field.in(defaults))) << field.key;
   });
   EXPECT_EQ(defaults, database.GetNetwork(4));
   EXPECT_EQ(Decode(database.Export()), database.GetSettings());
}

TEST(DatabaseTest, ABadValueStaysUntilSomethingSetsIt)
{
   TempPlace const place(minimal + "[tvnet3]\nmtu=many\nnat=perhaps\n");
   Database database(place.Get());
   EXPECT_FALSE(database.GetNetwork(3).mtu);

   EXPECT_TRUE(database.Set(3, field::useDhcp, true));
   EXPECT_THAT(database.Export(), HasSubstr("mtu=many\nnat=perhaps\n"));

   EXPECT_TRUE(database.Set(3, field::mtu, std::nullopt));
   EXPECT_TRUE(database.Set(3, field::useNat, false));
   EXPECT_FALSE(database.Set(3, field::useNat, false));
   EXPECT_EQ(minimal + "[tvnet3]\nnat=false\ndhcp=true\n", database.Export());
}

TEST(DatabaseTest, AForwardIsReplacedByProtocolAndHostPort)
{
   TempPlace const place(minimal);
   Database database(place.Get());
   PortForward const first{true, 80, At("10.0.0.1"), 8080, "one"};
   PortForward const second{true, 80, At("10.0.0.2"), 8081, ""};
   PortForward const other{false, 80, At("10.0.0.3"), 80, "udp"};

   EXPECT_TRUE(database.SetForward(8, other));
   EXPECT_TRUE(database.SetForward(8, first));
   EXPECT_TRUE(database.SetForward(8, second));
   EXPECT_THAT(database.GetNetwork(8).nat.forwards, ElementsAre(second, other));
   EXPECT_EQ(Decode(database.Export()), database.GetSettings());

   EXPECT_TRUE(database.RemoveForward(8, true, 80));
   EXPECT_FALSE(database.RemoveForward(8, true, 80));
   EXPECT_THAT(database.GetNetwork(8).nat.forwards, ElementsAre(other));

   EXPECT_TRUE(database.RemoveForward(8, false, 80));
   EXPECT_TRUE(database.GetSettings().networks.empty());
   EXPECT_EQ(Decode(database.Export()), database.GetSettings());
}

TEST(DatabaseTest, AForwardThatCouldNotBeReadIsMendedAndRemoved)
{
   TempPlace const place(minimal + "[tvnet8 forward tcp 80]\naddress=nowhere\nnote=x\n"
                                   "[tvnet8 forward tcp 81]\naddress=nowhere\n");
   Database database(place.Get());
   EXPECT_TRUE(database.SetForward(8, {true, 80, At("10.0.0.1"), 80, ""}));
   EXPECT_TRUE(database.RemoveForward(8, true, 81));

   EXPECT_EQ(minimal + "[tvnet8 forward tcp 80]\naddress=10.0.0.1\nnote=x\nport=80\n",
             database.Export());
}

TEST(DatabaseTest, ADeletedNetworkTakesItsForwardsAndFreesItsAdapters)
{
   TempPlace const place(richText + "[adapter eth2]\nnetwork=tvnet8\nnote=x\n"
                                    "[adapter eth3]\nnetwork=tvnet8\n"
                                    "[tvnet80]\nnat=true\n");
   Database database(place.Get());
   database.SetAutomatic(8);
   EXPECT_TRUE(database.DeleteNetwork(8));

   auto const text = database.Export();
   EXPECT_EQ(0u, database.GetSettings().networks.count(8));
   EXPECT_EQ(1u, database.GetSettings().networks.count(80));
   EXPECT_EQ((std::map<std::string, unsigned int>{{"eth0", 0}, {"eth[1]", 2}}),
             database.GetSettings().adapters);
   EXPECT_FALSE(database.GetSettings().automatic);
   EXPECT_EQ(Decode(text), database.GetSettings());
   EXPECT_EQ(std::string::npos, text.find("tvnet8]"));
   EXPECT_EQ(std::string::npos, text.find("tvnet8 forward"));
   EXPECT_THAT(text, HasSubstr("[adapter eth2]\nnote=x\n"));
   EXPECT_EQ(std::string::npos, text.find("eth3"));
   EXPECT_THAT(text, HasSubstr("# The students' network."));
   EXPECT_THAT(text, HasSubstr("# The web server."));
   EXPECT_THAT(text, HasSubstr("[extension]\nwhatever=1\n# the end\n"));
}

TEST(DatabaseTest, AnAdapterMovesAndLetsGo)
{
   TempPlace const place(minimal);
   Database database(place.Get());
   EXPECT_TRUE(database.MoveAdapter("eth0", 3));
   EXPECT_TRUE(database.MoveAdapter("eth0", 4));
   EXPECT_EQ(4u, database.GetSettings().adapters.at("eth0"));
   EXPECT_EQ(minimal + "\n[adapter eth0]\nnetwork=tvnet4\n", database.Export());

   EXPECT_TRUE(database.MoveAdapter("eth0", {}));
   EXPECT_TRUE(database.GetSettings().adapters.empty());
   EXPECT_EQ(minimal + "\n", database.Export());
}

TEST(DatabaseTest, ReadsWhatSomebodyElseWroteUntilItChangesSomething)
{
   TempPlace const place(minimal);
   Database database(place.Get());
   place.Write(minimal + "[tvnet1]\nmtu=1000\n");
   database.Refresh();
   EXPECT_EQ(1000u, database.GetNetwork(1).mtu);

   database.Set(1, field::useNat, true);
   place.Write(minimal + "[tvnet1]\nmtu=2000\n");
   database.Refresh();
   EXPECT_EQ(1000u, database.GetNetwork(1).mtu);
}

TEST(DatabaseTest, TheFirstChangeKeepsWhatSomebodyElseWroteMeanwhile)
{
   TempPlace const place(minimal);
   Database first(place.Get());
   {
      Database second(place.Get());
      second.Set(1, field::mtu, 1000);
      second.Commit();
   }
   first.Set(8, field::mtu, 1400);
   first.Commit();

   auto const settings = Decode(place.Read());
   EXPECT_EQ(1000u, settings.networks.at(1).mtu);
   EXPECT_EQ(1400u, settings.networks.at(8).mtu);
}

TEST(DatabaseTest, ADamagedRefreshIsLoggedOnceAndChangesNothing)
{
   TempPlace const place(richText);
   Database database(place.Get());
   place.Write("[general\n");
   LogDouble::Clear();
   database.Refresh();
   database.Refresh();

   EXPECT_EQ(Decode(richText), database.GetSettings());
   ASSERT_EQ(1u, LogDouble::GetLines().size());
   EXPECT_THAT(LogDouble::GetLines()[0],
               HasSubstr("read " + place.GetFile() + ": It is not a key file"));
}

TEST(DatabaseTest, AFileThatCannotBeReadIsNeverOverwritten)
{
   for (std::string const damaged : {"", "[general\n", "\xff", "[general]\nversion=2\n"}) {
      TempPlace const place(richText);
      Database database(place.Get());
      place.Write(damaged);

      EXPECT_THROW(database.Set(8, field::mtu, 1300), Error);
      EXPECT_THROW(database.DeleteNetwork(8), Error);
      database.Commit();
      EXPECT_EQ(damaged, place.Read());
      EXPECT_EQ(1400u, database.GetNetwork(8).mtu);
   }
}

TEST(DatabaseTest, AFileThatIsGoneIsNotMadeAnew)
{
   TempPlace const place(richText);
   Database database(place.Get());
   std::filesystem::remove(place.GetFile());

   EXPECT_THROW(database.Set(8, field::mtu, 1300), Error);
   database.Commit();
   EXPECT_FALSE(std::filesystem::exists(place.GetFile()));
}

TEST(DatabaseTest, OnlyTheFirstOfManyChangesWaitsForAnother)
{
   TempPlace const place(richText);
   Database holder(place.Get());
   holder.Lock();
   Database database(place.Get(200ms));

   auto const begin = std::chrono::steady_clock::now();
   for (int count = 0; count < 20; ++count) {
      EXPECT_THROW(database.Set(8, field::mtu, 1300), Error);
   }
   EXPECT_GE(std::chrono::steady_clock::now() - begin, 200ms);
   EXPECT_LT(std::chrono::steady_clock::now() - begin, 2000ms);
   EXPECT_EQ(1400u, database.GetNetwork(8).mtu);
}

// Or the half of what somebody asked for would be done.
TEST(DatabaseTest, AfterAChangeThatHadNoLockNoneIsMadeAnyMore)
{
   TempPlace const place(richText);
   std::optional<Database> holder(place.Get());
   holder->Lock();
   Database database(place.Get(0ms));
   EXPECT_THROW(database.Set(8, field::mtu, 1300), Error);
   holder.reset();

   EXPECT_THROW(database.Set(8, field::useDhcp, false), Error);
   EXPECT_FALSE(database.HasChanges());
   EXPECT_TRUE(Database(place.Get(0ms)).Set(8, field::mtu, 1300));
}

TEST(DatabaseTest, TheFirstChangeRemovesWhatAWriterThatDiedLeft)
{
   TempPlace const place(richText);
   std::ofstream(place.GetFolder() / ".networking.new") << "[gener";
   Database database(place.Get());
   database.Lock();
   EXPECT_FALSE(std::filesystem::exists(place.GetFolder() / ".networking.new"));
}

TEST(DatabaseTest, AFailedCommitLeavesTheOldFileAndCanBeRepeated)
{
   class FullDisk : public FileSteps {
   public:
      int Sync(int fd) override { return full ? (errno = ENOSPC, -1) : FileSteps::Sync(fd); }
      bool full = true;
   } steps;
   TempPlace const place(richText);
   Database database(place.Get(), steps);
   database.Set(8, field::mtu, 1300);

   EXPECT_THROW(database.Commit(), Error);
   EXPECT_EQ(richText, place.Read());
   EXPECT_TRUE(database.HasChanges());

   steps.full = false;
   database.Commit();
   EXPECT_EQ(1300u, Decode(place.Read()).networks.at(8).mtu);
}

TEST(DatabaseTest, AFileThatMayNotBeReadIsRefused)
{
   if (geteuid() == 0) {
      GTEST_SKIP() << "root may read everything";
   }
   TempPlace const place(richText);
   ASSERT_EQ(0, chmod(place.GetFile().c_str(), 0));
   EXPECT_THROW(Database(place.Get()), Error);
}

TEST(DatabaseTest, BadValuesAreLoggedWithFileGroupKeyAndCause)
{
   TempPlace const place(minimal + "[tvnet3]\nmtu=many\n");
   LogDouble::Clear();
   Database const database(place.Get());

   EXPECT_THAT(LogDouble::GetLines(),
               ElementsAre("LogV(1): read " + place.GetFile() +
                           ": [tvnet3] mtu: \"many\" isn't a number from 68 to 9194; it is left "
                           "out\n"));
}

TEST(DatabaseTest, ThousandsOfBadValuesDoNotFloodTheLog)
{
   std::string text = minimal;
   for (int port = 1; port < 3000; ++port) {
      text += "[tvnet3 forward tcp " + std::to_string(port) + "]\nbad=1\n";
   }
   TempPlace const place(text);
   LogDouble::Clear();
   Database const database(place.Get());

   EXPECT_EQ(66u, LogDouble::GetLines().size());
}

TEST(DatabaseTest, IsCreatedOnceAndNeverOverwritten)
{
   TempPlace const place;
   Database::Place inside = place.Get();
   inside.file = place.GetFolder() / "etc" / "networking";
   Database::Create(inside, minimal);
   EXPECT_EQ(Settings(), Database(inside).GetSettings());

   EXPECT_THROW(Database::Create(inside, richText), Error);
   EXPECT_EQ(Settings(), Database(inside).GetSettings());
}

} // namespace
