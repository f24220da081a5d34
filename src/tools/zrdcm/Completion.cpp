// SPDX-License-Identifier: BSD-3-Clause
// Completion for shells. Both scripts find the verb among the words so far and offer its options
// and the global ones, the choices of a value where there are a few, and files everywhere else.
#include "CommandTree.h"
#include "FormatOption.h"

#include <sstream>

namespace zrdcm {

namespace {

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : separator) + word;
  }
  return text;
}

std::string namesOf(const std::vector<CommandOption>& options) {
  std::vector<std::string> names;
  for (const CommandOption& option : options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return joined(names, " ");
}

std::vector<std::string> verbNames(const CommandTree& program) {
  std::vector<std::string> names;
  for (const CommandTree& verb : program.verbs) {
    names.push_back(verb.name);
  }
  return names;
}

/// Patterns "verb:option" of an option in every spelling.
std::string bashPatterns(const std::string& verb, const CommandOption& option) {
  std::vector<std::string> patterns;
  for (const std::string& name : option.names) {
    patterns.push_back(verb + ":" + name);
  }
  return joined(patterns, "|");
}

void writeBashChoices(std::ostream& script, const CommandTree& command, const std::string& verb) {
  for (const CommandOption& option : command.options) {
    if (!option.choices.empty()) {
      script << "    " << bashPatterns(verb, option) << ")\n      COMPREPLY=($(compgen -W '"
             << joined(option.choices, " ") << "' -- \"$word\"))\n      return ;;\n";
    }
  }
}

/// Text within single quotes for zsh's _arguments, to which brackets and colons have a meaning.
std::string zshText(const std::string& text) {
  std::string quoted;
  for (const char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
      continue;
    }
    if (c == '[' || c == ']' || c == ':' || c == '\\') {
      quoted += '\\';
    }
    quoted += c;
  }
  return quoted;
}

/// What zsh offers for a value that the help calls so: files, folders, or nothing (a blank).
std::string zshAction(const std::string& value) {
  if (value == "DIR") {
    return "_files -/";
  }
  const bool isFile = value == "FILE" || value == "PATH" || value == "OUT" ||
                      value == kPictureTypeName || value == "JSON" || value == "RAW";
  return isFile ? "_files" : " ";
}

std::string zshAction(const CommandOption& option) {
  return option.choices.empty() ? zshAction(option.value) : "(" + joined(option.choices, " ") + ")";
}

std::string zshOption(const CommandOption& option) {
  std::string text = "'(" + joined(option.names, " ") + ")'";
  text += option.names.size() > 1 ? "{" + joined(option.names, ",") + "}" : option.names.front();
  text += "'[" + zshText(option.description) + "]";
  if (!option.value.empty()) {
    text += ":" + zshText(option.value) + ":" + zshAction(option);
  }
  return text + "'";
}

void writeZshOptions(std::ostream& script, const std::vector<CommandOption>& options,
                     const std::string& indent) {
  for (const CommandOption& option : options) {
    script << " \\\n" << indent << zshOption(option);
  }
}

}  // namespace

std::string bashCompletion(const CommandTree& program) {
  const std::string function = "_" + program.name;
  const std::vector<std::string> verbs = verbNames(program);
  std::ostringstream script;
  script << "# bash completion for " << program.name << ", made by the program itself\n"
         << function << "() {\n"
         << "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} verb= i\n"
         << "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         << "    case ${COMP_WORDS[i]} in\n"
         << "      " << joined(verbs, "|") << ") verb=${COMP_WORDS[i]}; break ;;\n"
         << "    esac\n  done\n"
         << "  case $verb:$before in\n";
  writeBashChoices(script, program, "*");
  for (const CommandTree& verb : program.verbs) {
    writeBashChoices(script, verb, verb.name);
  }
  script << "  esac\n  local words=\n  case $verb in\n    '') words='" << joined(verbs, " ")
         << "' ;;\n  esac\n"
         << "  if [[ $word == -* ]]; then\n    case $verb in\n";
  for (const CommandTree& verb : program.verbs) {
    script << "      " << verb.name << ") words='" << namesOf(verb.options) << "' ;;\n";
  }
  script << "    esac\n    words=\"$words " << namesOf(program.options) << "\"\n  fi\n"
         << "  COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n}\n"
         << "complete -o default -F " << function << " " << program.name << "\n";
  return script.str();
}

std::string zshCompletion(const CommandTree& program) {
  const std::string function = "_" + program.name;
  std::ostringstream script;
  script << "#compdef " << program.name << "\n# zsh completion for " << program.name
         << ", made by the program itself\n"
         << function << "() {\n  local context state state_descr line\n  typeset -A opt_args\n"
         << "  local -a verbs\n  verbs=(\n";
  for (const CommandTree& verb : program.verbs) {
    script << "    '" << verb.name << ":" << zshText(verb.description) << "'\n";
  }
  script << "  )\n  _arguments -C";
  writeZshOptions(script, program.options, "    ");
  script << " \\\n    '1: :->verb' \\\n    '*:: :->rest'\n"
         << "  case $state in\n    verb) _describe verb verbs ;;\n    rest)\n"
         << "      case $line[1] in\n";
  for (const CommandTree& verb : program.verbs) {
    script << "        " << verb.name << ")\n          _arguments";
    writeZshOptions(script, program.options, "            ");
    writeZshOptions(script, verb.options, "            ");
    for (const CommandArgument& argument : verb.arguments) {
      script << " \\\n            '" << (argument.several ? "*" : "") << ":" << argument.value
             << ":" << zshAction(argument.value) << "'";
    }
    script << " ;;\n";
  }
  script << "      esac ;;\n  esac\n}\n" << function << " \"$@\"\n";
  return script.str();
}

}  // namespace zrdcm
