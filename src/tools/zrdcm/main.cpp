// SPDX-License-Identifier: BSD-3-Clause
// The command line: finds the verb, runs it, turns every failure into one line and an exit status.
#include "ExitStatus.h"
#include "Failure.h"
#include "Messages.h"
#include "Verb.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

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

using ConfiguredVerb = std::pair<CLI::App*, VerbAction>;

std::vector<ConfiguredVerb> configureVerbs(CLI::App& app) {
  std::vector<ConfiguredVerb> verbs;
  for (const Verb& verb : kVerbs) {
    CLI::App* command = app.add_subcommand(verb.name, verb.summary);
    verbs.emplace_back(command, verb.configure(*command));
  }
  return verbs;
}

int runChosen(const std::vector<ConfiguredVerb>& verbs) {
  for (const auto& [command, action] : verbs) {
    if (command->parsed()) {
      return action();
    }
  }
  complain("a verb is missing");
  std::fputs(kUsageHint, stderr);
  return kUsage;
}

// Results that stdout did not take are lost, and the caller must know.
int withFlushedOutput(int status) {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    complain("cannot write the results to standard output");
    return kFailed;
  }
  return status;
}

int reportUsage(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) {
    return withFlushedOutput(app.exit(error));  // --help and --version
  }
  complain(error.what());
  std::fputs(kUsageHint, stderr);
  return kUsage;
}

int run(int argc, char** argv) {
  CLI::App app("Looks into DICOM images, decodes them and writes them to files.", "zrdcm");
  app.set_version_flag("--version", "zrdcm " ZRDCM_VERSION);
  app.footer(
      "Exit status: 0 done, 1 the data could not be handled (one line on stderr says why), "
      "2 wrong usage.\nExample: zrdcm decode ct.dcm -o ct.png");
  bool verbose = false;
  app.add_flag("-v,--verbose", verbose, "Show what the libraries log while they read files");
  app.require_subcommand(0, 1);
  app.fallthrough();
  const std::vector<ConfiguredVerb> verbs = configureVerbs(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return reportUsage(app, error);
  }
  showLibraryLog(verbose);
  return withFlushedOutput(runChosen(verbs));
}

int runGuarded(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const UsageError& error) {
    complain(error.what());
    return kUsage;
  } catch (const std::bad_alloc&) {
    complain("out of memory");
    return kFailed;
  } catch (const std::exception& error) {
    complain(error.what());
    return kFailed;
  }
}

}  // namespace

}  // namespace zrdcm

int main(int argc, char** argv) {
  // A file-size limit and a closed pipe show as failed writes, which are reported like a full disk.
  (void)std::signal(SIGXFSZ, SIG_IGN);
  (void)std::signal(SIGPIPE, SIG_IGN);
  return zrdcm::runGuarded(argc, argv);
}
