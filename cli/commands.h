// The verbs. Each works through its files, names what failed on standard error as "file: reason",
// goes on with the next one and returns an exit code.
#pragma once

#include "cli/arguments.h"

namespace tagwriter {

/// Writes the fields into each file through the service.
int run(const SetArguments& arguments);
/// Removes the fields from each file through the service.
int run(const ClearArguments& arguments);
/// Stores the cover in each file, or clears all pictures, through the service.
int run(const CoverArguments& arguments);
/// Prints the tags and pictures of each file to standard output.
int run(const ShowArguments& arguments);
/// There is nothing more to do.
int run(const ExitNow& exit);

}  // namespace tagwriter
