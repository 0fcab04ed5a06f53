// SPDX-License-Identifier: GPL-2.0-or-later
// What a snapshot costs, beside what the JSON library takes for the same text and the same tree.
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/nat.hh"

#include <benchmark/benchmark.h>
#include <boost/property_tree/json_parser.hpp>
#include <memory>
#include <sstream>

namespace bench {

namespace {

using boost::property_tree::ptree;
using netcfg::common::Editable;
using netcfg::common::NAT;
using netcfg::common::Network;

constexpr unsigned int MOST_NETWORKS = 256;
constexpr unsigned int FORWARDS_EACH = 40;

NAT::PortForwardList MakeForwards(unsigned int index)
{
   NAT::PortForwardList list;
   for (unsigned int i = 0; i < FORWARDS_EACH; ++i) {
      auto const text = std::to_string(i);
      list.push_back({static_cast<std::uint16_t>(1000 + index * FORWARDS_EACH + i), 80, i % 2 == 0,
                      ("10.20.30." + text).c_str(), ("Forward " + text).c_str()});
   }
   return list;
}

// NAT networks with `count` / 256 of 10,240 forwards.
std::unique_ptr<Editable> MakeModel(unsigned int count)
{
   auto model = std::make_unique<Editable>(MOST_NETWORKS);
   for (unsigned int index = 0; index < count; ++index) {
      auto* const network = model->AddNetwork(Network::NAT, index, true, {});
      network->SetSubnetAddr(("10.20." + std::to_string(index) + ".0").c_str());
      network->SetSubnetMask("255.255.255.0");
      network->GetNAT()->SetPortForwardList(MakeForwards(index));
   }
   return model;
}

std::string MakeText(unsigned int count)
{
   return Editable::Serialize(MakeModel(count).get()).c_str();
}

ptree MakeTree(std::string const& text)
{
   std::istringstream stream(text);
   ptree tree;
   boost::property_tree::read_json(stream, tree);
   return tree;
}

void Account(benchmark::State& state, std::size_t bytes)
{
   state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
   state.SetComplexityN(state.range(0));
}

void Serialize(benchmark::State& state)
{
   auto const model = MakeModel(static_cast<unsigned int>(state.range(0)));
   std::size_t bytes = 0;
   for (auto _ : state) {
      bytes = Editable::Serialize(model.get()).bytes();
   }
   Account(state, bytes);
}

void WriteTree(benchmark::State& state)
{
   auto const tree = MakeTree(MakeText(static_cast<unsigned int>(state.range(0))));
   std::size_t bytes = 0;
   for (auto _ : state) {
      std::ostringstream stream;
      boost::property_tree::write_json(stream, tree, false);
      bytes = stream.str().size();
   }
   Account(state, bytes);
}

void Restore(benchmark::State& state)
{
   auto const text = MakeText(static_cast<unsigned int>(state.range(0)));
   utf::string const received(text.c_str());
   for (auto _ : state) {
      std::unique_ptr<Editable> const model(Editable::Restore(received));
      benchmark::DoNotOptimize(model.get());
   }
   Account(state, text.size());
}

void ReadTree(benchmark::State& state)
{
   auto const text = MakeText(static_cast<unsigned int>(state.range(0)));
   for (auto _ : state) {
      benchmark::DoNotOptimize(MakeTree(text));
   }
   Account(state, text.size());
}

constexpr int FEWEST = 16;

BENCHMARK(Serialize)->RangeMultiplier(4)->Range(FEWEST, MOST_NETWORKS)->Complexity();
BENCHMARK(WriteTree)->RangeMultiplier(4)->Range(FEWEST, MOST_NETWORKS)->Complexity();
BENCHMARK(Restore)->RangeMultiplier(4)->Range(FEWEST, MOST_NETWORKS)->Complexity();
BENCHMARK(ReadTree)->RangeMultiplier(4)->Range(FEWEST, MOST_NETWORKS)->Complexity();

} // namespace

} // namespace bench

BENCHMARK_MAIN();
