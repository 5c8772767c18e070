// Tests of the logger manager: who may log, how a record is stamped, ended
// and written, the logger files, settings, the record pool and the worker.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "log_test_helpers.h"

using namespace logtest;

namespace {

// Every test works on its own manager and its own directory; the main logger
// writes "kvepl.log" there and a second logger "Label" writes "Label.log".
class LogManager : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_FALSE(dir.Path().empty());
        mgr.setLoggerPath(LOG4Z_MAIN_LOGGER_ID, dir.Path().c_str());
        mgr.setLoggerName(LOG4Z_MAIN_LOGGER_ID, "kvepl");
    }

    // Creates "Label" writing into the test directory; returns its id.
    LoggerId makeLabel()
    {
        LoggerId id = mgr.createLogger("Label");
        mgr.setLoggerPath(id, dir.Path().c_str());
        return id;
    }

    std::string mainLog() const { return dir.File("kvepl.log"); }
    std::string labelLog() const { return dir.File("Label.log"); }

    TempDir dir;
    LogerManager mgr;  // declared after dir: stops before the directory goes
};

// A moment in the middle of a chosen local day, far from any real "today".
const int64_t kJune15Noon = localTime(2001, 6, 15, 12, 0, 0);

}  // namespace

// ---- who may log -------------------------------------------------------

TEST_F(LogManager, LoggingBeforeStartIsRefused)
{
    EXPECT_FALSE(mgr.prePushLog(0, LOG_DEBUG));
}

TEST_F(LogManager, RunningManagerAcceptsTheLoggersLevel)
{
    ASSERT_TRUE(mgr.start());
    EXPECT_TRUE(mgr.prePushLog(0, LOG_DEBUG));
}

TEST_F(LogManager, NegativeIdIsRefused)
{
    ASSERT_TRUE(mgr.start());
    EXPECT_FALSE(mgr.prePushLog(-1, LOG_FATAL));
}

TEST_F(LogManager, IdAboveHighestInUseIsRefused)
{
    ASSERT_TRUE(mgr.start());
    EXPECT_FALSE(mgr.prePushLog(1, LOG_FATAL));
}

TEST_F(LogManager, DisabledLoggerIsRefused)
{
    mgr.enableLogger(0, false);
    ASSERT_TRUE(mgr.start());
    EXPECT_FALSE(mgr.prePushLog(0, LOG_FATAL));
}

TEST_F(LogManager, LevelBelowTheLoggersIsRefused)
{
    ASSERT_TRUE(mgr.start());
    EXPECT_FALSE(mgr.prePushLog(0, LOG_TRACE));
}

TEST_F(LogManager, LoggingAfterStopIsRefused)
{
    ASSERT_TRUE(mgr.start());
    ASSERT_TRUE(mgr.stop());
    EXPECT_FALSE(mgr.prePushLog(0, LOG_DEBUG));
}

// ---- start and stop ----------------------------------------------------

TEST_F(LogManager, SecondStartReturnsFalse)
{
    ASSERT_TRUE(mgr.start());
    EXPECT_FALSE(mgr.start());
}

TEST_F(LogManager, StopWhenNotRunningReturnsFalse)
{
    EXPECT_FALSE(mgr.stop());
}

TEST_F(LogManager, StoppedManagerStartsAgain)
{
    ASSERT_TRUE(mgr.start());
    ASSERT_TRUE(mgr.stop());
    EXPECT_TRUE(mgr.start());
}

TEST_F(LogManager, StartWritesTheBannerFirst)
{
    mgr.setLoggerFileLine(0, false);
    ASSERT_TRUE(mgr.start());
    std::vector<std::string> lines = splitLines(ReadFile(mainLog()));
    ASSERT_GE(lines.size(), 1u);
    ParsedLine banner = parseLine(lines[0]);
    ASSERT_TRUE(banner.ok);
    EXPECT_EQ("LOG_ALARM", banner.level);
    EXPECT_EQ("-----------------  log4z thread started!   ----------------------------\r\n", banner.rest);
}

TEST_F(LogManager, BannerCarriesTheLoggersSourceFileAndLine)
{
    ASSERT_TRUE(mgr.start());
    std::vector<std::string> lines = splitLines(ReadFile(mainLog()));
    ASSERT_GE(lines.size(), 1u);
    ParsedLine banner = parseLine(lines[0]);
    EXPECT_TRUE(std::regex_match(
        banner.rest,
        std::regex(R"(-----------------  log4z thread started!   ---------------------------- log4z\.cpp:\d+\r\n)")));
}

TEST_F(LogManager, StartWritesOneTableLinePerLogger)
{
    mgr.setLoggerFileLine(0, false);
    makeLabel();
    mgr.setLoggerDisplay(1, false);
    mgr.setLoggerLevel(1, LOG_WARN);
    ASSERT_TRUE(mgr.start());
    std::vector<std::string> lines = splitLines(ReadFile(mainLog()));
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("logger id=0 key=Main name=kvepl path=" + dir.Path() + " level=1 display=true\r\n",
              parseLine(lines[1]).rest);
    EXPECT_EQ("logger id=1 key=Label name=Label path=" + dir.Path() + " level=3 display=false\r\n",
              parseLine(lines[2]).rest);
    EXPECT_EQ("LOG_ALARM", parseLine(lines[2]).level);
}

