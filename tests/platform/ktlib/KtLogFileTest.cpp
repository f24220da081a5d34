// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/KtLogFile.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using Level = KtLogFile::Level;

namespace {
using Line = std::pair<Level, std::string>;

// A log whose lines can be looked at.
struct RecordedLog {
  RecordedLog() {
    log.setSink([this](Level level, const std::string& text) { lines.emplace_back(level, text); });
  }

  std::vector<Line> lines;
  KtLogFile log;
};

// Logs when it is destroyed.
class LateLogger {
public:
  LateLogger() = default;
  ~LateLogger() { getTheLogInstance().printf("late words"); }
  LateLogger(const LateLogger&) = delete;
  LateLogger& operator=(const LateLogger&) = delete;
};
}  // namespace

TEST(KtLogFile, GivesTheTextAloneToItsSink) {
  RecordedLog recorded;

  recorded.log.printf("%s has %d frames", "volume", 7);

  EXPECT_THAT(recorded.lines, ElementsAre(Line(Level::Message, "volume has 7 frames")));
}

TEST(KtLogFile, MarksWarnings) {
  RecordedLog recorded;

  recorded.log.warnf("inconsistent %s", "table");

  EXPECT_THAT(recorded.lines, ElementsAre(Line(Level::Warning, "inconsistent table")));
}

TEST(KtLogFile, KeepsTextFromOutsideAsItIs) {
  RecordedLog recorded;

  recorded.log.printf("%s", "100%n %s%s%d");
  recorded.log.warnf("%s", "%");

  EXPECT_THAT(recorded.lines,
              ElementsAre(Line(Level::Message, "100%n %s%s%d"), Line(Level::Warning, "%")));
}

TEST(KtLogFile, TakesTextsOfAnyLength) {
  RecordedLog recorded;
  const std::string text(100000, 'x');

  recorded.log.printf("%s", text.c_str());

  EXPECT_THAT(recorded.lines, ElementsAre(Line(Level::Message, text)));
}

TEST(KtLogFile, TakesEmptyTexts) {
  RecordedLog recorded;

  recorded.log.printf("%s", "");

  EXPECT_THAT(recorded.lines, ElementsAre(Line(Level::Message, "")));
}

TEST(KtLogFile, WritesLinesToStandardErrorByDefault) {
  KtLogFile log;

  CaptureStderr();
  log.printf("message %d", 1);
  log.warnf("warning %d", 2);

  EXPECT_EQ(GetCapturedStderr(), "message 1\nW: warning 2\n");
}

TEST(KtLogFile, WritesToStandardErrorAgainWithoutASink) {
  RecordedLog recorded;

  CaptureStderr();
  recorded.log.setSink({});
  recorded.log.printf("back");

  EXPECT_EQ(GetCapturedStderr(), "back\n");
  EXPECT_TRUE(recorded.lines.empty());
}

TEST(KtLogFile, LetsASinkLog) {
  KtLogFile log;
  std::vector<std::string> texts;
  log.setSink([&](Level, const std::string& text) {
    texts.push_back(text);
    if (text == "first") {
      log.printf("second");
    }
  });

  log.printf("first");

  EXPECT_THAT(texts, ElementsAre("first", "second"));
}

TEST(KtLogFile, EndsASinkThatLogsEveryTime) {
  KtLogFile log;
  int calls = 0;
  log.setSink([&](Level, const std::string& text) {
    ++calls;
    log.printf("%s!", text.c_str());
  });

  CaptureStderr();
  log.printf("a");

  EXPECT_EQ(calls, 4);
  EXPECT_EQ(GetCapturedStderr(), "a!!!!\n");
}

TEST(KtLogFile, LetsASinkReplaceItself) {
  KtLogFile log;
  std::vector<std::string> texts;
  // The capture is longer than what std::function keeps inside, so a dead one would be noticed.
  const std::string marker(100, 'm');
  log.setSink([&log, &texts, marker](Level, const std::string&) {
    log.setSink([&texts](Level, const std::string& text) { texts.push_back(text); });
    texts.push_back(marker);
  });

  log.printf("first");
  log.printf("second");

  EXPECT_THAT(texts, ElementsAre(marker, "second"));
}

TEST(KtLogFile, PassesOnWhatASinkThrowsAndGoesOn) {
  KtLogFile log;
  std::vector<std::string> texts;
  log.setSink([&](Level, const std::string& text) {
    texts.push_back(text);
    throw std::runtime_error("disk full");
  });

  for (int i = 0; i < 6; ++i) {
    EXPECT_THROW(log.printf("%d", i), std::runtime_error);
  }

  EXPECT_EQ(texts.size(), 6U);
}

TEST(KtLogFile, GivesItsSinkOneTextAtATime) {
  RecordedLog recorded;

  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&recorded, thread] {
      for (int i = 0; i < 500; ++i) {
        recorded.log.warnf("%d %d", thread, i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  ASSERT_EQ(recorded.lines.size(), 2000U);
  EXPECT_THAT(recorded.lines, testing::Contains(Line(Level::Warning, "3 499")).Times(1));
}

TEST(KtLogFile, WaitsForTheSinkThatIsReplaced) {
  KtLogFile log;
  std::promise<void> entered;
  std::promise<void> released;
  log.setSink([&](Level, const std::string&) {
    entered.set_value();
    released.get_future().wait();
  });
  const auto logging = std::async(std::launch::async, [&] { log.printf("slow"); });
  entered.get_future().wait();

  const auto replacing = std::async(std::launch::async, [&] { log.setSink({}); });
  const auto early = replacing.wait_for(std::chrono::milliseconds(50));
  released.set_value();
  const auto late = replacing.wait_for(std::chrono::seconds(60));

  EXPECT_EQ(early, std::future_status::timeout);
  EXPECT_EQ(late, std::future_status::ready);
}

TEST(KtLogFile, IsOneForTheProcess) {
  EXPECT_EQ(&getTheLogInstance(), &getTheLogInstance());
}

TEST(KtLogFileDeathTest, LivesLongerThanStaticObjects) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(
      {
        // Made before the log, and so destroyed after everything that the log's making registered.
        static const LateLogger logger;
        getTheLogInstance().printf("early words");
        std::exit(0);
      },
      testing::ExitedWithCode(0), "early words\nlate words");
}
