// What a confined process keeps: its system calls and its memory. It gives up everything else.
#pragma once

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include "confinement/confine.h"
#include "confinement/linux/rule.h"

namespace tagwriter::confinement {

/// Address space in bytes: twice what TagLib takes to write a text of 60 MiB, nearly the longest
/// that fits into a message.
inline constexpr unsigned long kMaxAddressSpace = 2UL << 30;

// Newer than some headers.
inline constexpr unsigned kPeerPidFd = 77;           // SO_PEERPIDFD
inline constexpr unsigned kNameMemory = 0x53564d41;  // PR_SET_VMA

/// What any confined process keeps. Where libraries differ in the call that they use for a
/// purpose, all of these calls are here. There is no newfstatat, because it takes a path: see
/// fstat in confine.cpp.
inline constexpr Rule kForEveryProcess[] = {
    // Messages and descriptors of the player.
    allow(SYS_recvmsg),
    allow(SYS_sendmsg),
    allow(SYS_ppoll),
#ifdef SYS_poll  // not on newer architectures
    allow(SYS_poll),
#endif
    allow(SYS_shutdown),
    allow(SYS_getsockname),
    allow(SYS_getpeername),
    allow(SYS_getsockopt, isOneOf(1, SOL_SOCKET),
          isOneOf(2, SO_TYPE, SO_SNDBUF, SO_RCVBUF, SO_PEERCRED, SO_ACCEPTCONN, SO_PEERSEC,
                  SO_DOMAIN, SO_PEERGROUPS, kPeerPidFd)),
    allow(SYS_setsockopt, isOneOf(1, SOL_SOCKET),
          isOneOf(2, SO_SNDBUF, SO_RCVBUF, SO_SNDBUFFORCE, SO_RCVBUFFORCE)),
    allow(SYS_fcntl, isOneOf(1, F_GETFD, F_SETFD, F_GETFL, F_SETFL, F_DUPFD_CLOEXEC)),
    allow(SYS_close),

    // The file.
    allow(SYS_fstat),
    allow(SYS_lseek),
    allow(SYS_read),
    allow(SYS_pread64),
    allow(SYS_setitimer, isOneOf(0, ITIMER_PROF)),  // a limit of CPU time

    // Libraries look for files that they can do without.
    refuse(SYS_openat),

    // Memory: private and never executable.
    allow(SYS_brk),
    allow(SYS_mmap, hasNoneOf(2, PROT_EXEC), hasAllOf(3, MAP_ANONYMOUS), hasNoneOf(3, MAP_SHARED)),
    allow(SYS_mprotect, hasNoneOf(2, PROT_EXEC)),
    allow(SYS_mremap),
    allow(SYS_munmap),
    allow(SYS_madvise),
    allow(SYS_getcpu),  // on machines with several memory nodes
    allow(SYS_prctl, isOneOf(0, kNameMemory)),

    // The log: standard error only.
    allow(SYS_write, isOneOf(0, STDERR_FILENO)),
    allow(SYS_writev, isOneOf(0, STDERR_FILENO)),

    // Its own life. The kernel itself calls restart_syscall, after the process was stopped.
    allow(SYS_clock_gettime),
    allow(SYS_getrandom),
    allow(SYS_getpid),
    allow(SYS_gettid),
    allow(SYS_futex, isOneOf(1, FUTEX_WAIT_PRIVATE, FUTEX_WAKE_PRIVATE, FUTEX_WAIT_BITSET_PRIVATE,
                             FUTEX_WAIT_BITSET_PRIVATE | FUTEX_CLOCK_REALTIME)),
    allow(SYS_rt_sigprocmask),
    allow(SYS_rt_sigaction),
    allow(SYS_tgkill, isOwnProcess(0)),  // abort()
    allow(SYS_restart_syscall),
    allow(SYS_exit_group),
};

/// What one that edits files keeps besides.
inline constexpr Rule kForEditing[] = {
    allow(SYS_pwrite64),
    allow(SYS_fallocate, isOneOf(1, FALLOC_FL_KEEP_SIZE)),
    allow(SYS_ftruncate),
    // Reads that limit. Only half of the pointer is compared, so it could be set, too.
    allow(SYS_prlimit64, isOneOf(0, 0), isOneOf(1, RLIMIT_FSIZE), isOneOf(2, 0)),
};

}  // namespace tagwriter::confinement
