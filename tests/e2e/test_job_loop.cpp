// End-to-end facts about the filter binary run as the spooler runs it:
// arguments, exit statuses, standard error texts and the driver log.
#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "FilterProcess.h"
#include "LogLines.h"
#include "PpdWriter.h"
#include "PrintJob.h"
#include "RasterWriter.h"
#include "TempDir.h"
#include "TestFiles.h"

using namespace kvtest;

namespace {

const char* const kDriverLog = "/tmp/kvepl.log";
const char* const kLoopSource = "filter/rastokivepl.cpp";

class JobLoop : public ::testing::Test {
protected:
    // A log left by an earlier job must not answer a wait for this one.
    void SetUp() override { remove(kDriverLog); }

    std::string Ppd(const std::map<std::string, std::string>& codes = LabelPpdCodes())
    {
        return LabelPpd(codes).WriteTo(m_dir.File("label.ppd"));
    }
    std::string LoggingPpd() { return Ppd(WithCodes({{"DriverLog", "1"}})); }
    std::string Raster(const std::vector<RasterPage>& pages)
    {
        std::string path = m_dir.File("job.ras");
        WriteRaster(path, pages);
        return path;
    }
    static RasterPage SmallPage() { return SolidPage(16, 8, 203, 255, 255, 255); }
    // A page whose rows do not compress, so its pixels fill the stream.
    static RasterPage NoisyPage()
    {
        return RgbPage(64, 64, 203, [](unsigned x, unsigned y, unsigned char rgb[3]) {
            unsigned v = (x * 7919u + y * 104729u) * 2654435761u;
            rgb[0] = static_cast<unsigned char>(v >> 24);
            rgb[1] = static_cast<unsigned char>(v >> 16);
            rgb[2] = static_cast<unsigned char>(v >> 8);
        });
    }

    // The driver log's lines written from the job loop's own source.
    static std::vector<LogLine> LoopLines()
    {
        std::vector<LogLine> lines;
        for (const LogLine& line : ParseLog(ReadFile(kDriverLog)))
            if (line.file == "rastokivepl.cpp")
                lines.push_back(line);
        return lines;
    }
    static std::vector<std::string> LoopMessages()
    {
        std::vector<std::string> messages;
        for (const LogLine& line : LoopLines())
            messages.push_back(line.message);
        return messages;
    }
    static size_t Count(const std::vector<std::string>& lines, const std::string& line)
    {
        return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
    }

    kvtest::TempDir m_dir;
};

std::string Repeat(const std::string& text, int times)
{
    std::string out;
    for (int i = 0; i < times; ++i)
        out += text;
    return out;
}

}  // namespace

TEST_F(JobLoop, FiveArgumentsPrintTheUsageAndFail)
{
    FilterResult r = RunFilter({"1", "user", "title", "1"}, Ppd());
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "rastertokivcp job-id user title copies options [file]");
    EXPECT_EQ(r.out, "");
}

TEST_F(JobLoop, EightArgumentsPrintTheUsageAndFail)
{
    FilterResult r = RunFilter({"1", "user", "title", "1", "", "a", "b"}, Ppd());
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "rastertokivcp job-id user title copies options [file]");
}

TEST_F(JobLoop, MissingRasterFileFailsWithItsMessage)
{
    FilterResult r = RunFilter(FilterArgs("", "label", m_dir.File("absent.ras")), Ppd());
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "ERROR: Unable to open raster file");
    EXPECT_EQ(r.out, "");
}

TEST_F(JobLoop, StreamWithoutSyncWordFailsInCupsRasterOpen)
{
    std::string path = m_dir.File("garbage.ras");
    WriteFile(path, "this is not a raster stream");
    FilterResult r = RunFilter(FilterArgs("", "label", path), Ppd());
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "cupsRasterOpen failed.");
}

TEST_F(JobLoop, EmptyStandardInputFailsInCupsRasterOpen)
{
    FilterResult r = RunFilter(FilterArgs(), Ppd(), "");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "cupsRasterOpen failed.");
}

TEST_F(JobLoop, UnsetPpdVariableFailsWithTheNullFileReason)
{
    FilterResult r = RunFilter(FilterArgs("", "label", Raster({SmallPage()})), std::nullopt);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "The PPD file could not be opened.NULL PPD file pointer on line 0.");
    EXPECT_EQ(r.out, "");
}

