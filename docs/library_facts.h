// Facts about the TagLib that a program uses, as it shows them itself.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace tagwriter::docs {

/// The first number of TagLib's version.
std::size_t librarySeries();

/// Names and values of all facts, in the order of the document. The first is the version.
std::vector<std::pair<std::string, std::string>> libraryFacts();

}  // namespace tagwriter::docs
