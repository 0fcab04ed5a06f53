// SPDX-License-Identifier: GPL-2.0-or-later
// The texts that leave the process don't follow the user's locale.
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/golden.hh"
#include "tvnetcfg/common/nat.hh"

#include <gtest/gtest.h>
#include <locale>
#include <memory>
#include <sstream>

namespace netcfg::common {

namespace {

// Groups digits by two, and has words of its own.
class OddNumbers : public std::numpunct<char> {
   std::string do_grouping() const override { return "\2"; }
   char do_thousands_sep() const override { return '.'; }
   std::string do_truename() const override { return "wahr"; }
   std::string do_falsename() const override { return "falsch"; }
};

class LocaleTest : public testing::Test {
protected:
   LocaleTest() : before(std::locale::global(std::locale(std::locale::classic(), new OddNumbers)))
   {}
   ~LocaleTest() override { std::locale::global(before); }

private:
   std::locale before;
};

} // namespace

TEST_F(LocaleTest, TheLocaleOfThisTestGroupsDigits)
{
   std::ostringstream stream;
   stream << 12345 << std::boolalpha << true;

   EXPECT_EQ("1.23.45wahr", stream.str());
}

TEST_F(LocaleTest, NumbersAndBoolsAreWrittenPlain)
{
   Editable editable(1234567);
   Network& network = *editable.AddNetwork(Network::NAT, 100000, true, OnDone());
   network.GetDHCP()->SetMaxLeaseTime(86400);
   network.GetNAT()->SetPortForwardList({{65535, 65534, true, "10.0.0.5", ""}});
   editable.AddNetwork(Network::NAT, 200000, true, OnDone());
   editable.RemoveNetwork(200000);

   std::string const text = Editable::Serialize(&editable).c_str();

   for (char const* part :
        {R"("MaxNetworks":"1234567")", R"("100000":{"Index":"100000","HasDHCP":"true")",
         R"("MaxLeaseTime":"86400")", R"("HostPort":"65535","VMPort":"65534","TCP":"true")",
         R"("EnableIPv6":"false")", R"("200000":"0")"}) {
      EXPECT_NE(std::string::npos, text.find(part)) << part;
   }
}

TEST_F(LocaleTest, ASnapshotComesBackWhole)
{
   for (char const* name : {"empty", "defaultNetworks"}) {
      std::unique_ptr<Editable> const editable(Editable::Restore(Golden(name).c_str()));
      EXPECT_EQ(Golden(name), Editable::Serialize(editable.get()).c_str());
   }
}

TEST_F(LocaleTest, GroupedDigitsAndForeignWordsAreRefused)
{
   std::string text = Golden("empty");
   text.replace(text.find(R"("0")"), 3, R"("1.23.45")");
   EXPECT_ANY_THROW(Editable::Restore(text.c_str()));

   text = Golden("defaultNetworks");
   text.replace(text.find(R"("true")"), 6, R"("wahr")");
   EXPECT_ANY_THROW(Editable::Restore(text.c_str()));
}

TEST_F(LocaleTest, SystemNamesArePlain)
{
   EXPECT_EQ("tvnet1234567", Network::NetToString(1234567));
}

} // namespace netcfg::common