TEST_F(JobLoop, MissingPpdFileFailsWithTheOpenReason)
{
    FilterResult r = RunFilter(FilterArgs("", "label", Raster({SmallPage()})), m_dir.File("absent.ppd"));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "The PPD file could not be opened.Unable to open PPD file on line 0.");
}

TEST_F(JobLoop, BrokenPpdFailsWithTheReaderReasonAndLine)
{
    std::string ppd = m_dir.File("broken.ppd");
    WriteFile(ppd, "this is no PPD\n");
    FilterResult r = RunFilter(FilterArgs("", "label", Raster({SmallPage()})), ppd);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "The PPD file could not be opened.Missing asterisk in column 1 on line 1.");
}

TEST_F(JobLoop, EmptyStreamFindsNoPagesAndSucceeds)
{
    FilterResult r = RunFilter(FilterArgs("", "label", Raster({})), Ppd());
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "No pages were found.");
    EXPECT_EQ(r.out, "");
}

TEST_F(JobLoop, EmptyStreamOnStandardInputFindsNoPages)
{
    FilterResult r = RunFilter(FilterArgs(), Ppd(), RasterBytes({}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "No pages were found.");
}

TEST_F(JobLoop, SinglePageFromFileFinishesOnePrintOperation)
{
    FilterResult r = RunFilter(FilterArgs("", "label", Raster({SmallPage()})), Ppd());
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "Finish print operation.");
}

