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
#include "networks/verdict.hh"

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

// Give or take some noise.
constexpr double linear = 1.2;

Line const first = {firstSave, handAll, true};
Line const mtus = {mtuSave, "", true};
Line const forwards = {forwardSave, "", true};

std::vector<Line> const lines = {{handBridges, "", true},
                                 {handRules, "", true},
                                 {handLibrary, "", true},
                                 {handDnsmasq, "", true},
                                 {handAll, "", true},
                                 {handOne, ""},
                                 {handStop, "", true},
                                 {startAll, handAll, true},
                                 {startOne, handOne},
                                 {stopAll, handStop, true},
                                 first,
                                 {sameSave, "", true},
                                 mtus,
                                 forwards};

std::string Of(unsigned int networks)
{
   return ", " + std::to_string(networks) + " networks";
}

void TellOfSameSave(Results const& results, unsigned int networks, double bar)
{
   if (double const median = results.GetMedian(sameSave, networks)) {
      Tell(
         {sameSave + Of(networks) + ", ms", Format(median, 1, "ms"), "", median, Bar::AtMost, bar});
   }
}

void TellOfStart(Results const& results, unsigned int networks)
{
   double const ours = results.GetMedian(startOne, networks);
   double const reference = results.GetMedian(handOne, networks);
   Tell({"start of one until it answers" + Of(networks), Format(ours, 1, "ms"),
         Format(reference, 1, "ms"), ours / reference, Bar::AtMost, 1.2});
}

// Beside what the kernel and the tools' own libraries take for as many by hand.
void TellOfChanges(Results const& results, unsigned int networks)
{
   double const hand = results.GetMedian(handAll, networks);
   for (auto const& line : {first, mtus, forwards}) {
      double const median = results.GetMedian(line.what, networks);
      Tell({line.what + Of(networks) + ", ms each", Format(median, 0, "ms"),
            Format(hand, 0, "ms") + " by hand", median / networks, Bar::AtMost, 40});
      if (double const growth = GetGrowth(line, results)) {
         Line const byHand = {handAll, "", true};
         Tell({line.what + ", growth of the cost of each", Format(growth, 2, "times"),
               Format(GetGrowth(byHand, results), 2, "times") + " by hand", growth, Bar::AtMost,
               linear});
      }
   }
}

void TellOfBars(Results const& results)
{
   TellOfSameSave(results, 3, 30);
   TellOfSameSave(results, 20, 100);
   for (unsigned int const networks : results.GetCounts()) {
      TellOfStart(results, networks);
   }
   TellOfChanges(results, results.GetCounts().back());
}

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
   TellOfBars(results);
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
