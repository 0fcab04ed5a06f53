// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/faults/powerLoss.hh"

#include <fcntl.h>
#include <set>
#include <sys/syscall.h>

namespace test {

namespace {

std::string GetFolder(std::string const& path)
{
   return path.substr(0, path.rfind('/'));
}

struct Names {
   std::string from;
   std::string to;
};

// "/folder/from to"
Names GetNames(SystemCall const& rename)
{
   auto const space = rename.object.rfind(' ');
   auto const from = rename.object.substr(0, space);
   auto const to = rename.object.substr(space + 1);
   return {from, to.starts_with('/') ? to : GetFolder(from) + "/" + to};
}

bool IsRename(SystemCall const& call)
{
   return call.number == SYS_rename || call.number == SYS_renameat || call.number == SYS_renameat2;
}

bool IsWrite(SystemCall const& call)
{
   return call.number == SYS_write || call.number == SYS_writev || call.number == SYS_pwrite64 ||
          call.number == SYS_ftruncate || call.number == SYS_fchmod;
}

int GetOpenFlags(SystemCall const& call)
{
   return call.number == SYS_openat ? static_cast<int>(call.arguments[2])
          : call.number == SYS_open ? static_cast<int>(call.arguments[1])
                                    : 0;
}

// The disk as it stands for certain, less what is only in memory.
class Disk {
public:
   void Take(SystemCall const& call);
   std::vector<std::string> Finish();

private:
   std::set<std::string> fresh;    // made since the beginning, under a name that is no one's yet
   std::set<std::string> unsynced; // with data that isn't on the disk
   std::set<std::string> folders;  // with names that aren't
   std::vector<std::string> losses;

   void Open(SystemCall const& call);
   void Rename(SystemCall const& call);
};

void Disk::Open(SystemCall const& call)
{
   if (GetOpenFlags(call) & O_EXCL) {
      fresh.insert(call.object);
   } else if (GetOpenFlags(call) & O_TRUNC) {
      losses.push_back(call.object + " is emptied in place");
   }
}

void Disk::Rename(SystemCall const& call)
{
   auto const names = GetNames(call);
   if (unsynced.contains(names.from)) {
      losses.push_back(names.from + " takes the place of " + names.to + " before it is synced");
   }
   fresh.erase(names.from);
   folders.insert(GetFolder(names.to));
}

void Disk::Take(SystemCall const& call)
{
   Open(call);
   if (IsWrite(call)) {
      unsynced.insert(call.object);
      if (!fresh.contains(call.object)) {
         losses.push_back(call.object + " is written in place");
      }
   } else if (call.number == SYS_fsync) {
      unsynced.erase(call.object);
      folders.erase(call.object);
   } else if (IsRename(call)) {
      Rename(call);
   }
}

std::vector<std::string> Disk::Finish()
{
   for (auto const& folder : folders) {
      losses.push_back(folder + " isn't synced after a renaming");
   }
   return losses;
}

bool IsBelow(SystemCall const& call, std::string const& folder)
{
   return call.object == folder || call.object.starts_with(folder + "/");
}

} // namespace

std::vector<std::string> FindLosses(std::vector<SystemCall> const& calls, std::string const& folder)
{
   Disk disk;
   for (auto const& call : calls) {
      if (IsBelow(call, folder)) {
         disk.Take(call);
      }
   }
   return disk.Finish();
}

std::vector<std::string> ListSteps(std::vector<SystemCall> const& calls, std::string const& folder)
{
   std::vector<std::string> steps;
   for (auto const& call : calls) {
      bool const isStep = IsWrite(call) || IsRename(call) || call.number == SYS_fsync ||
                          (GetOpenFlags(call) & (O_CREAT | O_TRUNC)) != 0;
      if (isStep && IsBelow(call, folder)) {
         steps.push_back(call.ToString());
      }
   }
   return steps;
}

} // namespace test
