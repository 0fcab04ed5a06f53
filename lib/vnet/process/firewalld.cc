// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/firewalld.hh"

#include "vnet/process/runningProcess.hh"
#include "vnet/process/systemBus.hh"

#include <string_view>
#include <utility>

namespace vnet::process {

namespace {

constexpr char serviceName[] = "org.fedoraproject.FirewallD1";
constexpr char servicePath[] = "/org/fedoraproject/FirewallD1";
constexpr char zoneInterface[] = "org.fedoraproject.FirewallD1.zone";

// The one on the bus; no owner if there is none for us.
class Service {
public:
   Service(std::string const& address, std::chrono::milliseconds patience)
      : bus(address, patience), owner(bus.FindOwner(serviceName))
   {
      auto const facts = owner.empty() ? std::nullopt : FindProcess(bus.GetProcess(owner));
      if (!facts || !facts->sameNetwork.value_or(false)) {
         owner.clear();
      }
   }

   bool IsThere() const { return !owner.empty(); }

   SystemBus::Value Call(char const* method, GVariant* parameters, char const* answerType)
   {
      return bus.Call(owner, servicePath, zoneInterface, method, parameters, answerType);
   }

private:
   SystemBus bus;
   std::string owner;
};

void RequireThere(Service const& service)
{
   if (!service.IsThere()) {
      throw Refusal("firewalld doesn't run here");
   }
}

// "a{sa{sas}}": zones, of each what it has by kind.
std::map<std::string, std::string> ReadDevices(GVariant* answer)
{
   std::map<std::string, std::string> devices;
   GVariantIter* zones = nullptr;
   g_variant_get(answer, "(a{sa{sas}})", &zones);
   char const* zone = nullptr;
   GVariantIter* kinds = nullptr;
   while (g_variant_iter_loop(zones, "{&sa{sas}}", &zone, &kinds)) {
      char const* kind = nullptr;
      GVariantIter* members = nullptr;
      while (g_variant_iter_loop(kinds, "{&sas}", &kind, &members)) {
         char const* member = nullptr;
         while (g_variant_iter_loop(members, "&s", &member)) {
            if (std::string_view(kind) == "interfaces") {
               devices[member] = zone;
            }
         }
      }
   }
   g_variant_iter_free(zones);
   return devices;
}

} // namespace

Firewalld::Firewalld(std::string addressOfBus, std::chrono::milliseconds patienceOfCaller)
   : address(std::move(addressOfBus)), patience(patienceOfCaller)
{}

std::optional<std::map<std::string, std::string>> Firewalld::ListDevices()
{
   using Devices = std::optional<std::map<std::string, std::string>>;
   return Ask<Service>(address, patience, "list", "devices of firewalld", [](Service& service) {
      return service.IsThere() ? Devices(ReadDevices(
                                    service.Call("getActiveZones", nullptr, "(a{sa{sas}})").get()))
                               : Devices();
   });
}

std::vector<std::string> Firewalld::ListZones()
{
   return Ask<Service>(address, patience, "list", "zones of firewalld", [](Service& service) {
      RequireThere(service);
      auto const answer = service.Call("getZones", nullptr, "(as)");
      std::vector<std::string> zones;
      GVariantIter* names = nullptr;
      g_variant_get(answer.get(), "(as)", &names);
      char const* name = nullptr;
      while (g_variant_iter_loop(names, "&s", &name)) {
         zones.emplace_back(name);
      }
      g_variant_iter_free(names);
      return zones;
   });
}

void Firewalld::Add(std::string const& zone, std::string const& device)
{
   Ask<Service>(
      address, patience, "put", device + " into firewalld's zone " + zone, [&](Service& service) {
         RequireThere(service);
         service.Call("addInterface", g_variant_new("(ss)", zone.c_str(), device.c_str()), "(s)");
      });
}

void Firewalld::Remove(std::string const& zone, std::string const& device)
{
   Ask<Service>(address, patience, "take", device + " out of firewalld's zone " + zone,
                [&](Service& service) {
                   RequireThere(service);
                   service.Call("removeInterface",
                                g_variant_new("(ss)", zone.c_str(), device.c_str()), "(s)");
                });
}

} // namespace vnet::process
