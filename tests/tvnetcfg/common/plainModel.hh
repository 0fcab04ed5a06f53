// SPDX-License-Identifier: GPL-2.0-or-later
// A model as plain values, and what a snapshot makes of it.
#pragma once

#include "tvnetcfg/common/editable.hh"

#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace netcfg::common {

struct PlainForward {
   unsigned int hostPort;
   unsigned int vmPort;
   bool tcp;
   std::string ip;
   std::string description;

   bool operator==(PlainForward const&) const = default;
};

struct PlainNAT {
   std::string gatewayIP;
   unsigned int configPort = 0;
   bool allowActiveFTP = true;
   bool allowOUI = true;
   unsigned int udpTimeout = 30;
   bool enableIPv6 = false;
   std::string ipv6Prefix;
   unsigned int nbnsTimeout = 2;
   unsigned int nbnsRetries = 3;
   unsigned int nbdsTimeout = 3;
   unsigned int dnsPolicy = 0;
   unsigned int dnsTimeout = 2;
   unsigned int dnsRetries = 3;
   bool dnsAutoDetect = true;
   std::vector<std::string> dnsList = {"", "", ""};
   std::vector<PlainForward> forwards;

   bool operator==(PlainNAT const&) const = default;
};

struct PlainDHCP {
   std::string beginIP;
   std::string endIP;
   unsigned int defaultLeaseTime = 1800;
   unsigned int maxLeaseTime = 7200;

   bool operator==(PlainDHCP const&) const = default;
};

struct PlainNetwork {
   unsigned int index = 0;
   unsigned int type = 0;
   bool hasDHCP = false; // as stored
   bool hasVirtualAdapter = false;
   std::string displayName;
   std::string subnetAddr;
   std::string subnetMask;
   std::string mtu = "-";
   bool isAuto = false;
   std::vector<std::string> adapters;
   PlainDHCP dhcp;
   PlainNAT nat;

   bool operator==(PlainNetwork const&) const = default;
};

struct PlainModel {
   unsigned int maxNetworks = 0;
   std::map<unsigned int, std::optional<PlainNetwork>> networks;
   std::map<std::string, std::optional<unsigned int>> adapterUsers;
   std::map<std::string, std::string> displayNames;
   std::optional<unsigned int> autoNetwork;

   bool operator==(PlainModel const&) const = default;
};

// Field by field, for a failing test.
std::ostream& operator<<(std::ostream& out, PlainModel const& model);

// Looks at everything that a model holds. Leaves it as it was; its listeners hear of it, though.
PlainModel Describe(Editable& editable);

// The reader refuses the snapshot for a number.
struct BadNumber {
   bool operator==(BadNumber const&) const = default;
};

// What becomes of a model on its way through a snapshot, told without the code that does it.
std::variant<PlainModel, BadNumber> Predict(PlainModel const& written);

} // namespace netcfg::common
