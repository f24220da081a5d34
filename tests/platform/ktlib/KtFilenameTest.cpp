// SPDX-License-Identifier: BSD-3-Clause
#include "support/RowName.h"
#include "support/TempDir.h"

#include <ktlib/KtFilename.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

KtFilename named(const fs::path& path) {
  return KtFilename(path.string());
}

void touch(const fs::path& path) {
  std::ofstream(path) << "x";
}

unsigned int modeOf(const fs::path& path) {
  struct stat facts {};
  return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777U : 0;
}

// Sets the mask of the process for the time of a test.
class Umask {
public:
  explicit Umask(mode_t mask) : before_(::umask(mask)) {}
  ~Umask() { ::umask(before_); }
  Umask(const Umask&) = delete;
  Umask& operator=(const Umask&) = delete;

private:
  mode_t before_;
};

// Gives the rights of root up, who may write everywhere, for the time of a test.
class OrdinaryUser {
public:
  OrdinaryUser() {
    constexpr uid_t kNobody = 65534;
    if (isRoot_) {
      isOrdinary_ = ::seteuid(kNobody) == 0;
    }
  }
  ~OrdinaryUser() {
    if (isRoot_) {
      EXPECT_EQ(::seteuid(0), 0);
    }
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

  bool isOrdinary() const { return isOrdinary_; }

private:
  bool isRoot_ = ::geteuid() == 0;
  bool isOrdinary_ = !isRoot_;
};
}  // namespace

TEST(KtFilename, KeepsItsTextAsGiven) {
  EXPECT_EQ(KtFilename("C:").text(), "C:");
  EXPECT_EQ(KtFilename("a//b/../c/").text(), "a//b/../c/");
  EXPECT_EQ(KtFilename(std::string("x")).text(), "x");
}

TEST(KtFilename, IsEmptyForANullPointer) {
  const char* const nothing = nullptr;

  EXPECT_TRUE(KtFilename(nothing).text().empty());
}

TEST(KtFilename, KnowsADirectory) {
  const support::TempDir folder;

  EXPECT_TRUE(named(folder.path()).exists());
  EXPECT_TRUE(named(folder.path()).isDirectory());
  EXPECT_TRUE(named(folder.path()).isWriteable());
}

TEST(KtFilename, KnowsAFileFromADirectory) {
  const support::TempDir folder;
  touch(folder.file("file"));

  EXPECT_TRUE(named(folder.file("file")).exists());
  EXPECT_FALSE(named(folder.file("file")).isDirectory());
  EXPECT_TRUE(named(folder.file("file")).isWriteable());
}

TEST(KtFilename, FollowsLinks) {
  const support::TempDir folder;
  fs::create_directory(folder.file("target"));
  fs::create_symlink(folder.file("target"), folder.file("link"));
  fs::create_symlink(folder.file("nowhere"), folder.file("dangling"));

  EXPECT_TRUE(named(folder.file("link")).isDirectory());
  EXPECT_FALSE(named(folder.file("dangling")).exists());
}

struct Nothing {
  const char* name;
  std::string path;
};
class KtFilenameOfNothing : public testing::TestWithParam<Nothing> {};

TEST_P(KtFilenameOfNothing, AnswersFalse) {
  const KtFilename filename(GetParam().path);

  EXPECT_FALSE(filename.exists());
  EXPECT_FALSE(filename.isDirectory());
  EXPECT_FALSE(filename.isWriteable());
}
INSTANTIATE_TEST_SUITE_P(Paths, KtFilenameOfNothing,
                         testing::Values(Nothing{"Empty", ""},
                                         Nothing{"Missing", "/nonexistent/file"},
                                         Nothing{"BelowAFile", "/dev/null/below"},
                                         Nothing{"TooLong", std::string(10000, 'x')}),
                         support::nameOf<Nothing>);

