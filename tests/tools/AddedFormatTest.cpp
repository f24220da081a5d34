// SPDX-License-Identifier: BSD-3-Clause
// A format that a program adds to the table is known to every verb: nothing else lists formats.
#include "CommandLine.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include <zrimaging/Formats.h>
#include <zrimaging/Output.h>

namespace {

using testing::HasSubstr;

// Samples in digits, frame by frame.
void writeDigits(const std::filesystem::path& target, const zr::ProtectedInputs& inputs,
                 const zr::ArrayToWrite& array) {
  zr::OutputFile file(target, inputs);
  for (std::size_t index = 0; index < array.layout.frames; ++index) {
    const zr::SampleArray frame = array.frameAt(index);
    for (std::size_t i = 0; i < frame.rows * frame.columns; ++i) {
      file.write(std::to_string(frame.sample(i)) + " ");
    }
    file.write("\n");
  }
  file.commit();
}

constexpr zr::OutputFormat kDigits = {"digits", ".digits",
                                      zr::kSixteenBits | zr::kSeveralFrames | zr::kShape,
                                      "samples in digits", writeDigits};

class AddedFormat : public testing::Test {
protected:
  static void SetUpTestSuite() { zr::addFormat(kDigits); }

  /// Runs the command line in a child, which knows the format, too; yields its output.
  std::string run(const std::vector<std::string>& words) const {
    const std::string output = folder_.file("stdout").string();
    const pid_t child = fork();
    if (child == 0) {
      std::vector<const char*> arguments = {"zrdcm"};
      for (const std::string& word : words) {
        arguments.push_back(word.c_str());
      }
      const bool opened = std::freopen(output.c_str(), "w", stdout) != nullptr &&
                          dup2(STDOUT_FILENO, STDERR_FILENO) >= 0;
      const int status =
          opened ? zrdcm::runCommandLine(static_cast<int>(arguments.size()), arguments.data()) : 99;
      (void)std::fflush(stdout);
      _exit(status);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << tools::readFile(output);
    return tools::readFile(output);
  }

  std::string path(const std::string& name) const { return folder_.file(name).string(); }

  support::TempDir folder_;
};

TEST_F(AddedFormat, IsWhatDecodeWritesToItsEnding) {
  support::saveFile(*support::monochromeImage(2, 1).frames(2).samples({1, 2, 3, 4}).build(),
                    path("in.dcm"));

  run({"decode", path("in.dcm"), "-o", path("out.digits")});

  EXPECT_EQ(tools::readFile(path("out.digits")), "1 2 \n3 4 \n");
}

TEST_F(AddedFormat, IsAChoiceForVolumes) {
  EXPECT_THAT(run({"split", "--help"}), HasSubstr("nrrd|npy|tiff|digits"));
}

TEST_F(AddedFormat, IsListedByTheHelp) {
  const std::string help = run({"decode", "--help"});

  EXPECT_THAT(help, HasSubstr("into .npy, .nrrd, .raw, .png, .tiff, .jpg or .digits"));
  EXPECT_THAT(help, HasSubstr("  .digits samples in digits\n"));
}

}  // namespace
