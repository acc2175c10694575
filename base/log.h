// Diagnostics of the service: everything that it reports besides its replies.
#pragma once

#include <functional>
#include <string_view>

namespace tagwriter {

/// Receives each diagnostic text as it is written, including its newline.
using LogSink = std::function<void(std::string_view)>;

/// Sends all further diagnostics to `sink`; an empty one means where they usually go. Returns the
/// previous sink. Not thread-safe: call it only while nothing is logging.
LogSink setLogSink(LogSink sink);

/// Writes one formatted line to the platform's log: on Linux standard error, on macOS the system
/// log. A null string is printed as "(null)".
[[gnu::format(printf, 1, 2)]] void logLine(const char* format, ...);

/// Writes formatted text to standard error, without adding a newline. Used by FDFileStream, most of
/// whose messages have none.
[[gnu::format(printf, 1, 2)]] void logText(const char* format, ...);

}  // namespace tagwriter
