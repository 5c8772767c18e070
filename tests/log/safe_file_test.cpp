// Tests of opening files at shared paths: what is created and opened, and
// each kind of file that is refused and left exactly as it was.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "PlantedFiles.h"
#include "SafeFile.h"

using kvfile::openOwnFile;
using kvfile::openOwnStream;
using kvfile::OwnFile;
using kvfile::Refusal;
using kvtest::FileSnapshot;
using kvtest::Snapshot;

namespace {

constexpr mode_t kCreateMode = 0666;
constexpr mode_t kOwnFileMode = 0644;
const char* const kOwnContent = "a file of our own\n";

// Every test works in a folder of its own that any user may create names in,
// as in /tmp; files that links point at live in a second folder.
class SafeFile : public ::testing::Test {
protected:
    std::string path() const { return shared.File("shared.log"); }
    std::string ownFile() const { return kvtest::MakeFile(elsewhere.File("own.txt"), kOwnContent, kOwnFileMode); }
    std::string elsewhereFile(const std::string& name) const { return elsewhere.File(name); }

    kvtest::OpenFolder shared{kvtest::kOutsideTmp, kvtest::kSharedFolderMode};
    kvtest::OpenFolder elsewhere{kvtest::kOutsideTmp};
};

// Opens the test path read-write, creating it, as the job information file is.
OwnFile openReadWrite(const std::string& path, int extra = 0)
{
    return openOwnFile(path.c_str(), O_RDWR | O_CREAT | extra, kCreateMode);
}

}  // namespace

// ---- files that are used ----

TEST_F(SafeFile, MissingFileIsCreatedAndOpened)
{
    OwnFile file = openReadWrite(path());
    EXPECT_TRUE(file.fd.valid());
    EXPECT_EQ(Refusal::None, file.refusal);
    EXPECT_TRUE(Snapshot(path()).exists);
}

TEST_F(SafeFile, CreatedFileHasTheModeLessTheProcessMask)
{
    const mode_t previous = umask(022);
    openReadWrite(path());
    umask(previous);
    EXPECT_EQ(S_IFREG | 0644u, Snapshot(path()).mode);
}

TEST_F(SafeFile, OwnFileIsOpenedWithItsContentKept)
{
    kvtest::MakeFile(path(), kOwnContent, kOwnFileMode);
    OwnFile file = openReadWrite(path());
    EXPECT_EQ(Refusal::None, file.refusal);
    EXPECT_EQ(kOwnContent, Snapshot(path()).content);
}

TEST_F(SafeFile, OwnFileIsTruncatedWhenAskedFor)
{
    kvtest::MakeFile(path(), kOwnContent, kOwnFileMode);
    openReadWrite(path(), O_TRUNC);
    EXPECT_EQ("", Snapshot(path()).content);
}

TEST_F(SafeFile, DescriptorIsClosedOnExec)
{
    OwnFile file = openReadWrite(path());
    ASSERT_TRUE(file.fd.valid());
    EXPECT_EQ(FD_CLOEXEC, fcntl(file.fd.get(), F_GETFD) & FD_CLOEXEC);
}

TEST_F(SafeFile, DescriptorBlocksAsAPlainOpenWould)
{
    OwnFile file = openReadWrite(path());
    ASSERT_TRUE(file.fd.valid());
    EXPECT_EQ(0, fcntl(file.fd.get(), F_GETFL) & O_NONBLOCK);
}

TEST_F(SafeFile, StreamAppendsToTheFile)
{
    kvtest::MakeFile(path(), "first\n", kOwnFileMode);
    FILE* stream = openOwnStream(path().c_str(), O_WRONLY | O_CREAT | O_APPEND, kCreateMode, "ab");
    ASSERT_NE(nullptr, stream);
    fputs("second\n", stream);
    fclose(stream);
    EXPECT_EQ("first\nsecond\n", Snapshot(path()).content);
}

TEST_F(SafeFile, StreamOfAUsableFileReportsNoRefusal)
{
    Refusal refusal = Refusal::Unopenable;
    FILE* stream = openOwnStream(path().c_str(), O_WRONLY | O_CREAT, kCreateMode, "wb", &refusal);
    ASSERT_NE(nullptr, stream);
    fclose(stream);
    EXPECT_EQ(Refusal::None, refusal);
}

