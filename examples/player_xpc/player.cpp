// A minimal player for macOS: writes a title to files through the XPC service in its bundle.
//
//   player TITLE FILE...
//
// The program must be in an application bundle that contains the service: see CMakeLists.txt.

#include <fcntl.h>
#include <unistd.h>
#include <xpc/xpc.h>

#include <cstdio>
#include <initializer_list>

namespace {

/// Truncates the file that the service asks for. The service waits for the reply, so this must not
/// wait for the service; XPC calls it on a thread of its own.
void truncateFile(xpc_object_t request) {
  xpc_object_t reply = xpc_dictionary_create_reply(request);
  if (!reply) return;
  const int file = xpc_dictionary_dup_fd(request, "fd");
  const auto size = static_cast<off_t>(xpc_dictionary_get_uint64(request, "truncatesize"));
  // The service does not look into the reply: a player that wants to know keeps the result itself.
  if (ftruncate(file, size) != 0) std::perror("ftruncate");
  if (file >= 0) close(file);
  xpc_connection_send_message(xpc_dictionary_get_remote_connection(reply), reply);
  xpc_release(reply);
}

void serveTruncation(xpc_connection_t service) {
  xpc_connection_set_event_handler(service, ^(xpc_object_t event) {
    if (xpc_get_type(event) == XPC_TYPE_DICTIONARY) truncateFile(event);
  });
  xpc_connection_resume(service);
}

/// Starts to listen for the service's requests to truncate a file. The caller owns the listener,
/// and cancels and releases it in the end.
xpc_connection_t listenForTruncation() {
  xpc_connection_t listener = xpc_connection_create(nullptr, nullptr);
  xpc_connection_set_event_handler(listener, ^(xpc_object_t event) {
    if (xpc_get_type(event) != XPC_TYPE_CONNECTION) return;
    serveTruncation(static_cast<xpc_connection_t>(event));
  });
  xpc_connection_resume(listener);
  return listener;
}

/// Connects to the service, which the system starts at the first message.
xpc_connection_t connectToService() {
  xpc_connection_t service = xpc_connection_create("org.tagwriter.TagWriter", nullptr);
  xpc_connection_set_event_handler(service, ^(xpc_object_t){
                                       // Each request gets its own error as the reply, and the next
                                       // one starts the service again.
                                   });
  xpc_connection_resume(service);
  return service;
}

/// Writes `title` to the file at `path`. Returns the service's result.
bool writeTitle(xpc_connection_t service, xpc_connection_t truncation, const char* path,
                const char* title) {
  const int file = open(path, O_RDWR | O_CLOEXEC);
  if (file < 0) return false;
  xpc_object_t track = xpc_dictionary_create(nullptr, nullptr, 0);
  xpc_dictionary_set_string(track, "title", title);
  xpc_object_t request = xpc_dictionary_create(nullptr, nullptr, 0);
  xpc_dictionary_set_fd(request, "fd", file);
  xpc_dictionary_set_string(request, "path", path);
  xpc_dictionary_set_string(request, "changedtag", "title");
  xpc_dictionary_set_value(request, "track", track);
  xpc_dictionary_set_connection(request, "truncateconnection", truncation);

  // Blocks until the file is written: a player with a window does this on a background queue.
  xpc_object_t reply = xpc_connection_send_message_with_reply_sync(service, request);
  const bool result =
      xpc_get_type(reply) == XPC_TYPE_DICTIONARY && xpc_dictionary_get_bool(reply, "result");
  xpc_release(reply);
  xpc_release(request);
  xpc_release(track);
  close(file);
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: player TITLE FILE...\n", stderr);
    return 2;
  }
  // Keep both as long as the player runs.
  xpc_connection_t service = connectToService();
  xpc_connection_t truncation = listenForTruncation();
  bool allWritten = true;
  for (int i = 2; i < argc; ++i) {
    const bool written = writeTitle(service, truncation, argv[i], argv[1]);
    std::printf("%s: %s\n", argv[i], written ? "written" : "not written");
    allWritten = allWritten && written;
  }
  for (xpc_connection_t connection : {service, truncation}) {
    xpc_connection_cancel(connection);
    xpc_release(connection);
  }
  return allWritten ? 0 : 1;
}
