// Tests of the job information file: record parsing, creation of the file,
// reading, the locked rewrite and the lock's behaviour against other processes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "FileLock.h"
#include "LogCapture.h"
#include "PlantedFiles.h"
#include "SyscallFault.h"

using kvtest::LogCapture;

namespace {

constexpr char kPath[] = "/tmp/TASK_INFO.lock";
constexpr char kSource[] = "FileLock.cpp";
// Every caller in the filter waits this long for the lock.
constexpr int kFilterTimeoutSeconds = 5;
// A shorter wait for tests that only need the lock to stay refused.
constexpr int kShortTimeoutSeconds = 1;
// Offset far past the end of any record, to show the lock reaches beyond it.
constexpr off_t kFarOffset = 1000000;
// The most bytes one read of the file returns.
constexpr std::size_t kReadLimit = 255;
// Size of a file that one read cannot take in whole.
constexpr std::size_t kOverlongFileSize = 300;

using Lines = std::vector<std::string>;

// Owns one file descriptor and closes it when it goes out of scope.
class Fd {
public:
    explicit Fd(int fd = -1) : m_fd(fd) {}
    ~Fd() { reset(); }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int get() const { return m_fd; }
    void reset()
    {
        if (m_fd >= 0) {
            close(m_fd);
            m_fd = -1;
        }
    }

private:
    int m_fd;
};

// Returns the whole-file write-lock request the filter makes, starting at `start`.
struct flock writeLockFrom(off_t start)
{
    struct flock request;
    std::memset(&request, 0, sizeof(request));
    request.l_type = F_WRLCK;
    request.l_whence = SEEK_SET;
    request.l_start = start;
    request.l_len = 0;
    return request;
}

// Removes whatever is at `path` (file, link, pipe or directory).
void removePath(const char* path)
{
    struct stat info;
    if (lstat(path, &info) != 0) {
        return;
    }
    if (S_ISDIR(info.st_mode)) {
        rmdir(path);
    } else {
        unlink(path);
    }
}

void writeFile(const std::string& content)
{
    std::ofstream out(kPath, std::ios::binary | std::ios::trunc);
    out << content;
}

std::string readFile()
{
    std::ifstream in(kPath, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

// Outcome of another process trying the lock.
enum ProbeResult { kProbeLocked = 0, kProbeRefused = 1, kProbeError = 2 };

// Forks a process that tries, without waiting, to write-lock the file from
// `start` to its end; returns what it got.
int probeFromOtherProcess(off_t start = 0)
{
    struct flock request = writeLockFrom(start);
    const pid_t pid = fork();
    if (pid == 0) {
        const int fd = open(kPath, O_RDWR);
        if (fd < 0) {
            _exit(kProbeError);
        }
        if (fcntl(fd, F_SETLK, &request) == 0) {
            _exit(kProbeLocked);
        }
        _exit(errno == EAGAIN || errno == EACCES ? kProbeRefused : kProbeError);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : kProbeError;
}

// Another process holding the whole-file write lock until this object goes
// away, however long that is.
class ForeignLockHolder {
public:
    ForeignLockHolder()
    {
        int ready[2];
        int release[2];
        if (pipe(ready) != 0 || pipe(release) != 0) {
            ADD_FAILURE() << "pipe failed";
            return;
        }
        Fd readyRead(ready[0]);
        Fd readyWrite(ready[1]);
        Fd releaseRead(release[0]);
        m_release = release[1];
        struct flock request = writeLockFrom(0);
        m_pid = fork();
        if (m_pid == 0) {
            holdUntilReleased(readyWrite.get(), releaseRead.get(), request);
        }
        readyWrite.reset();
        releaseRead.reset();
        char locked = 0;
        m_holding = read(readyRead.get(), &locked, 1) == 1 && locked == 1;
    }

    ~ForeignLockHolder()
    {
        if (m_release >= 0) {
            close(m_release);
        }
        if (m_pid > 0) {
            waitpid(m_pid, nullptr, 0);
        }
    }

    bool holding() const { return m_holding; }

private:
    // Runs in the child: takes the lock, reports, and keeps it until the parent
    // closes its end of the release pipe.
    [[noreturn]] void holdUntilReleased(int readyWrite, int releaseRead, struct flock& request)
    {
        close(m_release);
        const int fd = open(kPath, O_RDWR);
        const char locked = fd >= 0 && fcntl(fd, F_SETLK, &request) == 0 ? 1 : 0;
        if (write(readyWrite, &locked, 1) != 1) {
            _exit(kProbeError);
        }
        char ignored;
        while (read(releaseRead, &ignored, 1) > 0) {
        }
        _exit(0);
    }

    pid_t m_pid = -1;
    int m_release = -1;
    bool m_holding = false;
};

std::vector<std::string> logged()
{
    return LogCapture::Instance().DebugMessagesFrom(kSource);
}

class JobInfoParse : public ::testing::Test {
protected:
    void SetUp() override { LogCapture::Instance().Mark(); }
    int jobId = -1;
    int jobIdx = -1;
};

// Starts every test without a job information file and puts back whatever
// was there before afterwards.
class JobInfoFile : public ::testing::Test {
protected:
    void SetUp() override
    {
        struct stat info;
        if (lstat(kPath, &info) == 0 && S_ISREG(info.st_mode)) {
            m_hadFile = true;
            m_savedMode = info.st_mode & 0777;
            m_savedContent = readFile();
        }
        removePath(kPath);
        LogCapture::Instance().Mark();
    }

    void TearDown() override
    {
        removePath(kPath);
        if (m_hadFile) {
            writeFile(m_savedContent);
            chmod(kPath, m_savedMode);
        }
    }

    bool m_hadFile = false;
    mode_t m_savedMode = 0;
    std::string m_savedContent;
};

// ---- parsing the record ----

TEST_F(JobInfoParse, BothKeysParse)
{
    EXPECT_TRUE(FileLock::parseJobInfo("JOB_ID = 42\nJOB_IDX = 3\n", jobId, jobIdx));
    EXPECT_EQ(42, jobId);
    EXPECT_EQ(3, jobIdx);
}

TEST_F(JobInfoParse, ExtraBlanksAfterTheKeyAreSkipped)
{
    EXPECT_TRUE(FileLock::parseJobInfo("JOB_ID =   17\t\nJOB_IDX = 0\n", jobId, jobIdx));
    EXPECT_EQ(17, jobId);
}

TEST_F(JobInfoParse, SpacesAndTabsAroundALineAreIgnored)
{
    EXPECT_TRUE(FileLock::parseJobInfo(" \tJOB_ID = 8 \t\n\t JOB_IDX = 9\t \n", jobId, jobIdx));
    EXPECT_EQ(8, jobId);
    EXPECT_EQ(9, jobIdx);
}

TEST_F(JobInfoParse, LastLineWithoutLineFeedCounts)
{
    EXPECT_TRUE(FileLock::parseJobInfo("JOB_ID = 5\nJOB_IDX = 1", jobId, jobIdx));
    EXPECT_EQ(1, jobIdx);
}

TEST_F(JobInfoParse, NegativeNumbersParse)
{
    EXPECT_TRUE(FileLock::parseJobInfo("JOB_ID = -1\nJOB_IDX = -7\n", jobId, jobIdx));
    EXPECT_EQ(-1, jobId);
    EXPECT_EQ(-7, jobIdx);
}

TEST_F(JobInfoParse, TextAfterTheDigitsIsIgnored)
{
    EXPECT_TRUE(FileLock::parseJobInfo("JOB_ID = 12ab\nJOB_IDX = 4 x\n", jobId, jobIdx));
    EXPECT_EQ(12, jobId);
    EXPECT_EQ(4, jobIdx);
}

TEST_F(JobInfoParse, KeysInEitherOrderParse)
{
    EXPECT_TRUE(FileLock::parseJobInfo("JOB_IDX = 2\nJOB_ID = 30\n", jobId, jobIdx));
    EXPECT_EQ(30, jobId);
    EXPECT_EQ(2, jobIdx);
}

TEST_F(JobInfoParse, MissingIndexKeyFails)
{
    EXPECT_FALSE(FileLock::parseJobInfo("JOB_ID = 5\n", jobId, jobIdx));
}

TEST_F(JobInfoParse, MissingIdKeyFails)
{
    EXPECT_FALSE(FileLock::parseJobInfo("JOB_IDX = 4\n", jobId, jobIdx));
}

TEST_F(JobInfoParse, MissingKeyLogsNothing)
{
    FileLock::parseJobInfo("JOB_ID = 5\n", jobId, jobIdx);
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(JobInfoParse, IndexKeyIsNotTakenForTheIdKey)
{
    FileLock::parseJobInfo("JOB_IDX = 4\n", jobId, jobIdx);
    EXPECT_EQ(-1, jobId);
    EXPECT_EQ(4, jobIdx);
}

TEST_F(JobInfoParse, EmptyTextFailsWithoutLog)
{
    EXPECT_FALSE(FileLock::parseJobInfo("", jobId, jobIdx));
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(JobInfoParse, KeyWithoutBlanksAroundEqualsIsNotAKey)
{
    EXPECT_FALSE(FileLock::parseJobInfo("JOB_ID=5\nJOB_IDX=1\n", jobId, jobIdx));
    EXPECT_EQ(-1, jobId);
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(JobInfoParse, UnconvertibleIdFails)
{
    EXPECT_FALSE(FileLock::parseJobInfo("JOB_ID = abc\nJOB_IDX = 1\n", jobId, jobIdx));
}

TEST_F(JobInfoParse, UnconvertibleIdLogsJobIdParseError)
{
    FileLock::parseJobInfo("JOB_ID = abc\nJOB_IDX = 1\n", jobId, jobIdx);
    EXPECT_EQ(Lines{"job_id parse error"}, logged());
}

TEST_F(JobInfoParse, UnconvertibleIdLeavesTheIdUntouched)
{
    FileLock::parseJobInfo("JOB_ID = abc\nJOB_IDX = 1\n", jobId, jobIdx);
    EXPECT_EQ(-1, jobId);
    EXPECT_EQ(1, jobIdx);
}

TEST_F(JobInfoParse, UnconvertibleIndexFails)
{
    EXPECT_FALSE(FileLock::parseJobInfo("JOB_ID = 5\nJOB_IDX = x\n", jobId, jobIdx));
}

TEST_F(JobInfoParse, UnconvertibleIndexLogsJobIdxParseError)
{
    FileLock::parseJobInfo("JOB_ID = 5\nJOB_IDX = x\n", jobId, jobIdx);
    EXPECT_EQ(Lines{"job_idx parse error"}, logged());
}

TEST_F(JobInfoParse, KeyWithNothingAfterItIsMissingWithoutLog)
{
    // Trimming the line takes the key's own trailing blank with it.
    EXPECT_FALSE(FileLock::parseJobInfo("JOB_ID = 5\nJOB_IDX = \n", jobId, jobIdx));
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(JobInfoParse, KeyFollowedOnlyByBlanksAndTextLogsParseError)
{
    EXPECT_FALSE(FileLock::parseJobInfo("JOB_ID = 5\nJOB_IDX =  -\n", jobId, jobIdx));
    EXPECT_EQ(Lines{"job_idx parse error"}, logged());
}

TEST_F(JobInfoParse, IdBeyondThe32BitRangeLogsJobIdParseError)
{
    EXPECT_FALSE(FileLock::parseJobInfo("JOB_ID = 99999999999\nJOB_IDX = 1\n", jobId, jobIdx));
    EXPECT_EQ(Lines{"job_id parse error"}, logged());
}

// ---- opening and reading the file ----

TEST_F(JobInfoFile, MissingFileIsCreated)
{
    FileLock file;
    EXPECT_TRUE(file.isOpen());
    EXPECT_EQ(0, access(kPath, F_OK));
}

TEST_F(JobInfoFile, MissingFileIsCreatedEmpty)
{
    FileLock file;
    EXPECT_EQ("", readFile());
}

TEST_F(JobInfoFile, MissingFileIsCreatedWithMode0666UnderAnOpenMask)
{
    const mode_t previous = umask(0);
    {
        FileLock file;
    }
    umask(previous);
    struct stat info;
    ASSERT_EQ(0, stat(kPath, &info));
    EXPECT_EQ(0666u, info.st_mode & 0777u);
}

TEST_F(JobInfoFile, CreationRespectsTheProcessMask)
{
    const mode_t previous = umask(022);
    {
        FileLock file;
    }
    umask(previous);
    struct stat info;
    ASSERT_EQ(0, stat(kPath, &info));
    EXPECT_EQ(0644u, info.st_mode & 0777u);
}

TEST_F(JobInfoFile, OpeningKeepsExistingContent)
{
    writeFile("JOB_ID = 42\nJOB_IDX = 3\n");
    {
        FileLock file;
    }
    EXPECT_EQ("JOB_ID = 42\nJOB_IDX = 3\n", readFile());
}

TEST_F(JobInfoFile, CreatedFileHoldsNoRecord)
{
    FileLock file;
    std::string text = "stale";
    int jobId = -1;
    int jobIdx = -1;
    ASSERT_TRUE(file.readAll(text));
    EXPECT_EQ("", text);
    EXPECT_FALSE(FileLock::parseJobInfo(text, jobId, jobIdx));
}

TEST_F(JobInfoFile, ReadAllReturnsTheWholeShortFile)
{
    writeFile("JOB_ID = 42\nJOB_IDX = 3\n");
    FileLock file;
    std::string text;
    EXPECT_TRUE(file.readAll(text));
    EXPECT_EQ("JOB_ID = 42\nJOB_IDX = 3\n", text);
}

TEST_F(JobInfoFile, ReadAllStopsAfter255Bytes)
{
    std::string content;
    for (std::size_t i = 0; i < kOverlongFileSize; ++i) {
        content.push_back(static_cast<char>('a' + i % 26));  // a varying alphabet run
    }
    writeFile(content);
    FileLock file;
    std::string text;
    file.readAll(text);
    EXPECT_EQ(content.substr(0, kReadLimit), text);
}

TEST_F(JobInfoFile, ReadAllStartsFromTheBeginningEveryTime)
{
    writeFile("JOB_ID = 42\nJOB_IDX = 3\n");
    FileLock file;
    std::string first;
    std::string second;
    file.readAll(first);
    file.readAll(second);
    EXPECT_EQ("JOB_ID = 42\nJOB_IDX = 3\n", second);
}

TEST_F(JobInfoFile, UnopenablePathLogsCreateFileFail)
{
    ASSERT_EQ(0, mkdir(kPath, 0700));
    FileLock file;
    EXPECT_EQ(Lines{"FileLock CreateFile Fail"}, logged());
}

TEST_F(JobInfoFile, UnopenablePathLeavesTheFileClosed)
{
    ASSERT_EQ(0, mkdir(kPath, 0700));
    FileLock file;
    EXPECT_FALSE(file.isOpen());
}

// ---- writing the record ----

TEST_F(JobInfoFile, WriteStoresExactlyTheTwoLineRecord)
{
    FileLock file;
    EXPECT_TRUE(file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds));
    EXPECT_EQ("JOB_ID = 5\nJOB_IDX = 1\n", readFile());
}

TEST_F(JobInfoFile, WriteLeavesNothingOfLongerEarlierContent)
{
    writeFile("JOB_ID = 123456789\nJOB_IDX = 987654321\nsome older trailing text\n");
    FileLock file;
    file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds);
    EXPECT_EQ("JOB_ID = 5\nJOB_IDX = 1\n", readFile());
}

TEST_F(JobInfoFile, WriteLogsSuccessfullyWrote)
{
    FileLock file;
    file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds);
    EXPECT_EQ(Lines{"Successfully wrote"}, logged());
}

TEST_F(JobInfoFile, WrittenRecordParsesBack)
{
    FileLock file;
    file.writeJobInfoTimeout(-1, 12, kFilterTimeoutSeconds);
    std::string text;
    int jobId = 0;
    int jobIdx = 0;
    file.readAll(text);
    EXPECT_TRUE(FileLock::parseJobInfo(text, jobId, jobIdx));
    EXPECT_EQ(-1, jobId);
    EXPECT_EQ(12, jobIdx);
}

TEST_F(JobInfoFile, WriteReleasesTheLockAfterwards)
{
    FileLock file;
    file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds);
    EXPECT_FALSE(file.isLocked());
    EXPECT_EQ(kProbeLocked, probeFromOtherProcess());
}

TEST_F(JobInfoFile, WriteReleasesALockTakenBeforehand)
{
    FileLock file;
    ASSERT_TRUE(file.lockTimeout(kFilterTimeoutSeconds));
    file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds);
    EXPECT_EQ(kProbeLocked, probeFromOtherProcess());
}

TEST_F(JobInfoFile, WriteGivesUpWhileAnotherProcessHoldsTheLock)
{
    FileLock file;
    ForeignLockHolder holder;
    ASSERT_TRUE(holder.holding());
    EXPECT_FALSE(file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds));
    EXPECT_EQ(Lines{"wirte-timeout failed"}, logged());
}

TEST_F(JobInfoFile, WriteTimeOutLeavesTheFileUnchanged)
{
    writeFile("JOB_ID = 42\nJOB_IDX = 3\n");
    FileLock file;
    ForeignLockHolder holder;
    ASSERT_TRUE(holder.holding());
    file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds);
    EXPECT_EQ("JOB_ID = 42\nJOB_IDX = 3\n", readFile());
}

TEST_F(JobInfoFile, LockErrorOtherThanContentionLogsTryLockFailed)
{
    ASSERT_EQ(0, mkdir(kPath, 0700));
    FileLock file;
    LogCapture::Instance().Mark();
    // A zero time-out makes exactly one attempt.
    EXPECT_FALSE(file.writeJobInfoTimeout(5, 1, 0));
    EXPECT_EQ((Lines{"tryLock failed", "wirte-timeout failed"}), logged());
}

TEST_F(JobInfoFile, SeekFailureEndsTheWriteWithoutTimeOutLine)
{
    FileLock file;
    SyscallFault seek(SyscallFault::Call::Lseek, kPath, ESPIPE);
    EXPECT_FALSE(file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds));
    EXPECT_EQ(Lines{"lseek failed"}, logged());
}

