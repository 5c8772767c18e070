// The shipped PPD files: generated, conforming, complete for the filter, and
// safe: every choice a user can pick keeps the raster request intact and
// keeps the filter out of its endless cutter loop.
#include <cups/ppd.h>
#include <cups/raster.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <strings.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "CommandRunner.h"
#include "DriverOptions.h"
#include "GetPpdSelfOption.h"
#include "InitalizeOemCfg.h"
#include "PpdGenerator.h"
#include "PpdWriter.h"
#include "RecordUnits.h"
#include "TempDir.h"
#include "TestFiles.h"

// The job records are packed: a member that may sit at an unaligned address
// is copied into a local before EXPECT_EQ, which binds its arguments to
// references.

namespace {

const std::string kPpdDir = KV_PPD_DIR;
constexpr double kPointsPerInch = 72.0;
// The filter sends the cut position "f" only for 70..130 dots.
constexpr int kLowestCutDots = 70;
constexpr int kHighestCutDots = 130;
// The filter's value for "leave it to the printer" (density and speed).
constexpr int kPrinterDefault = 1000;

// Every option keyword the filter's configuration reads, and "DriverLog".
const std::vector<std::string> kFilterKeywords = kvtest::FilterOptionKeywords();

// An open PPD file with its defaults marked; closed at destruction.
class Ppd {
public:
    explicit Ppd(const std::string& path) : m_path(path), m_ppd(ppdOpenFile(path.c_str()))
    {
        if (m_ppd)
            ppdMarkDefaults(m_ppd);
    }
    ~Ppd()
    {
        if (m_ppd)
            ppdClose(m_ppd);
    }
    Ppd(const Ppd&) = delete;
    Ppd& operator=(const Ppd&) = delete;
    ppd_file_t* get() const { return m_ppd; }
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
    ppd_file_t* m_ppd;
};

// The configuration record the filter builds from `ppd` (its marked
// choices) and, for "OutputDPI", from the file at `path`.
tagOEMCFG Configuration(ppd_file_t* ppd, const std::string& path)
{
    setenv("PPD", path.c_str(), 1);
    tagOEMCFG cfg;
    std::memset(&cfg, 0, sizeof cfg);
    cups_page_header2_t header;
    std::memset(&header, 0, sizeof header);
    InitalizeOemCfg(&cfg, ppd, &header);
    return cfg;
}

// The raster page header that the spooler's rasterizers derive from the
// marked choices; `status` receives cupsRasterInterpretPPD's result.
cups_page_header2_t RasterHeader(ppd_file_t* ppd, int& status)
{
    cups_page_header2_t header;
    std::memset(&header, 0, sizeof header);
    status = cupsRasterInterpretPPD(&header, ppd, 0, nullptr, nullptr);
    return header;
}

using kvunits::TenthsToDots;

std::vector<std::string> ChoiceTexts(ppd_option_t* option)
{
    std::vector<std::string> texts;
    for (int i = 0; i < option->num_choices; ++i)
        texts.push_back(option->choices[i].text);
    return texts;
}

// Path of a model's PPD file in the source tree.
std::string PathOf(const kvppd::PpdModel& model)
{
    return kPpdDir + "/" + model.fileName;
}

// The shipped models, expected to be the four of them (2 and 4 inches at 203
// and 300 dpi): a model dropped from the table then fails every test that
// walks it, instead of leaving that test fewer files to pass on.
const std::vector<kvppd::PpdModel>& ShippedModels()
{
    const std::vector<kvppd::PpdModel>& models = kvppd::PpdModels();
    EXPECT_EQ(models.size(), 4u);
    return models;
}

TEST(ShippedPpd, IsWhatTheGeneratorWrites)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        EXPECT_EQ(kvtest::ReadFile(path), kvppd::PpdText(model));
    }
}

