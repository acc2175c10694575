// Preloaded into a service: before it receives a message, it tries to truncate a file. There is
// none, so the call fails; but a process that may not truncate at all is killed.
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" ssize_t recvmsg(int fd, msghdr* message, int flags) {
  (void)!::ftruncate(-1, 0);
  return ::syscall(SYS_recvmsg, fd, message, flags);
}
