#include "service/track_change.h"

#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <variant>

#include "protocol/fields.h"
#include "tagging/core_fields.h"

namespace tagwriter {
namespace {

using StringWriter = bool (*)(int fd, const char* path, const char* value, const Dictionary&);
using Int64Writer = bool (*)(int fd, const char* path, std::int64_t value, const Dictionary&);

/// A field with its writer; the writer's type says which getter reads the value.
struct DispatchRow {
  const char* key;
  std::variant<StringWriter, Int64Writer> writer;
};

/// In the order in which a changed key is compared.
constexpr DispatchRow kDispatchTable[] = {
    {field::kTitle, writeTitle},  //
    {field::kArtist, writeArtist}, {field::kAlbum, writeAlbum},
    {field::kGenre, writeGenre},   {field::kYear, writeYear},
};

const DispatchRow* findRow(const char* changedKey) {
  if (!changedKey) return nullptr;
  for (const DispatchRow& row : kDispatchTable) {
    if (std::strcmp(changedKey, row.key) == 0) return &row;
  }
  return nullptr;
}

/// Reads the field's value with the getter of the writer's type and calls the writer.
struct WriterCall {
  const TrackChangeRequest& change;
  const char* key;

  bool operator()(StringWriter write) const {
    return write(change.fd, change.path, change.track.getString(key), change.request);
  }
  bool operator()(Int64Writer write) const {
    return write(change.fd, change.path, change.track.getInt64(key), change.request);
  }
};

}  // namespace

void TrackChangeRequest::run() const {
  const DispatchRow* row = findRow(changedKey);
  if (!row) {
    ::close(fd);
    result = false;
    return;
  }
  result = std::visit(WriterCall{*this, row->key}, row->writer);
}

}  // namespace tagwriter
