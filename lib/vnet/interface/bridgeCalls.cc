// SPDX-License-Identifier: GPL-2.0-or-later
// The calls on bridging and the host's adapters.
#include "vnet/interface/arguments.hh"
#include "vnet/interface/attempt.hh"
#include "vnet/interface/library.hh"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

using namespace vnet;

namespace {

// Stands in when there is no memory for a list, and is never freed.
VNL_HostAdapterList emptyList = {VNL_RECORD_VERSION, 0, nullptr};

// Frees the list unless it is handed out.
class AdapterList {
public:
   AdapterList() : list(Allocate<VNL_HostAdapterList>())
   {
      list->version = VNL_RECORD_VERSION;
      end = &list->first;
   }
   ~AdapterList() { VNL_FreeHostAdapterList(list); }
   AdapterList(AdapterList const&) = delete;
   AdapterList& operator=(AdapterList const&) = delete;

   void Add(std::string const& name, std::optional<unsigned int> network);
   VNL_HostAdapterList* HandOut() { return std::exchange(list, nullptr); }

private:
   template <class Record>
   static Record* Allocate()
   {
      auto const record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
      if (!record) {
         throw std::bad_alloc();
      }
      return record;
   }

   VNL_HostAdapterList* list;
   // Where the next node is hooked in. Within a node the place isn't aligned.
   void* end;
};

void AdapterList::Add(std::string const& name, std::optional<unsigned int> network)
{
   auto* const node = Allocate<VNL_HostAdapter>();
   node->version = VNL_RECORD_VERSION;
   node->network = {VNL_RECORD_VERSION, VNL_RECORD_VERSION,
                    network ? static_cast<std::int32_t>(*network) : VNL_NO_VNET};
   name.copy(node->name, sizeof node->name - 1);
   std::memcpy(end, &node, sizeof node);
   end = reinterpret_cast<char*>(node) + offsetof(VNL_HostAdapter, next);
   ++list->count;
}

void AddAdapters(AdapterList& list, std::vector<std::string> const& present,
                 std::map<std::string, unsigned int> const& stored)
{
   for (auto const& name : present) {
      auto const found = stored.find(name);
      list.Add(name, found == stored.end() ? std::nullopt : std::optional(found->second));
   }
   // An adapter that isn't plugged in just now keeps its place.
   for (auto const& [name, network] : stored) {
      if (std::ranges::find(present, name) == present.end()) {
         list.Add(name, network);
      }
   }
}

// False if the host's couldn't be listed now: then they are taken to be what they last were.
bool FillList(VNL_HostAdapterList** list)
{
   auto& library = Library::Get();
   auto const stored = library.GetForReading().GetSettings().adapters;
   bool const complete =
      Attempt("list", "the host's adapters", [&library] { library.RefreshAdapters(); });
   AdapterList made;
   AddAdapters(made, library.GetAdapters(), stored);
   VNL_FreeHostAdapterList(std::exchange(*list, made.HandOut()));
   return complete;
}

std::string RequireAdapter(VNL_HostAdapter const* adapter)
{
   Require(adapter, "adapter");
   RequireConstant(adapter->version, VNL_RECORD_VERSION, "version of a record");
   auto const name =
      ParseAdapterName({adapter->name, strnlen(adapter->name, sizeof adapter->name)});
   if (!name) {
      throw std::runtime_error("The record holds no adapter's name");
   }
   return *name;
}

} // namespace

bool VNL_GetBridgeDefaultNetwork(VnetRef* network)
{
   if (network) {
      network->vnet = VNL_NO_VNET;
   }
   return Attempt("get", "the automatic network", [network] {
      Require(network, "record");
      if (auto const automatic = Library::Get().GetForReading().GetSettings().automatic) {
         network->vnet = static_cast<std::int32_t>(*automatic);
      }
   });
}

bool VNL_SetBridgeDefaultNetwork(const VnetRef* network)
{
   return Attempt("set", "the automatic network", [network] {
      auto const index = RequireReference(network);
      Library::Get().GetForWriting().SetAutomatic(index);
   });
}

bool VNL_GetHostAdapterList(int mode, VNL_HostAdapterList** list)
{
   bool const filled = AttemptFor("list", "the host's adapters", [mode, list] {
      Require(list, "room for the list");
      *list = &emptyList;
      AdapterList made;
      *list = made.HandOut();
      return true;
   });
   return filled && AttemptFor("list", "the host's adapters", [mode, list] {
             RequireConstant(static_cast<std::uint32_t>(mode), 1, "mode");
             return FillList(list);
          });
}

void VNL_FreeHostAdapterList(VNL_HostAdapterList* list)
{
   if (!list || list == &emptyList) {
      return;
   }
   for (VNL_HostAdapter* node = list->first; node;) {
      VNL_HostAdapter* const next = node->next;
      std::free(node);
      node = next;
   }
   std::free(list);
}

bool VNL_BridgeMoveAdapter(VNL_HostAdapter* adapter, const VnetRef* source, const VnetRef* target)
{
   return Attempt("move", "a host adapter", [=] {
      auto const name = RequireAdapter(adapter);
      if (source) {
         RequireReference(source);
      }
      auto const network = RequireReference(target);
      Library::Get().GetForWriting().MoveAdapter(name, network);
   });
}
