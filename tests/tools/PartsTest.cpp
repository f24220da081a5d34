// SPDX-License-Identifier: BSD-3-Clause
// Parts of the command line that no file and no option brings about.
#include "CommandTree.h"
#include "support/Files.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <zrimaging/Formats.h>
#include <zrimaging/Output.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// What the user reads of the work's failure; empty when it does not fail.
std::string failureOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const zr::Error& error) {
    return error.what();
  }
  return "";
}

TEST(PngFile, OfNothingIsAFailure) {
  const support::TempDir folder;
  const std::string target = folder.file("out.png").string();

  EXPECT_THAT(failureOf([&] { zr::writePicture(target, {}, {}); }),
              StartsWith("cannot make " + target + ": "));
  EXPECT_THAT(support::namesIn(folder.path()), IsEmpty());
}

// In the shell's single quotes only another pair of quotes can bring one.
TEST(ZshCompletion, KeepsApostrophesOfDescriptions) {
  zrdcm::CommandTree program;
  program.name = "program";
  program.options = {{{"--colour"}, "", {}, "A file's [own] colour", false}};

  EXPECT_THAT(zrdcm::zshCompletion(program),
              HasSubstr("'(--colour)'--colour'[A file'\\''s \\[own\\] colour]'"));
}

}  // namespace
