// SPDX-License-Identifier: GPL-2.0-or-later
// nftables, in this process.
#pragma once

#include "vnet/host/netlink.hh"

#include <memory>
#include <string>
#include <vector>

struct nft_ctx;

namespace vnet::host {

// Keeps one context, so that a command doesn't pay for opening and closing a socket. Belongs to the
// network namespace of the thread that made it; one thread at a time.
class Ruleset {
public:
   // Throws Error.
   Ruleset();

   // Carries out the commands of `text`, nftables' own language, in one transaction: all or none.
   // Throws Error("change rules of", object, the first complaint).
   void Run(std::string const& text, std::string const& object);
   // Run for a text that concerns one table and leaves it there: it takes the same time however
   // many other tables there are.
   void RunFor(std::string const& family, std::string const& table, std::string const& text);
   // Run without the effect: the text is parsed and checked against what is there. Throws Error.
   void Check(std::string const& text, std::string const& object);

   // The names of a family's tables. `family` is nftables' word: "inet", "netdev", "bridge", ...
   std::vector<std::string> ListTables(std::string const& family);
   bool HasTable(std::string const& family, std::string const& table);
   // The table in nftables' own language, stateful parts without their counts; empty if it isn't
   // there. Throws Error.
   std::string List(std::string const& family, std::string const& table);
   // DescribeTable's answer, many times as fast as List where there are many tables. Throws Error.
   std::string Describe(std::string const& family, std::string const& table,
                        std::vector<std::string> const& chains);
   // The table as JSON (libnftables-json(5)); empty if it isn't there. Throws Error.
   std::string ListJson(std::string const& family, std::string const& table);
   // A table that isn't there is no failure. Throws Error.
   void Delete(std::string const& family, std::string const& table);

private:
   struct Free {
      void operator()(nft_ctx* context) const;
   };
   std::unique_ptr<nft_ctx, Free> context;
   // Which tables there are is asked of the kernel itself: libnftables fetches all that every table
   // holds before it names one.
   NetlinkSocket tables;

   // Returns whether it went well; `output` gets what was printed either way. `what` is for the
   // log, should libnftables end the process.
   bool Try(std::string const& text, std::string const& what, std::string& output);
   std::string ListWith(unsigned int flags, std::string const& family, std::string const& table);
};

} // namespace vnet::host
