// End-to-end facts about RFID jobs: the built filter run as the spooler runs
// it, next to the stand-in companion service, with the real message queue and
// the real job information file.
#include <gtest/gtest.h>

#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "CLEFile.h"
#include "FilterProcess.h"
#include "JobInfoFile.h"
#include "LogLines.h"
#include "PpdWriter.h"
#include "RasterWriter.h"
#include "RfidService.h"
#include "TempDir.h"
#include "TestFiles.h"

using namespace kvtest;

namespace {

const char* const kServiceBinary = KV_FAKE_RFID_SERVICE;
const char* const kDriverLog = "/tmp/kvepl.log";
const char* const kLoopSource = "filter/rastokivepl.cpp";
const char* const kClientSource = "jobchannel/CLEFile.cpp";

// A record of some other job, there before each test.
const char* const kOtherJobRecord = "JOB_ID = 1\nJOB_IDX = 0\n";

// The start of the document for a 16 x 8 dot page with the test PPD's
// everyday codes: continuous media (no gap), speed 4, density 10; the label
// length carries one extra dot.
const char* const kStartOfDocument = "N\r\nI8,E\r\nWN\r\nZB\r\nS4\r\nD10\r\nO\r\nJF\r\nq16\r\nQ9,0\r\n";
constexpr unsigned kPageWidth = 16;
constexpr unsigned kPageHeight = 8;
constexpr unsigned kPageDpi = 203;

// The lock holder outlives the filter's 5-second wait by a wide margin, but
// never hangs a test run when something goes wrong.
constexpr int kHolderLimitSeconds = 30;

// Jobs started at once on the job information file.
constexpr int kRacingJobs = 8;
constexpr int kFirstRacingJobId = 501;

// The service's exit status when a queue under its key was already there.
constexpr int kServiceFoundAQueue = 3;

// Error numbers as the client logs them (Linux).
constexpr int kNoQueueError = 2;     // ENOENT
constexpr int kNoMessageError = 42;  // ENOMSG
// The client asks this many times for a reply before it gives up.
constexpr int kReplyAttempts = 10;

// The bytes of a string literal, zero bytes inside included.
template <size_t N>
std::string Bytes(const char (&text)[N])
{
    return std::string(text, N - 1);
}

// A page that is black all over, so the page block carries real graphic data.
RasterPage BlackPage()
{
    return SolidPage(kPageWidth, kPageHeight, kPageDpi, 0, 0, 0);
}

// `count` black pages.
std::vector<RasterPage> Pages(int count)
{
    return std::vector<RasterPage>(static_cast<size_t>(count), BlackPage());
}

// Messages of the driver-log lines written from `sourceName`.
std::vector<std::string> LogMessagesFrom(const std::string& sourceName)
{
    std::vector<std::string> messages;
    for (const LogLine& line : ParseLog(ReadFile(kDriverLog)))
        if (line.file == sourceName)
            messages.push_back(line.message);
    return messages;
}

// The driver-log line carrying `message`, or an empty line.
LogLine FindLogLine(const std::string& message)
{
    for (const LogLine& line : ParseLog(ReadFile(kDriverLog)))
        if (line.message == message)
            return line;
    return LogLine();
}

// Every test starts with a record of another job in the job information
// file, no queue and no driver log; the file is put back afterwards and no
// queue is left behind, whatever the test did.
class RfidJob : public ::testing::Test {
protected:
    void SetUp() override
    {
        remove(kDriverLog);
        ASSERT_TRUE(RemoveRfidQueue());
        SetJobInfo(kOtherJobRecord);
    }

    void TearDown() override
    {
        m_service.reset();
        EXPECT_TRUE(RemoveRfidQueue());
    }

    // Starts the stand-in service; fails the test when it did not come up.
    void StartService(const RfidServiceOptions& options = RfidServiceOptions())
    {
        m_service = std::make_unique<RfidService>(kServiceBinary, options);
        ASSERT_TRUE(m_service->Ready());
    }

    // Path of the test PPD, with the driver log on or off.
    std::string Ppd(bool driverLog)
    {
        return LabelPpd(WithCodes({{"DriverLog", driverLog ? "1" : "0"}})).WriteTo(m_dir.File("label.ppd"));
    }

