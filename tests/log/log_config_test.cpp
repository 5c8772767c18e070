// Tests of the logger's configuration text: sections, keys, values, comments,
// the configuration file and its re-reading.
#include <gtest/gtest.h>

#include <string>

#include "log_test_helpers.h"

using namespace logtest;

namespace {

class LogConfig : public ConfigTest {};

}  // namespace

// ---- sections -----------------------------------------------------------

TEST_F(LogConfig, UpperCaseMainSectionConfiguresLoggerZero)
{
    EXPECT_EQ("upper", apply("[MAIN]\nname=upper\n").strName);
    EXPECT_EQ(-1, mgr.findLogger("MAIN"));
}

TEST_F(LogConfig, LowerCaseMainSectionConfiguresLoggerZero)
{
    EXPECT_EQ("lower", apply("[main]\nname=lower\n").strName);
    EXPECT_EQ(-1, mgr.findLogger("main"));
}

TEST_F(LogConfig, SectionsDifferingInCaseAreTwoLoggers)
{
    apply("[Label]\nname=upper\n[label]\nname=lower\n");
    EXPECT_EQ(1, mgr.findLogger("Label"));
    EXPECT_EQ(2, mgr.findLogger("label"));
    EXPECT_EQ("upper", snapshotOf(mgr, 1).strName);
    EXPECT_EQ("lower", snapshotOf(mgr, 2).strName);
}

TEST_F(LogConfig, NewSectionCreatesAnEnabledLogger)
{
    apply("[Label]\n");
    EXPECT_EQ(1, mgr.findLogger("Label"));
    EXPECT_TRUE(mgr.isLoggerEnable(1));
}

TEST_F(LogConfig, OpenedSectionStartsFromTheDefaults)
{
    LoggerSnapshot s = apply("[Label]\n", 1);
    EXPECT_EQ("Label", s.strName);
    EXPECT_EQ("./log/", s.strPath);
    EXPECT_EQ(LOG_DEBUG, s.nLevel);
    EXPECT_TRUE(s.bDisplay);
    EXPECT_TRUE(s.bOutFile);
    EXPECT_FALSE(s.bMonthDir);
    EXPECT_EQ(100u, s.dwLimitSize);
    EXPECT_TRUE(s.bEnable);
    EXPECT_TRUE(s.bFileLine);
    EXPECT_EQ(0, s.dwReserveTime);
}

TEST_F(LogConfig, OpenedMainSectionResetsWhatItDoesNotSet)
{
    mgr.setLoggerPath(0, "/elsewhere");
    mgr.setLoggerLevel(0, LOG_FATAL);
    LoggerSnapshot s = apply("[Main]\nname=n\n");
    EXPECT_EQ("./log/", s.strPath);
    EXPECT_EQ(LOG_DEBUG, s.nLevel);
}

TEST_F(LogConfig, RepeatedSectionContinuesItsEarlierSettings)
{
    LoggerSnapshot s = apply("[Label]\nname=first\nlevel=warn\n[Main]\n[Label]\nlevel=info\n", 1);
    EXPECT_EQ("first", s.strName);
    EXPECT_EQ(LOG_INFO, s.nLevel);
}

TEST_F(LogConfig, LaterLineOverwritesAnEarlierOne)
{
    EXPECT_EQ("second", apply("[Main]\nname=first\nname=second\n").strName);
}

TEST_F(LogConfig, SectionKeyKeepsItsCase)
{
    apply("[MixedCase]\n");
    EXPECT_EQ("MixedCase", snapshotOf(mgr, 1).strKey);
}

TEST_F(LogConfig, SectionsBeyondTwentyLoggersAreSkipped)
{
    std::string text;
    for (int i = 1; i <= 20; ++i) {
        text += "[L" + std::to_string(i) + "]\nname=n" + std::to_string(i) + "\n";
    }
    apply(text);
    EXPECT_EQ(19, mgr.findLogger("L19"));
    EXPECT_EQ(-1, mgr.findLogger("L20"));
}

TEST_F(LogConfig, PairsBeforeAnySectionAreIgnored)
{
    EXPECT_EQ("Main", apply("name=orphan\n[Main]\n").strName);
}

// ---- lines ----------------------------------------------------------------

TEST_F(LogConfig, CommentLinesAreIgnored)
{
    EXPECT_EQ("kept", apply("[Main]\nname=kept\n#name=hidden\n   # name=hidden too\n").strName);
}

TEST_F(LogConfig, LinesWithoutEqualsAreIgnored)
{
    EXPECT_EQ("kept", apply("[Main]\nname=kept\nname hidden\nlevel\n").strName);
}

TEST_F(LogConfig, EmptyAndBlankLinesAreSkipped)
{
    EXPECT_EQ("kept", apply("\n\n[Main]\n \t \n\nname=kept\n\n").strName);
}

