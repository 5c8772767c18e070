// Acting as another user, planting files and links as it, and looking at
// files without following links, for the tests of files at shared paths.
#include "PlantedFiles.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace kvtest {

namespace {

constexpr mode_t kForeignFileMode = 0666;
constexpr mode_t kPermissionBits = 07777;
constexpr size_t kReadChunk = 65536;

// Exit status of a child that ran its body successfully.
constexpr int kChildSucceeded = 0;
constexpr int kChildFailed = 1;

// Writes all of `data` to `fd`; false on a failed or short write.
bool WriteAll(int fd, const std::string& data)
{
    size_t done = 0;
    while (done < data.size()) {
        const ssize_t n = write(fd, data.data() + done, data.size() - done);
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

// Reads `fd` from its start to its end, wherever its position is.
std::string ReadFrom(int fd)
{
    std::string content;
    char chunk[kReadChunk];
    off_t offset = 0;
    ssize_t n;
    while ((n = pread(fd, chunk, sizeof chunk, offset)) > 0) {
        content.append(chunk, static_cast<size_t>(n));
        offset += n;
    }
    return content;
}

}  // namespace

std::string HardLinkableBase()
{
    struct stat tmp;
    struct stat outside;
    if (stat("/tmp", &tmp) == 0 && stat(kOutsideTmp, &outside) == 0 && tmp.st_dev == outside.st_dev)
        return kOutsideTmp;
    return "/tmp";
}

bool RunningAsRoot()
{
    return geteuid() == 0;
}

bool BecomeUser(uid_t uid, gid_t gid)
{
    return setgroups(0, nullptr) == 0 && setgid(gid) == 0 && setuid(uid) == 0;
}

bool RunAsUser(uid_t uid, gid_t gid, const std::function<bool()>& body)
{
    const pid_t pid = fork();
    if (pid < 0)
        return false;
    if (pid == 0)
        _exit(BecomeUser(uid, gid) && body() ? kChildSucceeded : kChildFailed);
    int status = 0;
    if (waitpid(pid, &status, 0) != pid)
        return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == kChildSucceeded;
}

bool PlantSymlinkAsNobody(const std::string& target, const std::string& link)
{
    return RunAsUser(kNobodyUid, kNobodyGid, [&] { return symlink(target.c_str(), link.c_str()) == 0; });
}

bool PlantForeignFile(const std::string& path, const std::string& content)
{
    return RunAsUser(kNobodyUid, kNobodyGid, [&] {
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kForeignFileMode);
        if (fd < 0)
            return false;
        // The mask would take the write bits of others away.
        const bool written = fchmod(fd, kForeignFileMode) == 0 && WriteAll(fd, content);
        return close(fd) == 0 && written;
    });
}

bool PlantHardLinkAsNobody(const std::string& target, const std::string& link)
{
    return RunAsUser(kNobodyUid, kNobodyGid, [&] { return ::link(target.c_str(), link.c_str()) == 0; });
}

void RemoveEntry(const std::string& path)
{
    struct stat info;
    if (lstat(path.c_str(), &info) != 0)
        return;
    if (S_ISDIR(info.st_mode))
        rmdir(path.c_str());
    else
        unlink(path.c_str());
}

OpenFolder::OpenFolder(const std::string& base, mode_t mode)
{
    std::string pattern = base + "/kvplanted.XXXXXX";
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("mkdtemp failed under " + base);
    m_path = pattern;
    chmod(m_path.c_str(), mode);
}

OpenFolder::~OpenFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string MakeFile(const std::string& path, const std::string& content, mode_t mode, uid_t uid, gid_t gid)
{
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    if (fd < 0)
        throw std::runtime_error("cannot create " + path);
    const bool made = fchmod(fd, mode) == 0 && fchown(fd, uid, gid) == 0 && WriteAll(fd, content);
    close(fd);
    if (!made)
        throw std::runtime_error("cannot write " + path);
    return path;
}

bool FileSnapshot::operator==(const FileSnapshot& other) const
{
    return exists == other.exists && mode == other.mode && uid == other.uid && links == other.links &&
           content == other.content;
}

FileSnapshot Snapshot(const std::string& path)
{
    FileSnapshot snapshot;
    struct stat info;
    if (lstat(path.c_str(), &info) != 0)
        return snapshot;
    snapshot.exists = true;
    snapshot.mode = info.st_mode & (S_IFMT | kPermissionBits);
    snapshot.uid = info.st_uid;
    snapshot.links = info.st_nlink;
    if (S_ISREG(info.st_mode)) {
        HeldFile file(path);
        snapshot.content = file.Content();
    }
    return snapshot;
}

std::ostream& operator<<(std::ostream& out, const FileSnapshot& snapshot)
{
    if (!snapshot.exists)
        return out << "(nothing)";
    return out << "mode " << std::oct << snapshot.mode << std::dec << ", uid " << snapshot.uid << ", " << snapshot.links
               << " link(s), " << snapshot.content.size() << " bytes \"" << snapshot.content << "\"";
}

HeldFile::HeldFile(const std::string& path) : m_fd(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)) {}

HeldFile::~HeldFile()
{
    if (m_fd >= 0)
        close(m_fd);
}

std::string HeldFile::Content() const
{
    return m_fd >= 0 ? ReadFrom(m_fd) : std::string();
}

}  // namespace kvtest
