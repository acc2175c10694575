// Fields as JSON: what `show --json` prints and `set --from` reads.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/field_value.h"
#include "client/reader.h"

namespace tagwriter {

/// An object with the fields under their keys: strings, numbers and booleans.
nlohmann::json jsonOfFields(const FieldListing& fields);

/// New values for the fields of one file.
struct FileFields {
  std::string path;                     ///< empty if the input names no file
  std::vector<FieldAssignment> fields;  ///< in the order of field::kAll
  std::string problem;                  ///< why there are no fields; empty if there are
};

/// Parses JSON objects one after the other, each as `show --json` prints it: the fields are under
/// "fields", and null clears a field. Only "fields" and what names the file is looked at. An object
/// without "fields" has a problem. Throws UsageError if anything else is wrong; `name` is the
/// name of the input for its message.
std::vector<FileFields> parseJsonFields(const std::string& text, const std::string& name);

}  // namespace tagwriter