TEST_F(LogConfig, CarriageReturnLineEndsAreAccepted)
{
    EXPECT_EQ("crlf", apply("[Main]\r\nname=crlf\r\n").strName);
}

TEST_F(LogConfig, LastLineNeedsNoLineFeed)
{
    EXPECT_EQ("end", apply("[Main]\nname=end").strName);
}

TEST_F(LogConfig, KeyAndValueAreTrimmed)
{
    EXPECT_EQ("spaced", apply("[Main]\n  name \t=   spaced  \n").strName);
}

TEST_F(LogConfig, LineSplitsAtTheFirstEquals)
{
    EXPECT_EQ("/a=b", apply("[Main]\npath=/a=b\n").strPath);
}

TEST_F(LogConfig, KeysAreCaseInsensitive)
{
    EXPECT_EQ("shout", apply("[Main]\nNAME=shout\n").strName);
}

TEST_F(LogConfig, PathAndNameKeepTheirCase)
{
    LoggerSnapshot s = apply("[Main]\nname=MixedName\npath=/Some/Dir\n");
    EXPECT_EQ("MixedName", s.strName);
    EXPECT_EQ("/Some/Dir", s.strPath);
}

TEST_F(LogConfig, UnknownKeysAreIgnored)
{
    LoggerSnapshot s = apply("[Main]\ncolour=red\nname=known\n");
    EXPECT_EQ("known", s.strName);
    EXPECT_EQ(LOG_DEBUG, s.nLevel);
}

TEST_F(LogConfig, NullTextIsRefused)
{
    EXPECT_FALSE(mgr.configFromString(nullptr));
}

TEST_F(LogConfig, EmptyTextChangesNothing)
{
    mgr.setLoggerName(0, "untouched");
    EXPECT_EQ("untouched", apply("").strName);
}

// ---- values ---------------------------------------------------------------

TEST_F(LogConfig, DisplayUpperCaseFalseSwitchesDisplayOff)
{
    EXPECT_FALSE(apply("[Main]\ndisplay = FALSE\n").bDisplay);
}

TEST_F(LogConfig, DisplayZeroSwitchesDisplayOff)
{
    EXPECT_FALSE(apply("[Main]\ndisplay=0\n").bDisplay);
}

TEST_F(LogConfig, DisplayNoSwitchesDisplayOn)
{
    EXPECT_TRUE(apply("[Main]\ndisplay=false\ndisplay=no\n").bDisplay);
}

TEST_F(LogConfig, OutfileFalseSwitchesFileOutputOff)
{
    EXPECT_FALSE(apply("[Main]\noutfile=false\n").bOutFile);
}

TEST_F(LogConfig, MonthdirTrueKeepsFilesByMonth)
{
    EXPECT_TRUE(apply("[Main]\nmonthdir=true\n").bMonthDir);
}

TEST_F(LogConfig, FilelineZeroDropsFileAndLine)
{
    EXPECT_FALSE(apply("[Main]\nfileline=0\n").bFileLine);
}

TEST_F(LogConfig, EnableFalseSwitchesTheLoggerOff)
{
    apply("[Label]\nenable=false\n");
    EXPECT_FALSE(mgr.isLoggerEnable(1));
}

TEST_F(LogConfig, LimitsizeIsDecimalMegabytes)
{
    EXPECT_EQ(25u, apply("[Main]\nlimitsize=25\n").dwLimitSize);
}

TEST_F(LogConfig, LimitsizeWithLeadingZeroIsStillDecimal)
{
    EXPECT_EQ(10u, apply("[Main]\nlimitsize=010\n").dwLimitSize);
}

TEST_F(LogConfig, ReserveIsDecimalSeconds)
{
    EXPECT_EQ(3600, apply("[Main]\nreserve=3600\n").dwReserveTime);
}

TEST_F(LogConfig, LevelVerboseLeavesTheLevelAsItWas)
{
    EXPECT_EQ(LOG_ERROR, apply("[Main]\nlevel=error\nlevel=verbose\n").nLevel);
}

TEST_F(LogConfig, LevelWordIsCaseInsensitive)
{
    EXPECT_EQ(LOG_WARN, apply("[Main]\nlevel=WARN\n").nLevel);
}

namespace {

struct LevelWordCase {
    const char* word;
    int level;
};

// Names a case by its word in test output.
void PrintTo(const LevelWordCase& c, std::ostream* os)
{
    *os << c.word;
}

class LogConfigLevelWord : public ::testing::TestWithParam<LevelWordCase> {};

}  // namespace

TEST_P(LogConfigLevelWord, SetsItsLevel)
{
    LogerManager mgr;
    mgr.setLoggerLevel(0, LOG_FATAL);
    mgr.configFromString((std::string("[Main]\nlevel=") + GetParam().word + "\n").c_str());
    EXPECT_EQ(GetParam().level, snapshotOf(mgr, 0).nLevel);
}

