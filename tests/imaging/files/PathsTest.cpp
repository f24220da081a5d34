// SPDX-License-Identifier: BSD-3-Clause
// The files that paths stand for: folders, links, lists.
#include "support/Files.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <vector>
#include <zrimaging/Paths.h>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class Paths : public testing::Test {
protected:
  std::string touch(const std::string& name) const {
    fs::create_directories(folder_.file(name).parent_path());
    support::writeFile(folder_.file(name), "x");
    return folder_.file(name).string();
  }

  std::string at(const std::string& name) const { return folder_.file(name).string(); }

  static std::vector<zr::PathEntry> entriesOf(const std::vector<std::string>& paths,
                                              const std::string& input = "") {
    std::istringstream stream(input);
    std::vector<zr::PathEntry> entries;
    zr::visitPaths(paths, stream, [&](const zr::PathEntry& entry) { entries.push_back(entry); });
    return entries;
  }

  static std::vector<std::string> filesOf(const std::vector<std::string>& paths,
                                          const std::string& input = "") {
    std::vector<std::string> files;
    for (const zr::PathEntry& entry : entriesOf(paths, input)) {
      files.push_back(entry.path.string());
    }
    return files;
  }

  support::TempDir folder_;
};

TEST_F(Paths, KeepTheOrderInWhichTheyAreNamed) {
  const std::string b = touch("b");
  const std::string a = touch("a");

  EXPECT_THAT(filesOf({b, a, b}), ElementsAre(b, a, b));
}

TEST_F(Paths, OfAFolderAreItsFilesAndThoseBelowByName) {
  const std::string last = touch("top/z");
  const std::string below = touch("top/m/1");
  const std::string first = touch("top/a");

  EXPECT_THAT(filesOf({at("top")}), ElementsAre(first, below, last));
}

TEST_F(Paths, TellWhatWasNamedAndWhatWasFound) {
  const std::string file = touch("top/a");

  const std::vector<zr::PathEntry> entries = entriesOf({file, at("top")});

  ASSERT_EQ(entries.size(), 2U);
  EXPECT_FALSE(entries[0].inFolder);
  EXPECT_TRUE(entries[1].inFolder);
}

TEST_F(Paths, AreHandedOutThoughNothingIsThere) {
  EXPECT_THAT(filesOf({at("missing")}), ElementsAre(at("missing")));
}

TEST_F(Paths, FollowLinksToFoldersButNotInCircles) {
  const std::string file = touch("top/a");
  touch("elsewhere/b");
  fs::create_directory_symlink("..", at("top/circle"));
  fs::create_directory_symlink(at("elsewhere"), at("top/link"));

  // The circle leads above the folder, where all else is found; nothing is walked again.
  EXPECT_THAT(filesOf({at("top")}), ElementsAre(file, at("top/circle/elsewhere/b")));
}

TEST_F(Paths, ComeFromAList) {
  const std::string one = touch("with blank");
  const std::string two = touch("top/b");
  support::writeFile(at("list"), one + "\r\n\n" + at("top") + "\n@odd\n-");

  EXPECT_THAT(filesOf({"@" + at("list")}), ElementsAre(one, two, "@odd", "-"));
}

TEST_F(Paths, ComeFromTheInput) {
  EXPECT_THAT(filesOf({"a", "-"}, "b\nc\n"), ElementsAre("a", "b", "c"));
}

TEST_F(Paths, SayWhyAListCannotBeRead) {
  const std::vector<zr::PathEntry> missing = entriesOf({"@" + at("missing")});
  const std::vector<zr::PathEntry> folder = entriesOf({"@" + at(".")});

  ASSERT_EQ(missing.size(), 1U);
  EXPECT_EQ(missing[0].problem, "cannot be opened: No such file or directory");
  ASSERT_EQ(folder.size(), 1U);
  EXPECT_EQ(folder[0].problem, "is a folder, not a list of files");
}

TEST_F(Paths, LeaveOutWhatIsNoFileInAFolder) {
  fs::create_directories(at("top"));
  ASSERT_EQ(mkfifo(at("top/pipe").c_str(), 0600), 0);

  EXPECT_THAT(filesOf({at("top")}), IsEmpty());
}

TEST_F(Paths, ShowALinkThatLeadsNowhere) {
  fs::create_directories(at("top"));
  fs::create_symlink("nowhere", at("top/link"));

  EXPECT_THAT(filesOf({at("top")}), ElementsAre(at("top/link")));
}

TEST_F(Paths, SayWhichFolderCannotBeListed) {
  touch("top/closed/a");
  fs::permissions(at("top/closed"), fs::perms::none);
  std::error_code error;
  if (fs::directory_iterator(at("top/closed"), error); !error) {
    fs::permissions(at("top/closed"), fs::perms::owner_all);
    GTEST_SKIP() << "this user may read every folder";
  }

  const std::vector<zr::PathEntry> entries = entriesOf({at("top")});

  fs::permissions(at("top/closed"), fs::perms::owner_all);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].path, at("top/closed"));
  EXPECT_THAT(entries[0].problem, StartsWith("cannot be listed: "));
}

}  // namespace
