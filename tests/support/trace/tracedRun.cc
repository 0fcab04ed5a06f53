// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/trace/tracedRun.hh"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <map>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

using Clock = std::chrono::steady_clock;

void Check(bool works, char const* what)
{
   if (!works) {
      throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
   }
}

constexpr int syscallStop = SIGTRAP | 0x80; // PTRACE_O_TRACESYSGOOD

// Our children's stops and ends, waited for with a deadline.
class ChildSignal {
public:
   ChildSignal()
   {
      sigemptyset(&wanted);
      sigaddset(&wanted, SIGCHLD);
      pthread_sigmask(SIG_BLOCK, &wanted, &before);
   }
   ~ChildSignal() { Restore(); }
   ChildSignal(ChildSignal const&) = delete;
   ChildSignal& operator=(ChildSignal const&) = delete;

   // In the child, which is to find the signals as they were.
   void Restore() const { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

   // The next child that stopped or ended; 0 at the deadline.
   pid_t Wait(Clock::time_point end, int& status) const
   {
      for (;;) {
         pid_t const pid = waitpid(-1, &status, __WALL | WNOHANG);
         auto const left = end - Clock::now();
         if (pid != 0 || left.count() <= 0) {
            return pid;
         }
         auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
         timespec const timeout{seconds.count(), (left - seconds).count()};
         sigtimedwait(&wanted, nullptr, &timeout);
      }
   }

private:
   sigset_t wanted;
   sigset_t before;
};

struct Process {
   int number = 0;
   int calls = 0;
   bool isBorn = false;        // has had its first stop
   bool watched = false;       // from the work's beginning on
   bool killAtExec = false;    // its next program is to die
   std::optional<long> result; // what the call that it is in is to return
};

class Tracer {
public:
   Tracer(std::optional<Fault> const& wantedFault, Milliseconds deadline)
      : fault(wantedFault), end(Clock::now() + deadline)
   {}

   TracedRun Run(TracedWork const& work);

private:
   std::optional<Fault> const fault;
   Clock::time_point const end;
   ChildSignal signals;
   std::map<pid_t, Process> processes;
   pid_t own = 0;
   int forked = 0;
   bool isWatched = false; // the work has begun
   bool hit = false;
   TracedRun run;

   [[noreturn]] void RunInChild(TracedWork const& work) const;
   void Follow();
   void KillAll();
   void OnEnd(pid_t pid, int status);
   void OnStop(pid_t pid, int status);
   Process& Know(pid_t pid);
   void OnEvent(pid_t pid, Process& process, int event);
   // The stop that this signal makes is the work's beginning or its end.
   void OnMark(pid_t pid, Process& process);
   void OnCall(pid_t pid, Process& process);
   void OnEntry(pid_t pid, Process& process, __ptrace_syscall_info const& info);
   void Strike(pid_t pid, Process& process, SystemCall const& call);
   void Resume(pid_t pid, Process const& process, int signal = 0);
   void Detach(pid_t pid);
};

void Tracer::RunInChild(TracedWork const& work) const
{
   signals.Restore();
   int status = 125;
   try {
      Check(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0, "be traced");
      raise(SIGSTOP);
      work.prepare();
      raise(SIGSTOP);
      work.work();
      raise(SIGSTOP);
      status = work.finish();
   } catch (std::exception const& error) {
      fprintf(stderr, "%s\n", error.what());
   }
   _exit(status);
}

TracedRun Tracer::Run(TracedWork const& work)
{
   fflush(nullptr);
   own = fork();
   Check(own >= 0, "fork");
   if (own == 0) {
      RunInChild(work);
   }
   int status = 0;
   Check(waitpid(own, &status, 0) == own && WIFSTOPPED(status), "start a child");
   long const options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                        PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL;
   Check(ptrace(PTRACE_SETOPTIONS, own, nullptr, options) == 0, "trace a child");
   processes[own].isBorn = true;
   Resume(own, processes[own]);
   Follow();
   return run;
}

void Tracer::Follow()
{
   while (!run.status || !processes.empty()) {
      int status = 0;
      pid_t const pid = signals.Wait(end, status);
      if (pid <= 0) {
         KillAll();
         return;
      }
      if (WIFSTOPPED(status)) {
         OnStop(pid, status);
      } else {
         OnEnd(pid, status);
      }
   }
}

void Tracer::KillAll()
{
   run.status.reset();
   processes[own];
   for (auto const& [pid, process] : processes) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, __WALL);
   }
}

void Tracer::OnEnd(pid_t pid, int status)
{
   processes.erase(pid);
   if (pid == own) {
      run.status = status;
   }
}

void Tracer::OnStop(pid_t pid, int status)
{
   int const signal = WSTOPSIG(status);
   auto& process = Know(pid);
   if (!std::exchange(process.isBorn, true)) {
      // The first stop of a forked one isn't its own doing.
      Resume(pid, process);
   } else if (signal == syscallStop) {
      OnCall(pid, process);
   } else if (status >> 16 != 0) {
      OnEvent(pid, process, status >> 16);
   } else if (signal == SIGSTOP && pid == own) {
      OnMark(pid, process);
   } else {
      Resume(pid, process, signal);
   }
}

