// SPDX-License-Identifier: GPL-2.0-or-later
// The save's three tables, each row over whole sequences of calls in both modes: what the mode
// decides, where adapters go, and what is compared or always written.
#include "saveTest.hh"
#include "vnet/vnetlib.h"

#include <algorithm>

namespace netcfg {

namespace {

// A row's name, with the mode, as the test's.
template <typename Row>
std::string GetRowName(testing::TestParamInfo<std::tuple<Row, bool>> const& test)
{
   return std::string(std::get<0>(test.param).name) + GetModeName(std::get<1>(test.param));
}

template <typename Row>
class TableTest : public SaveTest, public testing::WithParamInterface<std::tuple<Row, bool>> {
protected:
   void SetUp() override
   {
      std::string const reason = GetSkipReason(IsApplied());
      if (!reason.empty()) {
         GTEST_SKIP() << reason;
      }
   }

   Row const& GetRow() const { return std::get<0>(this->GetParam()); }
   bool IsApplied() const { return std::get<1>(this->GetParam()); }
   Lines Save() { return SaveTest::Save(IsApplied()); }
   Lines Script(std::string const& script) const
   {
      return ReadScript(script, IsApplied(), "tvnet0");
   }
};

// --- what the mode decides

struct SlotRow {
   char const* name;
   int type; // Network::Type; -1: removed
   bool dhcp;
   bool adapter;
   std::string script; // of the slot, behind stopServices
};

void PrintTo(SlotRow const& row, std::ostream* out)
{
   *out << row.name;
}

std::string HostedScript(char const* body, bool dhcp, bool nat)
{
   return Join(R"(
  VNL_SetVnetSubnetAddr("NET", "192.168.8.0")
  VNL_SetVnetSubnetMask("NET", "255.255.255.0")
  VNL_SetVnetDisplayName("NET", "Any")
  VNL_SetVnetMTU("NET", 1400)
)",
               body, RestartScript(dhcp, nat));
}

constexpr char bridgedBody[] = R"(
  VNL_SetVnetSubnetAddr("NET", null)
  VNL_SetVnetSubnetMask("NET", null)
  VNL_SetVnetUseAdapter("NET", false, 1)
  VNL_SetVnetUseDHCP("NET", false, 1)
  VNL_SetVnetUseNAT("NET", false, 1)
+ VNL_StartService("NET", 0x8801)
)";

constexpr char plainBody[] = R"(
  VNL_SetVnetUseAdapter("NET", false, 1)
+ VNL_SetVnetUseDHCP("NET", false, 1)
- VNL_SetVnetUseDHCP("NET", false, 0)
  VNL_SetVnetUseNAT("NET", false, 1)
)";

constexpr char adapterBody[] = R"(
  VNL_SetVnetUseAdapter("NET", true, 1)
+ VNL_EnableNetworkAdapter("NET")
+ VNL_SetVnetUseDHCP("NET", false, 1)
- VNL_SetVnetUseDHCP("NET", false, 0)
  VNL_SetVnetUseNAT("NET", false, 1)
)";

constexpr char dhcpBody[] = R"(
  VNL_SetVnetUseAdapter("NET", false, 1)
+ VNL_SetVnetUseDHCP("NET", true, 1)
- VNL_SetVnetUseDHCP("NET", true, 0)
  VNL_SetVnetUseNAT("NET", false, 1)
)";

constexpr char natBody[] = R"(
  VNL_SetVnetUseAdapter("NET", true, 1)