    // Path of a raster file of `pages` black pages.
    std::string RasterFile(int pages)
    {
        std::string path = m_dir.File("job" + std::to_string(pages) + ".ras");
        WriteRaster(path, Pages(pages));
        return path;
    }

    // Runs one job of `pages` black pages from a raster file.
    FilterResult Run(const std::string& title, const std::string& jobId, int pages = 1, bool driverLog = false)
    {
        return RunFilter(FilterArgs("", title, RasterFile(pages), jobId), Ppd(driverLog));
    }

    // What the same job prints when it is no RFID job.
    FilterResult RunPlain(int pages = 1) { return Run("label", "42", pages); }

    TempDir m_dir;
    JobInfoFileGuard m_jobInfo;
    std::unique_ptr<RfidService> m_service;
};

// The service's data for "RFID_tag01": its name and index between zero bytes.
const std::string kTag01Index0 = Bytes("RF\0RFID_tag01\0"
                                       "0"
                                       "\0\0\r\n");
const std::string kTag01Index1 = Bytes("RF\0RFID_tag01\0"
                                       "1"
                                       "\0\0\r\n");

}  // namespace

// ---- an RFID job with its service --------------------------------------

TEST_F(RfidJob, OutputStartsWithTheServiceDataAndItsZeroBytes)
{
    StartService();
    FilterResult r = Run("RFID_tag01", "42");
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.out.substr(0, kTag01Index0.size()), kTag01Index0);
}

TEST_F(RfidJob, ServiceDataIsFollowedByTheStartOfDocumentBlock)
{
    StartService();
    FilterResult r = Run("RFID_tag01", "42");
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.out.substr(kTag01Index0.size(), std::string(kStartOfDocument).size()), kStartOfDocument);
}

TEST_F(RfidJob, ServiceDataIsFollowedByExactlyWhatTheJobPrintsWithoutRfid)
{
    FilterResult plain = RunPlain();
    ASSERT_EQ(plain.out.rfind(kStartOfDocument, 0), 0u);
    const std::string page = plain.out.substr(std::string(kStartOfDocument).size());
    ASSERT_EQ(page.rfind("N\r\nGW", 0), 0u);
    ASSERT_EQ(page.substr(page.size() - 6), "\r\nP1\r\n");
    StartService();
    FilterResult r = Run("RFID_tag01", "42");
    EXPECT_EQ(r.out, kTag01Index0 + plain.out);
}

TEST_F(RfidJob, JobEndsWithStatusZeroAfterItsPage)
{
    StartService();
    FilterResult r = Run("RFID_tag01", "42");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "Finish print operation.");
}

TEST_F(RfidJob, FirstRunOfAJobAsksTheServiceForIndexZero)
{
    StartService();
    Run("RFID_tag01", "42");
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{"GET/RFID_tag01/0/"});
}

TEST_F(RfidJob, FirstRunOfAJobStoresIndexZero)
{
    StartService();
    Run("RFID_tag01", "42");
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 42\nJOB_IDX = 0\n");
}

TEST_F(RfidJob, SameJobIdRunTwiceAsksForIndexesZeroAndOne)
{
    StartService();
    Run("RFID_tag01", "42");
    Run("RFID_tag01", "42");
    EXPECT_EQ(m_service->Requests(), (std::vector<std::string>{"GET/RFID_tag01/0/", "GET/RFID_tag01/1/"}));
}

TEST_F(RfidJob, SameJobIdRunTwiceStoresIndexOne)
{
    StartService();
    Run("RFID_tag01", "42");
    Run("RFID_tag01", "42");
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 42\nJOB_IDX = 1\n");
}

TEST_F(RfidJob, SecondRunPrintsTheSecondRecordsData)
{
    StartService();
    Run("RFID_tag01", "42");
    FilterResult second = Run("RFID_tag01", "42");
    EXPECT_EQ(second.out.substr(0, kTag01Index1.size()), kTag01Index1);
}

