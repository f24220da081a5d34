// SPDX-License-Identifier: BSD-3-Clause
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

TEST(TempDir, GoesAwayWithItsFiles) {
  std::filesystem::path path;
  {
    const support::TempDir folder;
    path = folder.path();
    std::ofstream(folder.file("note.txt")) << "hello";
    ASSERT_TRUE(std::filesystem::exists(path / "note.txt"));
  }

  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TempDir, IsANewFolderEachTime) {
  const support::TempDir first;
  const support::TempDir second;

  EXPECT_NE(first.path(), second.path());
}

}  // namespace
