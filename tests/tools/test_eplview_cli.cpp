// The eplview program as users run it: input from a file or standard input,
// one PNG image per printed label, the summary on standard output, and exit
// status 1 with the byte offset for a malformed stream.
#include <gtest/gtest.h>

#include <string>

#include "CommandRunner.h"
#include "PngFile.h"
#include "TempDir.h"
#include "TestFiles.h"

namespace {

const std::string kEplview = KV_EPLVIEW_BINARY;

// The start of a typical job and one page printed twice; its graphic is
// one all-black byte.
const std::string kTypicalJob = "N\r\nI8,E\r\nWN\r\nZB\r\nS4\r\nD10\r\nO\r\nJF\r\nq639\r\nQ400,24\r\n"
                                "N\r\nGW0,0,1,1,\r\n" +
                                std::string(1, '\0') + "\r\nP2\r\n";

const std::string kTypicalSummary = "set-up:\n"
                                    "  character set: 8,E\n"
                                    "  windows mode: off\n"
                                    "  print direction: from bottom\n"
                                    "  speed: 4\n"
                                    "  density: 10\n"
                                    "  label width: 639 dots\n"
                                    "  label length: 400 dots\n"
                                    "  gap: 24 dots\n"
                                    "  options: none\n"
                                    "  cutter: off\n"
                                    "  back-feed: on\n"
                                    "  cut position: not set (printer setting)\n"
                                    "labels: 1\n"
                                    "  label 1: 639 x 400 dots, 2 copies, no cut, 1 graphic, 0 lines\n";

TEST(EplviewProgram, SummarisesTheSetUpAndTheLabels)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n"}, kTypicalJob);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, kTypicalSummary);
    EXPECT_EQ(r.err, "");
}

TEST(EplviewProgram, ReadsTheStreamFromAFile)
{
    kvtest::TempDir dir;
    kvtest::WriteFile(dir.File("job.epl"), kTypicalJob);
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n", dir.File("job.epl")});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, kTypicalSummary);
}

TEST(EplviewProgram, DashReadsStandardInput)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n", "-"}, kTypicalJob);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, kTypicalSummary);
}

TEST(EplviewProgram, ReportsSettingsTheStreamLeavesToThePrinter)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n"}, "N\r\nP1\r\n");
    EXPECT_EQ(r.out, "set-up:\n"
                     "  character set: not set (printer setting)\n"
                     "  windows mode: not set (printer setting)\n"
                     "  print direction: not set (printer setting)\n"
                     "  speed: not set (printer setting)\n"
                     "  density: not set (printer setting)\n"
                     "  label width: not set (printer setting)\n"
                     "  label length: not set (printer setting)\n"
                     "  gap: not set (printer setting)\n"
                     "  options: not set (printer setting)\n"
                     "  cutter: not set (printer setting)\n"
                     "  back-feed: not set (printer setting)\n"
                     "  cut position: not set (printer setting)\n"
                     "labels: 1\n"
                     "  label 1: 1 x 1 dots, 1 copy, no cut, 0 graphics, 0 lines\n");
}

TEST(EplviewProgram, SummaryNamesTheCutterAndOptions)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n"}, "OD,C3,P\r\nf108\r\nfB24\r\nN\r\nP1\r\n");
    EXPECT_NE(r.out.find("  options: direct thermal, peel\n  cutter: after every 3 labels\n"), std::string::npos);
    EXPECT_NE(r.out.find("  back-feed distance: 24 dots\n  cut position: 108\n"), std::string::npos);
    EXPECT_NE(r.out.find("  label 1: 1 x 1 dots, 1 copy, cut after every 3 labels, 0 graphics, 0 lines\n"),
              std::string::npos);
}

TEST(EplviewProgram, SummaryNamesContinuousMedia)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n"}, "Q400,0\r\n");
    EXPECT_NE(r.out.find("  gap: none (continuous media)\n"), std::string::npos);
}

TEST(EplviewProgram, SummaryNamesABlackMarkAndItsOffset)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n"}, "Q400,B24+8\r\n");
    EXPECT_NE(r.out.find("  black mark: 24 dots, offset 8 dots\n"), std::string::npos);
}

TEST(EplviewProgram, SummaryListsCommandsNotDrawn)
{
    kvtool::CommandResult r =
        kvtool::RunCommand({kEplview, "-n"}, "A1,1,0,1,1,1,N,\"X\"\r\nB1,1,0,1,2,2,50,N,\"1\"\r\n");
    EXPECT_NE(r.out.find("not drawn: A (1) B (1)\n"), std::string::npos);
}

