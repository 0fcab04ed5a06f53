// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/commandLine.hh"
#include "vnet/cli/help.hh"

#include <gtest/gtest.h>

namespace vnet::cli {

namespace {

using Arguments = std::vector<std::string>;
using Numbers = std::vector<unsigned int>;

std::string GetComplaint(Arguments const& arguments)
{
   try {
      ParseCommandLine(arguments);
   } catch (UsageError const& error) {
      return error.what();
   }
   return "none";
}

TEST(CommandLineTest, EveryCommandIsKnown)
{
   std::pair<char const*, Verb> const commands[] = {
      {"init", Verb::Init},   {"list", Verb::List},     {"status", Verb::Status},
      {"start", Verb::Start}, {"stop", Verb::Stop},     {"restart", Verb::Restart},
      {"check", Verb::Check}, {"export", Verb::Export}, {"leases", Verb::Leases},
      {"log", Verb::Log},     {"doctor", Verb::Doctor}, {"watch", Verb::Watch},
      {"--help", Verb::Help}, {"-h", Verb::Help},       {"--version", Verb::Version}};
   for (auto const& [name, verb] : commands) {
      auto const line = ParseCommandLine({name});
      EXPECT_EQ(verb, line.verb) << name;
      EXPECT_TRUE(line.networks.empty()) << name;
   }
}

TEST(CommandLineTest, NetworksAreNamesOrNumbers)
{
   EXPECT_EQ((Numbers{8, 0, 255}), ParseCommandLine({"start", "tvnet8", "0", "255"}).networks);
}

TEST(CommandLineTest, ANetworkNamedTwiceIsMeantOnce)
{
   EXPECT_EQ((Numbers{8, 1}), ParseCommandLine({"stop", "8", "tvnet1", "tvnet8"}).networks);
}

TEST(CommandLineTest, WhatIsNoNetworkIsRefused)
{
   for (auto const* text : {"256", "tvnet256", "tvnet08", "08", "-", "", "eth0", "8 ", "*"}) {
      EXPECT_TRUE(GetComplaint({"start", text}).starts_with("There is no network ")) << text;
   }
}

TEST(CommandLineTest, WhatIsNoCommandIsRefused)
{
   EXPECT_EQ("A command is missing", GetComplaint({}));
   EXPECT_EQ("There is no command \"begin\"", GetComplaint({"begin"}));
   EXPECT_EQ("There is no command \"\"", GetComplaint({""}));
   EXPECT_EQ("There is no option \"--all\"", GetComplaint({"--all"}));
   EXPECT_EQ("There is no command \"a\\x0ab\"", GetComplaint({"a\nb"}));
}

TEST(CommandLineTest, CommandsWithoutNetworksTakeNone)
{
   EXPECT_EQ("init takes nothing more: \"8\"", GetComplaint({"init", "8"}));
   EXPECT_EQ("list takes nothing more: \"8\"", GetComplaint({"list", "8"}));
}

TEST(CommandLineTest, TheWatcherTakesOneFolder)
{
   EXPECT_EQ("/run/other", ParseCommandLine({"watch", "/run/other"}).runFolder);
   EXPECT_NE("none", GetComplaint({"watch", "run"}));
   EXPECT_NE("none", GetComplaint({"watch", "/run/one", "/run/two"}));
}

TEST(CommandLineTest, ApplyTakesOneFile)
{
   EXPECT_EQ("networks.json", ParseCommandLine({"apply", "networks.json"}).file);
   EXPECT_EQ("-", ParseCommandLine({"apply", "-"}).file);
   EXPECT_EQ("apply needs a file, or - for the standard input", GetComplaint({"apply"}));
   EXPECT_EQ("apply takes one file", GetComplaint({"apply", "a", "b"}));
   EXPECT_EQ("apply takes one file", GetComplaint({"apply", ""}));
}

TEST(CommandLineTest, OptionsStandAnywhereBehindTheCommand)
{
   EXPECT_TRUE(ParseCommandLine({"status", "--json", "8"}).json);
   EXPECT_TRUE(ParseCommandLine({"status", "8", "--json"}).json);
   auto const line = ParseCommandLine({"apply", "--dry-run", "a", "--json"});
   EXPECT_TRUE(line.dryRun && line.json);
   EXPECT_FALSE(ParseCommandLine({"apply", "a"}).dryRun);
}

TEST(CommandLineTest, OptionsWithValuesAreReadEitherWay)
{
   EXPECT_EQ(20u, ParseCommandLine({"log", "-n", "20"}).lines);
   EXPECT_EQ(20u, ParseCommandLine({"log", "--lines", "20"}).lines);
   EXPECT_EQ(20u, ParseCommandLine({"log", "--lines=20"}).lines);
   EXPECT_EQ("-1 hour", ParseCommandLine({"log", "--since", "-1 hour"}).since);
   EXPECT_EQ("a=b", ParseCommandLine({"log", "--since=a=b"}).since);
}

TEST(CommandLineTest, BadOptionsAreRefused)
{
   for (auto const& arguments :
        {Arguments{"list", "--dry-run"}, Arguments{"start", "-1"}, Arguments{"list", "--json=yes"},
         Arguments{"list", "--since=today"}, Arguments{"--json", "list"}}) {
      EXPECT_TRUE(GetComplaint(arguments).starts_with("There is no option ")) << arguments[1];
   }
   EXPECT_EQ("-n needs a value", GetComplaint({"log", "-n"}));
   EXPECT_EQ("There can't be \"0\" lines, only 1 to 10000", GetComplaint({"log", "-n", "0"}));
   EXPECT_EQ("There is no time \"a\\x0ab\"", GetComplaint({"log", "--since", "a\nb"}));
   EXPECT_NE("none", GetComplaint({"log", "--since="}));
}

TEST(CommandLineTest, HelpIsHelpAlsoBehindACommand)
{
   EXPECT_EQ(Verb::Help, ParseCommandLine({"stop", "--help"}).verb);
}

TEST(CommandLineTest, TheHelpNamesWhatPeopleCall)
{
   for (auto const* name :
        {"init", "list", "status", "start", "stop", "restart", "check", "export", "apply", "leases",
         "log", "doctor", "--json", "--dry-run", "--lines", "--since", "--version"}) {
      EXPECT_NE(std::string::npos, GetHelp().find(std::string("  ") + name)) << name;
   }
}

} // namespace

} // namespace vnet::cli
