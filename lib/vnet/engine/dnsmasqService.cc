// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/dnsmasqService.hh"

#include "vnet/engine/host.hh"
#include "vnet/process/dnsmasq.hh"
#include "vnet/process/smallFile.hh"
#include "vnet/services/dnsmasqConfig.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace vnet::engine {

namespace {

constexpr char program[] = "/usr/sbin/dnsmasq";

process::DnsmasqTexts MakeTexts(services::WantedDnsmasq const& wanted, int link)
{
   return {wanted.configuration, wanted.options, wanted.servers, static_cast<std::uint64_t>(link)};
}

} // namespace

DnsmasqService::DnsmasqService(Host& hostOfCaller, std::string bridgeName,
                               services::HostFacts const& factsOfHost,
                               std::shared_ptr<process::Units> const& units)
   : host(hostOfCaller), bridge(std::move(bridgeName)),
     place(services::PlaceDnsmasq(bridge, factsOfHost)), unit{units,
                                                              process::GetDnsmasqUnit(bridge)}
{}

process::Dnsmasq DnsmasqService::Make(services::WantedDnsmasq const& where) const
{
   return process::Dnsmasq({where.configurationPath, where.optionsPath, where.serversPath,
                            where.pidPath, where.leasePath},
                           program, unit);
}

int DnsmasqService::GetLink() const
{
   auto const* device = host.view.Find(bridge);
   return device ? device->link.index : 0;
}

bool DnsmasqService::IsRunning() const
{
   return Make(place).IsRunning();
}

bool DnsmasqService::Runs(std::optional<services::WantedDnsmasq> const& wanted) const
{
   if (!wanted) {
      // One that an earlier process left half started or half stopped may have any of these.
      auto const files = {&place.configurationPath, &place.pidPath, &place.optionsPath,
                          &place.serversPath};
      return std::ranges::none_of(files, [](auto const* file) { return process::MayExist(*file); });
   }
   return Make(*wanted).Runs(MakeTexts(*wanted, GetLink()));
}

void DnsmasqService::Apply(std::optional<services::WantedDnsmasq> const& wanted) const
{
   if (wanted) {
      Make(*wanted).Apply(MakeTexts(*wanted, GetLink()));
   } else if (!Runs(wanted)) {
      Make(place).Stop();
   }
}

std::string DnsmasqService::Remark() const
{
   if (!unit || IsRunning()) {
      return {};
   }
   try {
      auto const state = unit.GetState();
      auto const help = state == "failed" ? "journalctl -u " + unit.name : "tavrin-vnets start";
      return "serve " + bridge + ": " + unit.name + " is " + state + "; see \"" + help + "\"";
   } catch (Error const& error) {
      return error.what();
   }
}

void DnsmasqService::ForgetLeases() const
{
   process::RemoveFile(place.leasePath);
   rmdir(std::filesystem::path(place.leasePath).parent_path().c_str());
}

} // namespace vnet::engine
