// SPDX-License-Identifier: BSD-3-Clause
// Signals in the midst of writing: nothing half-written stays, and the exit status tells.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <random>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using testing::ElementsAre;

/// A program that is running.
class Process {
public:
  explicit Process(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& argument : command) {
      arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    const int error = posix_spawnp(&id_, arguments[0], nullptr, nullptr, arguments.data(), environ);
    if (error != 0) {
      throw std::system_error(error, std::generic_category(), command[0]);
    }
  }

  void send(int signal) const { kill(id_, signal); }

  /// Status of waitpid.
  int wait() const {
    int status = -1;
    EXPECT_EQ(waitpid(id_, &status, 0), id_);
    return status;
  }

private:
  pid_t id_ = 0;
};

/// An image that takes a while to become a picture: noise cannot be packed.
class Writing : public testing::Test {
protected:
  static void SetUpTestSuite() {
    inputFolder = new support::TempDir;
    std::vector<int> noise(3000U * 3000U);
    std::mt19937 random(1);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<int>(random() & 0xFFU); });
    support::saveFile(*support::monochromeImage(3000, 3000).unsigned8().samples(noise).build(),
                      inputFolder->file("in.dcm"));
  }

  static void TearDownTestSuite() {
    delete inputFolder;
    inputFolder = nullptr;
  }

  Writing() { tools::writeFile(folder_.file("out.png"), "older"); }

  std::vector<std::string> names() const { return tools::namesIn(folder_.path()); }
  std::string content() const { return tools::readFile(folder_.file("out.png")); }

  std::vector<std::string> decode() const {
    return {ZRDCM_PROGRAM, "decode", inputFolder->file("in.dcm").string(), "-o",
            folder_.file("out.png").string()};
  }

  /// Waits until a temporary file stands beside the older one.
  void waitForTemporary() const {
    for (int tries = 0; tries < 20000 && names().size() < 2; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_EQ(names().size(), 2U);
  }

private:
  static support::TempDir* inputFolder;
  support::TempDir folder_;
};

support::TempDir* Writing::inputFolder = nullptr;

struct Ending {
  const char* name;
  int signal;
  int status;
};

class WritingUntil : public Writing, public testing::WithParamInterface<Ending> {};

TEST_P(WritingUntil, LeavesNothing) {
  const Process process(decode());
  waitForTemporary();

  process.send(GetParam().signal);

  const int status = process.wait();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), GetParam().status);
  EXPECT_THAT(names(), ElementsAre("out.png"));
  EXPECT_EQ(content(), "older");
}

INSTANTIATE_TEST_SUITE_P(Signals, WritingUntil,
                         testing::Values(Ending{"Interrupted", SIGINT, 130},
                                         Ending{"Terminated", SIGTERM, 143},
                                         Ending{"HungUp", SIGHUP, 129}),
                         support::nameOf<Ending>);

TEST_F(Writing, GoesOnAfterAHangUpThatTheCallerIgnores) {
  std::vector<std::string> command = {"sh", "-c", "trap '' HUP; exec \"$0\" \"$@\""};
  const std::vector<std::string> decoding = decode();
  command.insert(command.end(), decoding.begin(), decoding.end());
  const Process process(command);
  waitForTemporary();

  process.send(SIGHUP);

  const int status = process.wait();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_THAT(names(), ElementsAre("out.png"));
  EXPECT_EQ(content().substr(1, 3), "PNG");
}

}  // namespace