TEST_F(LogManager, SettingsMadeBeforeStartShapeTheFirstFile)
{
    ASSERT_TRUE(mgr.start());
    EXPECT_TRUE(FileExists(mainLog()));
    EXPECT_EQ(0u, mgr.getStatusTotalPushQueue());
}

// ---- records -----------------------------------------------------------

TEST_F(LogManager, RecordIsStampedWithIdLevelAndThread)
{
    LogData* r = mgr.makeLogData(3, LOG_WARN);
    ASSERT_NE(nullptr, r);
    EXPECT_EQ(3, r->nId);
    EXPECT_EQ(LOG_WARN, r->nLevel);
    EXPECT_EQ(LDT_GENERAL, r->nType);
    EXPECT_EQ(0, r->nValue);
    EXPECT_EQ(testThreadId(), r->dwThreadId);
    EXPECT_LT(r->dwMilliseconds, 1000u);
    mgr.freeLogData(r);
}

TEST_F(LogManager, RecordTextStartsWithItsPrefix)
{
    LogData* r = mgr.makeLogData(0, LOG_ERROR);
    ASSERT_NE(nullptr, r);
    ParsedLine parsed = parseLine(recordText(r));
    EXPECT_TRUE(parsed.ok);
    EXPECT_EQ(testThreadId(), parsed.threadId);
    EXPECT_EQ("LOG_ERROR", parsed.level);
    EXPECT_EQ("", parsed.rest);
    EXPECT_EQ('\0', r->text[r->nLength]);
    mgr.freeLogData(r);
}

TEST_F(LogManager, RecordPrefixMatchesItsTimeStamp)
{
    LogData* r = mgr.makeLogData(0, LOG_INFO);
    ASSERT_NE(nullptr, r);
    char expected[kLogPrefixMaxLength + 1];
    int len = formatLogPrefix(expected, LogDay::of(r->dwTime), r->dwTime, r->dwMilliseconds, r->dwThreadId, LOG_INFO);
    EXPECT_EQ(std::string(expected, static_cast<size_t>(len)), recordText(r));
    mgr.freeLogData(r);
}

TEST_F(LogManager, EveryLevelIsNamedInItsRecord)
{
    const char* names[] = {"LOG_TRACE", "LOG_DEBUG", "LOG_INFO", "LOG_WARN", "LOG_ERROR", "LOG_ALARM", "LOG_FATAL"};
    for (int level = LOG_TRACE; level <= LOG_FATAL; ++level) {
        LogData* r = mgr.makeLogData(0, level);
        ASSERT_NE(nullptr, r);
        EXPECT_EQ(names[level], parseLine(recordText(r)).level);
        mgr.freeLogData(r);
    }
}

TEST_F(LogManager, LineEndsWithFileNameLineAndCrLf)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, 0, LOG_DEBUG, "hello");
    std::string expected = recordText(r) + " CLEFile.cpp:42\r\n";
    ASSERT_TRUE(mgr.pushLog(r, "jobchannel/CLEFile.cpp", 42));
    EXPECT_EQ(expected, splitLines(ReadFile(mainLog())).back());
}

TEST_F(LogManager, FileNameWithSlashesPrintsOnlyItsLastComponent)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, 0, LOG_DEBUG, "m");
    ASSERT_TRUE(mgr.pushLog(r, "/abs/dir/sub/file.cpp", 7));
    EXPECT_EQ("m file.cpp:7\r\n", parseLine(splitLines(ReadFile(mainLog())).back()).rest);
}

TEST_F(LogManager, FileNameWithBackslashesPrintsOnlyItsLastComponent)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, 0, LOG_DEBUG, "m");
    ASSERT_TRUE(mgr.pushLog(r, "c:\\src\\win.cpp", 9));
    EXPECT_EQ("m win.cpp:9\r\n", parseLine(splitLines(ReadFile(mainLog())).back()).rest);
}

TEST_F(LogManager, FileLineOffLeavesOnlyTheMessage)
{
    mgr.setLoggerFileLine(0, false);
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, 0, LOG_DEBUG, "bare");
    ASSERT_TRUE(mgr.pushLog(r, "x.cpp", 1));
    EXPECT_EQ("bare\r\n", parseLine(splitLines(ReadFile(mainLog())).back()).rest);
}

TEST_F(LogManager, NoFileNameLeavesOnlyTheMessage)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, 0, LOG_DEBUG, "bare");
    ASSERT_TRUE(mgr.pushLog(r, nullptr, 5));
    EXPECT_EQ("bare\r\n", parseLine(splitLines(ReadFile(mainLog())).back()).rest);
}

