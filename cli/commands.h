// The verbs. Each works through its files, names what failed on standard error as "file: reason",
// goes on with the next one and returns an exit code.
#pragma once

#include "cli/arguments.h"

namespace tagwriter {

/// Writes the fields into each file through the service, one request a field.
int runSet(const SetArguments& arguments);

/// Prints the tags of each file to standard output.
int runShow(const ShowArguments& arguments);

}  // namespace tagwriter
