#include "tests/confinement/attempts.h"

#include <fcntl.h>
#include <linux/keyctl.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

namespace tagwriter::test {
namespace {

constexpr char kPath[] = "/etc/passwd";
char* const kArguments[] = {const_cast<char*>("true"), nullptr};
char buffer[4096];

long map(int protection, int flags, int fd) {
  return ::mmap(nullptr, sizeof buffer, protection, flags, fd, 0) == MAP_FAILED ? -1 : 0;
}

long protect(int protection) {
  void* page = ::mmap(nullptr, sizeof buffer, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return ::mprotect(page, sizeof buffer, protection);
}

long connectToAbstractName(int socket) {
  const sockaddr_un name = {AF_UNIX, "\0tagwriter-nobody"};
  return ::connect(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name);
}

long runMemory(const char* name) {
  const int fd = static_cast<int>(::syscall(SYS_memfd_create, name, 0));
  return fd < 0 ? fd : ::syscall(SYS_execveat, fd, "", kArguments, environ, AT_EMPTY_PATH);
}

using H = const Handed&;

constexpr Attempt kAttempts[] = {
    {"open an absolute path", [](H) -> long { return ::open(kPath, O_RDONLY); }},
    {"open a relative path", [](H) -> long { return ::open("../x", O_RDONLY); }},
    {"open /proc/self/fd/0", [](H) -> long { return ::open("/proc/self/fd/0", O_RDONLY); }},
    {"open in a directory that was handed over",
     [](H h) -> long { return ::openat(h.directory, "file", O_RDONLY); }},
    {"create a file", [](H) -> long { return ::creat("new", 0600); }},
    {"openat2", [](H) { return ::syscall(SYS_openat2, AT_FDCWD, kPath, buffer, 24); }},
    {"open_by_handle_at",
     [](H h) { return ::syscall(SYS_open_by_handle_at, h.directory, buffer, O_RDONLY); }},
    {"status of a path",
     [](H) { return ::syscall(SYS_newfstatat, AT_FDCWD, kPath, buffer, AT_EMPTY_PATH); }},
    {"statx of a path", [](H) { return ::syscall(SYS_statx, AT_FDCWD, kPath, 0, 0, buffer); }},
    {"access to a path", [](H) -> long { return ::access(kPath, F_OK); }},
    {"read a symbolic link",
     [](H) -> long { return ::readlink("/proc/self/exe", buffer, sizeof buffer); }},
    {"list a directory",
     [](H h) { return ::syscall(SYS_getdents64, h.directory, buffer, sizeof buffer); }},
    {"change the directory", [](H) -> long { return ::chdir("/"); }},
    {"delete a file", [](H h) -> long { return ::unlinkat(h.directory, "file", 0); }},
    {"rename a file", [](H) -> long { return std::rename("file", "other"); }},
    {"link a file", [](H) -> long { return ::link("file", "other"); }},
    {"make a directory", [](H) -> long { return ::mkdir("new", 0700); }},
    {"truncate a path", [](H) -> long { return ::truncate("file", 0); }},
    {"change the mode of a file", [](H h) -> long { return ::fchmod(h.file, 0777); }},
    {"change the owner of a file", [](H h) -> long { return ::fchown(h.file, 1, 1); }},
    {"write with a shared mapping",
     [](H h) { return map(PROT_READ | PROT_WRITE, MAP_SHARED, h.file); }},
    {"punch a hole",
     [](H h) -> long {
       return ::fallocate(h.file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, 1);
     }},
    {"write to the file like to a log", [](H h) -> long { return ::write(h.file, "x", 1); }},

    {"a local socket", [](H) -> long { return ::socket(AF_UNIX, SOCK_STREAM, 0); }},
    {"an IPv4 socket", [](H) -> long { return ::socket(AF_INET, SOCK_STREAM, 0); }},
    {"an IPv6 socket", [](H) -> long { return ::socket(AF_INET6, SOCK_DGRAM, 0); }},
    {"a netlink socket", [](H) -> long { return ::socket(AF_NETLINK, SOCK_RAW, 0); }},
    {"a packet socket", [](H) -> long { return ::socket(AF_PACKET, SOCK_RAW, 0); }},
    {"a Bluetooth socket", [](H) -> long { return ::socket(AF_BLUETOOTH, SOCK_RAW, 0); }},
    {"a vsock socket", [](H) -> long { return ::socket(AF_VSOCK, SOCK_STREAM, 0); }},
    {"a cryptography socket", [](H) -> long { return ::socket(AF_ALG, SOCK_SEQPACKET, 0); }},
    {"a socketpair",
     [](H) -> long {
       int ends[2];
       return ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
     }},
    {"connect to an abstract socket", [](H h) { return connectToAbstractName(h.unbound); }},
    {"bind a socket",
     [](H h) -> long {
       const sockaddr_un any = {AF_UNIX, ""};
       return ::bind(h.unbound, reinterpret_cast<const sockaddr*>(&any), sizeof(sa_family_t));
     }},
    {"listen on a socket", [](H h) -> long { return ::listen(h.socket, 1); }},
    {"accept a connection", [](H h) -> long { return ::accept4(h.socket, nullptr, nullptr, 0); }},
    {"pass credentials",
     [](H h) -> long {
       const int on = 1;
       return ::setsockopt(h.socket, SOL_SOCKET, SO_PASSCRED, &on, sizeof on);
     }},
    {"attach a filter to a socket",
     [](H h) -> long { return ::setsockopt(h.socket, SOL_SOCKET, SO_ATTACH_FILTER, buffer, 16); }},

    {"execve", [](H) -> long { return ::execve("/bin/true", kArguments, environ); }},
    {"memfd and execveat", [](H) { return runMemory("program"); }},
    {"fork", [](H) -> long { return ::fork(); }},
    {"clone3", [](H) { return ::syscall(SYS_clone3, buffer, 64); }},
    {"start a thread",
     [](H) { return ::syscall(SYS_clone, CLONE_VM | CLONE_THREAD | CLONE_SIGHAND, nullptr); }},

    {"ptrace the parent",
     [](H h) -> long { return ::ptrace(PTRACE_ATTACH, h.parent, nullptr, nullptr); }},
    {"ptrace itself", [](H) -> long { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }},
    {"read the parent's memory",
     [](H h) -> long {
       const iovec one = {buffer, 1};
       return ::process_vm_readv(h.parent, &one, 1, &one, 1, 0);
     }},
    {"open the parent as a descriptor", [](H h) { return ::syscall(SYS_pidfd_open, h.parent, 0); }},
    {"kill the parent", [](H h) -> long { return ::kill(h.parent, 0); }},
    {"kill the parent's thread", [](H h) { return ::syscall(SYS_tgkill, h.parent, h.parent, 0); }},
    {"tkill", [](H h) { return ::syscall(SYS_tkill, h.parent, 0); }},
    {"queue a signal",
     [](H h) { return ::syscall(SYS_rt_sigqueueinfo, h.parent, SIGURG, buffer); }},
    {"have the kernel signal the parent",
     [](H h) -> long { return ::fcntl(h.socket, F_SETOWN, h.parent); }},
    {"change the parent's limits",
     [](H h) -> long { return ::prlimit(h.parent, RLIMIT_CORE, nullptr, nullptr); }},
    {"wait for a child", [](H) -> long { return ::waitpid(-1, nullptr, WNOHANG); }},

    {"map memory to run", [](H) { return map(PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1); }},
    {"map a file to run", [](H h) { return map(PROT_READ | PROT_EXEC, MAP_PRIVATE, h.file); }},
    {"make memory executable", [](H) { return protect(PROT_READ | PROT_EXEC); }},
    {"make memory executable with a key",
     [](H) { return ::syscall(SYS_pkey_mprotect, buffer, 4096, PROT_READ | PROT_EXEC, -1); }},
    {"shared memory",
     [](H) { return map(PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1); }},
    {"shmget", [](H) { return ::syscall(SYS_shmget, 0, 4096, 0600); }},

    {"io_uring", [](H) { return ::syscall(SYS_io_uring_setup, 1, buffer); }},
    {"userfaultfd", [](H) { return ::syscall(SYS_userfaultfd, 1); }},
    {"bpf", [](H) { return ::syscall(SYS_bpf, 0, buffer, 64); }},
    {"perf_event_open", [](H) { return ::syscall(SYS_perf_event_open, buffer, 0, -1, -1, 0); }},
    {"fanotify", [](H) { return ::syscall(SYS_fanotify_init, 0, 0); }},
    {"a timer that signals", [](H) { return ::syscall(SYS_timer_create, 0, nullptr, buffer); }},
    {"an alarm", [](H) { return ::syscall(SYS_setitimer, ITIMER_REAL, buffer, nullptr); }},
    {"ioctl", [](H) { return ::syscall(SYS_ioctl, STDERR_FILENO, 0x5412 /* TIOCSTI */, "x"); }},
    {"a futex of another kind", [](H) { return ::syscall(SYS_futex, buffer, 6, 0, 0, 0, 0); }},

    {"mount", [](H) { return ::syscall(SYS_mount, "none", "/nowhere", "tmpfs", 0, 0); }},
    {"setns", [](H h) -> long { return ::setns(h.directory, 0); }},
    {"unshare", [](H) -> long { return ::unshare(CLONE_NEWUSER); }},
    {"chroot", [](H) -> long { return ::chroot("/"); }},
    {"keyctl", [](H) { return ::syscall(SYS_keyctl, KEYCTL_GET_KEYRING_ID, -1, 0); }},
    {"setuid", [](H) { return ::syscall(SYS_setuid, 0); }},
    {"personality", [](H) { return ::syscall(SYS_personality, 0x0400000 /* read means run */); }},
    {"load a module", [](H h) { return ::syscall(SYS_finit_module, h.file, "", 0); }},

    {"prctl: new privileges", [](H) -> long { return ::prctl(PR_SET_NO_NEW_PRIVS, 0, 0, 0, 0); }},
    {"prctl: seccomp", [](H) -> long { return ::prctl(PR_SET_SECCOMP, 0, 0, 0, 0); }},
    {"prctl: core dumps", [](H) -> long { return ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); }},
    {"another filter", [](H) { return ::syscall(SYS_seccomp, 1, 0, buffer); }},
    {"another Landlock", [](H) { return ::syscall(SYS_landlock_create_ruleset, 0, 0, 1); }},
    {"raise a limit",
     [](H) -> long {
       const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
       return ::setrlimit(RLIMIT_AS, &none);
     }},
    {"a call that does not exist", [](H) { return ::syscall(9999); }},
#ifdef __x86_64__
    {"the numbers of x32", [](H) { return ::syscall(0x40000000 + SYS_getpid); }},
    {"the numbers of i386",
     [](H) -> long {
       long result = 20;  // getpid there, and writev here
       asm volatile("int $0x80" : "+a"(result) : "b"(STDERR_FILENO), "c"(0), "d"(0) : "memory");
       return result < 0 ? -1 : result;
     }},
#endif
};

constexpr Attempt kReading[] = {
    {"read the file", [](H h) -> long { return ::pread(h.file, buffer, 1, 0); }},
    {"status of the file",
     [](H h) -> long {
       struct stat status;
       return ::fstat(h.file, &status);
     }},
    {"log", [](H) -> long { return ::write(STDERR_FILENO, "", 0); }},
    {"send a message",
     [](H h) -> long {
       iovec part = {buffer, 1};
       msghdr message = {};
       message.msg_iov = &part;
       message.msg_iovlen = 1;
       return ::sendmsg(h.socket, &message, MSG_NOSIGNAL);
     }},
    {"duplicate a descriptor", [](H h) -> long { return ::fcntl(h.file, F_DUPFD_CLOEXEC, 3); }},
    {"use memory", [](H) -> long { return std::vector<char>(100 << 20, 'x').back() - 'x'; }},
    {"abort", [](H) { return ::syscall(SYS_tgkill, ::getpid(), ::syscall(SYS_gettid), 0); }},
};

constexpr Attempt kEditing[] = {
    {"write to the file", [](H h) -> long { return ::pwrite(h.file, "x", 1, 0); }},
    {"truncate the file", [](H h) -> long { return ::ftruncate(h.file, 1); }},
    {"read the limit of file sizes",
     [](H) -> long {
       rlimit limit;
       return ::getrlimit(RLIMIT_FSIZE, &limit);
     }},
    {"reserve room", [](H h) -> long { return ::fallocate(h.file, FALLOC_FL_KEEP_SIZE, 1, 1); }},
};

}  // namespace

std::span<const Attempt> attempts() {
  return kAttempts;
}

std::span<const Attempt> reading() {
  return kReading;
}

std::span<const Attempt> editing() {
  return kEditing;
}

}  // namespace tagwriter::test
