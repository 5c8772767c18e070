// Tests of the EPL command builder: the command buffer and every single
// command line, byte for byte.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "EPLEmulation.h"
#include "EmulationTestSupport.h"

using kvtest::BufferOf;

namespace {

// The options line produced for one set of hardware options.
std::string OptionsLine(bool directThermal, bool cutter, int cutCount, bool peel)
{
    CEPLEmulation emulation;
    _HWOPT opt{};
    opt.bDirectThermal = directThermal;
    opt.bCutter = cutter;
    opt.nCutCount = cutCount;
    opt.bPeel = peel;
    EXPECT_EQ(emulation.SetPrinterOptionsCMD(&opt), 1);
    return BufferOf(emulation);
}

}  // namespace

// --- command buffer ---

TEST(EplCommandBuffer, FreshObjectReportsEmptyBufferAndReturnsZero)
{
    CEPLEmulation emulation;
    char out[16] = {};
    long length = -1;
    EXPECT_EQ(emulation.GetOutputData(out, sizeof(out), &length), 0);
    EXPECT_EQ(length, 0);
}

TEST(EplCommandBuffer, SetCmdBufRefusesNullData)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetCmdBuf(nullptr, 4), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommandBuffer, SetCmdBufRefusesNegativeSize)
{
    CEPLEmulation emulation;
    char data[] = "abc";
    EXPECT_EQ(emulation.SetCmdBuf(data, -1), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommandBuffer, SetCmdBufAppendsBehindEarlierBytes)
{
    CEPLEmulation emulation;
    char first[] = "ab";
    char second[] = {'\0', '\r', 'z'};
    EXPECT_EQ(emulation.SetCmdBuf(first, 2), 1);
    EXPECT_EQ(emulation.SetCmdBuf(second, 3), 1);
    EXPECT_EQ(BufferOf(emulation), std::string("ab\0\rz", 5));
}

TEST(EplCommandBuffer, SetCmdBufAcceptsZeroSizeAndKeepsContents)
{
    CEPLEmulation emulation;
    char data[] = "xy";
    emulation.SetCmdBuf(data, 2);
    EXPECT_EQ(emulation.SetCmdBuf(data, 0), 1);
    EXPECT_EQ(BufferOf(emulation), "xy");
}

TEST(EplCommandBuffer, ClearCmdBufEmptiesTheBufferAndReturnsOne)
{
    CEPLEmulation emulation;
    emulation.ClearPrinterImgBufCMD();
    EXPECT_EQ(emulation.ClearCmdBuf(), 1);
    long length = -1;
    EXPECT_EQ(emulation.GetOutputData(nullptr, 0, &length), 0);
    EXPECT_EQ(length, 0);
}

TEST(EplCommandBuffer, GetOutputDataOneByteTooSmallCopiesNothingAndReportsLength)
{
    CEPLEmulation emulation;
    emulation.ClearPrinterImgBufCMD();
    char out[3] = {'#', '#', '#'};
    long length = -1;
    EXPECT_EQ(emulation.GetOutputData(out, 2, &length), 0);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(std::string(out, 3), "###");
}

TEST(EplCommandBuffer, GetOutputDataWithExactSizeCopiesAndReturnsOne)
{
    CEPLEmulation emulation;
    emulation.ClearPrinterImgBufCMD();
    char out[3] = {};
    long length = -1;
    EXPECT_EQ(emulation.GetOutputData(out, 3, &length), 1);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(std::string(out, 3), "N\r\n");
}

TEST(EplCommandBuffer, GetOutputDataWithNullOutputReportsLengthAndReturnsZero)
{
    CEPLEmulation emulation;
    emulation.PrintCMD(12);
    long length = -1;
    EXPECT_EQ(emulation.GetOutputData(nullptr, 100, &length), 0);
    EXPECT_EQ(length, 5);
}

TEST(EplCommandBuffer, GetOutputDataKeepsTheBuffer)
{
    CEPLEmulation emulation;
    emulation.ClearPrinterImgBufCMD();
    char out[8] = {};
    long length = 0;
    emulation.GetOutputData(out, sizeof(out), &length);
    EXPECT_EQ(BufferOf(emulation), "N\r\n");
}

TEST(EplCommandBuffer, CommandsAccumulateInCallOrder)
{
    CEPLEmulation emulation;
    emulation.ClearPrinterImgBufCMD();
    emulation.SetLabelWidthCMD(639);
    emulation.PrintCMD(1);
    EXPECT_EQ(BufferOf(emulation), "N\r\nq639\r\nP1\r\n");
}

// --- single commands ---

TEST(EplCommands, ClearPrinterImageBufferIsExactlyNCrLf)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.ClearPrinterImgBufCMD(), 1);
    EXPECT_EQ(BufferOf(emulation), "N\r\n");
}

