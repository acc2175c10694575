#include "service/track_change.h"

#include <utility>

#include "protocol/fields.h"
#include "tagging/field_table.h"

namespace tagwriter {
namespace {

/// Reads the values of the field and its companion, in the type of the field.
FieldChange changeOf(const field::Field& field, const Dictionary& track, const char* path) {
  FieldChange change;
  change.path = path;
  switch (field.type) {
    case field::Type::kString:
      change.text = track.getString(field.key);
      break;
    case field::Type::kInt64:
      change.number = track.getInt64(field.key);
      if (field.companion) change.total = track.getInt64(field.companion);
      break;
    case field::Type::kDouble:
      change.real = track.getDouble(field.key);
      break;
    case field::Type::kBool:
      change.flag = track.getBool(field.key);
      break;
  }
  return change;
}

}  // namespace

void TrackChangeRequest::run() {
  const FieldRow* row = changedKey ? findFieldRow(changedKey) : nullptr;
  if (!row) {
    fd.reset();
    result = false;
    return;
  }
  result = row->writer(*row, std::move(fd), changeOf(row->field, track, path), request);
}

}  // namespace tagwriter