TEST(ShippedPpd, PassesCupstestppdWithoutErrorsOrWarnings)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        // cupstestppd checks that the named filter exists below the server's
        // folder; a private root holding the built filter stands in for an
        // installed one.
        kvtest::TempDir root;
        std::string filterDir = root.Path() + KV_CUPS_SERVERBIN + "/filter";
        std::filesystem::create_directories(filterDir);
        ASSERT_EQ(symlink(KV_FILTER_BINARY, (filterDir + "/rastertokivcp").c_str()), 0);
        kvtool::CommandResult r = kvtool::RunCommand({KV_CUPSTESTPPD, "-R", root.Path(), path});
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out, path + ": PASS\n");
    }
}

TEST(ShippedPpd, OffersEveryOptionTheFilterReads)
{
    ASSERT_EQ(kFilterKeywords.size(), 33u);
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        for (const std::string& keyword : kFilterKeywords)
            EXPECT_NE(ppdFindOption(ppd.get(), keyword.c_str()), nullptr) << keyword;
    }
}

TEST(ShippedPpd, NamesRastertokivcpAsItsFilter)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ASSERT_EQ(ppd.get()->num_filters, 1);
        EXPECT_STREQ(ppd.get()->filters[0], "application/vnd.cups-raster 0 rastertokivcp");
    }
}

TEST(ShippedPpd, OutputDpiEqualsTheResolution)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        tagOEMCFG cfg = Configuration(ppd.get(), path);
        const auto sOutputXDPI = cfg.sOutputXDPI;
        EXPECT_EQ(sOutputXDPI, model.dpi);
        const auto sOutputYDPI = cfg.sOutputYDPI;
        EXPECT_EQ(sOutputYDPI, model.dpi);
    }
}

// Expects `h` to ask for 24-bit chunky RGB raster at `dpi` in both directions.
void ExpectRgbRasterAt(const cups_page_header2_t& h, int dpi)
{
    EXPECT_EQ(h.HWResolution[0], static_cast<unsigned>(dpi));
    EXPECT_EQ(h.HWResolution[1], static_cast<unsigned>(dpi));
    EXPECT_EQ(h.cupsColorSpace, CUPS_CSPACE_RGB);
    EXPECT_EQ(h.cupsBitsPerColor, 8u);
    EXPECT_EQ(h.cupsBitsPerPixel, 24u);
    EXPECT_EQ(h.cupsColorOrder, CUPS_ORDER_CHUNKED);
}

TEST(ShippedPpd, RequestsRgbRasterOf24BitsAtTheDefaultResolution)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        Ppd ppd(PathOf(model));
        ASSERT_NE(ppd.get(), nullptr);
        int status = -1;
        cups_page_header2_t h = RasterHeader(ppd.get(), status);
        ASSERT_EQ(status, 0);
        ExpectRgbRasterAt(h, model.dpi * model.defaultSupersampling);
    }
}

TEST(ShippedPpd, EveryResolutionChoiceRequestsRgbRasterAtItsResolution)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        Ppd ppd(PathOf(model));
        ASSERT_NE(ppd.get(), nullptr);
        for (int dpi : kvppd::RasterResolutions(model)) {
            SCOPED_TRACE(model.fileName + " " + std::to_string(dpi));
            ppdMarkDefaults(ppd.get());
            ppdMarkOption(ppd.get(), "Resolution", (std::to_string(dpi) + "dpi").c_str());
            int status = -1;
            cups_page_header2_t h = RasterHeader(ppd.get(), status);
            ASSERT_EQ(status, 0);
            ExpectRgbRasterAt(h, dpi);
        }
    }
}

TEST(ShippedPpd, ResolutionChoicesAreThePrintersOwnAndItsWholeMultiples)
{
    const std::vector<int> twoHundred = {203, 406, 609};
    const std::vector<int> threeHundred = {300, 600};
    ASSERT_EQ(kvppd::PpdModels().size(), 4u);
    for (const kvppd::PpdModel& model : kvppd::PpdModels())
        EXPECT_EQ(kvppd::RasterResolutions(model), model.dpi == 203 ? twoHundred : threeHundred) << model.fileName;
}

