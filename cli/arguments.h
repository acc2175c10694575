// The command line: what the user asked for, and the exit codes.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "cli/json_fields.h"

namespace tagwriter {

/// Exit codes of every command.
inline constexpr int kExitDone = 0;    ///< everything succeeded
inline constexpr int kExitFailed = 1;  ///< something failed and was reported on standard error
inline constexpr int kExitUsage = 2;   ///< wrong usage; nothing was done

/// The files to process, and how to report on them.
struct FileOptions {
  std::vector<std::string> paths;
  bool recursive = false;  ///< process the audio files in directories
  bool json = false;       ///< print one JSON object per line on standard output
};

/// The options of the commands that write.
struct EditOptions : FileOptions {
  bool safe = false;
  bool keepTimes = false;
  bool force = false;   ///< write into files that are not audio, too
  bool bus = false;     ///< use the session bus instead of a private worker
  bool dryRun = false;  ///< print what would be written, and write nothing
  bool quiet = false;   ///< print only errors
  unsigned jobs = 1;    ///< how many workers edit files at the same time
};

/// `set`: the fields to write, in the given order. Either `fields` for each of the options' paths,
/// or `files` if the input names the files.
struct SetArguments {
  std::vector<FieldAssignment> fields;
  std::vector<FileFields> files;
  EditOptions options;
};

/// `clear`: the fields to clear, in the given order.
struct ClearArguments {
  std::vector<std::string> keys;
  EditOptions options;
};

/// `cover`: the cover to store, or `clear` to remove all pictures.
struct CoverArguments {
  std::string cover;              ///< its path
  std::optional<ImageType> type;  ///< nullopt: detected from the first bytes
  bool replace = false;
  bool clear = false;
  EditOptions options;
};

/// `cover --extract`.
struct ExtractArguments {
  FileOptions options;
  std::string directory;  ///< where to put the pictures; empty: beside each audio file
  bool replace = false;   ///< replace files that exist
  bool quiet = false;
};

/// `copy`: from a file into those in `options`.
struct CopyArguments {
  std::string from;
  std::vector<std::string> keys;  ///< the fields; if empty, all of them and the front cover
  bool replace = false;           ///< replace existing pictures
  EditOptions options;
};

/// `show`.
struct ShowArguments {
  std::vector<std::string> keys;  ///< if not empty, only the values of these fields
  bool all = false;               ///< also all tags, as TagLib names them
  FileOptions options;
};

/// The command line was handled by the parser (help, or a usage error).
struct ExitNow {
  int code;
};

using Arguments = std::variant<ExitNow, SetArguments, ClearArguments, CoverArguments,
                               ExtractArguments, CopyArguments, ShowArguments>;

/// Parses the command line. Prints help to standard output and usage errors to standard error.
Arguments parseArguments(int argc, const char* const* argv);

}  // namespace tagwriter
