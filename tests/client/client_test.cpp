#include "tests/client/client_test.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tagwriter::test {
namespace fs = std::filesystem;
namespace {

constexpr uid_t kNobody = 65534;

/// The parent of a process, or -1 when there is no such process.
pid_t parentOf(const fs::path& process) {
  std::ifstream file(process / "stat");
  std::stringstream text;
  text << file.rdbuf();
  // The program's name, in brackets, may hold anything.
  const std::size_t end = text.str().rfind(')');
  if (end == std::string::npos) return -1;
  std::istringstream rest(text.str().substr(end + 1));
  char state = '?';
  pid_t parent = -1;
  rest >> state >> parent;
  return parent;
}

}  // namespace

testing::AssertionResult isStatus(Status expected, const Outcome& outcome) {
  if (outcome.status() == expected) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "status " << static_cast<int>(outcome.status()) << " (" << outcome.message()
         << "), expected " << static_cast<int>(expected) << " (" << Outcome{expected}.message()
         << ")";
}

std::string ClientTest::script(const std::string& name, const std::string& text) const {
  const std::string path =
      directory_.write(name, "#!/bin/sh\nWORKER=" TAGWRITER_WORKER "\n" + text);
  fs::permissions(path, fs::perms::owner_all);
  return path;
}

std::string ClientTest::titleOf(const AudioFile& file) {
  const auto title = readField(file, "title");
  return title ? std::get<std::string>(*title) : "-";
}

std::string in(const TemporaryDirectory& directory, const std::string& name) {
  return directory.path() / name;
}

std::set<pid_t> children() {
  std::set<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") == std::string::npos &&
        parentOf(entry.path()) == ::getpid()) {
      found.insert(std::stoi(name));
    }
  }
  return found;
}

void killChild(pid_t pid) {
  ASSERT_EQ(::kill(pid, SIGKILL), 0) << std::strerror(errno);
  siginfo_t info{};
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
}

std::string workerForEveryone() {
  static const TemporaryDirectory directory;
  static const std::string copy = [] {
    fs::permissions(directory.path(), fs::perms::others_exec, fs::perm_options::add);
    const fs::path worker = TAGWRITER_WORKER;
    for (const char* name : {"tagwriterd", "tagreaderd"}) {
      fs::copy_file(worker.parent_path() / name, directory.path() / name);
    }
    return directory.path() / "tagwriterd";
  }();
  return copy;
}

int unprivileged(const TemporaryDirectory& directory, const std::function<int()>& work) {
  fs::permissions(directory.path(), fs::perms::others_exec, fs::perm_options::add);
  const pid_t child = ::fork();
  if (child == 0) {
    if (::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) ||
         ::setresuid(kNobody, kNobody, kNobody) != 0)) {
      ::_exit(101);
    }
    ::_exit(work());
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << status;
  EXPECT_LE(WEXITSTATUS(status), 100) << "the privileges could not be given up";
  return WEXITSTATUS(status);
}

void withoutStandardStreams(const std::function<void()>& work) {
  UniqueFd saved[3];
  for (int fd = 0; fd < 3; ++fd) {
    saved[fd] = duplicateFd(fd);
    ::close(fd);
  }
  work();
  for (int fd = 0; fd < 3; ++fd) {
    if (saved[fd]) ::dup2(saved[fd].get(), fd);
  }
}

std::vector<std::byte> imageBytes(const std::string& name) {
  const std::string text = readFile(dataFile(name));
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

}  // namespace tagwriter::test
