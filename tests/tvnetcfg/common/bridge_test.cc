// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/bridge.hh"

#include "tvnetcfg/common/listener.hh"
#include "tvnetcfg/common/refusals.hh"

#include <boost/property_tree/ptree.hpp>
#include <gtest/gtest.h>
#include <utility>

namespace netcfg::common {

namespace {

using Names = std::vector<std::string>;

class BridgeTest : public testing::Test {
protected:
   BridgeTest()
   {
      for (char const* adapter : {"eth2", "eth0", "eth1"}) {
         editable.AddHostAdapter(adapter, "");
      }
   }

   // A stored network's bridge, which starts empty.
   Bridge& AddStored(unsigned int index)
   {
      return *editable.AddNetwork(Network::Bridged, index, false, OnDone())->GetBridge();
   }

   Bridge& AddNew(unsigned int index)
   {
      return *editable.AddNetwork(Network::Bridged, index, true, OnDone())->GetBridge();
   }

   // A stored network's bridge on one adapter.
   Bridge& AddFixed(unsigned int index, char const* adapter)
   {
      Bridge& bridge = AddStored(index);
      bridge.SetAdapter(adapter, OnDone());
      return bridge;
   }

   // By the bridge's own set.
   static Names Adapters(Bridge& bridge)
   {
      Names names;
      boost::property_tree::ptree const tree = bridge.ToPropertyTree();
      for (auto const& [key, name] : tree.get_child("Adapters")) {
         names.push_back(name.data());
      }
      return names;
   }

   // By the model's table.
   Names AdaptersOf(unsigned int index)
   {
      Names names;
      for (auto const& [adapter, network] : editable.GetHostAdapters()) {
         if (network && network == editable.GetNetwork(index)) {
            names.push_back(adapter.c_str());
         }
      }
      return names;
   }

   void ExpectAdapters(Names const& expected, unsigned int index)
   {
      EXPECT_EQ(expected, Adapters(*editable.GetNetwork(index)->GetBridge()));
      EXPECT_EQ(expected, AdaptersOf(index));
   }

   void ExpectRefused(std::string const& message)
   {
      EXPECT_EQ(Names{message}, refusals.messages);
      EXPECT_EQ(0, refusals.successes);
   }

