// The commands. Each processes its files in turn, reports failures on standard error as
// "file: reason", continues with the next file, and returns an exit code.
#pragma once

#include "cli/arguments.h"

namespace tagwriter {

/// Writes the fields into each file through the service.
int run(const SetArguments& arguments);
/// Clears the fields in each file through the service.
int run(const ClearArguments& arguments);
/// Stores the cover in each file, or removes all pictures, through the service.
int run(const CoverArguments& arguments);
/// Writes the pictures of each file into files of their own.
int run(const ExtractArguments& arguments);
/// Copies fields and the cover of a file into each of the others through the service.
int run(const CopyArguments& arguments);
/// Prints the fields and pictures of each file.
int run(const ShowArguments& arguments);
/// Returns the exit code of the parser.
int run(const ExitNow& exit);

}  // namespace tagwriter
