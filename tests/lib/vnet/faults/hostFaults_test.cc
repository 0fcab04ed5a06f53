// SPDX-License-Identifier: GPL-2.0-or-later
// A host that lacks something, or on which others are in the way. The save goes as far as it can,
// tells what it couldn't do, and the next one on a sound host mends everything.
#include "lib/vnet/faults/faultTest.hh"

#include "vnet/database/database.hh"
#include "vnet/host/ruleset.hh"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vnet::engine {

namespace {

using testing::AllOf;
using testing::HasSubstr;

// Another program in the place of one, for this process and those it starts.
class Replaced {
public:
   Replaced(char const* program, char const* by) : path(program)
   {
      EXPECT_EQ(0, mount(by, program, nullptr, MS_BIND, nullptr)) << std::strerror(errno);
   }
   ~Replaced() { umount2(path, MNT_DETACH); }
   Replaced(Replaced const&) = delete;
   Replaced& operator=(Replaced const&) = delete;

private:
   char const* const path;
};

// A file system mounted anew with other options, and again with the first ones.
class Remounted {
public:
   Remounted(char const* folder, unsigned long flags, char const* options = nullptr) : path(folder)
   {
      EXPECT_EQ(0, mount(nullptr, folder, nullptr, MS_REMOUNT | flags, options))
         << std::strerror(errno);
   }
   ~Remounted() { EXPECT_EQ(0, mount(nullptr, path, nullptr, MS_REMOUNT, "size=50%")); }
   Remounted(Remounted const&) = delete;
   Remounted& operator=(Remounted const&) = delete;

private:
   char const* const path;
};

// A port of all addresses that somebody else has.
base::FileDescriptor TakePort(std::uint16_t port)
{
   base::FileDescriptor taken(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_port = htons(port);
   EXPECT_EQ(0, bind(taken.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
   return taken;
}

class HostFaultsTest : public FaultTest {
protected:
   // A save to the second model, of which only a part can work.
   Outcome SaveInVain()
   {
      auto outcome = Save(Second);
      EXPECT_TRUE(outcome.Ended());
      EXPECT_EQ("", outcome.leaks);
      EXPECT_TRUE(IsWhole(GetDatabase(First), GetDatabase(Second)));
      return outcome;
   }
};

} // namespace

TEST_F(HostFaultsTest, DnsmasqThatCantBeExecuted)
{
   {
      Replaced const missing("/usr/sbin/dnsmasq", "/dev/null");
      EXPECT_THAT(SaveInVain().GetLog(),
                  HasSubstr("start a service of tvnet10: run tvnet10: start /usr/sbin/dnsmasq: "
                            "Permission denied"));
      EXPECT_EQ(GetDatabase(Second), ReadDatabase());
   }
   ExpectMended(Second);
   ExpectMended(First);
}

TEST_F(HostFaultsTest, DnsmasqThatEndsAtOnce)
{
   {
      Replaced const other("/usr/sbin/dnsmasq", "/bin/false");
      EXPECT_THAT(SaveInVain().GetLog(), HasSubstr("run tvnet10: start dnsmasq with "
                                                   "/run/tavrin/tvnet10/dnsmasq.conf: status 1"));
      EXPECT_EQ(GetDatabase(Second), ReadDatabase());
   }
   ExpectMended(Second);
   ExpectMended(First);
}

TEST_F(HostFaultsTest, PortsOfDhcpAndDnsThatAreTaken)
{
   for (std::uint16_t const port : {67, 53}) {
      // Or dnsmasq would have them.
      engine->StopAll(Database(Database::Place()).GetSettings());
      {
         auto const taken = TakePort(port);
         EXPECT_THAT(SaveInVain().GetLog(), AllOf(HasSubstr("run tvnet10: start dnsmasq with "),
                                                  HasSubstr("Address already in use")))
            << port;
         EXPECT_EQ(GetDatabase(Second), ReadDatabase());
      }
      ExpectMended(Second);
      ExpectMended(First);
   }
}

TEST_F(HostFaultsTest, ARulesetThatTheKernelRefusesToChange)
{
   {
      // Nobody but the owner may change such a table.
      host::Ruleset owner;
      owner.Run("table inet tavrin-tvnet10 { flags owner; }", "a table");
      EXPECT_THAT(SaveInVain().GetLog(), HasSubstr("start a service of tvnet10: change rules of "
                                                   "tavrin-tvnet10: Could not process rule: "
                                                   "Operation not permitted"));
      EXPECT_EQ(GetDatabase(Second), ReadDatabase());
   }
   ExpectMended(Second);
   ExpectMended(First);
}

TEST_F(HostFaultsTest, ABridgeNameThatSomeoneElseUses)
{
   GetHost().Command("ip link add tvnet10 type bridge");
   auto const theirs = GetHost().Command("ip -d -o link show tvnet10");
   EXPECT_THAT(SaveInVain().GetLog(), HasSubstr("Someone else's device has this name"));
   EXPECT_EQ(GetDatabase(Second), ReadDatabase());
   EXPECT_EQ(theirs, GetHost().Command("ip -d -o link show tvnet10"));
   GetHost().Command("ip link del tvnet10");
   ExpectMended(Second);
   ExpectMended(First);
}

TEST_F(HostFaultsTest, AnAdapterThatIsGone)
{
   auto const mac = GetHost().GetMac("eth1").ToString();
   GetHost().Command("ip link del eth1");
   EXPECT_THAT(SaveInVain().GetLog(), HasSubstr("bridge eth1 to tvnet5: there is no such device"));
   EXPECT_EQ(GetDatabase(Second), ReadDatabase());
   netlab::Connect(GetHost(), "eth1", outside, "eth1");
   GetHost().Command("ip link set eth1 address " + mac);
   ExpectMended(Second);
   ExpectMended(First);
}

TEST_F(HostFaultsTest, ADatabaseOnAReadOnlyFileSystem)
{
   auto const before = TakeState();
   {
      Remounted const readOnly("/etc/tavrin", MS_RDONLY);
      EXPECT_THAT(SaveInVain().GetLog(), HasSubstr("load the networking database: "));
      EXPECT_TRUE(test::AreEqual(before, TakeState()));
   }
   ExpectMended(Second);
   ExpectMended(First);
}

TEST_F(HostFaultsTest, ADatabaseOnAFullFileSystem)
{
   auto const before = GetDatabase(First);
   {
      std::ofstream full("/etc/tavrin/full");
      Remounted const small("/etc/tavrin", 0, "size=64k");
      full << std::string(1 << 20, 'x') << std::flush;
      EXPECT_THAT(SaveInVain().GetLog(),
                  HasSubstr("/etc/tavrin/networking: No space left on device"));
      EXPECT_EQ(before, ReadDatabase());
   }
   unlink("/etc/tavrin/full");
   ExpectMended(Second);
   ExpectMended(First);
}

TEST_F(HostFaultsTest, NotesOnAFullFileSystem)
{
   {
      std::ofstream full("/run/full");
      Remounted const small("/run", 0, "size=1m");
      full << std::string(2 << 20, 'x') << std::flush;
      EXPECT_THAT(SaveInVain().GetLog(), HasSubstr("No space left on device"));
   }
   unlink("/run/full");
   ExpectMended(Second);
   ExpectMended(First);
}

} // namespace vnet::engine
