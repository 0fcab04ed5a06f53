// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/product.hh"

#include "vnet/engine/engine.hh"
#include "vnet/interface/library.hh"
#include "vnet/vnetlib.h"

#include <fstream>
#include <stdexcept>
#include <utility>

namespace bench {

namespace {

using test::Edited;
using test::EditedNetwork;
using vnet::engine::Engine;

vnet::Settings ReadSettings()
{
   return vnet::Database(vnet::Database::Place()).GetSettings();
}

// The host changes under the lock alone.
template <class Work>
void Change(Work const& work)
{
   vnet::Database database{vnet::Database::Place()};
   database.Lock();
   Engine engine;
   work(engine, database.GetSettings());
}

Edited MakeModel(unsigned int count)
{
   Edited model;
   for (unsigned int index = 0; index < count; ++index) {
      bool const nat = index % 8 < 7;
      model.networks[index] = nat ? Edited::MakeNat(index) : Edited::MakeHostOnly(index);
   }
   return model;
}

} // namespace

Product::Product(unsigned int count) : Product(MakeModel(count)) {}

Product::Product(Edited networks, vnet::engine::Place const& place) : model(std::move(networks))
{
   std::ofstream("/etc/tavrin/networking") << "[general]\nversion=1\n";
   vnet::Library::Replace(
      std::make_unique<vnet::Library>(vnet::Database::Place(), std::make_unique<Engine>(place)));
}

Product::~Product()
{
   vnet::Library::Replace(nullptr);
}

void Product::ChangeMtus()
{
   ++mtuChanges;
   for (auto& [index, network] : model.networks) {
      network->mtu = mtuChanges % 2 ? 1400 : 1450;
   }
}

void Product::ChangeForwards()
{
   ++forwardChanges;
   for (auto& [index, network] : model.networks) {
      if (network->type == EditedNetwork::Type::Nat) {
         auto const target = vnet::Address{0xc0a80000 + (index << 8) + 128};
         auto const port = static_cast<std::uint16_t>(forwardChanges % 2 ? 80 : 81);
         network->forwards = {{true, static_cast<std::uint16_t>(20000 + index), target, port, ""}};
      }
   }
}

void Product::Save()
{
   if (!VNL_Load(0)) {
      throw std::runtime_error("load the database: see the log");
   }
   test::WalkSave(model);
   VNL_Unload();
}

void Product::StartAll()
{
   Change([](Engine& engine, auto const& settings) { engine.StartAll(settings); });
}

void Product::StopAll()
{
   Change([](Engine& engine, auto const& settings) { engine.StopAll(settings); });
}

void Product::Start(unsigned int index)
{
   Change([index](Engine& engine, auto const& settings) { engine.Start(settings, index); });
}

void Product::Stop(unsigned int index)
{
   Change([index](Engine& engine, auto const& settings) { engine.Stop(settings, index); });
}

vnet::Settings Product::Check(bool running) const
{
   auto const settings = ReadSettings();
   Engine engine;
   auto const state = running ? vnet::engine::State::Running : vnet::engine::State::Absent;
   for (auto const& [index, network] : model.networks) {
      auto const report = engine.Look(settings, index);
      if (report.state != state || !report.differences.empty()) {
         throw std::runtime_error("compare " + vnet::GetNetworkName(index) +
                                  ": it isn't as wanted");
      }
   }
   return settings;
}

} // namespace bench