TEST_F(LogManager, OverlongMessageIsCutToEndInCrLf)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = mgr.makeLogData(0, LOG_DEBUG);
    std::string prefix = recordText(r);
    std::string big(10000, 'x');
    int room = kLogTextCapacity - r->nLength;
    int len = snprintf(r->text + r->nLength, static_cast<size_t>(room), "%s", big.c_str());
    r->nLength += len > room ? room : len;
    ASSERT_TRUE(mgr.pushLog(r, "long.cpp", 1));
    std::string line = splitLines(ReadFile(mainLog())).back();
    EXPECT_EQ(8191u, line.size());
    EXPECT_EQ(prefix + std::string(8189 - prefix.size(), 'x') + "\r\n", line);
}

TEST_F(LogManager, FileAndLineAreCutWhenTheRoomRunsOut)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = mgr.makeLogData(0, LOG_DEBUG);
    std::string prefix = recordText(r);
    std::string msg(8185 - prefix.size(), 'y');  // leaves 7 bytes of room for " f.cpp:7"
    r->nLength += snprintf(r->text + r->nLength, 8192 - r->nLength, "%s", msg.c_str());
    ASSERT_TRUE(mgr.pushLog(r, "f.cpp", 7));
    EXPECT_EQ(prefix + msg + " f.c\r\n", splitLines(ReadFile(mainLog())).back());
}

TEST_F(LogManager, DamagedLengthIsClampedIntoTheRecord)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = mgr.makeLogData(0, LOG_DEBUG);
    memset(r->text, 'z', kLogTextCapacity);
    r->nLength = 1 << 30;
    ASSERT_TRUE(mgr.pushLog(r, "f.cpp", 1));
    EXPECT_EQ(std::string(8189, 'z') + "\r\n", splitLines(ReadFile(mainLog())).back());
}

TEST_F(LogManager, LogFormatWritesMessageAtTheCallersLine)
{
    ASSERT_TRUE(mgr.start());
    const int line = __LINE__ + 1;  // the logging call's line
    LOG_FORMAT_ON(&mgr, 0, LOG_INFO, "value %d of %s", 42, "forty-two");
    ParsedLine parsed = parseLine(splitLines(ReadFile(mainLog())).back());
    EXPECT_EQ("LOG_INFO", parsed.level);
    EXPECT_EQ(testThreadId(), parsed.threadId);
    EXPECT_EQ("value 42 of forty-two log_manager_test.cpp:" + std::to_string(line) + "\r\n", parsed.rest);
}

TEST_F(LogManager, LogFormatBelowTheLevelWritesNothing)
{
    ASSERT_TRUE(mgr.start());
    unsigned long long before = mgr.getStatusTotalWriteCount();
    LOG_FORMAT_ON(&mgr, 0, LOG_TRACE, "hidden %d", 1);
    EXPECT_EQ(before, mgr.getStatusTotalWriteCount());
}

// ---- pushLog refusals --------------------------------------------------

TEST_F(LogManager, PushBeforeStartIsRefusedAndTheRecordReturnsToThePool)
{
    LogData* r = recordWith(mgr, 0, LOG_DEBUG, "early");
    size_t pool = mgr.getFreePoolSize();
    EXPECT_FALSE(mgr.pushLog(r, "f.cpp", 1));
    EXPECT_EQ(pool + 1, mgr.getFreePoolSize());
    EXPECT_FALSE(FileExists(mainLog()));
}

TEST_F(LogManager, PushForAnUnknownIdIsRefused)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, 5, LOG_DEBUG, "nobody");
    EXPECT_FALSE(mgr.pushLog(r, "f.cpp", 1));
}

TEST_F(LogManager, PushBelowTheLevelIsRefused)
{
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, 0, LOG_TRACE, "quiet");
    EXPECT_FALSE(mgr.pushLog(r, "f.cpp", 1));
}

TEST_F(LogManager, PushOfNullIsRefused)
{
    ASSERT_TRUE(mgr.start());
    EXPECT_FALSE(mgr.pushLog(nullptr, "f.cpp", 1));
}

TEST_F(LogManager, OutfileOffAcceptsButWritesNothing)
{
    LoggerId id = makeLabel();
    mgr.setLoggerOutFile(id, false);
    ASSERT_TRUE(mgr.start());
    EXPECT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "dropped"), "f.cpp", 1));
    EXPECT_FALSE(FileExists(labelLog()));
}

// ---- writing files -----------------------------------------------------

TEST_F(LogManager, TwoRecordsEachOpenWriteAndCloseAndTheFileGrowsByBoth)
{
    LoggerId id = makeLabel();
    ASSERT_TRUE(mgr.start());
    LogData* first = recordWith(mgr, id, LOG_DEBUG, "first");
    std::string firstLine = recordText(first) + " a.cpp:1\r\n";
    ASSERT_TRUE(mgr.pushLog(first, "a.cpp", 1));
    EXPECT_FALSE(snapshotOf(mgr, id).bFileOpen);
    EXPECT_EQ(firstLine.size(), fileSize(labelLog()));
    LogData* second = recordWith(mgr, id, LOG_DEBUG, "second");
    std::string secondLine = recordText(second) + " a.cpp:2\r\n";
    ASSERT_TRUE(mgr.pushLog(second, "a.cpp", 2));
    EXPECT_FALSE(snapshotOf(mgr, id).bFileOpen);
    EXPECT_EQ(firstLine + secondLine, ReadFile(labelLog()));
}

