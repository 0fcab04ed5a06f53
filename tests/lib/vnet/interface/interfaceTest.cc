// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/interface/interfaceTest.hh"

#include "support/logDouble.hh"
#include "vnet/interface/library.hh"
#include "vnet/values/error.hh"

#include <cstdlib>

namespace test {

namespace {

std::string Name(vnet::Service service)
{
   return service == vnet::Service::Bridge ? "bridge"
          : service == vnet::Service::Dhcp ? "dhcp"
                                           : "nat";
}

HostDouble& MakeHost(TempPlace const& place)
{
   auto made = std::make_unique<HostDouble>();
   auto& host = *made;
   vnet::Library::Replace(
      std::make_unique<vnet::Library>(place.Get(std::chrono::milliseconds(50)), std::move(made)));
   return host;
}

} // namespace

void HostDouble::Record(std::string const& call, vnet::Settings const& given)
{
   calls.push_back(call);
   settings = given;
   if (failing) {
      throw vnet::Error("do", call, "The host fails");
   }
}

std::vector<std::string> HostDouble::ListAdapters()
{
   if (failing) {
      throw vnet::Error("list", "adapters", "The host fails");
   }
   return adapters;
}

std::vector<vnet::Subnet> HostDouble::ListOccupied(unsigned int own)
{
   calls.push_back("occupied " + std::to_string(own));
   if (failing) {
      throw vnet::Error("list", "routes", "The host fails");
   }
   return occupied;
}

void HostDouble::EnableAdapter(vnet::Settings const& given, unsigned int index)
{
   Record("enable " + std::to_string(index), given);
}

void HostDouble::DisableAdapter(vnet::Settings const& given, unsigned int index)
{
   Record("disable " + std::to_string(index), given);
}

void HostDouble::UpdateDhcp(vnet::Settings const& given, unsigned int index)
{
   Record("update " + std::to_string(index) + " dhcp", given);
}

void HostDouble::UpdateNat(vnet::Settings const& given, unsigned int index)
{
   Record("update " + std::to_string(index) + " nat", given);
}

void HostDouble::StartService(vnet::Settings const& given, unsigned int index,
                              vnet::Service service)
{
   Record("start " + std::to_string(index) + " " + Name(service), given);
}

void HostDouble::StopService(vnet::Settings const& given, unsigned int index, vnet::Service service)
{
   Record("stop " + std::to_string(index) + " " + Name(service), given);
}

void HostDouble::RemoveNetwork(vnet::Settings const& given, unsigned int index)
{
   Record("remove " + std::to_string(index), given);
}

void HostDouble::Finish(vnet::Settings const& given, bool changed)
{
   Record(changed ? "finish changed" : "finish unchanged", given);
}

std::string const InterfaceTest::minimal = "[general]\nversion=1\n";

InterfaceTest::InterfaceTest() : place(minimal), host(MakeHost(place))
{
   LogDouble::Clear();
}

InterfaceTest::~InterfaceTest()
{
   vnet::Library::Replace(nullptr);
}

void InterfaceTest::Load(std::string const& text)
{
   VNL_Unload();
   place.Write(text);
   ASSERT_TRUE(VNL_Load(0));
   host.calls.clear();
   LogDouble::Clear();
}

std::vector<std::string> InterfaceTest::TakeLog()
{
   auto const lines = LogDouble::GetLines();
   LogDouble::Clear();
   return lines;
}

std::string InterfaceTest::Export()
{
   char* const text = VNL_ExportDatabaseToBuffer();
   std::string const copy = text ? text : "nothing";
   std::free(text);
   return copy;
}

} // namespace test