   // What was heard, in order. The model tells until it is gone.
   Names events;
   Editable editable{20};
   Refusals refusals;
};

} // namespace

TEST_F(BridgeTest, AStoredBridgeStartsFixedAndEmpty)
{
   Bridge& bridge = AddStored(0);

   EXPECT_FALSE(bridge.IsAuto());
   EXPECT_EQ("", bridge.GetAdapter());
   EXPECT_EQ(nullptr, editable.GetAutoBridgeNetwork());
   ExpectAdapters({}, 0);
}

TEST_F(BridgeTest, ANewTvnet0IsAutomaticAndHoldsEveryUnusedAdapter)
{
   AddFixed(3, "eth1");

   Bridge& bridge = AddNew(0);

   EXPECT_TRUE(bridge.IsAuto());
   EXPECT_EQ(editable.GetNetwork(0), editable.GetAutoBridgeNetwork());
   ExpectAdapters({"eth0", "eth2"}, 0);
   ExpectAdapters({"eth1"}, 3);
}

TEST_F(BridgeTest, ANewTvnet2TakesTheFirstUnusedAdapterInNameOrder)
{
   AddFixed(3, "eth0");

   Bridge& bridge = AddNew(2);

   EXPECT_FALSE(bridge.IsAuto());
   EXPECT_EQ("eth1", bridge.GetAdapter());
   ExpectAdapters({"eth1"}, 2);
}

TEST_F(BridgeTest, ANewTvnet0IsFixedIfAnotherNetworkIsAutomatic)
{
   editable.SetAutoBridgeNetwork(editable.AddNetwork(Network::NAT, 5, false, OnDone()));

   Bridge& bridge = AddNew(0);

   EXPECT_FALSE(bridge.IsAuto());
   ExpectAdapters({"eth0"}, 0);
}

TEST_F(BridgeTest, WhatConstructionDoesIsNoChangeOfTheNetwork)
{
   Network& network = *editable.AddNetwork(Network::HostOnly, 2, false, OnDone());
   Listener listener(editable, network);

   {
      Bridge bridge(&editable, &network, true);
      EXPECT_EQ((Heard{.adapters = 1}), listener.heard);
   }
   EXPECT_EQ((Heard{.adapters = 2}), listener.heard);
}

TEST_F(BridgeTest, SetAutoIsForTvnet0Alone)
{
   Bridge& bridge = AddFixed(1, "eth0");
   Listener listener(editable, *editable.GetNetwork(1));

   bridge.SetAuto(true, refusals.Slot());

   ExpectRefused("Automatic bridging can only be enabled on tvnet0.");
   EXPECT_FALSE(bridge.IsAuto());
   EXPECT_EQ(nullptr, editable.GetAutoBridgeNetwork());
   EXPECT_EQ(Heard(), listener.heard);
   ExpectAdapters({"eth0"}, 1);
}

TEST_F(BridgeTest, SetAutoLeavesTheAdaptersOfOthersAlone)
{
   AddFixed(3, "eth1");
   Bridge& bridge = AddStored(0);

   bridge.SetAuto(true, refusals.Slot());

   EXPECT_TRUE(bridge.IsAuto());
   ExpectAdapters({"eth0", "eth2"}, 0);
   ExpectAdapters({"eth1"}, 3);
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(BridgeTest, SetAutoWithoutAdoptingTakesNoAdapter)
{
   Bridge& bridge = AddStored(0);

   bridge.SetAuto(false, refusals.Slot());

   EXPECT_TRUE(bridge.IsAuto());
   EXPECT_EQ(editable.GetNetwork(0), editable.GetAutoBridgeNetwork());
   ExpectAdapters({}, 0);
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(BridgeTest, SetAutoKeepsTheFixedAdapter)
{
   Bridge& bridge = AddFixed(0, "eth1");

   bridge.SetAuto(false, OnDone());

   ExpectAdapters({"eth1"}, 0);
}

TEST_F(BridgeTest, SetAutoOnAnAutomaticBridgeDoesNothing)
{
   Bridge& bridge = AddStored(0);
   bridge.SetAuto(false, OnDone());
   Listener listener(editable, *editable.GetNetwork(0));

   bridge.SetAuto(true, refusals.Slot());
   bridge.SetAuto(false, refusals.Slot());

   EXPECT_TRUE(bridge.IsAuto());
   EXPECT_EQ(Heard(), listener.heard);
   EXPECT_TRUE(refusals.messages.empty());
   ExpectAdapters({}, 0);
}

TEST_F(BridgeTest, SetAdapterMakesAnAutomaticBridgeFixedOnOneOfItsOwn)
{
   Bridge& bridge = AddNew(0);

   bridge.SetAdapter("eth1", refusals.Slot());

   EXPECT_FALSE(bridge.IsAuto());
   EXPECT_EQ("eth1", bridge.GetAdapter());
   EXPECT_EQ(nullptr, editable.GetAutoBridgeNetwork());
   ExpectAdapters({"eth1"}, 0);
   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth0"));
   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth2"));
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(BridgeTest, SetAdapterMakesAnAutomaticBridgeFixedOnAFreeOne)
{
   Bridge& bridge = AddStored(0);
   bridge.SetAuto(false, OnDone());

   bridge.SetAdapter("eth2", OnDone());

   EXPECT_FALSE(bridge.IsAuto());
   ExpectAdapters({"eth2"}, 0);
}

TEST_F(BridgeTest, SetAdapterOfAnotherNetworkLeavesAnAutomaticBridgeAutomatic)
{
   AddFixed(3, "eth1");
   Bridge& bridge = AddNew(0);
   Listener listener(editable, *editable.GetNetwork(0));

   bridge.SetAdapter("eth1", refusals.Slot());

   ExpectRefused("Cannot bridge to host adapter eth1. tvnet3 is already bridged to it.");
   EXPECT_TRUE(bridge.IsAuto());
   EXPECT_EQ(editable.GetNetwork(0), editable.GetAutoBridgeNetwork());
   EXPECT_EQ(Heard(), listener.heard);
   ExpectAdapters({"eth0", "eth2"}, 0);
   ExpectAdapters({"eth1"}, 3);
}

TEST_F(BridgeTest, SetAdapterOfAnotherNetworkLeavesAFixedBridgeAlone)
{
   AddFixed(3, "eth1");
   Bridge& bridge = AddFixed(4, "eth0");
   Listener listener(editable, *editable.GetNetwork(4));

   bridge.SetAdapter("eth1", refusals.Slot());

   ExpectRefused("Cannot bridge to host adapter eth1. tvnet3 is already bridged to it.");
   EXPECT_EQ(Heard(), listener.heard);
   ExpectAdapters({"eth0"}, 4);
   ExpectAdapters({"eth1"}, 3);
}

TEST_F(BridgeTest, SetAdapterToTheOneThatAFixedBridgeHasStaysSilent)
{
   Bridge& bridge = AddFixed(2, "eth1");
   Listener listener(editable, *editable.GetNetwork(2));

   bridge.SetAdapter("eth1", refusals.Slot());

   EXPECT_EQ(Heard(), listener.heard);
   EXPECT_TRUE(refusals.messages.empty());
   ExpectAdapters({"eth1"}, 2);
}

TEST_F(BridgeTest, SetAdapterReplacesTheOneBefore)
{
   Bridge& bridge = AddFixed(2, "eth1");

   bridge.SetAdapter("eth0", OnDone());

   ExpectAdapters({"eth0"}, 2);
   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth1"));
}

TEST_F(BridgeTest, AddAutoAdapterOfItsOwnStaysSilent)
{
   Bridge& bridge = AddNew(0);
   Listener listener(editable, *editable.GetNetwork(0));

   bridge.AddAutoAdapter("eth1", refusals.Slot());

   EXPECT_EQ(Heard(), listener.heard);
   EXPECT_TRUE(refusals.messages.empty());
   ExpectAdapters({"eth0", "eth1", "eth2"}, 0);
}

TEST_F(BridgeTest, AddAutoAdapterOfAnotherNetworkIsRefused)
{
   AddFixed(3, "eth1");
   Bridge& bridge = AddNew(0);
   Listener listener(editable, *editable.GetNetwork(0));

   bridge.AddAutoAdapter("eth1", refusals.Slot());

   ExpectRefused(
      "Cannot automatically bridge to host adapter eth1. tvnet3 is already bridged to it.");
   EXPECT_EQ(Heard(), listener.heard);
   ExpectAdapters({"eth0", "eth2"}, 0);
   ExpectAdapters({"eth1"}, 3);
}

TEST_F(BridgeTest, AddAutoAdapterTakesAFreeOne)
{
   Bridge& bridge = AddStored(0);
   bridge.SetAuto(false, OnDone());

   bridge.AddAutoAdapter("eth2", refusals.Slot());
   bridge.AddAutoAdapter("eth0", refusals.Slot());

   ExpectAdapters({"eth0", "eth2"}, 0);
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(BridgeTest, AddAutoAdapterAddsToAFixedBridgeToo)
{
   Bridge& bridge = AddFixed(2, "eth1");

   bridge.AddAutoAdapter("eth0", OnDone());

   EXPECT_FALSE(bridge.IsAuto());
   EXPECT_EQ("eth0", bridge.GetAdapter());
   ExpectAdapters({"eth0", "eth1"}, 2);
}

TEST_F(BridgeTest, RemoveAutoAdapterHandsItBack)
{
   Bridge& bridge = AddNew(0);

   bridge.RemoveAutoAdapter("eth1");

   EXPECT_TRUE(bridge.IsAuto());
   ExpectAdapters({"eth0", "eth2"}, 0);
   EXPECT_EQ("eth1", editable.GetUnusedHostAdapter());
}

TEST_F(BridgeTest, RemoveAutoAdapterOfAnotherNetworkOrOfNoneDoesNothing)
{
   AddFixed(3, "eth1");
   Bridge& bridge = AddFixed(0, "eth0");
   bridge.SetAuto(false, OnDone());
   Listener listener(editable, *editable.GetNetwork(0));

   bridge.RemoveAutoAdapter("eth1");
   bridge.RemoveAutoAdapter("eth2");
   bridge.RemoveAutoAdapter("unknown");

   EXPECT_EQ(Heard(), listener.heard);
   ExpectAdapters({"eth0"}, 0);
   ExpectAdapters({"eth1"}, 3);
}

TEST_F(BridgeTest, CleanupHandsTheAdaptersBackAndKeepsTheMode)
{
   Bridge& bridge = AddNew(0);
   Listener listener(editable, *editable.GetNetwork(0));

   bridge.Cleanup();

   EXPECT_TRUE(bridge.IsAuto());
   EXPECT_EQ(editable.GetNetwork(0), editable.GetAutoBridgeNetwork());
   EXPECT_EQ((Heard{.adapters = 3}), listener.heard);
   ExpectAdapters({}, 0);
}

TEST_F(BridgeTest, AnAutomaticBridgeThatDiesLeavesNothingTaken)
{
   AddNew(0);

   editable.RemoveNetwork(0);

   EXPECT_EQ(nullptr, editable.GetAutoBridgeNetwork());
   for (auto const& [adapter, network] : editable.GetHostAdapters()) {
      EXPECT_EQ(nullptr, network) << adapter.c_str();
   }
}

TEST_F(BridgeTest, AFixedBridgeThatDiesLeavesTheAutomaticNetworkAlone)
{
   AddFixed(3, "eth1");
   AddNew(0);

   editable.RemoveNetwork(3);

   EXPECT_EQ(editable.GetNetwork(0), editable.GetAutoBridgeNetwork());
   EXPECT_EQ("eth1", editable.GetUnusedHostAdapter());
}

TEST_F(BridgeTest, AnUnknownAdapterIsNotTaken)
{
   Bridge& bridge = AddFixed(2, "eth1");

   bridge.AddAutoAdapter("unknown", refusals.Slot());
   ExpectAdapters({"eth1"}, 2);

   bridge.SetAdapter("unknown", refusals.Slot());
   ExpectAdapters({}, 2);
   EXPECT_EQ(3u, editable.GetHostAdapters().size());
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(BridgeTest, AnAdapterNameIsQuotedInTheMessageAsItIs)
{
   utf::string const name = "B\u00FCro %s %n";
   editable.AddHostAdapter(name, "");
   AddStored(3).SetAdapter(name, OnDone());

   AddStored(4).SetAdapter(name, refusals.Slot());

   ExpectRefused("Cannot bridge to host adapter B\u00FCro %s %n. tvnet3 is already bridged to it.");
}

TEST_F(BridgeTest, EachOperationTellsOfTheAdaptersBeforeTheBridgeAndTheNetwork)
{
   Bridge& bridge = AddStored(0);
   editable.adaptersChanged.connect([&] { events.push_back("adapters"); });
   bridge.changed.connect([&] { events.push_back("bridge"); });
   editable.GetNetwork(0)->changed.connect([&] { events.push_back("network"); });

   auto heard = [&] { return std::exchange(events, {}); };
   bridge.SetAuto(false, OnDone());
   EXPECT_EQ((Names{"adapters", "network", "bridge"}), heard());
   bridge.AddAutoAdapter("eth0", OnDone());
   EXPECT_EQ((Names{"adapters", "network", "bridge"}), heard());
   bridge.RemoveAutoAdapter("eth0");
   EXPECT_EQ((Names{"adapters", "network", "bridge"}), heard());
   bridge.SetAdapter("eth1", OnDone());
   EXPECT_EQ((Names{"adapters", "adapters", "network", "bridge"}), heard());
}

TEST_F(BridgeTest, ListenersToAChangeFindSetAndTableInStep)
{
   Bridge& bridge = AddStored(0);
   int calls = 0;
   bridge.changed.connect([&] {
      ++calls;
      EXPECT_EQ(AdaptersOf(0), Adapters(bridge));
   });

   bridge.SetAuto(true, OnDone());
   bridge.RemoveAutoAdapter("eth0");
   bridge.AddAutoAdapter("eth0", OnDone());
   bridge.SetAdapter("eth1", OnDone());

   EXPECT_EQ(4, calls);
}

} // namespace netcfg::common