TEST_F(RfidJob, AnotherJobInBetweenStartsTheNextRunAtIndexZero)
{
    StartService();
    Run("RFID_tag01", "42");
    Run("RFID_tag01", "43");
    Run("RFID_tag01", "42");
    EXPECT_EQ(m_service->Requests(),
              (std::vector<std::string>{"GET/RFID_tag01/0/", "GET/RFID_tag01/0/", "GET/RFID_tag01/0/"}));
}

TEST_F(RfidJob, StoredRecordOfTheSameJobContinuesItsIndex)
{
    SetJobInfo("JOB_ID = 42\nJOB_IDX = 3\n");
    StartService();
    Run("RFID_tag01", "42");
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{"GET/RFID_tag01/4/"});
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 42\nJOB_IDX = 4\n");
}

TEST_F(RfidJob, StoredRecordOfAnotherJobStartsAtIndexZero)
{
    SetJobInfo("JOB_ID = 42\nJOB_IDX = 3\n");
    StartService();
    Run("RFID_tag01", "43");
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{"GET/RFID_tag01/0/"});
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 43\nJOB_IDX = 0\n");
}

TEST_F(RfidJob, StoredRecordWithExtraBlanksAfterTheKeyIsRead)
{
    SetJobInfo("JOB_ID =   17\t\nJOB_IDX = 2\n");
    StartService();
    Run("RFID_tag01", "17");
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{"GET/RFID_tag01/3/"});
}

TEST_F(RfidJob, LongerEarlierContentIsReplacedByExactlyTheTwoLines)
{
    SetJobInfo("JOB_ID = 42\nJOB_IDX = 3\nolder trailing text, longer than any record\n");
    StartService();
    Run("RFID_tag01", "42");
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 42\nJOB_IDX = 4\n");
}

TEST_F(RfidJob, FilterNeverAsksTheServiceToRemoveItsFile)
{
    StartService();
    Run("RFID_tag01", "42", 2);
    std::vector<std::string> requests = m_service->Requests();
    ASSERT_EQ(requests.size(), 2u);
    for (const std::string& request : requests)
        EXPECT_EQ(request.rfind("GET/", 0), 0u) << request;
}

TEST_F(RfidJob, DriverLogRecordsTheRequestAndTheBytesWritten)
{
    StartService();
    Run("RFID_tag01", "42", 1, true);
    LogLine request = FindLogLine("SendMsg: GET/RFID_tag01/0/");
    EXPECT_EQ(request.file, "CLEFile.cpp");
    EXPECT_EQ(request.line, SourceLine(kClientSource, "\"SendMsg: %s\""));
    LogLine size = FindLogLine("RFID write size: " + std::to_string(kTag01Index0.size()));
    EXPECT_EQ(size.file, "rastokivepl.cpp");
    EXPECT_EQ(size.line, SourceLine(kLoopSource, "\"RFID write size: %d\""));
}

// ---- two pages: the RFID step runs for every page header ---------------

TEST_F(RfidJob, TwoPageJobFetchesOnceForEachPage)
{
    StartService();
    Run("RFID_tag01", "42", 2);
    EXPECT_EQ(m_service->Requests(), (std::vector<std::string>{"GET/RFID_tag01/0/", "GET/RFID_tag01/1/"}));
}

TEST_F(RfidJob, TwoPageJobUsesUpTwoIndexes)
{
    StartService();
    Run("RFID_tag01", "42", 2);
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 42\nJOB_IDX = 1\n");
}

TEST_F(RfidJob, TwoPageJobPrintsTheSecondRecordBetweenTheStartOfDocumentAndTheFirstPage)
{
    // Pages go out one header late: the second header's RFID data is
    // written before the first page is rendered.
    FilterResult plain = RunPlain(2);
    const std::string pages = plain.out.substr(std::string(kStartOfDocument).size());
    StartService();
    FilterResult r = Run("RFID_tag01", "42", 2);
    EXPECT_EQ(r.out, kTag01Index0 + kStartOfDocument + kTag01Index1 + pages);
}

TEST_F(RfidJob, TwoPageJobWhoseSecondFetchFailsPrintsTheFirstPageAsItsLast)
{
    // The second header's refusal discards page 2 and ends the job; the held
    // first page still goes out, as the last page.
    FilterResult plain = RunPlain(1);
    StartService({"", "ok", "ok", 1});
    FilterResult r = Run("RFID_tag01", "42", 2);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "Finish print operation.\nERROR: RFID job not printed: the RFID service refused the request\n");
    EXPECT_EQ(r.out, kTag01Index0 + plain.out);
}

