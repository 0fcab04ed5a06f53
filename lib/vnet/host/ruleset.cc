// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/ruleset.hh"

#include "base/log.h"
#include "vnet/host/tableDescription.hh"
#include "vnet/values/error.hh"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <linux/netfilter.h>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netlink.h>
#include <map>
#include <memory>
#include <new>
#include <nftables/libnftables.h>
#include <optional>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace vnet::host {

namespace {

bool IsRulesetSocket(int descriptor)
{
   int domain = 0;
   int protocol = 0;
   socklen_t length = sizeof domain;
   if (getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &length) < 0) {
      return false;
   }
   length = sizeof protocol;
   return domain == AF_NETLINK &&
          getsockopt(descriptor, SOL_SOCKET, SO_PROTOCOL, &protocol, &length) == 0 &&
          protocol == NETLINK_NETFILTER;
}

// libnftables leaves its socket open to the programs that this process starts, and doesn't tell
// which descriptor it is.
void CloseSocketsOnExec()
{
   std::unique_ptr<DIR, int (*)(DIR*)> const folder(opendir("/proc/self/fd"), closedir);
   if (!folder) {
      return;
   }
   while (auto const* entry = readdir(folder.get())) {
      int const descriptor = atoi(entry->d_name);
      if (descriptor > 2 && IsRulesetSocket(descriptor)) {
         fcntl(descriptor, F_SETFD, FD_CLOEXEC);
      }
   }
}

std::uint8_t GetFamilyNumber(std::string const& family)
{
   static std::map<std::string, std::uint8_t> const numbers = {
      {"arp", NFPROTO_ARP}, {"bridge", NFPROTO_BRIDGE}, {"inet", NFPROTO_INET},
      {"ip", NFPROTO_IPV4}, {"ip6", NFPROTO_IPV6},      {"netdev", NFPROTO_NETDEV}};
   auto const found = numbers.find(family);
   if (found == numbers.end()) {
      throw Error("find tables of family", family, "There is no such family");
   }
   return found->second;
}

Request MakeTableRequest(std::string const& family)
{
   Request request(NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_GETTABLE, 0);
   nfgenmsg header{};
   header.nfgen_family = GetFamilyNumber(family);
   header.version = NFNETLINK_V0;
   request.Append(header);
   return request;
}

// What libnftables is asked to do just now.
std::string const* doing = nullptr;

// Without a socket or memory libnftables ends the process. The log is to tell why, and nothing else
// is to run in between.
void TellOfExit()
{
   if (doing) {
      LogV(LOG_SEVERITY_ERROR, "%s: libnftables lacks a socket or memory, and ends this process\n",
           doing->c_str());
      _exit(1);
   }
}

// As long as libnftables is at work.
class Doing {
public:
   explicit Doing(std::string const& actionAndObject)
   {
      static bool const isTold = std::atexit(TellOfExit) == 0;
      doing = isTold ? &actionAndObject : nullptr;
   }
   Doing(Doing const&) = delete;
   Doing& operator=(Doing const&) = delete;
   ~Doing() { doing = nullptr; }
};

nft_ctx* MakeContext()
{
   static std::string const what = "open the ruleset";
   Doing const now(what);
   return nft_ctx_new(NFT_CTX_DEFAULT);
}

// The complaint without the place in the text: "Error: Could not process rule: ...".
std::string GetFirstComplaint(std::string_view text)
{
   auto const line = text.substr(0, text.find('\n'));
   auto const begin = line.find("Error: ");
   auto const complaint = begin == std::string_view::npos ? line : line.substr(begin + 7);
   return complaint.empty() ? "Unknown error" : std::string(complaint);
}

} // namespace

void Ruleset::Free::operator()(nft_ctx* freed) const
{
   nft_ctx_free(freed);
}

Ruleset::Ruleset() : context(MakeContext()), tables(NETLINK_NETFILTER)
{
   if (!context) {
      throw Error("open", "the ruleset", "libnftables refused");
   }
   CloseSocketsOnExec();
   if (nft_ctx_buffer_output(context.get()) || nft_ctx_buffer_error(context.get())) {
      throw std::bad_alloc();
   }
}

bool Ruleset::Try(std::string const& text, std::string const& what, std::string& output)
{
   Doing const now(what);
   bool const done = nft_run_cmd_from_buffer(context.get(), text.c_str()) == 0;
   // Reading empties the buffers.
   output = nft_ctx_get_output_buffer(context.get());
   std::string const complaints = nft_ctx_get_error_buffer(context.get());
   if (!done) {
      output = GetFirstComplaint(complaints);
   }
   return done;
}

void Ruleset::Run(std::string const& text, std::string const& object)
{
   std::string output;
   if (!Try(text, "change rules of " + object, output)) {
      throw Error("change rules of", object, output);
   }
}

// libnftables fetches, and makes large indices for, all tables that its commands may need, which
// are all there are, unless the last command lists a single one.
void Ruleset::RunFor(std::string const& family, std::string const& table, std::string const& text)
{
   Run(text + "list table " + family + " " + table + "\n", table);
}

void Ruleset::Check(std::string const& text, std::string const& object)
{
   nft_ctx_set_dry_run(context.get(), true);
   std::string output;
   bool const good = Try(text, "check rules of " + object, output);
   nft_ctx_set_dry_run(context.get(), false);
   if (!good) {
      throw Error("check rules of", object, output);
   }
}

std::vector<std::string> Ruleset::ListTables(std::string const& family)
{
   auto request = MakeTableRequest(family);
   return tables.Collect(request, "tables", [](nlmsghdr const* message) {
      auto const name = Attributes(message, sizeof(nfgenmsg)).GetString(NFTA_TABLE_NAME);
      return name.empty() ? std::nullopt : std::optional(name);
   });
}

bool Ruleset::HasTable(std::string const& family, std::string const& table)
{
   auto request = MakeTableRequest(family);
   request.PutString(NFTA_TABLE_NAME, table);
   int const error = tables.Try(request);
   if (error && error != ENOENT) {
      throw Error("find table", table, tables.GetCause());
   }
   return error == 0;
}

std::string Ruleset::ListWith(unsigned int flags, std::string const& family,
                              std::string const& table)
{
   if (!HasTable(family, table)) {
      return {};
   }
   nft_ctx_output_set_flags(context.get(), flags);
   std::string output;
   bool const done = Try("list table " + family + " " + table, "list table " + table, output);
   nft_ctx_output_set_flags(context.get(), 0);
   if (!done) {
      throw Error("list table", table, output);
   }
   return output;
}

std::string Ruleset::List(std::string const& family, std::string const& table)
{
   return ListWith(NFT_CTX_OUTPUT_STATELESS, family, table);
}

std::string Ruleset::Describe(std::string const& family, std::string const& table,
                              std::vector<std::string> const& chains)
{
   return DescribeTable(tables, GetFamilyNumber(family), table, chains);
}

std::string Ruleset::ListJson(std::string const& family, std::string const& table)
{
   return ListWith(NFT_CTX_OUTPUT_JSON | NFT_CTX_OUTPUT_STATELESS, family, table);
}

void Ruleset::Delete(std::string const& family, std::string const& table)
{
   // Naming it first makes one if there is none, in the same transaction.
   auto const name = " " + family + " " + table + "\n";
   Run("table" + name + "delete table" + name, table);
}

} // namespace vnet::host