TEST(ShippedPpd, ResolutionChoiceTextsSayWhatEachIsFor)
{
    Ppd low(kPpdDir + "/kivcp-epl2-203dpi-4in.ppd");
    ASSERT_NE(low.get(), nullptr);
    EXPECT_EQ(
        ChoiceTexts(ppdFindOption(low.get(), "Resolution")),
        (std::vector<std::string>{"203 dpi: fastest", "406 dpi: sharper barcodes", "609 dpi: sharpest barcodes"}));
    Ppd high(kPpdDir + "/kivcp-epl2-300dpi-2in.ppd");
    ASSERT_NE(high.get(), nullptr);
    EXPECT_EQ(ChoiceTexts(ppdFindOption(high.get(), "Resolution")),
              (std::vector<std::string>{"300 dpi: fastest", "600 dpi: sharpest barcodes"}));
}

TEST(ShippedPpd, TwoHundredDpiModelsAskForThreeTimesTheirResolutionByDefault)
{
    for (const char* file : {"kivcp-epl2-203dpi-2in.ppd", "kivcp-epl2-203dpi-4in.ppd"}) {
        Ppd ppd(kPpdDir + "/" + file);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_STREQ(ppdFindOption(ppd.get(), "Resolution")->defchoice, "609dpi") << file;
    }
}

TEST(ShippedPpd, ThreeHundredDpiModelsAskForTheirOwnResolutionByDefault)
{
    for (const char* file : {"kivcp-epl2-300dpi-2in.ppd", "kivcp-epl2-300dpi-4in.ppd"}) {
        Ppd ppd(kPpdDir + "/" + file);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_STREQ(ppdFindOption(ppd.get(), "Resolution")->defchoice, "300dpi") << file;
    }
}

// Every choice of the driver's options of `ppd`, as keyword and choice name.
std::vector<std::pair<std::string, std::string>> DriverChoices(ppd_file_t* ppd)
{
    std::vector<std::pair<std::string, std::string>> choices;
    for (const kvtool::DriverOption& option : kvtool::DriverOptions(ppd))
        for (const std::string& choice : option.choices)
            choices.emplace_back(option.keyword, choice);
    return choices;
}

TEST(ShippedPpd, EveryDriverChoiceKeepsTheRasterRequest)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        int status = -1;
        cups_page_header2_t base = RasterHeader(ppd.get(), status);
        ASSERT_EQ(status, 0);
        std::vector<std::pair<std::string, std::string>> choices = DriverChoices(ppd.get());
        ASSERT_GT(choices.size(), kFilterKeywords.size());
        // The same 34 options on every model; the 4-inch head offers four
        // more print widths than the 2-inch one.
        ASSERT_EQ(choices.size(), model.headInches == 4 ? 192u : 188u);
        for (const auto& [keyword, choice] : choices) {
            ppdMarkDefaults(ppd.get());
            ppdMarkOption(ppd.get(), keyword.c_str(), choice.c_str());
            cups_page_header2_t h = RasterHeader(ppd.get(), status);
            EXPECT_EQ(status, 0) << keyword << "=" << choice;
            EXPECT_EQ(std::memcmp(&h, &base, sizeof h), 0) << keyword << "=" << choice;
        }
    }
}

TEST(ShippedPpd, DensityDefaultsToThePrinterSetting)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_EQ(Configuration(ppd.get(), path).sDensity, kPrinterDefault);
    }
}

TEST(ShippedPpd, SpeedDefaultsToThePrinterSetting)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_EQ(Configuration(ppd.get(), path).sPrintSpeed, kPrinterDefault);
    }
}

TEST(ShippedPpd, HalftoningDefaultsToFixedThreshold)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_EQ(Configuration(ppd.get(), path).sHalftoneMethod, 1);
    }
}

TEST(ShippedPpd, DriverLogDefaultsToOff)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_EQ(GetOptionChoiceIndex("DriverLog", ppd.get()), 0);
    }
}

TEST(ShippedPpd, DefaultsLeaveTheImageUnchanged)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        tagOEMCFG cfg = Configuration(ppd.get(), path);
        EXPECT_EQ(cfg.nBrightness, 0);
        EXPECT_EQ(cfg.nContrast, 0);
        EXPECT_EQ(cfg.nLevelsAdj, 100);
        EXPECT_EQ(cfg.sMirror, 0);
        EXPECT_EQ(cfg.bNegative, 0);
        EXPECT_EQ(cfg.sRotation, 0);
        EXPECT_EQ(cfg.sRotate90, 0);
    }
}

