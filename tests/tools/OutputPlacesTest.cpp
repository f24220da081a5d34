// SPDX-License-Identifier: BSD-3-Clause
// Where files are written: what stands there already, and who else is about.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using tools::Outcome;

// 2 x 2 samples: the bytes of the .raw file.
const std::string kSamples("\x01\x00\x02\x00\x03\x00\x04\x00", 8);

class Place : public testing::Test {
protected:
  Place() {
    support::saveFile(*support::monochromeImage(2, 2).samples({1, 2, 3, 4}).build(), path("in"));
    tools::writeFile(path("samples"), kSamples);
    tools::writeFile(path("tags"),
                     R"({"SOPInstanceUID": "1.2.3", "StudyInstanceUID": "1.2.4",
                         "SeriesInstanceUID": "1.2.5"})");
  }

  fs::path path(const std::string& name) const { return folder_.file(name); }

  /// Runs a script of the shell in the folder; $zrdcm is the program.
  Outcome shell(const std::string& script) const {
    return tools::runProgram(
        {"sh", "-c", "cd \"$0\"; zrdcm=$1; " + script, folder_.path().string(), ZRDCM_PROGRAM});
  }

  Outcome decode(const std::string& target) const {
    return tools::runZrdcm({"decode", path("in").string(), "-o", target});
  }

  Outcome exportTo(const std::string& target) const {
    return tools::runZrdcm({"export", "--tags", path("tags").string(), "--pixels",
                            path("samples").string(), "--columns", "2", "--rows", "2", "-o",
                            target});
  }

  mode_t modeOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(stat(path(name).c_str(), &status), 0);
    return status.st_mode & 07777U;
  }

  std::vector<std::string> names() const { return tools::namesIn(folder_.path()); }

private:
  support::TempDir folder_;
};

// ---- what stands there ----

TEST_F(Place, KeepsThePermissionsOfWhatIsReplaced) {
  for (const char* const name : {"out.raw", "out.dcm"}) {
    tools::writeFile(path(name), "older");
    ASSERT_EQ(chmod(path(name).c_str(), 0604), 0);
  }

  EXPECT_EQ(decode(path("out.raw").string()).status, 0);
  EXPECT_EQ(exportTo(path("out.dcm").string()).status, 0);

  EXPECT_EQ(modeOf("out.raw"), 0604U);
  EXPECT_EQ(modeOf("out.dcm"), 0604U);
}

TEST_F(Place, GivesNewFilesThePermissionsThatTheUmaskLeaves) {
  const Outcome outcome = shell(
      "umask 027; \"$zrdcm\" decode in -o out.raw && \"$zrdcm\" export --tags tags --pixels "
      "samples "
      "--columns 2 --rows 2 -o out.dcm");

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(modeOf("out.raw"), 0640U);
  EXPECT_EQ(modeOf("out.dcm"), 0640U);
}

TEST_F(Place, KeepsTheOwnerWhenRootReplacesAFile) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give files away";
  }
  constexpr uid_t kSomebody = 12345;
  tools::writeFile(path("out.raw"), "older");
  ASSERT_EQ(chown(path("out.raw").c_str(), kSomebody, kSomebody), 0);

  EXPECT_EQ(decode(path("out.raw").string()).status, 0);

  struct stat status {};
  ASSERT_EQ(stat(path("out.raw").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kSomebody);
  EXPECT_EQ(tools::readFile(path("out.raw")), kSamples);
}

TEST_F(Place, RefusesALinkThatLeadsNowhere) {
  fs::create_symlink("nowhere", path("out.raw"));
  fs::create_symlink("nowhere", path("out.dcm"));

  const Outcome decoded = decode(path("out.raw").string());
  const Outcome exported = exportTo(path("out.dcm").string());

  EXPECT_EQ(decoded.status, 1);
  EXPECT_EQ(decoded.errors, "zrdcm: cannot write " + path("out.raw").string() +
                                ": it is a link that leads nowhere\n");
  EXPECT_EQ(exported.status, 1);
  EXPECT_TRUE(fs::is_symlink(path("out.raw")));
  EXPECT_THAT(names(), ElementsAre("in", "out.dcm", "out.raw", "samples", "tags"));
}

