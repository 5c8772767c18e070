// Tests of the start-of-document block: its lines for each configuration
// choice, the two-call size query and the cache between the two calls.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "EPLEmulation.h"
#include "EmulationTestSupport.h"
#include "LBPTREmulation.h"

using kvtest::BufferOf;
using kvtest::StartDoc;
using kvtest::TypicalConfig;

namespace {

// The fixed opening lines every block starts with.
const std::string kHead = "N\r\nI8,E\r\nWN\r\nZB\r\n";

// The typical job's whole block, 48 bytes.
const std::string kTypicalBlock = "N\r\nI8,E\r\nWN\r\nZB\r\nS4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n";

}  // namespace

// --- the typical job ---

// 80 mm at 203 dpi is 639.4 dots, 50 mm is 399.6 (+0.5, truncated: 400),
// the 3 mm gap is 23.98 (24).
TEST(EplStartDoc, TypicalJobOpensWithTheDocumentedSequence)
{
    EXPECT_EQ(StartDoc(TypicalConfig()), "N\r\nI8,E\r\nWN\r\nZB\r\nS4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n");
}

// --- two-call protocol and cache ---

TEST(EplStartDoc, SizeQueryWithNullOutputReturnsZeroAndTheLength)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = -1;
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, nullptr, 0, &length), 0);
    EXPECT_EQ(length, 48);
}

TEST(EplStartDoc, TooSmallBufferReturnsZeroCopiesNothingAndReportsLength)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    std::string out(47, '#');
    long length = -1;
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, &out[0], 47, &length), 0);
    EXPECT_EQ(length, 48);
    EXPECT_EQ(out, std::string(47, '#'));
}

TEST(EplStartDoc, ExactBufferReturnsOneAndCopiesTheBlock)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.GetStartDocCMD(&cfg, nullptr, 0, &length);
    std::string out(static_cast<size_t>(length), '\0');
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, &out[0], length, &length), 1);
    EXPECT_EQ(length, 48);
    EXPECT_EQ(out, "N\r\nI8,E\r\nWN\r\nZB\r\nS4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, FirstCallWithLargeEnoughBufferCopiesAtOnce)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    std::string out(100, '\0');
    long length = 0;
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, &out[0], 100, &length), 1);
    EXPECT_EQ(out.substr(0, static_cast<size_t>(length)), kTypicalBlock);
}

TEST(EplStartDoc, SecondCallWithSameConfigurationEqualsAFreshBuild)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.GetStartDocCMD(&cfg, nullptr, 0, &length);
    std::string out(static_cast<size_t>(length), '\0');
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, &out[0], length, &length), 1);
    EXPECT_EQ(out, StartDoc(TypicalConfig()));
}

// Bytes slipped into the buffer after the first call survive into the
// second: the block is answered from the cache, not rebuilt.
TEST(EplStartDoc, UnchangedConfigurationIsAnsweredFromTheCache)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.GetStartDocCMD(&cfg, nullptr, 0, &length);
    char marker[] = "X";
    emulation.SetCmdBuf(marker, 1);
    std::string out(100, '\0');
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, &out[0], 100, &length), 1);
    EXPECT_EQ(out.substr(0, static_cast<size_t>(length)), kTypicalBlock + "X");
}

TEST(EplStartDoc, ChangedConfigurationRebuildsFromScratch)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.GetStartDocCMD(&cfg, nullptr, 0, &length);
    char marker[] = "X";
    emulation.SetCmdBuf(marker, 1);
    tagOEMCFG changed = TypicalConfig();
    changed.sPrintSpeed = 6;
    std::string out(100, '\0');
    EXPECT_EQ(emulation.GetStartDocCMD(&changed, &out[0], 100, &length), 1);
    EXPECT_EQ(out.substr(0, static_cast<size_t>(length)),
              "N\r\nI8,E\r\nWN\r\nZB\r\nS6\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, ChangeInAnUnreadMemberStillRebuilds)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.GetStartDocCMD(&cfg, nullptr, 0, &length);
    char marker[] = "X";
    emulation.SetCmdBuf(marker, 1);
    cfg.nLevelsAdj = 549;
    emulation.GetStartDocCMD(&cfg, nullptr, 0, &length);
    EXPECT_EQ(BufferOf(emulation), kTypicalBlock);
}

TEST(EplStartDoc, NullLengthPointerStillCopies)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    std::string out(100, '\0');
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, &out[0], 100, nullptr), 1);
    EXPECT_EQ(out.substr(0, kTypicalBlock.size()), kTypicalBlock);
}

TEST(EplStartDoc, NullConfigurationReturnsZeroAndLengthZero)
{
    CEPLEmulation emulation;
    long length = -1;
    EXPECT_EQ(emulation.GetStartDocCMD(nullptr, nullptr, 0, &length), 0);
    EXPECT_EQ(length, 0);
}

TEST(EplStartDoc, PrinterEmulationForwardsTheBlock)
{
    CLBPTREmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, nullptr, 0, &length), 0);
    std::string out(static_cast<size_t>(length), '\0');
    EXPECT_EQ(emulation.GetStartDocCMD(&cfg, &out[0], length, &length), 1);
    EXPECT_EQ(out, kTypicalBlock);
}