+ VNL_EnableNetworkAdapter("NET")
+ VNL_SetVnetUseDHCP("NET", true, 1)
- VNL_SetVnetUseDHCP("NET", true, 0)
  VNL_SetVnetUseNAT("NET", true, 1)
  VNL_GetNATParam("NET", 0x2343, 1, 128)
  VNL_GetNATParam("NET", 0x2347, 1, 128)
  VNL_GetNATParam("NET", 0x2348, 1, 128)
  VNL_GetNATParam("NET", 0x235a, 1, 128)
  VNL_GetNATParam("NET", 0x235b, 1, 128)
  VNL_GetNATParam("NET", 0x2346, 1, 128)
  VNL_GetNATParam("NET", 0x2349, 1, 128)
  VNL_EnumNATPortForward("NET", true, 0, 128, 128)
  VNL_EnumNATPortForward("NET", false, 0, 128, 128)
  VNL_SetNATParam("NET", 0x2347, "1", 1)
  VNL_SetNATParam("NET", 0x2348, "1", 1)
)";

SlotRow const slotRows[] = {
   {"Removed", -1, true, true, "  VNL_DeleteVnetFromDatabase(\"NET\")\n"},
   {"Bridged", Network::Bridged, true, true, bridgedBody},
   {"HostOnly", Network::HostOnly, false, false, HostedScript(plainBody, false, false)},
   {"HostOnlyWithAdapter", Network::HostOnly, false, true, HostedScript(adapterBody, false, false)},
   {"HostOnlyWithDHCP", Network::HostOnly, true, false, HostedScript(dhcpBody, true, false)},
   {"NAT", Network::NAT, true, true, HostedScript(natBody, true, true)},
};

class ModeTableTest : public TableTest<SlotRow> {
protected:
   void AddNetwork()
   {
      SlotRow const& row = GetRow();
      auto const type = row.type < 0 ? Network::HostOnly : static_cast<Network::Type>(row.type);
      Network& network = *editable->AddNetwork(type, 0, false, OnDone());
      network.SetSubnetAddr("192.168.8.0");
      network.SetSubnetMask("255.255.255.0");
      network.SetDisplayName("Any");
      network.SetMTU("1400");
      network.SetHasDHCP(row.dhcp);
      network.SetHasVirtualAdapter(row.adapter);
      network.GetNAT()->SetGatewayIP("");
      if (row.type < 0) {
         editable->RemoveNetwork(0);
      }
   }
};

TEST_P(ModeTableTest, DecidesWhatIsCalledForASlot)
{
   AddNetwork();
   EXPECT_EQ(Script(WholeScript("", Join(stopServices, GetRow().script))), Save());
}

INSTANTIATE_TEST_SUITE_P(, ModeTableTest,
                         testing::Combine(testing::ValuesIn(slotRows), testing::Bool()),
                         GetRowName<SlotRow>);

// --- adapters

constexpr int unknown = -2; // to the model

struct AdapterRow {
   char const* name;
   int wanted; // -1: none
   int present;
   char const* script;
};

void PrintTo(AdapterRow const& row, std::ostream* out)
{
   *out << row.name;
}

AdapterRow const adapterRows[] = {
   {"NoneStaysNone", -1, -1, ""},
   {"NoneLosesItsPlace", -1, 3,
    "  VNL_BridgeMoveAdapter([\"eth0\", {1, 1, 3}], {1, 1, 3}, {1, 1, -1})\n"},
   {"NoneLosesPlace0", -1, 0,
    "  VNL_BridgeMoveAdapter([\"eth0\", {1, 1, 0}], {1, 1, 0}, {1, 1, -1})\n"},
   {"PlaceStays", 0, 0, ""},
   {"PlaceIsTakenFromNowhere", 0, -1,
    "  VNL_GetVnetFeatures({1, {1, 1, 0}})\n"
    "  VNL_BridgeMoveAdapter([\"eth0\", {1, 1, -1}], null, {1, 1, 0})\n"},
   {"PlaceIsTakenFromAnother", 0, 3,
    "  VNL_GetVnetFeatures({1, {1, 1, 0}})\n"
    "  VNL_BridgeMoveAdapter([\"eth0\", {1, 1, 3}], {1, 1, 3}, {1, 1, 0})\n"},
   {"UnknownOneLosesItsPlace", unknown, 3,
    "  VNL_BridgeMoveAdapter([\"eth0\", {1, 1, 3}], {1, 1, 3}, {1, 1, -1})\n"},
   {"UnknownOneWithoutAPlaceStays", unknown, -1, ""},
};

