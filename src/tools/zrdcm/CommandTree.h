// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

namespace zrdcm {

/// One option of a command, as the help tells of it.
struct CommandOption {
  std::vector<std::string> names;    ///< as typed: "-o", "--output"
  std::string value;                 ///< what stands for its value, "FILE"; empty for a switch
  std::vector<std::string> choices;  ///< the values there are; empty when they are not a few words
  std::string description;
  bool required = false;
};

/// What stands in place, without an option in front of it.
struct CommandArgument {
  std::string value;
  std::string description;
  bool several = false;
  bool required = false;
};

/// A command line or one of its verbs; the source of manual page and completions.
struct CommandTree {
  std::string name;
  std::string description;
  std::string footer;  ///< paragraphs and examples that end the help
  std::vector<CommandArgument> arguments;
  std::vector<CommandOption> options;
  std::vector<CommandTree> verbs;
};

/// The manual page in the roff macros of man(7). `version` is the text of `--version`.
std::string manualPage(const CommandTree& program, const std::string& version);

/// A script for bash that completes verbs, options and the choices of their values.
std::string bashCompletion(const CommandTree& program);

/// The same for zsh, with descriptions.
std::string zshCompletion(const CommandTree& program);

}  // namespace zrdcm
