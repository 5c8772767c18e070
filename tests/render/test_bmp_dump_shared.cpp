// Facts about debug bitmap dumps in a folder that every user may create
// names in, as /tmp is: the dump is written by an unprivileged user (the
// filter runs as one) while another user has planted links and files at its
// path, which the dump must neither follow nor write into.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "EPLRender.h"
#include "PlantedFiles.h"

using namespace kvtest;

namespace {

const char* const kOwnContent = "a file of the dumping user\n";
constexpr int kWidth = 4;
constexpr int kHeight = 1;
constexpr int kBits = 8;
// An 8-bit dump of 4 x 1 pixels: headers, 256 grey entries and one row.
constexpr size_t kDumpSize = 1078 + 4;

class SharedDump : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!RunningAsRoot())
            GTEST_SKIP() << "dumping as one user with files of another needs root";
        ASSERT_EQ(0, mkdir(nobodysFolder().c_str(), 0755));
        ASSERT_EQ(0, chown(nobodysFolder().c_str(), kNobodyUid, kNobodyGid));
    }

    std::string dumpPath() const { return shared.File("EplBegin.bmp"); }
    // A folder of the dumping user's away from the shared one.
    std::string nobodysFolder() const { return elsewhere.File("nobody"); }
    std::string nobodysFile() const
    {
        return MakeFile(nobodysFolder() + "/own.txt", kOwnContent, 0644, kNobodyUid, kNobodyGid);
    }

    // Writes a 4 x 1 dump to the shared path as nobody; true when the
    // child ran to its end.
    bool dumpAsNobody() const
    {
        const std::string path = dumpPath();
        return RunAsUser(kNobodyUid, kNobodyGid, [&] {
            std::vector<unsigned char> row(kWidth, 0);
            CEPLRender render;
            render.LogData2BmpFile(path.c_str(), row.data(), static_cast<unsigned>(row.size()), kWidth, kHeight, kBits);
            return true;
        });
    }

    OpenFolder shared{kOutsideTmp, kSharedFolderMode};
    OpenFolder elsewhere{kOutsideTmp};
};

}  // namespace

TEST_F(SharedDump, FileBehindAPlantedLinkIsUnchanged)
{
    const std::string target = nobodysFile();
    const FileSnapshot before = Snapshot(target);
    ASSERT_EQ(0, symlink(target.c_str(), dumpPath().c_str()));
    ASSERT_TRUE(dumpAsNobody());
    EXPECT_EQ(before, Snapshot(target));
}

TEST_F(SharedDump, PlantedDanglingLinkCreatesNothing)
{
    const std::string target = nobodysFolder() + "/never.bmp";
    ASSERT_EQ(0, symlink(target.c_str(), dumpPath().c_str()));
    ASSERT_TRUE(dumpAsNobody());
    EXPECT_FALSE(Snapshot(target).exists);
}

TEST_F(SharedDump, AnotherUsersFileAtThePathIsUnchanged)
{
    MakeFile(dumpPath(), "theirs\n", 0666);
    const FileSnapshot before = Snapshot(dumpPath());
    ASSERT_TRUE(dumpAsNobody());
    EXPECT_EQ(before, Snapshot(dumpPath()));
}

TEST_F(SharedDump, FileBehindAPlantedHardLinkIsUnchanged)
{
    const std::string target = MakeFile(elsewhere.File("shared-writable.txt"), kOwnContent, 0666);
    ASSERT_EQ(0, link(target.c_str(), dumpPath().c_str()));
    ASSERT_TRUE(dumpAsNobody());
    EXPECT_EQ(kOwnContent, Snapshot(target).content);
}

TEST_F(SharedDump, OwnEarlierDumpIsReplaced)
{
    MakeFile(dumpPath(), "an earlier page\n", 0644, kNobodyUid, kNobodyGid);
    ASSERT_TRUE(dumpAsNobody());
    EXPECT_EQ(kDumpSize, Snapshot(dumpPath()).content.size());
}

TEST_F(SharedDump, DumpIsCreatedWhenNothingIsThere)
{
    ASSERT_TRUE(dumpAsNobody());
    const FileSnapshot dump = Snapshot(dumpPath());
    EXPECT_EQ(kNobodyUid, dump.uid);
    EXPECT_EQ(kDumpSize, dump.content.size());
}

TEST_F(SharedDump, FolderInTheWayIsLeftAndNoDumpWritten)
{
    // Even root cannot remove a folder that is not empty.
    ASSERT_EQ(0, mkdir(dumpPath().c_str(), 0755));
    MakeFile(dumpPath() + "/inside", "kept\n", 0644);
    ASSERT_TRUE(dumpAsNobody());
    EXPECT_EQ(S_IFDIR | 0755u, Snapshot(dumpPath()).mode);
}
