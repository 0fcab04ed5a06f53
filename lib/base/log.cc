// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/log.h"

#include "base/errnoKeeper.hh"
#include "base/logFile.hh"
#include "base/logLine.hh"
#include "base/preference.h"
#include "base/processLog.hh"
#include "base/userDirectory.hh"

#include <cstdarg>
#include <list>
#include <unistd.h>

struct LogCfgInterface {
   char const* (*dictionaryText)(Dictionary const* dict, char const* fallback, char const* key);
   char const* (*preferenceText)(char const* fallback, char const* key);
};

struct LogOutput {
   std::string path;
   base::FileDescriptor file;
};

namespace {

struct ProductInfo {
   std::string name, version, buildNumber, compilationOption;
};

// These two are never destroyed: lines are written until the very end of the process.
ProductInfo& Product()
{
   static auto& product = *new ProductInfo;
   return product;
}

std::list<LogOutput>& Outputs()
{
   static auto& outputs = *new std::list<LogOutput>;
   return outputs;
}

std::string TextOrEmpty(char const* text)
{
   return text ? text : "";
}

// The path that the preference named by "log.config" tells, or the empty text.
std::string ConfiguredPath(Dictionary const* dict, LogCfgInterface const& cfg)
{
   char const* key = cfg.dictionaryText(dict, nullptr, "log.config");
   std::string path = TextOrEmpty(key ? cfg.preferenceText(nullptr, key) : nullptr);
   if (!path.empty() && path[0] != '/') {
      Warning("preference %s: \"%s\" isn't an absolute path\n", key, path.c_str());
      path.clear();
   }
   return path;
}

base::LogFile OpenDefault(std::string const& prefix, bool filePerProcess)
{
   std::string state = base::UserDirectory("XDG_STATE_HOME", ".local/state");
   if (state.empty() || !base::IsLogPrefix(prefix)) {
      return {{}, {}, "name a log file for \"" + prefix + "\": no home directory or a bad name"};
   }
   std::string directory = state + "/tavrin";
   return filePerProcess ? base::CreateLogFile(directory, prefix, getpid())
                         : base::AppendLogFile(directory, prefix);
}

// A configured place that won't do is no reason to go without a log.
base::LogFile Open(std::string const& configured, std::string const& prefix, bool filePerProcess)
{
   if (configured.empty()) {
      return OpenDefault(prefix, filePerProcess);
   }
   base::LogFile file = base::AppendLogFileAt(configured);
   if (file.file.IsOpen()) {
      return file;
   }
   Warning("%s\n", file.error.c_str());
   return OpenDefault(prefix, filePerProcess);
}

std::string HeaderText()
{
   ProductInfo const& product = Product();
   return "Log of " + product.name + " version=" + product.version +
          " build=" + product.buildNumber + " option=" + product.compilationOption;
}

LogOutput* Start(base::LogFile file)
{
   LogOutput& output = Outputs().emplace_back();
   output.path = std::move(file.path);
   output.file = std::move(file.file);
   base::ProcessLog().SetFile(output.file.Get());
   base::ProcessLog().Header(HeaderText());
   return &output;
}

// A line that can't be formed for want of memory is lost; the work that it tells of goes on.
template <typename Writer>
void WriteFormatted(char const* format, va_list arguments, Writer write) noexcept
{
   base::ErrnoKeeper keeper;
   try {
      write(base::FormatLogText(format, arguments));
   } catch (std::exception const&) {
   }
}

} // namespace

const LogCfgInterface* Log_CfgInterface(void)
{
   static constexpr LogCfgInterface INTERFACE = {Dict_GetString, Preference_GetString};
   return &INTERFACE;
}

void Log_SetProductInfo(const char* name, const char* version, const char* buildNumber,
                        const char* compilationOption)
{
   Product() = {TextOrEmpty(name), TextOrEmpty(version), TextOrEmpty(buildNumber),
                TextOrEmpty(compilationOption)};
}

LogOutput* Log_InitWithFileInt(const char* prefix, Dictionary* dict, const LogCfgInterface* cfg,
                               int filePerProcess)
{
   LogCfgInterface const& interface = cfg ? *cfg : *Log_CfgInterface();
   std::string suffix = TextOrEmpty(interface.dictionaryText(dict, prefix, "log.suffix"));
   base::LogFile file = Open(ConfiguredPath(dict, interface), suffix, filePerProcess != 0);
   if (!file.file.IsOpen()) {
      Warning("%s\n", file.error.c_str());
      return nullptr;
   }
   return Start(std::move(file));
}

const char* Log_GetOutputFileName(const LogOutput* output)
{
   return output ? output->path.c_str() : "";
}

void Log_SetLevel(int severity)
{
   base::ProcessLog().SetLevel(severity);
}

void Warning(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   WriteFormatted(format, arguments,
                  [](std::string const& text) { base::ProcessLog().Warning(text); });
   va_end(arguments);
}

void Log(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   WriteFormatted(format, arguments, [](std::string const& text) {
      base::ProcessLog().Write(LOG_SEVERITY_INFO, text);
   });
   va_end(arguments);
}

void LogV(int severity, const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   WriteFormatted(format, arguments, [severity](std::string const& text) {
      base::ProcessLog().Write(severity, text);
   });
   va_end(arguments);
}
