// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/nameservers.hh"

#include "support/testProcess.hh"
#include "vnet/values/error.hh"

#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NameserversTest : public testing::Test {
protected:
   std::string Write(std::string const& text) const { return folder.Write("resolv.conf", text); }

   test::TempDir folder;
};

TEST_F(NameserversTest, AreReadInTheirOrder)
{
   auto const path = Write("# made by hand\ndomain test\nnameserver 198.51.100.9\n"
                           "search a b\n  nameserver\t2001:DB8:0::53   # more\n"
                           "nameserver 127.0.0.53\noptions edns0 trust-ad\n");
   EXPECT_THAT(ReadNameservers(path), ElementsAre("198.51.100.9", "2001:db8::53", "127.0.0.53"));
}

TEST_F(NameserversTest, ALinksOwnAddressKeepsItsDevice)
{
   EXPECT_THAT(ReadNameservers(Write("nameserver fe80::1%eth0.5\n")),
               ElementsAre("fe80::1%eth0.5"));
}

TEST_F(NameserversTest, WhatIsNoAddressIsLeftOut)
{
   auto const path = Write("nameserver\nnameserver dns.test\nnameserver 198.51.100.9#5353\n"
                           "nameserver fe80::1%eth0#53\nnameserver fe80::1%\nNameserver 1.2.3.4\n"
                           "nameserver fe80::1%a,b\nnameserver 1.2.3.4/test/\nnameserver 1.2.3\n");
   EXPECT_THAT(ReadNameservers(path), IsEmpty());
}

TEST_F(NameserversTest, AFileThatNeverEndsIsCut)
{
   std::string text;
   for (int line = 0; line < 1000; ++line) {
      text += "nameserver 10.0.0." + std::to_string(line % 250) + "\n";
   }
   EXPECT_EQ(16u, ReadNameservers(Write(text)).size());
   EXPECT_THAT(ReadNameservers("/dev/zero"), IsEmpty());
   EXPECT_THAT(ReadNameservers(folder.GetPath() / "nothing"), IsEmpty());
}

TEST_F(NameserversTest, ChangesAreSeen)
{
   auto const path = Write("nameserver 10.0.0.1\n");
   Nameservers nameservers(path);
   EXPECT_TRUE(nameservers.Refresh());
   EXPECT_FALSE(nameservers.Refresh());
   Write("nameserver 10.0.0.2\n# longer\n");
   EXPECT_TRUE(nameservers.Refresh());
   EXPECT_THAT(nameservers.Get(), ElementsAre("10.0.0.2"));
   // Others write the same again and again.
   Write("nameserver 10.0.0.2\n# much longer\n");
   EXPECT_FALSE(nameservers.Refresh());
}

TEST_F(NameserversTest, ThoseOfAFileThatCantBeReadStay)
{
   auto const path = Write("nameserver 10.0.0.1\n");
   Nameservers nameservers(path);
   nameservers.Refresh();
   std::filesystem::remove(path);
   std::filesystem::create_directory(path);
   EXPECT_THROW(ReadNameservers(path), Error);
   EXPECT_FALSE(nameservers.Refresh());
   EXPECT_FALSE(nameservers.Refresh());
   EXPECT_THAT(nameservers.Get(), ElementsAre("10.0.0.1"));

   std::filesystem::remove(path);
   Write("nameserver 10.0.0.2\n");
   EXPECT_TRUE(nameservers.Refresh());
   EXPECT_THAT(nameservers.Get(), ElementsAre("10.0.0.2"));
}

} // namespace

} // namespace vnet::engine
