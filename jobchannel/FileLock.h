// The job information file shared by concurrent filter processes: it records the
// last job identifier seen and its repeat index, guarded by an advisory lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class FileLock {
public:
    // Where the record lives; every filter process on the machine shares it.
    static constexpr char kDirectory[] = "/tmp/";
    static constexpr char kFileName[] = "TASK_INFO.lock";
    // Anyone may rewrite the record, whichever user the spooler runs us as
    // (the process mask still applies).
    static constexpr int kFileMode = 0666;
    // Keys of the two record lines, blank after '=' included.
    static constexpr char kJobIdKey[] = "JOB_ID = ";
    static constexpr char kJobIdxKey[] = "JOB_IDX = ";
    // The lock is never waited on in the kernel; it is retried this often.
    static constexpr int kLockPollMs = 100;
    // A record is two short lines; reading stops after this many bytes.
    static constexpr std::size_t kMaxReadBytes = 255;

    // Opens or creates the file read-write; on failure logs
    // "FileLock CreateFile Fail" and the object stays unopened. The file sits
    // where any user may create names, so it is never opened through a
    // symbolic link and is refused, unchanged, when it is not a regular file
    // of the effective user with a single hard link (see unsafeReason).
    FileLock();
    // Releases a held lock and closes the file.
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // Reads "JOB_ID = <n>" and "JOB_IDX = <n>" lines from `text` (blanks and
    // tabs around a line ignored); true only when both were found and
    // converted. Outputs are only written on a successful conversion, so the
    // caller presets them. Conversion failures are logged, missing keys are not.
    static bool parseJobInfo(const std::string& text, int& jobId, int& jobIdx);

    // Replaces the file's content with the two-line record under the lock,
    // waiting at most `timeoutSeconds` for it; the lock is released afterwards
    // in every case. True only when the record reached stable storage.
    bool writeJobInfoTimeout(int jobId, int jobIdx, int timeoutSeconds);

    // Takes the whole-file write lock, polling every kLockPollMs for up to
    // `timeoutSeconds`, and moves to the start of the file. True when the lock
    // is held and the position is at the start. False on time-out (not logged
    // here: the caller names its own time-out) or when the seek failed ("lseek
    // failed" logged; the lock then stays held until unlock, close or
    // destruction). A lock already held is kept and only the seek is redone.
    bool lockTimeout(int timeoutSeconds);

    // Releases the lock when held; logs "unlock failed" when the system refuses.
    // The held flag is cleared either way. True when nothing is left to release
    // without an error.
    bool unlock();

    // Replaces `text` with at most kMaxReadBytes bytes read from the start of
    // the file, with one read. False on a failed seek or read ("lseek failed",
    // "read failed" logged), `text` then unchanged.
    bool readAll(std::string& text);

    // Releases a held lock and closes the file; later calls do nothing.
    void close();

    // True while the file is open.
    bool isOpen() const { return m_nFd >= 0; }
    // True while this process holds the lock through this object.
    bool isLocked() const { return m_bLocked; }
    // Why the file was refused as unsafe to use, e.g. "/tmp/TASK_INFO.lock is
    // a symbolic link" or "... belongs to another user"; empty when the file
    // was opened, or could not be for an ordinary reason (a missing folder).
    const std::string& unsafeReason() const { return m_strUnsafeReason; }

private:
    enum class LockResult { Locked, TimedOut, SeekFailed };

    // The lock-taking steps shared by the writer and lockTimeout.
    LockResult acquire(int timeoutSeconds);
    // One non-blocking whole-file lock request of `type` (write or unlock);
    // true when granted, errno set otherwise.
    bool setLock(short type) const;
    // Truncates and writes the record, then syncs it; true when all succeeded.
    bool writeRecord(int jobId, int jobIdx);

    int32_t m_nFd;
    bool m_bLocked;
    std::string m_strPath;
    std::string m_strUnsafeReason;
};