INSTANTIATE_TEST_SUITE_P(Words, LogConfigLevelWord,
                         ::testing::Values(LevelWordCase{"trace", LOG_TRACE}, LevelWordCase{"all", LOG_TRACE},
                                           LevelWordCase{"debug", LOG_DEBUG}, LevelWordCase{"info", LOG_INFO},
                                           LevelWordCase{"warn", LOG_WARN}, LevelWordCase{"warning", LOG_WARN},
                                           LevelWordCase{"error", LOG_ERROR}, LevelWordCase{"alarm", LOG_ALARM},
                                           LevelWordCase{"fatal", LOG_FATAL}),
                         [](const ::testing::TestParamInfo<LevelWordCase>& info) {
                             return std::string(info.param.word);
                         });

// ---- the configuration file ----------------------------------------------

TEST_F(LogConfig, ConfigReadsTheFile)
{
    WriteFile(dir.File("log.cfg"), "[Label]\npath=/from/file\n");
    EXPECT_TRUE(mgr.config(dir.File("log.cfg").c_str()));
    EXPECT_EQ("/from/file", snapshotOf(mgr, mgr.findLogger("Label")).strPath);
}

TEST_F(LogConfig, SecondConfigReturnsFalseAndChangesNothing)
{
    WriteFile(dir.File("one.cfg"), "[Main]\nname=one\n");
    WriteFile(dir.File("two.cfg"), "[Main]\nname=two\n[Label]\n");
    ASSERT_TRUE(mgr.config(dir.File("one.cfg").c_str()));
    EXPECT_FALSE(mgr.config(dir.File("two.cfg").c_str()));
    EXPECT_EQ("one", snapshotOf(mgr, 0).strName);
    EXPECT_EQ(-1, mgr.findLogger("Label"));
}

TEST_F(LogConfig, UnreadableConfigFileReturnsFalse)
{
    EXPECT_FALSE(mgr.config(dir.File("missing.cfg").c_str()));
}

TEST_F(LogConfig, NullConfigPathReturnsFalse)
{
    EXPECT_FALSE(mgr.config(nullptr));
}

TEST_F(LogConfig, UpdateConfigWithoutAPathReturnsFalse)
{
    EXPECT_FALSE(mgr.updateConfig());
}

TEST_F(LogConfig, UpdateConfigOfAVanishedFileReturnsFalse)
{
    WriteFile(dir.File("log.cfg"), "[Main]\n");
    ASSERT_TRUE(mgr.config(dir.File("log.cfg").c_str()));
    remove(dir.File("log.cfg").c_str());
    EXPECT_FALSE(mgr.updateConfig());
}

TEST_F(LogConfig, UpdateConfigReappliesTheFileToAnExistingLogger)
{
    WriteFile(dir.File("log.cfg"), "[Label]\npath=/first\n");
    ASSERT_TRUE(mgr.config(dir.File("log.cfg").c_str()));
    WriteFile(dir.File("log.cfg"), "[Label]\npath=/second\nlevel=error\n");
    EXPECT_TRUE(mgr.updateConfig());
    LoggerSnapshot s = snapshotOf(mgr, 1);
    EXPECT_EQ("/second", s.strPath);
    EXPECT_EQ(LOG_ERROR, s.nLevel);
    EXPECT_EQ(1, mgr.findLogger("Label"));
}

TEST_F(LogConfig, UpdateConfigWhileRunningMovesTheLoggerToItsNewPath)
{
    WriteFile(dir.File("log.cfg"), "[Main]\npath=" + dir.File("first") + "\n");
    ASSERT_TRUE(mgr.config(dir.File("log.cfg").c_str()));
    ASSERT_TRUE(mgr.start());
    WriteFile(dir.File("log.cfg"), "[Main]\npath=" + dir.File("second") + "\n");
    unsigned long long pushed = mgr.getStatusTotalPushQueue();
    ASSERT_TRUE(mgr.updateConfig());
    EXPECT_LT(pushed, mgr.getStatusTotalPushQueue());
    ASSERT_TRUE(mgr.stop());
    ASSERT_TRUE(mgr.start());
    EXPECT_TRUE(FileExists(dir.File("second/Main.log")));
}

TEST_F(LogConfig, AutoUpdateRereadsTheFileOnItsInterval)
{
    WriteFile(dir.File("log.cfg"), "[Main]\npath=" + dir.Path() + "\nlevel=debug\n");
    ASSERT_TRUE(mgr.config(dir.File("log.cfg").c_str()));
    mgr.setAutoUpdate(1);
    ASSERT_TRUE(mgr.start());
    WriteFile(dir.File("log.cfg"), "[Main]\npath=" + dir.Path() + "\nlevel=error\n");
    // The worker re-reads once more than one second has passed; allow it ten.
    for (int i = 0; i < 200 && snapshotOf(mgr, 0).nLevel != LOG_ERROR; ++i) {
        usleep(50 * 1000);
    }
    EXPECT_EQ(LOG_ERROR, snapshotOf(mgr, 0).nLevel);
}