TEST_F(JobLoop, SinglePageFromStandardInputFinishesOnePrintOperation)
{
    FilterResult r = RunFilter(FilterArgs(), Ppd(), RasterBytes({SmallPage()}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "Finish print operation.");
}

TEST_F(JobLoop, EveryPageFinishesAPrintOperation)
{
    FilterResult r = RunFilter(FilterArgs(), Ppd(), RasterBytes({SmallPage(), SmallPage(), SmallPage()}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, Repeat("Finish print operation.", 3));
}

TEST_F(JobLoop, ShortPageIsAcceptedAsAWholePage)
{
    RasterPage page = SolidPage(16, 40, 203, 0, 0, 0);
    page.rows.resize(10);
    FilterResult r = RunFilter(FilterArgs(), Ppd(), RasterBytes({page}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "Finish print operation.");
}

TEST_F(JobLoop, TruncatedStreamEndsTheJobCleanly)
{
    std::string bytes = RasterBytes({SmallPage(), SmallPage()});
    FilterResult r = RunFilter(FilterArgs(), Ppd(), bytes.substr(0, bytes.size() - 100));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.signal, 0);
}

TEST_F(JobLoop, OutputStartsWithTheStartOfDocumentBlock)
{
    // A 4 x 6 inch page at 203 dpi on 3 mm gapped labels: 812 dots round up
    // to 816, the length carries one extra dot, the gap is 24 dots.
    std::string ppd = Ppd(WithCodes({{"MediaType", "1"}, {"GAPHeight", "3"}, {"PrintSpeed", "4"}, {"Density", "10"}}));
    FilterResult r = RunFilter(FilterArgs(), ppd, RasterBytes({SolidPage(812, 1218, 203, 255, 255, 255)}));
    EXPECT_EQ(r.status, 0);
    const std::string block = "N\r\nI8,E\r\nWN\r\nZB\r\nS4\r\nD10\r\nO\r\nJF\r\nq816\r\nQ1219,24\r\n";
    EXPECT_EQ(r.out.substr(0, block.size()), block);
}

TEST_F(JobLoop, StartOfDocumentFollowsTheChoiceCodes)
{
    std::string ppd = Ppd(WithCodes({{"PrintSpeed", "1000"},
                                     {"Density", "7"},
                                     {"Mode", "2"},
                                     {"PrintMethod", "1"},
                                     {"OutputDPI", "300"},
                                     {"MaxOutputWidth", "48"}}));
    FilterResult r = RunFilter(FilterArgs(), ppd, RasterBytes({SolidPage(812, 406, 203, 255, 255, 255)}));
    EXPECT_EQ(r.status, 0);
    // 812 dots at 203 dpi are 1200 at 300 dpi, more than 48 mm (567 dots,
    // rounded up to 568); continuous media has no gap.
    const std::string block = "N\r\nI8,E\r\nWN\r\nZB\r\nD7\r\nOD,P\r\nJF\r\nq568\r\nQ601,0\r\n";
    EXPECT_EQ(r.out.substr(0, block.size()), block);
}

TEST_F(JobLoop, StartOfDocumentIsSentOncePerJob)
{
    FilterResult r = RunFilter(FilterArgs(), Ppd(), RasterBytes({SmallPage(), SmallPage(), SmallPage()}));
    EXPECT_EQ(r.status, 0);
    size_t first = r.out.find("I8,E\r\n");
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(r.out.find("I8,E\r\n", first + 1), std::string::npos);
}

TEST_F(JobLoop, EmptyStreamWritesNoStartOfDocument)
{
    FilterResult r = RunFilter(FilterArgs(), Ppd(), RasterBytes({}));
    EXPECT_EQ(r.out, "");
}

class DriverLog : public JobLoop {};

TEST_F(DriverLog, ChoiceCodeZeroLogsOneLineThenNothing)
{
    FilterResult r = RunFilter(FilterArgs(), Ppd(WithCodes({{"DriverLog", "0"}})), RasterBytes({SmallPage()}));
    ASSERT_EQ(r.status, 0);
    std::vector<LogLine> lines = LoopLines();
    ASSERT_EQ(lines.size(), 1u);
    LogLine want = ExpectedDebug("driver log record: 0", kLoopSource, "\"driver log record: %d\"");
    EXPECT_EQ(lines[0].level, "LOG_DEBUG");
    EXPECT_EQ(lines[0].message, want.message);
    EXPECT_EQ(lines[0].file, "rastokivepl.cpp");
    EXPECT_EQ(lines[0].line, want.line);
}

TEST_F(DriverLog, MissingOptionLogsMinusOneThenNothing)
{
    FilterResult r = RunFilter(FilterArgs(), Ppd(WithoutOptions({"DriverLog"})), RasterBytes({SmallPage()}));
    ASSERT_EQ(r.status, 0);
    std::vector<std::string> expected{"driver log record: -1"};
    EXPECT_EQ(LoopMessages(), expected);
}

TEST_F(DriverLog, OffLeavesOnlyTheLoggerBannerBeforeTheSwitchLine)
{
    RunFilter(FilterArgs(), Ppd(), RasterBytes({SmallPage()}));
    std::vector<LogLine> lines = ParseLog(ReadFile(kDriverLog));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back().message, "driver log record: 0");
    for (size_t i = 0; i + 1 < lines.size(); ++i)
        EXPECT_EQ(lines[i].file, "log4z.cpp") << lines[i].raw;
}

TEST_F(DriverLog, EachJobStartsAFreshLog)
{
    RunFilter(FilterArgs(), LoggingPpd(), RasterBytes({SmallPage()}));
    RunFilter(FilterArgs(), Ppd(), RasterBytes({SmallPage()}));
    std::vector<std::string> expected{"driver log record: 0"};
    EXPECT_EQ(LoopMessages(), expected);
}

TEST_F(DriverLog, OnLogsTheWholeJobWithSourceLines)
{
    std::string raster = Raster({SmallPage()});
    FilterProcess process(FilterArgs("", "label", raster), LoggingPpd(), false);
    pid_t pid = process.Pid();
    FilterResult r = process.Wait();
    ASSERT_EQ(r.status, 0);

    std::vector<std::pair<std::string, std::string>> expected{
        {"job_id = 42", "\"job_id = %d\""},
        {"user = tester", "\"user = %s\""},
        {"job_title = label", "\"job_title = %s\""},
        {"num_copies = 1", "\"num_copies = %d\""},
        {"options = ", "\"options = %s\""},
        {"filename = " + raster, "\"filename = %s\""},
        {"pid = " + std::to_string(pid), "\"pid = %ld\""},
        {"LERFIDJobTask - label, 42", "\"LERFIDJobTask - %s, %d\""},
        {"****************Start Page 1 *****************", "\"****************Start Page %d *****************\""},
        {"Duplex = 0", "\"Duplex = %d\""},
        {"HWResolution = [ 203 203 ]", "\"HWResolution = [ %d %d ]\""},
        {"ImagingBoundingBox = [ 0 0 5 2 ]", "\"ImagingBoundingBox = [ %d %d %d %d ]\""},
        {"Margins = [ 0 0 ]", "\"Margins = [ %d %d ]\""},
        {"ManualFeed = 0", "\"ManualFeed = %d\""},
        {"MediaPosition = 0", "\"MediaPosition = %d\""},
        {"NumCopies = 1", "\"NumCopies = %d\""},
        {"Orientation = 0", "\"Orientation = %d\""},
        {"PageSize = [ 5 2 ]", "\"PageSize = [ %d %d ]\""},
        {"cupsWidth = 16", "\"cupsWidth = %d\""},
        {"cupsHeight = 8", "\"cupsHeight = %d\""},
        {"cupsMediaType = 0", "\"cupsMediaType = %d\""},
        {"cupsBitsPerColor = 8", "\"cupsBitsPerColor = %d\""},
        {"cupsBitsPerPixel = 24", "\"cupsBitsPerPixel = %d\""},
        {"cupsBytesPerLine = 48", "\"cupsBytesPerLine = %d\""},
        {"cupsColorOrder = 0", "\"cupsColorOrder = %d\""},
        {"cupsColorSpace = 1", "\"cupsColorSpace = %d\""},
        {"cupsCompression = 0", "\"cupsCompression = %d\""},
        {"Begin to initialize configures", "\"Begin to initialize configures\""},
        {"Initializing configures finish", "\"Initializing configures finish\""},
        {"The resault of StartDocCMD is 1", "\"The resault of StartDocCMD is %d\""},
        {"curPage is 0, bufStart is 0x0", "\"curPage is %d, bufStart is 0x%x\""},
    };
    std::vector<LogLine> lines = LoopLines();
    ASSERT_EQ(lines.size(), expected.size() + 1);
    for (size_t i = 0; i < expected.size(); ++i) {
        LogLine want = ExpectedDebug(expected[i].first, kLoopSource, expected[i].second);
        EXPECT_EQ(lines[i].level, "LOG_DEBUG");
        EXPECT_EQ(lines[i].message, want.message);
        EXPECT_NE(want.line, 0) << expected[i].second;
        EXPECT_EQ(lines[i].line, want.line) << want.message;
    }
    // The single page is held and sent at the end of the document.
    const LogLine& end = lines.back();
    EXPECT_EQ(end.message.rfind("EndDoc, bufStart is 0x", 0), 0u);
    EXPECT_NE(end.message, "EndDoc, bufStart is 0x0");
    EXPECT_EQ(end.line, SourceLine(kLoopSource, "\"EndDoc, bufStart is 0x%x\""));
}

TEST_F(DriverLog, OnLogsTheConfigurationBetweenTheInitialiseLines)
{
    RunFilter(FilterArgs(), LoggingPpd(), RasterBytes({SmallPage()}));
    std::vector<LogLine> lines = ParseLog(ReadFile(kDriverLog));
    auto begin = std::find_if(lines.begin(), lines.end(),
                              [](const LogLine& l) { return l.message == "Begin to initialize configures"; });
    auto finish = std::find_if(lines.begin(), lines.end(),
                               [](const LogLine& l) { return l.message == "Initializing configures finish"; });
    ASSERT_NE(begin, lines.end());
    ASSERT_NE(finish, lines.end());
    // 33 configuration lines, 3 device-mode lines, 11 page-device lines.
    EXPECT_EQ(finish - begin - 1, 33 + 3 + 11);
    EXPECT_EQ((begin + 1)->message, "Init sMirror: 0");
    EXPECT_EQ((finish - 1)->message, "Init srcGdiInfo.ulVertRes: 8");
}

TEST_F(DriverLog, PagesAreSentOneHeaderLate)
{
    RunFilter(FilterArgs(), LoggingPpd(), RasterBytes({SmallPage(), SmallPage(), SmallPage()}));
    std::vector<std::string> held;
    for (const std::string& message : LoopMessages())
        if (message.rfind("curPage is ", 0) == 0 || message.rfind("EndDoc", 0) == 0)
            held.push_back(message.substr(0, message.find(',')));
    std::vector<std::string> expected{"curPage is 0", "curPage is 1", "curPage is 2", "EndDoc"};
    EXPECT_EQ(held, expected);
}

TEST_F(DriverLog, EveryPageHeaderIsDumpedBeforeTheRecordsAreBuilt)
{
    RunFilter(FilterArgs(), LoggingPpd(), RasterBytes({SmallPage(), SmallPage()}));
    std::vector<std::string> messages = LoopMessages();
    auto page1 = std::find(messages.begin(), messages.end(), "****************Start Page 1 *****************");
    auto page2 = std::find(messages.begin(), messages.end(), "****************Start Page 2 *****************");
    auto begin = std::find(messages.begin(), messages.end(), "Begin to initialize configures");
    ASSERT_NE(page1, messages.end());
    ASSERT_NE(page2, messages.end());
    EXPECT_LT(page1, begin);
    EXPECT_EQ(Count(messages, "Begin to initialize configures"), 1u);
}

TEST_F(DriverLog, StandardInputJobLogsAnEmptyFileName)
{
    RunFilter(FilterArgs("Halftone=1", "my title", std::nullopt, "7", "3"), LoggingPpd(), RasterBytes({SmallPage()}));
    std::vector<std::string> messages = LoopMessages();
    EXPECT_EQ(Count(messages, "filename = "), 1u);
    EXPECT_EQ(Count(messages, "job_id = 7"), 1u);
    EXPECT_EQ(Count(messages, "num_copies = 3"), 1u);
    EXPECT_EQ(Count(messages, "options = Halftone=1"), 1u);
    EXPECT_EQ(Count(messages, "job_title = my title"), 1u);
}

class Cancel : public JobLoop {};

TEST_F(Cancel, SigtermBeforeTheFirstHeaderFindsNoPages)
{
    FilterProcess process(FilterArgs(), LoggingPpd(), true);
    process.Write(RasterBytes({}).substr(0, 4));  // the synchronisation word only
    ASSERT_TRUE(WaitForFileText(kDriverLog, "pid = "));
    process.Signal(SIGTERM);
    std::string page = RasterBytes({SmallPage()});
    process.Write(page.substr(4));
    FilterResult r = process.Wait();
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "No pages were found.");
    EXPECT_EQ(Count(LoopMessages(), "****************Start Page 1 *****************"), 0u);
}

