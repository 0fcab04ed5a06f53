// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/systemdManager.hh"

namespace vnet::process {

namespace {

constexpr char managerName[] = "org.freedesktop.systemd1";
constexpr char managerPath[] = "/org/freedesktop/systemd1";
constexpr char managerInterface[] = "org.freedesktop.systemd1.Manager";

std::string GetPath(GVariant* tuple)
{
   char const* path = nullptr;
   g_variant_get(tuple, "(&o)", &path);
   return path;
}

} // namespace

bool SystemdManager::IsNoSuchUnit(Refusal const& refusal)
{
   return refusal.name == "org.freedesktop.systemd1.NoSuchUnit";
}

SystemdManager::SystemdManager(std::string const& address, std::chrono::milliseconds patience)
   : bus(address, patience)
{
   FindOwner();
   bus.Listen(owner, managerInterface, "JobRemoved", nullptr, OnJobRemoved, this);
   CallManager("Subscribe", nullptr, "()");
}

// At boot the manager may come to the bus a moment after us.
void SystemdManager::FindOwner()
{
   bus.ListenForOwner(managerName, OnOwnerChanged, this);
   owner = bus.FindOwner(managerName);
   WaitUntil([this] { return !owner.empty(); });
}

void SystemdManager::OnOwnerChanged(GDBusConnection*, char const*, char const*, char const*,
                                    char const*, GVariant* parameters, void* self)
{
   if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sss)"))) {
      char const* now = nullptr;
      g_variant_get_child(parameters, 2, "&s", &now);
      static_cast<SystemdManager*>(self)->owner = now;
   }
}

void SystemdManager::OnJobRemoved(GDBusConnection*, char const*, char const*, char const*,
                                  char const*, GVariant* parameters, void* self)
{
   if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(uoss)"))) {
      char const* job = nullptr;
      char const* result = nullptr;
      g_variant_get(parameters, "(u&o&s&s)", nullptr, &job, nullptr, &result);
      static_cast<SystemdManager*>(self)->ended[job] = result;
   }
}

SystemBus::Value SystemdManager::CallManager(char const* method, GVariant* parameters,
                                             char const* answerType)
{
   return bus.Call(owner, managerPath, managerInterface, method, parameters, answerType);
}

std::string SystemdManager::RunJob(char const* kind, std::string const& unit)
{
   // A job of another kind that waits gives way.
   auto const job = CallManager(kind, g_variant_new("(ss)", unit.c_str(), "replace"), "(o)");
   return WaitForJob(GetPath(job.get()));
}

std::string SystemdManager::WaitForJob(std::string const& job)
{
   WaitUntil([&] { return ended.contains(job); });
   return ended[job];
}

template <class Condition>
void SystemdManager::WaitUntil(Condition const& condition)
{
   if (!bus.TakeIn(condition)) {
      throw Refusal(bus.IsClosed() ? "the service manager is gone"
                                   : "the service manager didn't answer in time");
   }
}

void SystemdManager::Reset(std::string const& unit)
{
   try {
      CallManager("ResetFailedUnit", g_variant_new("(s)", unit.c_str()), "()");
   } catch (Refusal const& refusal) {
      if (!IsNoSuchUnit(refusal)) {
         throw;
      }
   }
}

std::string SystemdManager::GetText(std::string const& unit, char const* interface,
                                    char const* property)
{
   auto const path = CallManager("LoadUnit", g_variant_new("(s)", unit.c_str()), "(o)");
   auto const answer = bus.Call(owner, GetPath(path.get()), "org.freedesktop.DBus.Properties",
                                "Get", g_variant_new("(ss)", interface, property), "(v)");
   GVariant* inner = nullptr;
   g_variant_get(answer.get(), "(v)", &inner);
   SystemBus::Value const value(inner);
   return g_variant_is_of_type(inner, G_VARIANT_TYPE_STRING) ? g_variant_get_string(inner, nullptr)
                                                             : "";
}

} // namespace vnet::process
