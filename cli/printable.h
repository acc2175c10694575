// Makes untrusted text safe for a terminal.
#pragma once

#include <string>

namespace tagwriter {

/// Escapes the control characters in `text` (C0, DEL and UTF-8 encoded C1) as "\x1b", so that no
/// tag or file name can send commands to the terminal. Keeps tabs, and line feeds if `keepLines`.
std::string printable(const std::string& text, bool keepLines = false);

}  // namespace tagwriter