class AdapterTableTest : public TableTest<AdapterRow> {};

TEST_P(AdapterTableTest, PutsAnAdapterWhereTheModelWantsIt)
{
   AdapterRow const& row = GetRow();
   SetDatabase("adapter=eth0 " + std::to_string(row.present) + "\n");
   Network& network = AddBridged(0);
   if (row.wanted != unknown) {
      AddAdapter("eth0", row.wanted < 0 ? nullptr : &network);
   }

   EXPECT_EQ(Script(WholeScript(row.script, bridgedSlot)), Save());
   EXPECT_EQ(std::max(row.wanted, -1), VnetDouble::GetDatabase().adapters[0].vnet);
}

INSTANTIATE_TEST_SUITE_P(, AdapterTableTest,
                         testing::Combine(testing::ValuesIn(adapterRows), testing::Bool()),
                         GetRowName<AdapterRow>);

using AdapterTest = MgrTest;

// Other words than 1 would show in the calls' lines; here the caller's record is used as it is.
TEST_F(AdapterTest, RecordOfTheCallerIsTheScratch)
{
   SetDatabase("adapter=eth0 -1\nadapter=eth1 -1\n");
   editable->AddHostAdapter("eth0", "");
   AddBridged(7).GetBridge()->SetAdapter("eth0", OnDone());
   VNL_FeatureStruct features{};
   features.version = features.ref.version = features.ref.kindVersion = 1;
   mgr.SaveAdapters(features);

   EXPECT_EQ(7, features.ref.vnet);
}

// --- compared or always written

// A database and a model that agree, loaded one from the other: bridged 0 with eth0, NAT 8 with one
// forward; and a removed slot 9 that the database doesn't hold.
constexpr char comparedDatabase[] = "automatic=0\n"
                                    "adapter=eth0 0\n"
                                    "network=0\n"
                                    "network=8 nat dhcp adapter 192.168.8.0 255.255.255.0\n"
                                    "name=8 Any\n"
                                    "mtu=8 1400\n"
                                    "nat=8 0x2343 192.168.8.2\n"
                                    "nat=8 0x2346 8765\n"
                                    "nat=8 0x2347 1\n"
                                    "nat=8 0x2348 1\n"
                                    "nat=8 0x2349 30\n"
                                    "nat=8 0x235a 0\n"
                                    "nat=8 0x235b fd00::/64\n"
                                    "forward=8 tcp 80 192.168.8.3 8080 web\n";

// A save of that, without any change. What stands here is always written.
constexpr char comparedScript[] = R"(
  VNL_GetHostAdapterList(1)
  VNL_FreeHostAdapterList(list)
  VNL_GetBridgeDefaultNetwork({1, 1, 0})
+ VNL_StopService("tvnet0", 0x8801)
+ VNL_StopService("tvnet0", 0x8802)
+ VNL_StopService("tvnet0", 0x8803)
+ VNL_DisableNetworkAdapter("tvnet0")
  VNL_SetVnetSubnetAddr("tvnet0", null)
  VNL_SetVnetSubnetMask("tvnet0", null)
  VNL_SetVnetUseAdapter("tvnet0", false, 1)
  VNL_SetVnetUseDHCP("tvnet0", false, 1)
  VNL_SetVnetUseNAT("tvnet0", false, 1)
+ VNL_StartService("tvnet0", 0x8801)
+ VNL_StopService("tvnet8", 0x8801)
+ VNL_StopService("tvnet8", 0x8802)
+ VNL_StopService("tvnet8", 0x8803)
+ VNL_DisableNetworkAdapter("tvnet8")
  VNL_SetVnetSubnetAddr("tvnet8", "192.168.8.0")
  VNL_SetVnetSubnetMask("tvnet8", "255.255.255.0")
  VNL_SetVnetDisplayName("tvnet8", "Any")
  VNL_SetVnetMTU("tvnet8", 1400)
  VNL_SetVnetUseAdapter("tvnet8", true, 1)
