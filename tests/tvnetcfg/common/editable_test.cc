// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/editable.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/listener.hh"
#include "tvnetcfg/common/refusals.hh"

#include <gtest/gtest.h>
#include <memory>

namespace netcfg::common {

namespace {

class EditableTest : public testing::Test {
protected:
   Network* Add(Network::Type type, unsigned int index)
   {
      return editable.AddNetwork(type, index, false, OnDone());
   }

   Network* AddNew(Network::Type type, unsigned int index)
   {
      return editable.AddNetwork(type, index, true, refusals.Slot());
   }

   // What was heard, in order. The model tells until it is gone.
   std::vector<std::string> events;
   Editable editable{4};
   Refusals refusals;
};

} // namespace

TEST_F(EditableTest, ANewModelIsEmpty)
{
   EXPECT_EQ(4u, editable.GetMaxNetworks());
   EXPECT_TRUE(editable.GetNetworks().empty());
   EXPECT_TRUE(editable.GetHostAdapters().empty());
   EXPECT_EQ(nullptr, editable.GetAutoBridgeNetwork());
   EXPECT_EQ(nullptr, editable.GetNetwork(0));
   EXPECT_EQ("", editable.GetUnusedHostAdapter());
}

TEST_F(EditableTest, AddNetworkKeepsWhatItReturns)
{
   Network* const network = Add(Network::NAT, 3);

   ASSERT_NE(nullptr, network);
   EXPECT_EQ(network, editable.GetNetwork(3));
   EXPECT_EQ(network, editable.GetNetworks().at(3));
   EXPECT_EQ(Network::NAT, network->GetType());
   EXPECT_EQ(3u, network->GetIndex());
}

TEST_F(EditableTest, AddNetworkReusesARemovedSlot)
{
   Add(Network::NAT, 3);
   editable.RemoveNetwork(3);

   Network* const network = AddNew(Network::HostOnly, 3);

   EXPECT_NE(nullptr, network);
   EXPECT_EQ(network, editable.GetNetwork(3));
   EXPECT_EQ(1u, editable.GetNetworks().size());
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(EditableTest, AddNetworkRefusesAnIndexInUse)
{
   Network* const first = Add(Network::NAT, 3);
   Listener listener(editable);

   EXPECT_EQ(nullptr, AddNew(Network::HostOnly, 3));

   EXPECT_EQ(first, editable.GetNetwork(3));
   EXPECT_EQ(Network::NAT, first->GetType());
   EXPECT_EQ(Heard(), listener.heard);
   EXPECT_EQ(0, refusals.successes);
   EXPECT_EQ(std::vector<std::string>{"Network tvnet3 already exists. Choose an unused network."},
             refusals.messages);
}

TEST_F(EditableTest, AStoredBridgedNetworkNeedsNoAdapters)
{
   Network* const network = editable.AddNetwork(Network::Bridged, 2, false, refusals.Slot());

   ASSERT_NE(nullptr, network);
   EXPECT_EQ("", network->GetBridge()->GetAdapter());
   EXPECT_FALSE(network->GetBridge()->IsAuto());
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(EditableTest, MaxNetworksDoesNotBoundAddNetwork)
{
   EXPECT_NE(nullptr, AddNew(Network::NAT, 4));
   EXPECT_NE(nullptr, AddNew(Network::NAT, 4294967295u));
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(EditableTest, ANewBridgedNetworkNeedsAFreeAdapterAndANewNATNetworkDoesNot)
{
   editable.AddHostAdapter("eth0", "");
   AddNew(Network::Bridged, 1);
   Listener listener(editable);

   EXPECT_EQ(nullptr, AddNew(Network::Bridged, 2));

   EXPECT_EQ(nullptr, editable.GetNetwork(2));
   EXPECT_EQ(0u, editable.GetNetworks().count(2));
   EXPECT_EQ(Heard(), listener.heard);
   EXPECT_EQ(std::vector<std::string>{"Cannot add bridged network: There are no un-bridged host "
                                      "network adapters."},
             refusals.messages);
   EXPECT_NE(nullptr, AddNew(Network::NAT, 2));
}

TEST_F(EditableTest, AnIndexInUseIsReportedBeforeAMissingAdapter)
{
   Add(Network::NAT, 2);

   AddNew(Network::Bridged, 2);

   EXPECT_EQ(std::vector<std::string>{"Network tvnet2 already exists. Choose an unused network."},
             refusals.messages);
}

TEST_F(EditableTest, ASuccessDoesNotCallTheSlot)
{
   editable.AddHostAdapter("eth0", "");

   AddNew(Network::Bridged, 1);

   EXPECT_TRUE(refusals.messages.empty());
   EXPECT_EQ(0, refusals.successes);
}

TEST_F(EditableTest, RemoveNetworkKeepsANullSlotAndTellsItsIndex)
{
   Add(Network::NAT, 3);
   std::vector<unsigned int> removed;
   editable.networkRemoved.connect([&removed](unsigned int index) { removed.push_back(index); });

   editable.RemoveNetwork(3);

   EXPECT_EQ(nullptr, editable.GetNetwork(3));
   ASSERT_EQ(1u, editable.GetNetworks().count(3));
   EXPECT_EQ(nullptr, editable.GetNetworks().at(3));
   EXPECT_EQ(std::vector<unsigned int>{3}, removed);
}

TEST_F(EditableTest, RemovingAnEmptiedSlotTellsItAgain)
{
   Add(Network::NAT, 3);
   editable.RemoveNetwork(3);
   Listener listener(editable);

   editable.RemoveNetwork(3);

   EXPECT_EQ((Heard{.removed = 1}), listener.heard);
}

TEST_F(EditableTest, RemovingWhatNeverWasDoesNothing)
{
   Listener listener(editable);

   editable.RemoveNetwork(3);

   EXPECT_EQ(Heard(), listener.heard);
   EXPECT_TRUE(editable.GetNetworks().empty());
}

TEST_F(EditableTest, ARemovedNetworkHandsItsAdapterBack)
{
   editable.AddHostAdapter("eth0", "");
   Network* const network = AddNew(Network::Bridged, 1);
   ASSERT_EQ(network, editable.GetNetworkForAdapter("eth0"));
   ASSERT_EQ("", editable.GetUnusedHostAdapter());

   editable.RemoveNetwork(1);

   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth0"));
   EXPECT_EQ("eth0", editable.GetUnusedHostAdapter());
}

TEST_F(EditableTest, GetUnusedNetworkFindsTheFirstFreeSlot)
{
   EXPECT_EQ(0u, editable.GetUnusedNetwork());
   Add(Network::NAT, 0);
   Add(Network::NAT, 1);
   EXPECT_EQ(2u, editable.GetUnusedNetwork());
}

TEST_F(EditableTest, GetUnusedNetworkCountsARemovedSlotAsFree)
{
   for (unsigned int index = 0; index < 4; ++index) {
      Add(Network::NAT, index);
   }
   editable.RemoveNetwork(1);

   EXPECT_EQ(1u, editable.GetUnusedNetwork());
}

TEST_F(EditableTest, GetUnusedNetworkIsZeroIfAllAreTaken)
{
   for (unsigned int index = 0; index < 4; ++index) {
      Add(Network::NAT, index);
   }
   EXPECT_EQ(0u, editable.GetUnusedNetwork());
}

TEST_F(EditableTest, GetUnusedNetworkIsZeroWithoutSlots)
{
   EXPECT_EQ(0u, Editable(0).GetUnusedNetwork());
}

TEST_F(EditableTest, TheFirstUnusedAdapterIsTheOneThatSortsFirst)
{
   editable.AddHostAdapter("wlan0", "");
   editable.AddHostAdapter("eth1", "");
   editable.AddHostAdapter("\u00E4", "");
   EXPECT_EQ("eth1", editable.GetUnusedHostAdapter());

   editable.AddHostAdapter("Eth9", "");
   EXPECT_EQ("Eth9", editable.GetUnusedHostAdapter());
}

TEST_F(EditableTest, AnUnknownAdapterHasNoNetworkAndNoDisplayName)
{
   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth0"));
   EXPECT_EQ("", editable.GetDisplayNameForAdapter("eth0"));
}

TEST_F(EditableTest, AddHostAdapterMakesTheAdapterKnownAndFree)
{
   editable.AddHostAdapter("eth0", "Ethernet");

   EXPECT_EQ(1u, editable.GetHostAdapters().count("eth0"));
   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth0"));
   EXPECT_EQ("Ethernet", editable.GetDisplayNameForAdapter("eth0"));
}

TEST_F(EditableTest, AddingAKnownAdapterTakesItsNetworkAndReplacesItsDisplayName)
{
   editable.AddHostAdapter("eth0", "old");
   Network* const network = AddNew(Network::Bridged, 1);

   editable.AddHostAdapter("eth0", "new");

   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth0"));
   EXPECT_EQ("new", editable.GetDisplayNameForAdapter("eth0"));
   EXPECT_EQ(1u, editable.GetHostAdapters().size());
   // The bridge isn't told.
   EXPECT_EQ("eth0", network->GetBridge()->GetAdapter());
}

TEST_F(EditableTest, MovingAnAdapterAndSettingTheAutomaticNetworkTellEvenWithoutAChange)
{
   editable.AddHostAdapter("eth0", "");
   Listener listener(editable);

   editable.MoveHostAdapter("eth0", nullptr);
   editable.SetAutoBridgeNetwork(nullptr);

   EXPECT_EQ((Heard{.adapters = 2}), listener.heard);
}

TEST_F(EditableTest, MovingAnUnknownAdapterDoesNothing)
{
   Network* const network = Add(Network::Bridged, 1);
   Listener listener(editable);

   editable.MoveHostAdapter("eth0", network);

   EXPECT_TRUE(editable.GetHostAdapters().empty());
   EXPECT_EQ(Heard(), listener.heard);
}

TEST_F(EditableTest, ListenersToAnAddedNetworkFindItInTheMap)
{
   bool found = false;
   editable.networkAdded.connect([&](Network* network) {
      found = editable.GetNetwork(2) == network && network->GetNAT() && network->GetDHCP();
   });

   Add(Network::HostOnly, 2);

   EXPECT_TRUE(found);
}

TEST_F(EditableTest, ListenersToARemovedNetworkFindItsSlotNullAndItsAdaptersFree)
{
   editable.AddHostAdapter("eth0", "");
   AddNew(Network::Bridged, 0);
   bool found = false;
   editable.networkRemoved.connect([&](unsigned int index) {
      found = editable.GetNetworks().at(index) == nullptr && !editable.GetAutoBridgeNetwork() &&
              editable.GetUnusedHostAdapter() == "eth0";
   });

   editable.RemoveNetwork(0);

   EXPECT_TRUE(found);
}

TEST_F(EditableTest, ANewNetworkTellsOfItsAdaptersBeforeItIsAdded)
{
   editable.AddHostAdapter("eth0", "");
   editable.adaptersChanged.connect([&] { events.push_back("adapters"); });
   editable.networkAdded.connect(sigc::hide([&] { events.push_back("added"); }));

   AddNew(Network::Bridged, 1);

   EXPECT_EQ((std::vector<std::string>{"adapters", "added"}), events);
}

TEST_F(EditableTest, ARemovedNetworkTellsOfItsAdaptersBeforeItIsGone)
{
   editable.AddHostAdapter("eth0", "");
   AddNew(Network::Bridged, 1);
   editable.adaptersChanged.connect([&] { events.push_back("adapters"); });
   editable.networkRemoved.connect(sigc::hide([&] { events.push_back("removed"); }));

   editable.RemoveNetwork(1);

   EXPECT_EQ((std::vector<std::string>{"adapters", "removed"}), events);
}

TEST(EditableEndTest, BridgesHandTheirAdaptersBackWhileTheMapsAreAlive)
{
   auto editable = std::make_unique<Editable>(20);
   editable->AddHostAdapter("eth0", "");
   editable->AddHostAdapter("eth1", "");
   editable->AddNetwork(Network::Bridged, 0, true, OnDone());
   Network* const network = editable->GetNetwork(0);
   ASSERT_EQ(network, editable->GetAutoBridgeNetwork());
   // Each word is how many adapters are free and whether the automatic network is known.
   std::vector<std::string> events;
   editable->adaptersChanged.connect([&events, model = editable.get()] {
      events.push_back(std::string(model->GetNetworkForAdapter("eth0") ? "eth0 " : "- ") +
                       (model->GetNetworkForAdapter("eth1") ? "eth1 " : "- ") +
                       (model->GetAutoBridgeNetwork() ? "auto" : "-"));
   });

   editable.reset();

   EXPECT_EQ((std::vector<std::string>{"- eth1 auto", "- - auto", "- - -"}), events);
}

TEST(EditableEndTest, NetworksGoInIndexOrder)
{
   auto editable = std::make_unique<Editable>(20);
   for (char const* adapter : {"a", "b", "c"}) {
      editable->AddHostAdapter(adapter, "");
   }
   // The lower the index, the later the adapter.
   for (unsigned int index : {7, 5, 3}) {
      editable->AddNetwork(Network::Bridged, index, true, OnDone());
   }
   std::vector<std::string> freed;
   editable->adaptersChanged.connect(
      [&freed, model = editable.get()] { freed.push_back(model->GetUnusedHostAdapter().c_str()); });

   editable.reset();

   EXPECT_EQ((std::vector<std::string>{"c", "b", "a"}), freed);
}

TEST(EditableEndTest, ANetworkThatIsGoneIsNotFoundAnyMore)
{
   auto editable = std::make_unique<Editable>(20);
   editable->AddHostAdapter("eth0", "");
   editable->AddNetwork(Network::NAT, 1, true, OnDone());
   editable->AddNetwork(Network::Bridged, 2, true, OnDone());
   std::vector<Network*> found;
   editable->adaptersChanged.connect(
      [&found, model = editable.get()] { found.push_back(model->GetNetwork(1)); });

   editable.reset();

   EXPECT_EQ(std::vector<Network*>{nullptr}, found);
}

} // namespace netcfg::common
