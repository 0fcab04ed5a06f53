// SPDX-License-Identifier: GPL-2.0-or-later
// A kernel that lacks a system call.
#pragma once

#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

namespace test {

// From now on the system call fails with error in this process, if its second argument is at least
// that large; that can't be undone. False if the kernel takes no such filter.
inline bool DenyCall(unsigned int number, unsigned int error, unsigned int argument = 0)
{
   sock_filter code[] = {
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 3, number},
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, args[1])}, // its lower half
      {BPF_JMP | BPF_JGE | BPF_K, 0, 1, argument},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | (error & SECCOMP_RET_DATA)},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
   };
   sock_fprog const program{sizeof code / sizeof *code, code};
   return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
          prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace test