+ VNL_EnableNetworkAdapter("tvnet8")
+ VNL_SetVnetUseDHCP("tvnet8", true, 1)
- VNL_SetVnetUseDHCP("tvnet8", true, 0)
  VNL_SetVnetUseNAT("tvnet8", true, 1)
  VNL_GetNATParam("tvnet8", 0x2343, 1, 128)
  VNL_GetNATParam("tvnet8", 0x2347, 1, 128)
  VNL_GetNATParam("tvnet8", 0x2348, 1, 128)
  VNL_GetNATParam("tvnet8", 0x235a, 1, 128)
  VNL_GetNATParam("tvnet8", 0x235b, 1, 128)
  VNL_GetNATParam("tvnet8", 0x2346, 1, 128)
  VNL_GetNATParam("tvnet8", 0x2349, 1, 128)
  VNL_EnumNATPortForward("tvnet8", true, 0, 128, 128)
  VNL_EnumNATPortForward("tvnet8", true, 1, 128, 128)
  VNL_EnumNATPortForward("tvnet8", false, 0, 128, 128)
+ VNL_UpdateDHCPFromConfig("tvnet8")
+ VNL_StopService("tvnet8", 0x8802)
+ VNL_StartService("tvnet8", 0x8802)
+ VNL_UpdateNATFromConfig("tvnet8")
+ VNL_StopService("tvnet8", 0x8803)
+ VNL_StartService("tvnet8", 0x8803)
+ VNL_StopService("tvnet9", 0x8801)
+ VNL_StopService("tvnet9", 0x8802)
+ VNL_StopService("tvnet9", 0x8803)
+ VNL_DisableNetworkAdapter("tvnet9")
  VNL_DeleteVnetFromDatabase("tvnet9")
- VNL_ExportDatabaseToBuffer()
)";

// Lines of the script behind which a difference is written, or that it replaces.
constexpr char behindList[] = "  VNL_GetHostAdapterList(1)\n";
constexpr char behindFlags0[] = "  VNL_SetVnetUseNAT(\"tvnet0\", false, 1)\n";
constexpr char behindForwards[] = "  VNL_EnumNATPortForward(\"tvnet8\", false, 0, 128, 128)\n";

struct ChangeRow {
   char const* name;
   void (*change)(Editable& model);
   std::string place;  // a line of the script
   std::string script; // what stands there instead
};

void PrintTo(ChangeRow const& row, std::ostream* out)
{
   *out << row.name;
}

ChangeRow Behind(char const* name, void (*change)(Editable&), char const* place, char const* added)
{
   return {name, change, place, Join(place, added)};
}

NAT& GetNAT(Editable& model)
{
   return *model.GetNetwork(8)->GetNAT();
}