// A new one may be told by its parent's fork or by its own first stop, whichever comes first. It is
// waited for, also when the parent dies in between.
Process& Tracer::Know(pid_t pid)
{
   auto const [entry, isNew] = processes.try_emplace(pid);
   if (isNew) {
      entry->second.watched = isWatched;
      entry->second.number = isWatched ? ++forked : 0;
   }
   return entry->second;
}

void Tracer::OnEvent(pid_t pid, Process& process, int event)
{
   if (event == PTRACE_EVENT_EXEC) {
      if (process.killAtExec) {
         kill(pid, SIGKILL);
      }
      Detach(pid);
      return;
   }
   unsigned long child = 0;
   ptrace(PTRACE_GETEVENTMSG, pid, nullptr, &child);
   Know(static_cast<pid_t>(child));
   Resume(pid, process);
}

void Tracer::OnMark(pid_t pid, Process& process)
{
   if (process.watched) {
      Detach(pid);
      return;
   }
   process.watched = true;
   isWatched = true;
   Resume(pid, process);
}

void Tracer::OnCall(pid_t pid, Process& process)
{
   __ptrace_syscall_info info{};
   if (ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof info, &info) < 0) {
      return; // killed meanwhile
   }
   if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      OnEntry(pid, process, info);
   } else if (process.result) {
      user_regs_struct registers{};
      ptrace(PTRACE_GETREGS, pid, nullptr, &registers);
      registers.rax = static_cast<unsigned long long>(*process.result);
      ptrace(PTRACE_SETREGS, pid, nullptr, &registers);
      process.result.reset();
   }
   Resume(pid, process);
}

void Tracer::OnEntry(pid_t pid, Process& process, __ptrace_syscall_info const& info)
{
   SystemCall call;
   call.process = process.number;
   call.index = process.calls++;
   call.number = static_cast<int>(info.entry.nr);
   for (std::size_t at = 0; at < call.arguments.size(); ++at) {
      call.arguments[at] = info.entry.args[at];
   }
   bool const isStruck = fault && !hit && fault->process == call.process &&
                         fault->index <= call.index && fault->number == call.number;
   if (!fault || isStruck) {
      call.object = DescribeObject(pid, call);
      run.calls.push_back(call);
   }
   if (isStruck) {
      hit = true;
      Strike(pid, process, call);
   }
}

void Tracer::Strike(pid_t pid, Process& process, SystemCall const& call)
{
   if (fault->kind == Fault::Kind::Kill) {
      kill(own, SIGKILL);
      return;
   }
   if (fault->kind == Fault::Kind::KillProgram) {
      process.killAtExec = true;
      return;
   }
   user_regs_struct registers{};
   ptrace(PTRACE_GETREGS, pid, nullptr, &registers);
   if (fault->kind == Fault::Kind::Shorten) {
      registers.rdx = (registers.rdx + 1) / 2;
   } else {
      registers.orig_rax = static_cast<unsigned long long>(-1);
      // It has no errors, but returns an end of memory that is too low.
      process.result = call.number == SYS_brk ? 0 : -fault->error;
   }
   ptrace(PTRACE_SETREGS, pid, nullptr, &registers);
}

// Once the fault has struck, nothing more is of interest but the new programs.
void Tracer::Resume(pid_t pid, Process const& process, int signal)
{
   bool const isDone = hit && !process.result;
   ptrace(process.watched && !isDone ? PTRACE_SYSCALL : PTRACE_CONT, pid, nullptr, signal);
}

void Tracer::Detach(pid_t pid)
{
   ptrace(PTRACE_DETACH, pid, nullptr, nullptr);
   if (pid != own) {
      processes.erase(pid);
   }
}

std::string Probe()
{
   try {
      auto const run = RunTraced({.work = [] { getppid(); }});
      return run.calls.empty() ? "system calls can't be traced here" : "";
   } catch (std::exception const& error) {
      return std::string("system calls can't be traced here: ") + error.what();
   }
}

} // namespace

std::string Fault::ToString() const
{
   switch (kind) {
   case Kind::Fail:
      return std::string("fails with ") + strerrorname_np(error);
   case Kind::Shorten:
      return "handles a part";
   case Kind::Kill:
      return "never comes, as the process is killed";
   case Kind::KillProgram:
      return "starts a program that is killed";
   }
   return {};
}

std::string const& GetTraceProblem()
{
   static std::string const problem = Probe();
   return problem;
}

std::optional<int> RunUntraced(TracedWork const& work, Milliseconds deadline)
{
   ChildSignal const signals;
   fflush(nullptr);
   pid_t const child = fork();
   Check(child >= 0, "fork");
   if (child == 0) {
      signals.Restore();
      work.prepare();
      work.work();
      _exit(work.finish());
   }
   int status = 0;
   if (signals.Wait(Clock::now() + deadline, status) == child) {
      return status;
   }
   kill(child, SIGKILL);
   waitpid(child, nullptr, 0);
   return {};
}

TracedRun RunTraced(TracedWork const& work, std::optional<Fault> const& fault,
                    Milliseconds deadline)
{
   return Tracer(fault, deadline).Run(work);
}

} // namespace test
