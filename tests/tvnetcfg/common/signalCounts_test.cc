// SPDX-License-Identifier: GPL-2.0-or-later
// Which signals each operation of the model emits, and how often.
#include "tvnetcfg/common/listener.hh"

#include <functional>
#include <gtest/gtest.h>

namespace netcfg::common {

namespace {

// tvnet0 bridged and empty, tvnet1 host-only, tvnet2 bridged to eth0, slot 5 emptied, tvnet8 NAT;
// eth1 and eth2 are free.
struct Model {
   Model()
   {
      for (char const* adapter : {"eth0", "eth1", "eth2"}) {
         editable.AddHostAdapter(adapter, adapter);
      }
      editable.AddNetwork(Network::Bridged, 0, false, OnDone());
      editable.AddNetwork(Network::HostOnly, 1, true, OnDone());
      editable.AddNetwork(Network::Bridged, 2, true, OnDone());
      editable.AddNetwork(Network::NAT, 5, true, OnDone());
      editable.AddNetwork(Network::NAT, 8, true, OnDone());
      editable.RemoveNetwork(5);
   }

   Network& Net(unsigned int index) { return *editable.GetNetwork(index); }
   Bridge& BridgeOf(unsigned int index) { return *Net(index).GetBridge(); }

   Editable editable{20};
};

using Step = std::function<void(Model&)>;

struct SignalCase {
   char const* name;
   // The network that is listened to.
   unsigned int index;
   Step operation;
   Heard heard;
   // Done before anyone listens.
   Step before = [](Model&) {};
};

void PrintTo(SignalCase const& c, std::ostream* out)
{
   *out << c.name;
}

class SignalCountTest : public testing::TestWithParam<SignalCase> {};

Heard const nothing;
Heard const networkOnce = {.network = 1};
Heard const adaptersOnce = {.adapters = 1};
Heard const dhcpOnce = {.network = 1, .dhcp = 1};
Heard const natOnce = {.network = 1, .nat = 1};

Step TakeRest()
{
   return [](Model& m) { m.BridgeOf(0).SetAuto(true, OnDone()); };
}

// An operation of the root.
SignalCase Root(char const* name, Heard const& heard, std::function<void(Editable&)> operation)
{
   return {name, 8, [operation](Model& m) { operation(m.editable); }, heard};
}

SignalCase Net(char const* name, unsigned int index, Heard const& heard,
               std::function<void(Network&)> operation)
{
   return {name, index, [=](Model& m) { operation(m.Net(index)); }, heard};
}

SignalCase OnBridge(char const* name, unsigned int index, Heard const& heard,
                    std::function<void(Bridge&)> operation)
{
   return {name, index, [=](Model& m) { operation(m.BridgeOf(index)); }, heard};
}

SignalCase After(Step before, SignalCase c)
{
   c.before = before;
   return c;
}

// Once with the value that is there, once with another.
template <typename Object, typename Value, typename Set>
void AddSetter(std::vector<SignalCase>& cases, char const* name, Object* (*find)(Model&),
               Heard const& heard, Set set, Value same, Value other)
{
   unsigned int const index = 8;
   cases.push_back({name, index, [=](Model& m) { (find(m)->*set)(same); }, nothing});
   cases.push_back({name, index, [=](Model& m) { (find(m)->*set)(other); }, heard});
}

std::vector<SignalCase> RootCases()
{
   Network::Type const hostOnly = Network::HostOnly;
   Network::Type const bridged = Network::Bridged;
   return {
      Root("AddNetwork new", {.added = 1},
           [=](Editable& e) { e.AddNetwork(hostOnly, 3, true, OnDone()); }),
      Root("AddNetwork in an emptied slot", {.added = 1},
           [=](Editable& e) { e.AddNetwork(hostOnly, 5, false, OnDone()); }),
      Root("AddNetwork at an index in use", nothing,
           [=](Editable& e) { e.AddNetwork(hostOnly, 1, true, OnDone()); }),
      Root("AddNetwork bridged, new", {.added = 1, .adapters = 1},
           [=](Editable& e) { e.AddNetwork(bridged, 3, true, OnDone()); }),
      Root("AddNetwork bridged, stored", {.added = 1},
           [=](Editable& e) { e.AddNetwork(bridged, 3, false, OnDone()); }),
      After(TakeRest(), Root("AddNetwork bridged without a free adapter", nothing,
                             [=](Editable& e) { e.AddNetwork(bridged, 3, true, OnDone()); })),
      After([](Model& m) { m.editable.RemoveNetwork(0); },
            Root("AddNetwork automatic", {.added = 1, .adapters = 3},
                 [=](Editable& e) { e.AddNetwork(bridged, 0, true, OnDone()); })),
      Root("RemoveNetwork hosted", {.removed = 1}, [](Editable& e) { e.RemoveNetwork(1); }),
      Root("RemoveNetwork fixed", {.removed = 1, .adapters = 1},
           [](Editable& e) { e.RemoveNetwork(2); }),
      After(TakeRest(), Root("RemoveNetwork automatic", {.removed = 1, .adapters = 3},
                             [](Editable& e) { e.RemoveNetwork(0); })),
      Root("RemoveNetwork emptied", {.removed = 1}, [](Editable& e) { e.RemoveNetwork(5); }),
      Root("RemoveNetwork never there", nothing, [](Editable& e) { e.RemoveNetwork(6); }),
      Root("AddHostAdapter new", adaptersOnce, [](Editable& e) { e.AddHostAdapter("eth3", ""); }),
      Root("AddHostAdapter known", adaptersOnce,
           [](Editable& e) { e.AddHostAdapter("eth1", "eth1"); }),
      Root("MoveHostAdapter", adaptersOnce,
           [](Editable& e) { e.MoveHostAdapter("eth1", e.GetNetwork(0)); }),
      Root("MoveHostAdapter to where it is", adaptersOnce,
           [](Editable& e) { e.MoveHostAdapter("eth1", nullptr); }),
      Root("MoveHostAdapter unknown", nothing,
           [](Editable& e) { e.MoveHostAdapter("eth3", nullptr); }),
      Root("SetAutoBridgeNetwork to what it is", adaptersOnce,
           [](Editable& e) { e.SetAutoBridgeNetwork(nullptr); }),
      Root("the queries", nothing,
           [](Editable& e) {
              e.GetUnusedNetwork();
              e.GetUnusedHostAdapter();
              e.GetNetworkForAdapter("eth0");
              e.GetDisplayNameForAdapter("eth0");
              Editable::Serialize(&e);
           }),
   };
}

std::vector<SignalCase> TypeCases()
{
   return {
      Net("SetType as it is", 8, nothing, [](Network& n) { n.SetType(Network::NAT, OnDone()); }),
      Net("SetType NAT to host-only", 8, networkOnce,
          [](Network& n) { n.SetType(Network::HostOnly, OnDone()); }),
      Net("SetType host-only to NAT", 1, networkOnce,
          [](Network& n) { n.SetType(Network::NAT, OnDone()); }),
      Net("SetType to bridged", 1, {.adapters = 1, .network = 1},
          [](Network& n) { n.SetType(Network::Bridged, OnDone()); }),
      After([](Model& m) { m.Net(0).SetType(Network::NAT, OnDone()); },
            Net("SetType to automatic", 0, {.adapters = 3, .network = 1},
                [](Network& n) { n.SetType(Network::Bridged, OnDone()); })),
      After(TakeRest(), Net("SetType to bridged, refused", 1, nothing,
                            [](Network& n) { n.SetType(Network::Bridged, OnDone()); })),
      Net("SetType from fixed", 2, {.adapters = 1, .network = 1},
          [](Network& n) { n.SetType(Network::NAT, OnDone()); }),
      After(TakeRest(), Net("SetType from automatic", 0, {.adapters = 3, .network = 1},
                            [](Network& n) { n.SetType(Network::HostOnly, OnDone()); })),
      Net("InitializeHosted", 8, nothing, [](Network& n) { n.InitializeHosted(); }),
      Net("SetHasDHCP on a bridged network", 2, networkOnce,
          [](Network& n) { n.SetHasDHCP(true); }),
      Net("a DHCP setter of a bridged network", 2, dhcpOnce,
          [](Network& n) { n.GetDHCP()->SetBeginIP("10.0.0.3"); }),
      Net("a NAT setter of a bridged network", 2, natOnce,
          [](Network& n) { n.GetNAT()->SetConfigPort(1); }),
   };
}

std::vector<SignalCase> BridgeCases()
{
   return {
      OnBridge("SetAuto adopting", 0, {.adapters = 3, .network = 1, .bridge = 1},
               [](Bridge& b) { b.SetAuto(true, OnDone()); }),
      OnBridge("SetAuto", 0, {.adapters = 1, .network = 1, .bridge = 1},
               [](Bridge& b) { b.SetAuto(false, OnDone()); }),
      OnBridge("SetAuto refused", 2, nothing, [](Bridge& b) { b.SetAuto(true, OnDone()); }),
      After(TakeRest(),
            OnBridge("SetAuto again", 0, nothing, [](Bridge& b) { b.SetAuto(true, OnDone()); })),
      OnBridge("AddAutoAdapter free", 0, {.adapters = 1, .network = 1, .bridge = 1},
               [](Bridge& b) { b.AddAutoAdapter("eth1", OnDone()); }),
      OnBridge("AddAutoAdapter own", 2, nothing,
               [](Bridge& b) { b.AddAutoAdapter("eth0", OnDone()); }),
      OnBridge("AddAutoAdapter taken", 0, nothing,
               [](Bridge& b) { b.AddAutoAdapter("eth0", OnDone()); }),
      OnBridge("RemoveAutoAdapter own", 2, {.adapters = 1, .network = 1, .bridge = 1},
               [](Bridge& b) { b.RemoveAutoAdapter("eth0"); }),
      OnBridge("RemoveAutoAdapter of another", 0, nothing,
               [](Bridge& b) { b.RemoveAutoAdapter("eth0"); }),
      OnBridge("RemoveAutoAdapter free", 0, nothing,
               [](Bridge& b) { b.RemoveAutoAdapter("eth1"); }),
      OnBridge("SetAdapter on an empty bridge", 0, {.adapters = 1, .network = 1, .bridge = 1},
               [](Bridge& b) { b.SetAdapter("eth1", OnDone()); }),
      OnBridge("SetAdapter another", 2, {.adapters = 2, .network = 1, .bridge = 1},
               [](Bridge& b) { b.SetAdapter("eth1", OnDone()); }),
      OnBridge("SetAdapter the same", 2, nothing,
               [](Bridge& b) { b.SetAdapter("eth0", OnDone()); }),
      OnBridge("SetAdapter taken", 0, nothing, [](Bridge& b) { b.SetAdapter("eth0", OnDone()); }),
      After(TakeRest(), OnBridge("SetAdapter on an automatic bridge", 0,
                                 {.adapters = 4, .network = 1, .bridge = 1},
                                 [](Bridge& b) { b.SetAdapter("eth1", OnDone()); })),
      After(TakeRest(), OnBridge("SetAdapter taken, on an automatic bridge", 0, nothing,
                                 [](Bridge& b) { b.SetAdapter("eth0", OnDone()); })),
      OnBridge("Cleanup", 2, adaptersOnce, [](Bridge& b) { b.Cleanup(); }),
      OnBridge("Cleanup of an empty bridge", 0, nothing, [](Bridge& b) { b.Cleanup(); }),
   };
}

Network* FindNetwork(Model& m)
{
   return &m.Net(8);
}

DHCP* FindDHCP(Model& m)
{
   return m.Net(8).GetDHCP();
}

NAT* FindNAT(Model& m)
{
   return m.Net(8).GetNAT();
}

std::vector<SignalCase> SetterCases()
{
   std::vector<SignalCase> cases;
   auto network = [&](char const* name, auto set, auto same, auto other) {
      AddSetter(cases, name, &FindNetwork, networkOnce, set, same, other);
   };
   auto dhcp = [&](char const* name, auto set, auto same, auto other) {
      AddSetter(cases, name, &FindDHCP, dhcpOnce, set, same, other);
   };
   auto nat = [&](char const* name, auto set, auto same, auto other) {
      AddSetter(cases, name, &FindNAT, natOnce, set, same, other);
   };
   network("SetHasDHCP", &Network::SetHasDHCP, true, false);
   network("SetHasVirtualAdapter", &Network::SetHasVirtualAdapter, true, false);
   network("SetDisplayName", &Network::SetDisplayName, "", "x");
   network("SetSubnetAddr", &Network::SetSubnetAddr, "", "x");
   network("SetSubnetMask", &Network::SetSubnetMask, "255.255.255.0", "255.255.0.0");
   network("SetMTU", &Network::SetMTU, "-", "1500");
   dhcp("SetBeginIP", &DHCP::SetBeginIP, "", "x");
   dhcp("SetEndIP", &DHCP::SetEndIP, "", "x");
   dhcp("SetDefaultLeaseTime", &DHCP::SetDefaultLeaseTime, 1800u, 0u);
   dhcp("SetMaxLeaseTime", &DHCP::SetMaxLeaseTime, 7200u, 0u);
   nat("SetGatewayIP", &NAT::SetGatewayIP, "", "x");
   nat("SetConfigPort", &NAT::SetConfigPort, 0u, 1u);
   nat("SetAllowActiveFTP", &NAT::SetAllowActiveFTP, true, false);
   nat("SetAllowOUI", &NAT::SetAllowOUI, true, false);
   nat("SetUDPTimeout", &NAT::SetUDPTimeout, 30u, 31u);
   nat("SetEnableIPv6", &NAT::SetEnableIPv6, false, true);
   nat("SetIPv6Prefix", &NAT::SetIPv6Prefix, "", "x");
   nat("SetNBNSTimeout", &NAT::SetNBNSTimeout, 2u, 3u);
   nat("SetNBNSRetries", &NAT::SetNBNSRetries, 3u, 4u);
   nat("SetNBDSTimeout", &NAT::SetNBDSTimeout, 3u, 4u);
   nat("SetDNSPolicy", &NAT::SetDNSPolicy, NAT::DNSPolicyDefault, NAT::DNSPolicy(1));
   nat("SetDNSTimeout", &NAT::SetDNSTimeout, 2u, 3u);
   nat("SetDNSRetries", &NAT::SetDNSRetries, 3u, 4u);
   nat("SetDNSAutoDetect", &NAT::SetDNSAutoDetect, true, false);
   using Texts = std::vector<utf::string>;
   nat("SetDNSList", &NAT::SetDNSList, Texts(3), Texts(2));
   NAT::PortForwardList const one = {{80, 80, true, "10.0.0.5", ""}};
   nat("SetPortForwardList", &NAT::SetPortForwardList, NAT::PortForwardList(), one);
   return cases;
}

} // namespace

TEST_P(SignalCountTest, IsThatOfTheTable)
{
   Model model;
   GetParam().before(model);
   Listener listener(model.editable, model.Net(GetParam().index));

   GetParam().operation(model);

   EXPECT_EQ(GetParam().heard, listener.heard);
}

INSTANTIATE_TEST_SUITE_P(Root, SignalCountTest, testing::ValuesIn(RootCases()));
INSTANTIATE_TEST_SUITE_P(Type, SignalCountTest, testing::ValuesIn(TypeCases()));
INSTANTIATE_TEST_SUITE_P(Bridge, SignalCountTest, testing::ValuesIn(BridgeCases()));
INSTANTIATE_TEST_SUITE_P(Setter, SignalCountTest, testing::ValuesIn(SetterCases()));

} // namespace netcfg::common
