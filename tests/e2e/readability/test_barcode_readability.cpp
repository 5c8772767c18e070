// Barcodes printed through the whole chain scan: the suite prints every
// symbol size through every raster resolution of the shipped PPDs once,
// and these tests state what its counts must show about the defaults.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "ReadabilitySuite.h"

namespace {

using kvread::Embedding;
using kvread::SymbolDesign;
using kvread::Symbology;

// The suite's results, computed once for all tests of this program.
class BarcodeReadability : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_suite = std::make_unique<kvread::SuiteResult>(kvread::RunSuite());
        s_thin = std::make_unique<kvread::ThinSuiteResult>(kvread::RunThinSuite());
        // The tables go into the test log, where the README's figures are
        // taken from.
        std::printf("%s\n%s", kvread::SuiteTable(*s_suite).c_str(), kvread::ThinTable(*s_thin).c_str());
    }
    static void TearDownTestSuite()
    {
        s_suite.reset();
        s_thin.reset();
    }
    void SetUp() override
    {
        ASSERT_EQ(s_suite->error, "");
        ASSERT_EQ(s_suite->rows.size(), kvread::SuiteDesigns().size());
    }

    // Column of the 203 dpi models' default Resolution choice (609 dpi)
    // and of their native one.
    static std::size_t DefaultColumn() { return kvread::ColumnOf(*s_suite, "609 dpi"); }
    static std::size_t NativeColumn() { return kvread::ColumnOf(*s_suite, "203 dpi"); }

    static std::unique_ptr<kvread::SuiteResult> s_suite;
    static std::unique_ptr<kvread::ThinSuiteResult> s_thin;
};

std::unique_ptr<kvread::SuiteResult> BarcodeReadability::s_suite;
std::unique_ptr<kvread::ThinSuiteResult> BarcodeReadability::s_thin;

// True when every row that `keep` keeps read all its labels in `column`.
template <typename Keep>
void ExpectAllRead(const kvread::SuiteResult& suite, std::size_t column, Keep keep)
{
    int rows = 0;
    for (const kvread::SuiteRow& row : suite.rows)
        if (keep(row.design)) {
            ++rows;
            EXPECT_EQ(row.read[column], suite.labelsPerCell)
                << (row.design.symbology == Symbology::kQr ? "QR " : "Code 128 ") << row.design.xMm << " mm, "
                << (row.design.embedding == Embedding::kVector ? "vector" : "image");
        }
    EXPECT_GT(rows, 0);
}

bool IsCode128(const SymbolDesign& d)
{
    return d.symbology == Symbology::kCode128;
}
bool IsVector(const SymbolDesign& d)
{
    return d.embedding == Embedding::kVector;
}

TEST_F(BarcodeReadability, EveryVectorCode128WithBarsOfAtLeast0353MmScansAtTheDefaultResolution)
{
    ExpectAllRead(*s_suite, DefaultColumn(),
                  [](const SymbolDesign& d) { return IsCode128(d) && IsVector(d) && d.xMm >= 0.353; });
}

TEST_F(BarcodeReadability, EveryVectorQrCodeWithModulesOfAtLeast0375MmScansAtTheDefaultResolution)
{
    ExpectAllRead(*s_suite, DefaultColumn(),
                  [](const SymbolDesign& d) { return !IsCode128(d) && IsVector(d) && d.xMm >= 0.375; });
}

TEST_F(BarcodeReadability, EveryPictureCode128WithBarsOfAtLeast04MmScansAtTheDefaultResolution)
{
    ExpectAllRead(*s_suite, DefaultColumn(),
                  [](const SymbolDesign& d) { return IsCode128(d) && !IsVector(d) && d.xMm >= 0.4; });
}

TEST_F(BarcodeReadability, EveryPictureQrCodeWithModulesOfAtLeast05MmScansAtTheDefaultResolution)
{
    ExpectAllRead(*s_suite, DefaultColumn(),
                  [](const SymbolDesign& d) { return !IsCode128(d) && !IsVector(d) && d.xMm >= 0.5; });
}

TEST_F(BarcodeReadability, DefaultResolutionReadsAtLeastAsManyLabelsAsTheNativeOne)
{
    auto all = [](const SymbolDesign&) { return true; };
    EXPECT_GE(kvread::ReadInColumn(*s_suite, DefaultColumn(), all),
              kvread::ReadInColumn(*s_suite, NativeColumn(), all));
}

TEST_F(BarcodeReadability, DefaultResolutionReadsAtLeastAsManyLabelsAsTwiceTheNativeOne)
{
    auto all = [](const SymbolDesign&) { return true; };
    EXPECT_GE(kvread::ReadInColumn(*s_suite, DefaultColumn(), all),
              kvread::ReadInColumn(*s_suite, kvread::ColumnOf(*s_suite, "406 dpi"), all));
}

TEST_F(BarcodeReadability, ThreeHundredDpiModelsReadAtLeastAsManyLabelsAtTheirDefaultAsAtTwiceIt)
{
    auto all = [](const SymbolDesign&) { return true; };
    EXPECT_GE(kvread::ReadInColumn(*s_suite, kvread::ColumnOf(*s_suite, "300 dpi model at 300"), all),
              kvread::ReadInColumn(*s_suite, kvread::ColumnOf(*s_suite, "300 dpi model at 600"), all));
}

// The thin labels' variants, in the order RunThinSuite prints them.
constexpr std::size_t kAloneDefaultMode = 0;
constexpr std::size_t kAloneCropped = 1;
constexpr std::size_t kFramedDefaultMode = 2;

TEST_F(BarcodeReadability, ThinContentPrintsSlantedInTheDefaultPrintMode)
{
    ASSERT_EQ(s_thin->error, "");
    ASSERT_EQ(s_thin->variants.size(), 3u);
    const kvread::ThinResult& alone = s_thin->variants[kAloneDefaultMode];
    ASSERT_EQ(alone.printMode, "Off");
    EXPECT_EQ(alone.upright, 0);
    EXPECT_EQ(alone.labels, kvread::kLabelsPerCell);
}

TEST_F(BarcodeReadability, ThinContentPrintsUprightWhenCroppedToContent)
{
    ASSERT_EQ(s_thin->error, "");
    ASSERT_EQ(s_thin->variants.size(), 3u);
    const kvread::ThinResult& cropped = s_thin->variants[kAloneCropped];
    ASSERT_EQ(cropped.printMode, "CropToContent");
    EXPECT_EQ(cropped.upright, kvread::kLabelsPerCell);
}

TEST_F(BarcodeReadability, ThinContentWithAFramePrintsUprightAndScansInTheDefaultPrintMode)
{
    ASSERT_EQ(s_thin->error, "");
    ASSERT_EQ(s_thin->variants.size(), 3u);
    const kvread::ThinResult& framed = s_thin->variants[kFramedDefaultMode];
    ASSERT_EQ(framed.printMode, "Off");
    EXPECT_EQ(framed.upright, kvread::kLabelsPerCell);
    EXPECT_EQ(framed.read, kvread::kLabelsPerCell);
}

}  // namespace
