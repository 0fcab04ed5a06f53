// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/process/dnsmasqTest.hh"

#include "support/netlab/dhcpClient.hh"
#include "support/netlab/udp.hh"
#include "support/testProcess.hh"
#include "vnet/process/serviceUser.hh"
#include "vnet/values/error.hh"

#include <csignal>

namespace vnet::process {

namespace {

// A question for version.bind, which dnsmasq answers by itself: RFC 1035, 4.1.
std::string MakeQuestion()
{
   std::string const header("\x12\x34\x01\x00\x00\x01\x00\x00\x00\x00\x00\x00", 12);
   std::string const name("\x07version\x04"
                          "bind\x00",
                          14);
   return header + name + std::string("\x00\x10\x00\x03", 4);
}

} // namespace

void DnsmasqTest::SetUp()
{
   LabTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   GetHost().Command("ip link add tvnet8 type bridge");
   netlab::Connect(guest, "eth0", GetHost(), "guest");
   GetHost().Command("ip link set guest master tvnet8");
   GetHost().AddAddress("tvnet8", "192.168.8.254/24");
   texts.configuration = MakeConfiguration();
   texts.options = "option:mtu,1400\n";
   texts.link = 5;
   isReady = true;
}

void DnsmasqTest::TearDown()
{
   // Also after a test that is skipped halfway.
   if (isReady) {
      dnsmasq.Stop();
   }
}

DnsmasqFiles DnsmasqTest::GetFiles()
{
   std::string const base = folder;
   return {base + "/dnsmasq.conf", base + "/dnsmasq.options", base + "/dnsmasq.servers",
           base + "/dnsmasq.pid", leases};
}

std::string DnsmasqTest::MakeConfiguration()
{
   auto const service = FindServiceUser();
   auto const files = GetFiles();
   return "user=" + service.user + "\ngroup=" + service.group + "\npid-file=" + files.pid +
          "\ndhcp-optsfile=" + files.options + "\ndhcp-leasefile=" + files.leases +
          "\ninterface=tvnet8\nexcept-interface=lo\nbind-interfaces\nno-hosts\nno-resolv\n"
          "no-ping\ndhcp-authoritative\ndhcp-range=192.168.8.128,192.168.8.253,1800\n";
}

std::vector<ProcessFacts> DnsmasqTest::ListRunning()
{
   auto running = FindProcesses({"/usr/sbin/dnsmasq", "--conf-file=" + GetFiles().configuration});
   // Another test may run one with the same path meanwhile, but in a network of its own.
   std::erase_if(running, [](ProcessFacts const& facts) { return facts.sameNetwork != true; });
   return running;
}

pid_t DnsmasqTest::GetOnlyPid()
{
   auto const running = ListRunning();
   EXPECT_EQ(1u, running.size());
   return running.empty() ? 0 : running[0].identity.pid;
}

pid_t DnsmasqTest::KillOnly()
{
   auto const killed = ListRunning().at(0).identity;
   auto const handle = ProcessHandle::Open(killed);
   EXPECT_TRUE(handle);
   if (handle) {
      handle->Signal(SIGKILL);
      EXPECT_TRUE(handle->WaitForEnd(test::patience));
   }
   return killed.pid;
}

bool DnsmasqTest::Answers()
{
   return netlab::AskUdp(GetHost(), {"192.168.8.254", 53}, MakeQuestion(), test::Milliseconds(500))
      .has_value();
}

std::optional<std::uint32_t> DnsmasqTest::LeaseMtu() const
{
   auto const lease = netlab::DhcpClient(guest, "eth0").Acquire();
   return lease ? lease->GetNumber(netlab::option::mtu) : std::nullopt;
}

std::string DnsmasqTest::GetFailure(Dnsmasq const& failing) const
{
   try {
      failing.Apply(texts);
   } catch (Error const& error) {
      return error.what();
   }
   return "";
}

} // namespace vnet::process
