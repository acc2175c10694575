// One format-dispatched write at a time, with a clean directory, recording editors and the log at
// hand.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "protocol/value_dictionary.h"
#include "tagging/tag_write.h"
#include "tests/formats/handed_over.h"
#include "tests/formats/recording_editors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

class TagWriteTest : public testing::Test {
 protected:
  /// Writes into the file at `path`, called so, and checks that the descriptor is closed then.
  bool write(const std::string& path, const RecordingEditors& editors, int flags = O_RDWR) {
    return writeCalled(path.c_str(), path, editors, flags);
  }

  /// As above, with the file called `name`, which may be null.
  bool writeCalled(const char* name, const std::string& path, const RecordingEditors& editors,
                   int flags = O_RDWR) {
    const HandedOver file(path, flags);
    return writeTagToFile(file.fd(), name, editors.blocks, request_);
  }

  TemporaryDirectory directory_;
  LogCapture log_;
  ValueDictionary request_;
};

}  // namespace tagwriter::test