// ---- when the service does not deliver ---------------------------------

TEST_F(RfidJob, WithoutTheQueueThePageIsDiscardedAndNothingIsPrinted)
{
    FilterResult r = Run("RFID_tag01", "42", 2);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: RFID job not printed: the RFID service's message queue is missing (is the service "
                     "running?)\n");
}

TEST_F(RfidJob, WithoutTheQueueTheJobInformationFileIsUntouched)
{
    Run("RFID_tag01", "42");
    EXPECT_EQ(ReadFile(kJobInfoPath), kOtherJobRecord);
}

TEST_F(RfidJob, WithoutTheQueueTheFilterDoesNotCreateIt)
{
    Run("RFID_tag01", "42");
    EXPECT_FALSE(RfidQueueExists());
}

TEST_F(RfidJob, WithoutTheQueueTheDriverLogHasTheMsggetFailure)
{
    Run("RFID_tag01", "42", 1, true);
    EXPECT_EQ(LogMessagesFrom("CLEFile.cpp"),
              std::vector<std::string>{"msgget failed, error num: " + std::to_string(kNoQueueError)});
    EXPECT_EQ(FindLogLine("msgget failed, error num: 2").line,
              SourceLine(kClientSource, "\"msgget failed, error num: %d\""));
}

TEST_F(RfidJob, WithoutTheQueueNoPageHeaderIsDumped)
{
    Run("RFID_tag01", "42", 2, true);
    std::vector<std::string> expected{"LERFIDJobTask - RFID_tag01, 42", "EndDoc, bufStart is 0x0"};
    std::vector<std::string> loop = LogMessagesFrom("rastokivepl.cpp");
    EXPECT_EQ(std::count(loop.begin(), loop.end(), "****************Start Page 1 *****************"), 0);
    ASSERT_GE(loop.size(), 2u);
    EXPECT_EQ(std::vector<std::string>(loop.end() - 2, loop.end()), expected);
}

TEST_F(RfidJob, ErrorReplyDiscardsThePageAndPrintsNothing)
{
    StartService({"", "error", "ok"});
    FilterResult r = Run("RFID_tag01", "42");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: RFID job not printed: the RFID service refused the request\n");
}

TEST_F(RfidJob, ErrorReplyStillUsesUpTheIndex)
{
    // The record is written before the data is asked for.
    StartService({"", "error", "ok"});
    Run("RFID_tag01", "42");
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{"GET/RFID_tag01/0/"});
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 42\nJOB_IDX = 0\n");
}

TEST_F(RfidJob, SilentServiceIsAskedTenTimesThenThePageIsDiscarded)
{
    StartService({"", "silent", "ok"});
    int queue = msgget(kRfidQueueKey, 0);
    FilterResult r = Run("RFID_tag01", "42", 1, true);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: RFID job not printed: the RFID service did not answer\n");
    std::vector<std::string> expected{"message handle value: " + std::to_string(queue), "SendMsg: GET/RFID_tag01/0/"};
    for (int left = kReplyAttempts; left > 0; --left)
        expected.push_back("msgrcv(" + std::to_string(left) + ") failed, error: " + std::to_string(kNoMessageError));
    EXPECT_EQ(LogMessagesFrom("CLEFile.cpp"), expected);
}

TEST_F(RfidJob, EmptyJobInformationFileDiscardsTheJobAndStaysEmpty)
{
    SetJobInfo("");
    StartService();
    FilterResult r = Run("RFID_tag01", "42");
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: RFID job not printed: the job information file /tmp/TASK_INFO.lock holds no job record\n");
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{});
    EXPECT_EQ(ReadFile(kJobInfoPath), "");
}

TEST_F(RfidJob, MissingJobInformationFileIsCreatedEmptyAndTheJobIsDiscarded)
{
    // No record can be read from a fresh file, and the reader never writes
    // one: RFID jobs stay refused until someone else writes a record.
    RemoveJobInfo();
    StartService();
    FilterResult r = Run("RFID_tag01", "42");
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{});
    EXPECT_TRUE(FileExists(kJobInfoPath));
    EXPECT_EQ(ReadFile(kJobInfoPath), "");
}

