// Tests of the logger's building blocks: record prefix, level names, source
// file names, queue pressure, calendar days, trimming, semaphore and files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "log4z_support.h"
#include "log_test_helpers.h"

using namespace logtest;

namespace {

// 2024-03-05 14:07:09 in seconds after that day's midnight.
constexpr int64_t kFourteenOhSevenOhNine = 14 * 3600 + 7 * 60 + 9;

std::string prefixOf(const LogDay& day, int64_t time, unsigned ms, unsigned tid, int level)
{
    char buf[kLogPrefixMaxLength + 1];
    int len = formatLogPrefix(buf, day, time, ms, tid, level);
    return std::string(buf, static_cast<size_t>(len));
}

const LogDay kMarchFifth = {1000000, 2024, 3, 5};

}  // namespace

TEST(LogPrefix, FixedTimeStampGivesDateTimeThreadAndLevel)
{
    EXPECT_EQ("2024-03-05 14:07:09.042 [1234] LOG_DEBUG ",
              prefixOf(kMarchFifth, kMarchFifth.dwMidnight + kFourteenOhSevenOhNine, 42, 1234, LOG_DEBUG));
}

TEST(LogPrefix, MidnightIsAllZeros)
{
    EXPECT_EQ("2024-03-05 00:00:00.000 [7] LOG_INFO ", prefixOf(kMarchFifth, kMarchFifth.dwMidnight, 0, 7, LOG_INFO));
}

TEST(LogPrefix, LastSecondOfTheDayIs235959)
{
    EXPECT_EQ("2024-03-05 23:59:59.999 [7] LOG_INFO ",
              prefixOf(kMarchFifth, kMarchFifth.dwMidnight + 86399, 999, 7, LOG_INFO));
}

TEST(LogPrefix, YearIsPaddedToFourDigits)
{
    LogDay early = {0, 987, 1, 2};
    EXPECT_EQ("0987-01-02 00:00:05.001 [1] LOG_TRACE ", prefixOf(early, 5, 1, 1, LOG_TRACE));
}

TEST(LogPrefix, LargestThreadIdIsWrittenInFull)
{
    EXPECT_EQ("2024-03-05 00:00:00.000 [4294967295] LOG_FATAL ",
              prefixOf(kMarchFifth, kMarchFifth.dwMidnight, 0, 4294967295u, LOG_FATAL));
}

TEST(LogPrefix, LongestPrefixFitsItsBound)
{
    std::string p = prefixOf(kMarchFifth, kMarchFifth.dwMidnight, 0, 4294967295u, LOG_DEBUG);
    EXPECT_EQ(static_cast<size_t>(kLogPrefixMaxLength), p.size());
}

TEST(LogLevelNames, TableNamesEveryLevel)
{
    EXPECT_STREQ("LOG_TRACE", logLevelName(LOG_TRACE));
    EXPECT_STREQ("LOG_DEBUG", logLevelName(LOG_DEBUG));
    EXPECT_STREQ("LOG_INFO", logLevelName(LOG_INFO));
    EXPECT_STREQ("LOG_WARN", logLevelName(LOG_WARN));
    EXPECT_STREQ("LOG_ERROR", logLevelName(LOG_ERROR));
    EXPECT_STREQ("LOG_ALARM", logLevelName(LOG_ALARM));
    EXPECT_STREQ("LOG_FATAL", logLevelName(LOG_FATAL));
}

TEST(LogLevelNames, LevelConstantsHaveTheirNumbers)
{
    EXPECT_EQ(0, LOG_TRACE);
    EXPECT_EQ(1, LOG_DEBUG);
    EXPECT_EQ(2, LOG_INFO);
    EXPECT_EQ(3, LOG_WARN);
    EXPECT_EQ(4, LOG_ERROR);
    EXPECT_EQ(5, LOG_ALARM);
    EXPECT_EQ(6, LOG_FATAL);
    EXPECT_EQ(0, LOG4Z_MAIN_LOGGER_ID);
}

TEST(LogLevelNames, LevelBelowTheTableIsNamedTrace)
{
    EXPECT_STREQ("LOG_TRACE", logLevelName(-3));
}

