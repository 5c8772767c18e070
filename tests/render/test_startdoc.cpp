// Facts about the renderer's start of document: the label size derived from
// the first page, what it writes back into the configuration, and the one
// block it sends to standard output.
#include <gtest/gtest.h>

#include <cstring>

#include "EPLRender.h"
#include "LBPTREmulation.h"
#include "StreamCapture.h"

// The job records are packed: a member that may sit at an unaligned address
// is copied into a local before EXPECT_EQ, which binds its arguments to
// references.

using namespace kvtest;

namespace {

// Three job records for a page of `width` x `height` pixels at `dpi`,
// printed at `outputDpi`.
struct Job {
    tagOEMCFG cfg;
    _DEVMODE devMode;
    _OEMPDEV pdev;

    Job(int32_t width, int32_t height, int16_t dpi, int16_t outputDpi)
    {
        memset(&cfg, 0, sizeof(cfg));
        memset(&devMode, 0, sizeof(devMode));
        memset(&pdev, 0, sizeof(pdev));
        cfg.sOutputXDPI = outputDpi;
        cfg.sOutputYDPI = outputDpi;
        cfg.sMaxOutputWidth = 200;
        cfg.sPrintSpeed = 4;
        cfg.sDensity = 10;
        cfg.sBackFeedDistance = 55;
        devMode.dmOrientation = 1;
        devMode.dmPrintQuality = dpi;
        devMode.dmYResolution = dpi;
        pdev.srcGdiInfo.szlPhysSize.cx = width;
        pdev.srcGdiInfo.szlPhysSize.cy = height;
    }

    // Runs the start of document; returns its result and what it wrote.
    std::pair<int32_t, std::string> StartDoc(bool withConfiguration = true)
    {
        StdoutCapture capture;
        CEPLRender render;
        if (withConfiguration)
            render.SetOemCfgPointer(&cfg);
        render.SetDevModePointer(&devMode);
        render.SetOemPdevPointer(&pdev);
        int32_t result = render.StartDocCMD();
        return {result, capture.Take()};
    }
};

// The block the emulation builds for `cfg`, for comparison.
std::string EmulationBlock(tagOEMCFG cfg)
{
    CLBPTREmulation emulation;
    long length = 0;
    emulation.GetStartDocCMD(&cfg, nullptr, 0, &length);
    std::string block(static_cast<size_t>(length), '\0');
    emulation.GetStartDocCMD(&cfg, block.data(), length, &length);
    return block;
}

}  // namespace

TEST(StartDoc, UprightWidthIsRoundedUpToEightDots)
{
    // 203 x 1662 / 300 = 1124 dots, rounded up to 1128.
    Job job(1662, 1015, 300, 203);
    job.StartDoc();
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 1411);  // 1128 / 203 x 254 + 0.5
}

TEST(StartDoc, WidthAboveTheMaximumBecomesTheMaximumRoundedUp)
{
    // 104 mm at 203 dpi is 831 dots; the width becomes 832.
    Job job(1662, 1015, 300, 203);
    job.cfg.sMaxOutputWidth = 104;
    job.StartDoc();
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 1041);  // 832 / 203 x 254 + 0.5
}

TEST(StartDoc, LabelLengthIncludesOneExtraDot)
{
    // 203 x 1015 / 300 = 686 dots; (686 + 1) / 203 x 254 + 0.5 = 860.
    Job job(1662, 1015, 300, 203);
    job.StartDoc();
    const auto dwLabelLength = job.cfg.dwLabelLength;
    EXPECT_EQ(dwLabelLength, 860);
}

TEST(StartDoc, LandscapeWithoutRotateFlagIsTreatedAsTurned)
{
    Job job(1015, 1662, 300, 203);
    job.devMode.dmOrientation = 2;
    job.StartDoc();
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 1411);  // width from the page height
    const auto dwLabelLength = job.cfg.dwLabelLength;
    EXPECT_EQ(dwLabelLength, 860);  // length from the page width
}