TEST(EplCommands, CharSetIndex18IsCodePageE)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPtrCharSetCMD(8, 18), 1);
    EXPECT_EQ(BufferOf(emulation), "I8,E\r\n");
}

TEST(EplCommands, CharSetIndex13IsItsOwnDecimalDesignator)
{
    CEPLEmulation emulation;
    emulation.SetPtrCharSetCMD(8, 13);
    EXPECT_EQ(BufferOf(emulation), "I8,13\r\n");
}

TEST(EplCommands, CodePageTableRunsZeroToThirteenThenAToF)
{
    const std::vector<std::string> expected = {"0",  "1",  "2",  "3",  "4", "5", "6", "7", "8", "9",
                                               "10", "11", "12", "13", "A", "B", "C", "D", "E", "F"};
    ASSERT_EQ(static_cast<size_t>(CEPLEmulation::kCodePageCount), expected.size());
    for (int index = 0; index < CEPLEmulation::kCodePageCount; ++index) {
        CEPLEmulation emulation;
        emulation.SetPtrCharSetCMD(7, index);
        EXPECT_EQ(BufferOf(emulation), "I7," + expected[static_cast<size_t>(index)] + "\r\n") << "index " << index;
    }
}

TEST(EplCommands, CharSetIndex20IsRefused)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPtrCharSetCMD(8, 20), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, CharSetIndexMinusOneIsRefused)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPtrCharSetCMD(8, -1), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, LabelWidthIsQLowerCase)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetLabelWidthCMD(639), 1);
    EXPECT_EQ(BufferOf(emulation), "q639\r\n");
}

TEST(EplCommands, LabelLengthDropsOffsetWhenGapIsZero)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetLabelLenghtCMD(812, 0, 24, true), 1);
    EXPECT_EQ(BufferOf(emulation), "Q812,0\r\n");
}

TEST(EplCommands, LabelLengthWithGapAndNoOffset)
{
    CEPLEmulation emulation;
    emulation.SetLabelLenghtCMD(812, 24, 0, true);
    EXPECT_EQ(BufferOf(emulation), "Q812,24\r\n");
}

TEST(EplCommands, LabelLengthWithGapAndOffset)
{
    CEPLEmulation emulation;
    emulation.SetLabelLenghtCMD(812, 24, 8, false);
    EXPECT_EQ(BufferOf(emulation), "Q812,24+8\r\n");
}

TEST(EplCommands, LabelLengthBlackMarkFlagNeverChangesTheLine)
{
    CEPLEmulation marked;
    CEPLEmulation gapped;
    marked.SetLabelLenghtCMD(400, 24, 8, true);
    gapped.SetLabelLenghtCMD(400, 24, 8, false);
    EXPECT_EQ(BufferOf(marked), BufferOf(gapped));
}

TEST(EplCommands, LabelLengthNegativeValuesCarryMinusSign)
{
    CEPLEmulation emulation;
    emulation.SetLabelLenghtCMD(-5, 24, -3, false);
    EXPECT_EQ(BufferOf(emulation), "Q-5,24+-3\r\n");
}

TEST(EplCommands, WindowModeOnIsWY)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetWindowModeCMD(2), 1);
    EXPECT_EQ(BufferOf(emulation), "WY\r\n");
}

TEST(EplCommands, WindowModeOffIsWN)
{
    CEPLEmulation emulation;
    emulation.SetWindowModeCMD(0);
    EXPECT_EQ(BufferOf(emulation), "WN\r\n");
}

TEST(EplCommands, PrintDirectionFromBottomIsZB)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPrintDirectionCMD(1), 1);
    EXPECT_EQ(BufferOf(emulation), "ZB\r\n");
}

