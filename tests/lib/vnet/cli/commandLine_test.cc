// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/commandLine.hh"

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
      {"init", Verb::Init},        {"list", Verb::List},   {"status", Verb::Status},
      {"start", Verb::Start},      {"stop", Verb::Stop},   {"restart", Verb::Restart},
      {"watch", Verb::Watch},      {"--help", Verb::Help}, {"-h", Verb::Help},
      {"--version", Verb::Version}};
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
   for (auto const* text : {"256", "tvnet256", "tvnet08", "08", "-1", "", "eth0", "8 ", "*"}) {
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

TEST(CommandLineTest, TheHelpNamesWhatPeopleCall)
{
   for (auto const* name : {"init", "list", "status", "start", "stop", "restart", "--version"}) {
      EXPECT_NE(std::string::npos, GetHelp().find(std::string("  ") + name)) << name;
   }
}

} // namespace

} // namespace vnet::cli
