// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/interface/interfaceTest.hh"

#include <cstring>
#include <gmock/gmock.h>

using namespace std::literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class ForwardsTest : public test::InterfaceTest {
protected:
   void SetUp() override
   {
      Load(minimal + "[tvnet8]\nsubnet=10.1.2.0\nmask=255.255.255.0\nnat=true\n");
   }

   static bool Set(bool tcp, std::uint16_t hostPort, char const* address, std::uint16_t vmPort,
                   std::string_view description)
   {
      return VNL_SetNATPortForward("tvnet8", tcp, hostPort, address, vmPort,
                                   description.empty() ? nullptr : description.data(),
                                   description.size());
   }
   static bool Remove(bool tcp, std::uint16_t hostPort)
   {
      return VNL_SetNATPortForward("tvnet8", tcp, hostPort, nullptr, 0, nullptr, 0);
   }
   // "80>10.1.2.3:8080 web"; empty at the end.
   static std::string Next(bool tcp, std::uint32_t& cursor)
   {
      std::uint16_t hostPort;
      std::uint16_t vmPort;
      char address[VNL_VALUE_SIZE];
      char description[VNL_VALUE_SIZE + 1];
      std::uint32_t addressLength = VNL_VALUE_SIZE;
      std::uint32_t descriptionLength = VNL_VALUE_SIZE;
      if (!VNL_EnumNATPortForward("tvnet8", tcp, &cursor, &hostPort, address, &addressLength,
                                  &vmPort, description, &descriptionLength)) {
         return "";
      }
      EXPECT_EQ(std::strlen(address), addressLength);
      description[descriptionLength] = '\0';
      return std::to_string(hostPort) + ">" + address + ":" + std::to_string(vmPort) + " " +
             description;
   }
   static std::vector<std::string> List(bool tcp)
   {
      std::vector<std::string> forwards;
      std::uint32_t cursor = 0;
      for (auto next = Next(tcp, cursor); !next.empty(); next = Next(tcp, cursor)) {
         forwards.push_back(next);
      }
      return forwards;
   }
};