TEST(EplCommands, PrintDirectionFromTopIsZT)
{
    CEPLEmulation emulation;
    emulation.SetPrintDirectionCMD(0);
    EXPECT_EQ(BufferOf(emulation), "ZT\r\n");
}

TEST(EplCommands, BackFeedOnIsJF)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.EnableBackupTopCMD(true), 1);
    EXPECT_EQ(BufferOf(emulation), "JF\r\n");
}

TEST(EplCommands, BackFeedOffIsJB)
{
    CEPLEmulation emulation;
    emulation.EnableBackupTopCMD(false);
    EXPECT_EQ(BufferOf(emulation), "JB\r\n");
}

TEST(EplCommands, BackFeedDistanceAbove255IsOneWholeLine)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetBackupPositionCMD(300), 1);
    EXPECT_EQ(BufferOf(emulation), "fB300\r\n");
}

TEST(EplCommands, BackFeedDistanceOfTwoFullStepsIsStillOneLine)
{
    CEPLEmulation emulation;
    emulation.SetBackupPositionCMD(510);
    EXPECT_EQ(BufferOf(emulation), "fB510\r\n");
}

TEST(EplCommands, BackFeedDistanceOfOneIsSent)
{
    CEPLEmulation emulation;
    emulation.SetBackupPositionCMD(1);
    EXPECT_EQ(BufferOf(emulation), "fB1\r\n");
}

TEST(EplCommands, BackFeedDistanceZeroAppendsNothingAndReturnsOne)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetBackupPositionCMD(0), 1);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, BackFeedDistanceNegativeAppendsNothing)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetBackupPositionCMD(-7), 1);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, CutPosition69IsRefused)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetCutPositionCMD(69), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, CutPosition131IsRefused)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetCutPositionCMD(131), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, CutPosition70IsSent)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetCutPositionCMD(70), 1);
    EXPECT_EQ(BufferOf(emulation), "f70\r\n");
}

TEST(EplCommands, CutPosition130IsSent)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetCutPositionCMD(130), 1);
    EXPECT_EQ(BufferOf(emulation), "f130\r\n");
}

TEST(EplCommands, GraphicWriteTakesRowWidthFromDataSize)
{
    CEPLEmulation emulation;
    std::vector<char> data = kvtest::PatternBitmap(260);
    EXPECT_EQ(emulation.DirectGraphicWriteCMD(0, 0, 203, 10, data.data(), 260), 1);
    EXPECT_EQ(BufferOf(emulation), kvtest::GraphicBlock("GW0,0,26,10,\r\n", data));
}

TEST(EplCommands, GraphicWriteSendsCarriageReturnsAndZerosRaw)
{
    CEPLEmulation emulation;
    char data[] = {'\r', '\n', '\0', '\xff'};
    emulation.DirectGraphicWriteCMD(5, 7, 8, 2, data, 4);
    EXPECT_EQ(BufferOf(emulation), std::string("GW5,7,2,2,\r\n\r\n\0\xff\r\n", 18));
}

TEST(EplCommands, GraphicWriteWithZeroHeightHasRowWidthZero)
{
    CEPLEmulation emulation;
    char data[] = {'a', 'b'};
    emulation.DirectGraphicWriteCMD(1, 2, 16, 0, data, 2);
    EXPECT_EQ(BufferOf(emulation), "GW1,2,0,0,\r\nab\r\n");
}

TEST(EplCommands, GraphicWriteRefusesNullData)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.DirectGraphicWriteCMD(0, 0, 8, 1, nullptr, 1), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, GraphicWriteRefusesNegativeSize)
{
    CEPLEmulation emulation;
    char data[] = {'a'};
    EXPECT_EQ(emulation.DirectGraphicWriteCMD(0, 0, 8, 1, data, -1), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, PrintIsPWithCopies)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.PrintCMD(2), 1);
    EXPECT_EQ(BufferOf(emulation), "P2\r\n");
}

TEST(EplCommands, DrawLineIsLOWithAllFourValues)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.DrawLine(639, 400, 1, 1), 1);
    EXPECT_EQ(BufferOf(emulation), "LO639,400,1,1\r\n");
}

TEST(EplCommands, DensityIsD)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPrinterDensity(10), 1);
    EXPECT_EQ(BufferOf(emulation), "D10\r\n");
}

