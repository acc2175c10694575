#include "tagging/field_row.h"

#include <utility>

#include "tagging/tag_write.h"

namespace tagwriter {

bool writeCells(const FieldRow& row, UniqueFd fd, const FieldChange& change,
                const Dictionary& request) {
  VQNTagWritingBlocks editors;
  editors.id3v2Block = row.id3v2.editor(change);
  editors.id3v1Block = row.id3v1.editor(change);
  editors.mp4Block = row.mp4.editor(change);
  editors.xiphBlock = row.xiph.editor(change);
  editors.asfBlock = row.asf.editor(change);
  editors.apeBlock = row.ape.editor(change);
  return writeTagToFile(std::move(fd), change.path, editors, request);
}

bool writeCore(const FieldRow& row, UniqueFd fd, const FieldChange& change,
               const Dictionary& request) {
  return writeCoreField(*row.core, row.field.key, std::move(fd), change, request);
}

bool writeCue(const FieldRow&, UniqueFd fd, const FieldChange& change, const Dictionary& request) {
  return writeCueSheet(std::move(fd), change.path, change.text, request);
}

}  // namespace tagwriter
