// SPDX-License-Identifier: BSD-3-Clause
// The command line: finds the verb, runs it, turns every failure into one line and an exit status.
#include "CommandLine.h"

#include "AddressSpace.h"
#include "ExitStatus.h"
#include "Messages.h"
#include "UsageError.h"
#include "Verb.h"
#include "zrimaging/Log.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdict.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>
#include <zrimaging/Codecs.h>
#include <zrimaging/Error.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/Output.h>

namespace zrdcm {

namespace {

struct Verb {
  VerbAction (*configure)(CLI::App&);
  const char* name;
  const char* summary;
};

constexpr Verb kVerbs[] = {
#define ZRDCM_VERB(function, name, summary) {function, name, summary},
#include "Verbs.def"
#undef ZRDCM_VERB
};

constexpr const char* kUsageHint = "Run zrdcm --help or zrdcm VERB --help for the usage.\n";

std::string versionText() {
  const std::string decoders = zr::decoderLibraries();
  return "zrdcm " ZRDCM_VERSION " (DCMTK " PACKAGE_VERSION +
         (decoders.empty() ? "" : "; " + decoders) + ")";
}

using ConfiguredVerb = std::pair<CLI::App*, VerbAction>;

struct GlobalOptions {
  bool quiet = false;
  bool verbose = false;
  std::string maxMemory = "4G";
};

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.set_version_flag("--version", versionText());
  CLI::Option* quiet = app.add_flag("-q,--quiet", options.quiet,
                                    "Neither messages nor progress; the exit status tells");
  app.add_flag("-v,--verbose", options.verbose, "Show what the libraries log while they read files")
      ->excludes(quiet);
  app.add_option("--max-memory", options.maxMemory,
                 "Memory that a run may take, such as 512M or 16G (default 4G)")
      ->type_name("SIZE");
  app.footer(
      "Exit status: 0 done, 1 the data could not be handled (one line on stderr says why), "
      "2 wrong usage, 141 nobody read the output to its end, 129, 130, 143 ended by a signal.\n"
      "Example: zrdcm decode ct.dcm -o ct.png");
}

zr::MemoryBudget memoryWanted(const GlobalOptions& options) {
  const std::optional<std::uint64_t> bytes = zr::parseSize(options.maxMemory);
  if (!bytes || *bytes == 0) {
    throw UsageError("--max-memory wants a size such as 512M or 16G: " + options.maxMemory);
  }
  return zr::MemoryBudget{*bytes, "--max-memory"};
}

std::vector<ConfiguredVerb> configureVerbs(CLI::App& app) {
  std::vector<ConfiguredVerb> verbs;
  for (const Verb& verb : kVerbs) {
    CLI::App* command = app.add_subcommand(verb.name, verb.summary);
    verbs.emplace_back(command, verb.configure(*command));
  }
  return verbs;
}

int runChosen(const std::vector<ConfiguredVerb>& verbs, const zr::MemoryBudget& memory) {
  for (const auto& [command, action] : verbs) {
    if (command->parsed()) {
      return action(memory);
    }
  }
  complain("a verb is missing");
  std::fputs(kUsageHint, stderr);
  return kUsage;
}

// Results that stdout did not take are lost, and the caller must know.
int withFlushedOutput(int status) {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    if (zr::readerIsGone()) {
      return kReaderGone;
    }
    complain("cannot write the results to standard output");
    return kFailed;
  }
  return status;
}

std::string usageMessage(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> extras = app.remaining();
  const bool isWord = !extras.empty() && extras.front().rfind('-', 0) != 0;
  if (isWord && app.get_subcommands().empty()) {
    return extras.front() + " is no verb";
  }
  return error.what();
}

int reportUsage(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) {
    return withFlushedOutput(app.exit(error));  // --help and --version
  }
  complain(usageMessage(app, error));
  std::fputs(kUsageHint, stderr);
  return kUsage;
}

// Without its dictionary DCMTK does not know what implicit VR files hold; what is said about them
// then is never the cause.
void complainWithoutDictionary() {
  if (!dcmDataDict.isDictionaryLoaded()) {
    complain(
        "DCMTK has no data dictionary, attributes of implicit VR are unknown; DCMDICTPATH names "
        "its files");
  }
}

int run(int argc, const char* const* argv) {
  CLI::App app("Looks into DICOM images, decodes them and writes them to files.", "zrdcm");
  GlobalOptions options;
  addGlobalOptions(app, options);
  app.require_subcommand(0, 1);
  app.fallthrough();
  const std::vector<ConfiguredVerb> verbs = configureVerbs(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return reportUsage(app, error);
  }
  showMessages(!options.quiet);
  showLibraryLog(options.verbose);
  if (!options.verbose) {
    zr::collectDecoderWarnings();
  }
  complainWithoutDictionary();
  const zr::MemoryBudget memory = memoryWanted(options);
  limitAddressSpace(memory);
  return withFlushedOutput(runChosen(verbs, memory));
}

}  // namespace

int runCommandLine(int argc, const char* const* argv) {
  showMessages(true);
  try {
    return run(argc, argv);
  } catch (const zr::ReaderGone&) {
    return kReaderGone;
  } catch (const UsageError& error) {
    complain(error.what());
    return kUsage;
  } catch (const std::bad_alloc&) {
    complain("out of memory");
  } catch (const std::exception& error) {
    complain(error.what());
  } catch (...) {
    complain("failed for a reason that has no name");  // nothing in use here throws such things
  }
  return kFailed;
}

}  // namespace zrdcm