TEST(EplviewProgram, WritesOneImagePerPrintedLabel)
{
    kvtest::TempDir dir;
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-o", dir.File("pre")}, "N\r\nP1\r\nN\r\nP1\r\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(kvtest::FileExists(dir.File("pre-1.png")));
    EXPECT_TRUE(kvtest::FileExists(dir.File("pre-2.png")));
    EXPECT_FALSE(kvtest::FileExists(dir.File("pre-3.png")));
}

TEST(EplviewProgram, SummaryNamesEachImage)
{
    kvtest::TempDir dir;
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-o", dir.File("pre")}, "N\r\nP1\r\n");
    EXPECT_NE(
        r.out.find("  label 1: 1 x 1 dots, 1 copy, no cut, 0 graphics, 0 lines -> " + dir.File("pre-1.png") + "\n"),
        std::string::npos);
}

TEST(EplviewProgram, ImagesAreNamedLabelInTheWorkingFolderByDefault)
{
    kvtest::TempDir dir;
    kvtool::CommandResult r = kvtool::RunCommand({kEplview}, "N\r\nP1\r\n", {}, dir.Path());
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(kvtest::FileExists(dir.File("label-1.png")));
}

TEST(EplviewProgram, ImageShowsTheLabel)
{
    kvtest::TempDir dir;
    kvtool::RunCommand({kEplview, "-o", dir.File("l")}, "q16\r\nQ8,0\r\nN\r\nLO4,2,3,2\r\nP1\r\n");
    kvtool::PngImage img = kvtool::DecodeStoredPng(kvtest::ReadFile(dir.File("l-1.png")));
    ASSERT_EQ(img.error, "");
    EXPECT_EQ(img.width, 16u);
    EXPECT_EQ(img.height, 8u);
    EXPECT_EQ(img.BlackIn(0, 0, 16, 8), 6);
    EXPECT_EQ(img.BlackIn(4, 2, 7, 4), 6);
}

TEST(EplviewProgram, ImageNotesTheCopies)
{
    kvtest::TempDir dir;
    kvtool::RunCommand({kEplview, "-o", dir.File("l")}, "N\r\nP2,3\r\n");
    kvtool::PngImage img = kvtool::DecodeStoredPng(kvtest::ReadFile(dir.File("l-1.png")));
    ASSERT_EQ(img.error, "");
    EXPECT_EQ(img.texts["Copies"], "6");
}

TEST(EplviewProgram, NoImagesWithDashN)
{
    kvtest::TempDir dir;
    kvtool::RunCommand({kEplview, "-n"}, "N\r\nP1\r\n", {}, dir.Path());
    EXPECT_FALSE(kvtest::FileExists(dir.File("label-1.png")));
}

TEST(EplviewProgram, MalformedStreamExitsWithOneAndNamesTheByte)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n"}, "N\r\nP1");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "eplview: standard input: byte 3: the last command is not ended by a line feed\n");
}

TEST(EplviewProgram, MalformedFileIsNamedInTheMessage)
{
    kvtest::TempDir dir;
    kvtest::WriteFile(dir.File("bad.epl"), "Q400\r\n");
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-n", dir.File("bad.epl")});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "eplview: " + dir.File("bad.epl") +
                         ": byte 0: Q needs the label length, a comma and the gap (Qlength,gap[+offset])\n");
}

TEST(EplviewProgram, MalformedStreamWritesNoImages)
{
    kvtest::TempDir dir;
    kvtool::RunCommand({kEplview}, "N\r\nP1\r\nS\r\n", {}, dir.Path());
    EXPECT_FALSE(kvtest::FileExists(dir.File("label-1.png")));
}

TEST(EplviewProgram, MissingFileExitsWithTwo)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "/nonexistent/job.epl"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "eplview: cannot read /nonexistent/job.epl\n");
}

TEST(EplviewProgram, UnwritableImageExitsWithTwo)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-o", "/nonexistent/l"}, "N\r\nP1\r\n");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "eplview: cannot write /nonexistent/l-1.png\n");
}

TEST(EplviewProgram, UnknownOptionPrintsTheUsage)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "-x"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "usage: eplview [-o PREFIX] [-n] [FILE]\n");
}

TEST(EplviewProgram, SecondFileIsRefused)
{
    kvtool::CommandResult r = kvtool::RunCommand({kEplview, "a.epl", "b.epl"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "usage: eplview [-o PREFIX] [-n] [FILE]\n");
}

}  // namespace
