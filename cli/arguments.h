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

/// "set": the fields to write, in the order given.
struct SetArguments {
  std::vector<FieldAssignment> fields;
  std::vector<std::string> files;
};

/// "clear": the fields to remove, in the order given.
struct ClearArguments {
  std::vector<std::string> keys;
  std::vector<std::string> files;
};

/// "cover": the image to store, or none to remove all pictures.
struct CoverArguments {
  std::string image;
  std::optional<ImageType> type;  ///< by the image's first bytes when absent
  bool replace = false;
  bool clear = false;
  std::vector<std::string> files;
};

/// "show".
struct ShowArguments {
  std::vector<std::string> files;
};

/// The command line was answered while parsing (help, version, a usage error).
struct ExitNow {
  int code;
};

using Arguments =
    std::variant<ExitNow, SetArguments, ClearArguments, CoverArguments, ShowArguments>;

/// Parses the command line; prints help to standard output and usage errors to standard error.
Arguments parseArguments(int argc, const char* const* argv);

}  // namespace tagwriter
