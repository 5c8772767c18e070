// What another user can leave at the paths every user shares (under /tmp),
// for tests that check such files are never used: acting as another account
// in a child process, planting links and files as it, folders of the test's
// own that the planted links point into, and snapshots of files to show they
// stayed as they were.
#ifndef KV_TESTS_PLANTEDFILES_H
#define KV_TESTS_PLANTEDFILES_H

#include <sys/types.h>

#include <functional>
#include <ostream>
#include <string>

namespace kvtest {

// The unprivileged "nobody" account, playing the other user.
constexpr uid_t kNobodyUid = 65534;
constexpr gid_t kNobodyGid = 65534;

// A folder outside /tmp for the files that planted links point at.
constexpr char kOutsideTmp[] = "/var/tmp";

// Where a file that is hard-linked into /tmp lives: kOutsideTmp, unless /tmp
// is a file system of its own (a test's private /tmp), which no hard link can
// leave; then a folder in /tmp, away from the fixed paths, has to do.
std::string HardLinkableBase();

// True when the test runs as root, which acting as another user needs.
bool RunningAsRoot();

// Drops the process to `uid`:`gid` for good, without supplementary groups;
// false when the system refuses.
bool BecomeUser(uid_t uid, gid_t gid);

// Runs `body` in a forked child as `uid`:`gid` with no supplementary groups;
// true when the child switched user and `body` returned true.
bool RunAsUser(uid_t uid, gid_t gid, const std::function<bool()>& body);

// Makes `link` a symbolic link to `target`, as nobody.
bool PlantSymlinkAsNobody(const std::string& target, const std::string& link);
// Makes `path` a regular file of nobody's holding `content`, writable by all.
bool PlantForeignFile(const std::string& path, const std::string& content);
// Makes `link` a second name of the existing file `target`, as nobody.
bool PlantHardLinkAsNobody(const std::string& target, const std::string& link);

// Removes whatever is at `path` (a file, a link, a pipe or an empty folder),
// never what a link there points at.
void RemoveEntry(const std::string& path);

// A fresh folder of the test's own under `base`, which every user may search
// and read (so another user can reach, and link to, the files in it), removed
// with its contents at destruction. With kSharedFolderMode every user may
// also create names in it, as in /tmp.
constexpr mode_t kOpenFolderMode = 0755;
constexpr mode_t kSharedFolderMode = 01777;
class OpenFolder {
public:
    explicit OpenFolder(const std::string& base, mode_t mode = kOpenFolderMode);
    ~OpenFolder();
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;
    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

// Writes `content` to a new file `path` with exactly `mode`, owned by
// `uid`:`gid` (-1 keeps the test's own); returns the path.
std::string MakeFile(const std::string& path, const std::string& content, mode_t mode,
                     uid_t uid = static_cast<uid_t>(-1), gid_t gid = static_cast<gid_t>(-1));

// What a test can see of the entry at a path, without following a link:
// whether it is there, its type and permission bits, owner, number of hard
// links and, for a regular file, its content.
struct FileSnapshot {
    bool exists = false;
    mode_t mode = 0;
    uid_t uid = 0;
    nlink_t links = 0;
    std::string content;

    bool operator==(const FileSnapshot& other) const;
};
FileSnapshot Snapshot(const std::string& path);
std::ostream& operator<<(std::ostream& out, const FileSnapshot& snapshot);

// A read-only descriptor on a file, taken before a test run: it still reads
// the file's bytes after its name was removed or replaced.
class HeldFile {
public:
    explicit HeldFile(const std::string& path);
    ~HeldFile();
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;
    bool Open() const { return m_fd >= 0; }
    // The file's whole content now.
    std::string Content() const;

private:
    int m_fd;
};

}  // namespace kvtest

#endif
