// SPDX-License-Identifier: GPL-2.0-or-later
// Every text of the model comes back from a snapshot as it was.
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/common/snapshotText.hh"
#include "tvnetcfg/common/texts.hh"

#include <functional>
#include <gtest/gtest.h>

namespace netcfg::common {

namespace {

struct TextField {
   char const* name;
   std::function<void(Network&, utf::string const&)> set;
   std::function<utf::string(Network&)> get;
};

void PrintTo(TextField const& field, std::ostream* out)
{
   *out << field.name;
}

NAT::PortForwardEntry Forward(Network& network)
{
   return network.GetNAT()->GetPortForwardList().at(0);
}

TextField const fields[] = {
   {"DisplayName", &Network::SetDisplayName, &Network::GetDisplayName},
   {"SubnetAddress", &Network::SetSubnetAddr, &Network::GetSubnetAddr},
   {"SubnetMask", &Network::SetSubnetMask, &Network::GetSubnetMask},
   {"MTU", &Network::SetMTU, &Network::GetMTU},
   {"BeginIP", [](Network& n, auto const& text) { n.GetDHCP()->SetBeginIP(text); },
    [](Network& n) { return n.GetDHCP()->GetBeginIP(); }},
   {"EndIP", [](Network& n, auto const& text) { n.GetDHCP()->SetEndIP(text); },
    [](Network& n) { return n.GetDHCP()->GetEndIP(); }},
   {"GatewayIP", [](Network& n, auto const& text) { n.GetNAT()->SetGatewayIP(text); },
    [](Network& n) { return n.GetNAT()->GetGatewayIP(); }},
   {"IPv6Prefix", [](Network& n, auto const& text) { n.GetNAT()->SetIPv6Prefix(text); },
    [](Network& n) { return n.GetNAT()->GetIPv6Prefix(); }},
   {"DNSList",
    [](Network& n, auto const& text) {
       n.GetNAT()->SetDNSList({"", text});
    },
    [](Network& n) { return n.GetNAT()->GetDNSList().at(1); }},
   {"forward's IP",
    [](Network& n, auto const& text) {
       n.GetNAT()->SetPortForwardList({{1, 2, true, text, ""}});
    },
    [](Network& n) { return Forward(n).ip; }},
   {"forward's Description",
    [](Network& n, auto const& text) {
       n.GetNAT()->SetPortForwardList({{1, 2, true, "", text}});
    },
    [](Network& n) { return Forward(n).description; }},
};

class SnapshotTextTest : public testing::TestWithParam<TextField> {};

} // namespace

TEST_P(SnapshotTextTest, ComesBackAsItWas)
{
   for (utf::string const& text : OddTexts()) {
      Editable written(20);
      GetParam().set(*written.AddNetwork(Network::NAT, 2, true, OnDone()), text);

      std::unique_ptr<Editable> const editable = RoundTrip(written);

      EXPECT_EQ(text, GetParam().get(*editable->GetNetwork(2)));
   }
}

INSTANTIATE_TEST_SUITE_P(All, SnapshotTextTest, testing::ValuesIn(fields));

TEST(SnapshotTextTest, AdaptersAndTheirDisplayNamesComeBackAsTheyWere)
{
   for (utf::string const& text : OddTexts()) {
      Editable written(20);
      written.AddHostAdapter(text, text);
      written.AddNetwork(Network::Bridged, 2, false, OnDone())
         ->GetBridge()
         ->SetAdapter(text, OnDone());

      std::unique_ptr<Editable> const editable = RoundTrip(written);

      EXPECT_EQ(1u, editable->GetHostAdapters().count(text));
      EXPECT_EQ(text, editable->GetDisplayNameForAdapter(text));
      EXPECT_EQ(editable->GetNetwork(2), editable->GetNetworkForAdapter(text));
   }
}

} // namespace netcfg::common