TEST(StartDoc, LandscapeWithRotateFlagOneIsUpright)
{
    Job job(1662, 1015, 300, 203);
    job.devMode.dmOrientation = 2;
    job.cfg.sRotate90 = 1;
    job.StartDoc();
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 1411);
    const auto dwLabelLength = job.cfg.dwLabelLength;
    EXPECT_EQ(dwLabelLength, 860);
}

TEST(StartDoc, OrientationZeroIsAlwaysTreatedAsTurned)
{
    Job job(1015, 1662, 300, 203);
    job.devMode.dmOrientation = 0;
    job.StartDoc();
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 1411);
}

TEST(StartDoc, PortraitWithRotateFlagIsTurned)
{
    Job job(1015, 1662, 300, 203);
    job.cfg.sRotate90 = 1;
    job.StartDoc();
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 1411);
}

TEST(StartDoc, WritesOrientationCopyAndClearsBackFeed)
{
    Job job(812, 406, 203, 203);
    job.StartDoc();
    EXPECT_EQ(job.cfg.sOrientation, 1);
    EXPECT_EQ(job.cfg.sBackFeedDistance, 0);
}

TEST(StartDoc, SendsTheEmulationBlockOnceAndReturnsOne)
{
    Job job(640, 399, 203, 203);
    job.cfg.sLabelType = 1;
    job.cfg.GAPHeight = 30;
    auto [result, out] = job.StartDoc();
    EXPECT_EQ(result, 1);
    // 640 dots wide (80 mm), 399 + 1 dots long (50 mm), 3 mm gap.
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 801);
    const auto dwLabelLength = job.cfg.dwLabelLength;
    EXPECT_EQ(dwLabelLength, 500);
    EXPECT_EQ(out, EmulationBlock(job.cfg));
    EXPECT_EQ(out, "N\r\nI8,E\r\nWN\r\nZB\r\nS4\r\nD10\r\nO\r\nJF\r\nq640\r\nQ400,24\r\n");
}

TEST(StartDoc, NeverCarriesABackFeedLine)
{
    Job job(640, 400, 203, 203);
    job.cfg.sBackFeedDistance = 100;
    auto [result, out] = job.StartDoc();
    EXPECT_EQ(out.find("fB"), std::string::npos);
}

TEST(StartDoc, NullConfigurationWritesNothingAndReturnsZero)
{
    Job job(640, 400, 203, 203);
    auto [result, out] = job.StartDoc(false);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(out, "");
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 0);
}

TEST(StartDoc, ZeroRasterResolutionDoesNotCrash)
{
    Job job(640, 400, 0, 203);
    auto [result, out] = job.StartDoc();
    EXPECT_EQ(result, 1);
    const auto dwLabelWidth = job.cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 0);
}

TEST(SendCommand, WritesTheBytesAndReturnsOne)
{
    tagOEMCFG cfg;
    memset(&cfg, 0, sizeof(cfg));
    CEPLRender render;
    render.SetOemCfgPointer(&cfg);
    StdoutCapture capture;
    unsigned char data[] = {'P', '1', '\r', '\n'};
    EXPECT_EQ(render.SendCommand(data, sizeof(data), 0, nullptr), 1);
    EXPECT_EQ(capture.Take(), "P1\r\n");
}

TEST(SendCommand, WithoutConfigurationWritesNothing)
{
    CEPLRender render;
    StdoutCapture capture;
    unsigned char data[] = {'N'};
    EXPECT_EQ(render.SendCommand(data, sizeof(data), 0, nullptr), 0);
    EXPECT_EQ(capture.Take(), "");
}

TEST(SendCommand, ZeroBytesReportNothingWritten)
{
    tagOEMCFG cfg;
    memset(&cfg, 0, sizeof(cfg));
    CEPLRender render;
    render.SetOemCfgPointer(&cfg);
    unsigned char data[] = {'N'};
    EXPECT_EQ(render.SendCommand(data, 0, 0, nullptr), 0);
}
