#include "tests/fields/edit.h"

#include <fileref.h>
#include <gtest/gtest.h>

#include "dsf/dsf_file_type_resolver.h"
#include "protocol/value_dictionary.h"
#include "tagging/field_table.h"
#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

FieldChange textValue(const char* text) {
  FieldChange value;
  value.text = text;
  return value;
}

FieldChange numberValue(std::int64_t number, std::int64_t total) {
  FieldChange value;
  value.number = number;
  value.total = total;
  return value;
}

FieldChange realValue(double real) {
  FieldChange value;
  value.real = real;
  return value;
}

FieldChange flagValue(bool flag) {
  FieldChange value;
  value.flag = flag;
  return value;
}

bool writeField(const std::string& path, const char* field, const FieldChange& value) {
  static const auto* const kDSF =
      TagLib::FileRef::addFileTypeResolver(new TagLib::DSFFileTypeResolver);
  (void)kDSF;
  const FieldRow* row = findFieldRow(field);
  if (!row) {
    ADD_FAILURE() << field << " is in no row of the field table";
    return false;
  }
  const ValueDictionary request;
  const int fd = openFile(path).release();
  FieldChange change = value;
  change.path = path.c_str();
  const bool written = row->writer(*row, UniqueFd(fd), change, request);
  EXPECT_FALSE(isOpen(fd)) << field << " left the descriptor open";
  return written;
}

}  // namespace tagwriter::test
