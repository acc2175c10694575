// Several workers process files at the same time; the report has the order of the files.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "cli/interruption.h"
#include "cli/progress.h"
#include "cli/report.h"

namespace tagwriter {

/// Distributes files among workers. Paths that lead to the same file go to one worker, one after
/// the other: two must not edit it at the same time.
class WorkQueue {
 public:
  /// Processes the file with this index, and returns the report that keeps what there is to say.
  using Work = std::function<Report&(std::size_t index)>;

  /// The arguments are borrowed, except for the paths. At most `workers` files are processed at the
  /// same time, and none is begun once `interruption` is requested.
  WorkQueue(const std::vector<std::string>& paths, unsigned workers,
            const Interruption& interruption, Progress& progress, Report& report);

  /// Starts the workers, each with a Work of its own from `makeWork`, and waits for them. With one
  /// worker, no thread is started.
  void run(const std::function<Work()>& makeWork);

  /// How many files have been processed.
  std::size_t done() const { return done_; }

 private:
  using Group = std::vector<std::size_t>;

  void runWorker(const Work& work);
  const Group* next();
  bool begin();
  void finish(std::size_t index, Report& report);

  unsigned workers_;
  const Interruption& interruption_;
  Progress& progress_;
  Report& report_;
  std::vector<Group> groups_;

  std::mutex mutex_;  // of what follows, the progress and the report
  std::size_t nextGroup_ = 0;
  std::size_t done_ = 0;
  std::size_t nextToPrint_ = 0;
  std::map<std::size_t, std::vector<ReportLine>> waiting_;  ///< reports that are not yet printed
};

}  // namespace tagwriter
