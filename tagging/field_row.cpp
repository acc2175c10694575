#include "tagging/field_row.h"

#include "tagging/cue_sheet.h"
#include "tagging/tag_write.h"

namespace tagwriter::road {
namespace {

template <typename Tag>
FieldEditor<Tag> editorOf(const Cell<Tag>& cell, const FieldEdit& edit) {
  if (!cell.edit) return {};
  return [&cell, &edit](Tag* tag) { cell.edit(*tag, cell, edit); };
}

}  // namespace

bool editors(const FieldRow& row, int fd, const char* path, const FieldValue& value,
             const Dictionary& request) {
  const FieldEdit edit{value, path};
  VQNTagWritingBlocks blocks;
  blocks.id3v2Block = editorOf(row.id3v2, edit);
  blocks.id3v1Block = editorOf(row.id3v1, edit);
  blocks.mp4Block = editorOf(row.mp4, edit);
  blocks.xiphBlock = editorOf(row.xiph, edit);
  blocks.asfBlock = editorOf(row.asf, edit);
  blocks.apeBlock = editorOf(row.ape, edit);
  return writeTagToFile(fd, path, blocks, request);
}

bool cueSheet(const FieldRow&, int fd, const char* path, const FieldValue& value,
              const Dictionary& request) {
  return writeCueSheet(fd, path, value.text, request);
}

}  // namespace tagwriter::road