TEST(EplCommands, DensityZeroIsSent)
{
    CEPLEmulation emulation;
    emulation.SetPrinterDensity(0);
    EXPECT_EQ(BufferOf(emulation), "D0\r\n");
}

TEST(EplCommands, Density1000KeepsPrinterSettingAndReturnsOne)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPrinterDensity(1000), 1);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplCommands, SpeedIsS)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPrinterSpeed(4), 1);
    EXPECT_EQ(BufferOf(emulation), "S4\r\n");
}

TEST(EplCommands, Speed1000KeepsPrinterSettingAndReturnsOne)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPrinterSpeed(1000), 1);
    EXPECT_EQ(BufferOf(emulation), "");
}

// --- hardware options line: the eight forms ---

TEST(EplOptionsLine, NoOptionsIsO)
{
    EXPECT_EQ(OptionsLine(false, false, 0, false), "O\r\n");
}

TEST(EplOptionsLine, PeelOnlyIsOP)
{
    EXPECT_EQ(OptionsLine(false, false, 0, true), "OP\r\n");
}

TEST(EplOptionsLine, CutterAfterEveryLabelIsOC)
{
    EXPECT_EQ(OptionsLine(false, true, 1, false), "OC\r\n");
}

TEST(EplOptionsLine, CutterWithCountIsOCn)
{
    EXPECT_EQ(OptionsLine(false, true, 3, false), "OC3\r\n");
}

TEST(EplOptionsLine, CutterAndPeelIsOCCommaP)
{
    EXPECT_EQ(OptionsLine(false, true, 1, true), "OC,P\r\n");
}

TEST(EplOptionsLine, CutterWithCountAndPeelIsOCnCommaP)
{
    EXPECT_EQ(OptionsLine(false, true, 4, true), "OC4,P\r\n");
}

TEST(EplOptionsLine, DirectThermalIsOD)
{
    EXPECT_EQ(OptionsLine(true, false, 0, false), "OD\r\n");
}

TEST(EplOptionsLine, DirectThermalAndPeelIsODCommaP)
{
    EXPECT_EQ(OptionsLine(true, false, 0, true), "OD,P\r\n");
}

TEST(EplOptionsLine, DirectThermalAndCutterIsODCommaC)
{
    EXPECT_EQ(OptionsLine(true, true, 1, false), "OD,C\r\n");
}

TEST(EplOptionsLine, DirectThermalAndCutterWithCountIsODCommaCn)
{
    EXPECT_EQ(OptionsLine(true, true, 5, false), "OD,C5\r\n");
}

TEST(EplOptionsLine, AllThreeIsODCommaCCommaP)
{
    EXPECT_EQ(OptionsLine(true, true, 1, true), "OD,C,P\r\n");
}

TEST(EplOptionsLine, AllThreeWithCountIsODCommaCnCommaP)
{
    EXPECT_EQ(OptionsLine(true, true, 2, true), "OD,C2,P\r\n");
}

TEST(EplOptionsLine, CutCountZeroIsPlainC)
{
    EXPECT_EQ(OptionsLine(false, true, 0, false), "OC\r\n");
}

TEST(EplOptionsLine, NegativeCutCountIsPlainC)
{
    EXPECT_EQ(OptionsLine(false, true, -3, false), "OC\r\n");
}

TEST(EplOptionsLine, CutCountWithoutCutterIsIgnored)
{
    EXPECT_EQ(OptionsLine(false, false, 5, false), "O\r\n");
}

TEST(EplOptionsLine, NullOptionsAreRefused)
{
    CEPLEmulation emulation;
    EXPECT_EQ(emulation.SetPrinterOptionsCMD(nullptr), 0);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST(EplOptionsLine, HardwareOptionsRecordIsPacked)
{
    EXPECT_EQ(sizeof(_HWOPT), 7u);
    EXPECT_EQ(offsetof(_HWOPT, bCutter), 0u);
    EXPECT_EQ(offsetof(_HWOPT, nCutCount), 1u);
    EXPECT_EQ(offsetof(_HWOPT, bDirectThermal), 5u);
    EXPECT_EQ(offsetof(_HWOPT, bPeel), 6u);
}
