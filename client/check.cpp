// TagWriter::check: what write would return.
#include <vector>

#include "client/connection.h"
#include "client/edit_content.h"
#include "client/field_check.h"
#include "client/forecast.h"
#include "client/outcome_details.h"
#include "client/preflight.h"
#include "client/safe_copy.h"
#include "protocol/file_type.h"

namespace tagwriter {

Outcome TagWriter::check(const AudioFile& file, std::span<const Edit> edits,
                         const WriteOptions& options) {
  return withLog(checkNow(file, edits, options));
}

Outcome TagWriter::checkNow(const AudioFile& file, std::span<const Edit> edits,
                            const WriteOptions& options) {
  UniqueFd fd;
  if (Outcome begun = begin(file, options, fd); !begun) return begun;
  if (edits.empty()) return {};
  if (options.safe) {
    if (Outcome copied = SafeCopy().check(fd.get(), file.path()); !copied) return copied;
  }
  return checkEach(fd.get(), file.path(), edits);
}

Outcome TagWriter::checkEach(int fd, const std::string& path, std::span<const Edit> edits) {
  const TagFileType type = tagFileTypeForPath(path.c_str());
  FileContents contents;
  if (Outcome read = connection_->reader().read(fd, path, contents); !read) return read;
  for (const std::size_t i : sendingOrder(edits)) {
    const auto& [problem, request] = *edits[i].content_;
    Outcome outcome = problem;
    if (outcome) outcome = checkField(type, request);
    if (outcome) outcome = checkRequest(fd, path, request);
    if (outcome) outcome = checkContents(type, request, contents);
    if (outcome) outcome = reasonToRefuse(type, request, contents);
    if (!outcome) {
      outcome.details().edit = i;
      return outcome;
    }
    apply(request, contents);
  }
  return {};
}

std::vector<std::size_t> TagWriter::sendingOrder(std::span<const Edit> edits) {
  std::vector<const ValueDictionary*> requests;
  for (const Edit& edit : edits) requests.push_back(&edit.content_->request);
  return tagwriter::sendingOrder(requests);
}

}  // namespace tagwriter