TEST_F(LogManager, ConcurrentWritersLoseNoLineAndMixNone)
{
    LoggerId id = makeLabel();
    ASSERT_TRUE(mgr.start());
    const int kThreads = 4;
    const int kLinesEach = 200;
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; ++t) {
        writers.emplace_back([this, id, t] {
            for (int i = 0; i < kLinesEach; ++i) {
                LOG_FORMAT_ON(&mgr, id, LOG_INFO, "writer %d line %d", t, i);
            }
        });
    }
    for (std::thread& w : writers) {
        w.join();
    }
    std::vector<std::string> lines = splitLines(ReadFile(labelLog()));
    ASSERT_EQ(static_cast<size_t>(kThreads * kLinesEach), lines.size());
    std::vector<int> nextLine(kThreads, 0);
    for (const std::string& line : lines) {
        ParsedLine parsed = parseLine(line);
        ASSERT_TRUE(parsed.ok) << line;
        int t = -1;
        int i = -1;
        ASSERT_EQ(2, sscanf(parsed.rest.c_str(), "writer %d line %d", &t, &i)) << line;
        ASSERT_TRUE(t >= 0 && t < kThreads) << line;
        EXPECT_EQ(nextLine[t]++, i);
    }
}

TEST_F(LogManager, WritesAreCountedInRecordsAndBytes)
{
    LoggerId id = makeLabel();
    ASSERT_TRUE(mgr.start());
    unsigned long long count = mgr.getStatusTotalWriteCount();
    unsigned long long bytes = mgr.getStatusTotalWriteBytes();
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "one"), "a.cpp", 1));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "two"), "a.cpp", 2));
    EXPECT_EQ(count + 2, mgr.getStatusTotalWriteCount());
    EXPECT_EQ(bytes + fileSize(labelLog()), mgr.getStatusTotalWriteBytes());
}

TEST_F(LogManager, ExistingFileIsContinued)
{
    LoggerId id = makeLabel();
    WriteFile(labelLog(), "old\r\n");
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, id, LOG_DEBUG, "new");
    std::string line = recordText(r) + "\r\n";
    ASSERT_TRUE(mgr.pushLog(r));
    EXPECT_EQ("old\r\n" + line, ReadFile(labelLog()));
}

TEST_F(LogManager, PathWithoutSlashGetsOneBeforeTheFileName)
{
    LoggerId id = makeLabel();
    mgr.setLoggerPath(id, (dir.Path() + "/logs").c_str());
    ASSERT_TRUE(mgr.start());
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "x")));
    EXPECT_TRUE(FileExists(dir.File("logs/Label.log")));
}

TEST_F(LogManager, MissingDirectoriesAlongThePathAreCreated)
{
    LoggerId id = makeLabel();
    mgr.setLoggerPath(id, (dir.Path() + "/a/b/c/").c_str());
    ASSERT_TRUE(mgr.start());
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "x")));
    EXPECT_TRUE(FileExists(dir.File("a/b/c/Label.log")));
}

TEST_F(LogManager, MonthdirPutsTheFileUnderYearAndMonth)
{
    LoggerId id = makeLabel();
    mgr.setLoggerPath(id, (dir.Path() + "/nested/deeper").c_str());
    mgr.setLoggerMonthdir(id, true);
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, id, LOG_DEBUG, "feb", localTime(2001, 2, 10, 9, 30, 0));
    std::string line = recordText(r) + "\r\n";
    ASSERT_TRUE(mgr.pushLog(r));
    EXPECT_EQ(line, ReadFile(dir.File("nested/deeper/2001_02/Label.log")));
}

TEST_F(LogManager, UnopenableFileIsReportedOnStandardError)
{
    LoggerId id = makeLabel();
    WriteFile(dir.File("blocker"), "a file, not a directory");
    mgr.setLoggerPath(id, dir.File("blocker/sub").c_str());
    ASSERT_TRUE(mgr.start());
    StderrCapture capture;
    EXPECT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "lost")));
    EXPECT_EQ("log4z: can not open log file " + dir.File("blocker/sub/Label.log") + ". \r\n", capture.Take());
}

TEST_F(LogManager, UnopenableFileSwitchesOutfileOff)
{
    LoggerId id = makeLabel();
    WriteFile(dir.File("blocker"), "a file, not a directory");
    mgr.setLoggerPath(id, dir.File("blocker/sub").c_str());
    ASSERT_TRUE(mgr.start());
    StderrCapture capture;
    mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "lost"));
    capture.Take();
    EXPECT_FALSE(snapshotOf(mgr, id).bOutFile);
}