TEST_F(JobInfoFile, SeekFailureInWriteStillReleasesTheLock)
{
    FileLock file;
    SyscallFault seek(SyscallFault::Call::Lseek, kPath, ESPIPE);
    file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds);
    EXPECT_FALSE(file.isLocked());
}

TEST_F(JobInfoFile, TruncateFailureLogsFtruncateFailed)
{
    FileLock file;
    SyscallFault failure(SyscallFault::Call::Ftruncate, kPath, EINVAL);
    EXPECT_FALSE(file.writeJobInfoTimeout(5, 1, kFilterTimeoutSeconds));
    EXPECT_EQ(Lines{"ftruncate failed"}, logged());
}

// ---- the lock ----

TEST_F(JobInfoFile, LockTimeoutTakesAFreeLock)
{
    FileLock file;
    EXPECT_TRUE(file.lockTimeout(kFilterTimeoutSeconds));
    EXPECT_TRUE(file.isLocked());
}

TEST_F(JobInfoFile, HeldLockRefusesOtherProcesses)
{
    FileLock file;
    ASSERT_TRUE(file.lockTimeout(kFilterTimeoutSeconds));
    EXPECT_EQ(kProbeRefused, probeFromOtherProcess());
}

TEST_F(JobInfoFile, HeldLockReachesBeyondTheEndOfTheFile)
{
    FileLock file;
    ASSERT_TRUE(file.lockTimeout(kFilterTimeoutSeconds));
    EXPECT_EQ(kProbeRefused, probeFromOtherProcess(kFarOffset));
}

