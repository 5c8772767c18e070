// More facts about the logger's configuration text: how section names,
// booleans, levels and numbers are read, what counts as a comment, how a
// later text relates to an earlier one, and the once-only configuration file.
#include <gtest/gtest.h>

#include <string>

#include "log_test_helpers.h"

using namespace logtest;

namespace {

class LogConfigRules : public ConfigTest {};

}  // namespace

// ---- section names ----------------------------------------------------------

TEST_F(LogConfigRules, MainSectionInAnyCaseContinuesOneSection)
{
    LoggerSnapshot s = apply("[main]\nname=first\nlevel=warn\n[MAIN]\nname=second\n");
    EXPECT_EQ("second", s.strName);
    EXPECT_EQ(LOG_WARN, s.nLevel);
}

TEST_F(LogConfigRules, MixedCaseMainSectionConfiguresLoggerZero)
{
    EXPECT_EQ("mixed", apply("[mAiN]\nname=mixed\n").strName);
    EXPECT_EQ(-1, mgr.findLogger("mAiN"));
}

TEST_F(LogConfigRules, SectionBracketsAreStrippedAsASet)
{
    apply("[[Label]]\nname=doubled\n");
    EXPECT_EQ(1, mgr.findLogger("Label"));
    EXPECT_EQ("doubled", snapshotOf(mgr, 1).strName);
}

TEST_F(LogConfigRules, SectionWithoutClosingBracketIsStillASection)
{
    apply("[Label\nname=open\n");
    EXPECT_EQ(1, mgr.findLogger("Label"));
    EXPECT_EQ("open", snapshotOf(mgr, 1).strName);
}

TEST_F(LogConfigRules, SectionInALaterTextStartsAgainFromTheDefaults)
{
    apply("[Label]\nlevel=error\nname=kept\n");
    LoggerSnapshot s = apply("[Label]\npath=/later\n", 1);
    EXPECT_EQ(LOG_DEBUG, s.nLevel);
    EXPECT_EQ("Label", s.strName);
    EXPECT_EQ("/later", s.strPath);
}

TEST_F(LogConfigRules, LoggerNotNamedInALaterTextKeepsItsSettings)
{
    apply("[Label]\nlevel=error\n");
    apply("[Main]\nname=other\n");
    EXPECT_EQ(LOG_ERROR, snapshotOf(mgr, 1).nLevel);
}

// ---- comments ---------------------------------------------------------------

TEST_F(LogConfigRules, CommentedSectionOpensNoSection)
{
    apply("#[Label]\n#name=hidden\n");
    EXPECT_EQ(-1, mgr.findLogger("Label"));
}

TEST_F(LogConfigRules, HashInsideAValueIsPartOfTheValue)
{
    EXPECT_EQ("a#b", apply("[Main]\nname=a#b\n").strName);
}

TEST_F(LogConfigRules, HashAfterAKeyIsNoComment)
{
    EXPECT_EQ("/dir #note", apply("[Main]\npath=/dir #note\n").strPath);
}

// ---- keys -------------------------------------------------------------------

TEST_F(LogConfigRules, KeyWithExtraCharactersIsUnknown)
{
    LoggerSnapshot s = apply("[Main]\nnames=x\nlevels=error\npath_=/x\n");
    EXPECT_EQ("Main", s.strName);
    EXPECT_EQ(LOG_DEBUG, s.nLevel);
    EXPECT_EQ("./log/", s.strPath);
}

TEST_F(LogConfigRules, UnknownKeyInANewSectionStillCreatesItsLogger)
{
    apply("[Label]\ncolour=red\n");
    EXPECT_EQ(1, mgr.findLogger("Label"));
}

TEST_F(LogConfigRules, MixedCaseKeyIsKnown)
{
    EXPECT_EQ(LOG_ALARM, apply("[Main]\nLeVeL=alarm\n").nLevel);
}

TEST_F(LogConfigRules, EmptyValueSetsAnEmptyName)
{
    EXPECT_EQ("", apply("[Main]\nname=\n").strName);
}

// ---- levels -----------------------------------------------------------------

TEST_F(LogConfigRules, LevelNumberIsNoLevelWord)
{
    EXPECT_EQ(LOG_ERROR, apply("[Main]\nlevel=error\nlevel=2\n").nLevel);
}

TEST_F(LogConfigRules, EmptyLevelLeavesTheLevelAsItWas)
{
    EXPECT_EQ(LOG_ERROR, apply("[Main]\nlevel=error\nlevel=\n").nLevel);
}

TEST_F(LogConfigRules, UnknownLevelInANewSectionKeepsTheDefault)
{
    EXPECT_EQ(LOG_DEBUG, apply("[Label]\nlevel=verbose\n", 1).nLevel);
}

TEST_F(LogConfigRules, LevelWordIsTrimmedAndLowerCased)
{
    EXPECT_EQ(LOG_FATAL, apply("[Main]\nlevel =  FaTaL \t\n").nLevel);
}

// ---- numbers ----------------------------------------------------------------

TEST_F(LogConfigRules, LimitsizeStopsAtTheFirstNonDigit)
{
    EXPECT_EQ(12u, apply("[Main]\nlimitsize=12MB\n").dwLimitSize);
}

TEST_F(LogConfigRules, LimitsizeWithoutDigitsIsZero)
{
    EXPECT_EQ(0u, apply("[Main]\nlimitsize=big\n").dwLimitSize);
}

TEST_F(LogConfigRules, ReserveStopsAtTheFirstNonDigit)
{
    EXPECT_EQ(60, apply("[Main]\nreserve=60s\n").dwReserveTime);
}

