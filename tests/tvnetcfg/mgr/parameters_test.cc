// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/format.hh"
#include "mgrTest.hh"
#include "vnet/vnetlib.h"

namespace netcfg {

namespace {

using testing::ElementsAre;

// The NAT and the DHCP parameters behave alike.
struct Kind {
   char const* word;
   std::map<std::uint32_t, std::string> test::VnetNetwork::*params;
   utf::string (*get)(Mgr& mgr, utf::string const& name, unsigned int id);
   bool (*set)(Mgr& mgr, utf::string const& name, unsigned int id, utf::string const& value);
};

std::string Fill(char const* format, char const* word)
{
   return cui::Format(format, word, word).c_str();
}

void PrintTo(Kind const& kind, std::ostream* out)
{
   *out << kind.word;
}

class ParameterTest : public MgrTest, public testing::WithParamInterface<Kind> {
protected:
   std::map<std::uint32_t, std::string>& Params() { return Stored(8).*GetParam().params; }
   utf::string Get(unsigned int id) { return GetParam().get(mgr, "tvnet8", id); }
   bool Set(unsigned int id, utf::string const& value)
   {
      return GetParam().set(mgr, "tvnet8", id, value);
   }
   // A line in which each %s stands for the kind's word.
   static std::string Line(char const* format) { return Fill(format, GetParam().word); }
};

TEST_P(ParameterTest, IsReadWithRoomFor128Bytes)
{
   Params()[0x2349] = "30";

   EXPECT_EQ("30", Get(0x2349));
   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre(Line("VNL_Get%sParam(\"tvnet8\", 0x2349, 1, 128)")));
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_P(ParameterTest, OfExactly128BytesIsReadWhole)
{
   Params()[0x2343] = std::string(128, 'x');

   EXPECT_EQ(std::string(128, 'x').c_str(), Get(0x2343));
}

TEST_P(ParameterTest, LongerThan128BytesIsLeftToTheLibrary)
{
   std::string const value(200, 'x');

   EXPECT_FALSE(Set(0x2343, value.c_str()));
   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre(Line("VNL_Set%sParam(\"tvnet8\", 0x2343, \"") + value + "\", 200)"));
}

TEST_P(ParameterTest, EndsAtItsFirstNul)
{
   Params()[0x2343] = std::string("10.0.0.2\0junk", 13);

   EXPECT_EQ("10.0.0.2", Get(0x2343));
}

TEST_P(ParameterTest, LengthBeyondTheBufferIsNotBelieved)
{
   Params()[0x2343] = "10.0.0.2";
   VnetDouble::SetExcessLength(100000);

   EXPECT_EQ("10.0.0.2", Get(0x2343));
}

TEST_P(ParameterTest, MissingOneWarnsAndReadsAsEmpty)
{
   EXPECT_EQ("", Get(0x235b));
   EXPECT_THAT(LogDouble::GetLines(),
               ElementsAre(Line("Warning: Get%sParam: Unable to get %s param 0x235b.\n")));
}

TEST_P(ParameterTest, EmptyOneReadsAsEmptyWithoutAWarning)
{
   Params()[0x235b] = "";

   EXPECT_EQ("", Get(0x235b));
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_P(ParameterTest, IsStoredWithItsBytesAndTheirNumber)
{
   EXPECT_TRUE(Set(0x235b, "B\xc3\xbcro"));

   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre(Line("VNL_Set%sParam(\"tvnet8\", 0x235b, \"B\xc3\xbcro\", 5)")));
   EXPECT_EQ("B\xc3\xbcro", Params()[0x235b]);
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_P(ParameterTest, EmptyTextIsStoredAsNullAndNotAsAnEmptyString)
{
   EXPECT_TRUE(Set(0x2343, ""));

   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre(Line("VNL_Set%sParam(\"tvnet8\", 0x2343, null, 0)")));
}

TEST_P(ParameterTest, FailureToStoreIsALineAndFalse)
{
   VnetDouble::FailCall(0);

   EXPECT_FALSE(Set(0x2349, "30"));
   EXPECT_THAT(LogDouble::GetLines(),
               ElementsAre(Line("LogV(2): Set%sParam: Unable to set %s param 0x2349.\n")));
}

Kind const kinds[] = {
   {"NAT", &test::VnetNetwork::natParams,
    [](Mgr& mgr, utf::string const& name, unsigned int id) { return mgr.GetNATParam(name, id); },
    [](Mgr& mgr, utf::string const& name, unsigned int id, utf::string const& value) {
       return mgr.SetNATParam(name, id, value);
    }},
   {"DHCP", &test::VnetNetwork::dhcpParams,
    [](Mgr& mgr, utf::string const& name, unsigned int id) { return mgr.GetDHCPParam(name, id); },
    [](Mgr& mgr, utf::string const& name, unsigned int id, utf::string const& value) {
       return mgr.SetDHCPParam(name, id, value);
    }},
};

INSTANTIATE_TEST_SUITE_P(, ParameterTest, testing::ValuesIn(kinds),
                         [](auto const& test) { return std::string(test.param.word); });

using IntegerParameterTest = MgrTest;

TEST_F(IntegerParameterTest, YieldsItsValue)
{
   Stored(8).natParams[0x2346] = "8765";
   int value = 0;

   EXPECT_TRUE(mgr.GetNATParam("tvnet8", 0x2346, &value));
   EXPECT_EQ(8765, value);
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_F(IntegerParameterTest, FailedParseLeavesTheValueAndWarnsOnce)
{
   Stored(8).natParams[0x2346] = "many";
   int value = 42;

   EXPECT_FALSE(mgr.GetNATParam("tvnet8", 0x2346, &value));
   EXPECT_EQ(42, value);
   EXPECT_THAT(LogDouble::GetLines(),
               ElementsAre("Warning: GetNATParam: Bad config file: Unable to convert NAT param "
                           "\"0x2346\" to an integer value.\n"));
}

TEST_F(IntegerParameterTest, EmptyTextIsNoInteger)
{
   Stored(8).natParams[0x2346] = "";
   int value = 42;

   EXPECT_FALSE(mgr.GetNATParam("tvnet8", 0x2346, &value));
   EXPECT_EQ(42, value);
}

TEST_F(IntegerParameterTest, MissingOneWarnsTwice)
{
   int value = 42;

   EXPECT_FALSE(mgr.GetNATParam("tvnet8", 0x2349, &value));
   EXPECT_EQ(42, value);
   EXPECT_THAT(LogDouble::GetLines(),
               ElementsAre("Warning: GetNATParam: Unable to get NAT param 0x2349.\n",
                           "Warning: GetNATParam: Bad config file: Unable to convert NAT param "
                           "\"0x2349\" to an integer value.\n"));
}

class PortForwardTest : public MgrTest {
protected:
   // Reads all forwards of the entry's protocol.
   std::vector<NAT::PortForwardEntry> Enumerate(bool tcp)
   {
      std::vector<NAT::PortForwardEntry> entries;
      NAT::PortForwardEntry entry{0, 0, tcp, "", ""};
      unsigned int cursor = 0;
      while (mgr.EnumNATPortForward("tvnet8", entry, &cursor)) {
         entries.push_back(entry);
      }
      return entries;
   }
};

TEST_F(PortForwardTest, EnumerationYieldsTheForwardsOfOneProtocol)
{
   SetDatabase("network=8 nat 192.168.8.0 255.255.255.0\n"
               "forward=8 tcp 80 192.168.8.3 8080 B\xc3\xbcro one\n"
               "forward=8 tcp 443 192.168.8.4 8443\n"
               "forward=8 udp 53 192.168.8.5 5353 names\n");

   using Entry = NAT::PortForwardEntry;
   EXPECT_THAT(Enumerate(true), ElementsAre(Entry{80, 8080, true, "192.168.8.3", "B\xc3\xbcro one"},
                                            Entry{443, 8443, true, "192.168.8.4", ""}));
   EXPECT_THAT(Enumerate(false), ElementsAre(Entry{53, 5353, false, "192.168.8.5", "names"}));
   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_EnumNATPortForward(\"tvnet8\", true, 0, 128, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", true, 1, 128, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", true, 2, 128, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", false, 0, 128, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", false, 1, 128, 128)"));
   EXPECT_THAT(
      LogDouble::GetLines(),
      ElementsAre(
         "LogV(7): EnumNATPortForward: enumeration for network \"tvnet8\" stopped at 2.\n",
         "LogV(7): EnumNATPortForward: enumeration for network \"tvnet8\" stopped at 1.\n"));
}

TEST_F(PortForwardTest, EndOfTheEnumerationLeavesTheEntryAlone)
{
   NAT::PortForwardEntry const before{1, 2, true, "192.168.8.3", "kept"};
   NAT::PortForwardEntry entry = before;
   unsigned int cursor = 0;

   EXPECT_FALSE(mgr.EnumNATPortForward("tvnet8", entry, &cursor));
   EXPECT_EQ(before, entry);
   EXPECT_EQ(0u, cursor);
}

TEST_F(PortForwardTest, DescriptionWithExactly128BytesFits)
{
   std::string const description(128, 'd');
   Stored(8).PutForward({true, 80, "192.168.8.3", 8080, description});

   auto const entries = Enumerate(true);
   ASSERT_EQ(1u, entries.size());
   EXPECT_EQ(description.c_str(), entries[0].description);
}

TEST_F(PortForwardTest, DescriptionsLengthBeyondTheBufferIsNotBelieved)
{
   Stored(8).PutForward({true, 80, "192.168.8.3", 8080, "short"});
   VnetDouble::SetExcessLength(100000);

   auto const entries = Enumerate(true);
   ASSERT_EQ(1u, entries.size());
   EXPECT_EQ("short", entries[0].description);
}

TEST_F(PortForwardTest, ShorterDescriptionLeavesNothingOfTheOneBefore)
{
   Stored(8).PutForward({true, 80, "192.168.8.100", 1, "a long description"});
   Stored(8).PutForward({true, 81, "10.0.0.1", 2, "b"});

   auto const entries = Enumerate(true);
   ASSERT_EQ(2u, entries.size());
   EXPECT_EQ("10.0.0.1", entries[1].ip);
   EXPECT_EQ("b", entries[1].description);
}

TEST_F(PortForwardTest, IsSetWithAllFieldsAndTheBytesOfItsDescription)
{
   EXPECT_TRUE(
      mgr.SetNATPortForward("tvnet8", {8080, 80, false, "192.168.8.3", "B\xc3\xbcro \"1\""}));

   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_SetNATPortForward(\"tvnet8\", false, 8080, \"192.168.8.3\", 80, "
                           "\"B\xc3\xbcro \\\"1\\\"\", 9)"));
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_F(PortForwardTest, WithoutADescriptionIsSetWithTheEmptyText)
{
   EXPECT_TRUE(mgr.SetNATPortForward("tvnet8", {8080, 80, true, "192.168.8.3", ""}));

   EXPECT_THAT(VnetDouble::GetLog(), ElementsAre("VNL_SetNATPortForward(\"tvnet8\", true, 8080, "
                                                 "\"192.168.8.3\", 80, \"\", 0)"));
}

TEST_F(PortForwardTest, FailureToSetIsALineAndFalse)
{
   VnetDouble::FailFunction("VNL_SetNATPortForward");

   EXPECT_FALSE(mgr.SetNATPortForward("tvnet8", {8080, 80, true, "192.168.8.3", ""}));
   EXPECT_FALSE(mgr.SetNATPortForward("tvnet8", {65535, 80, false, "192.168.8.3", ""}));
   EXPECT_THAT(LogDouble::GetLines(),
               ElementsAre("LogV(2): SetNATPortForward: Unable to set port forwarding port = 8080, "
                           "type = TCP.\n",
                           "LogV(2): SetNATPortForward: Unable to set port forwarding port = "
                           "65535, type = UDP.\n"));
}

TEST_F(PortForwardTest, RemovalPassesNothingButProtocolAndPort)
{
   Stored(8).PutForward({false, 53, "192.168.8.3", 53, "names"});

   EXPECT_TRUE(mgr.RemoveNATPortForward("tvnet8", false, 53));
   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_SetNATPortForward(\"tvnet8\", false, 53, null, 0, null, 0)"));
   EXPECT_TRUE(Stored(8).udpForwards.empty());
}

TEST_F(PortForwardTest, RemovalLogsThePortAsPassedButTheLibrarySeesItsLow16Bits)
{
   EXPECT_FALSE(mgr.RemoveNATPortForward("tvnet8", true, 65536 + 80));
   EXPECT_FALSE(mgr.RemoveNATPortForward("tvnet8", false, 53));

   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_SetNATPortForward(\"tvnet8\", true, 80, null, 0, null, 0)",
                           "VNL_SetNATPortForward(\"tvnet8\", false, 53, null, 0, null, 0)"));
   EXPECT_THAT(LogDouble::GetLines(),
               ElementsAre("LogV(2): RemoveNATPortForward: Unable to remove port forwarding port = "
                           "65616, type = TCP.\n",
                           "LogV(2): RemoveNATPortForward: Unable to remove port forwarding port = "
                           "53, type = UDP.\n"));
}

} // namespace

} // namespace netcfg