// ---- titles that are no RFID job ---------------------------------------

class NotAnRfidJob : public RfidJob, public ::testing::WithParamInterface<const char*> {};

TEST_P(NotAnRfidJob, TouchesNeitherTheQueueNorTheFile)
{
    StartService();
    FilterResult r = Run(GetParam(), "42");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind(kStartOfDocument, 0), 0u);
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{});
    EXPECT_EQ(ReadFile(kJobInfoPath), kOtherJobRecord);
}

TEST_P(NotAnRfidJob, DoesNotCreateTheJobInformationFile)
{
    RemoveJobInfo();
    Run(GetParam(), "42");
    EXPECT_FALSE(FileExists(kJobInfoPath));
}

// Test names for the titles: letters and digits only.
std::string TitleName(const ::testing::TestParamInfo<const char*>& info)
{
    std::string name;
    for (const char* c = info.param; *c; ++c)
        name += isalnum(static_cast<unsigned char>(*c)) ? std::string(1, *c) : std::string("_");
    return std::to_string(info.index) + "_" + name;
}

INSTANTIATE_TEST_SUITE_P(RfidTitles, NotAnRfidJob,
                         ::testing::Values("label", "RFID", "RFID_", "rfid_tag01", "XRFID_tag01", "_RFID_tag01"),
                         TitleName);

// ---- a lock held past the time-out ---------------------------------------

TEST_F(RfidJob, LockHeldPastFiveSecondsDiscardsTheJobWithReadTimeout)
{
    StartService();
    JobInfoLockHolder holder(kHolderLimitSeconds);
    ASSERT_TRUE(holder.Holding());
    FilterResult r = Run("RFID_tag01", "42", 1, true);
    holder.Release();
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: RFID job not printed: the job information file /tmp/TASK_INFO.lock stayed locked by "
                     "another job\n");
    LogLine timeout = FindLogLine("read-timeout failed");
    EXPECT_EQ(timeout.file, "rastokivepl.cpp");
    EXPECT_EQ(timeout.line, SourceLine(kLoopSource, "\"read-timeout failed\""));
}

TEST_F(RfidJob, LockHeldPastFiveSecondsLeavesFileAndServiceUntouched)
{
    StartService();
    JobInfoLockHolder holder(kHolderLimitSeconds);
    ASSERT_TRUE(holder.Holding());
    Run("RFID_tag01", "42");
    holder.Release();
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>{});
    EXPECT_EQ(ReadFile(kJobInfoPath), kOtherJobRecord);
}

// ---- several jobs at once -------------------------------------------------

// Several RFID jobs at once, each with its own job id.
class RacingJobs : public RfidJob {
protected:
    // Starts kRacingJobs jobs at once while another thread reads the job
    // information file under a shared lock, a moment apart, until all have
    // ended; keeps every distinct content seen and every job's result.
    void RunRace()
    {
        StartService();
        std::string raster = RasterFile(1);
        std::string ppd = Ppd(false);
        std::vector<std::unique_ptr<FilterProcess>> jobs;
        for (int i = 0; i < kRacingJobs; ++i) {
            std::string id = std::to_string(kFirstRacingJobId + i);
            jobs.push_back(std::make_unique<FilterProcess>(FilterArgs("", "RFID_race", raster, id), ppd, false));
        }
        JobInfoWatcher watcher;
        for (auto& job : jobs)
            m_results.push_back(job->Wait());
        m_seen = watcher.Stop();
    }

    // The records the file may hold: the one before the race, and each job's
    // first record.
    std::set<std::string> AllowedRecords() const
    {
        std::set<std::string> allowed{kOtherJobRecord};
        for (int i = 0; i < kRacingJobs; ++i)
            allowed.insert("JOB_ID = " + std::to_string(kFirstRacingJobId + i) + "\nJOB_IDX = 0\n");
        return allowed;
    }

    std::set<std::string> m_seen;
    std::vector<FilterResult> m_results;
};

const std::string kRaceIndex0 = Bytes("RF\0RFID_race\0"
                                      "0"
                                      "\0\0\r\n");

