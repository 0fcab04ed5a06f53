// SPDX-License-Identifier: GPL-2.0-or-later
// Export, apply and check, on a host of their own.
#include "lib/vnet/cli/vnetsTest.hh"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace vnet::cli {

namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr int found = 3;

class VnetsDocumentTest : public VnetsTest {
protected:
   static std::string GetPath() { return "/run/networks.json"; }

   void TearDown() override
   {
      fs::remove(GetPath());
      VnetsTest::TearDown();
   }

   static Outcome Apply(std::string const& text, std::vector<std::string> const& options = {})
   {
      std::ofstream(GetPath()) << text;
      auto arguments = options;
      arguments.insert(arguments.begin(), {"apply", GetPath()});
      return Run(arguments);
   }

   // Networks 1 and 8 as GetHosted has them, with one value of network 8 added.
   static std::string MakeDocument(std::string const& more = "")
   {
      return R"({"version": 1, "networks": {
         "tvnet1": {"subnet": "192.168.1.0", "mask": "255.255.255.0", "adapter": true, "dhcp": true},
         "tvnet8": {"subnet": "192.168.8.0", "mask": "255.255.255.0", "adapter": true, "dhcp": true,
                    "nat": true)" +
             more + "}}}";
   }
};

TEST_F(VnetsDocumentTest, WhatIsExportedAndAppliedChangesNothing)
{
   WriteDatabase(GetHosted() + "[tvnet8 forward tcp 2222]\naddress=192.168.8.100\nport=22\n" +
                 "# a comment\n");
   RunWell({"start"});
   auto const before = ReadDatabase();
   auto const servers = ListDnsmasqs();
   auto const text = RunWell({"export"});
   EXPECT_THAT(text, HasSubstr("\"host-port\": 2222"));
   EXPECT_EQ("Nothing would change.\n", Apply(text, {"--dry-run"}).output);
   auto const outcome = Apply(text);
   EXPECT_EQ(0, outcome.status);
   EXPECT_EQ("Nothing changed.\n", outcome.output);
   EXPECT_EQ(before, ReadDatabase());
   EXPECT_EQ(servers, ListDnsmasqs());
   EXPECT_EQ(text, RunWell({"export"}));
}

TEST_F(VnetsDocumentTest, ApplyMakesDatabaseAndHostAndTheSecondTimeNothing)
{
   WriteDatabase("");
   auto const outcome = Apply(MakeDocument());
   EXPECT_EQ(0, outcome.status) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("tvnet8 subnet: none -> 192.168.8.0\n"));
   EXPECT_THAT(outcome.output, HasSubstr("host differed: tvnet8: not running\n"));
   EXPECT_TRUE(HasLink("tvnet1") && HasLink("tvnet8"));
   EXPECT_EQ(2u, ListDnsmasqs().size());
   auto const servers = ListDnsmasqs();
   EXPECT_EQ("Nothing changed.\n", Apply(MakeDocument()).output);
   EXPECT_EQ(servers, ListDnsmasqs());
}

TEST_F(VnetsDocumentTest, WithoutADatabaseItIsMade)
{
   fs::remove("/etc/tavrin/networking");
   EXPECT_EQ(found, Apply(MakeDocument(), {"--dry-run"}).status);
   EXPECT_FALSE(fs::exists("/etc/tavrin/networking"));
   EXPECT_EQ(0, Apply(MakeDocument()).status);
   EXPECT_TRUE(HasLink("tvnet8"));
   EXPECT_THAT(ReadDatabase(), HasSubstr("[tvnet8]"));
}

TEST_F(VnetsDocumentTest, WhatItDoesNotNameIsRemoved)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   std::string const one = R"({"version": 1, "networks": {"tvnet1":
      {"subnet": "192.168.1.0", "mask": "255.255.255.0", "adapter": true, "dhcp": true}}})";
   auto const outcome = Apply(one);
   EXPECT_EQ(0, outcome.status) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("tvnet8: there -> none\n"));
   EXPECT_FALSE(HasLink("tvnet8"));
   EXPECT_TRUE(HasLink("tvnet1"));
   EXPECT_THAT(ReadDatabase(), Not(HasSubstr("tvnet8")));
   EXPECT_EQ("Nothing changed.\n", Apply(one).output);
}

TEST_F(VnetsDocumentTest, ADryRunTellsAndChangesNothing)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   auto const before = ReadDatabase();
   auto const outcome = Apply(MakeDocument(", \"mtu\": 1400"), {"--dry-run"});
   EXPECT_EQ(found, outcome.status);
   EXPECT_THAT(outcome.output, HasSubstr("tvnet8 mtu: none -> 1400\n"));
   EXPECT_EQ(before, ReadDatabase());
   EXPECT_THAT(test::ReadFile("/sys/class/net/tvnet8/mtu"), "1500\n");
   EXPECT_EQ(0, Apply(MakeDocument(", \"mtu\": 1400")).status);
   EXPECT_THAT(test::ReadFile("/sys/class/net/tvnet8/mtu"), "1400\n");
}

TEST_F(VnetsDocumentTest, ABadDocumentIsToldWholeAndChangesNothing)
{
   WriteDatabase(GetHosted());
   auto const before = ReadDatabase();
   auto outcome = Apply(MakeDocument(", \"mtu\": 1, \"speed\": 2"));
   EXPECT_EQ(1, outcome.status);
   EXPECT_THAT(outcome.output,
               HasSubstr("networks.tvnet8.mtu: 1 isn't a number from 68 to 9194\n"));
   EXPECT_THAT(outcome.output, HasSubstr("networks.tvnet8.speed: There is no such key\n"));
   outcome =
      Apply(R"({"version": 1, "networks": {"tvnet2": {"nat": true}, "tvnet3": {"dhcp": true}}})");
   EXPECT_EQ(1, outcome.status);
   EXPECT_THAT(outcome.output, HasSubstr("tvnet2: It has no subnet"));
   EXPECT_THAT(outcome.output, HasSubstr("tvnet3: It has no subnet"));
   EXPECT_EQ(before, ReadDatabase());
   EXPECT_FALSE(HasLink("tvnet1") || HasLink("tvnet2"));
   EXPECT_EQ(1, Run({"apply", "/run/there-is-none"}).status);
}

