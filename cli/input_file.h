// Input for the command: a file or standard input.
#pragma once

#include <string>

namespace tagwriter {

/// The path that stands for standard input.
inline constexpr char kStandardInput[] = "-";

/// Reads all of the file at `path`, which may be a pipe. Throws UsageError with the path and the
/// reason.
std::string readFileOrPipe(const std::string& path);

/// As readFileOrPipe, but kStandardInput stands for standard input.
std::string readInput(const std::string& path);

}  // namespace tagwriter
