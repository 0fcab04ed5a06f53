// SPDX-License-Identifier: GPL-2.0-or-later
// What a save must have made of the host.
#pragma once

#include "lib/vnet/cli/vnetsTest.hh"
#include "tvnetcfg/common/editable.hh"
#include "vnet/values/settings.hh"

namespace netcfg::onHost {

// A host with the default kinds of networks running: 0 automatic over eth0 and eth1, 1 host-only,
// 8 NAT.
class SavedHostTest : public vnet::cli::VnetsTest {
protected:
   void SetUp() override;

   // The database as a process that was just started reads it.
   static vnet::Settings ReadSettings();
   // Compares database, links, addresses, rules and processes with what the model says, network by
   // network, and expects that nothing else of ours is there but the bridges of `plugged` networks.
   void ExpectSaved(common::Editable& model, std::set<unsigned int> const& plugged = {});
   // Expects that nothing on the host differs from what the database wants.
   static void ExpectInLine();

private:
   void ExpectStored(vnet::Settings const& settings, common::Editable& model);
   void ExpectHosted(common::Network& network);
   void ExpectBridged(common::Network& network);
};

} // namespace netcfg::onHost
