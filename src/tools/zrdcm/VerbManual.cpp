// SPDX-License-Identifier: BSD-3-Clause
// zrdcm manual: manual page and shell completions, made from the options as they are declared. The
// build calls it; its group is empty, so that the help does not list it.
#include "CommandTree.h"
#include "ExitStatus.h"
#include "Verb.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <zrimaging/Output.h>

namespace zrdcm {

namespace {

constexpr const char* kFooter =
    R"(Writes zrdcm.1, zrdcm.bash and _zrdcm (for zsh).

Example:
  zrdcm manual build/share)";

struct ManualOptions {
  std::string folder;
};

/// "FILE" of "FILE:INT in [1 - 9]": checks append what they demand.
std::string placeholderOf(const CLI::Option& option) {
  const std::string text = option.get_type_name();
  return text.substr(0, text.find(':'));
}

/// The words of "u8|u16|s16"; nothing of other values.
std::vector<std::string> choicesIn(const std::string& value) {
  std::vector<std::string> words;
  std::istringstream text(value);
  for (std::string word; std::getline(text, word, '|');) {
    words.push_back(word);
  }
  return words.size() > 1 ? words : std::vector<std::string>();
}

CommandOption optionOf(const CLI::Option& source) {
  CommandOption option;
  for (const std::string& name : source.get_snames()) {
    option.names.push_back("-" + name);
  }
  for (const std::string& name : source.get_lnames()) {
    option.names.push_back("--" + name);
  }
  option.value = source.get_type_size() != 0 ? placeholderOf(source) : std::string();
  option.choices = choicesIn(option.value);
  option.description = source.get_description();
  option.required = source.get_required();
  return option;
}

CommandTree treeOf(const CLI::App& app) {
  CommandTree tree{app.get_name(), app.get_description(), app.get_footer(), {}, {}, {}};
  for (const CLI::Option* option : app.get_options()) {
    const bool isHelp = option == app.get_help_ptr();  // stands among the global options already
    if (option->get_positional()) {
      tree.arguments.push_back({placeholderOf(*option), option->get_description(),
                                option->get_expected_max() > 1, option->get_required()});
    } else if (!option->get_group().empty() && (app.get_parent() == nullptr || !isHelp)) {
      tree.options.push_back(optionOf(*option));
    }
  }
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!verb->get_group().empty()) {
      tree.verbs.push_back(treeOf(*verb));
    }
  }
  return tree;
}

void writeText(const std::filesystem::path& target, const std::string& text) {
  zr::OutputFile file(target, zr::ProtectedInputs());
  file.write(text);
  file.commit();
}

int writeManual(const CLI::App& program, const std::filesystem::path& folder) {
  const CommandTree tree = treeOf(program);
  zr::createFolder(folder);
  writeText(folder / "zrdcm.1", manualPage(tree, "zrdcm " ZRDCM_VERSION));
  writeText(folder / "zrdcm.bash", bashCompletion(tree));
  writeText(folder / "_zrdcm", zshCompletion(tree));
  return kDone;
}

}  // namespace

VerbAction configureManual(CLI::App& command) {
  auto options = std::make_shared<ManualOptions>();
  command.add_option("dir", options->folder, "Where to write; made when it is not there")
      ->type_name("DIR")
      ->required();
  command.group("");
  command.footer(kFooter);
  const CLI::App* const program = command.get_parent();
  return [options, program](const zr::MemoryBudget&) {
    return writeManual(*program, options->folder);
  };
}

}  // namespace zrdcm