TEST(ShippedPpd, PrintableWidthDefaultsToTheFullHead)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        const auto sMaxOutputWidth = Configuration(ppd.get(), path).sMaxOutputWidth;
        EXPECT_EQ(sMaxOutputWidth, model.headInches == 2 ? 51 : 104);
    }
}

TEST(ShippedPpd, NoModeAndCutMethodChoiceCanHangTheFilter)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        // The page builder loops for ever with "Mode" 4 and a cut method
        // outside 1..4; every pair of choices must avoid that.
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_option_t* mode = ppdFindOption(ppd.get(), "Mode");
        ppd_option_t* cut = ppdFindOption(ppd.get(), "CutMethod");
        ASSERT_NE(mode, nullptr);
        ASSERT_NE(cut, nullptr);
        for (int m = 0; m < mode->num_choices; ++m)
            for (int c = 0; c < cut->num_choices; ++c) {
                ppdMarkDefaults(ppd.get());
                ppdMarkOption(ppd.get(), "Mode", mode->choices[m].choice);
                ppdMarkOption(ppd.get(), "CutMethod", cut->choices[c].choice);
                tagOEMCFG cfg = Configuration(ppd.get(), path);
                bool hangs = cfg.dwOperationAfterPrn == 4 &&
                             (cfg.dwOperationModeAfterPrn < 1 || cfg.dwOperationModeAfterPrn > 4);
                EXPECT_FALSE(hangs) << mode->choices[m].choice << " " << cut->choices[c].choice;
            }
    }
}

TEST(ShippedPpd, CutMethodTakesNoCustomValue)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_EQ(ppdFindCustomOption(ppd.get(), "CutMethod"), nullptr);
    }
}

TEST(ShippedPpd, UnknownCutMethodFromAJobKeepsTheDefaultCutter)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        cups_option_t* options = nullptr;
        int n = cupsParseOptions("Mode=Cutter CutMethod=9", 0, &options);
        cupsMarkOptions(ppd.get(), n, options);
        cupsFreeOptions(n, options);
        tagOEMCFG cfg = Configuration(ppd.get(), path);
        EXPECT_EQ(cfg.dwOperationAfterPrn, 4u);
        EXPECT_EQ(cfg.dwOperationModeAfterPrn, 1u);
    }
}

TEST(ShippedPpd, ModeChoicesReadTearOffPeelOffCutter)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_option_t* mode = ppdFindOption(ppd.get(), "Mode");
        ASSERT_NE(mode, nullptr);
        EXPECT_EQ(ChoiceTexts(mode),
                  (std::vector<std::string>{"Tear off", "Tear off, no back-feed", "Peel off", "Cutter"}));
    }
}

TEST(ShippedPpd, ModeCodesSelectTearOffPeelOffAndCutter)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        std::vector<std::pair<std::string, uint64_t>> expected = {
            {"TearOff", 0}, {"TearOffNoBackfeed", 1}, {"PeelOff", 2}, {"Cutter", 4}};
        for (const auto& [choice, code] : expected) {
            ppdMarkOption(ppd.get(), "Mode", choice.c_str());
            EXPECT_EQ(Configuration(ppd.get(), path).dwOperationAfterPrn, code) << choice;
        }
    }
}

TEST(ShippedPpd, MediaTypeChoicesReadGapBlackMarkContinuous)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_option_t* media = ppdFindOption(ppd.get(), "MediaType");
        ASSERT_NE(media, nullptr);
        EXPECT_EQ(ChoiceTexts(media), (std::vector<std::string>{"Gap", "Black mark", "Continuous"}));
    }
}

TEST(ShippedPpd, PageSizesFitTheHead)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ASSERT_GT(ppd.get()->num_sizes, 0);
        double head = model.headInches * kPointsPerInch;
        for (int i = 0; i < ppd.get()->num_sizes; ++i)
            EXPECT_LE(ppd.get()->sizes[i].width, head) << ppd.get()->sizes[i].name;
        EXPECT_EQ(ppd.get()->custom_max[0], static_cast<float>(head));
    }
}

