// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/testProcess.hh"
#include "vnet/doctor/checks.hh"
#include "vnet/doctor/confinement.hh"
#include "vnet/doctor/shellWord.hh"
#include "vnet/host/portHolder.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>

namespace vnet::doctor {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Network 8 with NAT and DHCP, that runs without a fault.
// Of a host without AppArmor, whatever this one has.
Surroundings MakeUnconfined()
{
   Surroundings around;
   around.roots.sys = "/nowhere";
   return around;
}

Patient MakePatient()
{
   Patient patient;
   patient.index = 8;
   patient.name = "tvnet8";
   patient.settings.subnetAddress = Address::Parse("192.168.8.0");
   patient.settings.subnetMask = Address::Parse("255.255.255.0");
   patient.settings.useDhcp = patient.settings.useNat = true;
   patient.settings.nat.forwards = {{true, 2222, *Address::Parse("192.168.8.100"), 22, ""},
                                    {false, 5353, *Address::Parse("192.168.8.100"), 53, ""}};
   patient.report.emplace();
   patient.report->state = engine::State::Running;
   patient.report->wantsDnsmasq = patient.report->dnsmasqRuns = true;
   return patient;
}

Patient MakeBridged(std::vector<std::string> const& adapters)
{
   Patient patient;
   patient.name = "tvnet0";
   patient.adapters = adapters;
   patient.report.emplace();
   patient.report->state = engine::State::Running;
   return patient;
}

host::Link MakeLink(int index, std::string const& name, bool up = true, bool carrier = true)
{
   host::Link link;
   link.index = index;
   link.name = name;
   link.flags = up ? IFF_UP : 0;
   link.carrier = carrier;
   return link;
}

host::Socket MakeSocket(bool tcp, std::uint16_t port, char const* address = "")
{
   host::Socket socket;
   socket.tcp = tcp;
   socket.port = port;
   socket.address = Address::Parse(address);
   return socket;
}

std::vector<std::string> GetCauses(Findings const& findings)
{
   std::vector<std::string> causes;
   for (auto const& finding : findings) {
      causes.push_back(finding.cause);
   }
   return causes;
}

TEST(DoctorChecksTest, WhatRunsWellHasNothing)
{
   auto const patient = MakePatient();
   Surroundings const around;
   EXPECT_THAT(FindStates(patient), IsEmpty());
   EXPECT_THAT(FindFilters(patient), IsEmpty());
   EXPECT_THAT(FindDeadServer(patient, around), IsEmpty());
   EXPECT_THAT(FindTakenForwards(patient, around), IsEmpty());
   EXPECT_THAT(FindOverlaps(patient, around), IsEmpty());
   EXPECT_THAT(FindBridging(patient, around), IsEmpty());
   EXPECT_THAT(FindForwardingOff(patient, around), IsEmpty());
   EXPECT_THAT(FindDifferences(patient, {}), IsEmpty());
}

TEST(DoctorChecksTest, WhatANetworkCannotHaveIsTold)
{
   auto patient = MakePatient();
   patient.report->remarks = {"lease addresses in tvnet8: its range has none that is free",
                              "bridge eth0 to tvnet8: there is no such device now"};
   auto const findings = FindStates(patient);
   ASSERT_THAT(GetCauses(findings), ElementsAre("settings"));
   EXPECT_EQ("It can't be had as it is set: lease addresses in tvnet8: its range has none that is "
             "free.",
             findings[0].text);
}

TEST(DoctorChecksTest, WhatTheServiceManagerSaysOfADeadServerIsItsCauseAndNoSetting)
{
   auto patient = MakePatient();
   patient.report->dnsmasqRuns = false;
   patient.report->remarks = {"serve tvnet8: a.service is failed; see \"journalctl -u a.service\""};
   EXPECT_THAT(FindStates(patient), IsEmpty());
   EXPECT_THAT(FindDeadServer(patient, MakeUnconfined()),
               ElementsAre(Finding{"server-dead", 8,
                                   "The network's dnsmasq doesn't run, so guests get neither "
                                   "addresses nor names: a.service is failed; see \"journalctl -u "
                                   "a.service\".",
                                   "tavrin-vnets start tvnet8"}));
   // The same word of one that isn't wanted is about its settings.
   patient.report->wantsDnsmasq = false;
   EXPECT_THAT(GetCauses(FindStates(patient)), ElementsAre("settings"));
}

TEST(DoctorChecksTest, AnEmptyBridgedNetworkNeedsNotRun)
{
   auto patient = MakeBridged({});
   patient.report->state = engine::State::Absent;
   EXPECT_THAT(FindStates(patient), IsEmpty());
   patient.adapters = {"eth0"};
   EXPECT_THAT(GetCauses(FindStates(patient)), ElementsAre("stopped"));
}

TEST(DoctorChecksTest, WithoutRightsWhatIsUnknownIsNoFinding)
{
   auto patient = MakePatient();
   patient.report.reset();
   Surroundings around;
   around.sockets = {MakeSocket(true, 53), MakeSocket(false, 5353)};
   EXPECT_THAT(FindStates(patient), IsEmpty());
   EXPECT_THAT(FindFilters(patient), IsEmpty());
   EXPECT_THAT(FindDeadServer(patient, around), IsEmpty());
   EXPECT_THAT(FindTakenForwards(patient, around), IsEmpty());
   EXPECT_THAT(FindDifferences(patient, {}), IsEmpty());
}

TEST(DoctorChecksTest, DifferencesThatAreExplainedAreNotToldTwice)
{
   auto patient = MakePatient();
   patient.report->differences = {"rules", "dnsmasq", "switches"};
   auto const without = [&](Findings const& others) { return FindDifferences(patient, others); };
   EXPECT_THAT(without({{"server-dead", 8, "", ""}}),
               ElementsAre(Finding{"differs", 8,
                                   "On the host it isn't as the database wants: rules, switches.",
                                   "tavrin-vnets start tvnet8"}));
   EXPECT_THAT(
      without({{"port-taken", 8, "", ""}, {"forwarding-off", 8, "", ""}}),
      ElementsAre(Finding{"differs", 8, "On the host it isn't as the database wants: rules.",
                          "tavrin-vnets start tvnet8"}));
   patient.report->differences = {"dnsmasq"};
   EXPECT_THAT(without({{"apparmor", 8, "", ""}}), IsEmpty());
}

TEST(DoctorChecksTest, OnlyASocketInTheWayExplainsADeadServer)
{
   auto patient = MakePatient();
   patient.report->dnsmasqRuns = false;
   auto around = MakeUnconfined();
   around.links = {MakeLink(5, "tvnet8"), MakeLink(6, "tvnet9")};
   // A resolver's own, a server of another network, and one behind another device.
   around.sockets = {MakeSocket(true, 53, "127.0.0.53"), MakeSocket(false, 53, "192.168.9.2"),
                     MakeSocket(false, 67), MakeSocket(true, 67)};
   around.sockets[2].link = 6;
   EXPECT_THAT(GetCauses(FindDeadServer(patient, around)), ElementsAre("server-dead"));
   for (auto const& socket :
        {MakeSocket(true, 53), MakeSocket(false, 53, "192.168.8.2"), MakeSocket(false, 67)}) {
      around.sockets = {socket, socket};
      EXPECT_THAT(GetCauses(FindDeadServer(patient, around)), ElementsAre("port-taken"))
         << socket.port;
   }
   // Without NAT it serves no names.
   patient.settings.useNat = false;
   around.sockets = {MakeSocket(true, 53)};
   EXPECT_THAT(GetCauses(FindDeadServer(patient, around)), ElementsAre("server-dead"));
}

TEST(DoctorChecksTest, AppArmorIsNamedWhereItsProfileIsEnforced)
{
   test::TempDir const sys;
   auto patient = MakePatient();
   patient.report->dnsmasqRuns = false;
   Surroundings around;
   around.roots.sys = sys.GetPath();
   auto const getCauses = [&](std::string const& profiles) {
      sys.Write("kernel/security/apparmor/profiles", profiles);
      return GetCauses(FindDeadServer(patient, around));
   };
   EXPECT_THAT(getCauses("/usr/sbin/ntpd (enforce)\n/usr/sbin/dnsmasq (enforce)\n"),
               ElementsAre("apparmor"));
   EXPECT_THAT(getCauses("dnsmasq (enforce)\n"), ElementsAre("apparmor"));
   for (auto const* other : {"", "/usr/sbin/dnsmasq (complain)\n", "libvirt-dnsmasq (enforce)\n",
                             "dnsmasq//libvirt_leaseshelper (enforce)\n"}) {
      EXPECT_THAT(getCauses(other), ElementsAre("server-dead")) << other;
   }
}

TEST(DoctorChecksTest, AForwardsPortIsTakenByServicesAlone)
{
   auto const patient = MakePatient();
   Surroundings around;
   auto const getTexts = [&](host::Socket const& socket) {
      around.sockets = {socket};
      return GetCauses(FindTakenForwards(patient, around));
   };
   EXPECT_THAT(getTexts(MakeSocket(true, 2222)), ElementsAre("forward-taken"));
   EXPECT_THAT(getTexts(MakeSocket(true, 2222, "127.0.0.1")), ElementsAre("forward-taken"));
   EXPECT_THAT(getTexts(MakeSocket(false, 5353)), ElementsAre("forward-taken"));
   EXPECT_THAT(getTexts(MakeSocket(false, 2222)), IsEmpty());
   EXPECT_THAT(getTexts(MakeSocket(true, 2222, "192.168.8.2")), IsEmpty());
   auto held = MakeSocket(false, 5353);
   held.mark = host::PortHolder::mark;
   EXPECT_THAT(getTexts(held), IsEmpty());
}

TEST(DoctorChecksTest, AdaptersThatCannotBridgeAreNamed)
{
   Surroundings around;
   around.links = {MakeLink(1, "eth0"), MakeLink(2, "eth1", true, false),
                   MakeLink(3, "eth2", false, false), MakeLink(4, "wlan0")};
   around.links[3].wireless = true;
   EXPECT_THAT(FindBridging(MakeBridged({"eth0"}), around), IsEmpty());
   EXPECT_THAT(GetCauses(FindBridging(MakeBridged({"wlan0"}), around)), ElementsAre("wifi"));
   EXPECT_THAT(GetCauses(FindBridging(MakeBridged({"eth9"}), around)), ElementsAre("no-adapter"));
   auto const off = FindBridging(MakeBridged({"eth2"}), around);
   ASSERT_THAT(GetCauses(off), ElementsAre("no-carrier"));
   EXPECT_EQ("ip link set eth2 up", off[0].remedy);
   auto const unplugged = FindBridging(MakeBridged({"eth1"}), around);
   ASSERT_THAT(GetCauses(unplugged), ElementsAre("no-carrier"));
   EXPECT_EQ("", unplugged[0].remedy);
   // Of several it takes one that works.
   EXPECT_THAT(FindBridging(MakeBridged({"eth0", "eth1", "eth9"}), around), IsEmpty());
   // What it uses counts, and not what it might use.
   auto patient = MakeBridged({"eth0", "wlan0"});
   patient.report->adapters = {"eth0"};
   EXPECT_THAT(FindBridging(patient, around), IsEmpty());
   patient.report->adapters = {"wlan0"};
   EXPECT_THAT(GetCauses(FindBridging(patient, around)), ElementsAre("wifi"));
}

TEST(DoctorChecksTest, ForwardingIsAskedOfBothSides)
{
   test::TempDir const switches;
   switches.Write("ipv4/conf/tvnet8/forwarding", "1\n");
   switches.Write("ipv4/conf/eth0/forwarding", "0\n");
   Surroundings around;
   around.roots.switches = switches.GetPath();
   around.links = {MakeLink(1, "eth0"), MakeLink(2, "tvnet8")};
   EXPECT_THAT(FindForwardingOff(MakePatient(), around), IsEmpty());
   around.wayOut = "eth0";
   EXPECT_THAT(GetCauses(FindForwardingOff(MakePatient(), around)), ElementsAre("forwarding-off"));
   switches.Write("ipv4/conf/tvnet8/forwarding", "0\n");
   EXPECT_EQ(2u, FindForwardingOff(MakePatient(), around).size());
   auto hostOnly = MakePatient();
   hostOnly.settings.useNat = false;
   EXPECT_THAT(FindForwardingOff(hostOnly, around), IsEmpty());
}

TEST(ShellWordTest, NamesOfOthersStayOneWord)
{
   EXPECT_EQ("eth0.5", MakeShellWord("eth0.5"));
   EXPECT_EQ("''", MakeShellWord(""));
   EXPECT_EQ("'a;reboot'", MakeShellWord("a;reboot"));
   EXPECT_EQ("'$(x)'", MakeShellWord("$(x)"));
   EXPECT_EQ("'it'\\''s'", MakeShellWord("it's"));
}

} // namespace

} // namespace vnet::doctor
