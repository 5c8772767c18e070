// eplview's reader on hand-made EPL2 streams: the set-up it reports, the
// labels it collects, the filter's graphic quirks it accepts and the
// malformed streams it rejects at the right byte.
#include <gtest/gtest.h>

#include <string>

#include "EplDocument.h"

namespace {

using eplview::Document;
using eplview::ParseEpl;
using eplview::ParseError;

// Parses a stream that must be well formed.
Document Read(const std::string& stream)
{
    Document doc;
    ParseError err;
    EXPECT_TRUE(ParseEpl(stream, doc, err)) << err.offset << ": " << err.message;
    return doc;
}

// Parses a stream that must be rejected; returns the error.
ParseError Reject(const std::string& stream)
{
    Document doc;
    ParseError err;
    EXPECT_FALSE(ParseEpl(stream, doc, err));
    return err;
}

TEST(EplviewReader, ReadsTheSpeedFromS)
{
    EXPECT_EQ(Read("S4\r\n").setup.speed, 4);
}

TEST(EplviewReader, ReadsTheDensityFromD)
{
    EXPECT_EQ(Read("D10\r\n").setup.density, 10);
}

TEST(EplviewReader, LeavesSpeedAndDensityUnsetWithoutTheirCommands)
{
    Document doc = Read("N\r\n");
    EXPECT_FALSE(doc.setup.speed.has_value());
    EXPECT_FALSE(doc.setup.density.has_value());
}

TEST(EplviewReader, ReadsTheLabelWidthFromq)
{
    EXPECT_EQ(Read("q639\r\n").setup.labelWidth, 639);
}

TEST(EplviewReader, ReadsLabelLengthAndGapFromQ)
{
    Document doc = Read("Q400,24\r\n");
    EXPECT_EQ(doc.setup.labelLength, 400);
    EXPECT_EQ(doc.setup.gap, 24);
    EXPECT_EQ(doc.setup.gapOffset, 0);
    EXPECT_FALSE(doc.setup.blackMark);
}

TEST(EplviewReader, ReadsTheGapOffsetAfterAPlus)
{
    EXPECT_EQ(Read("Q812,24+8\r\n").setup.gapOffset, 8);
}

TEST(EplviewReader, ReadsANegativeGapOffsetAfterAMinus)
{
    EXPECT_EQ(Read("Q812,24-8\r\n").setup.gapOffset, -8);
}

TEST(EplviewReader, ReadsAZeroGapAsContinuousMedia)
{
    Document doc = Read("Q812,0\r\n");
    EXPECT_EQ(doc.setup.gap, 0);
    EXPECT_FALSE(doc.setup.blackMark);
}

TEST(EplviewReader, ReadsTheBlackMarkForm)
{
    Document doc = Read("Q812,B24+8\r\n");
    EXPECT_TRUE(doc.setup.blackMark);
    EXPECT_EQ(doc.setup.gap, 24);
    EXPECT_EQ(doc.setup.gapOffset, 8);
}

TEST(EplviewReader, ReadsDirectThermalAndPeelFromTheOptions)
{
    Document doc = Read("OD,P\r\n");
    ASSERT_TRUE(doc.setup.options.has_value());
    EXPECT_TRUE(doc.setup.options->directThermal);
    EXPECT_TRUE(doc.setup.options->peel);
    EXPECT_FALSE(doc.setup.options->cutter);
}

TEST(EplviewReader, ReadsACutAfterEveryLabelFromC)
{
    Document doc = Read("OC\r\n");
    ASSERT_TRUE(doc.setup.options.has_value());
    EXPECT_TRUE(doc.setup.options->cutter);
    EXPECT_EQ(doc.setup.options->cutEvery, 1);
}

TEST(EplviewReader, ReadsTheLabelsPerCutFromCn)
{
    Document doc = Read("OD,C3,P\r\n");
    ASSERT_TRUE(doc.setup.options.has_value());
    EXPECT_TRUE(doc.setup.options->cutter);
    EXPECT_EQ(doc.setup.options->cutEvery, 3);
}

TEST(EplviewReader, PlainOSwitchesEveryOptionOff)
{
    Document doc = Read("OD,C\r\nO\r\n");
    ASSERT_TRUE(doc.setup.options.has_value());
    EXPECT_FALSE(doc.setup.options->directThermal);
    EXPECT_FALSE(doc.setup.options->cutter);
}

TEST(EplviewReader, KeepsOptionLettersItDoesNotKnow)
{
    Document doc = Read("OD,F\r\n");
    ASSERT_TRUE(doc.setup.options.has_value());
    EXPECT_EQ(doc.setup.options->others, std::vector<std::string>{"F"});
}

TEST(EplviewReader, ReadsBackFeedOnFromJF)
{
    EXPECT_EQ(Read("JF\r\n").setup.backFeed, true);
}

TEST(EplviewReader, ReadsBackFeedOffFromJB)
{
    EXPECT_EQ(Read("JB\r\n").setup.backFeed, false);
}

TEST(EplviewReader, ReadsTheBackFeedDistanceFromfB)
{
    EXPECT_EQ(Read("fB300\r\n").setup.backFeedDistance, 300);
}

TEST(EplviewReader, ReadsTheCutPositionFromf)
{
    EXPECT_EQ(Read("f108\r\n").setup.cutPosition, 108);
}

TEST(EplviewReader, ReadsCharacterSetWindowsModeAndDirection)
{
    Document doc = Read("I8,E\r\nWN\r\nZB\r\n");
    EXPECT_EQ(doc.setup.characterSet, "8,E");
    EXPECT_EQ(doc.setup.windowsMode, false);
    EXPECT_EQ(doc.setup.fromBottom, true);
}

TEST(EplviewReader, AcceptsLinesEndedByALineFeedAlone)
{
    Document doc = Read("S3\nD7\n");
    EXPECT_EQ(doc.setup.speed, 3);
    EXPECT_EQ(doc.setup.density, 7);
}

TEST(EplviewReader, SkipsEmptyLines)
{
    EXPECT_EQ(Read("\r\n\nS2\r\n").setup.speed, 2);
}

TEST(EplviewReader, EachPrintCommandMakesALabel)
{
    EXPECT_EQ(Read("N\r\nP1\r\nN\r\nP1\r\n").labels.size(), 2u);
}

TEST(EplviewReader, PrintCountIsTheLabelsCopies)
{
    Document doc = Read("N\r\nP2\r\n");
    ASSERT_EQ(doc.labels.size(), 1u);
    EXPECT_EQ(doc.labels[0].sets, 2);
    EXPECT_EQ(doc.labels[0].copies, 1);
}

TEST(EplviewReader, PrintWithTwoNumbersGivesSetsAndCopies)
{
    Document doc = Read("N\r\nP2,3\r\n");
    ASSERT_EQ(doc.labels.size(), 1u);
    EXPECT_EQ(doc.labels[0].sets, 2);
    EXPECT_EQ(doc.labels[0].copies, 3);
}

TEST(EplviewReader, LabelTakesItsSizeFromqAndQ)
{
    Document doc = Read("q408\r\nQ204,24\r\nN\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 1u);
    EXPECT_EQ(doc.labels[0].width, 408);
    EXPECT_EQ(doc.labels[0].length, 204);
}

TEST(EplviewReader, LabelWithoutSizeCommandsTakesTheExtentOfItsDrawing)
{
    Document doc = Read("N\r\nLO10,20,30,40\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 1u);
    EXPECT_EQ(doc.labels[0].width, 40);
    EXPECT_EQ(doc.labels[0].length, 60);
}

TEST(EplviewReader, LabelKeepsTheOptionsInForceWhenPrinted)
{
    Document doc = Read("OC\r\nN\r\nP1\r\nO\r\nN\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 2u);
    EXPECT_TRUE(doc.labels[0].options->cutter);
    EXPECT_FALSE(doc.labels[1].options->cutter);
}

TEST(EplviewReader, ReadsALineAsABox)
{
    Document doc = Read("N\r\nLO1,2,3,4\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_EQ(doc.labels[0].boxes.size(), 1u);
    EXPECT_EQ(doc.labels[0].boxes[0].x, 1);
    EXPECT_EQ(doc.labels[0].boxes[0].y, 2);
    EXPECT_EQ(doc.labels[0].boxes[0].width, 3);
    EXPECT_EQ(doc.labels[0].boxes[0].height, 4);
}

TEST(EplviewReader, ClearEmptiesTheImageBuffer)
{
    Document doc = Read("N\r\nLO0,0,1,1\r\nP1\r\nN\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 2u);
    EXPECT_TRUE(doc.labels[1].boxes.empty());
}

TEST(EplviewReader, PrintingAgainWithoutClearReprintsTheDrawing)
{
    Document doc = Read("N\r\nLO0,0,1,1\r\nP1\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 2u);
    EXPECT_EQ(doc.labels[1].boxes.size(), 1u);
}

TEST(EplviewReader, GraphicDataFollowsTheHeadersLineEnd)
{
    Document doc = Read(std::string("N\r\nGW8,2,2,2,\r\n\x0f\xff\xf0\xff\r\nP1\r\n"));
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_EQ(doc.labels[0].graphics.size(), 1u);
    const eplview::Graphic& g = doc.labels[0].graphics[0];
    EXPECT_EQ(g.x, 8);
    EXPECT_EQ(g.y, 2);
    EXPECT_EQ(g.bytesPerRow, 2);
    EXPECT_EQ(g.rows, 2);
    EXPECT_EQ(g.data, std::string("\x0f\xff\xf0\xff"));
}

TEST(EplviewReader, GraphicDataMayFollowTheLastCommaDirectly)
{
    Document doc = Read(std::string("N\r\nGW0,0,1,2,\x0f\xf0\r\nP1\r\n"));
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_EQ(doc.labels[0].graphics.size(), 1u);
    EXPECT_EQ(doc.labels[0].graphics[0].data, std::string("\x0f\xf0"));
}

TEST(EplviewReader, GraphicHeaderMayEndWithItsLineEndInsteadOfTheLastComma)
{
    Document doc = Read(std::string("N\nq16\nGW0,5,2,1\n\x0f\xf0\nP1\n"));
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_EQ(doc.labels[0].graphics.size(), 1u);
    const eplview::Graphic& g = doc.labels[0].graphics[0];
    EXPECT_EQ(g.y, 5);
    EXPECT_EQ(g.rows, 1);
    EXPECT_EQ(g.data, std::string("\x0f\xf0"));
}

TEST(EplviewReader, GraphicDataMayHoldLineEndBytes)
{
    Document doc = Read(std::string("N\r\nGW0,0,2,1,\r\n\r\n\r\nP1\r\n"));
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_EQ(doc.labels[0].graphics.size(), 1u);
    EXPECT_EQ(doc.labels[0].graphics[0].data, "\r\n");
}

TEST(EplviewReader, GraphicMayEndTheStreamWithoutALineEnd)
{
    Document doc = Read(std::string("GW0,0,1,1,\r\n\x00", 13));
    EXPECT_TRUE(doc.labels.empty());
}

TEST(EplviewReader, AcceptsTheFiltersExtraPackedRow)
{
    // Rows 3 of 2 bytes sent as 2 x (3 + 1) = 8 raw bytes: the header's
    // bytes per row is 8 / 3 = 2, as the filter writes it.
    std::string raw(8, '\xff');
    Document doc = Read("N\r\nGW0,0,2,3,\r\n" + raw + "\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_EQ(doc.labels[0].graphics.size(), 1u);
    EXPECT_EQ(doc.labels[0].graphics[0].data.size(), 6u);
}

TEST(EplviewReader, NotesTheBytesBeyondTheDeclaredRows)
{
    std::string raw(8, '\xff');
    Document doc = Read("N\r\nGW0,0,2,3,\r\n" + raw + "\r\nP1\r\n");
    ASSERT_EQ(doc.notes.size(), 1u);
    EXPECT_EQ(doc.notes[0], "byte 3: GW carries 2 bytes beyond its 2 x 3 bytes (one packed row more than "
                            "declared); skipped");
}

TEST(EplviewReader, AcceptsAnExtraRowThatWidensTheDeclaredRowLength)
{
    // Row length 5, rows 4: 25 raw bytes and 25 / 4 = 6 bytes per row.
    std::string raw(25, '\xff');
    Document doc = Read("N\r\nGW0,0,6,4,\r\n" + raw + "\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 1u);
    EXPECT_EQ(doc.labels[0].graphics[0].data.size(), 24u);
}

TEST(EplviewReader, AcceptsTheFiltersGraphicWithNoRows)
{
    // A one-row page sends "GW..,..,0,0," and then its single packed row.
    Document doc = Read(std::string("N\r\nGW0,0,0,0,\r\n\x00\xff\r\nP1\r\n", 23));
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_EQ(doc.labels[0].graphics.size(), 1u);
    EXPECT_TRUE(doc.labels[0].graphics[0].data.empty());
}

TEST(EplviewReader, CountsCommandsItDoesNotDraw)
{
    Document doc = Read("A10,10,0,1,1,1,N,\"X\"\r\nA10,40,0,1,1,1,N,\"Y\"\r\nLE0,0,1,1\r\n");
    EXPECT_EQ(doc.undrawn, (std::map<std::string, int>{{"A", 2}, {"LE", 1}}));
}

TEST(EplviewReader, ClipsALabelLargerThanItDraws)
{
    Document doc = Read("q99999\r\nQ10,0\r\nN\r\nP1\r\n");
    ASSERT_EQ(doc.labels.size(), 1u);
    EXPECT_EQ(doc.labels[0].width, eplview::kMaxLabelWidth);
    EXPECT_EQ(doc.notes, std::vector<std::string>{"byte 18: label of 99999 x 10 dots clipped to what eplview draws"});
}

TEST(EplviewReader, RejectsGraphicDataCutShort)
{
    ParseError err = Reject("N\r\nGW0,0,10,10,\r\n" + std::string(5, '\xff'));
    EXPECT_EQ(err.offset, 3u);
    EXPECT_EQ(err.message, "GW declares 100 bytes of graphic data but only 5 follow");
}

TEST(EplviewReader, RejectsGraphicDataNotFollowedByALineEnd)
{
    ParseError err = Reject("GW0,0,1,1,\r\n\xffXYZ\r\n");
    EXPECT_EQ(err.offset, 13u);
    EXPECT_EQ(err.message, "GW graphic data (1 bytes per row x 1 rows) is not followed by a line end");
}

TEST(EplviewReader, RejectsAGraphicHeaderWithThreeNumbers)
{
    ParseError err = Reject("N\r\nGW0,0,10\r\n");
    EXPECT_EQ(err.offset, 3u);
    EXPECT_EQ(err.message, "GW needs four numbers followed by commas: x,y,bytes per row,rows,");
}

TEST(EplviewReader, RejectsAGraphicHeaderWhoseRowsAreFollowedByNeitherCommaNorLineEnd)
{
    ParseError err = Reject("N\r\nGW0,0,1,1X\r\n");
    EXPECT_EQ(err.offset, 3u);
    EXPECT_EQ(err.message, "GW needs four numbers followed by commas: x,y,bytes per row,rows,");
}

TEST(EplviewReader, RejectsAnUnterminatedLastCommand)
{
    ParseError err = Reject("N\r\nP1");
    EXPECT_EQ(err.offset, 3u);
    EXPECT_EQ(err.message, "the last command is not ended by a line feed");
}

TEST(EplviewReader, RejectsAControlByteInACommandLine)
{
    ParseError err = Reject("N\r\nS\x01\r\n");
    EXPECT_EQ(err.offset, 4u);
    EXPECT_EQ(err.message, "unexpected byte 0x01 in a command line");
}

TEST(EplviewReader, RejectsALoneCarriageReturnInsideALine)
{
    ParseError err = Reject("S4\rD3\r\n");
    EXPECT_EQ(err.offset, 2u);
    EXPECT_EQ(err.message, "unexpected byte 0x0D in a command line");
}

TEST(EplviewReader, RejectsQWithoutAGap)
{
    ParseError err = Reject("Q400\r\n");
    EXPECT_EQ(err.offset, 0u);
    EXPECT_EQ(err.message, "Q needs the label length, a comma and the gap (Qlength,gap[+offset])");
}

TEST(EplviewReader, RejectsSpeedWithoutANumber)
{
    ParseError err = Reject("N\r\nS\r\n");
    EXPECT_EQ(err.offset, 3u);
    EXPECT_EQ(err.message, "S needs one number (the speed)");
}

TEST(EplviewReader, RejectsANumberOfTenDigits)
{
    ParseError err = Reject("q1234567890\r\n");
    EXPECT_EQ(err.message, "q needs one number (the label width in dots)");
}

TEST(EplviewReader, RejectsALineWithLettersAfterItsNumbers)
{
    ParseError err = Reject("LO1,2,3,4x\r\n");
    EXPECT_EQ(err.message, "LO needs four numbers: x,y,width,height");
}

TEST(EplviewReader, RejectsAPrintCommandWithoutACount)
{
    ParseError err = Reject("P\r\n");
    EXPECT_EQ(err.message, "P needs the number of labels (Pcount or Psets,copies)");
}

TEST(EplviewReader, RejectsAnEmptyOptionBetweenCommas)
{
    ParseError err = Reject("OD,,P\r\n");
    EXPECT_EQ(err.message, "O has an empty option between commas");
}

}  // namespace