TEST_F(Place, RefusesLinksInACircle) {
  fs::create_symlink("b.raw", path("a.raw"));
  fs::create_symlink("a.raw", path("b.raw"));

  const Outcome outcome = decode(path("a.raw").string());

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write " + path("a.raw").string() +
                                ": Too many levels of symbolic links\n");
}

TEST_F(Place, WantsAFolderThatIsThere) {
  const Outcome outcome = exportTo(path("missing/out.dcm").string());

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write " + path("missing/out.dcm").string() +
                                ": No such file or directory\n");
  EXPECT_FALSE(fs::exists(path("missing")));
}

TEST_F(Place, WantsAName) {
  EXPECT_EQ(exportTo("").errors, "zrdcm: cannot write : No such file or directory\n");
  EXPECT_EQ(exportTo(path("new/").string()).status, 1);
  EXPECT_FALSE(fs::exists(path("new")));
}

TEST_F(Place, TakesNamesOf255Bytes) {
  const std::string raw = std::string(251, 'n') + ".raw";
  const std::string dicom = std::string(251, 'n') + ".dcm";

  EXPECT_EQ(decode(path(raw).string()).status, 0);
  EXPECT_EQ(exportTo(path(dicom).string()).status, 0);

  EXPECT_EQ(tools::readFile(path(raw)), kSamples);
  EXPECT_TRUE(fs::is_regular_file(path(dicom)));
  EXPECT_EQ(decode(path("n" + raw).string()).errors,
            "zrdcm: cannot write " + path("n" + raw).string() + ": File name too long\n");
}

TEST_F(Place, MayHaveAFolderThatEndsInAColon) {
  fs::create_directory(path("D:"));

  const Outcome whole = exportTo(path("D:/out.dcm").string());
  const Outcome relative = shell(
      "cd D:; \"$zrdcm\" export --tags ../tags --pixels ../samples --columns 2 --rows 2 -o "
      "near.dcm");

  EXPECT_EQ(whole.status, 0) << whole.errors;
  EXPECT_EQ(relative.status, 0) << relative.errors;
  EXPECT_THAT(names(), ElementsAre("D:", "in", "samples", "tags"));
  EXPECT_THAT(tools::namesIn(path("D:")), ElementsAre("near.dcm", "out.dcm"));
  EXPECT_EQ(tools::runZrdcm({"info", path("D:/out.dcm").string()}).status, 0);
}

// ---- devices and pipes ----

TEST_F(Place, MayBeStandardOutput) {
  ASSERT_EQ(exportTo(path("file.dcm").string()).status, 0);
  const std::string script =
      "e() { \"$zrdcm\" export --tags tags --pixels samples --columns 2 --rows 2 -o /dev/stdout; "
      "}; ";

  EXPECT_EQ(shell(script + "e | cat > piped").status, 0);
  EXPECT_EQ(shell(script + "e > redirected").status, 0);
  EXPECT_EQ(shell(script + "printf first > appended; e >> appended").status, 0);

  const std::size_t bytes = fs::file_size(path("file.dcm"));
  EXPECT_EQ(fs::file_size(path("piped")), bytes);
  EXPECT_EQ(fs::file_size(path("redirected")), bytes);
  EXPECT_EQ(fs::file_size(path("appended")), bytes + 5);
  EXPECT_EQ(tools::readFile(path("appended")).substr(0, 5), "first");
  EXPECT_EQ(tools::runZrdcm({"info", path("piped").string()}).status, 0);
}

TEST_F(Place, MayBeALinkToStandardOutput) {
  fs::create_symlink("/dev/stdout", path("out.raw"));

  EXPECT_EQ(shell("printf 12 > got; \"$zrdcm\" decode in -o out.raw >> got").status, 0);

  EXPECT_EQ(tools::readFile(path("got")), "12" + kSamples);
}

TEST_F(Place, MayBeAPipe) {
  const Outcome outcome = shell(
      "mkfifo pipe.raw; cat pipe.raw > got & timeout 20 \"$zrdcm\" decode in -o pipe.raw; "
      "status=$?; wait; exit $status");

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(tools::readFile(path("got")), kSamples);
  EXPECT_TRUE(fs::is_fifo(path("pipe.raw")));
}

