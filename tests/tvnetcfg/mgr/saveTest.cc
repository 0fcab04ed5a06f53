// SPDX-License-Identifier: GPL-2.0-or-later
#include "saveTest.hh"

#include "support/privateEtc.hh"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace netcfg {

namespace {

// An explicit instantiation may name a private member.
template <bool common::Bridge::*Member>
struct AutoFlag {
   friend bool& GetAutoFlag(common::Bridge& bridge) { return bridge.*Member; }
};

bool& GetAutoFlag(common::Bridge& bridge);

template struct AutoFlag<&common::Bridge::isAuto>;

void Replace(std::string& line, std::string const& what, std::string const& with)
{
   std::size_t const at = line.find(what);
   if (at != std::string::npos) {
      line.replace(at, what.size(), with);
   }
}

} // namespace

char const stopServices[] = R"(
+ VNL_StopService("NET", 0x8801)
+ VNL_StopService("NET", 0x8802)
+ VNL_StopService("NET", 0x8803)
+ VNL_DisableNetworkAdapter("NET")
)";

char const removedSlot[] = R"(
+ VNL_StopService("NET", 0x8801)
+ VNL_StopService("NET", 0x8802)
+ VNL_StopService("NET", 0x8803)
+ VNL_DisableNetworkAdapter("NET")
  VNL_DeleteVnetFromDatabase("NET")
)";

char const bridgedSlot[] = R"(
+ VNL_StopService("NET", 0x8801)
+ VNL_StopService("NET", 0x8802)
+ VNL_StopService("NET", 0x8803)
+ VNL_DisableNetworkAdapter("NET")
  VNL_SetVnetSubnetAddr("NET", null)
  VNL_SetVnetSubnetMask("NET", null)
  VNL_SetVnetUseAdapter("NET", false, 1)
  VNL_SetVnetUseDHCP("NET", false, 1)
  VNL_SetVnetUseNAT("NET", false, 1)
+ VNL_StartService("NET", 0x8801)
)";

std::string RestartScript(bool dhcp, bool nat)
{
   return Join("+ VNL_UpdateDHCPFromConfig(\"NET\")\n"
               "+ VNL_StopService(\"NET\", 0x8802)\n",
               dhcp ? "+ VNL_StartService(\"NET\", 0x8802)\n" : "",
               "+ VNL_UpdateNATFromConfig(\"NET\")\n"
               "+ VNL_StopService(\"NET\", 0x8803)\n",
               nat ? "+ VNL_StartService(\"NET\", 0x8803)\n" : "");
}

std::string WholeScript(std::string const& adapters, std::string const& slots, int record)
{
   return Join("  VNL_GetHostAdapterList(1)\n", adapters,
               "\n  VNL_FreeHostAdapterList(list)\n"
               "  VNL_GetBridgeDefaultNetwork({1, 1, ",
               std::to_string(record), "})\n", slots, "\n- VNL_ExportDatabaseToBuffer()\n");
}

Lines ReadScript(std::string const& script, bool apply, std::string const& name)
{
   Lines lines;
   std::istringstream text(script);
   std::string line;
   while (std::getline(text, line)) {
      char const mark = line.empty() ? '#' : line[0];
      if (mark == ' ' || mark == (apply ? '+' : '-')) {
         lines.push_back(line.substr(2));
         Replace(lines.back(), "NET", name);
      }
   }
   return lines;
}

std::string GetSkipReason(bool apply)
{
   return apply ? test::GetPrivateEtcProblem() : "";
}

Lines SaveTest::Save(bool apply)
{
   // The host's own file is nobody's to remove.
   bool const isPrivate = test::HavePrivateEtc();
   if (isPrivate) {
      std::filesystem::remove_all(netmapPath);
   }
   VnetDouble::ClearLog();
   char* const text = apply ? mgr.Save() : mgr.SaveToBuffer();
   Lines const calls = VnetDouble::GetLog();
   if (apply) {
      EXPECT_EQ(nullptr, text);
   } else {
      EXPECT_EQ(VnetDouble::GetDatabase().ToText(), text ? text : "(null)");
   }
   EXPECT_TRUE(!isPrivate || apply == std::filesystem::exists(netmapPath));
   std::free(text);
   return calls;
}

std::string SaveTest::ReadNetmap()
{
   std::ostringstream text;
   text << std::ifstream(netmapPath).rdbuf();
   return text.str();
}

void SaveTest::AddAdapter(char const* adapter, Network* network)
{
   editable->AddHostAdapter(adapter, "");
   if (!network) {
      return;
   }
   if (network->GetBridge()->IsAuto()) {
      network->GetBridge()->AddAutoAdapter(adapter, OnDone());
   } else {
      network->GetBridge()->SetAdapter(adapter, OnDone());
   }
}

void SaveTest::ForceAuto(Network& network)
{
   GetAutoFlag(*network.GetBridge()) = true;
}

void BothModesTest::SetUp()
{
   std::string const reason = GetSkipReason(GetParam());
   if (!reason.empty()) {
      GTEST_SKIP() << reason;
   }
}

} // namespace netcfg
