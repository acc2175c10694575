// Everything that the service says besides its answers: one place, one sink.
#pragma once

#include <functional>
#include <string_view>

namespace tagwriter {

/// Receives each piece of diagnostic text as it is written, line ends included.
using LogSink = std::function<void(std::string_view)>;

/// Sends all later diagnostics to `sink`; an empty one stands for standard error. Returns the sink
/// that was there, for putting it back. Not to be called while work is under way.
LogSink setLogSink(LogSink sink);

/// Writes one formatted line, its line end added here. A null string shows as "(null)".
[[gnu::format(printf, 1, 2)]] void logLine(const char* format, ...);

/// Writes formatted text as it stands, without a line end of its own: the voice of the file stream,
/// most of whose messages have none.
[[gnu::format(printf, 1, 2)]] void logText(const char* format, ...);

}  // namespace tagwriter
