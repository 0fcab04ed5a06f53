// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/byHand.hh"

#include "support/testProcess.hh"
#include "vnet/engine/facts.hh"
#include "vnet/engine/host.hh"
#include "vnet/engine/place.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/process/runningProcess.hh"
#include "vnet/services/plan.hh"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

namespace fs = std::filesystem;
using vnet::services::WantedNetwork;

constexpr auto folder = "/run/hand";
constexpr auto nameserver = "198.51.100.2"; // asked nothing
constexpr auto stateFolder = "/var/lib/tavrin/hand";
constexpr std::chrono::milliseconds patience(10000);

// Waits without a pause, as a shell does.
void Run(std::vector<std::string> const& arguments)
{
   std::vector<char*> words;
   for (auto const& argument : arguments) {
      words.push_back(const_cast<char*>(argument.c_str()));
   }
   words.push_back(nullptr);
   pid_t pid = 0;
   int status = 0;
   if (posix_spawnp(&pid, words[0], nullptr, nullptr, words.data(), environ) != 0 ||
       waitpid(pid, &status, 0) != pid || status != 0) {
      throw std::runtime_error("run " + arguments[0] + ": it failed");
   }
}

std::string GetPath(WantedNetwork const& plan, char const* name)
{
   return std::string(folder) + "/" + plan.bridge.name + "/" + name;
}

void Write(std::string const& path, std::string const& text)
{
   fs::create_directories(fs::path(path).parent_path());
   std::ofstream(path) << text;
}

std::string ToText(std::array<std::uint8_t, 6> const& mac)
{
   char text[18];
   std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                 mac[4], mac[5]);
   return text;
}

std::string MakeBatch(WantedNetwork const& plan)
{
   auto const& name = plan.bridge.name;
   std::string text = "link add " + name + " address " + ToText(plan.bridge.mac) + " mtu " +
                      std::to_string(plan.bridge.mtu.value()) +
                      " type bridge stp_state 0 mcast_snooping 0\nlink set " + name + " up\n";
   for (auto const& address : plan.addresses) {
      text += "addr add " + address.address.ToString() + "/" +
              std::to_string(address.prefixLength) + (address.scopeLink ? " scope link" : "") +
              " dev " + name + "\n";
   }
   return text;
}

void WriteFiles(WantedNetwork const& plan)
{
   Write(GetPath(plan, "batch"), MakeBatch(plan));
   Write(GetPath(plan, "rules"), plan.ruleset);
   if (plan.dnsmasq) {
      Write(plan.dnsmasq->configurationPath, plan.dnsmasq->configuration);
      Write(plan.dnsmasq->optionsPath, plan.dnsmasq->options);
      Write(plan.dnsmasq->serversPath, plan.dnsmasq->servers);
      fs::create_directories(fs::path(plan.dnsmasq->leasePath).parent_path());
   }
}

void End(std::string const& pidPath)
{
   pid_t pid = 0;
   std::ifstream(pidPath) >> pid;
   auto const facts = vnet::process::FindProcess(pid);
   auto const handle = facts ? vnet::process::ProcessHandle::Open(facts->identity) : std::nullopt;
   if (!handle) {
      throw std::runtime_error("end dnsmasq: it is gone already");
   }
   handle->Terminate(patience);
   fs::remove(pidPath);
}

} // namespace

ByHand::ByHand(vnet::Settings const& settings)
{
   vnet::engine::Place place;
   place.runFolder = folder;
   place.stateFolder = stateFolder;
   vnet::engine::Host const host;
   auto const facts = vnet::engine::GatherFacts(host, place, {nameserver});
   for (auto const& [index, network] : settings.networks) {
      WriteFiles(plans.emplace(index, vnet::services::Plan(settings, index, facts)).first->second);
   }
}

std::vector<unsigned int> ByHand::GetIndices() const
{
   std::vector<unsigned int> indices;
   for (auto const& [index, plan] : plans) {
      indices.push_back(index);
   }
   return indices;
}

void ByHand::MakeBridge(unsigned int index) const
{
   Run({"ip", "-batch", GetPath(plans.at(index), "batch")});
}

void ByHand::LoadRules(unsigned int index) const
{
   Run({"nft", "-f", GetPath(plans.at(index), "rules")});
}

void ByHand::StartDnsmasq(unsigned int index) const
{
   if (auto const& dnsmasq = plans.at(index).dnsmasq) {
      Run({"/usr/sbin/dnsmasq", "--conf-file=" + dnsmasq->configurationPath});
   }
}

void ByHand::LoadRulesInProcess() const
{
   vnet::host::Ruleset rules;
   for (auto const& [index, plan] : plans) {
      rules.Run(plan.ruleset, plan.bridge.name);
   }
}

void ByHand::DropRules(unsigned int index) const
{
   Run({"nft", "delete", "table", "inet", vnet::services::GetTableName(index)});
}

void ByHand::Remove(unsigned int index) const
{
   auto const& plan = plans.at(index);
   if (plan.dnsmasq) {
      End(plan.dnsmasq->pidPath);
   }
   DropRules(index);
   Run({"ip", "link", "del", plan.bridge.name});
}

} // namespace bench
