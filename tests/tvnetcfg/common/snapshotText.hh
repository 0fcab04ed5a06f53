// SPDX-License-Identifier: GPL-2.0-or-later
// Snapshots by hand.
#pragma once

#include "tvnetcfg/common/editable.hh"

#include <memory>
#include <string>

namespace netcfg::common {

// May throw what Restore throws.
inline std::unique_ptr<Editable> Read(std::string const& text)
{
   return std::unique_ptr<Editable>(Editable::Restore(text.c_str()));
}

// What comes back of editable.
inline std::unique_ptr<Editable> RoundTrip(Editable const& editable)
{
   return std::unique_ptr<Editable>(Editable::Restore(Editable::Serialize(&editable)));
}

// A snapshot of these networks and adapters eth0 to eth2.
inline std::string Snapshot(std::string const& networks, std::string const& autoIndex = "-1")
{
   return R"({"MaxNetworks":"20","Networks":)" + networks + R"(,"AutoBridgeNetworkIndex":")" +
          autoIndex +
          R"(","HostAdapterDisplayName":[{"Adapter":"eth0","DisplayName":"a"},)"
          R"({"Adapter":"eth1","DisplayName":"b"},{"Adapter":"eth2","DisplayName":"c"}]})";
}

// Networks, to be put under their keys.
inline std::string HostOnly(std::string const& index)
{
   return R"({"Index":")" + index +
          R"(","HasDHCP":"false","HasVirtualAdapter":"false","DisplayName":"","SubnetAddress":"",)"
          R"("SubnetMask":"","Type":"2","MTU":"-"})";
}

inline std::string Bridged(std::string const& index, std::string const& bridge)
{
   return R"({"Index":")" + index +
          R"(","HasDHCP":"false","HasVirtualAdapter":"false","DisplayName":"","SubnetAddress":"",)"
          R"("SubnetMask":"","Type":"0","MTU":"1500","Bridge":)" +
          bridge + "}";
}

inline std::string Fixed(std::string const& index, std::string const& adapters)
{
   return Bridged(index, R"({"Auto":"false","Adapters":)" + adapters + "}");
}

inline std::string Automatic(std::string const& index)
{
   return Bridged(index, R"({"Auto":"true","Adapters":""})");
}

} // namespace netcfg::common