TEST_F(RacingJobs, FileAlwaysHoldsOneCompleteRecordWhileTheyRun)
{
    RunRace();
    std::set<std::string> allowed = AllowedRecords();
    ASSERT_FALSE(m_seen.empty());
    for (const std::string& content : m_seen)
        EXPECT_EQ(allowed.count(content), 1u) << "seen: " << content;
}

TEST_F(RacingJobs, FileEndsWithTheRecordOfOneOfThem)
{
    RunRace();
    std::set<std::string> allowed = AllowedRecords();
    allowed.erase(kOtherJobRecord);
    EXPECT_EQ(allowed.count(ReadFile(kJobInfoPath)), 1u) << ReadFile(kJobInfoPath);
}

TEST_F(RacingJobs, EveryJobAsksForIndexZero)
{
    RunRace();
    EXPECT_EQ(m_service->Requests(), std::vector<std::string>(kRacingJobs, "GET/RFID_race/0/"));
}

TEST_F(RacingJobs, EveryJobPrintsItsDataAheadOfItsPage)
{
    FilterResult plain = RunPlain();
    RunRace();
    ASSERT_EQ(m_results.size(), static_cast<size_t>(kRacingJobs));
    for (const FilterResult& r : m_results) {
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out, kRaceIndex0 + plain.out);
    }
}

// ---- the stand-in service itself, through the client ------------------

TEST_F(RfidJob, ServiceAnswersADataRequestWithNameAndIndexBetweenZeroBytes)
{
    StartService();
    CLEFile client("RFID_tag01");
    ASSERT_TRUE(client.InitMsgQueue());
    std::string reply;
    EXPECT_TRUE(client.GetLERFIDData(reply, 3));
    EXPECT_EQ(reply, Bytes("RF\0RFID_tag01\0"
                           "3"
                           "\0\0\r\n"));
}

TEST_F(RfidJob, ServiceReplyFollowsTheGivenTemplate)
{
    StartService({"idx=%i;name=%n;100%%\\0\\\\", "ok", "ok"});
    CLEFile client("RFID_a/b");
    ASSERT_TRUE(client.InitMsgQueue());
    std::string reply;
    EXPECT_TRUE(client.GetLERFIDData(reply, 12));
    EXPECT_EQ(reply, Bytes("idx=12;name=RFID_a/b;100%\0\\"));
}

TEST_F(RfidJob, ServiceAnswersRemovalWithMsgOkWhenToldSo)
{
    StartService({"", "ok", "ok"});
    CLEFile client("RFID_tag01");
    ASSERT_TRUE(client.InitMsgQueue());
    EXPECT_TRUE(client.RemoveRFIDFile());
}

TEST_F(RfidJob, ServiceAnswersRemovalWithMsgErrirWhenToldSo)
{
    StartService({"", "ok", "error"});
    CLEFile client("RFID_tag01");
    ASSERT_TRUE(client.InitMsgQueue());
    EXPECT_FALSE(client.RemoveRFIDFile());
}

TEST_F(RfidJob, ServiceRecordsEveryRequestInOrder)
{
    StartService();
    CLEFile client("RFID_tag01");
    ASSERT_TRUE(client.InitMsgQueue());
    std::string reply;
    client.GetLERFIDData(reply, 3);
    client.RemoveRFIDFile();
    EXPECT_EQ(m_service->Requests(), (std::vector<std::string>{"GET/RFID_tag01/3/", "REMOVE/RFID_tag01/3/"}));
}

TEST_F(RfidJob, ServiceRemovesItsQueueOnSigterm)
{
    StartService();
    ASSERT_TRUE(RfidQueueExists());
    EXPECT_EQ(m_service->Stop(), 0);
    EXPECT_FALSE(RfidQueueExists());
}

TEST_F(RfidJob, ServiceRefusesToServeAQueueItDidNotCreate)
{
    int stale = msgget(kRfidQueueKey, IPC_CREAT | 0666);
    ASSERT_GE(stale, 0);
    RfidService service(kServiceBinary);
    EXPECT_FALSE(service.Ready());
    EXPECT_EQ(service.Stop(), kServiceFoundAQueue);
}
