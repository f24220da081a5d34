// SPDX-License-Identifier: BSD-3-Clause
// DCMTK's log in the application's: on request, at both levels, and back.
#include "support/LogCapture.h"

#include <zrdcmexport/ExDCMLog.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/oflog/oflog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

OFLogger& logger() {
  static OFLogger instance = OFLog::getLogger("test.bridge");
  return instance;
}

class DcmtkLog : public testing::Test {
protected:
  void SetUp() override { OFLog::configure(OFLogger::INFO_LOG_LEVEL); }
  void TearDown() override {
    ExDCM::restoreDcmtkLog();
    OFLog::configure(OFLogger::WARN_LOG_LEVEL);
  }

  support::LogCapture log_;
};

TEST_F(DcmtkLog, StaysOutUntilItIsAskedFor) {
  testing::internal::CaptureStderr();
  OFLOG_WARN(logger(), "careful");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "W: careful\n");
  EXPECT_THAT(log_.texts(), IsEmpty());
}

TEST_F(DcmtkLog, ArrivesInsteadOfBeingPrinted) {
  ExDCM::forwardDcmtkLog();

  testing::internal::CaptureStderr();
  OFLOG_WARN(logger(), "careful " << 3 << " %s");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(log_.texts(), ElementsAre("test.bridge: careful 3 %s"));
}

TEST_F(DcmtkLog, IsAWarningFromWarningsOn) {
  ExDCM::forwardDcmtkLog();

  OFLOG_DEBUG(logger(), "below the level");
  OFLOG_INFO(logger(), "info");
  OFLOG_WARN(logger(), "warning");
  OFLOG_ERROR(logger(), "error");
  OFLOG_FATAL(logger(), "fatal");

  std::vector<KtLogFile::Level> levels;
  for (const support::LogCapture::Line& line : log_.lines()) {
    levels.push_back(line.level);
  }
  EXPECT_THAT(levels, ElementsAre(KtLogFile::Level::Message, KtLogFile::Level::Warning,
                                  KtLogFile::Level::Warning, KtLogFile::Level::Warning));
}

TEST_F(DcmtkLog, ArrivesOnceHoweverOftenItIsAskedFor) {
  ExDCM::forwardDcmtkLog();
  ExDCM::forwardDcmtkLog();

  OFLOG_WARN(logger(), "once");

  EXPECT_THAT(log_.texts(), SizeIs(1));
}

TEST_F(DcmtkLog, IsPrintedAgainAfterwards) {
  ExDCM::forwardDcmtkLog();
  ExDCM::forwardDcmtkLog();
  ExDCM::restoreDcmtkLog();
  ExDCM::restoreDcmtkLog();

  testing::internal::CaptureStderr();
  OFLOG_WARN(logger(), "careful");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "W: careful\n");
  EXPECT_THAT(log_.texts(), IsEmpty());
}

TEST_F(DcmtkLog, KeepsOutputsThatWereConfiguredAnew) {
  ExDCM::forwardDcmtkLog();
  OFLog::configure(OFLogger::INFO_LOG_LEVEL);
  ExDCM::restoreDcmtkLog();

  testing::internal::CaptureStderr();
  OFLOG_WARN(logger(), "careful");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "W: careful\n");
}

TEST_F(DcmtkLog, IsForwardedAgainAfterBeingConfiguredAnew) {
  ExDCM::forwardDcmtkLog();
  OFLog::configure(OFLogger::INFO_LOG_LEVEL);
  ExDCM::forwardDcmtkLog();

  OFLOG_WARN(logger(), "again");

  EXPECT_THAT(log_.texts(), ElementsAre("test.bridge: again"));
}

TEST_F(DcmtkLog, DropsWhatASinkThrows) {
  ExDCM::forwardDcmtkLog();
  getTheLogInstance().setSink(
      [](KtLogFile::Level, const std::string&) { throw std::runtime_error("full"); });

  EXPECT_NO_THROW(OFLOG_WARN(logger(), "lost"));
}

TEST_F(DcmtkLog, ArrivesFromSeveralThreads) {
  ExDCM::forwardDcmtkLog();
  constexpr int kThreads = 4;
  constexpr int kTexts = 50;

  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([] {
      for (int text = 0; text < kTexts; ++text) {
        OFLOG_WARN(logger(), "text");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_THAT(log_.lines(), SizeIs(kThreads * kTexts));
}

}  // namespace
