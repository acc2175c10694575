// Shell completions, made from the parser's own verbs and options and from the field keys.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace tagwriter {

/// The completion script of `shell` ("bash", "zsh" or "fish") for the command that `app` parses.
std::string completionFor(const std::string& shell, const CLI::App& app);

}  // namespace tagwriter
