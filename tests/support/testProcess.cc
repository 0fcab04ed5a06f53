// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/testProcess.hh"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

void Check(bool good, char const* what)
{
   if (!good) {
      throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
   }
}

int OpenOutputFile()
{
   int const fd = memfd_create("output", MFD_CLOEXEC);
   Check(fd >= 0, "memfd_create");
   // Several processes may write to it, none over another's lines.
   Check(fcntl(fd, F_SETFL, O_APPEND) == 0, "fcntl");
   return fd;
}

void PassOnComplaints(std::string const& output)
{
   std::istringstream lines(output);
   for (std::string line; std::getline(lines, line);) {
      if (line.find("WARNING **") != std::string::npos ||
          line.find("CRITICAL **") != std::string::npos) {
         std::fprintf(stderr, "in a program: %s\n", line.c_str());
      }
   }
}

[[noreturn]] void Execute(std::vector<std::string> const& arguments,
                          TestProcess::Environment const& environment)
{
   for (auto const& [name, value] : environment) {
      value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
   }
   std::vector<char*> vector;
   for (std::string const& argument : arguments) {
      vector.push_back(const_cast<char*>(argument.c_str()));
   }
   vector.push_back(nullptr);
   execvp(vector[0], vector.data());
   _exit(125);
}

} // namespace

TempDir::TempDir()
{
   std::string pattern = std::filesystem::temp_directory_path() / "tavrin-test-XXXXXX";
   Check(mkdtemp(pattern.data()), "mkdtemp");
   path = pattern;
}

TempDir::~TempDir()
{
   std::error_code ignored;
   std::filesystem::remove_all(path, ignored);
}

std::string TempDir::Write(std::string const& name, std::string const& text) const
{
   std::filesystem::path const file = path / name;
   std::filesystem::create_directories(file.parent_path());
   std::ofstream(file, std::ios::binary) << text;
   return file;
}

std::string ReadFile(std::filesystem::path const& path)
{
   std::ostringstream text;
   text << std::ifstream(path, std::ios::binary).rdbuf();
   return text.str();
}

Pipe::Pipe()
{
   Check(pipe(ends) == 0, "pipe");
}

Pipe::~Pipe()
{
   CloseReadEnd();
   CloseWriteEnd();
}

void Pipe::CloseReadEnd()
{
   if (ends[0] >= 0) {
      close(ends[0]);
      ends[0] = -1;
   }
}

void Pipe::CloseWriteEnd()
{
   if (ends[1] >= 0) {
      close(ends[1]);
      ends[1] = -1;
   }
}

TestProcess::TestProcess(std::vector<std::string> const& arguments, Environment const& environment)
   : outputFd(OpenOutputFile())
{
   pid = fork();
   Check(pid >= 0, "fork");
   if (pid == 0) {
      dup2(outputFd, 1);
      dup2(outputFd, 2);
      Execute(arguments, environment);
   }
}

TestProcess TestProcess::MakeIdle()
{
   TestProcess idle;
   idle.pid = fork();
   Check(idle.pid >= 0, "fork");
   if (idle.pid == 0) {
      for (;;) {
         pause();
      }
   }
   return idle;
}

TestProcess::TestProcess(TestProcess&& other) noexcept
   : pid(std::exchange(other.pid, -1)), outputFd(std::exchange(other.outputFd, -1)),
     status(other.status)
{}

TestProcess::~TestProcess()
{
   if (pid > 0 && !status) {
      kill(pid, SIGKILL);
      Wait();
   }
   if (outputFd >= 0) {
      PassOnComplaints(GetOutput());
      close(outputFd);
   }
}

void TestProcess::Signal(int number) const
{
   if (!status) {
      kill(pid, number);
   }
}

std::optional<int> TestProcess::Wait(Milliseconds deadline)
{
   if (status) {
      return status;
   }
   int const pidFd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
   Check(pidFd >= 0, "pidfd_open");
   pollfd event{pidFd, POLLIN, 0};
   int const ready = poll(&event, 1, static_cast<int>(deadline.count()));
   close(pidFd);
   if (ready <= 0) {
      return {};
   }
   int result = 0;
   Check(waitpid(pid, &result, 0) == pid, "waitpid");
   status = result;
   return status;
}

std::string TestProcess::GetOutput() const
{
   std::string text;
   char buffer[4096];
   off_t position = 0;
   ssize_t count;
   while ((count = pread(outputFd, buffer, sizeof buffer, position)) > 0) {
      text.append(buffer, static_cast<std::size_t>(count));
      position += count;
   }
   return text;
}

bool ExitedWith(std::optional<int> const& status, int exitStatus)
{
   return status && WIFEXITED(*status) && WEXITSTATUS(*status) == exitStatus;
}

bool KilledBy(std::optional<int> const& status, int signalNumber)
{
   return status && WIFSIGNALED(*status) && WTERMSIG(*status) == signalNumber;
}

void Pause()
{
   usleep(5000);
}

} // namespace test