TEST(KtFilename, SeesThatADirectoryIsReadOnly) {
  const support::TempDir folder;
  const fs::path readOnly = folder.file("read-only");
  const fs::path open = folder.file("open");
  fs::create_directory(readOnly);
  fs::create_directory(open);
  fs::permissions(folder.path(), fs::perms{0755});
  fs::permissions(readOnly, fs::perms{0555});
  fs::permissions(open, fs::perms{0777});
  const OrdinaryUser user;
  if (!user.isOrdinary()) {
    GTEST_SKIP() << "root may write everywhere, and its rights cannot be given up here";
  }

  EXPECT_FALSE(named(readOnly).isWriteable());
  EXPECT_TRUE(named(readOnly).isDirectory());
  EXPECT_TRUE(named(open).isWriteable());
}

TEST(KtFilename, CreatesADirectoryWithItsParents) {
  const support::TempDir folder;
  const Umask mask(022);

  EXPECT_TRUE(named(folder.file("a/b/c")).create(0750));

  EXPECT_EQ(modeOf(folder.file("a")), 0750U);
  EXPECT_EQ(modeOf(folder.file("a/b/c")), 0750U);
}

TEST(KtFilename, CreatesDirectoriesUnderTheMaskOfTheProcess) {
  const support::TempDir folder;
  const Umask mask(027);

  EXPECT_TRUE(named(folder.file("a")).create(0777));

  EXPECT_EQ(modeOf(folder.file("a")), 0750U);
}

TEST(KtFilename, AlwaysLetsTheOwnerUseADirectoryItCreates) {
  const support::TempDir folder;
  const Umask mask(022);

  EXPECT_TRUE(named(folder.file("none/below")).create(0));
  // 755 in decimal is 01363 in octal: sticky, -wx for the owner, rw- and -wx for the others.
  EXPECT_TRUE(named(folder.file("decimal/below")).create(755));

  EXPECT_EQ(modeOf(folder.file("none/below")), 0700U);
  EXPECT_EQ(modeOf(folder.file("decimal/below")), 01741U);
}

TEST(KtFilename, CreatesADirectoryWhoseNameEndsInASlash) {
  const support::TempDir folder;

  EXPECT_TRUE(KtFilename(folder.file("a").string() + "/").create(0755));

  EXPECT_TRUE(named(folder.file("a")).isDirectory());
}

TEST(KtFilename, LeavesAnExistingDirectoryAsItIs) {
  const support::TempDir folder;
  fs::create_directory(folder.file("a"));
  fs::permissions(folder.file("a"), fs::perms{0711});

  EXPECT_TRUE(named(folder.file("a")).create(0755));

  EXPECT_EQ(modeOf(folder.file("a")), 0711U);
}

TEST(KtFilename, CreatesNothingWhereAFileStands) {
  const support::TempDir folder;
  touch(folder.file("file"));

  EXPECT_FALSE(named(folder.file("file")).create(0755));
  EXPECT_FALSE(named(folder.file("file/below")).create(0755));
}

TEST_P(KtFilenameOfNothing, HasADirectoryWithoutThrowing) {
  EXPECT_NO_THROW((void)KtFilename(GetParam().path).directory());
}

TEST(KtFilename, CreatesNothingWithoutAName) {
  EXPECT_FALSE(KtFilename("").create(0755));
}

TEST(KtFilename, CreatesNothingUnderATooLongName) {
  const support::TempDir folder;

  EXPECT_FALSE(named(folder.file(std::string(10000, 'x'))).create(0755));
}

struct Parent {
  const char* name;
  const char* path;
  const char* directory;
};
class KtFilenameParent : public testing::TestWithParam<Parent> {};

TEST_P(KtFilenameParent, IsThePathWithoutItsLastComponent) {
  EXPECT_EQ(KtFilename(GetParam().path).directory().text(), GetParam().directory);
}
INSTANTIATE_TEST_SUITE_P(Paths, KtFilenameParent,
                         testing::Values(Parent{"Absolute", "/a/b/c.dcm", "/a/b"},
                                         Parent{"Relative", "a/b", "a"},
                                         Parent{"BareName", "c.dcm", ""},
                                         Parent{"TrailingSlash", "/a/b/", "/a/b"},
                                         Parent{"Root", "/", "/"}, Parent{"BelowRoot", "/a", "/"},
                                         Parent{"Empty", "", ""}),
                         support::nameOf<Parent>);
