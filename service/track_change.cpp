#include "service/track_change.h"

#include <unistd.h>

#include "protocol/fields.h"
#include "tagging/field_table.h"

namespace tagwriter {
namespace {

/// Reads the field's value, and its companion's, with the getter of the field's type.
FieldValue valueOf(const Dictionary& track, const field::Field& field) {
  FieldValue value;
  switch (field.type) {
    case field::Type::kString:
      value.text = track.getString(field.key);
      break;
    case field::Type::kInt64:
      value.number = track.getInt64(field.key);
      if (field.companion) value.total = track.getInt64(field.companion);
      break;
    case field::Type::kDouble:
      value.real = track.getDouble(field.key);
      break;
    case field::Type::kBool:
      value.flag = track.getBool(field.key);
      break;
  }
  return value;
}

}  // namespace

void TrackChangeRequest::run() const {
  const FieldRow* row = findFieldRow(changedKey);
  if (!row) {
    ::close(fd);
    result = false;
    return;
  }
  result = row->road(*row, fd, path, valueOf(track, *field::find(row->key)), request);
}

}  // namespace tagwriter
