// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/parse.hh"

#include <gtest/gtest.h>
#include <vector>

using namespace std::literals;
using namespace vnet;

namespace {

// What no parser of a number, an address, a switch or a name takes.
std::string_view const hostile[] = {
   "\n",           "\0"sv,  "\x7f", "\xff", "\xc3", "{}",  ";",     "\"1\"", "'1'",  "1;",
   "1{",           "$(id)", "`id`", " 1",   "1 ",   "\t1", "1\0"sv, "1\n",   "1\n2", "\xc2\x85",
   "\xe2\x80\xa8", "+1",    "-1",   "1e3",  "0x10", "٣",   "1\r",   "1/2:3",
};

template <class Parse>
void ExpectAll(Parse parse, std::vector<std::string_view> const& good)
{
   for (auto const text : good) {
      EXPECT_TRUE(parse(text).has_value()) << text;
   }
}

template <class Parse>
void ExpectNone(Parse parse, std::vector<std::string_view> const& bad)
{
   for (auto const text : bad) {
      EXPECT_FALSE(parse(text).has_value()) << text;
   }
   for (auto const text : hostile) {
      EXPECT_FALSE(parse(text).has_value()) << text;
   }
}

TEST(ParseTest, ANumberIsDigitsWithinItsLimits)
{
   auto const parse = [](std::string_view text) { return ParseNumber(text, 3, 4294967295); };

   EXPECT_EQ(3u, parse("3"));
   EXPECT_EQ(4294967295u, parse("4294967295"));
   ExpectNone(parse, {"", "2", "03", "4294967296", "99999999999999999999999", "3.0"});
}

TEST(ParseTest, ZeroIsWrittenWithOneDigit)
{
   auto const parse = [](std::string_view text) { return ParseNumber(text, 0, 9); };

   EXPECT_EQ(0u, parse("0"));
   ExpectNone(parse, {"", "00", "-0", "+0"});
}

TEST(ParseTest, ASwitchIsOneOrZero)
{
   EXPECT_EQ(true, ParseSwitch("1"));
   EXPECT_EQ(false, ParseSwitch("0"));
   ExpectNone(ParseSwitch, {"", "2", "true", "01", "yes"});
}

TEST(ParseTest, ASubnetIsOfTheFirstThreeClasses)
{
   ExpectAll(ParseSubnetAddress,
             {"0.0.0.0", "10.0.0.0", "126.0.0.0", "128.0.0.0", "192.168.8.0", "223.255.255.0"});
   ExpectNone(ParseSubnetAddress, {"", "127.0.0.0", "224.0.0.0", "240.0.0.0", "255.255.255.255",
                                   "192.168.8", "192.168.8.0/24"});
}

TEST(ParseTest, AMaskIsContiguousAndLeavesRoom)
{
   ExpectAll(ParseMask, {"128.0.0.0", "255.0.0.0", "255.255.255.0", "255.255.255.248"});
   ExpectNone(ParseMask, {"", "0.0.0.0", "255.0.255.0", "255.255.255.252", "255.255.255.255",
                          "0.0.0.255", "255.255.255", "24", "/24"});
}

TEST(ParseTest, AHostAddressCanBeOneHosts)
{
   ExpectAll(ParseHostAddress, {"1.0.0.1", "10.0.0.0", "192.168.8.2", "223.255.255.254"});
   ExpectNone(ParseHostAddress, {"", "0.0.0.0", "0.1.2.3", "127.0.0.1", "224.0.0.1",
                                 "255.255.255.255", "10.0.0.1 ", "host"});
}

TEST(ParseTest, AnMtuIsFrom68To9194)
{
   EXPECT_EQ(68u, ParseMtu("68"));
   EXPECT_EQ(1500u, ParseMtu("1500"));
   EXPECT_EQ(9194u, ParseMtu("9194"));
   ExpectNone(ParseMtu, {"", "0", "67", "9195", "01500", "-", "1500.0", "65536", "4294967364"});
}

TEST(ParseTest, APortIsFrom1To65535)
{
   EXPECT_EQ(1, ParsePort("1"));
   EXPECT_EQ(65535, ParsePort("65535"));
   ExpectNone(ParsePort, {"", "0", "65536", "65537", "080", "http", "4294967297"});
}

TEST(ParseTest, AConfigurationPortMayBeNone)
{
   EXPECT_EQ(0, ParseConfigPort("0"));
   EXPECT_EQ(65535, ParseConfigPort("65535"));
   ExpectNone(ParseConfigPort, {"", "65536", "00", "-0"});
}

TEST(ParseTest, TimesArePositiveAndBounded)
{
   EXPECT_EQ(0u, ParseUdpTimeout("0"));
   EXPECT_EQ(1u, ParseUdpTimeout("1"));
   EXPECT_EQ(86400u, ParseUdpTimeout("86400"));
   ExpectNone(ParseUdpTimeout, {"", "-1", "86401", "30s", "030"});

   EXPECT_EQ(1u, ParseLease("1"));
   EXPECT_EQ(2147483647u, ParseLease("2147483647"));
   ExpectNone(ParseLease, {"", "0", "2147483648", "infinite", "1h"});
}

TEST(ParseTest, AnAdapterIsNamedAsTheKernelNamesIt)
{
   ExpectAll(ParseAdapterName, {"eth0", "enp0s31f6", "wlx00c0ca123456", "eth0.100", "a", "...",
                                "br-lan", "eth0@if5", "[x]", "%", "123456789012345"});
   for (auto const text :
        {""sv, "."sv, ".."sv, "1234567890123456"sv, "eth/0"sv, "eth:0"sv, "eth 0"sv, "eth0\n"sv,
         "eth\t0"sv, "eth0\0"sv, "\x7f"sv, "\xc3\xa4"sv, "\xff"sv, " eth0"sv, "eth0 "sv}) {
      EXPECT_FALSE(ParseAdapterName(text)) << text;
   }
}

template <class Parse>
void ExpectPlainText(Parse parse, std::size_t maxBytes)
{
   std::string const longest(maxBytes, 'x');
   std::string const umlauts = "ä" + std::string(maxBytes - 2, 'x');
   ExpectAll(parse, {"", "a", "Büro 2. Stock; {x} \"y\" 'z' \\ $(id)", " spaces ", "日本",
                     "\xc2\xa0", "🌍", longest, umlauts});
   EXPECT_EQ("Büro", parse("Büro"));

   std::string const cut = std::string(maxBytes - 1, 'x') + "ä";
   for (auto const text : {std::string_view(cut),
                           "a\nb"sv,
                           "a\rb"sv,
                           "a\tb"sv,
                           "\0"sv,
                           "a\0b"sv,
                           "\x1b[31m"sv,
                           "\x7f"sv,
                           "\xc2\x80"sv,
                           "\xc2\x85"sv,
                           "\xc2\x9f"sv,
                           "\xe2\x80\xa8"sv,
                           "\xe2\x80\xa9"sv,
                           "\xff"sv,
                           "\xc3"sv,
                           "a\xc3(b"sv,
                           "\xc0\x80"sv,
                           "\xed\xa0\x80"sv,
                           "\xf4\x90\x80\x80"sv,
                           "\xe2\x82"sv,
                           "\x80"sv}) {
      EXPECT_FALSE(parse(text)) << text;
   }
   EXPECT_FALSE(parse(std::string(maxBytes + 1, 'x')));
}

TEST(ParseTest, ADisplayNameIsPlainTextOf127Bytes)
{
   ExpectPlainText(ParseDisplayName, 127);
}

TEST(ParseTest, ADescriptionIsPlainTextOf128Bytes)
{
   ExpectPlainText(ParseDescription, 128);
}

} // namespace
