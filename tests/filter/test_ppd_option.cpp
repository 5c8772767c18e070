// Tests of the option lookups: the code text of the job's choice of a PPD
// option and the numbers read from it.
#include <cmath>
#include <cstdint>
#include <string>

#include "GetPpdSelfOption.h"
#include "filter/ppd_test_support.h"

namespace {

using ppdtest::OpenLikeFilter;
using ppdtest::OpenUnmarked;
using ppdtest::PpdHandle;

// One option per purpose: "Darkness" carries every kind of code text,
// "Speed" names a default choice that does not exist.
const char kOptions[] = "*OpenUI *Darkness/Darkness: PickOne\n"
                        "*OrderDependency: 10 AnySetup *Darkness\n"
                        "*DefaultDarkness: Ten\n"
                        "*Darkness Ten/Ten: \"10\"\n"
                        "*Darkness Fifteen/Fifteen: \"15\"\n"
                        "*Darkness Dpi/With unit: \"3dpi\"\n"
                        "*Darkness Word/Word: \"abc\"\n"
                        "*Darkness Empty/Empty: \"\"\n"
                        "*Darkness Minus/Minus one: \"-1\"\n"
                        "*Darkness Fraction/Fraction: \"2.55\"\n"
                        "*Darkness Huge/Huge: \"99999999999\"\n"
                        "*Darkness Tiny/Tiny: \"-99999999999\"\n"
                        "*Darkness Vast/Vast: \"1e300\"\n"
                        "*CloseUI: *Darkness\n"
                        "*OpenUI *Speed/Speed: PickOne\n"
                        "*OrderDependency: 10 AnySetup *Speed\n"
                        "*DefaultSpeed: Missing\n"
                        "*Speed Three/Three: \"3\"\n"
                        "*CloseUI: *Speed\n";

class PpdOptionTest : public ppdtest::PpdFileTest {
protected:
    void SetUp() override { UsePpd(ppdtest::MinimalPpd(kOptions)); }

