#include "tests/faults/worker.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <new>
#include <system_error>

#include "io/lost_writes.h"
#include "protocol/keys.h"
#include "service/request_handler.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

/// The player's end of a truncation.
class PlayersTruncation final : public TruncationConnection {
 public:
  std::optional<std::string> truncate(int fd, std::uint64_t size) override {
    if (::ftruncate(fd, static_cast<off_t>(size)) == 0) return {};
    return std::strerror(errno);
  }
};

void require(bool success, const char* what) {
  if (!success) throw std::system_error(errno, std::generic_category(), what);
}

void setContents(int fd, const std::string& bytes) {
  const auto size = static_cast<off_t>(bytes.size());
  require(::ftruncate(fd, size) == 0 && ::lseek(fd, 0, SEEK_SET) == 0 &&
              ::pwrite(fd, bytes.data(), bytes.size(), 0) == size,
          "cannot prepare the file");
}

Outcome outcomeOf(const std::string& bytes, const Task& task) {
  if (bytes == task.before) return Outcome::kBefore;
  if (bytes == task.planned) return Outcome::kWritten;
  if (bytes.starts_with(task.before)) return Outcome::kBeforeAndMore;
  if (bytes.starts_with(task.planned)) return Outcome::kWrittenAndMore;
  return Outcome::kDamaged;
}

}  // namespace

Worker::Worker() : file_(::memfd_create("music", MFD_CLOEXEC)) {
  void* memory =
      ::mmap(nullptr, sizeof(Trace), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  require(memory != MAP_FAILED, "mmap");
  trace_ = new (memory) Trace;
  setUpOnce();
}

Worker::~Worker() {
  ::munmap(trace_, sizeof(Trace));
}

std::vector<Attempt> Worker::run(const Task& task, const std::vector<Fault>& faults) {
  std::vector<Attempt> attempts;
  while (attempts.size() < faults.size()) {
    int ends[2];
    require(::pipe2(ends, O_CLOEXEC) == 0, "pipe");
    const UniqueFd results(ends[0]);
    UniqueFd theirs(ends[1]);
    const pid_t child = ::fork();
    require(child >= 0, "fork");
    if (child == 0) {
      runFrom(attempts.size(), task, faults, theirs.get());
      ::_exit(0);
    }
    theirs.reset();
    for (Attempt attempt; ::read(results.get(), &attempt, sizeof attempt) == sizeof attempt;) {
      attempts.push_back(attempt);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (status != 0) attempts.push_back(attempt(task, status));
  }
  return attempts;
}

/// The child's part: all requests from the `first` on.
void Worker::runFrom(std::size_t first, const Task& task, const std::vector<Fault>& faults,
                     int results) {
  constexpr unsigned kMaxSeconds = 60;
  const LogCapture log;
  for (std::size_t i = first; i < faults.size(); ++i) {
    ::alarm(kMaxSeconds);
    setContents(file_.get(), task.before);
    answer(task, faults[i]);
    const Attempt done = attempt(task, 0);
    require(::write(results, &done, sizeof done) == sizeof done, "pipe");
  }
}

/// As tagwriterd does.
void Worker::answer(const Task& task, const Fault& fault) {
  ValueDictionary request([](int) { return std::make_unique<PlayersTruncation>(); });
  request.set(key::kFd, BorrowedFd{file_.get()});
  request.set(key::kPath, task.path);
  if (task.playerTruncates) request.set(key::kTruncateConnection, BorrowedFd{file_.get()});
  task.apply(request);
  *trace_ = Trace();
  startFault(file_.get(), fault, *trace_);
  const std::uint64_t lostBefore = lostWrites();
  trace_->result = handleRequest(request);
  trace_->incomplete = lostWrites() != lostBefore;
  trace_->replied = true;
  endFault();
}

Attempt Worker::attempt(const Task& task, int status) const {
  return {outcomeOf(bytes(), task),         trace_->replied, trace_->result, trace_->incomplete,
          trace_->oldBytesWrittenBeforeHit, trace_->hit,     status};
}

std::string Worker::bytes() const {
  std::string bytes(static_cast<std::size_t>(::lseek(file_.get(), 0, SEEK_END)), '\0');
  require(::pread(file_.get(), bytes.data(), bytes.size(), 0) >= 0, "cannot read the file");
  return bytes;
}

}  // namespace tagwriter::test
