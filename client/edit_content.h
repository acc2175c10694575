// What is in an edit, for the library only.
#pragma once

#include "client/edit.h"
#include "client/outcome.h"
#include "protocol/value_dictionary.h"

namespace tagwriter {

struct Edit::Content {
  Outcome problem;  ///< why it cannot be written to any file
  ValueDictionary request = {};
};

}  // namespace tagwriter
