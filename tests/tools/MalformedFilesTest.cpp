// SPDX-License-Identifier: BSD-3-Clause
// Damaged and hostile files through the verbs: whatever they hold, a run ends within seconds with
// status 0 or 1 and never by a signal. The command line runs in a child process without an exec, so
// that thousands of inputs take seconds.
#include "CommandLine.h"
#include "support/ChildProcess.h"
#include "support/Corpus.h"
#include "support/RowName.h"
#include "support/SharedMemory.h"
#include "support/SmallFiles.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

using support::SmallFile;

constexpr long kSecondsAllowed = 5;
constexpr int kWrongStatus = 3;

/// A command line without its first word, which is always zrdcm.
using Command = std::vector<std::string>;

/// The verbs that every damaged file goes through.
std::vector<Command> decodingCommands(const std::string& file, const support::TempDir& scratch) {
  return {{"info", file},
          {"decode", file, "-o", scratch.file("out.npy").string()},
          {"split", file, "-o", scratch.file("volumes").string()}};
}

/// The verbs that draw; some files are enough for them, because they decode like the others.
std::vector<Command> drawingCommands(const std::string& file, const support::TempDir& scratch) {
  return {{"overlays", file, "-o", scratch.file("masks").string()},
          {"sheet", file, "-o", scratch.file("sheet.png").string()}};
}

/// How far a child came; lies in memory that it shares with its parent.
struct Position {
  std::size_t input = 0;
  std::size_t command = 0;
  int status = 0;
};

using SharedPosition = support::SharedMemory<Position>;

int runCommand(const Command& command) {
  std::vector<const char*> arguments = {"zrdcm"};
  for (const std::string& word : command) {
    arguments.push_back(word.c_str());
  }
  return zrdcm::runCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

void silenceThisProcess() {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
}

// Ends the process by a signal when the next command computes for longer. Time on the clock would
// make the test depend on what else the machine does; who waits for ever is ended by CTest.
void limitTime() {
  const itimerval limit = {{0, 0}, {kSecondsAllowed, 0}};
  if (support::timeIsLimited() && setitimer(ITIMER_PROF, &limit, nullptr) != 0) {
    _exit(kWrongStatus);
  }
}

/// Puts input `i` where the commands look for it.
using Prepare = std::function<void(std::size_t i)>;

struct ChildOutcome {
  Position position;
  int signal = 0;
  long peakKilobytes = 0;
};

// Runs the commands on each of the inputs, all in one child process.
ChildOutcome runInChild(std::size_t inputs, const Prepare& prepare,
                        const std::vector<Command>& commands) {
  SharedPosition position;
  const pid_t child = fork();
  if (child < 0) {
    throw std::system_error(errno, std::generic_category(), "fork");
  }
  if (child == 0) {
    silenceThisProcess();
    for (position->input = 0; position->input < inputs; ++position->input) {
      prepare(position->input);
      for (position->command = 0; position->command < commands.size(); ++position->command) {
        limitTime();
        position->status = runCommand(commands[position->command]);
        if (position->status != 0 && position->status != 1) {
          support::leaveChild(kWrongStatus);
        }
      }
    }
    support::leaveChild(0);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) {
    throw std::system_error(errno, std::generic_category(), "wait4");
  }
  ChildOutcome outcome{*position.operator->(), WIFSIGNALED(status) ? WTERMSIG(status) : 0,
                       usage.ru_maxrss};
  if (WIFEXITED(status) && WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != kWrongStatus) {
    outcome.signal = SIGABRT;  // a sanitizer ended the process
  }
  return outcome;
}

void expectSurvived(const ChildOutcome& outcome, const std::vector<Command>& commands,
                    const std::string& what) {
  const std::string verb = outcome.position.command < commands.size()
                               ? commands[outcome.position.command][0]
                               : "all verbs";
  EXPECT_EQ(outcome.signal, 0) << what << " " << outcome.position.input << ", " << verb;
  EXPECT_LT(outcome.position.status, 2) << what << " " << outcome.position.input << ", " << verb;
}

// The dictionary is read once, before any child is born.
const bool kDictionaryLoaded = dcmDataDict.isDictionaryLoaded();

// ---- truncations ----

#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t kUsualStep = 3;
#else
constexpr std::size_t kUsualStep = 1;
#endif

class Truncation : public testing::TestWithParam<SmallFile> {};

bool isDrawn(const std::string& name) {
  return name == "TableAndOverlay" || name == "Gated" || name == "JpegColour";
}

TEST_P(Truncation, AnywhereEndsInAnAnswer) {
  const support::TempDir scratch;
  const std::string bytes = support::bytesOf(GetParam());
  const std::string file = scratch.file("cut.dcm").string();
  std::vector<Command> commands = decodingCommands(file, scratch);
  if (isDrawn(GetParam().name)) {
    const std::vector<Command> drawing = drawingCommands(file, scratch);
    commands.insert(commands.end(), drawing.begin(), drawing.end());
  }
  const ChildOutcome whole =
      runInChild(1, [&](std::size_t) { tools::writeFile(file, bytes); },
                 {{"decode", file, "-o", scratch.file("whole.npy").string()}});
  ASSERT_EQ(whole.signal, 0);
  ASSERT_EQ(whole.position.status, GetParam().isImage ? 0 : 1) << "the whole file";

  const std::size_t step = support::stepFrom("ZRDCMEXPORT_BYTES_BETWEEN_CUTS", kUsualStep);
  const std::size_t cuts = (bytes.size() + step - 1) / step;
  const ChildOutcome outcome = runInChild(
      cuts, [&](std::size_t cut) { tools::writeFile(file, bytes.substr(0, cut * step)); },
      commands);

  expectSurvived(outcome, commands, "cut");
  EXPECT_EQ(outcome.position.input, cuts);
}

INSTANTIATE_TEST_SUITE_P(Files, Truncation, testing::ValuesIn(support::smallFiles()),
                         support::nameOf<SmallFile>);

// ---- hostile files ----

std::filesystem::path hazardsFolder() {
  const char* const named = std::getenv("ZRDCMEXPORT_HAZARDS");
  if (named != nullptr) {
    return named;
  }
  const auto corpus = support::corpusFolder();
  return corpus ? corpus->parent_path() / "hazards" : std::filesystem::path();
}

TEST(HostileFiles, EndInAnAnswerAndTakeLittleMemory) {
  const std::filesystem::path folder = hazardsFolder();
  if (!std::filesystem::is_directory(folder)) {
    GTEST_SKIP() << "no hostile files: name their folder in ZRDCMEXPORT_HAZARDS";
  }
  constexpr long kMuchKilobytes = 1024 * 1024;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".dcm") {
      continue;
    }
    SCOPED_TRACE(entry.path().filename().string());
    const support::TempDir scratch;
    const std::vector<Command> commands = decodingCommands(entry.path().string(), scratch);

    const ChildOutcome outcome = runInChild(
        1, [](std::size_t) {}, commands);

    expectSurvived(outcome, commands, "file");
    EXPECT_LT(outcome.peakKilobytes, kMuchKilobytes);
    ++files;
  }
  EXPECT_GT(files, 0);
}

}  // namespace
