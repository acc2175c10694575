#include "cli/completion.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <sstream>
#include <vector>

#include "protocol/fields.h"

namespace tagwriter {
namespace {

constexpr char kFieldOption[] = "--tag";

/// An option of a verb as a shell needs it.
struct Option {
  std::vector<std::string> names;  ///< with their dashes
  std::string description;
  bool takesValue;
  bool takesField;
};

struct VerbWords {
  std::string name;
  std::string description;
  std::vector<Option> options;
};

Option describe(const CLI::Option& option) {
  Option result{{}, option.get_description(), option.get_items_expected_max() > 0, false};
  for (const std::string& name : option.get_snames()) result.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) result.names.push_back("--" + name);
  result.takesField = option.check_name(kFieldOption);
  return result;
}

std::vector<VerbWords> verbsOf(const CLI::App& app) {
  std::vector<VerbWords> verbs;
  for (const CLI::App* command : app.get_subcommands(std::function<bool(const CLI::App*)>())) {
    VerbWords verb{command->get_name(), command->get_description(), {}};
    for (const CLI::Option* option : command->get_options()) {
      if (!option->get_positional()) verb.options.push_back(describe(*option));
    }
    verbs.push_back(std::move(verb));
  }
  return verbs;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text.append(text.empty() ? "" : " ").append(word);
  return text;
}

std::string verbNames(const std::vector<VerbWords>& verbs) {
  std::vector<std::string> names;
  names.reserve(verbs.size());
  for (const VerbWords& verb : verbs) names.push_back(verb.name);
  return joined(names);
}

std::string optionNames(const VerbWords& verb) {
  std::vector<std::string> names;
  for (const Option& option : verb.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return joined(names);
}

/// Every field key, followed by `suffix`.
std::string fieldKeys(const char* suffix) {
  std::vector<std::string> keys;
  for (const field::Field& field : field::kAll) keys.push_back(field.key + std::string(suffix));
  return joined(keys);
}

/// Bash splits words at "=", and its own completion of file names knows how to quote them.
std::string forBash(const std::vector<VerbWords>& verbs) {
  std::ostringstream out;
  out << "_tagwriter() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} "
         "verb=${COMP_WORDS[1]}\n"
      << "  local fields='" << fieldKeys("")
      << "'\n"
         "  COMPREPLY=()\n"
         "  if [[ $word == = ]]; then\n"
         "    word=\n"
         "  elif [[ $previous == = ]]; then\n"
         "    previous=${COMP_WORDS[COMP_CWORD-2]}\n"
         "  fi\n"
         "  if ((COMP_CWORD == 1)); then\n"
      << "    COMPREPLY=($(compgen -W '" << verbNames(verbs)
      << " --help' -- \"$word\"))\n"
         "  elif [[ $previous == -t || $previous == --tag ]]; then\n"
         "    if [[ $verb == clear ]]; then\n"
         "      COMPREPLY=($(compgen -W \"$fields\" -- \"$word\"))\n"
         "    else\n"
         "      compopt -o nospace\n"
         "      COMPREPLY=($(compgen -W \"${fields// /= }=\" -- \"$word\"))\n"
         "    fi\n"
         "  elif [[ $word == -* ]]; then\n"
         "    case $verb in\n";
  for (const VerbWords& verb : verbs) {
    out << "      " << verb.name << ") COMPREPLY=($(compgen -W '" << optionNames(verb)
        << "' -- \"$word\")) ;;\n";
  }
  out << "    esac\n"
         "  else\n"
         "    compopt -o default\n"
         "  fi\n"
         "}\n"
         "complete -F _tagwriter tagwriter\n";
  return out.str();
}

/// In a zsh description a bracket or a colon would end it.
std::string zshText(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':') result += '\\';
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += c;
    }
  }
  return result;
}

std::string forZsh(const std::vector<VerbWords>& verbs) {
  std::ostringstream out;
  out << "#compdef tagwriter\n\n"
         "_tagwriter_fields() { compadd -S '' -- "
      << fieldKeys("=")
      << "; }\n"
         "_tagwriter_keys() { compadd -- "
      << fieldKeys("")
      << "; }\n\n"
         "_tagwriter() {\n"
         "  if ((CURRENT == 2)); then\n"
         "    local -a verbs=(\n";
  for (const VerbWords& verb : verbs) {
    out << "      '" << verb.name << ":" << zshText(verb.description) << "'\n";
  }
  out << "    )\n"
         "    _describe verb verbs\n"
         "    return\n"
         "  fi\n"
         "  local verb=$words[2]\n"
         "  shift words; ((CURRENT--))\n"
         "  case $verb in\n";
  for (const VerbWords& verb : verbs) {
    out << "    " << verb.name << ")\n      _arguments -s";
    for (const Option& option : verb.options) {
      const char* value = !option.takesValue     ? ""
                          : !option.takesField   ? ":value:"
                          : verb.name == "clear" ? ":field:_tagwriter_keys"
                                                 : ":field:_tagwriter_fields";
      for (const std::string& name : option.names) {
        const char* equals = option.takesValue && name.starts_with("--") ? "=" : "";
        out << " \\\n        '*" << name << equals << "[" << zshText(option.description) << "]"
            << value << "'";
      }
    }
    out << " \\\n        '*:file:_files' ;;\n";
  }
  out << "  esac\n"
         "}\n\n"
         "_tagwriter \"$@\"\n";
  return out.str();
}

std::string fishText(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\'' || c == '\\') result += '\\';
    result += c;
  }
  return result;
}

std::string forFish(const std::vector<VerbWords>& verbs) {
  std::ostringstream out;
  for (const VerbWords& verb : verbs) {
    out << "complete -c tagwriter -n __fish_use_subcommand -f -a " << verb.name << " -d '"
        << fishText(verb.description) << "'\n";
  }
  for (const VerbWords& verb : verbs) {
    for (const Option& option : verb.options) {
      out << "complete -c tagwriter -n '__fish_seen_subcommand_from " << verb.name << "'";
      for (const std::string& name : option.names) {
        const bool isLong = name.starts_with("--");
        out << (isLong ? " -l " : " -s ") << name.substr(isLong ? 2 : 1);
      }
      if (option.takesField) {
        out << " -x -a '" << fieldKeys(verb.name == "clear" ? "" : "=") << "'";
      } else if (option.takesValue) {
        out << " -x";
      }
      out << " -d '" << fishText(option.description) << "'\n";
    }
  }
  return out.str();
}

}  // namespace

std::string completionFor(const std::string& shell, const CLI::App& app) {
  const std::vector<VerbWords> verbs = verbsOf(app);
  if (shell == "bash") return forBash(verbs);
  if (shell == "zsh") return forZsh(verbs);
  return forFish(verbs);
}

}  // namespace tagwriter
