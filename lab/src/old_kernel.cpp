// lab-old-kernel: runs a command on what looks like an older kernel, for proot, which does not know the system calls
// below: where they fail with ENOSYS, the C library uses the ones before them. No privilege is needed, and no child of
// the command gets any (set-user-id programs lose theirs).
//   lab-old-kernel COMMAND [ARG...]
// Exit status 125: the calls cannot be refused, 127: COMMAND cannot be started.

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>

int main(int, char** argv) {
  // A jump counts the instructions that it leaves out.
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_statx, 4, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_faccessat2, 3, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_openat2, 2, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone3, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
  };
  const sock_fprog filter{sizeof program / sizeof *program, program};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) {
    std::perror("lab-old-kernel");
    return 125;
  }
  execvp(argv[1], argv + 1);
  std::perror(argv[1]);
  return 127;
}