TEST(LogLevelNames, LevelAboveTheTableIsNamedFatal)
{
    EXPECT_STREQ("LOG_FATAL", logLevelName(42));
}

TEST(LogFileBaseName, SlashPathKeepsLastComponent)
{
    EXPECT_STREQ("CLEFile.cpp", logFileBaseName("jobchannel/CLEFile.cpp"));
}

TEST(LogFileBaseName, BackslashPathKeepsLastComponent)
{
    EXPECT_STREQ("render.cpp", logFileBaseName("src\\render\\render.cpp"));
}

TEST(LogFileBaseName, MixedSeparatorsUseTheLastOne)
{
    EXPECT_STREQ("c.cpp", logFileBaseName("a/b\\c.cpp"));
}

TEST(LogFileBaseName, PlainNameStaysAsItIs)
{
    EXPECT_STREQ("main.cpp", logFileBaseName("main.cpp"));
}

TEST(LogFileBaseName, TrailingSeparatorLeavesEmptyName)
{
    EXPECT_STREQ("", logFileBaseName("dir/"));
}

TEST(QueuePressure, NoPressureUpToTheLimit)
{
    EXPECT_EQ(0u, queuePressureRate(20000));
}

TEST(QueuePressure, OneRecordOverTheLimitRoundsToZero)
{
    EXPECT_EQ(0u, queuePressureRate(20001));
}

TEST(QueuePressure, HalfTheLimitOverGivesFifty)
{
    EXPECT_EQ(50u, queuePressureRate(30000));
}

TEST(QueuePressure, TwiceTheLimitGivesHundred)
{
    EXPECT_EQ(100u, queuePressureRate(40000));
}

TEST(QueuePressure, RateIsNotClampedHere)
{
    EXPECT_EQ(200u, queuePressureRate(60000));
}

TEST(LogDayCache, CoversItsFirstSecond)
{
    EXPECT_TRUE(kMarchFifth.covers(kMarchFifth.dwMidnight));
}

TEST(LogDayCache, CoversItsLastSecond)
{
    EXPECT_TRUE(kMarchFifth.covers(kMarchFifth.dwMidnight + 86399));
}

TEST(LogDayCache, NextMidnightIsOutside)
{
    EXPECT_FALSE(kMarchFifth.covers(kMarchFifth.dwMidnight + 86400));
}

TEST(LogDayCache, SecondBeforeMidnightIsOutside)
{
    EXPECT_FALSE(kMarchFifth.covers(kMarchFifth.dwMidnight - 1));
}

TEST(LogDayCache, LocalDayOfATimeStamp)
{
    setenv("TZ", "UTC", 1);
    tzset();
    LogDay day = LogDay::of(1709647629);  // 2024-03-05 14:07:09 UTC
    EXPECT_EQ(2024, day.nYear);
    EXPECT_EQ(3, day.nMonth);
    EXPECT_EQ(5, day.nDay);
    EXPECT_EQ(1709596800, day.dwMidnight);
}

TEST(LogDayCache, LocalDayFollowsTheTimeZone)
{
    setenv("TZ", "UTC-2", 1);  // two hours east of UTC
    tzset();
    LogDay day = LogDay::of(1709675000);  // 2024-03-05 21:43:20 UTC, 23:43:20 local
    EXPECT_EQ(5, day.nDay);
    EXPECT_EQ(1709596800 - 2 * 3600, day.dwMidnight);
}

TEST(TrimLogConfig, DefaultSetRemovesSurroundingWhitespace)
{
    std::string text = "\r\n\t  a b \t\r\n";
    trimLogConfig(text);
    EXPECT_EQ("a b", text);
}

TEST(TrimLogConfig, GivenSetRemovesOnlyItsCharacters)
{
    std::string text = "[[Label]] ";
    trimLogConfig(text, "[]");
    EXPECT_EQ("Label]] ", text);
}

TEST(TrimLogConfig, BracketSetStripsBothEnds)
{
    std::string text = "[Label]";
    trimLogConfig(text, "[]");
    EXPECT_EQ("Label", text);
}

TEST(TrimLogConfig, TextOfOnlySetCharactersBecomesEmpty)
{
    std::string text = " \t\r\n ";
    trimLogConfig(text);
    EXPECT_EQ("", text);
}

