// SPDX-License-Identifier: GPL-2.0-or-later
// Databases that are damaged in every way: each is refused or loads, and none is lost.
#include "lib/vnet/database/tempPlace.hh"
#include "support/logDouble.hh"
#include "vnet/database/database.hh"
#include "vnet/database/decode.hh"
#include "vnet/values/error.hh"
#include "vnet/values/parse.hh"

#include <gtest/gtest.h>
#include <random>
#include <stdexcept>

using namespace vnet;
using test::richText;
using test::TempPlace;

namespace {

// Whether the text loads. Then it is exported as it is, and takes a change without losing
// anything but what it replaces.
bool LoadsSoundly(std::string const& text)
{
   test::LogDouble::Clear();
   try {
      auto file = KeyFile::Parse(text);
      auto const settings = Decode(file).settings;
      EXPECT_EQ(text + (text.ends_with('\n') ? "" : "\n"), file.ToText());
      file.Set("tvnet200", "mtu", "1500");
      auto changed = Decode(KeyFile::Parse(file.ToText())).settings;
      changed.networks[200].mtu =
         settings.networks.count(200) ? settings.networks.at(200).mtu : std::nullopt;
      if (settings.networks.count(200) == 0) {
         changed.networks.erase(200);
      }
      EXPECT_EQ(settings, changed);
      return true;
   } catch (std::runtime_error const& error) {
      return false;
   }
}

TEST(DamageTest, TruncatedAtEveryByteItIsRefusedOrLoads)
{
   int loaded = 0;
   for (std::size_t size = 0; size <= richText.size(); ++size) {
      loaded += LoadsSoundly(richText.substr(0, size));
   }
   EXPECT_GT(loaded, 100);
   EXPECT_TRUE(LoadsSoundly(richText));
   EXPECT_FALSE(LoadsSoundly(""));
}

TEST(DamageTest, WhatCouldNotBeReadAgainIsNotWritten)
{
   TempPlace const place(richText);
   Database database(place.Get());
   std::string const description(maxDescription, 'x');
   for (std::uint16_t port = 1; port <= 30000; ++port) {
      database.SetForward(8, {true, port, {0x01020304}, 80, description});
   }
   ASSERT_LT(maxDatabaseBytes, database.Export().size());

   EXPECT_THROW(database.Commit(), Error);
   EXPECT_EQ(richText, place.Read());
   EXPECT_EQ(Database(place.Get()).GetSettings(), Decode(KeyFile::Parse(richText)).settings);
}

TEST(DamageTest, TruncatedAtEveryByteOnDiskItIsNeverOverwrittenUnread)
{
   TempPlace const place;
   for (std::size_t size = 0; size < richText.size(); ++size) {
      auto const damaged = richText.substr(0, size);
      place.Write(richText);
      Database database(place.Get());
      place.Write(damaged);
      try {
         database.Set(200, field::mtu, 1500);
         database.Commit();
         EXPECT_TRUE(place.Read().starts_with(damaged)) << size;
      } catch (Error const&) {
         EXPECT_EQ(damaged, place.Read()) << size;
      }
   }
}

TEST(DamageTest, RandomBytesAreRefusedOrLoad)
{
   std::mt19937 random(11);
   int loaded = 0;
   for (int round = 0; round < 5000; ++round) {
      auto text = richText;
      for (unsigned int count = 1 + random() % 4; count > 0; --count) {
         text[random() % text.size()] = static_cast<char>(random() % 256);
      }
      loaded += LoadsSoundly(text);
   }
   EXPECT_GT(loaded, 500);
}

TEST(DamageTest, RandomTextIsRefusedOrLoads)
{
   std::mt19937 random(12);
   static constexpr char alphabet[] = "[]=#\\ \n\n\ra\t1.:/;{}\"\xc3\xa4";
   for (int round = 0; round < 5000; ++round) {
      std::string text = "[general]\nversion=1\n";
      for (unsigned int count = random() % 100; count > 0; --count) {
         text += alphabet[random() % (sizeof alphabet - 1)];
      }
      LoadsSoundly(text);
   }
}

TEST(DamageTest, LinesInRandomOrderAreRefusedOrLoad)
{
   std::vector<std::string> lines;
   for (std::size_t at = 0; at < richText.size();) {
      auto const end = richText.find('\n', at);
      lines.push_back(richText.substr(at, end + 1 - at));
      at = end + 1;
   }
   std::mt19937 random(13);
   for (int round = 0; round < 2000; ++round) {
      std::string text = "[general]\nversion=1\n";
      for (unsigned int count = random() % 60; count > 0; --count) {
         text += lines[random() % lines.size()];
      }
      LoadsSoundly(text);
   }
}

void ExpectRefused(std::string const& text)
{
   TempPlace const place(text);
   EXPECT_THROW(Database(place.Get()), Error);
   EXPECT_EQ(text, place.Read());
}

TEST(DamageTest, WhatIsTooLargeNotUtf8OrAmbiguousIsRefused)
{
   ExpectRefused(std::string(10 << 20, 'x'));
   ExpectRefused(std::string(10 << 20, '\n'));
   ExpectRefused(richText + std::string(10 << 20, '#'));
   ExpectRefused(richText + "# \xff\n");
   ExpectRefused(richText + std::string("# \0\n", 4));
   ExpectRefused(std::string(4096, '\0'));
   ExpectRefused(richText + "[tvnet8]\nmtu=1\n");
   ExpectRefused(richText + "[extension]\n");
   ExpectRefused("[general]\nversion=1\nversion=1\n");
}

TEST(DamageTest, TheLargestFileOfEachShapeLoadsInTime)
{
   std::string const head = "[general]\nversion=1\n";
   auto const fill = [&head](auto makePiece) {
      std::string text = head;
      for (unsigned int number = 0; text.size() < maxDatabaseBytes - 100; ++number) {
         text += makePiece(std::to_string(number));
      }
      return text;
   };
   std::string const shapes[] = {
      fill([](std::string const& number) { return "[g" + number + "]\n"; }),
      fill([](std::string const& number) { return "k" + number + "=1\n"; }),
      fill([](std::string const& number) { return "# " + number + "\n"; }),
      fill([](std::string const&) { return "\n"; }),
      fill([](std::string const& number) { return "[adapter " + number + "]\nnetwork=tvnet1\n"; }),
      head + "[" + std::string(maxDatabaseBytes - 100, 'x') + "]\n",
      head + "k=" + std::string(maxDatabaseBytes - 100, '\\') + "\n",
   };
   for (auto const& text : shapes) {
      TempPlace const place(text);
      auto const begin = std::chrono::steady_clock::now();
      Database database(place.Get());
      database.Set(8, field::mtu, 1400);
      database.MoveAdapter("eth0", 1);
      database.DeleteNetwork(1);
      EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60))
         << text.substr(0, 60);
   }
}

} // namespace
