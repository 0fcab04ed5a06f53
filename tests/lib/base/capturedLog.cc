// SPDX-License-Identifier: GPL-2.0-or-later
#include "capturedLog.hh"

#include "base/processLog.hh"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace base {

CapturedLog::CapturedLog() : file(memfd_create("log", MFD_CLOEXEC))
{
   if (!file.IsOpen() || fcntl(file.Get(), F_SETFL, O_APPEND) != 0) {
      throw std::system_error(errno, std::generic_category(), "capture the log");
   }
   ProcessLog().SetFile(file.Get());
}

CapturedLog::~CapturedLog()
{
   ProcessLog().SetFile(-1);
}

std::string CapturedLog::GetText() const
{
   std::string text(static_cast<size_t>(lseek(file.Get(), 0, SEEK_END)), '\0');
   ssize_t count = pread(file.Get(), text.data(), text.size(), 0);
   text.resize(count > 0 ? static_cast<size_t>(count) : 0);
   return text;
}

} // namespace base