// --- speed and density ---

TEST(EplStartDoc, Speed1000LeavesOutTheSpeedLine)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPrintSpeed = 1000;
    EXPECT_EQ(StartDoc(cfg), kHead + "D10\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, Density1000LeavesOutTheDensityLine)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sDensity = 1000;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, OutOfRangeSpeedAndDensityAreSentAsTheyStand)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPrintSpeed = -3;
    cfg.sDensity = 99;
    EXPECT_EQ(StartDoc(cfg), kHead + "S-3\r\nD99\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n");
}

// --- operation after printing, paper type and back-feed ---

TEST(EplStartDoc, CutterOperationSendsNoOptionsNoBackFeedLines)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.dwOperationAfterPrn = 4;
    cfg.sBackFeedDistance = 30;
    cfg.sPaperType = 1;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, OperationOneTurnsBackFeedOffWithoutDistance)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.dwOperationAfterPrn = 1;
    cfg.sBackFeedDistance = 30;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJB\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, OperationTwoPeelsThenTurnsBackFeedOn)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.dwOperationAfterPrn = 2;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nOP\r\nJF\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, OperationTwoOnDirectThermalPaperIsODCommaP)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.dwOperationAfterPrn = 2;
    cfg.sPaperType = 1;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nOD,P\r\nJF\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, DirectThermalPaperIsOD)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperType = 1;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nOD\r\nJF\r\nq639\r\nQ400,24\r\n");
}

TEST(EplStartDoc, PaperTypeTwoIsNotDirectThermal)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperType = 2;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n");
}

// 3 mm at 203 dpi: 23.98 dots, sent as 24.
TEST(EplStartDoc, BackFeedDistanceFollowsJF)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sBackFeedDistance = 30;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nfB24\r\nq639\r\nQ400,24\r\n");
}

// 3 mm at 300 dpi along the feed: 35.43 dots, sent as 35; the label
// length becomes 591 (590.55) as well.
TEST(EplStartDoc, BackFeedDistanceUsesTheAlongResolution)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sOutputYDPI = 300;
    cfg.sBackFeedDistance = 30;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nfB35\r\nq639\r\nQ591,24\r\n");
}

// -3 mm is -23.98 dots, truncated toward zero to -23: no "fB" line.
TEST(EplStartDoc, NegativeBackFeedDistanceSendsNoLine)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sBackFeedDistance = -30;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n");
}

// 0.1 mm is 0.8 dots; with the half added it truncates to 1.
TEST(EplStartDoc, BackFeedOfATenthRoundsUpToOneDot)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sBackFeedDistance = 1;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nfB1\r\nq639\r\nQ400,24\r\n");
}

// --- label size ---

TEST(EplStartDoc, PrintModeLeavesOutTheLabelSize)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\n");
}

TEST(EplStartDoc, PaperSavingLeavesOutTheLabelSize)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sSavePaper = 1;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\n");
}

TEST(EplStartDoc, AnyNonZeroPrintModeLeavesOutTheLabelSize)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 2;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\n");
}

TEST(EplStartDoc, ZeroGapGivesCommaZeroWhateverTheOffset)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.GAPHeight = 0;
    cfg.GAPOffset = 20;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,0\r\n");
}

// A 1 mm offset is 7.99 dots, sent as 8.
TEST(EplStartDoc, GapOffsetFollowsThePlusSign)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.GAPOffset = 10;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24+8\r\n");
}

TEST(EplStartDoc, MarkedLabelsGiveTheSameLineAsGappedLabels)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sLabelType = 2;
    cfg.GAPOffset = 10;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24+8\r\n");
}

TEST(EplStartDoc, ContinuousMediaHasNoGap)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sLabelType = 0;
    cfg.GAPOffset = 10;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,0\r\n");
}

// 2 mm + 3 mm at 203 dpi: 39.96 dots, 40, added to 400.
TEST(EplStartDoc, StartAndEndOffsetsLengthenTheLabel)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.dwStartOffsetValue = 2;
    cfg.dwEndOffsetValue = 3;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ440,24\r\n");
}

// Across 300 dpi, along 203 dpi: the width (944.9 -> 945) and the gap
// (35.4 -> 35) use 300, the length (400) uses 203.
TEST(EplStartDoc, GapIsConvertedWithTheAcrossResolution)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sOutputXDPI = 300;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq945\r\nQ400,35\r\n");
}

// Along 300 dpi: 50 mm is 590.55 dots, 591; 2 mm + 3 mm is 59.06, 59.
TEST(EplStartDoc, LabelLengthAndOffsetsUseTheAlongResolution)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sOutputYDPI = 300;
    cfg.dwStartOffsetValue = 2;
    cfg.dwEndOffsetValue = 3;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ650,24\r\n");
}

// Lengths far beyond any label are held to the largest 32-bit value rather
// than overflowing the conversion.
TEST(EplStartDoc, AbsurdLabelSizeIsHeldToTheThirtyTwoBitRange)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.dwLabelWidth = INT64_MAX;
    cfg.dwLabelLength = INT64_MIN;
    EXPECT_EQ(StartDoc(cfg), kHead + "S4\r\nD10\r\nO\r\nJF\r\nq2147483647\r\nQ-2147483648,24\r\n");
}