TEST_F(LogManager, RecordsAfterAnUnopenableFileAreDroppedSilently)
{
    LoggerId id = makeLabel();
    WriteFile(dir.File("blocker"), "a file, not a directory");
    mgr.setLoggerPath(id, dir.File("blocker/sub").c_str());
    ASSERT_TRUE(mgr.start());
    StderrCapture first;
    mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "lost"));
    first.Take();
    StderrCapture second;
    EXPECT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "also lost")));
    EXPECT_EQ("", second.Take());
}

// ---- file size limit and days -------------------------------------------

TEST_F(LogManager, FileWithinTheLimitKeepsItsIndex)
{
    LoggerId id = makeLabel();
    ASSERT_TRUE(mgr.start());
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "a", kJune15Noon)));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "b", kJune15Noon + 1)));
    EXPECT_EQ(0u, snapshotOf(mgr, id).dwFileIndex);
}

TEST_F(LogManager, FileOverTheLimitIncrementsTheIndexAndContinuesTheSameFile)
{
    LoggerId id = makeLabel();
    mgr.setLoggerLimitsize(id, 1);
    std::string filler((1u << 20) + 1, '.');  // one byte over one megabyte
    WriteFile(labelLog(), filler);
    ASSERT_TRUE(mgr.start());
    LogData* a = recordWith(mgr, id, LOG_DEBUG, "a", kJune15Noon);
    std::string lineA = recordText(a) + "\r\n";
    ASSERT_TRUE(mgr.pushLog(a));
    EXPECT_EQ(0u, snapshotOf(mgr, id).dwFileIndex);
    LogData* b = recordWith(mgr, id, LOG_DEBUG, "b", kJune15Noon + 1);
    std::string lineB = recordText(b) + "\r\n";
    ASSERT_TRUE(mgr.pushLog(b));
    EXPECT_EQ(1u, snapshotOf(mgr, id).dwFileIndex);
    EXPECT_EQ(filler + lineA + lineB, ReadFile(labelLog()));
}

TEST_F(LogManager, EveryRecordOverTheLimitReopensTheFile)
{
    LoggerId id = makeLabel();
    mgr.setLoggerLimitsize(id, 1);
    WriteFile(labelLog(), std::string((1u << 20) + 1, '.'));
    ASSERT_TRUE(mgr.start());
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "r", kJune15Noon + i)));
    }
    EXPECT_EQ(3u, snapshotOf(mgr, id).dwFileIndex);
}

TEST_F(LogManager, WriterSizeStartsFromTheExistingFileLength)
{
    LoggerId id = makeLabel();
    WriteFile(labelLog(), "12345");
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, id, LOG_DEBUG, "x", kJune15Noon);
    uint64_t len = recordText(r).size() + 2;
    ASSERT_TRUE(mgr.pushLog(r));
    EXPECT_EQ(5 + len, snapshotOf(mgr, id).dwWriterSize);
}

TEST_F(LogManager, NewDayResetsTheIndex)
{
    LoggerId id = makeLabel();
    mgr.setLoggerLimitsize(id, 1);
    WriteFile(labelLog(), std::string((1u << 20) + 1, '.'));
    ASSERT_TRUE(mgr.start());
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "a", kJune15Noon)));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "b", kJune15Noon + 1)));
    ASSERT_EQ(1u, snapshotOf(mgr, id).dwFileIndex);
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "c", localTime(2001, 6, 16, 12, 0, 0))));
    EXPECT_EQ(0u, snapshotOf(mgr, id).dwFileIndex);
}

TEST_F(LogManager, OpeningRecordsTheCreationTimeAndDay)
{
    LoggerId id = makeLabel();
    ASSERT_TRUE(mgr.start());
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "a", kJune15Noon)));
    LoggerSnapshot s = snapshotOf(mgr, id);
    EXPECT_EQ(kJune15Noon, s.dwFileCreateTime);
    EXPECT_EQ(localTime(2001, 6, 15, 0, 0, 0), s.dwFileCreateDay);
}

// ---- reserve time ------------------------------------------------------

TEST_F(LogManager, ReserveTimeDeletesFilesOlderThanIt)
{
    LoggerId id = makeLabel();
    mgr.setLoggerMonthdir(id, true);
    mgr.setLoggerReserveTime(id, 10);
    ASSERT_TRUE(mgr.start());
    const int64_t jan = localTime(2001, 1, 15, 12, 0, 0);
    const int64_t feb = localTime(2001, 2, 15, 12, 0, 0);
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "jan", jan)));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "feb", feb)));
    ASSERT_TRUE(FileExists(dir.File("2001_01/Label.log")));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "feb again", feb + 1)));
    EXPECT_FALSE(FileExists(dir.File("2001_01/Label.log")));
    EXPECT_TRUE(FileExists(dir.File("2001_02/Label.log")));
}

TEST_F(LogManager, ReserveTimeZeroKeepsEveryFile)
{
    LoggerId id = makeLabel();
    mgr.setLoggerMonthdir(id, true);
    ASSERT_TRUE(mgr.start());
    const int64_t jan = localTime(2001, 1, 15, 12, 0, 0);
    const int64_t feb = localTime(2001, 2, 15, 12, 0, 0);
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "jan", jan)));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "feb", feb)));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "feb again", feb + 1)));
    EXPECT_TRUE(FileExists(dir.File("2001_01/Label.log")));
}