ChangeRow const changeRows[] = {
   {"Nothing", [](Editable&) {}, "", ""},

   // Compared.
   Behind(
      "AdapterPlacement",
      [](Editable& model) { model.GetNetwork(0)->GetBridge()->RemoveAutoAdapter("eth0"); },
      behindList, "  VNL_BridgeMoveAdapter([\"eth0\", {1, 1, 0}], {1, 1, 0}, {1, 1, -1})\n"),
   Behind(
      "DefaultNetwork",
      [](Editable& model) { model.GetNetwork(0)->GetBridge()->SetAdapter("eth0", OnDone()); },
      behindFlags0, "  VNL_SetBridgeDefaultNetwork({1, 1, -1})\n"),
   Behind(
      "Gateway", [](Editable& model) { GetNAT(model).SetGatewayIP("192.168.8.3"); }, behindForwards,
      "  VNL_SetNATParam(\"tvnet8\", 0x2343, \"192.168.8.3\", 11)\n"
      "  VNL_SetDHCPParam(\"tvnet8\", 0x342e, \"192.168.8.3\", 11)\n"
      "  VNL_SetDHCPParam(\"tvnet8\", 0x3432, \"192.168.8.3\", 11)\n"
      "  VNL_SetDHCPParam(\"tvnet8\", 0x342d, \"192.168.8.3\", 11)\n"),
   Behind(
      "GatewayOutsideTheSubnet", [](Editable& model) { GetNAT(model).SetGatewayIP("10.0.0.1"); },
      behindForwards,
      "  VNL_SetNATParam(\"tvnet8\", 0x2343, null, 0)\n"
      "  VNL_SetDHCPParam(\"tvnet8\", 0x342e, null, 0)\n"
      "  VNL_SetDHCPParam(\"tvnet8\", 0x3432, null, 0)\n"
      "  VNL_SetDHCPParam(\"tvnet8\", 0x342d, null, 0)\n"),
   Behind(
      "ConfigPort", [](Editable& model) { GetNAT(model).SetConfigPort(0); }, behindForwards,
      "  VNL_SetNATParam(\"tvnet8\", 0x2346, \"0\", 1)\n"),
   Behind(
      "LargestConfigPort", [](Editable& model) { GetNAT(model).SetConfigPort(4294967295u); },
      behindForwards, "  VNL_SetNATParam(\"tvnet8\", 0x2346, \"4294967295\", 10)\n"),
   Behind(
      "AllowActiveFTP", [](Editable& model) { GetNAT(model).SetAllowActiveFTP(false); },
      behindForwards, "  VNL_SetNATParam(\"tvnet8\", 0x2347, \"0\", 1)\n"),
   Behind(
      "AllowOUI", [](Editable& model) { GetNAT(model).SetAllowOUI(false); }, behindForwards,
      "  VNL_SetNATParam(\"tvnet8\", 0x2348, \"0\", 1)\n"),
   Behind(
      "UDPTimeout", [](Editable& model) { GetNAT(model).SetUDPTimeout(60); }, behindForwards,
      "  VNL_SetNATParam(\"tvnet8\", 0x2349, \"60\", 2)\n"),
   Behind(
      "EnableIPv6", [](Editable& model) { GetNAT(model).SetEnableIPv6(true); }, behindForwards,
      "  VNL_SetNATParam(\"tvnet8\", 0x235a, \"1\", 1)\n"),
   Behind(
      "IPv6Prefix", [](Editable& model) { GetNAT(model).SetIPv6Prefix("fd00::/48"); },
      behindForwards, "  VNL_SetNATParam(\"tvnet8\", 0x235b, \"fd00::/48\", 9)\n"),
   Behind(
      "EmptyIPv6Prefix", [](Editable& model) { GetNAT(model).SetIPv6Prefix(""); }, behindForwards,
      "  VNL_SetNATParam(\"tvnet8\", 0x235b, null, 0)\n"),
   Behind(
      "ForwardAdded",
      [](Editable& model) {
         GetNAT(model).SetPortForwardList(
            {{53, 53, false, "192.168.8.5", "names"}, {80, 8080, true, "192.168.8.3", "web"}});
      },
      behindForwards,
      "  VNL_SetNATPortForward(\"tvnet8\", false, 53, \"192.168.8.5\", 53, \"names\", 5)\n"),
   Behind(
      "ForwardRemoved", [](Editable& model) { GetNAT(model).SetPortForwardList({}); },
      behindForwards, "  VNL_SetNATPortForward(\"tvnet8\", true, 80, null, 0, null, 0)\n"),
   Behind(
      "ForwardWithAnotherDescription",
      [](Editable& model) {
         GetNAT(model).SetPortForwardList({{80, 8080, true, "192.168.8.3", "www"}});
      },
      behindForwards,
      "  VNL_SetNATPortForward(\"tvnet8\", true, 80, null, 0, null, 0)\n"
      "  VNL_SetNATPortForward(\"tvnet8\", true, 80, \"192.168.8.3\", 8080, \"www\", 3)\n"),
   {"ValuesOutsideTheDatabase",
    [](Editable& model) {
       GetNAT(model).SetDNSTimeout(99);
       GetNAT(model).SetNBNSRetries(99);
       model.GetNetwork(8)->GetDHCP()->SetBeginIP("192.168.8.99");
       model.GetNetwork(8)->GetDHCP()->SetMaxLeaseTime(99);
       model.GetNetwork(0)->SetDisplayName("not written");
       model.GetNetwork(0)->SetMTU("9000");
    },
    "", ""},

   // Always written, so that a change shows in the argument alone.
   {"Subnet", [](Editable& model) { model.GetNetwork(8)->SetSubnetAddr("192.168.8.128"); },
    "  VNL_SetVnetSubnetAddr(\"tvnet8\", \"192.168.8.0\")\n",
    "  VNL_SetVnetSubnetAddr(\"tvnet8\", \"192.168.8.128\")\n"},
   {"Mask", [](Editable& model) { model.GetNetwork(8)->SetSubnetMask("255.255.0.0"); },
    "  VNL_SetVnetSubnetMask(\"tvnet8\", \"255.255.255.0\")\n",
    "  VNL_SetVnetSubnetMask(\"tvnet8\", \"255.255.0.0\")\n"},
   {"DisplayName", [](Editable& model) { model.GetNetwork(8)->SetDisplayName("B\xc3\xbcro"); },
    "  VNL_SetVnetDisplayName(\"tvnet8\", \"Any\")\n",
    "  VNL_SetVnetDisplayName(\"tvnet8\", \"B\xc3\xbcro\")\n"},
   {"MTU", [](Editable& model) { model.GetNetwork(8)->SetMTU("9194"); },
    "  VNL_SetVnetMTU(\"tvnet8\", 1400)\n", "  VNL_SetVnetMTU(\"tvnet8\", 9194)\n"},
   {"NoMTU", [](Editable& model) { model.GetNetwork(8)->SetMTU("-"); },
    "  VNL_SetVnetMTU(\"tvnet8\", 1400)\n", "  VNL_RemoveMTU(\"tvnet8\")\n"},
   {"UseAdapter", [](Editable& model) { model.GetNetwork(8)->SetHasVirtualAdapter(false); },
    "  VNL_SetVnetUseAdapter(\"tvnet8\", true, 1)\n+ VNL_EnableNetworkAdapter(\"tvnet8\")\n",
    "  VNL_SetVnetUseAdapter(\"tvnet8\", false, 1)\n"},
};

class ChangeTableTest : public TableTest<ChangeRow> {
protected:
   ChangeTableTest()
   {
      SetDatabase(comparedDatabase);
      mgr.Load();
      AddRemoved(9);
   }
};

TEST_P(ChangeTableTest, IsAllThatASaveWritesBesidesWhatItAlwaysWrites)
{
   ChangeRow const& row = GetRow();
   row.change(*editable);
   std::string script = comparedScript;
   std::size_t const place = script.find(row.place);
   ASSERT_NE(std::string::npos, place) << row.place;
   script.replace(place, row.place.size(), row.script);

   EXPECT_EQ(Script(script), Save());
   EXPECT_EQ(IsApplied() ? "# This file is automatically generated.\n"
                           "# Hand-editing this file is not recommended.\n"
                           "network0.name = \"Bridged\"\n"
                           "network0.device = \"tvnet0\"\n"
                           "network8.name = \"NAT\"\n"
                           "network8.device = \"tvnet8\"\n"
                         : "",
             ReadNetmap());
}

INSTANTIATE_TEST_SUITE_P(, ChangeTableTest,
                         testing::Combine(testing::ValuesIn(changeRows), testing::Bool()),
                         GetRowName<ChangeRow>);

} // namespace

} // namespace netcfg