TEST_F(VnetsDocumentTest, TheStandardInputIsADocumentToo)
{
   WriteDatabase("");
   std::ofstream(GetPath()) << MakeDocument();
   auto const output =
      GetHost().Command({"/bin/sh", "-c", GetProgram() + " apply - < " + GetPath()});
   EXPECT_THAT(output, HasSubstr("tvnet8: none -> there"));
   EXPECT_TRUE(HasLink("tvnet8"));
}

TEST_F(VnetsDocumentTest, APathOfTheCallersIsFoundFromItsFolder)
{
   WriteDatabase("");
   std::ofstream(GetPath()) << MakeDocument();
   GetHost().Command({"/bin/sh", "-c", "cd /run && " + GetProgram() + " apply networks.json"});
   EXPECT_TRUE(HasLink("tvnet8"));
}

TEST_F(VnetsDocumentTest, ApplyPutsRightWhatDiffersOnTheHostAlone)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   RunWell({"stop", "8"});
   auto const told = Apply(MakeDocument(), {"--dry-run"});
   EXPECT_EQ(found, told.status);
   EXPECT_EQ("host differs: tvnet8: not running\n", told.output);
   EXPECT_EQ("host differed: tvnet8: not running\n", Apply(MakeDocument()).output);
   EXPECT_TRUE(HasLink("tvnet8"));
}

TEST_F(VnetsDocumentTest, ApplyTellsInJsonToo)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   auto const text = Apply(MakeDocument(", \"mtu\": 1400"), {"--json"}).output;
   EXPECT_THAT(text, HasSubstr("\"changed\": true"));
   EXPECT_THAT(text,
               HasSubstr("\"object\": \"tvnet8\",\n      \"key\": \"mtu\",\n      \"before\": "
                         "null,\n      \"after\": \"1400\"\n"));
   EXPECT_THAT(Apply(MakeDocument(", \"mtu\": 1400"), {"--json"}).output,
               HasSubstr("\"changed\": false"));
}

// The literal blocks of a manual page that hold a text.
std::string FindExample(std::string const& page, std::string const& part)
{
   auto const text = test::ReadFile(std::string(MAN_DIR "/") + page);
   std::string const begin = ".Bd -literal -offset indent\n";
   for (auto at = text.find(begin); at != std::string::npos; at = text.find(begin, at + 1)) {
      auto const from = at + begin.size();
      auto const example = text.substr(from, text.find(".Ed\n", from) - from);
      if (example.find(part) != std::string::npos) {
         return example;
      }
   }
   return "";
}

TEST_F(VnetsDocumentTest, TheManualsDocumentCanBeApplied)
{
   WriteDatabase("");
   auto const outcome = Apply(FindExample("tavrin-vnets.8", "\"version\""));
   EXPECT_EQ(0, outcome.status) << outcome.output;
   EXPECT_THAT(RunWell({"status", "8"}), HasSubstr("TCP 8080 to 192.168.8.100:80"));
}

TEST_F(VnetsDocumentTest, TheManualsDatabaseIsFineAndSoIsTheManualsWayToAnotherHost)
{
   std::ofstream("/etc/tavrin/networking") << FindExample("tavrin-networking.5", "[general]");
   EXPECT_EQ("/etc/tavrin/networking is fine.\n", RunWell({"check"}));
   RunWell({"start"});
   EXPECT_TRUE(HasLink("tvnet0") && HasLink("tvnet1") && HasLink("tvnet8"));
   auto const example = FindExample("tavrin-vnets.8", "--dry-run");
   ASSERT_THAT(example, HasSubstr("tavrin-vnets export > networks.json\n"));
   auto const folder = fs::path(GetProgram()).parent_path().string();
   EXPECT_EQ("Nothing would change.\nNothing changed.\n",
             GetHost().Command(
                {"/bin/sh", "-c", "set -e; cd /run; PATH=" + folder + ":$PATH\n" + example}));
}

TEST_F(VnetsDocumentTest, CheckTellsProblemsAndTouchesNothing)
{
   WriteDatabase(GetHosted());
   EXPECT_EQ("/etc/tavrin/networking is fine.\n", RunWell({"check"}));
   WriteDatabase(GetHosted() + "mtu=5\ncolour=red\n[tvnet3]\nnat=true\n");
   auto const before = ReadDatabase();
   auto const outcome = Run({"check"});
   EXPECT_EQ(found, outcome.status);
   EXPECT_EQ("problem: [tvnet8] mtu: \"5\" isn't a number from 68 to 9194\n"
             "problem: tvnet3: It has no subnet, and needs one for its adapter, DHCP or NAT\n",
             outcome.output.substr(0, outcome.output.find("note: ")));
   EXPECT_THAT(outcome.output, HasSubstr("note: [tvnet8] \"colour\": It means nothing here\n"));
   EXPECT_EQ(before, ReadDatabase());
   WriteDatabase("version=1\n");
   EXPECT_EQ(found, Run({"check"}).status);
   EXPECT_THAT(Run({"check", "--json"}).output, HasSubstr("\"problems\": [\n"));
   WriteDatabase("");
   fs::remove("/etc/tavrin/networking");
   EXPECT_EQ(1, Run({"check"}).status);
}

} // namespace

} // namespace vnet::cli
