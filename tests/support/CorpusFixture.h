// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Corpus.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace support {

/// Tests that read real files. Those are not ours to hand on, so where the folder is missing the
/// tests skip themselves and say how to name it.
class CorpusFixture : public testing::Test {
protected:
  void SetUp() override {
    const auto folder = corpusFolder();
    if (!folder) {
      GTEST_SKIP() << "no folder of real files; ZRDCMEXPORT_CORPUS names one";
    }
    corpus_ = *folder;
  }

  /// Folder with `files/`, `manifest.tsv` and `expected.tsv`.
  const std::filesystem::path& corpus() const { return corpus_; }

private:
  std::filesystem::path corpus_;
};

}  // namespace support
