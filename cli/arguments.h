// The command line: what the user asked for, and the exit codes.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "cli/field_value.h"

namespace tagwriter {

/// Exit codes of every command.
inline constexpr int kExitDone = 0;    ///< all done
inline constexpr int kExitFailed = 1;  ///< something failed and was named on standard error
inline constexpr int kExitUsage = 2;   ///< the command line was wrong; nothing was done

/// The files that a verb works through, and how it talks about them.
struct FileOptions {
  std::vector<std::string> paths;
  bool recursive = false;  ///< go into directories
  bool json = false;       ///< one JSON object a line on standard output
};

/// How the verbs that write do it.
struct EditOptions : FileOptions {
  bool safe = false;
  bool keepTimes = false;
  bool bus = false;     ///< through the session bus instead of a worker of one's own
  bool dryRun = false;  ///< say what would be sent, and send nothing
  bool quiet = false;   ///< nothing but errors
};

/// "set": the fields to write, in the order given.
struct SetArguments {
  std::vector<FieldAssignment> fields;
  EditOptions options;
};

/// "clear": the fields to remove, in the order given.
struct ClearArguments {
  std::vector<std::string> keys;
  EditOptions options;
};

/// "cover": the image to store, or none to remove all pictures.
struct CoverArguments {
  std::string image;
  std::optional<ImageType> type;  ///< by the image's first bytes when absent
  bool replace = false;
  bool clear = false;
  EditOptions options;
};

/// "show".
struct ShowArguments {
  FileOptions options;
};

/// The command line was answered while parsing (help, completions, a usage error).
struct ExitNow {
  int code;
};

using Arguments =
    std::variant<ExitNow, SetArguments, ClearArguments, CoverArguments, ShowArguments>;

/// Parses the command line; prints help and completions to standard output and usage errors to
/// standard error.
Arguments parseArguments(int argc, const char* const* argv);

}  // namespace tagwriter
