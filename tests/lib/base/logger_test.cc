// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/logger.hh"

#include "base/fileDescriptor.hh"
#include "base/log.h"
#include "base/logLine.hh"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <syslog.h>
#include <vector>

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Pair;

namespace base {

namespace {

class TargetsDouble : public LogTargets {
public:
   void WriteSystemLog(int priority, std::string const& text) override
   {
      systemLog.emplace_back(priority, text);
   }
   void WriteStandardError(std::string const& line) override { standardError.push_back(line); }
   bool IsStandardErrorTerminal() override { return terminal; }

   bool terminal = false;
   std::vector<std::pair<int, std::string>> systemLog;
   std::vector<std::string> standardError;
};

// A descriptor that gives back each write(2) by itself.
class FileDouble {
public:
   FileDouble()
   {
      int ends[2] = {-1, -1};
      socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends);
      own = FileDescriptor(ends[0]);
      other = FileDescriptor(ends[1]);
   }
   int Get() const { return own.Get(); }
   std::vector<std::string> GetWrites() const
   {
      std::vector<std::string> writes;
      std::vector<char> buffer(65536);
      ssize_t count;
      while ((count = read(other.Get(), buffer.data(), buffer.size())) > 0) {
         writes.emplace_back(buffer.data(), static_cast<size_t>(count));
      }
      return writes;
   }

private:
   FileDescriptor own;
   FileDescriptor other;
};

class LoggerTest : public testing::Test {
protected:
   TargetsDouble targets;
   FileDouble file;
   int configured = LOG_SEVERITY_DEFAULT;
   Logger logger{targets, [this] { return configured; }};
};

TEST_F(LoggerTest, WithoutAFileLinesGoToTheSystemLogAlone)
{
   logger.Warning("text\n");

   EXPECT_THAT(targets.systemLog, ElementsAre(Pair(LOG_WARNING, "text")));
   EXPECT_THAT(targets.standardError, IsEmpty());
}

TEST_F(LoggerTest, WithoutAFileATerminalSeesThemToo)
{
   targets.terminal = true;
   logger.Warning("text\n");

   EXPECT_THAT(targets.systemLog, ElementsAre(Pair(LOG_WARNING, "text")));
   EXPECT_THAT(targets.standardError, ElementsAre(EndsWith(" warning text\n")));
}

TEST_F(LoggerTest, WithAFileLinesGoThereAlone)
{
   targets.terminal = true;
   logger.SetFile(file.Get());
   logger.Warning("text\n");
   logger.Write(LOG_SEVERITY_INFO, "more");

   EXPECT_THAT(file.GetWrites(),
               ElementsAre(EndsWith(" warning text\n"), EndsWith(" info more\n")));
   EXPECT_THAT(targets.systemLog, IsEmpty());
   EXPECT_THAT(targets.standardError, IsEmpty());
}

TEST_F(LoggerTest, ALineOfAnyLengthIsOneWrite)
{
   logger.SetFile(file.Get());
   std::string text(MAX_LOG_TEXT, '\x01');
   logger.Warning(text);

   std::vector<std::string> writes = file.GetWrites();
   ASSERT_EQ(1u, writes.size());
   EXPECT_GT(writes[0].size(), 4 * MAX_LOG_TEXT);
   EXPECT_THAT(writes[0], EndsWith("\\x01\n"));
}

TEST_F(LoggerTest, ALineThatTheFileCannotTakeGoesToTheSystemLog)
{
   FileDescriptor full(open("/dev/full", O_WRONLY));
   logger.SetFile(full.Get());
   logger.Warning("text\n");

   EXPECT_THAT(targets.systemLog, ElementsAre(Pair(LOG_WARNING, "text")));
}

TEST_F(LoggerTest, TheSystemLogsLinesAreEscapedToo)
{
   logger.Warning("one\ntwo\n");

   EXPECT_THAT(targets.systemLog, ElementsAre(Pair(LOG_WARNING, "one\\ntwo")));
}

TEST_F(LoggerTest, EachSeverityHasItsNameAndItsPriority)
{
   struct Case {
      int severity;
      char const* name;
      int priority;
   };
   targets.terminal = true;
   logger.SetLevel(LOG_SEVERITY_MAX);
   for (Case const& c :
        {Case{-3, "error", LOG_ERR}, Case{LOG_SEVERITY_ERROR, "error", LOG_ERR},
         Case{LOG_SEVERITY_WARNING, "warning", LOG_WARNING},
         Case{LOG_SEVERITY_FAILURE, "failure", LOG_WARNING}, Case{3, "notice", LOG_NOTICE},
         Case{LOG_SEVERITY_INFO, "info", LOG_INFO}, Case{LOG_SEVERITY_DEFAULT, "detail", LOG_INFO},
         Case{6, "debug", LOG_DEBUG}, Case{LOG_SEVERITY_TRACE, "trace", LOG_DEBUG},
         Case{LOG_SEVERITY_MAX, "trace", LOG_DEBUG}, Case{99, "trace", LOG_DEBUG}}) {
      targets.systemLog.clear();
      targets.standardError.clear();
      logger.Write(c.severity, "text");
      EXPECT_THAT(targets.systemLog, ElementsAre(Pair(c.priority, "text"))) << c.severity;
      EXPECT_THAT(targets.standardError,
                  ElementsAre(EndsWith(std::string(" ") + c.name + " text\n")))
         << c.severity;
   }
}

TEST_F(LoggerTest, TheConfiguredLevelDecidesUntilOneIsSet)
{
   auto written = [this](int severity) {
      targets.systemLog.clear();
      logger.Write(severity, "text");
      return !targets.systemLog.empty();
   };
   EXPECT_TRUE(written(LOG_SEVERITY_FAILURE));
   EXPECT_TRUE(written(LOG_SEVERITY_DEFAULT));
   EXPECT_FALSE(written(6));
   EXPECT_FALSE(written(LOG_SEVERITY_TRACE));

   configured = LOG_SEVERITY_TRACE;
   EXPECT_TRUE(written(LOG_SEVERITY_TRACE));
   EXPECT_FALSE(written(8));

   logger.SetLevel(LOG_SEVERITY_WARNING);
   EXPECT_TRUE(written(LOG_SEVERITY_WARNING));
   EXPECT_FALSE(written(LOG_SEVERITY_FAILURE));
   EXPECT_FALSE(written(LOG_SEVERITY_INFO));
}

TEST_F(LoggerTest, WarningsHeadersAndPanicsAreWrittenAtEveryLevel)
{
   logger.SetLevel(LOG_SEVERITY_ERROR);
   logger.Warning("warning");
   logger.Header("header");
   logger.Panic("panic");

   EXPECT_THAT(targets.systemLog, ElementsAre(Pair(LOG_WARNING, "warning"),
                                              Pair(LOG_INFO, "header"), Pair(LOG_CRIT, "panic")));
}

TEST_F(LoggerTest, APanicIsOnStandardErrorExactlyOnce)
{
   for (bool terminal : {false, true}) {
      targets.terminal = terminal;
      targets.standardError.clear();
      logger.Panic("text\n");
      EXPECT_THAT(targets.standardError, ElementsAre(EndsWith(" panic text\n"))) << terminal;
   }
}

TEST_F(LoggerTest, APanicIsInTheFileAndOnStandardError)
{
   logger.SetFile(file.Get());
   logger.Panic("text\n");

   EXPECT_THAT(file.GetWrites(), ElementsAre(EndsWith(" panic text\n")));
   EXPECT_THAT(targets.standardError, ElementsAre(EndsWith(" panic text\n")));
   EXPECT_THAT(targets.systemLog, IsEmpty());
}

} // namespace

} // namespace base
