// Facts about the device mode and the page-device state built from the
// first page header.
#include <gtest/gtest.h>

#include <cstring>

#include "InitalizeOemCfg.h"
#include "LogCapture.h"
#include "RasterWriter.h"

// The job records are packed: a member that may sit at an unaligned address
// is copied into a local before EXPECT_EQ, which binds its arguments to
// references.

using namespace kvtest;

namespace {

_DEVMODE DevModeFrom(cups_page_header2_t header)
{
    _DEVMODE devMode;
    memset(&devMode, 0x7F, sizeof(devMode));
    InitDevmode(&devMode, &header);
    return devMode;
}

}  // namespace

TEST(DevMode, ResolutionComesFromTheHeader)
{
    _DEVMODE devMode = DevModeFrom(RgbHeader(100, 50, 203));
    EXPECT_EQ(devMode.dmPrintQuality, 203);
    EXPECT_EQ(devMode.dmYResolution, 203);
}

TEST(DevMode, DifferentResolutionsAcrossAndAlong)
{
    cups_page_header2_t header = RgbHeader(100, 50, 300);
    header.HWResolution[1] = 600;
    _DEVMODE devMode = DevModeFrom(header);
    EXPECT_EQ(devMode.dmPrintQuality, 300);
    EXPECT_EQ(devMode.dmYResolution, 600);
}

TEST(DevMode, OrientationIsOneWhateverTheHeaderSays)
{
    cups_page_header2_t header = RgbHeader(100, 50);
    header.Orientation = CUPS_ORIENT_90;
    EXPECT_EQ(DevModeFrom(header).dmOrientation, 1);
}

TEST(DevMode, CollateComesFromTheHeader)
{
    cups_page_header2_t header = RgbHeader(100, 50);
    header.Collate = CUPS_TRUE;
    EXPECT_EQ(DevModeFrom(header).dmCollate, 1);
}

TEST(DevMode, CollateBeyondTrueIsKeptAsItsNumber)
{
    // A raster stream may carry any 32-bit value in the boolean field. The
    // test writes it byte-wise, since assigning 5 to the enum is undefined.
    cups_page_header2_t header = RgbHeader(100, 50);
    const unsigned five = 5;
    memcpy(&header.Collate, &five, sizeof(five));
    EXPECT_EQ(DevModeFrom(header).dmCollate, 5);
}

TEST(DevMode, InitLogsResolutionThenOrientationThenCollate)
{
    LogCapture::Instance().Mark();
    DevModeFrom(RgbHeader(100, 50, 203));
    std::vector<std::string> expected{"Init dmPrintQuality: 203, dmYResolution: 203", "Init dmOrientation: 1",
                                      "Init dmCollate: 0"};
    EXPECT_EQ(LogCapture::Instance().MessagesSince(), expected);
}

TEST(DevMode, NullArgumentsChangeNothing)
{
    _DEVMODE devMode;
    memset(&devMode, 0x11, sizeof(devMode));
    InitDevmode(&devMode, nullptr);
    EXPECT_EQ(devMode.dmOrientation, 0x1111);
    cups_page_header2_t header = RgbHeader(10, 10);
    InitDevmode(nullptr, &header);
}

TEST(OemPdev, BitmapHeaderAndPhysicalSizeComeFromTheHeader)
{
    static _OEMPDEV pdev;  // static like the job's record: zero to start with
    cups_page_header2_t header = RgbHeader(812, 1218);
    header.NumCopies = 3;
    InitOemPDEV(&pdev, &header);
    EXPECT_EQ(pdev.pBufStart, nullptr);
    EXPECT_EQ(pdev.bmInfoHeader.biWidth, 812);
    EXPECT_EQ(pdev.bmInfoHeader.biHeight, 1218);
    EXPECT_EQ(pdev.bmInfoHeader.biBitCount, 24);
    EXPECT_EQ(pdev.bmInfoHeader.biSize, 0u);
    EXPECT_EQ(pdev.srcGdiInfo.szlPhysSize.cx, 812);
    EXPECT_EQ(pdev.srcGdiInfo.szlPhysSize.cy, 1218);
    EXPECT_EQ(pdev.srcGdiInfo.ptlPhysOffset.x, 0);
    EXPECT_EQ(pdev.srcGdiInfo.ptlPhysOffset.y, 0);
    EXPECT_EQ(pdev.srcGdiInfo.ulVertRes, 1218u);
    EXPECT_EQ(pdev.srcGdiInfo.ulHorzRes, 0u);
    EXPECT_EQ(pdev.sCurCopies, 3);
    const auto dwPagePrinted = pdev.dwPagePrinted;
    EXPECT_EQ(dwPagePrinted, 0u);
    EXPECT_EQ(pdev.dwCurPageNum, 0u);
    const auto nMirrorRefWidth = pdev.nMirrorRefWidth;
    EXPECT_EQ(nMirrorRefWidth, 0);
}

TEST(OemPdev, InitClearsTheBufferPointerWithoutFreeingIt)
{
    _OEMPDEV pdev;
    memset(&pdev, 0, sizeof(pdev));
    unsigned char held[4];
    pdev.pBufStart = held;  // not from malloc: freeing it would crash
    pdev.dwCurPageNum = 9;
    cups_page_header2_t header = RgbHeader(10, 10);
    InitOemPDEV(&pdev, &header);
    EXPECT_EQ(pdev.pBufStart, nullptr);
    EXPECT_EQ(pdev.dwCurPageNum, 0u);
}

TEST(OemPdev, InitLogsElevenLinesInOrder)
{
    _OEMPDEV pdev;
    memset(&pdev, 0, sizeof(pdev));
    cups_page_header2_t header = RgbHeader(640, 480);
    header.NumCopies = 2;
    LogCapture::Instance().Mark();
    InitOemPDEV(&pdev, &header);
    std::vector<std::string> expected{
        "Init bmInfoHeader.biWidth: 640",
        "Init bmInfoHeader.biHeight: 480",
        "Init bmInfoHeader.biBitCount: 24",
        "Init sCurCopies: 2",
        "Init dwPagePrinted: 0",
        "Init dwCurPageNum: 0",
        "Init srcGdiInfo.szlPhysSize.cx: 640",
        "Init srcGdiInfo.szlPhysSize.cy: 480",
        "Init srcGdiInfo.ptlPhysOffset.x: 0",
        "Init srcGdiInfo.ptlPhysOffset.y: 0",
        "Init srcGdiInfo.ulVertRes: 480",
    };
    EXPECT_EQ(LogCapture::Instance().MessagesSince(), expected);
}

TEST(OemPdev, NullArgumentsChangeNothing)
{
    _OEMPDEV pdev;
    memset(&pdev, 0, sizeof(pdev));
    pdev.dwCurPageNum = 5;
    InitOemPDEV(&pdev, nullptr);
    EXPECT_EQ(pdev.dwCurPageNum, 5u);
}