TEST(TrimLogConfig, EmptyTextStaysEmpty)
{
    std::string text;
    trimLogConfig(text);
    EXPECT_EQ("", text);
}

TEST(SemHelperWait, TimesOutWithoutAPost)
{
    SemHelper sem;
    ASSERT_TRUE(sem.create(0));
    EXPECT_FALSE(sem.wait(100));
}

TEST(SemHelperWait, InitialCountIsTakenAtOnce)
{
    SemHelper sem;
    ASSERT_TRUE(sem.create(1));
    EXPECT_TRUE(sem.wait(100));
}

TEST(SemHelperWait, ZeroTimeOutWaitsForThePost)
{
    SemHelper sem;
    ASSERT_TRUE(sem.create(0));
    ASSERT_TRUE(sem.post());
    EXPECT_TRUE(sem.wait(0));
}

TEST(SemHelperWait, UncreatedSemaphoreRefuses)
{
    SemHelper sem;
    EXPECT_FALSE(sem.wait(100));
    EXPECT_FALSE(sem.post());
}

namespace {

// A thread that posts a semaphore from run().
class PostingThread : public ThreadHelper {
public:
    explicit PostingThread(SemHelper& sem) : m_sem(sem) {}
    void run() override { m_sem.post(); }

private:
    SemHelper& m_sem;
};

}  // namespace

TEST(ThreadHelperRun, StartedThreadRunsItsBody)
{
    SemHelper sem;
    ASSERT_TRUE(sem.create(0));
    PostingThread thread(sem);
    ASSERT_TRUE(thread.start());
    EXPECT_TRUE(thread.wait());
    EXPECT_TRUE(sem.wait(100));
}

TEST(SemHelperWait, PostFromAnotherThreadEndsAWaitWithATimeOut)
{
    SemHelper sem;
    ASSERT_TRUE(sem.create(0));
    PostingThread thread(sem);
    ASSERT_TRUE(thread.start());
    EXPECT_TRUE(sem.wait(60000));
    EXPECT_TRUE(thread.wait());
}

TEST(SemHelperWait, WaitWithATimeOutTakesOnePostEachTime)
{
    SemHelper sem;
    ASSERT_TRUE(sem.create(0));
    ASSERT_TRUE(sem.post());
    ASSERT_TRUE(sem.post());
    EXPECT_TRUE(sem.wait(100));
    EXPECT_TRUE(sem.wait(100));
    EXPECT_FALSE(sem.wait(1));
}

TEST(ThreadHelperRun, WaitWithoutStartIsRefused)
{
    SemHelper sem;
    PostingThread thread(sem);
    EXPECT_FALSE(thread.wait());
}

TEST(Log4zFileHandlerFile, ReadContentReturnsTheWholeFile)
{
    TempDir dir;
    std::string content("first\r\nsecond\0third", 19);
    WriteFile(dir.File("f.txt"), content);
    Log4zFileHandler file;
    ASSERT_TRUE(file.open(dir.File("f.txt").c_str(), "rb"));
    EXPECT_EQ(content, file.readContent());
}

TEST(Log4zFileHandlerFile, SizeIsTheFileLength)
{
    TempDir dir;
    WriteFile(dir.File("f.txt"), "12345");
    Log4zFileHandler file;
    ASSERT_TRUE(file.open(dir.File("f.txt").c_str(), "ab"));
    EXPECT_EQ(5u, file.size());
}

TEST(Log4zFileHandlerFile, MissingFileDoesNotOpen)
{
    TempDir dir;
    Log4zFileHandler file;
    EXPECT_FALSE(file.open(dir.File("missing.txt").c_str(), "rb"));
    EXPECT_FALSE(file.isOpen());
}

TEST(Log4zFileHandlerFile, CloseWritesTheDataOut)
{
    TempDir dir;
    Log4zFileHandler file;
    ASSERT_TRUE(file.open(dir.File("f.txt").c_str(), "ab"));
    EXPECT_EQ(3u, file.write("abc", 3));
    file.close();
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ("abc", ReadFile(dir.File("f.txt")));
}