TEST_F(LogConfigRules, ReserveWithLeadingZeroIsStillDecimal)
{
    EXPECT_EQ(10, apply("[Main]\nreserve=010\n").dwReserveTime);
}

// ---- booleans ---------------------------------------------------------------

namespace {

// One boolean key, one value, and what the flag must read afterwards.
struct BooleanCase {
    const char* key;
    const char* value;
    bool expected;
    const char* name;  // the case's name in test output
};

void PrintTo(const BooleanCase& c, std::ostream* os)
{
    *os << c.key << "=" << c.value;
}

// Returns the flag that key sets in a snapshot.
bool flagOf(const LoggerSnapshot& s, const std::string& key)
{
    if (key == "display") {
        return s.bDisplay;
    }
    if (key == "outfile") {
        return s.bOutFile;
    }
    if (key == "monthdir") {
        return s.bMonthDir;
    }
    if (key == "fileline") {
        return s.bFileLine;
    }
    return s.bEnable;
}

class LogConfigBoolean : public ::testing::TestWithParam<BooleanCase> {};

}  // namespace

// The flag is first set to the opposite of the expected value, so each case
// shows the value switching it.
TEST_P(LogConfigBoolean, ValueSwitchesTheFlag)
{
    const BooleanCase& c = GetParam();
    const std::string key = c.key;
    LogerManager mgr;
    mgr.configFromString(
        ("[Main]\n" + key + "=" + (c.expected ? "false" : "true") + "\n" + key + "=" + c.value + "\n").c_str());
    EXPECT_EQ(c.expected, flagOf(snapshotOf(mgr, 0), key));
}

INSTANTIATE_TEST_SUITE_P(BooleanValues, LogConfigBoolean,
                         ::testing::Values(BooleanCase{"display", "False", false, "DisplayMixedCaseFalseIsOff"},
                                           BooleanCase{"display", " 0 ", false, "DisplayZeroWithBlanksIsOff"},
                                           BooleanCase{"display", "off", true, "DisplayOffIsOn"},
                                           BooleanCase{"display", "00", true, "DisplayDoubleZeroIsOn"},
                                           BooleanCase{"display", "", true, "DisplayEmptyIsOn"},
                                           BooleanCase{"outfile", "FALSE", false, "OutfileUpperCaseFalseIsOff"},
                                           BooleanCase{"outfile", "0", false, "OutfileZeroIsOff"},
                                           BooleanCase{"outfile", "no", true, "OutfileNoIsOn"},
                                           BooleanCase{"outfile", "TRUE", true, "OutfileUpperCaseTrueIsOn"},
                                           BooleanCase{"monthdir", "FALSE", false, "MonthdirUpperCaseFalseIsOff"},
                                           BooleanCase{"monthdir", "0", false, "MonthdirZeroIsOff"},
                                           BooleanCase{"monthdir", "1", true, "MonthdirOneIsOn"},
                                           BooleanCase{"monthdir", "no", true, "MonthdirNoIsOn"},
                                           BooleanCase{"fileline", "FALSE", false, "FilelineUpperCaseFalseIsOff"},
                                           BooleanCase{"fileline", "false", false, "FilelineFalseIsOff"},
                                           BooleanCase{"fileline", "no", true, "FilelineNoIsOn"},
                                           BooleanCase{"fileline", "-1", true, "FilelineMinusOneIsOn"},
                                           BooleanCase{"enable", "FALSE", false, "EnableUpperCaseFalseIsOff"},
                                           BooleanCase{"enable", "0", false, "EnableZeroIsOff"},
                                           BooleanCase{"enable", "no", true, "EnableNoIsOn"},
                                           BooleanCase{"enable", "yes", true, "EnableYesIsOn"}),
                         [](const ::testing::TestParamInfo<BooleanCase>& info) {
                             return std::string(info.param.name);
                         });

// ---- the configuration file -------------------------------------------------

TEST_F(LogConfigRules, ConfigAfterAnUnreadableFileIsStillRefused)
{
    WriteFile(dir.File("good.cfg"), "[Main]\nname=good\n");
    ASSERT_FALSE(mgr.config(dir.File("missing.cfg").c_str()));
    EXPECT_FALSE(mgr.config(dir.File("good.cfg").c_str()));
    EXPECT_EQ("Main", snapshotOf(mgr, 0).strName);
}

TEST_F(LogConfigRules, SecondConfigKeepsTheFirstPathForUpdates)
{
    WriteFile(dir.File("one.cfg"), "[Main]\nname=one\n");
    WriteFile(dir.File("two.cfg"), "[Main]\nname=two\n");
    ASSERT_TRUE(mgr.config(dir.File("one.cfg").c_str()));
    ASSERT_FALSE(mgr.config(dir.File("two.cfg").c_str()));
    WriteFile(dir.File("one.cfg"), "[Main]\nname=one again\n");
    ASSERT_TRUE(mgr.updateConfig());
    EXPECT_EQ("one again", snapshotOf(mgr, 0).strName);
}

TEST_F(LogConfigRules, ConfigFromStringLeavesTheConfigFileAvailable)
{
    WriteFile(dir.File("log.cfg"), "[Main]\nname=from file\n");
    ASSERT_TRUE(mgr.configFromString("[Main]\nname=from text\n"));
    EXPECT_TRUE(mgr.config(dir.File("log.cfg").c_str()));
    EXPECT_EQ("from file", snapshotOf(mgr, 0).strName);
}

TEST_F(LogConfigRules, ConfigFromStringMayBeRepeated)
{
    ASSERT_TRUE(mgr.configFromString("[Main]\nname=first\n"));
    EXPECT_TRUE(mgr.configFromString("[Main]\nname=second\n"));
    EXPECT_EQ("second", snapshotOf(mgr, 0).strName);
}
