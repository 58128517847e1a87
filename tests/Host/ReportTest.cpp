// The channels that reports leave by (errors, log, debugger) and the clock.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ApiClock.h"
#include "ApiDebugOutput.h"
#include "ApiErrStream.h"
#include "ApiLogLogger.h"

TEST(ApiErrStream, AnErrorArrivesWholeAndOnce) {
  std::vector<ApiErrRecord> seen;
  const auto before = ApiErrStream::setSink([&seen](const ApiErrRecord& e) { seen.push_back(e); });
  apiErr << ApiErrCode("FORGOTTEN");
  apiErr << ApiErrCode("SOME_CODE") << ApiErrPosition("file.cpp", "Class::function", 42)
         << "/a/path" << 3 << std::wstring(L"\u00E4") << endErr;
  ApiErrMessage inSteps = apiErr << ApiErrCode("OTHER_CODE");
  inSteps << std::string("argument");
  inSteps << endErr;
  ApiErrStream::setSink(before);

  ASSERT_EQ(seen.size(), 2);
  EXPECT_EQ(seen[0].code, "SOME_CODE");
  EXPECT_EQ(seen[0].sourceFile, "file.cpp");
  EXPECT_EQ(seen[0].functionName, "Class::function");
  EXPECT_EQ(seen[0].sourceLine, 42);
  EXPECT_EQ(seen[0].arguments,
            (RWClassicTValOrderedVector<RWClassicCString>{"/a/path", "3", "\xC3\xA4"}));
  EXPECT_EQ(seen[1].code, "OTHER_CODE");
}

TEST(ApiDebugOutput, WithoutASinkTheNewest256AreKept) {
  ApiDebugOutput::clearRecent();
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 100; ++i) ApiDebugOutput::write("early");
    });
  }
  for (std::thread& each : threads) each.join();
  for (int i = 0; i < 256; ++i) ApiDebugOutput::write(std::to_string(i));
  const auto kept = ApiDebugOutput::recent();
  ASSERT_EQ(kept.size(), 256);
  EXPECT_EQ(kept.front(), "0");
  EXPECT_EQ(kept.back(), "255");
  ApiDebugOutput::clearRecent();
  EXPECT_TRUE(ApiDebugOutput::recent().empty());
}

TEST(ApiLogLogger, SinksMayThrowAndLogThemselves) {
  int calls = 0;
  const auto before = ApiLogLogger::setSink([&calls](const ApiLogRecord& entry) {
    EXPECT_EQ(entry.category, "Infrastructure    ");
    EXPECT_EQ(entry.logger, "ApiBaseToolsLogger");
    if (++calls == 1) {
      ApiLogLogger::instance("ApiBaseToolsLogger")->addLogCall(entry.category, "f", 1, 1, "again");
    }
    throw std::runtime_error("sink");
  });
  ApiLogLogger::instance("ApiBaseToolsLogger")->addLogCall("Infrastructure    ", "f", 1, 2, "m");
  ApiLogLogger::setSink(before);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(ApiLogLogger::instance("x"), ApiLogLogger::instance("x"));
  EXPECT_NE(ApiLogLogger::instance("x"), ApiLogLogger::instance());
}

TEST(ApiClock, LocalTimeFollowsTheZone) {
  ::setenv("TZ", "XXX-05:00", 1);
  // The two readings may fall on both sides of a full minute: then read again.
  ApiClockTime utc;
  ApiClockTime local;
  do {
    utc = ApiClock::utc();
    local = ApiClock::local();
  } while (ApiClock::utc().minute != utc.minute);
  ::unsetenv("TZ");
  EXPECT_EQ(local.hour, (utc.hour + 5) % 24);
  EXPECT_EQ(local.minute, utc.minute);
  EXPECT_GE(utc.year, 2020);
  EXPECT_GE(utc.month, 1);
  EXPECT_LE(utc.month, 12);
}

TEST(ApiClock, AReplacedClockDoesNotWait) {
  struct Fake : ApiClockSource {
    ApiClockTime utc() override { return {.year = 2024, .month = 7, .day = 3}; }
    ApiClockTime local() override { return {.year = 2024, .month = 7, .day = 4}; }
    void sleepMs(unsigned milliseconds) override { slept += milliseconds; }
    unsigned slept = 0;
  };
  const auto fake = std::make_shared<Fake>();
  EXPECT_EQ(ApiClock::setSource(fake), nullptr);
  for (int i = 0; i < 1000; ++i) ApiClock::sleepMs(10);
  EXPECT_EQ(fake->slept, 10'000);
  EXPECT_EQ(ApiClock::utc().day, 3);
  EXPECT_EQ(ApiClock::local().day, 4);
  EXPECT_EQ(ApiClock::setSource(nullptr), fake);
  EXPECT_GT(ApiClock::utc().year, 2024 - 1);
}
