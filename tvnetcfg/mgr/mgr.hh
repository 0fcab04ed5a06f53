// SPDX-License-Identifier: GPL-2.0-or-later
// The model against the networking database.
#pragma once

#include "cui/error.hh"
#include "tvnetcfg/common/nat.hh"
#include "utf/string.hh"

#include <sigc++/sigc++.h>

struct VNL_FeatureStruct;

namespace netcfg {

namespace common {
class DHCP;
class Editable;
class Network;
} // namespace common

// The open database is state of the library, so a manager is just its model. One lives in the
// server; the editor has another for Verify, which calls nothing in the library.
class Mgr : public sigc::trackable {
public:
   // The model stays the caller's.
   explicit Mgr(common::Editable* editable);
   Mgr(Mgr const&) = delete;
   Mgr& operator=(Mgr const&) = delete;

   // The present model; null after a text that wasn't JSON.
   common::Editable* GetEditable() const { return editable; }
   // Deletes the model and puts the one of the snapshot in its place. Throws what
   // Editable::Restore throws; the model is null then.
   void RebuildEditable(utf::string const& text);

   // Fills an empty model from the loaded database.
   void Load();
   // Writes the model to the database and brings the host in line. Always null.
   char* Save();
   // Writes the database in memory alone. Its text, to be freed by free().
   char* SaveToBuffer();
   // Drops the database.
   void Unload();

   // Whether the model may be saved. If not, index and error tell the first network in the way.
   // Clears the mask of networks without a subnet.
   bool Verify(int& index, cui::Error& error);
   // The localised reason why the dotted texts, either perhaps empty, aren't a subnet; empty if
   // they are.
   utf::string ValidateIPMask(utf::string const& ip, utf::string const& mask);
   // The localised reason why ip isn't in the subnet; empty if it is.
   utf::string ValidateIPRange(utf::string const& subnet, utf::string const& mask,
                               utf::string const& ip);

   // Database values of the network `name`. A failure is a log line and an empty or false result.
   utf::string GetNATParam(utf::string const& name, unsigned int id);
   bool GetNATParam(utf::string const& name, unsigned int id, int* value);
   bool SetNATParam(utf::string const& name, unsigned int id, utf::string const& value);
   utf::string GetDHCPParam(utf::string const& name, unsigned int id);
   bool SetDHCPParam(utf::string const& name, unsigned int id, utf::string const& value);
   // Yields the next forward of entry's protocol; *cursor starts at 0.
   bool EnumNATPortForward(utf::string const& name, common::NAT::PortForwardEntry& entry,
                           unsigned int* cursor);
   bool SetNATPortForward(utf::string const& name, common::NAT::PortForwardEntry const& entry);
   bool RemoveNATPortForward(utf::string const& name, bool tcp, unsigned int port);

   void LoadHostedNetwork(unsigned int index, VNL_FeatureStruct& features);
   void LoadNAT(utf::string const& name, common::NAT* nat);
   void LoadDHCP(utf::string const& name, common::DHCP* dhcp);

   // The walk behind Save (apply) and SaveToBuffer.
   char* SaveInternal(bool apply);
   void SaveAdapters(VNL_FeatureStruct& features);
   // Writes what of model differs from database. True if there was anything.
   bool SaveNAT(utf::string const& name, common::NAT* model, common::NAT* database);
   void StopServices(utf::string const& name);

private:
   common::Editable* editable;
};

} // namespace netcfg
