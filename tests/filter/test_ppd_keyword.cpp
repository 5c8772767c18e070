// Tests of the PPD keyword reader: values of main keywords read from the
// PPD text, the syntax rules it enforces and the statuses it reports.
#include <cstdio>
#include <string>
#include <utility>

#include "GetPpdSelfOption.h"
#include "filter/ppd_test_support.h"

namespace {

using Error = std::pair<ppd_status_t, int>;  // status and reported line

const char kHeader[] = "*PPD-Adobe: \"4.3\"\n";  // line 1 of most test files
constexpr size_t kMaxLogicalLine = 262143;       // the 256 KiB buffer less its NUL
constexpr size_t kQuotedLinePrefix = 7;          // the length of *Big: "

// Returns the status and line of this thread's last search.
Error LastError()
{
    int line = -1;
    const ppd_status_t status = GetPpdKeywordLastError(&line);
    return {status, line};
}

// Returns `count` copies of `ch`.
std::string Repeat(size_t count, char ch)
{
    return std::string(count, ch);
}

// Returns `count` characters of text broken by a LF after every 99.
std::string Paragraphs(size_t count)
{
    constexpr size_t kLineWidth = 100;
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text.push_back(i % kLineWidth == kLineWidth - 1 ? '\n' : 'x');
    return text;
}

class PpdKeywordTest : public ppdtest::PpdFileTest {};

// ---- The examples the filter relies on ----------------------------------

TEST_F(PpdKeywordTest, OutputDpiQuotedValueIs203)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: \"203\"\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, OutputDpiUnquotedValueIs203)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, FirstMatchingLineWins)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\n*OutputDPI: 300\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, LinesAfterTheFirstMatchAreNeverRead)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\nno asterisk here\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_OK, 0), LastError());
}

TEST_F(PpdKeywordTest, KeywordAfterAplWorksetStartIsNotFound)
{
    UsePpd(std::string(kHeader) + "*%APLWORKSET START\n*OutputDPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_OK, 0), LastError());
}

TEST_F(PpdKeywordTest, KeywordBeforeAplWorksetStartIsFound)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\n*%APLWORKSET START\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, WorksetMarkerMustBeTheWholeLine)
{
    UsePpd(std::string(kHeader) + "*%APLWORKSET START here\n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

// ---- Search results ------------------------------------------------------

TEST_F(PpdKeywordTest, AbsentKeywordGivesNullWithStatusOk)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("DriverLog"));
    EXPECT_EQ(Error(PPD_OK, 0), LastError());
}

TEST_F(PpdKeywordTest, NullKeywordGivesNull)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue(nullptr));
}

TEST_F(PpdKeywordTest, KeywordMatchIsCaseSensitive)
{
    UsePpd(std::string(kHeader) + "*outputdpi: 300\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, MissingPpdVariableGivesNull)
{
    ppdtest::ScopedEnv noPpd("PPD", nullptr);
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, UnreadableFileGivesNullWithStatusOk)
{
    ppdtest::ScopedEnv missing("PPD", dir_.File("absent.ppd").c_str());
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_OK, 0), LastError());
}

TEST_F(PpdKeywordTest, LastLineWithoutLineEndIsRead)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, LineWithOptionKeywordMatchesOnItsMainKeyword)
{
    UsePpd(std::string(kHeader) + "*OutputDPI 203dpi/203 dots per inch: \"203\"\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, EqualValuesShareOneStoredText)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\n*ResolutionText: \"203\"\n");
    const char* first = GetPpdKeywordValue("OutputDPI");
    const char* second = GetPpdKeywordValue("ResolutionText");
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(first, second);
}

TEST_F(PpdKeywordTest, ReturnedTextOutlivesLaterSearchesAndFiles)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 601\n");
    const char* value = GetPpdKeywordValue("OutputDPI");
    UsePpd(std::string(kHeader) + "*OutputDPI: 602\n");
    ASSERT_STREQ("602", GetPpdKeywordValue("OutputDPI"));
    EXPECT_STREQ("601", value);
}

TEST_F(PpdKeywordTest, StatusIsResetByTheNextSearch)
{
    UsePpd(std::string(kHeader) + "no asterisk\n");
    ASSERT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    ASSERT_EQ(Error(PPD_MISSING_ASTERISK, 2), LastError());
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\n");
    ASSERT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_OK, 0), LastError());
}

TEST_F(PpdKeywordTest, LastErrorAcceptsANullLinePointer)
{
    UsePpd(std::string(kHeader) + "no asterisk\n");
    ASSERT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(PPD_MISSING_ASTERISK, GetPpdKeywordLastError(nullptr));
}

