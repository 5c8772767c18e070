// End-to-end facts about an RFID job when another user ("nobody") was first
// to create the job information file "/tmp/TASK_INFO.lock": a link to a file
// of the filter's user outside /tmp, a link to a file that does not exist, a
// world-writable file of their own, or a second name of a file of ours. The
// built filter runs the job with the stand-in service and neither follows
// nor writes any of them.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "FilterProcess.h"
#include "JobInfoFile.h"
#include "PlantedFiles.h"
#include "PpdWriter.h"
#include "RasterWriter.h"
#include "RfidService.h"
#include "TempDir.h"
#include "TestFiles.h"

using namespace kvtest;

namespace {

const char* const kServiceBinary = KV_FAKE_RFID_SERVICE;
const char* const kOwnRecord = "JOB_ID = 42\nJOB_IDX = 3\n";
const char* const kForeignRecord = "JOB_ID = 42\nJOB_IDX = 9\n";

// Each test starts with nothing at the path, the service running, and ends
// with the planted file removed and whatever was there before put back.
class PlantedJobInfo : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!RunningAsRoot())
            GTEST_SKIP() << "planting files as another user needs root";
        RemoveEntry(kJobInfoPath);
        ASSERT_TRUE(RemoveRfidQueue());
        m_service = std::make_unique<RfidService>(kServiceBinary);
        ASSERT_TRUE(m_service->Ready());
    }

    void TearDown() override
    {
        m_service.reset();
        EXPECT_TRUE(RemoveRfidQueue());
        RemoveEntry(kJobInfoPath);
    }

    // Runs the RFID job 42 of one black page.
    FilterResult RunRfidJob()
    {
        const std::string raster = m_dir.File("job.ras");
        WriteRaster(raster, {SolidPage(16, 8, 203, 0, 0, 0)});
        const std::string ppd = LabelPpd().WriteTo(m_dir.File("label.ppd"));
        return RunFilter(FilterArgs("", "RFID_tag01", raster, "42"), ppd);
    }

    // A file of root's outside /tmp holding a record, for links to point at.
    std::string OwnFileOutside() { return MakeFile(m_outside.File("own.lock"), kOwnRecord, 0644); }

    JobInfoFileGuard m_jobInfo;
    TempDir m_dir;
    OpenFolder m_outside{kOutsideTmp};
    OpenFolder m_linkable{HardLinkableBase()};
    std::unique_ptr<RfidService> m_service;
};

}  // namespace

TEST_F(PlantedJobInfo, LinkToAFileOfTheFiltersUserLeavesItUnchanged)
{
    const std::string target = OwnFileOutside();
    const FileSnapshot before = Snapshot(target);
    ASSERT_TRUE(PlantSymlinkAsNobody(target, kJobInfoPath));
    RunRfidJob();
    EXPECT_EQ(before, Snapshot(target));
}

TEST_F(PlantedJobInfo, LinkedFileIsNeverAskedForData)
{
    ASSERT_TRUE(PlantSymlinkAsNobody(OwnFileOutside(), kJobInfoPath));
    RunRfidJob();
    EXPECT_EQ(std::vector<std::string>{}, m_service->Requests());
}

TEST_F(PlantedJobInfo, DanglingLinkCreatesNothingOutsideTmp)
{
    const std::string target = m_outside.File("never.lock");
    ASSERT_TRUE(PlantSymlinkAsNobody(target, kJobInfoPath));
    RunRfidJob();
    EXPECT_FALSE(Snapshot(target).exists);
}

TEST_F(PlantedJobInfo, WorldWritableFileOfTheirsIsUnchanged)
{
    ASSERT_TRUE(PlantForeignFile(kJobInfoPath, kForeignRecord));
    const FileSnapshot before = Snapshot(kJobInfoPath);
    RunRfidJob();
    EXPECT_EQ(before, Snapshot(kJobInfoPath));
}

TEST_F(PlantedJobInfo, HardLinkToAFileOfTheFiltersUserLeavesItUnchanged)
{
    // World-writable, so that nobody may give it a second name.
    const std::string target = MakeFile(m_linkable.File("own.lock"), kOwnRecord, 0666);
    ASSERT_TRUE(PlantHardLinkAsNobody(target, kJobInfoPath));
    RunRfidJob();
    EXPECT_EQ(kOwnRecord, Snapshot(target).content);
}

TEST_F(PlantedJobInfo, OwnFileIsStillUpdated)
{
    SetJobInfo(kOwnRecord);
    RunRfidJob();
    EXPECT_EQ("JOB_ID = 42\nJOB_IDX = 4\n", ReadFile(kJobInfoPath));
}
