// The printer application's options against the shipped PPDs: every choice
// of every option, asked for over IPP, builds the same print configuration
// record as the filter builds from the PPD with that choice marked.
#include <cups/cups.h>
#include <cups/ppd.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "ChoiceCodes.h"
#include "Drivers.h"
#include "InitalizeOemCfg.h"
#include "IppForm.h"
#include "IppOptions.h"
#include "OptionTable.h"

namespace {

struct PpdCloser {
    void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdHandle = std::unique_ptr<ppd_file_t, PpdCloser>;

std::string PpdPath(const kvppd::PpdModel& model)
{
    return std::string(KV_PPD_DIR) + "/" + model.fileName;
}

// A first page header of a 2 x 1 inch label at the model's resolution.
cups_page_header2_t Header(const kvppd::PpdModel& model)
{
    cups_page_header2_t h{};
    h.HWResolution[0] = h.HWResolution[1] = static_cast<unsigned>(model.dpi);
    h.cupsWidth = static_cast<unsigned>(model.dpi * 2);
    h.cupsHeight = static_cast<unsigned>(model.dpi);
    h.cupsBitsPerPixel = 24;
    h.cupsBytesPerLine = h.cupsWidth * 3;
    h.NumCopies = 1;
    return h;
}

// The record the filter builds from the model's PPD with choice
// `choiceName` of `keyword` marked (none when `keyword` is empty). Marked
// with ppdMarkOption, not cupsMarkOptions, which takes an option "mirror"
// for the PPD's "MirrorPrint" and so never marks "Mirror".
tagOEMCFG FilterRecord(const kvppd::PpdModel& model, const std::string& keyword, const std::string& choiceName)
{
    const std::string path = PpdPath(model);
    setenv("PPD", path.c_str(), 1);
    PpdHandle ppd(ppdOpenFile(path.c_str()));
    EXPECT_TRUE(ppd) << path;
    ppdMarkDefaults(ppd.get());
    if (!keyword.empty())
        ppdMarkOption(ppd.get(), keyword.c_str(), choiceName.c_str());
    tagOEMCFG cfg;
    cups_page_header2_t header = Header(model);
    InitalizeOemCfg(&cfg, ppd.get(), &header);
    return cfg;
}

// The record the application builds for a job that asks for `settings`.
tagOEMCFG AppRecord(const kvppd::PpdModel& model, const std::vector<kvapptest::IppSetting>& settings,
                    std::vector<std::string>* ignored = nullptr)
{
    ChoiceCodeMap codes = kvapp::CodesForJob(model, kvapptest::ChoicesOf(settings), ignored);
    tagOEMCFG cfg;
    cups_page_header2_t header = Header(model);
    InitalizeOemCfg(&cfg, ChoiceCodes(codes, static_cast<int16_t>(model.dpi)), &header);
    return cfg;
}

bool SameRecord(const tagOEMCFG& a, const tagOEMCFG& b)
{
    return memcmp(&a, &b, sizeof a) == 0;
}

TEST(AppOptions, JobWithoutAttributesGetsThePpdDefaultsRecord)
{
    for (const kvppd::PpdModel& model : kvppd::PpdModels()) {
        tagOEMCFG filter = FilterRecord(model, "", "");
        tagOEMCFG app = AppRecord(model, {});
        EXPECT_TRUE(SameRecord(filter, app)) << model.fileName;
        EXPECT_EQ(static_cast<int>(app.sOutputXDPI), model.dpi);  // (copied: the record is packed)
        EXPECT_EQ(static_cast<int>(app.sDensity), 1000);          // the printer's own darkness
    }
}

TEST(AppOptions, EveryChoiceOfEveryOptionGivesTheFiltersRecord)
{
    int checked = 0;
    for (const kvppd::PpdModel& model : kvppd::PpdModels())
        for (const kvppd::OptionGroup& group : kvppd::DriverOptions(model))
            for (const kvppd::DriverOption& option : group.options)
                for (const kvppd::OptionChoice& choice : option.choices) {
                    const std::string marked = option.keyword + "=" + choice.name;
                    std::vector<std::string> ignored;
                    tagOEMCFG filter = FilterRecord(model, option.keyword, choice.name);
                    tagOEMCFG app =
                        AppRecord(model, kvapptest::IppFormOf(model, option.keyword, choice.name), &ignored);
                    EXPECT_TRUE(SameRecord(filter, app)) << model.fileName << " " << marked;
                    EXPECT_TRUE(ignored.empty()) << marked;
                    ++checked;
                }
    // 187 choices on the 2-inch models, 191 on the 4-inch ones (four more
    // printable widths).
    EXPECT_EQ(checked, 2 * 187 + 2 * 191);
}

TEST(AppOptions, AChoiceChangesTheRecordFromTheDefaults)
{
    const kvppd::PpdModel& model = kvppd::PpdModels()[1];
    tagOEMCFG defaults = AppRecord(model, {});
    tagOEMCFG dithered = AppRecord(model, {{"halftone", "errordiffusion", "keyword"}});
    EXPECT_EQ(static_cast<int>(defaults.sHalftoneMethod), 1);
    EXPECT_EQ(static_cast<int>(dithered.sHalftoneMethod), 2);
    tagOEMCFG cutter = AppRecord(model, {{"label-mode-configured", "cutter", "printer"}});
    EXPECT_EQ(static_cast<int>(cutter.dwOperationAfterPrn), 4);
    tagOEMCFG dark = AppRecord(model, {{"print-darkness", "50", "integer"}});
    EXPECT_EQ(static_cast<int>(dark.sDensity), 15);
    tagOEMCFG fast = AppRecord(model, {{"print-speed", "15240", "integer"}});
    EXPECT_EQ(static_cast<int>(fast.sPrintSpeed), 6);
}

TEST(AppOptions, ValuesThatNameNoChoiceAreIgnoredAndSaid)
{
    const kvppd::PpdModel& model = kvppd::PpdModels()[0];
    std::vector<std::string> ignored;
    tagOEMCFG app = AppRecord(model,
                              {{"halftone", "sparkles", "keyword"},
                               {"max-output-width", "104mm", "keyword"},
                               {"media-type", "stationery", "media-col"}},
                              &ignored);
    EXPECT_TRUE(SameRecord(app, AppRecord(model, {})));
    EXPECT_EQ(ignored,
              (std::vector<std::string>{"media-type=stationery", "halftone=sparkles", "max-output-width=104mm"}));
}

TEST(AppOptions, DarknessLevelsRoundTripThroughPrintDarkness)
{
    for (int configured : {0, 50, 100})
        for (int level = 0; level < kvapp::kDarknessLevels; ++level) {
            const int printDarkness = kvapp::PrintDarknessForLevel(level, configured);
            EXPECT_EQ(kvapp::DarknessLevel(configured, printDarkness), level) << configured << " " << level;
        }
    EXPECT_EQ(kvapp::DarknessLevel(50, -100), 0);
    EXPECT_EQ(kvapp::DarknessLevel(50, 100), 15);
    EXPECT_EQ(kvapp::DarknessLevel(50, 0), 8);
}

TEST(AppOptions, IppKeywordsOfChoiceNames)
{
    EXPECT_EQ(kvapp::IppKeyword("ErrorDiffusion"), "errordiffusion");
    EXPECT_EQ(kvapp::IppKeyword("+0.5mm"), "plus0.5mm");
    EXPECT_EQ(kvapp::IppKeyword("-2mm"), "minus2mm");
    EXPECT_EQ(kvapp::IppKeyword("1.5mm"), "1.5mm");
}

TEST(AppOptions, VendorAttributesFitPapplAndHaveDistinctKeywords)
{
    for (const kvppd::PpdModel& model : kvppd::PpdModels()) {
        const std::vector<kvapp::VendorAttribute> vendor = kvapp::VendorAttributes(model);
        EXPECT_EQ(vendor.size(), 30u);
        EXPECT_LE(vendor.size(), static_cast<size_t>(PAPPL_MAX_VENDOR));
        std::set<std::string> names;
        for (const kvapp::VendorAttribute& v : vendor) {
            EXPECT_TRUE(names.insert(v.ippName).second) << v.ippName;
            std::set<std::string> keywords(v.keywords.begin(), v.keywords.end());
            EXPECT_EQ(keywords.size(), v.keywords.size()) << v.ippName;
            EXPECT_TRUE(keywords.count(v.defaultKeyword)) << v.ippName;
            for (const std::string& k : v.keywords)
                EXPECT_EQ(k.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-._"), std::string::npos) << k;
        }
    }
}

TEST(AppOptions, TableMatchesTheShippedPpdsOptionByOption)
{
    for (const kvppd::PpdModel& model : kvppd::PpdModels()) {
        PpdHandle ppd(ppdOpenFile(PpdPath(model).c_str()));
        ASSERT_TRUE(ppd);
        int options = 0;
        for (const kvppd::OptionGroup& group : kvppd::DriverOptions(model))
            for (const kvppd::DriverOption& option : group.options) {
                ppd_option_t* found = ppdFindOption(ppd.get(), option.keyword.c_str());
                ASSERT_NE(found, nullptr) << option.keyword;
                EXPECT_STREQ(found->defchoice, option.defaultChoice.c_str());
                ASSERT_EQ(found->num_choices, static_cast<int>(option.choices.size())) << option.keyword;
                for (int i = 0; i < found->num_choices; ++i) {
                    EXPECT_EQ(found->choices[i].choice, option.choices[i].name);
                    EXPECT_STREQ(found->choices[i].code, option.choices[i].code.c_str());
                }
                ++options;
            }
        EXPECT_EQ(options, 33);
    }
}

TEST(AppDrivers, OneDriverPerModelWithItsSizesAndResolutions)
{
    ASSERT_EQ(kvapp::DriverList().size(), 4u);
    EXPECT_STREQ(kvapp::DriverList()[1].name, "kivcp_epl2_203dpi_4in");
    EXPECT_STREQ(kvapp::DriverList()[1].description, "KIVCP EPL2 4-inch 203 dpi");
    EXPECT_EQ(kvapp::ModelOfDriver("kivcp_epl2_300dpi_2in"), &kvppd::PpdModels()[2]);
    EXPECT_EQ(kvapp::ModelOfDriver("generic_pcl"), nullptr);
    EXPECT_EQ(kvapp::DefaultMediaName(kvppd::PpdModels()[1]), "oe_4x6in_4x6in");
    EXPECT_EQ(kvapp::DefaultMediaName(kvppd::PpdModels()[0]), "oe_2x1in_2x1in");
    EXPECT_EQ(kvapp::MediaNames(kvppd::PpdModels()[0]).size(), kvppd::LabelSizes(kvppd::PpdModels()[0]).size());
    EXPECT_EQ(kvapp::MediaNames(kvppd::PpdModels()[3]).size(), 26u);
    EXPECT_EQ(kvapp::MediaNames(kvppd::PpdModels()[3]).back(), "om_100x150mm_100x150mm");
}

TEST(AppDrivers, OnlyUsbSocketAndFileDevices)
{
    EXPECT_TRUE(kvapp::DeviceSchemeSupported("usb://Generic/EPL2?serial=1"));
    EXPECT_TRUE(kvapp::DeviceSchemeSupported("socket://127.0.0.1:9100"));
    EXPECT_TRUE(kvapp::DeviceSchemeSupported("file:///tmp/out"));
    EXPECT_FALSE(kvapp::DeviceSchemeSupported("dnssd://Label._pdl-datastream._tcp.local./"));
    EXPECT_FALSE(kvapp::DeviceSchemeSupported("snmp://192.0.2.1"));
    EXPECT_FALSE(kvapp::DeviceSchemeSupported(nullptr));
}

TEST(AppDrivers, AutoAddTakesEpl2PrintersOnly)
{
    EXPECT_STREQ(kvapp::AutoAddCallback("", "usb://A/B", "MFG:Acme;MDL:LP 2844;CMD:EPL2;", nullptr),
                 "kivcp_epl2_203dpi_4in");
    EXPECT_EQ(kvapp::AutoAddCallback("", "usb://A/B", "MFG:Acme;MDL:Z;CMD:ZPL;", nullptr), nullptr);
    EXPECT_EQ(kvapp::AutoAddCallback("", "dnssd://x", "MFG:Acme;MDL:LP 2844;CMD:EPL2;", nullptr), nullptr);
}

}  // namespace
