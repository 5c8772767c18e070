// eplview's drawing of a label: the image has the label's size in dots,
// "LO" boxes and the 0 bits of "GW" graphics print black, and nothing is
// drawn outside the label.
#include <gtest/gtest.h>

#include <string>

#include "EplDocument.h"
#include "LabelBitmap.h"

namespace {

using eplview::LabelBitmap;

// Draws the first label of a well-formed stream.
LabelBitmap Draw(const std::string& stream)
{
    eplview::Document doc;
    eplview::ParseError err;
    EXPECT_TRUE(eplview::ParseEpl(stream, doc, err)) << err.message;
    EXPECT_FALSE(doc.labels.empty());
    return eplview::RenderLabel(doc.labels.empty() ? eplview::Label{} : doc.labels[0]);
}

// Number of black dots in the whole image.
long BlackDots(const LabelBitmap& bmp)
{
    long n = 0;
    for (long y = 0; y < bmp.Height(); ++y)
        for (long x = 0; x < bmp.Width(); ++x)
            n += bmp.IsBlack(x, y);
    return n;
}

TEST(EplviewDrawing, ImageHasTheLabelsSizeInDots)
{
    LabelBitmap bmp = Draw("q408\r\nQ204,24\r\nN\r\nP1\r\n");
    EXPECT_EQ(bmp.Width(), 408);
    EXPECT_EQ(bmp.Height(), 204);
}

TEST(EplviewDrawing, EmptyLabelIsWhite)
{
    EXPECT_EQ(BlackDots(Draw("q16\r\nQ8,0\r\nN\r\nP1\r\n")), 0);
}

TEST(EplviewDrawing, LineIsABlackBox)
{
    LabelBitmap bmp = Draw("q16\r\nQ8,0\r\nN\r\nLO2,1,3,2\r\nP1\r\n");
    EXPECT_EQ(BlackDots(bmp), 6);
    EXPECT_TRUE(bmp.IsBlack(2, 1));
    EXPECT_TRUE(bmp.IsBlack(4, 2));
    EXPECT_FALSE(bmp.IsBlack(5, 2));
    EXPECT_FALSE(bmp.IsBlack(2, 3));
}

TEST(EplviewDrawing, GraphicZeroBitsPrintBlack)
{
    LabelBitmap bmp = Draw(std::string("q8\r\nQ1,0\r\nN\r\nGW0,0,1,1,\r\n\x0f\r\nP1\r\n"));
    for (long x = 0; x < 4; ++x)
        EXPECT_TRUE(bmp.IsBlack(x, 0)) << x;
    for (long x = 4; x < 8; ++x)
        EXPECT_FALSE(bmp.IsBlack(x, 0)) << x;
}

TEST(EplviewDrawing, GraphicOneBitsLeaveALineBlack)
{
    LabelBitmap bmp = Draw(std::string("q8\r\nQ1,0\r\nN\r\nLO0,0,8,1\r\nGW0,0,1,1,\r\n\xff\r\nP1\r\n"));
    EXPECT_EQ(BlackDots(bmp), 8);
}

TEST(EplviewDrawing, GraphicIsPlacedAtItsPosition)
{
    LabelBitmap bmp = Draw(std::string("q24\r\nQ4,0\r\nN\r\nGW8,2,1,1,\r\n\x7f\r\nP1\r\n"));
    EXPECT_EQ(BlackDots(bmp), 1);
    EXPECT_TRUE(bmp.IsBlack(8, 2));
}

TEST(EplviewDrawing, GraphicRowsFollowEachOther)
{
    LabelBitmap bmp = Draw(std::string("q8\r\nQ2,0\r\nN\r\nGW0,0,1,2,\r\n\xfe\x7f\r\nP1\r\n"));
    EXPECT_EQ(BlackDots(bmp), 2);
    EXPECT_TRUE(bmp.IsBlack(7, 0));
    EXPECT_TRUE(bmp.IsBlack(0, 1));
}

TEST(EplviewDrawing, DrawingBeyondTheLabelIsClipped)
{
    LabelBitmap bmp = Draw(std::string("q8\r\nQ1,0\r\nN\r\nGW0,0,2,2,\r\n\x00\x00\x00\x00\r\nP1\r\n", 35));
    EXPECT_EQ(bmp.Width(), 8);
    EXPECT_EQ(bmp.Height(), 1);
    EXPECT_EQ(BlackDots(bmp), 8);
}

TEST(EplviewDrawing, BoxStartingLeftOfTheLabelIsClipped)
{
    eplview::Label label;
    label.width = 4;
    label.length = 1;
    label.boxes.push_back({-2, 0, 3, 1});
    EXPECT_EQ(BlackDots(eplview::RenderLabel(label)), 1);
}

TEST(EplviewDrawing, GraphicWithManyRowsButNoBytesDrawsNothing)
{
    LabelBitmap bmp = Draw("q8\r\nQ8,0\r\nN\r\nGW0,0,0,999999999,\r\n\r\nP1\r\n");
    EXPECT_EQ(BlackDots(bmp), 0);
}

}  // namespace
