// A dry run: what a run would do to a file, with the old value of what it changes.
#pragma once

#include <string>
#include <vector>

#include "cli/edit_files.h"
#include "cli/report.h"
#include "client/reader.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// Reports for the file at `path` what `edits` with these `options` would write, and what would
/// fail, with the message of the failure. Writes nothing.
void dryRun(const std::string& path, const std::vector<NamedEdit>& edits,
            const WriteOptions& options, TagWriter& writer, Reader& reader, Report& report);

}  // namespace tagwriter
