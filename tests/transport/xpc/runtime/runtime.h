// An XPC runtime in one process, for tests of the macOS sources on Linux.
//
// It keeps the rules of the platform that can be broken: reference counts, types of values,
// messages that are copied, one event at a time for each connection, events on other threads, one
// reply for each message, connections that must be resumed. It stops the program when one of them
// is broken in a way that the platform leaves undefined.
#pragma once

#include <string>
#include <vector>

namespace tagwriter::test::runtime {

/// The name under which players find the service that has called xpc_main.
inline constexpr char kServiceName[] = "org.tagwriter.TagWriter";

/// What xpc_main runs instead of waiting for players: the tests. Returns the exit status.
int runProgram();

/// Stops the program: the tested code has broken a rule.
[[noreturn]] void fail(const char* rule);

/// Waits until no event is being handled and none is waiting.
void waitUntilIdle();

/// How many objects exist. The service's own listener is not counted.
int liveObjects();

/// A queue that was created with dispatch_queue_create.
struct QueueRecord {
  std::string label;
  int itemsRun;
};
/// All queues that exist, in the order of their creation.
std::vector<QueueRecord> queues();

/// Takes the lines that were written with syslog since the last call.
std::vector<std::string> takeSystemLog();

}  // namespace tagwriter::test::runtime
