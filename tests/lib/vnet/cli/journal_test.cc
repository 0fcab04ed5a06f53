// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/testProcess.hh"
#include "vnet/cli/journal.hh"
#include "vnet/json/text.hh"
#include "vnet/values/error.hh"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>

namespace vnet::cli {

namespace {

using testing::EndsWith;
using testing::HasSubstr;

// Says what it is told to, as journalctl would.
class JournalTest : public testing::Test {
protected:
   std::string MakeProgram(std::string const& body)
   {
      auto const path = folder.Write("journalctl", "#!/bin/sh\n" + body);
      chmod(path.c_str(), 0755);
      return path;
   }

   static std::string GetFailure(std::string const& program)
   {
      try {
         ReadJournal({}, program);
      } catch (Error const& error) {
         return error.what();
      }
      return "none";
   }

   test::TempDir folder;
};

constexpr char lines[] =
   "cat <<'END'\n"
   "{\"__CURSOR\":\"x\",\"__REALTIME_TIMESTAMP\":\"1700000000123456\",\"MESSAGE\":\"one "
   "\\u001b[31m\",\"SYSLOG_IDENTIFIER\":\"tavrin-netcfg\"}\n"
   "{\"__REALTIME_TIMESTAMP\":\"1700000061000000\",\"MESSAGE\":[116,119,111,255],"
   "\"SYSLOG_IDENTIFIER\":\"tavrin-vnets\"}\n"
   "{\"__REALTIME_TIMESTAMP\":\"17000\n"
   "END\n";

TEST_F(JournalTest, LinesAreReadAndToldWithoutWhatATerminalActsOn)
{
   setenv("TZ", "UTC", 1);
   tzset();
   auto const reading = ReadJournal({}, MakeProgram(lines));
   EXPECT_EQ("", reading.complaint);
   EXPECT_EQ("2023-11-14 22:13:20 tavrin-netcfg: one \\x1b[31m\n"
             "2023-11-14 22:14:21 tavrin-vnets: two\\xff\n",
             DescribeJournal(reading.lines));
   EXPECT_THAT(json::Write(MakeJournal(reading.lines)),
               HasSubstr("\"microseconds\": 1700000000123456,\n    \"program\": "
                         "\"tavrin-netcfg\",\n    \"network\": null,\n    \"text\": \"one "
                         "\\u001b[31m\"\n"));
}

TEST_F(JournalTest, WhatIsOfANetworksUnitNamesTheNetwork)
{
   auto const reading = ReadJournal(
      {}, MakeProgram("cat <<'END'\n"
                      "{\"MESSAGE\":\"a\",\"SYSLOG_IDENTIFIER\":\"dnsmasq\","
                      "\"_SYSTEMD_UNIT\":\"tavrin-dhcp@tvnet8.service\"}\n"
                      "{\"UNIT\":\"tavrin-dhcp@tvnet12.service\",\"MESSAGE\":\"b\","
                      "\"SYSLOG_IDENTIFIER\":\"systemd\",\"_SYSTEMD_UNIT\":\"init.scope\"}\n"
                      "{\"MESSAGE\":\"c\",\"SYSLOG_IDENTIFIER\":\"x\",\"_SYSTEMD_UNIT\":\"tavrin-"
                      "watcher.service\"}\n"
                      "{\"MESSAGE\":\"d\",\"SYSLOG_IDENTIFIER\":\"x\",\"_SYSTEMD_UNIT\":\"other@"
                      "tvnet8.service\"}\n"
                      "{\"MESSAGE\":\"e\",\"SYSLOG_IDENTIFIER\":\"x\",\"_SYSTEMD_UNIT\":\"\"}\n"
                      "{\"MESSAGE\":\"f\",\"SYSLOG_IDENTIFIER\":\"x\",\"UNIT\":\"tavrin-dhcp@"
                      "tvnet999.service\"}\n"
                      "END\n"));
   std::vector<std::string> networks;
   for (auto const& line : reading.lines) {
      networks.push_back(line.network);
   }
   EXPECT_THAT(networks, testing::ElementsAre("tvnet8", "tvnet12", "", "", "", ""));
   EXPECT_THAT(DescribeJournal(reading.lines), HasSubstr(" dnsmasq[tvnet8]: a\n"));
   EXPECT_THAT(json::Write(MakeJournal(reading.lines)), HasSubstr("\"network\": \"tvnet12\""));
}

TEST_F(JournalTest, ItIsAskedForOurLinesAlone)
{
   auto const told = folder.GetPath() / "arguments";
   auto const program = MakeProgram("printf '%s\\n' \"$@\" > " + told.string());
   ReadJournal({7, "2 hours ago", {}}, program);
   auto const arguments = test::ReadFile(told);
   for (auto const* argument : {"--lines=7", "--since=2 hours ago", "--no-pager"}) {
      EXPECT_THAT("\n" + arguments, HasSubstr(std::string("\n") + argument + "\n"));
   }
   EXPECT_THAT(arguments,
               EndsWith("\nSYSLOG_IDENTIFIER=tavrin-netcfg\nSYSLOG_IDENTIFIER=tavrin-vnets\n"));
}

TEST_F(JournalTest, ItIsAskedForWhatOurUnitsToldAndWasToldOfThem)
{
   auto const told = folder.GetPath() / "arguments";
   ReadJournal({7, "", {"one.service", "two.service"}},
               MakeProgram("printf '%s\\n' \"$@\" > " + told.string()));
   EXPECT_THAT(test::ReadFile(told),
               EndsWith("\nSYSLOG_IDENTIFIER=tavrin-vnets\n"
                        "+\n_SYSTEMD_UNIT=one.service\n_SYSTEMD_UNIT=two.service\n"
                        "+\nUNIT=one.service\nUNIT=two.service\n"));
}

TEST_F(JournalTest, WhatItComplainsOfIsPassedOn)
{
   auto const reading = ReadJournal({}, MakeProgram("echo 'Hint: others' >&2\n"));
   EXPECT_TRUE(reading.lines.empty());
   EXPECT_EQ("Hint: others", reading.complaint);
   EXPECT_EQ("The journal has no lines of these networks.\n", DescribeJournal(reading.lines));
}

TEST_F(JournalTest, WithoutAJournalThatIsTold)
{
   EXPECT_EQ("read the journal: No journal files were found.",
             GetFailure(MakeProgram("echo 'No journal files were found.' >&2; exit 1\n")));
   EXPECT_EQ("read the journal: journalctl ended with status 3",
             GetFailure(MakeProgram("exit 3\n")));
   EXPECT_EQ("start " + (folder.GetPath() / "none").string() + ": No such file or directory",
             GetFailure(folder.GetPath() / "none"));
}

} // namespace

} // namespace vnet::cli