TEST(ShippedPpd, PageSizesPrintEdgeToEdge)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        for (int i = 0; i < ppd.get()->num_sizes; ++i) {
            const ppd_size_t& s = ppd.get()->sizes[i];
            EXPECT_EQ(s.left, 0.0f) << s.name;
            EXPECT_EQ(s.bottom, 0.0f) << s.name;
            EXPECT_EQ(s.right, s.width) << s.name;
            EXPECT_EQ(s.top, s.length) << s.name;
        }
    }
}

TEST(ShippedPpd, OffersOneByHalfInchLabels)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_size_t* s = ppdPageSize(ppd.get(), "0.5x1Rotated.Fullbleed");
        ASSERT_NE(s, nullptr);
        EXPECT_EQ(s->width, 72.0f);
        EXPECT_EQ(s->length, 36.0f);
    }
}

TEST(ShippedPpd, OffersTwentyFiveByThirteenMillimetreLabels)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_size_t* s = ppdPageSize(ppd.get(), "13x25mmRotated.Fullbleed");
        ASSERT_NE(s, nullptr);
        EXPECT_NEAR(s->width, 25 * kPointsPerInch / 25.4, 0.01);
        EXPECT_NEAR(s->length, 13 * kPointsPerInch / 25.4, 0.01);
    }
}

TEST(ShippedPpd, FeedChoicesGiveCutPositionsTheFilterSends)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_option_t* feed = ppdFindOption(ppd.get(), "Feed");
        ASSERT_NE(feed, nullptr);
        for (int i = 0; i < feed->num_choices; ++i) {
            if (std::strcmp(feed->choices[i].choice, "PrinterDefault") == 0)
                continue;
            int dots = TenthsToDots(std::atoi(feed->choices[i].code), model.dpi);
            EXPECT_GE(dots, kLowestCutDots) << feed->choices[i].choice;
            EXPECT_LE(dots, kHighestCutDots) << feed->choices[i].choice;
        }
    }
}

TEST(ShippedPpd, NominalFeedIsCutPosition100)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_choice_t* nominal = ppdFindChoice(ppdFindOption(ppd.get(), "Feed"), "Nominal");
        ASSERT_NE(nominal, nullptr);
        EXPECT_EQ(TenthsToDots(std::atoi(nominal->code), model.dpi), 100);
    }
}

TEST(ShippedPpd, FeedDefaultSendsNoCutPosition)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_LT(TenthsToDots(Configuration(ppd.get(), path).sCutPosition, model.dpi), kLowestCutDots);
    }
}

TEST(ShippedPpd, LowerCaseKeywordsReachTheFilterUnderTheirNames)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        cups_option_t* options = nullptr;
        int n = cupsParseOptions("Interval=5 HorizontalOffset=Left VerticalOffset=Up", 0, &options);
        cupsMarkOptions(ppd.get(), n, options);
        cupsFreeOptions(n, options);
        tagOEMCFG cfg = Configuration(ppd.get(), path);
        EXPECT_EQ(cfg.sIntervalValue, 5);
        EXPECT_EQ(cfg.sHrzDir, 1);
        EXPECT_EQ(cfg.sVtcDir, 1);
    }
}

TEST(ShippedPpd, MirrorChoicesAreNotReadAsOnBySpoolerFilters)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        // The spooler's PDF and image filters mirror the page themselves for a
        // "mirror" option that reads true, on or yes.
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_option_t* mirror = ppdFindOption(ppd.get(), "Mirror");
        ASSERT_NE(mirror, nullptr);
        for (int i = 0; i < mirror->num_choices; ++i)
            for (const char* truth : {"true", "on", "yes"})
                EXPECT_NE(strcasecmp(mirror->choices[i].choice, truth), 0) << mirror->choices[i].choice;
    }
}