// ---- files that are refused ----

TEST_F(SafeFile, SymbolicLinkIsRefused)
{
    ASSERT_EQ(0, symlink(ownFile().c_str(), path().c_str()));
    OwnFile file = openReadWrite(path());
    EXPECT_FALSE(file.fd.valid());
    EXPECT_EQ(Refusal::SymbolicLink, file.refusal);
}

TEST_F(SafeFile, FileBehindARefusedLinkIsUnchanged)
{
    const std::string target = ownFile();
    const FileSnapshot before = Snapshot(target);
    ASSERT_EQ(0, symlink(target.c_str(), path().c_str()));
    openReadWrite(path(), O_TRUNC);
    EXPECT_EQ(before, Snapshot(target));
}

TEST_F(SafeFile, DanglingSymbolicLinkIsRefused)
{
    ASSERT_EQ(0, symlink(elsewhereFile("never.txt").c_str(), path().c_str()));
    EXPECT_EQ(Refusal::SymbolicLink, openReadWrite(path()).refusal);
}

TEST_F(SafeFile, DanglingSymbolicLinkDoesNotCreateItsTarget)
{
    ASSERT_EQ(0, symlink(elsewhereFile("never.txt").c_str(), path().c_str()));
    openReadWrite(path());
    EXPECT_FALSE(Snapshot(elsewhereFile("never.txt")).exists);
}

TEST_F(SafeFile, SymbolicLinkInTheWayOfANewFileIsRefused)
{
    ASSERT_EQ(0, symlink(ownFile().c_str(), path().c_str()));
    EXPECT_EQ(Refusal::SymbolicLink, openReadWrite(path(), O_EXCL).refusal);
}

TEST_F(SafeFile, FileWithASecondHardLinkIsRefused)
{
    ASSERT_EQ(0, link(ownFile().c_str(), path().c_str()));
    OwnFile file = openReadWrite(path());
    EXPECT_FALSE(file.fd.valid());
    EXPECT_EQ(Refusal::SeveralLinks, file.refusal);
}

TEST_F(SafeFile, RefusedHardLinkedFileIsNotTruncated)
{
    const std::string target = ownFile();
    ASSERT_EQ(0, link(target.c_str(), path().c_str()));
    openReadWrite(path(), O_TRUNC);
    EXPECT_EQ(kOwnContent, Snapshot(target).content);
}

TEST_F(SafeFile, AnotherUsersFileIsRefused)
{
    if (!kvtest::RunningAsRoot())
        GTEST_SKIP() << "planting a file as another user needs root";
    ASSERT_TRUE(kvtest::PlantForeignFile(path(), "theirs\n"));
    OwnFile file = openReadWrite(path());
    EXPECT_FALSE(file.fd.valid());
    EXPECT_EQ(Refusal::ForeignOwner, file.refusal);
}

TEST_F(SafeFile, RefusedForeignFileIsNotTruncated)
{
    if (!kvtest::RunningAsRoot())
        GTEST_SKIP() << "planting a file as another user needs root";
    ASSERT_TRUE(kvtest::PlantForeignFile(path(), "theirs\n"));
    const FileSnapshot before = Snapshot(path());
    openReadWrite(path(), O_TRUNC);
    EXPECT_EQ(before, Snapshot(path()));
}

TEST_F(SafeFile, PipeIsRefusedWithoutWaitingForAReader)
{
    ASSERT_EQ(0, mkfifo(path().c_str(), 0666));
    OwnFile file = openOwnFile(path().c_str(), O_WRONLY | O_CREAT | O_APPEND, kCreateMode);
    EXPECT_FALSE(file.fd.valid());
    EXPECT_EQ(Refusal::NotRegular, file.refusal);
}

TEST_F(SafeFile, PipeOpenedReadWriteIsRefused)
{
    ASSERT_EQ(0, mkfifo(path().c_str(), 0666));
    EXPECT_EQ(Refusal::NotRegular, openReadWrite(path()).refusal);
}

