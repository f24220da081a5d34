// SPDX-License-Identifier: BSD-3-Clause
// Damaged and hostile files through the verbs: whatever they hold, a run ends within seconds with
// status 0 or 1 and never by a signal. The command line runs in a child process without an exec, so
// that thousands of inputs take seconds.
#include "CommandLine.h"
#include "support/Compression.h"
#include "support/Corpus.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using support::ImageBuilder;
using support::monochromeImage;

constexpr long kSecondsAllowed = 5;
constexpr int kWrongStatus = 3;

/// A command line without its first word, which is always zrdcm.
using Command = std::vector<std::string>;

/// Every verb that decodes, on one file. The verbs are those of the program, so that a new one that is
/// named here takes part as soon as it exists.
std::vector<Command> decodingCommands(const std::string& file, const support::TempDir& scratch) {
  std::vector<Command> commands;
  const auto add = [&](const std::string& verb) {
    if (verb == "info") {
      commands.push_back({verb, file});
    } else if (verb == "decode") {
      commands.push_back({verb, file, "-o", scratch.file("out.npy").string()});
    } else if (verb == "split") {
      commands.push_back({verb, file, "-o", scratch.file("volumes").string()});
    }
  };
#define ZRDCM_VERB(function, name, summary) add(name);
#include "Verbs.def"
#undef ZRDCM_VERB
  return commands;
}

/// How far a child came; lies in memory that it shares with its parent.
struct Position {
  std::size_t input = 0;
  std::size_t command = 0;
  int status = 0;
};

class SharedPosition {
public:
  SharedPosition()
      : memory_(mmap(nullptr, sizeof(Position), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                     -1, 0)) {
    if (memory_ == MAP_FAILED) {
      throw std::system_error(errno, std::generic_category(), "mmap");
    }
    new (memory_) Position;
  }
  ~SharedPosition() { munmap(memory_, sizeof(Position)); }
  SharedPosition(const SharedPosition&) = delete;
  SharedPosition& operator=(const SharedPosition&) = delete;

  Position* operator->() const { return static_cast<Position*>(memory_); }

private:
  void* memory_;
};

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

// Ends the process by a signal when the next command computes for longer. Time on the clock would make
// the test depend on what else the machine does; who waits for ever is ended by CTest.
void limitTime() {
  const itimerval limit = {{0, 0}, {kSecondsAllowed, 0}};
  if (setitimer(ITIMER_PROF, &limit, nullptr) != 0) {
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
          _exit(kWrongStatus);
        }
      }
    }
    _exit(0);
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

struct ValidFile {
  const char* name;
  std::function<std::unique_ptr<DcmDataset>()> build;
  E_TransferSyntax syntax;
};

class Truncation : public testing::TestWithParam<ValidFile> {};

TEST_P(Truncation, AnywhereEndsInAnAnswer) {
  const support::TempDir scratch;
  const std::string whole = scratch.file("whole.dcm").string();
  // Built in a child as well: DCMTK never frees the codecs that compressing registers.
  const ChildOutcome built = runInChild(
      1, [&](std::size_t) { support::saveFile(*GetParam().build(), whole, GetParam().syntax); },
      {{"decode", whole, "-o", scratch.file("whole.npy").string()}});
  ASSERT_EQ(built.signal, 0);
  ASSERT_EQ(built.position.status, 0) << "the whole file does not decode";
  const std::string bytes = tools::readFile(whole);
  const std::string file = scratch.file("cut.dcm").string();
  const std::vector<Command> commands = decodingCommands(file, scratch);

  const ChildOutcome outcome = runInChild(
      bytes.size(), [&](std::size_t length) { tools::writeFile(file, bytes.substr(0, length)); },
      commands);

  expectSurvived(outcome, commands, "cut after byte");
  EXPECT_EQ(outcome.position.input, bytes.size());
}

std::unique_ptr<DcmDataset> gatedImage() {
  return monochromeImage(2, 2)
      .frames(4)
      .frameIncrementPointer("(0054,0080)")
      .with(DCM_SpacingBetweenSlices, "1")
      .withUint16(DCM_NumberOfSlices, 4)
      .withUint16s(DCM_SliceVector, {1, 2, 3, 4})
      .build();
}

std::unique_ptr<DcmDataset> imageWithTableAndOverlay() {
  return monochromeImage(4, 2)
      .bitsStored(12)
      .highBit(11)
      .overlayPlane(0x6000, 12)
      .overlayBits(0x6000, 12, {{1, 1}})
      .withItem(DCM_ModalityLUTSequence, support::DatasetBuilder()
                                             .withUint16s(DCM_LUTDescriptor, {4, 0, 16})
                                             .withWords(DCM_LUTData, {0, 10, 20, 30}))
      .build();
}

std::unique_ptr<DcmDataset> compressed(const ImageBuilder& image, E_TransferSyntax syntax) {
  return support::compress(*image.build(), syntax);
}

INSTANTIATE_TEST_SUITE_P(
    Files, Truncation,
    testing::Values(
        ValidFile{"Explicit", [] { return monochromeImage(4, 2).build(); },
                  EXS_LittleEndianExplicit},
        ValidFile{"BigEndian", [] { return monochromeImage(4, 2).build(); }, EXS_BigEndianExplicit},
        ValidFile{"ImplicitVolume", gatedImage, EXS_LittleEndianImplicit},
        ValidFile{"TableAndOverlay", imageWithTableAndOverlay, EXS_LittleEndianExplicit},
        ValidFile{"Deflated", gatedImage, EXS_DeflatedLittleEndianExplicit},
        ValidFile{"Colour", [] { return support::rgbImage(3, 1).unsigned8().build(); },
                  EXS_LittleEndianExplicit},
        ValidFile{"Rle",
                  [] { return compressed(monochromeImage(4, 2).frames(2), EXS_RLELossless); },
                  EXS_RLELossless},
        ValidFile{"JpegLossless",
                  [] { return compressed(monochromeImage(4, 2).frames(2), EXS_JPEGProcess14SV1); },
                  EXS_JPEGProcess14SV1},
        ValidFile{"JpegColour",
                  [] { return compressed(support::rgbImage(8, 8).unsigned8(), EXS_JPEGProcess1); },
                  EXS_JPEGProcess1},
        ValidFile{"JpegLs", [] { return compressed(monochromeImage(4, 2), EXS_JPEGLSLossless); },
                  EXS_JPEGLSLossless}),
    support::nameOf<ValidFile>);

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
