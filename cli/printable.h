// Text of unknown origin on its way to a terminal.
#pragma once

#include <string>

namespace tagwriter {

/// `text` with its control characters (C0, DEL and, in UTF-8, C1) written as "\x1b" and the like,
/// so that nothing in a tag or a file name can give orders to a terminal. Tabs and, when
/// `keepLines` is set, line feeds stay.
std::string printable(const std::string& text, bool keepLines = false);

}  // namespace tagwriter
