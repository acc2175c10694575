// The files and the edits of the fault sweep.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "protocol/value_dictionary.h"

namespace tagwriter::test {

struct Sample {
  std::string name;  ///< as the document says it
  std::string path;  ///< tells the service the format; never opened
  std::string bytes;
};

/// One file or more per container, in the order of the document.
std::vector<Sample> sampleFiles();

struct Edit {
  std::string name;
  std::function<void(ValueDictionary& request)> apply;    ///< adds the change to a request
  std::function<void(ValueDictionary& request)> prepare;  ///< an edit made before; may be empty
};

/// Edits that grow and shrink a file, and one that fits in most paddings.
std::vector<Edit> edits();

}  // namespace tagwriter::test