TEST_F(JobInfoFile, LockTimeoutKeepsALockAlreadyHeld)
{
    FileLock file;
    ASSERT_TRUE(file.lockTimeout(0));
    EXPECT_TRUE(file.lockTimeout(0));
    EXPECT_TRUE(file.isLocked());
}

TEST_F(JobInfoFile, LockTimeoutFailsWhileAnotherProcessHoldsTheLock)
{
    FileLock file;
    ForeignLockHolder holder;
    ASSERT_TRUE(holder.holding());
    EXPECT_FALSE(file.lockTimeout(kShortTimeoutSeconds));
    EXPECT_FALSE(file.isLocked());
}

TEST_F(JobInfoFile, ContentionIsRetriedWithoutLogging)
{
    FileLock file;
    ForeignLockHolder holder;
    ASSERT_TRUE(holder.holding());
    file.lockTimeout(kShortTimeoutSeconds);
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(JobInfoFile, SeekFailureAfterLockingLogsLseekFailed)
{
    FileLock file;
    SyscallFault seek(SyscallFault::Call::Lseek, kPath, ESPIPE);
    EXPECT_FALSE(file.lockTimeout(0));
    EXPECT_EQ(Lines{"lseek failed"}, logged());
}

TEST_F(JobInfoFile, UnlockReleasesTheLock)
{
    FileLock file;
    ASSERT_TRUE(file.lockTimeout(kFilterTimeoutSeconds));
    EXPECT_TRUE(file.unlock());
    EXPECT_FALSE(file.isLocked());
    EXPECT_EQ(kProbeLocked, probeFromOtherProcess());
}

TEST_F(JobInfoFile, UnlockWithoutLockSucceedsWithoutLog)
{
    FileLock file;
    EXPECT_TRUE(file.unlock());
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(JobInfoFile, DestructionReleasesTheLock)
{
    {
        FileLock file;
        ASSERT_TRUE(file.lockTimeout(kFilterTimeoutSeconds));
    }
    EXPECT_EQ(kProbeLocked, probeFromOtherProcess());
}

TEST_F(JobInfoFile, CloseReleasesTheLockAndClosesTheFile)
{
    FileLock file;
    ASSERT_TRUE(file.lockTimeout(kFilterTimeoutSeconds));
    file.close();
    EXPECT_FALSE(file.isLocked());
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(kProbeLocked, probeFromOtherProcess());
}

TEST_F(JobInfoFile, ReadAfterCloseFailsWithLseekFailed)
{
    writeFile("JOB_ID = 42\nJOB_IDX = 3\n");
    FileLock file;
    file.close();
    std::string text = "kept";
    EXPECT_FALSE(file.readAll(text));
    EXPECT_EQ("kept", text);
    EXPECT_EQ(Lines{"lseek failed"}, logged());
}

// ---- files planted at the path ----

// Anyone may create names in /tmp; these tests put links and files there
// before the job information file is opened. Links point at files of ours
// outside /tmp (hard links at a folder on the same file system).
class PlantedJobInfoFile : public JobInfoFile {
protected:
    static constexpr char kOwnContent[] = "JOB_ID = 7\nJOB_IDX = 2\n";

    std::string ownFileOutside() const { return kvtest::MakeFile(outside.File("own.lock"), kOwnContent, 0644); }
    // A file of ours that nobody may hard-link too (the system lets a user
    // link only files it owns or may read and write).
    std::string linkableFile() const { return kvtest::MakeFile(linkable.File("own.lock"), kOwnContent, 0666); }

    kvtest::OpenFolder outside{kvtest::kOutsideTmp};
    kvtest::OpenFolder linkable{kvtest::HardLinkableBase()};
};

TEST_F(PlantedJobInfoFile, LinkedFileIsNotOpened)
{
    ASSERT_EQ(0, symlink(ownFileOutside().c_str(), kPath));
    FileLock file;
    EXPECT_FALSE(file.isOpen());
}

TEST_F(PlantedJobInfoFile, LinkedFileIsReportedAsASymbolicLink)
{
    ASSERT_EQ(0, symlink(ownFileOutside().c_str(), kPath));
    FileLock file;
    EXPECT_EQ("/tmp/TASK_INFO.lock is a symbolic link", file.unsafeReason());
}

TEST_F(PlantedJobInfoFile, RefusedFileLogsCreateFileFail)
{
    ASSERT_EQ(0, symlink(ownFileOutside().c_str(), kPath));
    FileLock file;
    EXPECT_EQ(Lines{"FileLock CreateFile Fail"}, logged());
}

TEST_F(PlantedJobInfoFile, FileBehindALinkIsUnchangedByAWrite)
{
    const std::string target = ownFileOutside();
    const kvtest::FileSnapshot before = kvtest::Snapshot(target);
    ASSERT_EQ(0, symlink(target.c_str(), kPath));
    FileLock file;
    EXPECT_FALSE(file.writeJobInfoTimeout(5, 1, 0));
    EXPECT_EQ(before, kvtest::Snapshot(target));
}

TEST_F(PlantedJobInfoFile, DanglingLinkCreatesNothing)
{
    const std::string target = outside.File("never.lock");
    ASSERT_EQ(0, symlink(target.c_str(), kPath));
    {
        FileLock file;
    }
    EXPECT_FALSE(kvtest::Snapshot(target).exists);
}

TEST_F(PlantedJobInfoFile, DanglingLinkIsReportedAsASymbolicLink)
{
    ASSERT_EQ(0, symlink(outside.File("never.lock").c_str(), kPath));
    FileLock file;
    EXPECT_EQ("/tmp/TASK_INFO.lock is a symbolic link", file.unsafeReason());
}

TEST_F(PlantedJobInfoFile, HardLinkedFileIsReportedAsHavingMoreThanOneLink)
{
    ASSERT_EQ(0, link(linkableFile().c_str(), kPath));
    FileLock file;
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ("/tmp/TASK_INFO.lock has more than one hard link", file.unsafeReason());
}

TEST_F(PlantedJobInfoFile, FileBehindAHardLinkIsUnchangedByAWrite)
{
    const std::string target = linkableFile();
    ASSERT_EQ(0, link(target.c_str(), kPath));
    FileLock file;
    file.writeJobInfoTimeout(5, 1, 0);
    EXPECT_EQ(kOwnContent, kvtest::Snapshot(target).content);
}

TEST_F(PlantedJobInfoFile, AnotherUsersFileIsReportedAsBelongingToAnotherUser)
{
    if (!kvtest::RunningAsRoot())
        GTEST_SKIP() << "planting a file as another user needs root";
    ASSERT_TRUE(kvtest::PlantForeignFile(kPath, kOwnContent));
    FileLock file;
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ("/tmp/TASK_INFO.lock belongs to another user", file.unsafeReason());
}

TEST_F(PlantedJobInfoFile, AnotherUsersFileIsUnchangedByAWrite)
{
    if (!kvtest::RunningAsRoot())
        GTEST_SKIP() << "planting a file as another user needs root";
    ASSERT_TRUE(kvtest::PlantForeignFile(kPath, kOwnContent));
    const kvtest::FileSnapshot before = kvtest::Snapshot(kPath);
    FileLock file;
    file.writeJobInfoTimeout(5, 1, 0);
    EXPECT_EQ(before, kvtest::Snapshot(kPath));
}

TEST_F(PlantedJobInfoFile, PipeIsReportedAsNotARegularFile)
{
    ASSERT_EQ(0, mkfifo(kPath, 0666));
    FileLock file;
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ("/tmp/TASK_INFO.lock is not a regular file", file.unsafeReason());
}

TEST_F(PlantedJobInfoFile, FolderIsReportedAsNotARegularFile)
{
    ASSERT_EQ(0, mkdir(kPath, 0700));
    FileLock file;
    EXPECT_EQ("/tmp/TASK_INFO.lock is not a regular file", file.unsafeReason());
}

TEST_F(PlantedJobInfoFile, CreatedFileHasNoUnsafeReason)
{
    FileLock file;
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ("", file.unsafeReason());
}

TEST_F(PlantedJobInfoFile, OwnExistingFileHasNoUnsafeReason)
{
    writeFile(kOwnContent);
    FileLock file;
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ("", file.unsafeReason());
}

}  // namespace