TEST_F(LogManager, HistoryIsKeptOnlyWithAReserveTime)
{
    LoggerId plain = makeLabel();
    LoggerId reserved = mgr.createLogger("Reserved");
    mgr.setLoggerPath(reserved, dir.Path().c_str());
    mgr.setLoggerReserveTime(reserved, 60);
    ASSERT_TRUE(mgr.start());
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(mgr.pushLog(recordWith(mgr, plain, LOG_DEBUG, "p", kJune15Noon + i)));
        ASSERT_TRUE(mgr.pushLog(recordWith(mgr, reserved, LOG_DEBUG, "r", kJune15Noon + i)));
    }
    EXPECT_EQ(0u, snapshotOf(mgr, plain).nHistory);
    EXPECT_EQ(3u, snapshotOf(mgr, reserved).nHistory);
}

TEST_F(LogManager, ReserveTimeKeepsFilesYoungerThanIt)
{
    LoggerId id = makeLabel();
    mgr.setLoggerMonthdir(id, true);
    mgr.setLoggerReserveTime(id, 3600);
    ASSERT_TRUE(mgr.start());
    const int64_t endOfJan = localTime(2001, 1, 31, 23, 59, 0);
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "jan", endOfJan)));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "feb", endOfJan + 120)));
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "feb again", endOfJan + 121)));
    EXPECT_TRUE(FileExists(dir.File("2001_01/Label.log")));
}

// ---- settings ----------------------------------------------------------

TEST_F(LogManager, SettingBeforeStartIsAppliedAtOnce)
{
    LoggerId id = makeLabel();
    EXPECT_TRUE(mgr.setLoggerName(id, "other"));
    EXPECT_EQ("other", snapshotOf(mgr, id).strName);
    EXPECT_EQ(0u, mgr.getStatusTotalPushQueue());
}

TEST_F(LogManager, SettingWhileRunningGoesThroughTheQueue)
{
    LoggerId id = makeLabel();
    ASSERT_TRUE(mgr.start());
    EXPECT_TRUE(mgr.setLoggerName(id, "other"));
    EXPECT_EQ(1u, mgr.getStatusTotalPushQueue());
    ASSERT_TRUE(mgr.stop());
    EXPECT_EQ(1u, mgr.getStatusTotalPopQueue());
    EXPECT_EQ("other", snapshotOf(mgr, id).strName);
}

TEST_F(LogManager, SettingFromTheWorkerMovesTheNextRecordToTheNewFile)
{
    LoggerId id = makeLabel();
    ASSERT_TRUE(mgr.start());
    ASSERT_TRUE(mgr.pushLog(recordWith(mgr, id, LOG_DEBUG, "before")));
    ASSERT_TRUE(mgr.setLoggerName(id, "renamed"));
    ASSERT_TRUE(mgr.stop());
    ASSERT_TRUE(mgr.start());
    LogData* r = recordWith(mgr, id, LOG_DEBUG, "after");
    std::string line = recordText(r) + "\r\n";
    ASSERT_TRUE(mgr.pushLog(r));
    EXPECT_EQ(line, ReadFile(dir.File("renamed.log")));
}

TEST_F(LogManager, SettersRefuseAnIdAboveTheHighest)
{
    EXPECT_FALSE(mgr.enableLogger(1, true));
    EXPECT_FALSE(mgr.setLoggerName(1, "x"));
    EXPECT_FALSE(mgr.setLoggerPath(1, "x"));
    EXPECT_FALSE(mgr.setLoggerLevel(1, LOG_INFO));
    EXPECT_FALSE(mgr.setLoggerFileLine(1, true));
    EXPECT_FALSE(mgr.setLoggerDisplay(1, true));
    EXPECT_FALSE(mgr.setLoggerOutFile(1, true));
    EXPECT_FALSE(mgr.setLoggerLimitsize(1, 5));
    EXPECT_FALSE(mgr.setLoggerMonthdir(1, true));
    EXPECT_FALSE(mgr.setLoggerReserveTime(1, 5));
}

TEST_F(LogManager, SettersRefuseANegativeId)
{
    EXPECT_FALSE(mgr.enableLogger(-1, true));
    EXPECT_FALSE(mgr.setLoggerName(-1, "x"));
    EXPECT_FALSE(mgr.setLoggerLevel(-1, LOG_TRACE));
}

TEST_F(LogManager, NullNameOrPathIsRefused)
{
    EXPECT_FALSE(mgr.setLoggerName(0, nullptr));
    EXPECT_FALSE(mgr.setLoggerPath(0, nullptr));
    EXPECT_EQ("kvepl", snapshotOf(mgr, 0).strName);
}

