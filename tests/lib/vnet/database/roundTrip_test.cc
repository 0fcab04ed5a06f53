// SPDX-License-Identifier: GPL-2.0-or-later
// What is set, exported and read again is what was set.
#include "lib/vnet/database/tempPlace.hh"
#include "support/logDouble.hh"
#include "vnet/database/database.hh"
#include "vnet/database/decode.hh"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

using namespace vnet;
using test::TempPlace;

namespace {

std::mt19937 generator;

unsigned int Below(unsigned int bound)
{
   return static_cast<unsigned int>(generator() % bound);
}

void Fill(bool& value)
{
   value = Below(2);
}

void Fill(std::string& value)
{
   static std::string const pieces[] = {"a", " ",  "\\", "ä",   "=", "[", "]", "#",
                                        ";", "\"", "日", "\\s", "{", "'", "%", "$"};
   value.clear();
   for (unsigned int count = Below(20); count > 0; --count) {
      value += pieces[Below(std::size(pieces))];
   }
}

void Fill(Address& value)
{
   value = {(1 + Below(126)) << 24 | Below(1 << 24)};
}

void Fill(Prefix6& value)
{
   std::string text;
   for (int part = 0; part < 8; ++part) {
      char digits[6];
      std::snprintf(digits, sizeof digits, "%s%x", part ? ":" : "", Below(3) ? Below(0x10000) : 0);
      text += digits;
   }
   value = Prefix6::Parse(text + "/" + std::to_string(Below(129))).value();
}

template <class Value>
void Fill(std::optional<Value>& value)
{
   value.reset();
   if (Below(2)) {
      Fill(value.emplace());
   }
}

template <class Field>
constexpr bool isNumber = std::is_same_v<typename Field::Value, std::uint16_t> ||
                          std::is_same_v<typename Field::Value, std::uint32_t> ||
                          std::is_same_v<typename Field::Value, std::optional<std::uint32_t>>;

void FillNetwork(NetworkSettings& network)
{
   ForEachField([&](auto const& field) {
      if constexpr (isNumber<std::remove_cvref_t<decltype(field)>>) {
         // Until it is one that the field takes.
         while (!field.Read(std::to_string(Below(100000)), network)) {
         }
      } else {
         Fill(field.in(network));
      }
   });
   network.subnetMask.reset();
   if (Below(2)) {
      network.subnetMask = Subnet{{0}, 1 + Below(29)}.GetMask();
   }
}

PortForward MakeForward()
{
   PortForward forward;
   forward.tcp = Below(2);
   forward.hostPort = 1 + Below(65535);
   Fill(forward.address);
   forward.vmPort = 1 + Below(65535);
   Fill(forward.description);
   return forward;
}

std::string MakeAdapterName()
{
   std::string name = "e";
   for (unsigned int count = Below(14); count > 0; --count) {
      char const character = static_cast<char>('!' + Below(94));
      name += character == '/' || character == ':' ? '[' : character;
   }
   return name;
}

Settings MakeSettings()
{
   Settings settings;
   for (unsigned int count = Below(5); count > 0; --count) {
      auto& network = settings.networks[Below(maxNetworks)];
      FillNetwork(network);
      for (unsigned int number = Below(6); number > 0; --number) {
         auto const forward = MakeForward();
         auto& forwards = network.nat.forwards;
         auto const at = std::ranges::lower_bound(forwards, forward, IsBefore);
         if (at == forwards.end() || IsBefore(forward, *at)) {
            forwards.insert(at, forward);
         }
      }
   }
   for (unsigned int count = Below(4); count > 0; --count) {
      settings.adapters[MakeAdapterName()] = Below(maxNetworks);
   }
   if (Below(2)) {
      settings.automatic = Below(maxNetworks);
   }
   return settings;
}

void Store(Settings const& settings, Database& database)
{
   for (auto const& [index, network] : settings.networks) {
      ForEachField([&, &index = index, &network = network](auto const& field) {
         database.Set(index, field, field.in(network));
      });
      for (auto const& forward : network.nat.forwards) {
         database.SetForward(index, forward);
      }
   }
   for (auto const& [name, network] : settings.adapters) {
      database.MoveAdapter(name, network);
   }
   database.SetAutomatic(settings.automatic);
}

Settings Reread(Database const& database)
{
   return Decode(KeyFile::Parse(database.Export())).settings;
}

TEST(RoundTripTest, RandomSettingsAreReadAsTheyWereStored)
{
   TempPlace const place("[general]\nversion=1\n");
   for (unsigned int round = 0; round < 3000; ++round) {
      generator.seed(round);
      auto const settings = MakeSettings();
      Database database(place.Get());
      Store(settings, database);

      ASSERT_EQ(settings, database.GetSettings()) << round;
      ASSERT_EQ(settings, Reread(database)) << round << database.Export();
   }
}

TEST(RoundTripTest, TheFileHoldsWhatTheExportShows)
{
   generator.seed(1);
   TempPlace const place(test::richText);
   Database database(place.Get());
   Store(MakeSettings(), database);
   database.Commit();

   EXPECT_EQ(database.Export(), place.Read());
   EXPECT_EQ(database.GetSettings(), Database(place.Get()).GetSettings());
}

void ChangeSomething(Database& database)
{
   unsigned int const index = Below(2) ? 8 : Below(10);
   switch (Below(6)) {
   case 0:
      database.DeleteNetwork(index);
      break;
   case 1:
      database.SetForward(index,
                          {Below(2) == 1, static_cast<std::uint16_t>(1 + Below(4)),
                           Address{0x01020304}, static_cast<std::uint16_t>(1 + Below(3)), "x"});
      break;
   case 2:
      database.RemoveForward(index, Below(2), static_cast<std::uint16_t>(1 + Below(4)));
      break;
   case 3:
      database.MoveAdapter("eth" + std::to_string(Below(4)),
                           Below(2) ? std::optional(index) : std::nullopt);
      break;
   case 4:
      database.SetAutomatic(Below(2) ? std::optional(index) : std::nullopt);
      break;
   default: {
      NetworkSettings network;
      FillNetwork(network);
      ForEachField([&](auto const& field) {
         if (Below(3) == 0) {
            database.Set(index, field, field.in(network));
         }
      });
   }
   }
}

TEST(RoundTripTest, TextAndSettingsStayInStepThroughAnyChanges)
{
   for (unsigned int round = 0; round < 50; ++round) {
      generator.seed(round);
      test::LogDouble::Clear();
      TempPlace const place(test::richText +
                            "[tvnet7]\nmtu=bad\n[tvnet7 forward tcp 1]\naddress=bad\n"
                            "[adapter eth3]\nnetwork=bad\n");
      Database database(place.Get());
      for (int change = 0; change < 60; ++change) {
         ChangeSomething(database);
         ASSERT_EQ(Reread(database), database.GetSettings()) << round << "\n" << database.Export();
      }
      for (auto const comment : {"# Networks of the laboratory", "# Which layout this file has.",
                                 "# The students' network.", "# The web server.", "# the end",
                                 "owner = somebody", "[extension]\nwhatever=1"}) {
         EXPECT_NE(std::string::npos, database.Export().find(comment)) << comment;
      }
   }
}

} // namespace
