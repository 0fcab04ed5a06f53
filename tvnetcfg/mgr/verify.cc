// SPDX-License-Identifier: GPL-2.0-or-later
// Whether a model may be saved. Calls nothing in the library.
#include "cui/format.hh"
#include "cui/localString.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/mgr/mgr.hh"
#include "tvnetcfg/mgr/records.hh"

#include <arpa/inet.h>
#include <set>

namespace netcfg {

using common::Network;

namespace {

constexpr int minMTU = 68;
constexpr int maxMTU = 9194;
// A network of eight addresses; none is smaller.
constexpr std::uint32_t narrowestMask = 0xfffffff8;

// The address in host byte order. What isn't one reads as all ones.
std::uint32_t ParseAddress(utf::string const& text)
{
   return ntohl(inet_addr(text.c_str()));
}

bool IsFirstByteBad(std::uint32_t subnet)
{
   std::uint32_t const first = subnet >> 24;
   return first == 127 || first > 223;
}

// Whether the mask is ones followed by zeros: the lowest one is then the only bit of its negative.
bool IsRunOfOnes(std::uint32_t mask)
{
   std::uint64_t rest = std::uint64_t{~mask} + 1;
   while (rest % 2 == 0) {
      rest /= 2;
   }
   return rest == 1;
}

bool IsMTUBad(utf::string const& text)
{
   return text != "-" && ParseMTU(text) - minMTU > maxMTU - minMTU;
}

utf::string ZeroMask()
{
   return cui::GetLocalString("@&!*@*@(msg.tvnetcfg.util.zeroMask)The subnet mask cannot be zero.");
}

utf::string MTUOutOfRange(int index)
{
   return cui::Format(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mtu.outofrange.format)tvnet%d: "
                                          "Invalid MTU value. Must be between %d and %d.")
                         .c_str(),
                      index, minMTU, maxMTU);
}

utf::string BlankFields(int index)
{
   return cui::Format(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.ipBlankFields.format)tvnet%d: "
                                          "Subnet IP must have no blank fields.")
                         .c_str(),
                      index);
}

utf::string SubnetRepeated(int index)
{
   return cui::Format(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.IPrepeat.format)tvnet%d: "
                                          "Subnet IPs must all be unique.")
                         .c_str(),
                      index);
}

utf::string MaskError(int index, utf::string const& reason)
{
   return cui::Format(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mask.error.format)tvnet%d: %s").c_str(), index,
      reason.c_str());
}

// The first rule that the network breaks, as a message; empty if it keeps them all. subnets holds
// those of the networks before, and takes this one's.
utf::string JudgeNetwork(Mgr& mgr, int index, Network& network, std::set<utf::string>& subnets)
{
   if (IsMTUBad(network.GetMTU())) {
      return MTUOutOfRange(index);
   }
   utf::string const subnet = network.GetSubnetAddr();
   if (subnet.empty()) {
      // The database is to choose the subnet, so no mask of ours may stand in its way.
      network.SetSubnetMask("");
      return {};
   }
   if (subnet.find("..", 0) != utf::string::npos) {
      return BlankFields(index);
   }
   if (subnets.count(subnet)) {
      return SubnetRepeated(index);
   }
   utf::string const reason = mgr.ValidateIPMask(subnet, network.GetSubnetMask());
   if (!reason.empty()) {
      return MaskError(index, reason);
   }
   subnets.insert(subnet);
   return {};
}

} // namespace

bool Mgr::Verify(int& index, cui::Error& error)
{
   auto const slots = editable->GetNetworks();
   std::set<utf::string> subnets;
   for (auto const& [slot, network] : slots) {
      if (!network || network->GetType() == Network::Bridged) {
         continue;
      }
      int const number = static_cast<int>(slot);
      utf::string const message = JudgeNetwork(*this, number, *network, subnets);
      if (!message.empty()) {
         index = number;
         error = cui::Error(message);
         return false;
      }
   }
   return true;
}

utf::string Mgr::ValidateIPMask(utf::string const& ip, utf::string const& mask)
{
   std::uint32_t const subnet = ip.empty() ? 0 : ParseAddress(ip);
   if (IsFirstByteBad(subnet)) {
      return cui::GetLocalString("@&!*@*@(msg.tvnetcfg.util.ipOutOfRange)The first byte of the "
                                 "subnet IP should be from 0 to 126 or from 128 to 223.");
   }
   std::uint32_t const bits = mask.empty() ? 0 : ParseAddress(mask);
   if (bits == 0) {
      return ZeroMask();
   }
   if (bits > narrowestMask) {
      return cui::GetLocalString("@&!*@*@(msg.tvnetcfg.util.maskTooLarge)The subnet mask cannot be "
                                 "greater than 0xfffffff8.");
   }
   if (!IsRunOfOnes(bits)) {
      return cui::GetLocalString(
         "@&!*@*@(msg.tvnetcfg.util.invalidMask)The subnet mask is invalid.");
   }
   if (subnet & ~bits) {
      return cui::GetLocalString(
         "@&!*@*@(msg.tvnetcfg.util.ipMaskMismatch)The subnet IP and subnet mask are mismatch.");
   }
   return {};
}

utf::string Mgr::ValidateIPRange(utf::string const& subnet, utf::string const& mask,
                                 utf::string const& ip)
{
   if ((ParseAddress(subnet) ^ ParseAddress(ip)) & ParseAddress(mask)) {
      return cui::GetLocalString(
         "@&!*@*@(msg.tvnetcfg.util.ipNotInSubnetFmt)Enter an IP address in the subnet range.");
   }
   return {};
}

} // namespace netcfg
