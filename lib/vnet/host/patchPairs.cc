// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/patchPairs.hh"

#include "vnet/values/error.hh"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace vnet::host {

namespace {

// An alias reads "tavrin-patch port eth0 tvnet0" or "tavrin-patch host eth0 tvnet0 promiscuous".
constexpr auto mark = "tavrin-patch";
constexpr auto portWord = "port";
constexpr auto hostWord = "host";
constexpr auto promiscuousWord = "promiscuous";

std::string MakeAlias(PatchPart const& part)
{
   std::string alias = mark;
   alias += std::string(" ") + (part.role == PatchPart::Role::Port ? portWord : hostWord);
   alias += " " + part.adapter + " " + part.bridge;
   return part.promiscuous ? alias + " " + promiscuousWord : alias;
}

constexpr std::string_view portPrefix = "tvp";
constexpr std::string_view hostPrefix = "tvh";

std::string MakeName(PatchPart::Role role, int number)
{
   return std::string(role == PatchPart::Role::Port ? portPrefix : hostPrefix) +
          std::to_string(number);
}

bool IsOurName(std::string_view name)
{
   return (name.starts_with(portPrefix) || name.starts_with(hostPrefix)) &&
          name.find_first_not_of("0123456789", portPrefix.size()) == std::string_view::npos;
}

std::optional<PatchPart> FindRole(std::vector<PatchPart> const& parts, PatchPart::Role role)
{
   auto const found = std::find_if(parts.begin(), parts.end(),
                                   [role](auto const& part) { return part.role == role; });
   return found == parts.end() ? std::nullopt : std::optional(*found);
}

} // namespace

std::optional<PatchPart> ParsePatchPart(Link const& link)
{
   if (!link.alias.starts_with(mark)) {
      return {};
   }
   std::istringstream words(link.alias);
   std::string first;
   std::string role;
   std::string last;
   PatchPart part;
   if (!(words >> first >> role >> part.adapter >> part.bridge) || first != mark ||
       (role != portWord && role != hostWord)) {
      return {};
   }
   part.link = link;
   part.role = role == portWord ? PatchPart::Role::Port : PatchPart::Role::HostEnd;
   part.promiscuous = words >> last && last == promiscuousWord;
   return part;
}

std::vector<PatchPart> PatchPairs::List()
{
   std::vector<PatchPart> parts;
   for (auto const& link : links.List()) {
      if (auto part = ParsePatchPart(link)) {
         parts.push_back(std::move(*part));
      }
   }
   return parts;
}

std::vector<PatchPart> PatchPairs::List(std::string const& adapter)
{
   auto parts = List();
   std::erase_if(parts, [&](auto const& part) { return part.adapter != adapter; });
   return parts;
}

std::optional<PatchPair> PatchPairs::Find(std::string const& adapter)
{
   auto const parts = List(adapter);
   auto const port = FindRole(parts, PatchPart::Role::Port);
   auto const hostEnd = FindRole(parts, PatchPart::Role::HostEnd);
   if (!port || !hostEnd || parts.size() != 2 || port->bridge != hostEnd->bridge) {
      return {};
   }
   return PatchPair{*port, *hostEnd};
}

std::vector<Link> PatchPairs::ListNameless()
{
   auto found = links.List();
   std::erase_if(found, [](auto const& link) {
      return link.kind != "veth" || !link.alias.empty() || !IsOurName(link.name);
   });
   return found;
}

void PatchPairs::Name(PatchPart const& part)
{
   links.SetAlias(part.link, MakeAlias(part));
}

PatchPair PatchPairs::Make(Link const& adapter, std::string const& bridge)
{
   for (auto const& part : List(adapter.name)) {
      links.Delete(part.link);
   }
   for (auto const& link : ListNameless()) {
      links.Delete(link);
   }
   using enum PatchPart::Role;
   int number = adapter.index;
   while (links.Find(MakeName(Port, number)) || links.Find(MakeName(HostEnd, number))) {
      ++number;
   }
   auto const portName = MakeName(Port, number);
   auto const hostName = MakeName(HostEnd, number);
   links.CreateVeth(
      {portName, MacAddress::MakeRandom(), hostName, MacAddress::MakeRandom(), adapter.mtu});
   PatchPair const pair{{links.Require(portName), Port, adapter.name, bridge},
                        {links.Require(hostName), HostEnd, adapter.name, bridge}};
   Name(pair.port);
   Name(pair.hostEnd);
   return pair;
}

void PatchPairs::NotePromiscuous(PatchPair const& pair)
{
   auto part = pair.hostEnd;
   part.promiscuous = true;
   Name(part);
}

} // namespace vnet::host
