// SPDX-License-Identifier: BSD-3-Clause
#include "support/Corpus.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

using support::corpusFolder;
using support::TempDir;
using support::TsvTable;

/// Sets the environment variable for one test.
class CorpusVariable {
public:
  explicit CorpusVariable(const std::filesystem::path& path) {
    const char* earlier = std::getenv("ZRDCMEXPORT_CORPUS");
    earlier_ = earlier == nullptr ? "" : earlier;
    setenv("ZRDCMEXPORT_CORPUS", path.c_str(), 1);
  }
  ~CorpusVariable() { setenv("ZRDCMEXPORT_CORPUS", earlier_.c_str(), 1); }
  CorpusVariable(const CorpusVariable&) = delete;
  CorpusVariable& operator=(const CorpusVariable&) = delete;

private:
  std::string earlier_;
};

TEST(CorpusFolder, IsWhatTheEnvironmentNames) {
  const TempDir folder;
  std::filesystem::create_directory(folder.file("files"));
  const CorpusVariable variable(folder.path());

  EXPECT_EQ(corpusFolder(), folder.path());
}

TEST(CorpusFolder, IsNothingWhereThereAreNoFiles) {
  const TempDir folder;
  const CorpusVariable variable(folder.path());

  EXPECT_EQ(corpusFolder(), std::nullopt);
}

std::filesystem::path tableOf(const TempDir& folder, const std::string& text) {
  std::ofstream(folder.file("table.tsv")) << text;
  return folder.file("table.tsv");
}

TEST(TsvTable, ReadsCellsByTheNamesOfTheirColumns) {
  const TempDir folder;
  const TsvTable table(tableOf(folder, "file\tstatus\tnote\na.dcm\tok\t\nb.dcm\n"));

  ASSERT_EQ(table.rows().size(), 2U);
  EXPECT_EQ(table.rows()[0]["file"], "a.dcm");
  EXPECT_EQ(table.rows()[0]["status"], "ok");
  EXPECT_EQ(table.rows()[0]["note"], "");
  EXPECT_EQ(table.rows()[1]["note"], "");
}

TEST(TsvTable, FindsARowByTheTextOfACell) {
  const TempDir folder;
  const TsvTable table(tableOf(folder, "file\tstatus\na.dcm\tok\nb.dcm\tbad\n"));

  ASSERT_NE(table.find("file", "b.dcm"), nullptr);
  EXPECT_EQ((*table.find("file", "b.dcm"))["status"], "bad");
  EXPECT_EQ(table.find("file", "c.dcm"), nullptr);
}

TEST(TsvTable, RefusesUnknownColumns) {
  const TempDir folder;
  const TsvTable table(tableOf(folder, "file\na.dcm\n"));

  EXPECT_THROW((void)table.rows()[0]["md5"], std::out_of_range);
}

TEST(TsvTable, RefusesLinesWithTooManyCells) {
  const TempDir folder;
  const auto file = tableOf(folder, "file\na.dcm\tok\n");

  EXPECT_THROW(TsvTable table(file), std::runtime_error);
}

TEST(TsvTable, RefusesFilesThatCannotBeRead) {
  const TempDir folder;

  EXPECT_THROW(TsvTable table(folder.file("none.tsv")), std::runtime_error);
}

}  // namespace