TEST_F(LogManager, EverySetterReachesItsField)
{
    LoggerId id = makeLabel();
    mgr.enableLogger(id, false);
    mgr.setLoggerName(id, "n");
    mgr.setLoggerPath(id, "/p");
    mgr.setLoggerLevel(id, LOG_ERROR);
    mgr.setLoggerFileLine(id, false);
    mgr.setLoggerDisplay(id, false);
    mgr.setLoggerOutFile(id, false);
    mgr.setLoggerLimitsize(id, 4000000000u);
    mgr.setLoggerMonthdir(id, true);
    mgr.setLoggerReserveTime(id, 86400);
    LoggerSnapshot s = snapshotOf(mgr, id);
    EXPECT_FALSE(s.bEnable);
    EXPECT_EQ("n", s.strName);
    EXPECT_EQ("/p", s.strPath);
    EXPECT_EQ(LOG_ERROR, s.nLevel);
    EXPECT_FALSE(s.bFileLine);
    EXPECT_FALSE(s.bDisplay);
    EXPECT_FALSE(s.bOutFile);
    EXPECT_EQ(4000000000u, s.dwLimitSize);
    EXPECT_TRUE(s.bMonthDir);
    EXPECT_EQ(86400, s.dwReserveTime);
}

TEST_F(LogManager, LowerLevelIsStoredAtOnceWhileRunning)
{
    ASSERT_TRUE(mgr.start());
    unsigned long long pushed = mgr.getStatusTotalPushQueue();
    EXPECT_TRUE(mgr.setLoggerLevel(0, LOG_TRACE));
    EXPECT_EQ(LOG_TRACE, snapshotOf(mgr, 0).nLevel);
    EXPECT_EQ(pushed, mgr.getStatusTotalPushQueue());
    EXPECT_TRUE(mgr.prePushLog(0, LOG_TRACE));
}

TEST_F(LogManager, HigherLevelIsQueuedAsTypeFourAndAppliedByTheWorker)
{
    ASSERT_TRUE(mgr.start());
    unsigned long long pushed = mgr.getStatusTotalPushQueue();
    EXPECT_TRUE(mgr.setLoggerLevel(0, LOG_WARN));
    EXPECT_EQ(pushed + 1, mgr.getStatusTotalPushQueue());
    ASSERT_TRUE(mgr.stop());
    EXPECT_EQ(LOG_WARN, snapshotOf(mgr, 0).nLevel);
    EXPECT_EQ(4, LDT_SET_LOGGER_LEVEL);
}

TEST_F(LogManager, HigherLevelBeforeStartIsAppliedAtOnce)
{
    EXPECT_TRUE(mgr.setLoggerLevel(0, LOG_FATAL));
    EXPECT_EQ(LOG_FATAL, snapshotOf(mgr, 0).nLevel);
}

TEST_F(LogManager, DisabledLoggerIsReportedDisabled)
{
    LoggerId id = makeLabel();
    EXPECT_TRUE(mgr.isLoggerEnable(id));
    mgr.enableLogger(id, false);
    EXPECT_FALSE(mgr.isLoggerEnable(id));
}

TEST_F(LogManager, UnknownIdIsReportedDisabled)
{
    EXPECT_FALSE(mgr.isLoggerEnable(7));
}

TEST_F(LogManager, ActiveLoggersCountsEnabledOnes)
{
    makeLabel();
    mgr.createLogger("Other");
    mgr.enableLogger(2, false);
    EXPECT_EQ(2u, mgr.getStatusActiveLoggers());
}

TEST_F(LogManager, AutoUpdateIntervalIsAccepted)
{
    EXPECT_TRUE(mgr.setAutoUpdate(5));
}

// ---- createLogger and findLogger ---------------------------------------

TEST_F(LogManager, MainLoggerHasItsDefaults)
{
    LogerManager fresh;
    LoggerSnapshot s = snapshotOf(fresh, 0);
    EXPECT_EQ("Main", s.strKey);
    EXPECT_EQ("Main", s.strName);
    EXPECT_EQ("./log/", s.strPath);
    EXPECT_EQ(LOG_DEBUG, s.nLevel);
    EXPECT_TRUE(s.bDisplay);
    EXPECT_TRUE(s.bOutFile);
    EXPECT_FALSE(s.bMonthDir);
    EXPECT_EQ(100u, s.dwLimitSize);
    EXPECT_TRUE(s.bEnable);
    EXPECT_TRUE(s.bFileLine);
    EXPECT_EQ(0, s.dwReserveTime);
}

TEST_F(LogManager, MainKeyFindsLoggerZero)
{
    EXPECT_EQ(0, mgr.findLogger("Main"));
}

TEST_F(LogManager, CreateLoggerWithNullKeyGivesMinusOne)
{
    EXPECT_EQ(-1, mgr.createLogger(nullptr));
}

TEST_F(LogManager, CreateLoggerWithBlankKeyGivesMinusOne)
{
    EXPECT_EQ(-1, mgr.createLogger(" \t "));
}

TEST_F(LogManager, CreateLoggerTrimsTheKey)
{
    EXPECT_EQ(1, mgr.createLogger("  Label\t\r\n"));
    EXPECT_EQ(1, mgr.findLogger("Label"));
    EXPECT_EQ("Label", snapshotOf(mgr, 1).strKey);
}

