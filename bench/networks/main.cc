// SPDX-License-Identifier: GPL-2.0-or-later
// How long networks take to start, to be saved and to stop, against the system's own tools.
//
//    bench_networks [COUNT...]     COUNT: how many networks, from 1 to 256; by default 3, 20 and
//    256
//
// Works in namespaces of its own, as root or as an ordinary user.
#include "networks/byHand.hh"
#include "networks/laboratory.hh"
#include "networks/nursery.hh"
#include "networks/product.hh"
#include "networks/results.hh"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

using namespace bench;

constexpr auto firstSave = "save that makes all";
constexpr auto sameSave = "save that changes nothing";
constexpr auto mtuSave = "save that changes each MTU";
constexpr auto forwardSave = "save that changes a forward of each";
constexpr auto startAll = "start all";
constexpr auto startOne = "start one until it answers";
constexpr auto stopAll = "stop all";
constexpr auto handBridges = "by hand: ip -batch";
constexpr auto handRules = "by hand: nft -f";
constexpr auto handLibrary = "by hand: libnftables in process";
constexpr auto handDnsmasq = "by hand: dnsmasq";
constexpr auto handAll = "by hand: ip, nft, dnsmasq";
constexpr auto handOne = "by hand: one until it answers";
constexpr auto handStop = "by hand: remove all";

std::vector<Line> const lines = {{handBridges, "", true},
                                 {handRules, "", true},
                                 {handLibrary, "", true},
                                 {handDnsmasq, "", true},
                                 {handAll, "", true},
                                 {handOne, "", false},
                                 {handStop, "", true},
                                 {startAll, handAll, true},
                                 {startOne, handOne, false, "1.2 times the floor"},
                                 {stopAll, handStop, true},
                                 {firstSave, handAll, true, "40 ms each, growth 1"},
                                 {sameSave, "", true, "30 ms for 3, 100 ms for 20"},
                                 {mtuSave, "", true, "40 ms each, growth 1"},
                                 {forwardSave, "", true, "40 ms each, growth 1"}};

// More of what takes less.
unsigned int CountRounds(unsigned int networks)
{
   return networks < 10 ? 15 : networks < 100 ? 7 : 3;
}

// One that shares the host's connection, among the last.
unsigned int ChooseOne(unsigned int count)
{
   return (count - 1) / 8 * 8;
}

void RequireLease(Laboratory& laboratory)
{
   if (!laboratory.AsksForLease()) {
      throw std::runtime_error("ask for a lease: nobody answers");
   }
}

// With all others running.
template <class Stop, class Start>
double MeasureOne(Laboratory& laboratory, unsigned int index, Stop const& stop, Start const& start)
{
   stop();
   double const time = Measure([&] {
      start();
      laboratory.Plug(index);
      RequireLease(laboratory);
   });
   laboratory.Unplug();
   return time;
}

void MeasureSaves(Product& product, unsigned int count, Results& results)
{
   auto const save = [&](char const* what) {
      results.Add(what, count, Measure([&] { product.Save(); }));
   };
   save(firstSave);
   for (unsigned int round = 0; round < CountRounds(count); ++round) {
      save(sameSave);
      product.ChangeMtus();
      save(mtuSave);
      product.ChangeForwards();
      save(forwardSave);
   }
}

void MeasureStarts(Product& product, Laboratory& laboratory, unsigned int count, Results& results)
{
   auto const one = ChooseOne(count);
   for (unsigned int round = 0; round < CountRounds(count); ++round) {
      results.Add(stopAll, count, Measure([&] { product.StopAll(); }));
      product.Check(false);
      results.Add(startAll, count, Measure([&] { product.StartAll(); }));
      product.Check(true);
      results.Add(startOne, count,
                  MeasureOne(
                     laboratory, one, [&] { product.Stop(one); }, [&] { product.Start(one); }));
   }
}

vnet::Settings MeasureProduct(unsigned int count, Results& results)
{
   Laboratory laboratory;
   Product product(count);
   MeasureSaves(product, count, results);
   auto const settings = product.Check(true);
   MeasureStarts(product, laboratory, count, results);
   product.StopAll();
   return settings;
}

template <class Step>
double MeasureEach(std::vector<unsigned int> const& indices, Step const& step)
{
   return Measure([&] {
      for (unsigned int const index : indices) {
         step(index);
      }
   });
}

void MakeByHand(ByHand const& hand, unsigned int index)
{
   hand.MakeBridge(index);
   hand.LoadRules(index);
   hand.StartDnsmasq(index);
}

void MeasureHandRound(ByHand const& hand, Laboratory& laboratory, unsigned int count,
                      Results& results)
{
   auto const indices = hand.GetIndices();
   double const bridges = MeasureEach(indices, [&](auto index) { hand.MakeBridge(index); });
   results.Add(handLibrary, count, Measure([&] { hand.LoadRulesInProcess(); }));
   for (unsigned int const index : indices) {
      hand.DropRules(index);
   }
   double const rules = MeasureEach(indices, [&](auto index) { hand.LoadRules(index); });
   double const dnsmasqs = MeasureEach(indices, [&](auto index) { hand.StartDnsmasq(index); });
   results.Add(handBridges, count, bridges);
   results.Add(handRules, count, rules);
   results.Add(handDnsmasq, count, dnsmasqs);
   results.Add(handAll, count, bridges + rules + dnsmasqs);
   auto const one = ChooseOne(count);
   results.Add(handOne, count,
               MeasureOne(
                  laboratory, one, [&] { hand.Remove(one); }, [&] { MakeByHand(hand, one); }));
   results.Add(handStop, count, MeasureEach(indices, [&](auto index) { hand.Remove(index); }));
}

void MeasureHand(vnet::Settings const& settings, unsigned int count, Results& results)
{
   Laboratory laboratory;
   ByHand const hand(settings);
   for (unsigned int round = 0; round < CountRounds(count); ++round) {
      MeasureHandRound(hand, laboratory, count, results);
   }
}

int Run(std::vector<unsigned int> const& counts)
{
   std::printf("as %s, medians\n", geteuid() == 0 ? "root" : "an ordinary user");
   Results results;
   for (unsigned int const count : counts) {
      auto const settings = MeasureProduct(count, results);
      MeasureHand(settings, count, results);
   }
   PrintTable(lines, results);
   return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
   std::vector<unsigned int> counts;
   for (int at = 1; at < argc; ++at) {
      int const count = std::atoi(argv[at]);
      if (count < 1 || count > static_cast<int>(vnet::maxNetworks)) {
         std::fprintf(stderr, "usage: %s [COUNT...], each from 1 to %u\n", argv[0],
                      vnet::maxNetworks);
         return 2;
      }
      counts.push_back(static_cast<unsigned int>(count));
   }
   if (counts.empty()) {
      counts = {3, 20, 256};
   }
   return RunInNursery([&] { return Run(counts); });
}