TEST_F(PpdKeywordTest, FailureReportsTheFirstPhysicalLineOfTheLogicalLine)
{
    UsePpd(std::string(kHeader) + "*Bad/Key: \"a\nb\nc\"\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_MAIN_KEYWORD, 2), LastError());
}

// ---- Line length ---------------------------------------------------------

TEST_F(PpdKeywordTest, PhysicalLineOver255CharactersFailsWithStatus14)
{
    UsePpd(std::string(kHeader) + "*Foo: 1\n*Bar: " + Repeat(250, 'x') + "\n*OutputDPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_LINE_TOO_LONG, 3), LastError());
}

TEST_F(PpdKeywordTest, PhysicalLineOf255CharactersIsAccepted)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: " + Repeat(243, '2') + "\n");
    EXPECT_STREQ(Repeat(243, '2').c_str(), GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, CommentLineOver255CharactersFailsWithStatus14)
{
    UsePpd(std::string(kHeader) + "*%" + Repeat(254, 'c') + "\n*OutputDPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_LINE_TOO_LONG, 2), LastError());
}

TEST_F(PpdKeywordTest, QuotedValueMayRunPast255CharactersOnOnePhysicalLine)
{
    UsePpd(std::string(kHeader) + "*Big: \"" + Repeat(300, 'q') + "\"\n");
    EXPECT_STREQ(Repeat(300, 'q').c_str(), GetPpdKeywordValue("Big"));
}

TEST_F(PpdKeywordTest, TextAfterClosingQuoteCountsTowardsTheLineLimit)
{
    UsePpd(std::string(kHeader) + "*Big: \"a\"" + Repeat(249, ' ') + "\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("Big"));
    EXPECT_EQ(Error(PPD_LINE_TOO_LONG, 2), LastError());
}

TEST_F(PpdKeywordTest, LogicalLineOf262143BytesIsAccepted)
{
    const std::string body = Paragraphs(kMaxLogicalLine - kQuotedLinePrefix - 1);
    UsePpd(std::string(kHeader) + "*Big: \"" + body + "\"\n");
    const char* value = GetPpdKeywordValue("Big");
    ASSERT_NE(nullptr, value);
    EXPECT_EQ(body, std::string(value));
}

TEST_F(PpdKeywordTest, QuotedValueBeyond262143BytesFailsWithStatus14)
{
    const std::string body = Paragraphs(kMaxLogicalLine - kQuotedLinePrefix);
    UsePpd(std::string(kHeader) + "*Big: \"" + body + "\"\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("Big"));
    EXPECT_EQ(Error(PPD_LINE_TOO_LONG, 2), LastError());
}

// ---- Line ends and logical lines -----------------------------------------

TEST_F(PpdKeywordTest, CrLfCountsAsOneLineEnd)
{
    UsePpd("*PPD-Adobe: \"4.3\"\r\n*Foo: 1\r\nbad\r\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_MISSING_ASTERISK, 3), LastError());
}

TEST_F(PpdKeywordTest, CrAloneCountsAsOneLineEnd)
{
    UsePpd("*PPD-Adobe: \"4.3\"\r*Foo: 1\rbad\r");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_MISSING_ASTERISK, 3), LastError());
}

TEST_F(PpdKeywordTest, BlankLinesAreSkippedAndCounted)
{
    UsePpd(std::string(kHeader) + "\n\r\n\rbad\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_MISSING_ASTERISK, 5), LastError());
}

TEST_F(PpdKeywordTest, LineEndsInsideQuotedValuesAreCounted)
{
    UsePpd(std::string(kHeader) + "*Foo: \"a\nb\r\nc\rd\"\nbad\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_MISSING_ASTERISK, 6), LastError());
}

TEST_F(PpdKeywordTest, MultiLineQuotedValueIsStoredWithLineFeeds)
{
    UsePpd(std::string(kHeader) + "*Foo: \"one\r\ntwo\rthree\nfour\"\n");
    EXPECT_STREQ("one\ntwo\nthree\nfour", GetPpdKeywordValue("Foo"));
}

TEST_F(PpdKeywordTest, TextAfterClosingQuoteIsDropped)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: \"203\" dots\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, UnterminatedQuotedValueRunsToTheEndOfTheFile)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: \"203\n*Foo: 1\n");
    EXPECT_STREQ("\"203\n*Foo: 1", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, QuoteBeforeTheColonDoesNotOpenAQuotedValue)
{
    UsePpd(std::string(kHeader) + "*Foo bar/\"Bar: 1\n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, CtrlZIsIgnored)
{
    UsePpd(std::string(kHeader) + "*Output\x1a"
                                  "DPI: 2\x1a"
                                  "03\x1a\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, CtrlZDoesNotCountTowardsTheLineLimit)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: " + Repeat(243, '2') + Repeat(10, '\x1a') + "\n");
    EXPECT_STREQ(Repeat(243, '2').c_str(), GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, CtrlZIsIgnoredInStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\x1a\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
}

// ---- Lines that are skipped ----------------------------------------------

TEST_F(PpdKeywordTest, CommentLinesAreSkipped)
{
    UsePpd(std::string(kHeader) + "*%/not a keyword: 1\n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, QuoteInCommentLineDoesNotOpenAQuotedValue)
{
    UsePpd(std::string(kHeader) + "*%note: \"open\n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, EndLineIsSkipped)
{
    UsePpd(std::string(kHeader) + "*Foo: \"a\nb\"\n*End\n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, EndKeywordIsNeverMatched)
{
    UsePpd(std::string(kHeader) + "*End: 5\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("End"));
}

TEST_F(PpdKeywordTest, WhiteSpaceOnlyLineIsSkipped)
{
    UsePpd(std::string(kHeader) + " \t \n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, LineWithoutColonIsSkipped)
{
    UsePpd(std::string(kHeader) + "*OutputDPI 300\n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, WordBetweenOptionKeywordAndColonLeavesNoValue)
{
    UsePpd(std::string(kHeader) + "*OutputDPI high res: 300\n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, LoneAsteriskIsSkippedInRelaxedMode)
{
    UsePpd(std::string(kHeader) + "*\n*OutputDPI: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

// ---- Values --------------------------------------------------------------

TEST_F(PpdKeywordTest, TrailingWhiteSpaceIsStripped)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203 \t\v\f\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, WhiteSpaceInsideQuotesIsKept)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: \" 203 \"\n");
    EXPECT_STREQ(" 203 ", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, SpacesAndTabsAfterTheColonAreSkipped)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: \t 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, FormFeedAfterTheColonIsKept)
{
    UsePpd(std::string(kHeader) + "*OutputDPI:\f203\n");
    EXPECT_STREQ("\f203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, ValueEndingInAQuoteLosesItsFirstCharacter)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: x203\"");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, EmptyValueIsEmptyText)
{
    UsePpd(std::string(kHeader) + "*OutputDPI:\n");
    EXPECT_STREQ("", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, EmptyQuotedValueIsEmptyText)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: \"\"\n");
    EXPECT_STREQ("", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, LoneQuoteValueIsEmptyText)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: \"");
    EXPECT_STREQ("", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, NulByteEndsTheValue)
{
    UsePpd(std::string(kHeader) + std::string("*OutputDPI: 203\0xyz\n", 20));
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

// ---- Missing asterisk and keyword rules ----------------------------------

TEST_F(PpdKeywordTest, LineWithoutAsteriskFailsWithStatus13)
{
    UsePpd(std::string(kHeader) + "OutputDPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_MISSING_ASTERISK, 2), LastError());
}

TEST_F(PpdKeywordTest, MainKeywordOf40CharactersIsAccepted)
{
    UsePpd(std::string(kHeader) + "*" + Repeat(40, 'K') + ": 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue(Repeat(40, 'K').c_str()));
}

TEST_F(PpdKeywordTest, MainKeywordOver40CharactersFailsWithStatus16)
{
    UsePpd(std::string(kHeader) + "*" + Repeat(41, 'K') + ": 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_MAIN_KEYWORD, 2), LastError());
}

TEST_F(PpdKeywordTest, SlashInMainKeywordFailsWithStatus16)
{
    UsePpd(std::string(kHeader) + "*Output/DPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_MAIN_KEYWORD, 2), LastError());
}

TEST_F(PpdKeywordTest, NonAsciiByteInMainKeywordFailsWithStatus16)
{
    UsePpd(std::string(kHeader) + "*Output\xe9: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_MAIN_KEYWORD, 2), LastError());
}

TEST_F(PpdKeywordTest, ControlCharacterInMainKeywordFailsWithStatus16)
{
    UsePpd(std::string(kHeader) + "*Out\x01put: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_MAIN_KEYWORD, 2), LastError());
}

TEST_F(PpdKeywordTest, NulByteInMainKeywordFailsWithStatus16)
{
    UsePpd(std::string(kHeader) + std::string("*Out\0put: 203\n", 14));
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_MAIN_KEYWORD, 2), LastError());
}

TEST_F(PpdKeywordTest, OptionKeywordOf40CharactersIsAccepted)
{
    UsePpd(std::string(kHeader) + "*OutputDPI " + Repeat(40, 'o') + "/Dots: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, OptionKeywordOver40CharactersFailsWithStatus17)
{
    UsePpd(std::string(kHeader) + "*OutputDPI " + Repeat(41, 'o') + "/Dots: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_OPTION_KEYWORD, 2), LastError());
}

TEST_F(PpdKeywordTest, NonAsciiByteInOptionKeywordFailsWithStatus17)
{
    UsePpd(std::string(kHeader) + "*OutputDPI d\xe9/Dots: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_OPTION_KEYWORD, 2), LastError());
}

// ---- Translations --------------------------------------------------------

TEST_F(PpdKeywordTest, ControlCharacterInTranslationFailsWithStatus18)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/Do\x01ts: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_ILLEGAL_TRANSLATION, 2), LastError());
}

TEST_F(PpdKeywordTest, TabInTranslationIsAccepted)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/Dots\tper inch: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, TranslationTooLongForOnePhysicalLineFailsWithStatus14)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/" + Repeat(256, 'T') + ": 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI"));
    EXPECT_EQ(Error(PPD_LINE_TOO_LONG, 2), LastError());
}

TEST(PpdLineTest, TranslationOver255CharactersFailsWithStatus18)
{
    const PpdLineResult result = ParsePpdLine("*OutputDPI dpi/" + Repeat(256, 'T') + ": 203", "OutputDPI");
    EXPECT_EQ(PpdLineKind::kFail, result.kind);
    EXPECT_EQ(PPD_ILLEGAL_TRANSLATION, result.status);
}

TEST(PpdLineTest, TranslationOf255CharactersIsAccepted)
{
    const PpdLineResult result = ParsePpdLine("*OutputDPI dpi/" + Repeat(255, 'T') + ": 203", "OutputDPI");
    EXPECT_EQ(PpdLineKind::kMatch, result.kind);
    EXPECT_EQ("203", result.value);
}

TEST(PpdLineTest, WorksetMarkerStopsTheSearch)
{
    EXPECT_EQ(PpdLineKind::kStop, ParsePpdLine("*%APLWORKSET START", "OutputDPI").kind);
}

TEST(PpdLineTest, OtherKeywordIsSkipped)
{
    EXPECT_EQ(PpdLineKind::kSkip, ParsePpdLine("*DriverLog: 1", "OutputDPI").kind);
}

TEST(PpdLineTest, NullKeywordNeverMatches)
{
    EXPECT_EQ(PpdLineKind::kSkip, ParsePpdLine("*OutputDPI: 203", nullptr).kind);
}

TEST_F(PpdKeywordTest, LongTranslationIsAcceptedInRelaxedMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/" + Repeat(82, 'T') + ": 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, TranslationOf81BytesIsAcceptedInStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/" + Repeat(81, 'T') + ": 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
}

TEST_F(PpdKeywordTest, TranslationOver81BytesFailsWithStatus18InStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/" + Repeat(82, 'T') + ": 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_TRANSLATION, 2), LastError());
}

TEST_F(PpdKeywordTest, HexRunsCountOneByteEachInStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/" + Repeat(71, 'T') + "<4142434445464748494a>: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
}

TEST_F(PpdKeywordTest, HexRunPushingTranslationPast81BytesFailsInStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/" + Repeat(72, 'T') + "<4142434445464748494A>: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_TRANSLATION, 2), LastError());
}

TEST(PpdTranslationTest, HexDigitsOfEitherCaseDecodeToBytes)
{
    EXPECT_EQ("JK", DecodePpdTranslation("<4a4B>"));
}

TEST(PpdTranslationTest, TextAroundHexRunsIsKept)
{
    EXPECT_EQ("aAb", DecodePpdTranslation("a<41>b"));
}

TEST(PpdTranslationTest, LessThanWithoutHexDigitIsKept)
{
    EXPECT_EQ("<x>", DecodePpdTranslation("<x>"));
}

TEST(PpdTranslationTest, SpacesInsideHexRunAreIgnored)
{
    EXPECT_EQ("AB", DecodePpdTranslation("<41 42>"));
}

TEST(PpdTranslationTest, LoneLastHexDigitIsTheHighHalfOfAByte)
{
    EXPECT_EQ("A@", DecodePpdTranslation("<414>"));
}

TEST(PpdTranslationTest, UnterminatedHexRunEndsWithTheText)
{
    EXPECT_EQ("A", DecodePpdTranslation("<41"));
}

TEST(PpdTranslationTest, HexRunMayDecodeToNul)
{
    EXPECT_EQ(std::string("\0z", 2), DecodePpdTranslation("<00>z"));
}

// ---- Strict conformance --------------------------------------------------

TEST_F(PpdKeywordTest, StrictModeReadsAWellFormedFile)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/Dots: \"203\"\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
}

TEST_F(PpdKeywordTest, ControlCharacterFailsWithStatus15InStrictMode)
{
    UsePpd(std::string(kHeader) + "*Foo: a\x01"
                                  "b\n*OutputDPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_CHARACTER, 2), LastError());
}

TEST_F(PpdKeywordTest, ControlCharacterIsKeptInRelaxedMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 2\x01"
                                  "03\n");
    EXPECT_STREQ("2\x01"
                 "03",
                 GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, ControlCharacterInQuotedValueFailsWithStatus15InStrictMode)
{
    UsePpd(std::string(kHeader) + "*Foo: \"a\nb\x02"
                                  "c\"\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_CHARACTER, 2), LastError());
}

TEST_F(PpdKeywordTest, ControlCharacterInTranslationFailsWithStatus15InStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi/Do\x01ts: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_CHARACTER, 2), LastError());
}

TEST_F(PpdKeywordTest, DeleteIsAControlCharacterInStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\x7f\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_CHARACTER, 2), LastError());
}

TEST_F(PpdKeywordTest, TabIsAcceptedInStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI:\t203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
}

TEST_F(PpdKeywordTest, LoneAsteriskFailsWithStatus16InStrictMode)
{
    UsePpd(std::string(kHeader) + "*\n*OutputDPI: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_MAIN_KEYWORD, 2), LastError());
}

TEST_F(PpdKeywordTest, WhiteSpaceAfterOptionKeywordFailsWithStatus19InStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi /Dots: 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_WHITESPACE, 2), LastError());
}

TEST_F(PpdKeywordTest, WhiteSpaceAfterOptionKeywordIsAcceptedInRelaxedMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI dpi /Dots: 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, WhiteSpaceBeforeColonFailsWithStatus19InStrictMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI : 203\n");
    EXPECT_EQ(nullptr, GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
    EXPECT_EQ(Error(PPD_ILLEGAL_WHITESPACE, 2), LastError());
}

TEST_F(PpdKeywordTest, WhiteSpaceBeforeColonIsAcceptedInRelaxedMode)
{
    UsePpd(std::string(kHeader) + "*OutputDPI : 203\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI"));
}

TEST_F(PpdKeywordTest, ControlCharacterFailsInStrictModeOnlyWhenRead)
{
    UsePpd(std::string(kHeader) + "*OutputDPI: 203\n*Foo: a\x01"
                                  "b\n");
    EXPECT_STREQ("203", GetPpdKeywordValue("OutputDPI", PPD_CONFORM_STRICT));
}

// ---- White space test ----------------------------------------------------

TEST(CupsIsSpaceTest, SpaceIsWhiteSpace)
{
    EXPECT_EQ(1, _cups_isspace(' '));
}

TEST(CupsIsSpaceTest, TabIsWhiteSpace)
{
    EXPECT_EQ(1, _cups_isspace('\t'));
}

TEST(CupsIsSpaceTest, LineFeedIsWhiteSpace)
{
    EXPECT_EQ(1, _cups_isspace('\n'));
}

TEST(CupsIsSpaceTest, VerticalTabIsWhiteSpace)
{
    EXPECT_EQ(1, _cups_isspace('\v'));
}

TEST(CupsIsSpaceTest, FormFeedIsWhiteSpace)
{
    EXPECT_EQ(1, _cups_isspace('\f'));
}

TEST(CupsIsSpaceTest, CarriageReturnIsWhiteSpace)
{
    EXPECT_EQ(1, _cups_isspace('\r'));
}

TEST(CupsIsSpaceTest, NoOtherByteIsWhiteSpace)
{
    const std::string kSpaces = " \t\n\v\f\r";
    constexpr int kByteValues = 256;
    for (int ch = 0; ch < kByteValues; ++ch) {
        if (kSpaces.find(static_cast<char>(ch)) != std::string::npos)
            continue;
        EXPECT_EQ(0, _cups_isspace(ch)) << "byte " << ch;
    }
}

TEST(CupsIsSpaceTest, EndOfFileIsNotWhiteSpace)
{
    EXPECT_EQ(0, _cups_isspace(EOF));
}

}  // namespace