TEST_F(SafeFile, DirectoryIsRefused)
{
    ASSERT_EQ(0, mkdir(path().c_str(), 0755));
    EXPECT_EQ(Refusal::NotRegular, openReadWrite(path()).refusal);
}

TEST_F(SafeFile, StreamOfARefusedFileIsNullAndSaysWhy)
{
    ASSERT_EQ(0, symlink(ownFile().c_str(), path().c_str()));
    Refusal refusal = Refusal::None;
    EXPECT_EQ(nullptr, openOwnStream(path().c_str(), O_WRONLY | O_CREAT, kCreateMode, "wb", &refusal));
    EXPECT_EQ(Refusal::SymbolicLink, refusal);
}

// ---- ordinary failures ----

TEST_F(SafeFile, MissingFolderIsAnOrdinaryFailure)
{
    OwnFile file = openReadWrite(shared.File("missing/shared.log"));
    EXPECT_FALSE(file.fd.valid());
    EXPECT_EQ(Refusal::Unopenable, file.refusal);
}

TEST_F(SafeFile, OrdinaryFailureKeepsTheSystemError)
{
    EXPECT_EQ(ENOENT, openReadWrite(shared.File("missing/shared.log")).error);
}

TEST_F(SafeFile, ExistingOwnFileInTheWayOfANewFileIsAnOrdinaryFailure)
{
    kvtest::MakeFile(path(), kOwnContent, kOwnFileMode);
    EXPECT_EQ(Refusal::Unopenable, openReadWrite(path(), O_EXCL).refusal);
}

// ---- the reasons as text ----

TEST(SafeFileReason, SymbolicLinkIsNamed)
{
    EXPECT_EQ("/tmp/x.lock is a symbolic link", kvfile::describeRefusal("/tmp/x.lock", Refusal::SymbolicLink));
}

TEST(SafeFileReason, ForeignOwnerIsNamed)
{
    EXPECT_EQ("/tmp/x.lock belongs to another user", kvfile::describeRefusal("/tmp/x.lock", Refusal::ForeignOwner));
}

TEST(SafeFileReason, NotRegularIsNamed)
{
    EXPECT_EQ("/tmp/x.lock is not a regular file", kvfile::describeRefusal("/tmp/x.lock", Refusal::NotRegular));
}

TEST(SafeFileReason, SeveralLinksAreNamed)
{
    EXPECT_EQ("/tmp/x.lock has more than one hard link", kvfile::describeRefusal("/tmp/x.lock", Refusal::SeveralLinks));
}

TEST(SafeFileReason, UsableFileHasNoReason)
{
    EXPECT_EQ("", kvfile::describeRefusal("/tmp/x.lock", Refusal::None));
}

TEST(SafeFileReason, OrdinaryFailureHasNoReason)
{
    EXPECT_EQ("", kvfile::describeRefusal("/tmp/x.lock", Refusal::Unopenable));
}

// ---- the descriptor owner ----

TEST(UniqueFd, ClosesItsDescriptorAtDestruction)
{
    int fd = open("/dev/null", O_RDONLY);
    ASSERT_GE(fd, 0);
    {
        kvfile::UniqueFd owner(fd);
    }
    EXPECT_EQ(-1, fcntl(fd, F_GETFD));
}

TEST(UniqueFd, ReleasedDescriptorStaysOpen)
{
    int fd = open("/dev/null", O_RDONLY);
    ASSERT_GE(fd, 0);
    {
        kvfile::UniqueFd owner(fd);
        EXPECT_EQ(fd, owner.release());
    }
    EXPECT_NE(-1, fcntl(fd, F_GETFD));
    close(fd);
}

TEST(UniqueFd, MovedDescriptorHasOneOwner)
{
    int fd = open("/dev/null", O_RDONLY);
    ASSERT_GE(fd, 0);
    kvfile::UniqueFd first(fd);
    kvfile::UniqueFd second(std::move(first));
    EXPECT_FALSE(first.valid());
    EXPECT_EQ(fd, second.get());
}