TEST_F(LogManager, CreateLoggerWithAnExistingKeyReturnsItsId)
{
    EXPECT_EQ(1, mgr.createLogger("Label"));
    EXPECT_EQ(2, mgr.createLogger("Other"));
    EXPECT_EQ(1, mgr.createLogger("Label"));
    EXPECT_EQ(0, mgr.createLogger("Main"));
}

TEST_F(LogManager, CreatedLoggerIsEnabledAndNamedAfterItsKey)
{
    LoggerId id = mgr.createLogger("Label");
    LoggerSnapshot s = snapshotOf(mgr, id);
    EXPECT_TRUE(s.bEnable);
    EXPECT_EQ("Label", s.strName);
    EXPECT_EQ("./log/", s.strPath);
}

TEST_F(LogManager, CreateLoggerStopsAtTwentyLoggers)
{
    for (int i = 1; i < 20; ++i) {
        ASSERT_EQ(i, mgr.createLogger(("L" + std::to_string(i)).c_str()));
    }
    EXPECT_EQ(-1, mgr.createLogger("OneTooMany"));
    EXPECT_EQ(-1, mgr.findLogger("OneTooMany"));
}

TEST_F(LogManager, FindLoggerOfAnUnknownKeyGivesMinusOne)
{
    EXPECT_EQ(-1, mgr.findLogger("Nobody"));
}

TEST_F(LogManager, FindLoggerOfNullGivesMinusOne)
{
    EXPECT_EQ(-1, mgr.findLogger(nullptr));
}

TEST_F(LogManager, FindLoggerIsCaseSensitive)
{
    mgr.createLogger("Label");
    EXPECT_EQ(-1, mgr.findLogger("label"));
}

// ---- record pool -------------------------------------------------------

TEST_F(LogManager, FreedRecordsArePooledUpToTwoHundred)
{
    std::vector<LogData*> records;
    for (int i = 0; i < 250; ++i) {
        records.push_back(mgr.makeLogData(0, LOG_DEBUG));
    }
    for (LogData* r : records) {
        mgr.freeLogData(r);
    }
    EXPECT_EQ(200u, mgr.getFreePoolSize());
}

TEST_F(LogManager, NewRecordIsTakenFromThePool)
{
    LogData* pooled = mgr.makeLogData(0, LOG_DEBUG);
    mgr.freeLogData(pooled);
    size_t pool = mgr.getFreePoolSize();
    LogData* r = mgr.makeLogData(0, LOG_DEBUG);
    EXPECT_EQ(pooled, r);
    EXPECT_EQ(pool - 1, mgr.getFreePoolSize());
    mgr.freeLogData(r);
}

TEST_F(LogManager, FreeingNullIsHarmless)
{
    size_t pool = mgr.getFreePoolSize();
    mgr.freeLogData(nullptr);
    EXPECT_EQ(pool, mgr.getFreePoolSize());
}

// ---- process identity --------------------------------------------------

TEST_F(LogManager, PidIsSixZeroPaddedDigits)
{
    char expected[32];
    snprintf(expected, sizeof(expected), "%06d", static_cast<int>(getpid()));
    EXPECT_EQ(expected, mgr.getPid());
}

TEST_F(LogManager, ProcessNameIsTheProgramsLastPathComponent)
{
    EXPECT_EQ("test_log_manager", mgr.getProcessName());
}

// ---- the single instance -----------------------------------------------

TEST(LogInstance, GetInstanceReturnsTheSameManager)
{
    EXPECT_EQ(ILog4zManager::getInstance(), ILog4zManager::getInstance());
}

TEST(LogInstance, LogfmtdWritesADebugLineOnTheMainLogger)
{
    TempDir dir;
    ILog4zManager* instance = ILog4zManager::getInstance();
    instance->setLoggerPath(LOG4Z_MAIN_LOGGER_ID, dir.Path().c_str());
    instance->setLoggerName(LOG4Z_MAIN_LOGGER_ID, "kvepl");
    ASSERT_TRUE(instance->start());
    const int line = __LINE__ + 1;  // the logging call's line
    LOGFMTD("job %d of %s", 3, "user");
    instance->stop();
    ParsedLine parsed = parseLine(splitLines(ReadFile(dir.File("kvepl.log"))).back());
    EXPECT_EQ("LOG_DEBUG", parsed.level);
    EXPECT_EQ("job 3 of user log_manager_test.cpp:" + std::to_string(line) + "\r\n", parsed.rest);
}

TEST(LogInstance, LogfmtdBeforeStartWritesNothing)
{
    TempDir dir;
    ILog4zManager* instance = ILog4zManager::getInstance();
    instance->setLoggerPath(LOG4Z_MAIN_LOGGER_ID, dir.Path().c_str());
    unsigned long long before = instance->getStatusTotalWriteCount();
    LOGFMTD("not written");
    EXPECT_EQ(before, instance->getStatusTotalWriteCount());
    EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
}
