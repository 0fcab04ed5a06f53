// SPDX-License-Identifier: GPL-2.0-or-later
// What the manager's tests share: an empty, loaded database in the double, and an empty model.
#pragma once

#include "cui/features.hh"
#include "support/logDouble.hh"
#include "support/vnet/vnetDouble.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/mgr/mgr.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace utf {

// How gtest shows a text that isn't the expected one.
inline void PrintTo(string const& text, std::ostream* out)
{
   *out << '"' << text.c_str() << '"';
}

} // namespace utf

namespace netcfg {

using common::Editable;
using common::NAT;
using common::Network;
using common::OnDone;
using test::LogDouble;
using test::VnetDatabase;
using test::VnetDouble;

using Lines = std::vector<std::string>;

class MgrTest : public testing::Test {
protected:
   MgrTest()
   {
      SetDatabase("");
      LogDouble::Clear();
      cui::GetFeatures().mtu = cui::Capability(true);
   }

   // Nothing may be left open behind a test.
   ~MgrTest() override { EXPECT_EQ(0, VnetDouble::GetOpenLists()); }

   // Puts a loaded database in place and forgets the calls so far.
   static void SetDatabase(std::string const& text)
   {
      VnetDouble::Reset(VnetDatabase::Parse(text));
      VnetDouble::Load();
   }

   static test::VnetNetwork& Stored(unsigned int index)
   {
      return VnetDouble::GetDatabase().networks[index];
   }

   Network& AddHosted(Network::Type type, unsigned int index, char const* subnet = "",
                      char const* mask = "")
   {
      Network* const network = editable->AddNetwork(type, index, false, OnDone());
      network->SetSubnetAddr(subnet);
      network->SetSubnetMask(mask);
      return *network;
   }

   Network& AddBridged(unsigned int index)
   {
      return *editable->AddNetwork(Network::Bridged, index, false, OnDone());
   }

   // A network of the model whose slot stays as the order to delete it.
   void AddRemoved(unsigned int index)
   {
      AddHosted(Network::HostOnly, index);
      editable->RemoveNetwork(index);
   }

   std::unique_ptr<Editable> editable = std::make_unique<Editable>(256);
   Mgr mgr{editable.get()};
};

} // namespace netcfg