TEST_F(ForwardsTest, AreListedByProtocolInTheOrderOfTheirPorts)
{
   EXPECT_TRUE(Set(true, 8080, "10.1.2.3", 80, "web"));
   EXPECT_TRUE(Set(false, 53, "10.1.2.4", 5353, ""));
   EXPECT_TRUE(Set(true, 22, "10.1.2.5", 22, "ä"));
   EXPECT_TRUE(Set(true, 65535, "10.1.2.6", 1, ""));

   EXPECT_THAT(List(true),
               ElementsAre("22>10.1.2.5:22 ä", "8080>10.1.2.3:80 web", "65535>10.1.2.6:1 "));
   EXPECT_THAT(List(false), ElementsAre("53>10.1.2.4:5353 "));
   EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(ForwardsTest, TheEndOfAnEmptyListIsNoFailure)
{
   EXPECT_THAT(List(true), IsEmpty());
   EXPECT_THAT(List(false), IsEmpty());
   EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(ForwardsTest, OneReplacesThatOfItsProtocolAndHostPort)
{
   EXPECT_TRUE(Set(true, 80, "10.1.2.3", 80, "one"));
   EXPECT_TRUE(Set(false, 80, "10.1.2.3", 80, "udp"));
   EXPECT_TRUE(Set(true, 80, "10.1.2.4", 81, "two"));

   EXPECT_THAT(List(true), ElementsAre("80>10.1.2.4:81 two"));
   EXPECT_THAT(List(false), ElementsAre("80>10.1.2.3:80 udp"));
}

TEST_F(ForwardsTest, NullsRemoveOne)
{
   EXPECT_TRUE(Set(true, 80, "10.1.2.3", 80, "one"));
   EXPECT_TRUE(Set(false, 80, "10.1.2.3", 80, "udp"));
   EXPECT_TRUE(Remove(true, 80));
   EXPECT_TRUE(Remove(true, 80));
   EXPECT_TRUE(Remove(true, 81));

   EXPECT_THAT(List(true), IsEmpty());
   EXPECT_THAT(List(false), ElementsAre("80>10.1.2.3:80 udp"));
}

TEST_F(ForwardsTest, AListThatChangesMeanwhileSkipsAndRepeatsNone)
{
   for (std::uint16_t const port : {10, 20, 30}) {
      EXPECT_TRUE(Set(true, port, "10.1.2.3", port, ""));
   }
   std::uint32_t cursor = 0;
   EXPECT_EQ("10>10.1.2.3:10 ", Next(true, cursor));
   EXPECT_TRUE(Remove(true, 10));
   EXPECT_EQ("20>10.1.2.3:20 ", Next(true, cursor));
   EXPECT_TRUE(Set(true, 5, "10.1.2.3", 5, ""));
   EXPECT_EQ("30>10.1.2.3:30 ", Next(true, cursor));
   EXPECT_EQ("", Next(true, cursor));
   EXPECT_EQ("", Next(true, cursor));
}

TEST_F(ForwardsTest, TheLongestDescriptionFits)
{
   std::string const description(128, 'd');
   EXPECT_TRUE(Set(true, 80, "10.1.2.3", 80, description));
   EXPECT_THAT(List(true), ElementsAre("80>10.1.2.3:80 " + description));
}

TEST_F(ForwardsTest, BadOnesAreRefused)
{
   auto const before = Export();
   std::string const tooLong(129, 'd');
   struct {
      std::uint16_t hostPort;
      char const* address;
      std::uint16_t vmPort;
      std::string_view description;
   } const cases[] = {
      {0, "10.1.2.3", 80, ""},
      {80, "10.1.2.3", 0, ""},
      {80, nullptr, 80, ""},
      {80, nullptr, 0, "text"},
      {80, "", 80, ""},
      {80, "10.1.2", 80, ""},
      {80, "10.1.2.0", 80, ""},
      {80, "10.1.2.255", 80, ""},
      {80, "0.0.0.0", 80, ""},
      {80, "127.0.0.1", 80, ""},
      {80, "224.0.0.1", 80, ""},
      {80, "10.1.2.3\n", 80, ""},
      {80, "10.1.2.3;", 80, ""},
      {80, "{10.1.2.3}", 80, ""},
      {80, "localhost", 80, ""},
      {80, "10.1.2.3", 80, tooLong},
      {80, "10.1.2.3", 80, "a\nb"},
      {80, "10.1.2.3", 80, "\xff"},
      {80, "10.1.2.3", 80, "a\0b"sv},
      {80, "10.1.2.3", 80, "\x1b["},
      {80, "10.1.2.3", 80, "\xc2\x85"},
      {0, nullptr, 0, ""},
   };
   for (auto const& each : cases) {
      EXPECT_FALSE(Set(true, each.hostPort, each.address, each.vmPort, each.description));
      EXPECT_THAT(TakeLog(),
                  ElementsAre(StartsWith("LogV(2): set TCP forward " +
                                         std::to_string(each.hostPort) + " of tvnet8: ")));
   }
   EXPECT_FALSE(VNL_SetNATPortForward("tvnet8", true, 80, "10.1.2.3", 80, nullptr, 4));
   EXPECT_EQ(before, Export());
}

TEST_F(ForwardsTest, SmallBuffersStayAsTheyWere)
{
   EXPECT_TRUE(Set(true, 80, "10.1.2.3", 8080, "web"));
   std::uint32_t cursor = 0;
   std::uint16_t hostPort = 1;
   std::uint16_t vmPort = 2;
   char address[16] = "address";
   char description[16] = "description";
   struct {
      std::uint32_t addressLength;
      std::uint32_t descriptionLength;
   } const cases[] = {{8, 16}, {16, 2}, {0, 0}};
   for (auto each : cases) {
      auto const before = each;
      EXPECT_FALSE(VNL_EnumNATPortForward("tvnet8", true, &cursor, &hostPort, address,
                                          &each.addressLength, &vmPort, description,
                                          &each.descriptionLength));
      EXPECT_EQ(before.addressLength, each.addressLength);
      EXPECT_EQ(before.descriptionLength, each.descriptionLength);
   }
   EXPECT_EQ(3u, TakeLog().size());
   EXPECT_EQ(0u, cursor);
   EXPECT_EQ(1, hostPort);
   EXPECT_EQ(2, vmPort);
   EXPECT_STREQ("address", address);
   EXPECT_STREQ("description", description);

   std::uint32_t addressLength = 9;
   std::uint32_t descriptionLength = 3;
   EXPECT_TRUE(VNL_EnumNATPortForward("tvnet8", true, &cursor, &hostPort, address, &addressLength,
                                      &vmPort, description, &descriptionLength));
   EXPECT_STREQ("10.1.2.3", address);
   EXPECT_STREQ("webcription", description);
}

TEST_F(ForwardsTest, NullPointersAreRefused)
{
   EXPECT_TRUE(Set(true, 80, "10.1.2.3", 8080, "web"));
   std::uint32_t cursor = 0;
   std::uint16_t port = 1;
   char text[128];
   std::uint32_t length = 128;
   EXPECT_FALSE(
      VNL_EnumNATPortForward(nullptr, true, &cursor, &port, text, &length, &port, text, &length));
   EXPECT_FALSE(
      VNL_EnumNATPortForward("tvnet8", true, nullptr, &port, text, &length, &port, text, &length));
   EXPECT_FALSE(VNL_EnumNATPortForward("tvnet8", true, &cursor, nullptr, text, &length, &port, text,
                                       &length));
   EXPECT_FALSE(VNL_EnumNATPortForward("tvnet8", true, &cursor, &port, nullptr, &length, &port,
                                       text, &length));
   EXPECT_FALSE(
      VNL_EnumNATPortForward("tvnet8", true, &cursor, &port, text, nullptr, &port, text, &length));
   EXPECT_FALSE(VNL_EnumNATPortForward("tvnet8", true, &cursor, &port, text, &length, nullptr, text,
                                       &length));
   EXPECT_FALSE(VNL_EnumNATPortForward("tvnet8", true, &cursor, &port, text, &length, &port,
                                       nullptr, &length));
   EXPECT_FALSE(
      VNL_EnumNATPortForward("tvnet8", true, &cursor, &port, text, &length, &port, text, nullptr));
   EXPECT_EQ(8u, TakeLog().size());
   EXPECT_EQ(0u, cursor);
}

} // namespace
