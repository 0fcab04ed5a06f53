// SPDX-License-Identifier: GPL-2.0-or-later
// What guests notice of our networks, and the machine when nobody uses them: throughput beside the
// kernel's own, what a save loses, and what the watcher does while nothing happens.
//
//    bench_guests [nat|bridged|loss|idle]...
//
// Without a name all of them. Works in namespaces of its own, as root or as an ordinary user.
#include "networks/datagrams.hh"
#include "networks/laboratory.hh"
#include "networks/nursery.hh"
#include "networks/plainHost.hh"
#include "networks/product.hh"
#include "networks/results.hh"
#include "networks/throughput.hh"
#include "networks/verdict.hh"
#include "vnet/watch/watcherControl.hh"
#include "vnet/watch/watcherRecord.hh"
#include "windows/program.hh"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace bench;
using test::Edited;

constexpr auto outsideAddress = "198.51.100.2";
constexpr unsigned int rounds = 100;
constexpr unsigned int saves = 20;
constexpr std::chrono::seconds idleTime(60);
// A bridge tells of a port once more when its forward delay is over, after 15 s.
constexpr std::chrono::seconds settlingTime(16);
constexpr int settlingTurns = 5;

vnet::engine::Place MakePlace()
{
   vnet::engine::Place place;
   place.ensureWatcher = [folder = place.runFolder] {
      vnet::watch::EnsureWatcher(folder, WATCHER);
   };
   place.stopWatcher = [folder = place.runFolder] { vnet::watch::StopWatcher(folder); };
   return place;
}

// A NAT network, number 0, and others beside it.
Edited MakeNats(unsigned int count)
{
   Edited model;
   for (unsigned int index = 0; index < count; ++index) {
      model.networks[index] = Edited::MakeNat(index);
   }
   return model;
}

Edited MakeBridged()
{
   Edited model;
   model.networks[0] = Edited::MakeBridged();
   model.adapters["eth0"] = 0;
   return model;
}

// Networks that run, with the guest in the first.
class Running {
public:
   explicit Running(Edited const& model) : product(model, MakePlace())
   {
      // No hardware, so it has to be named to be bridged.
      std::ofstream("/etc/tavrin/config") << "host.adapters = \"eth0\"\n";
      product.Save();
      laboratory.Plug(0);
      product.Check(true);
   }
   ~Running() { product.StopAll(); }

   netlab::Namespace const& GetGuest() const { return laboratory.GetGuest(); }
   netlab::Namespace const& GetOutside() const { return laboratory.GetOutside(); }
   void Save() { product.Save(); }

private:
   Laboratory laboratory;
   Product product;
};

void Configure(netlab::Namespace const& guest, char const* address, std::string const& gateway)
{
   guest.AddAddress("eth0", address);
   if (!gateway.empty()) {
      guest.Command("ip route add default via " + gateway);
   }
}

void MeasureRoads(char const* what, Running const& ours, PlainHost const& plain, double bar)
{
   Road road(ours.GetGuest(), ours.GetOutside(), outsideAddress);
   Road floor(plain.GetGuest(), plain.GetOutside(), outsideAddress);
   auto const found = Compare(road, floor, rounds);
   Tell({what, Format(found.ours * 8e-9, 2, "Gbit/s"), Format(found.floor * 8e-9, 2, "Gbit/s"),
         found.ratio, Bar::AtLeast, bar});
}

void MeasureNat()
{
   Running const ours(MakeNats(1));
   PlainHost plain;
   plain.MakeNat();
   Configure(ours.GetGuest(), "192.168.0.50/24", "192.168.0.2");
   Configure(plain.GetGuest(), "192.168.0.50/24", "192.168.0.1");
   MeasureRoads("guest to outside through NAT", ours, plain, 0.97);
}

void MeasureBridged()
{
   Running const ours(MakeBridged());
   PlainHost plain;
   plain.MakeBridged();
   Configure(ours.GetGuest(), "198.51.100.50/24", "");
   Configure(plain.GetGuest(), "198.51.100.50/24", "");
   MeasureRoads("guest to LAN through a bridged network", ours, plain, 0.90);
}

void MeasureLoss(unsigned int networks)
{
   Running ours(MakeNats(networks));
   Configure(ours.GetGuest(), "192.168.0.50/24", "192.168.0.2");
   Datagrams datagrams(ours.GetGuest(), ours.GetOutside(), outsideAddress);
   for (unsigned int save = 0; save < saves; ++save) {
      ours.Save();
   }
   auto const lost = datagrams.Finish();
   Tell({"datagrams of a guest lost in " + std::to_string(saves) + " saves of " +
            std::to_string(networks) + " networks that change nothing",
         std::to_string(lost), std::to_string(datagrams.GetSent()) + " sent",
         static_cast<double>(lost), Bar::AtMost, 0});
}

pid_t FindWatcher()
{
   auto const watcher = vnet::watch::WatcherRecord("/run/tavrin").FindLiving();
   if (!watcher) {
      throw std::runtime_error("find the watcher: it doesn't run");
   }
   return watcher->pid;
}

// What followed on the start is done.
void WaitUntilQuiet(pid_t pid)
{
   for (int turn = 0; turn < settlingTurns; ++turn) {
      auto const before = GetUse(pid);
      std::this_thread::sleep_for(settlingTime);
      if (GetUse(pid).switches == before.switches) {
         return;
      }
   }
   throw std::runtime_error("wait for the watcher: it doesn't come to rest");
}

void MeasureIdle()
{
   auto model = MakeNats(3);
   model.networks[1] = Edited::MakeHostOnly(1);
   model.networks[2] = Edited::MakeBridged();
   model.adapters["eth0"] = 2;
   Running const ours(model);
   pid_t const watcher = FindWatcher();
   WaitUntilQuiet(watcher);
   auto const before = GetUse(watcher);
   std::this_thread::sleep_for(idleTime);
   Tell(JudgeIdle("the watcher of three networks", before, GetUse(watcher)));
}

void MeasureLosses()
{
   MeasureLoss(3);
   MeasureLoss(20);
}

struct Measurement {
   std::string_view name;
   void (*run)();
};

constexpr Measurement measurements[] = {{"nat", MeasureNat},
                                        {"bridged", MeasureBridged},
                                        {"loss", MeasureLosses},
                                        {"idle", MeasureIdle}};

bool IsKnown(std::string const& name)
{
   return std::ranges::find(measurements, name, &Measurement::name) != std::end(measurements);
}

int Run(std::vector<std::string> const& chosen)
{
   for (auto const& measurement : measurements) {
      if (chosen.empty() || std::ranges::find(chosen, measurement.name) != chosen.end()) {
         measurement.run();
      }
   }
   return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
   std::vector<std::string> const chosen(argv + 1, argv + argc);
   if (!std::ranges::all_of(chosen, IsKnown)) {
      std::fprintf(stderr, "usage: %s [nat|bridged|loss|idle]...\n", argv[0]);
      return 2;
   }
   // Each line when it is known: all of them take minutes.
   std::setvbuf(stdout, nullptr, _IOLBF, 0);
   return RunInNursery([&chosen] { return Run(chosen); });
}