    // Returns the test PPD opened as the filter opens it with `jobOptions`.
    PpdHandle Job(const char* jobOptions)
    {
        PpdHandle ppd = OpenLikeFilter(Path(), jobOptions);
        EXPECT_NE(ppd, nullptr);
        return ppd;
    }
};

TEST_F(PpdOptionTest, ChoiceCodeIsTheCodeOfTheMarkedChoice)
{
    PpdHandle ppd = Job("Darkness=Fifteen");
    ASSERT_NE(ppd, nullptr);
    EXPECT_STREQ("15", GetOptionChoiceCode("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, ChoiceCodeIsTheMarkedDefaultWithoutJobOptions)
{
    PpdHandle ppd = Job("");
    ASSERT_NE(ppd, nullptr);
    EXPECT_STREQ("10", GetOptionChoiceCode("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, ChoiceCodeFallsBackToTheDefaultChoiceWhenNoneIsMarked)
{
    PpdHandle ppd = OpenUnmarked(Path());
    ASSERT_NE(ppd, nullptr);
    ASSERT_EQ(nullptr, ppdFindMarkedChoice(ppd.get(), "Darkness"));
    EXPECT_STREQ("10", GetOptionChoiceCode("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, JobOptionMarkedLaterReplacesTheDefaultChoiceCode)
{
    PpdHandle ppd = OpenUnmarked(Path());
    ASSERT_NE(ppd, nullptr);
    ASSERT_STREQ("10", GetOptionChoiceCode("Darkness", ppd.get()));
    cups_option_t* options = nullptr;
    const int count = cupsParseOptions("Darkness=Fifteen", 0, &options);
    cupsMarkOptions(ppd.get(), count, options);
    cupsFreeOptions(count, options);
    EXPECT_STREQ("15", GetOptionChoiceCode("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, ChoiceCodeIsNullForAMissingOption)
{
    PpdHandle ppd = Job("");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(nullptr, GetOptionChoiceCode("Contrast", ppd.get()));
}

TEST_F(PpdOptionTest, ChoiceCodeIsNullWhenTheDefaultChoiceDoesNotExist)
{
    PpdHandle ppd = OpenUnmarked(Path());
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(nullptr, GetOptionChoiceCode("Speed", ppd.get()));
}

TEST_F(PpdOptionTest, ChoiceCodeIsNullForANullKeyword)
{
    PpdHandle ppd = Job("");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(nullptr, GetOptionChoiceCode(nullptr, ppd.get()));
}

TEST(PpdOptionNullTest, ChoiceCodeIsNullForANullPpd)
{
    EXPECT_EQ(nullptr, GetOptionChoiceCode("Darkness", nullptr));
}

TEST_F(PpdOptionTest, IndexIsTheCodeReadAsADecimalInteger)
{
    PpdHandle ppd = Job("Darkness=Fifteen");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(15, GetOptionChoiceIndex("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, IndexOfCodeWithTrailingTextIsItsLeadingNumber)
{
    PpdHandle ppd = Job("Darkness=Dpi");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(3, GetOptionChoiceIndex("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, IndexOfNonNumericCodeIsZero)
{
    PpdHandle ppd = Job("Darkness=Word");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(0, GetOptionChoiceIndex("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, IndexOfEmptyCodeIsZeroNotMinusOne)
{
    PpdHandle ppd = Job("Darkness=Empty");
    ASSERT_NE(ppd, nullptr);
    ASSERT_STREQ("", GetOptionChoiceCode("Darkness", ppd.get()));
    EXPECT_EQ(0, GetOptionChoiceIndex("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, IndexOfCodeMinusOneIsMinusOne)
{
    PpdHandle ppd = Job("Darkness=Minus");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(-1, GetOptionChoiceIndex("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, IndexOfMissingOptionIsMinusOne)
{
    PpdHandle ppd = Job("");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(-1, GetOptionChoiceIndex("Contrast", ppd.get()));
}

TEST_F(PpdOptionTest, IndexOfChoiceWithoutCodeTextIsMinusOne)
{
    PpdHandle ppd = Job("Darkness=Fifteen");
    ASSERT_NE(ppd, nullptr);
    ppd_choice_t* choice = ppdFindMarkedChoice(ppd.get(), "Darkness");
    ASSERT_NE(choice, nullptr);
    char* code = choice->code;
    choice->code = nullptr;  // a choice that carries no code text at all
    const int32_t index = GetOptionChoiceIndex("Darkness", ppd.get());
    choice->code = code;  // ppdClose frees it
    EXPECT_EQ(-1, index);
}

TEST_F(PpdOptionTest, IndexForANullKeywordIsMinusOne)
{
    PpdHandle ppd = Job("");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(-1, GetOptionChoiceIndex(nullptr, ppd.get()));
}

TEST(PpdOptionNullTest, IndexForANullPpdIsMinusOne)
{
    EXPECT_EQ(-1, GetOptionChoiceIndex("Darkness", nullptr));
}

TEST_F(PpdOptionTest, IndexAboveTheInt32RangeIsClampedToItsMaximum)
{
    PpdHandle ppd = Job("Darkness=Huge");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(INT32_MAX, GetOptionChoiceIndex("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, IndexBelowTheInt32RangeIsClampedToItsMinimum)
{
    PpdHandle ppd = Job("Darkness=Tiny");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(INT32_MIN, GetOptionChoiceIndex("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, FloatIndexReadsDecimalFractions)
{
    PpdHandle ppd = Job("Darkness=Fraction");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(2.55f, GetOptionChoiceIndexf("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, FloatIndexOfCodeWithTrailingTextIsItsLeadingNumber)
{
    PpdHandle ppd = Job("Darkness=Dpi");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(3.0f, GetOptionChoiceIndexf("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, FloatIndexOfNonNumericCodeIsZero)
{
    PpdHandle ppd = Job("Darkness=Word");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(0.0f, GetOptionChoiceIndexf("Darkness", ppd.get()));
}

TEST_F(PpdOptionTest, FloatIndexOfMissingOptionIsMinusOne)
{
    PpdHandle ppd = Job("");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(-1.0f, GetOptionChoiceIndexf("Contrast", ppd.get()));
}

TEST_F(PpdOptionTest, FloatIndexForANullKeywordIsMinusOne)
{
    PpdHandle ppd = Job("");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(-1.0f, GetOptionChoiceIndexf(nullptr, ppd.get()));
}

TEST(PpdOptionNullTest, FloatIndexForANullPpdIsMinusOne)
{
    EXPECT_EQ(-1.0f, GetOptionChoiceIndexf("Darkness", nullptr));
}

TEST_F(PpdOptionTest, FloatIndexBeyondTheFloatRangeIsInfinity)
{
    PpdHandle ppd = Job("Darkness=Vast");
    ASSERT_NE(ppd, nullptr);
    EXPECT_EQ(HUGE_VALF, GetOptionChoiceIndexf("Darkness", ppd.get()));
}

}  // namespace