TEST_F(Cancel, SigtermWhilePageThreeIsReadSendsItAsTheLastPage)
{
    std::string stream = RasterBytes({NoisyPage(), NoisyPage(), NoisyPage(), NoisyPage()});
    std::string threePages = RasterBytes({NoisyPage(), NoisyPage(), NoisyPage()});
    std::string twoPages = RasterBytes({NoisyPage(), NoisyPage()});
    // Everything up to the middle of page 3's rows, past its header.
    const size_t headerBytes = sizeof(cups_page_header2_t);
    size_t cut = twoPages.size() + headerBytes + (threePages.size() - twoPages.size() - headerBytes) / 2;
    // Cutting at the end of the job marks the page sent as the last one.
    FilterProcess process(FilterArgs(), Ppd(WithCodes({{"DriverLog", "1"}, {"Mode", "4"}, {"CutMethod", "2"}})), true);
    process.Write(stream.substr(0, cut));
    ASSERT_TRUE(WaitForFileText(kDriverLog, "curPage is 2"));
    process.Signal(SIGTERM);
    process.Write(stream.substr(cut));
    FilterResult r = process.Wait();
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, Repeat("Finish print operation.", 2));
    std::vector<std::string> messages = LoopMessages();
    EXPECT_EQ(Count(messages, "****************Start Page 3 *****************"), 1u);
    EXPECT_EQ(Count(messages, "****************Start Page 4 *****************"), 0u);
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back().rfind("EndDoc, bufStart is 0x", 0), 0u);
    EXPECT_NE(messages.back(), "EndDoc, bufStart is 0x0");
    // Pages 1 and 2 were printed as first and middle page, page 3 as the
    // last: the cut comes after it. Each 64 x 64 page loses a column and a
    // row in print mode 0.
    PrintedJob job = ReadJob(r);
    EXPECT_EQ(job.stream.error, "");
    EXPECT_EQ(job.lines, Join({{"N", "I8,E", "WN", "ZB", "S4", "D10", "q64", "Q65,0"},
                               {"O", "f80", "N", "GW0,0,8,63,", "P1"},
                               {"N", "GW0,0,8,63,", "P1"},
                               {"JF", "OC", "f80", "N", "GW0,0,8,63,", "P1"}}));
}

TEST_F(JobLoop, RfidJobWithoutItsServiceEndsAfterDiscardingThePage)
{
    FilterResult r = RunFilter(FilterArgs("", "RFID_tag01"), LoggingPpd(), RasterBytes({SmallPage(), SmallPage()}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "ERROR: RFID job not printed: the RFID service's message queue is missing (is the service "
                     "running?)\n");
    EXPECT_EQ(r.out, "");
    std::vector<std::string> messages = LoopMessages();
    EXPECT_EQ(Count(messages, "LERFIDJobTask - RFID_tag01, 42"), 1u);
    EXPECT_EQ(Count(messages, "****************Start Page 1 *****************"), 0u);
}
