// SPDX-License-Identifier: GPL-2.0-or-later
// Snapshots that were damaged on their way: the reader takes them or refuses them, and no more.
#include "tvnetcfg/common/golden.hh"
#include "tvnetcfg/common/snapshotText.hh"

#include <exception>
#include <gtest/gtest.h>
#include <random>

namespace netcfg::common {

namespace {

constexpr unsigned int DAMAGES = 3000;
constexpr unsigned int FIRST_SEED = 7;

// A number that is no type ends the process, and another test proves that.
bool HasGoodTypes(std::string const& text)
{
   std::string const key = R"("Type":)";
   for (std::size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + 1)) {
      std::string const value = text.substr(at + key.size(), 3);
      if (value != R"("0")" && value != R"("1")" && value != R"("2")") {
         return false;
      }
   }
   return true;
}

// Another byte, a part taken out, or a part put elsewhere.
std::string Damage(std::string text, std::mt19937& random)
{
   std::size_t const from = random() % text.size();
   std::string const part = text.substr(from, 1 + random() % 200);
   switch (random() % 4) {
   case 0:
      text[from] = static_cast<char>(random());
      break;
   case 1:
      text[from] = "{}[]\",:\\01-"[random() % 11];
      break;
   case 2:
      text.erase(from, part.size());
      break;
   default:
      text.insert(random() % text.size(), part);
   }
   return text;
}

enum Outcome { READ, NO_JSON, REFUSED };

// What is read can be written and read again.
Outcome Try(std::string const& text)
{
   try {
      std::unique_ptr<Editable> const editable = Read(text);
      if (!editable) {
         return NO_JSON;
      }
      EXPECT_LT(0u, Editable::Serialize(editable.get()).size());
      return READ;
   } catch (std::exception const&) {
      return REFUSED;
   }
}

} // namespace

TEST(SnapshotDamageTest, EachIsReadOrRefused)
{
   unsigned int outcomes[] = {0, 0, 0};
   for (unsigned int seed = FIRST_SEED; seed < FIRST_SEED + DAMAGES; ++seed) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      std::mt19937 random(seed);
      std::string const text =
         Damage(Golden(seed % 2 ? "defaultNetworks" : "fixedBridges"), random);
      if (HasGoodTypes(text)) {
         ++outcomes[Try(text)];
      }
   }
   EXPECT_LT(0u, outcomes[READ]);
   EXPECT_LT(0u, outcomes[NO_JSON]);
   EXPECT_LT(0u, outcomes[REFUSED]);
}

} // namespace netcfg::common