TEST_F(Place, IsNoSocket) {
  sockaddr_un address = {AF_UNIX, {}};
  ASSERT_LT(path("out.raw").string().size(), sizeof address.sun_path);
  path("out.raw").string().copy(address.sun_path, sizeof address.sun_path);
  const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);

  const Outcome outcome = decode(path("out.raw").string());

  close(descriptor);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "zrdcm: cannot write " + path("out.raw").string() + ": No such device or address\n");
  EXPECT_TRUE(fs::is_socket(path("out.raw")));
}

TEST_F(Place, IsNotAnInputThatStandardOutputAppendsTo) {
  const std::string before = tools::readFile(path("in"));

  const Outcome outcome = shell(
      "\"$zrdcm\" export --from in --pixels samples --columns 2 --rows 2 -o /dev/stdout >> in");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write /dev/stdout: that would replace the input in\n");
  EXPECT_EQ(tools::readFile(path("in")), before);
}

// ---- who else is about ----

struct Planted {
  const char* name;
  const char* command;  ///< makes $plant beside the output
};

class PlantedName : public Place, public testing::WithParamInterface<Planted> {};

// A name that follows from the target and the process could be there first.
TEST_P(PlantedName, ChangesNothing) {
  tools::writeFile(path("victim"), "victim");

  // The shell's number is that of the program that takes its place.
  const Outcome outcome = shell(std::string("plant=.out.raw.$$.part; ") + GetParam().command +
                                " exec \"$zrdcm\" decode in -o out.raw");

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  ASSERT_TRUE(fs::is_regular_file(path("out.raw")));
  EXPECT_EQ(tools::readFile(path("out.raw")), kSamples);
  EXPECT_EQ(tools::readFile(path("victim")), "victim");
  EXPECT_EQ(names().size(), 6U);  // in, samples, tags, victim, out.raw and what was planted
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, PlantedName,
    testing::Values(Planted{"HardLink", "ln victim $plant;"},
                    Planted{"Link", "ln -s victim $plant;"},
                    Planted{"Pipe", "mkfifo $plant; timeout 5 cat $plant > /dev/null &"},
                    Planted{"Folder", "mkdir $plant;"}),
    support::nameOf<Planted>);

TEST_F(Place, IsWholeAfterSeveralHaveWrittenIt) {
  support::saveFile(*support::monochromeImage(512, 512).build(), path("large"));

  const Outcome outcome = shell(
      "for i in 1 2 3 4 5; do for from in in large; do \"$zrdcm\" decode $from -o out.raw || echo "
      "bad "
      "& done; done; wait");

  EXPECT_EQ(outcome.output + outcome.errors, "");
  const std::size_t bytes = fs::file_size(path("out.raw"));
  EXPECT_TRUE(bytes == kSamples.size() || bytes == 512U * 512U * 2U) << bytes;
  EXPECT_THAT(names(), ElementsAre("in", "large", "out.raw", "samples", "tags"));
}

// ---- full disks ----

TEST_F(Place, OnAFullDiskIsSaidToBeFull) {
  support::saveFile(*support::monochromeImage(1024, 1024).build(), path("large"));
  fs::create_directory(path("copies"));
  fs::create_symlink("/dev/full", path("copies/0001.dcm"));

  const Outcome outcome =
      tools::runZrdcm({"sort", "--copy", path("copies").string(), path("large").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write " + path("copies/0001.dcm").string() +
                                ": No space left on device\n");
}

TEST_F(Place, WithRoomForHalfLeavesTheOlderFile) {
  support::saveFile(*support::monochromeImage(1024, 1024).build(), path("large"));
  fs::create_directory(path("copies"));
  tools::writeFile(path("copies/0001.dcm"), "older");

  // 512 KiB of the 2 MiB; the errors go through a pipe, for which the limit does not hold.
  const Outcome outcome =
      shell("(ulimit -f 1024; \"$zrdcm\" sort --copy copies large 2>&1; echo $?) | cat");

  EXPECT_EQ(outcome.output, "zrdcm: cannot write copies/0001.dcm: File too large\n1\n");
  EXPECT_EQ(tools::readFile(path("copies/0001.dcm")), "older");
  EXPECT_THAT(tools::namesIn(path("copies")), ElementsAre("0001.dcm"));
}

}  // namespace
