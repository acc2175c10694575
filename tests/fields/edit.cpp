#include "tests/fields/edit.h"

#include <fileref.h>
#include <gtest/gtest.h>

#include "dsf/dsf_file_type_resolver.h"
#include "protocol/value_dictionary.h"
#include "tagging/field_table.h"
#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

FieldValue textValue(const char* text) {
  FieldValue value;
  value.text = text;
  return value;
}

FieldValue numberValue(std::int64_t number, std::int64_t total) {
  FieldValue value;
  value.number = number;
  value.total = total;
  return value;
}

FieldValue realValue(double real) {
  FieldValue value;
  value.real = real;
  return value;
}

FieldValue flagValue(bool flag) {
  FieldValue value;
  value.flag = flag;
  return value;
}

bool writeField(const std::string& path, const char* field, const FieldValue& value) {
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
  const bool written = row->road(*row, fd, path.c_str(), value, request);
  EXPECT_FALSE(isOpen(fd)) << field << " left the descriptor open";
  return written;
}

}  // namespace tagwriter::test
