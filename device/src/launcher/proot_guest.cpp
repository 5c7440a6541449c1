#include "proot_guest.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace launcher {
namespace {

// proot translates the paths of the system calls that it knows and lets newer ones through, to the
// host's own /tmp and /mnt. Where such a call is missing, the C library uses an older one.
// By number where this system's headers may be older than its kernel.
constexpr unsigned kNewerCalls[] = {
    __NR_statx,
    __NR_clone3,
    __NR_openat2,
    __NR_faccessat2,
    __NR_io_uring_setup,
    452 /* fchmodat2 */,
    463 /* setxattrat */,
    464 /* getxattrat */,
    465 /* listxattrat */,
    466 /* removexattrat */,
};

bool DenyNewerCalls() {
  constexpr unsigned kMissing = SECCOMP_RET_ERRNO | ENOSYS;
  std::vector<sock_filter> filter = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
  };
  for (const unsigned call : kNewerCalls) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, kMissing));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

bool IsTraced() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("TracerPid:")) return !line.ends_with("\t0");
  }
  return false;
}

}  // namespace

bool BecomeProotGuest() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (!IsTraced()) return false;
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  // A leak sanitizer needs for itself what proot uses.
  setenv("LSAN_OPTIONS", "detect_leaks=0", 0);
  if (!DenyNewerCalls()) std::perror("quire-device: cannot deny the newer system calls");
  return true;
}

}  // namespace launcher
