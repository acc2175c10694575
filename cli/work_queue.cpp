#include "cli/work_queue.h"

#include <sys/stat.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace tagwriter {
namespace {

using FileIdentity = std::pair<dev_t, ino_t>;

/// The indices of the paths, with those of the same file together.
std::vector<std::vector<std::size_t>> groupsOf(const std::vector<std::string>& paths) {
  std::vector<std::vector<std::size_t>> groups;
  std::map<FileIdentity, std::size_t> known;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    struct stat status {};
    const bool exists = ::stat(paths[i].c_str(), &status) == 0;
    const FileIdentity identity(status.st_dev, status.st_ino);
    if (const auto found = known.find(identity); exists && found != known.end()) {
      groups[found->second].push_back(i);
      continue;
    }
    if (exists) known.emplace(identity, groups.size());
    groups.push_back({i});
  }
  return groups;
}

}  // namespace

WorkQueue::WorkQueue(const std::vector<std::string>& paths, unsigned workers,
                     const Interruption& interruption, Progress& progress, Report& report)
    : workers_(workers), interruption_(interruption), progress_(progress), report_(report) {
  if (workers > 1) {
    groups_ = groupsOf(paths);
  } else {
    for (std::size_t i = 0; i < paths.size(); ++i) groups_.push_back({i});
  }
}

void WorkQueue::run(const std::function<Work()>& makeWork) {
  if (workers_ == 1) {
    runWorker(makeWork());
  } else {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < std::min<std::size_t>(workers_, groups_.size()); ++i) {
      threads.emplace_back([&] { runWorker(makeWork()); });
    }
    for (std::thread& thread : threads) thread.join();
  }
  // After an interruption, some files in between may not have been processed.
  for (const auto& [index, lines] : waiting_) report_.print(lines);
}

void WorkQueue::runWorker(const Work& work) {
  while (const Group* group = next()) {
    for (const std::size_t index : *group) {
      if (!begin()) return;
      finish(index, work(index));
    }
  }
}

const WorkQueue::Group* WorkQueue::next() {
  const std::scoped_lock lock(mutex_);
  return nextGroup_ < groups_.size() ? &groups_[nextGroup_++] : nullptr;
}

bool WorkQueue::begin() {
  const std::scoped_lock lock(mutex_);
  if (interruption_.requested()) return false;
  progress_.show(done_);
  return true;
}

void WorkQueue::finish(std::size_t index, Report& report) {
  const std::scoped_lock lock(mutex_);
  ++done_;
  report_.add(report);
  waiting_.emplace(index, report.takeLines());
  for (auto first = waiting_.begin(); first != waiting_.end() && first->first == nextToPrint_;
       first = waiting_.begin()) {
    report_.print(first->second);
    waiting_.erase(first);
    ++nextToPrint_;
  }
}

}  // namespace tagwriter