TEST(ShippedPpd, BrightnessChoicesAreNamedByTheirCodes)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        // Image filters read "brightness" as a percentage of the choice name.
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_option_t* brightness = ppdFindOption(ppd.get(), "Brightness");
        ASSERT_NE(brightness, nullptr);
        for (int i = 0; i < brightness->num_choices; ++i)
            EXPECT_STREQ(brightness->choices[i].choice, brightness->choices[i].code);
        EXPECT_STREQ(brightness->defchoice, "100");
    }
}

TEST(ShippedPpd, MaxOutputWidthChoicesFitTheHead)
{
    for (const kvppd::PpdModel& model : ShippedModels()) {
        SCOPED_TRACE(model.fileName);
        const std::string path = PathOf(model);
        Ppd ppd(path);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_option_t* width = ppdFindOption(ppd.get(), "MaxOutputWidth");
        ASSERT_NE(width, nullptr);
        int head = model.headInches == 2 ? 51 : 104;
        for (int i = 0; i < width->num_choices; ++i)
            EXPECT_LE(std::atoi(width->choices[i].code), head) << width->choices[i].choice;
    }
}

TEST(ShippedPpd, AreOnePerResolutionAndHeadWidth)
{
    std::set<std::string> found;
    DIR* dir = opendir(kPpdDir.c_str());
    ASSERT_NE(dir, nullptr);
    while (dirent* e = readdir(dir)) {
        std::string name = e->d_name;
        if (name.size() > 4 && name.compare(name.size() - 4, 4, ".ppd") == 0)
            found.insert(name);
    }
    closedir(dir);
    EXPECT_EQ(found, (std::set<std::string>{"kivcp-epl2-203dpi-2in.ppd", "kivcp-epl2-203dpi-4in.ppd",
                                            "kivcp-epl2-300dpi-2in.ppd", "kivcp-epl2-300dpi-4in.ppd"}));
}

TEST(ShippedPpd, FourInchModelsOfferFourBySixInchLabels)
{
    for (const char* file : {"kivcp-epl2-203dpi-4in.ppd", "kivcp-epl2-300dpi-4in.ppd"}) {
        Ppd ppd(kPpdDir + "/" + file);
        ASSERT_NE(ppd.get(), nullptr);
        ppd_size_t* s = ppdPageSize(ppd.get(), "4x6.Fullbleed");
        ASSERT_NE(s, nullptr) << file;
        EXPECT_EQ(s->width, 288.0f);
        EXPECT_EQ(s->length, 432.0f);
    }
}

TEST(ShippedPpd, FourInchModelsOfferHundredByHundredFiftyMillimetreLabels)
{
    for (const char* file : {"kivcp-epl2-203dpi-4in.ppd", "kivcp-epl2-300dpi-4in.ppd"}) {
        Ppd ppd(kPpdDir + "/" + file);
        ASSERT_NE(ppd.get(), nullptr);
        EXPECT_NE(ppdPageSize(ppd.get(), "100x150mm.Fullbleed"), nullptr) << file;
    }
}

TEST(ShippedPpd, FourInchModelsDefaultToFourBySixInches)
{
    Ppd ppd(kPpdDir + "/kivcp-epl2-203dpi-4in.ppd");
    ASSERT_NE(ppd.get(), nullptr);
    EXPECT_STREQ(ppdFindOption(ppd.get(), "PageSize")->defchoice, "4x6.Fullbleed");
}

TEST(ShippedPpd, TwoInchModelsDefaultToTwoByOneInch)
{
    Ppd ppd(kPpdDir + "/kivcp-epl2-300dpi-2in.ppd");
    ASSERT_NE(ppd.get(), nullptr);
    EXPECT_STREQ(ppdFindOption(ppd.get(), "PageSize")->defchoice, "1x2Rotated.Fullbleed");
}

TEST(ShippedPpd, TwoInchModelsHaveNoFourInchLabels)
{
    Ppd ppd(kPpdDir + "/kivcp-epl2-203dpi-2in.ppd");
    ASSERT_NE(ppd.get(), nullptr);
    EXPECT_EQ(ppdPageSize(ppd.get(), "4x6.Fullbleed"), nullptr);
}

}  // namespace
