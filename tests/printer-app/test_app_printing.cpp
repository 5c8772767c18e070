// kivcp-printer-app printing jobs on a file device, without a printer: PWG
// raster (as the spooler's filters make it) through ipptool and the
// application's "submit", compared byte for byte with what the built
// filter prints from the same raster and the same choices; PNG pictures,
// raw EPL2 jobs and rasters no printer can print.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "AppServer.h"
#include "Drivers.h"
#include "IppForm.h"
#include "OptionTable.h"
#include "PdfLabel.h"
#include "PngFile.h"
#include "RasterWriter.h"
#include "TestFiles.h"

namespace {

using kvapptest::AppServer;

constexpr double kPointsPerInch = 72.0;

// A label of `widthIn` x `lengthIn` inches with a frame, a bar code like
// pattern of thin bars and a grey-free block: content every pipeline step
// acts on.
std::string LabelPdf(double widthIn, double lengthIn)
{
    const double w = widthIn * kPointsPerInch, l = lengthIn * kPointsPerInch;
    std::vector<kvtool::PdfRect> rects = {
        {4, 4, w - 8, 2}, {4, l - 6, w - 8, 2}, {4, 4, 2, l - 8}, {w - 6, 4, 2, l - 8}};
    for (int i = 0; i < 20; ++i)
        rects.push_back({12 + i * 3.1, 12, 1.0 + (i % 3) * 0.6, l / 3});
    rects.push_back({w / 2, l / 2, w / 4, l / 5});
    return kvtool::PdfLabel(w, l, rects);
}

class AppPrinting : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(server.Running()) << server.Log(); }

    // The PWG raster of the label for `model` at `dpi`.
    std::string Raster(const kvppd::PpdModel& model, int dpi, double widthIn, double lengthIn)
    {
        const std::string pdf = server.Folder() + "/label.pdf";
        kvtest::WriteFile(pdf, LabelPdf(widthIn, lengthIn));
        const std::string raster = server.Folder() + "/label-" + std::to_string(dpi) + ".pwg";
        return kvapptest::PwgRaster(kvapptest::PpdFile(model.fileName), pdf, dpi, raster);
    }

    // Prints `raster` through ipptool and returns what the device got.
    std::string PrintRaster(const std::string& printer, const std::string& raster, int dpi, const std::string& jobName,
                            const std::string& attributes = "")
    {
        const std::string attrs = "ATTR resolution printer-resolution " + std::to_string(dpi) + "dpi\n" + attributes;
        const int job = server.PrintWithIpptool(printer, raster, "image/pwg-raster", jobName, attrs);
        EXPECT_GT(job, 0) << server.LastError();
        EXPECT_EQ(server.WaitForJob(printer, job), kvapptest::kJobCompleted) << server.Log();
        return server.Output(printer, jobName);
    }

    AppServer server;
};

TEST_F(AppPrinting, PwgRasterThroughIpptoolIsTheFiltersEplOnEveryModelAndResolution)
{
    int jobs = 0;
    for (const kvppd::PpdModel& model : kvppd::PpdModels()) {
        const std::string printer = "m" + std::to_string(model.dpi) + "x" + std::to_string(model.headInches);
        ASSERT_TRUE(server.AddPrinter(printer, kvapp::DriverName(model))) << server.LastError();
        const double width = model.headInches > 2 ? 4 : 2;
        for (int dpi : kvppd::RasterResolutions(model)) {
            const std::string raster = Raster(model, dpi, width, 1.5);
            ASSERT_FALSE(raster.empty());
            const std::string job = printer + "-" + std::to_string(dpi);
            const std::string app = PrintRaster(printer, raster, dpi, job);
            const std::string filter = kvapptest::FilterEpl(kvapptest::PpdFile(model.fileName), raster);
            ASSERT_GT(filter.size(), 1000u);
            EXPECT_TRUE(app == filter) << job << ": " << app.size() << " bytes, the filter " << filter.size();
            const std::string summary = kvapptest::EplviewSummary(app, server.Folder());
            EXPECT_NE(summary.find("labels: 1\n"), std::string::npos) << summary;
            ++jobs;
        }
    }
    EXPECT_EQ(jobs, 10);
}

TEST_F(AppPrinting, SubmitCommandPrintsTheFiltersEplWithItsOptions)
{
    const kvppd::PpdModel& model = kvppd::PpdModels()[1];
    ASSERT_TRUE(server.AddPrinter("label", kvapp::DriverName(model)));
    const std::string raster = Raster(model, 203, 4, 2);
    ASSERT_FALSE(raster.empty());
    kvtool::CommandResult r = server.Command({"submit", "-d", "label", "-o", "printer-resolution=203dpi", "-o",
                                              "halftone=errordiffusion", "-o", "print-darkness=10", raster});
    ASSERT_EQ(r.status, 0) << r.err;
    const int job = std::stoi(r.out.substr(r.out.find('-') + 1));
    ASSERT_EQ(server.WaitForJob("label", job), kvapptest::kJobCompleted);
    const std::string name = raster.substr(raster.rfind('/') + 1);
    // print-darkness 10 on the configured 50 is 60 of 100: level 9 of 15.
    EXPECT_TRUE(server.Output("label", name) ==
                kvapptest::FilterEpl(kvapptest::PpdFile(model.fileName), raster, "Halftone=ErrorDiffusion Density=9"));
    EXPECT_NE(server.Output("label", name).find("\r\nD9\r\n"), std::string::npos);
}

// Writes a copy of `ppd` whose defaults are the choices of `marked`: what
// "lpadmin -o Keyword-default=Choice" makes of a queue's PPD. (A job's
// "-o Mirror=..." never reaches the PPD: the spooler's option marking
// takes "mirror" for MirrorPrint.)
std::string PpdWithDefaults(const std::string& ppd, const std::vector<std::pair<std::string, std::string>>& marked,
                            const std::string& out)
{
    std::string text = kvtest::ReadFile(ppd);
    for (const auto& [keyword, choice] : marked) {
        const std::regex line("\\*Default" + keyword + ": [^\\n]*\\n");
        text = std::regex_replace(text, line, "*Default" + keyword + ": " + choice + "\n",
                                  std::regex_constants::format_first_only);
    }
    kvtest::WriteFile(out, text);
    return out;
}

// Job k takes choice k (modulo their number) of every option at once, so
// every choice of every option is printed at least once; each job's EPL
// must be the filter's for the same choices, byte for byte.
TEST_F(AppPrinting, EveryChoiceOfEveryOptionPrintsTheFiltersEpl)
{
    const kvppd::PpdModel& model = kvppd::PpdModels()[1];
    ASSERT_TRUE(server.AddPrinter("label", kvapp::DriverName(model)));
    const std::string raster = Raster(model, 203, 4, 2);
    ASSERT_FALSE(raster.empty());
    const std::vector<kvppd::OptionGroup> table = kvppd::DriverOptions(model);
    size_t jobs = 0;
    for (const kvppd::OptionGroup& g : table)
        for (const kvppd::DriverOption& o : g.options)
            jobs = std::max(jobs, o.choices.size());
    ASSERT_EQ(jobs, 17u);  // the darkness: the printer's own and 16 levels

    int choicesPrinted = 0;
    for (size_t k = 0; k < jobs; ++k) {
        std::vector<std::pair<std::string, std::string>> marked;
        std::vector<kvapptest::IppSetting> settings;
        for (const kvppd::OptionGroup& g : table)
            for (const kvppd::DriverOption& o : g.options) {
                const kvppd::OptionChoice& c = o.choices[k % o.choices.size()];
                marked.emplace_back(o.keyword, c.name);
                for (const kvapptest::IppSetting& s : kvapptest::IppFormOf(model, o.keyword, c.name))
                    settings.push_back(s);
                choicesPrinted += k < o.choices.size();
            }
        for (const kvapptest::IppSetting& s : settings)
            if (s.syntax == "printer") {
                ASSERT_EQ(server.Command({"modify", "-d", "label", "-o", s.name + "=" + s.value}).status, 0);
            }
        const std::string job = "choices-" + std::to_string(k);
        const std::string app = PrintRaster("label", raster, 203, job, kvapptest::IpptoolAttributes(settings));
        const std::string ppd =
            PpdWithDefaults(kvapptest::PpdFile(model.fileName), marked, server.Folder() + "/" + job + ".ppd");
        const std::string filter = kvapptest::FilterEpl(ppd, raster);
        ASSERT_FALSE(filter.empty()) << job;
        EXPECT_TRUE(app == filter) << job << ": " << app.size() << " bytes, the filter " << filter.size();
    }
    EXPECT_EQ(choicesPrinted, 191);
}

TEST_F(AppPrinting, PngPictureThroughIpptoolPrintsOneLabelOfTheDefaultSize)
{
    ASSERT_TRUE(server.AddPrinter("label", "kivcp_epl2_203dpi_4in"));
    std::vector<uint8_t> grey(300 * 200, 255);
    for (int y = 40; y < 160; ++y)
        for (int x = 30; x < 270; ++x)
            grey[y * 300 + x] = (x / 10) % 2 ? 0 : 255;
    const std::string png = server.Folder() + "/bars.png";
    kvtest::WriteFile(png, kvtool::EncodeGreyPng(300, 200, grey));
    const int job = server.PrintWithIpptool("label", png, "image/png", "bars",
                                            "ATTR keyword print-scaling fit\nATTR integer copies 2\n");
    ASSERT_GT(job, 0) << server.LastError();
    ASSERT_EQ(server.WaitForJob("label", job), kvapptest::kJobCompleted) << server.Log();
    const std::string summary = kvapptest::EplviewSummary(server.Output("label", "bars"), server.Folder());
    // 4 x 6 inches, rendered at 609 dpi and shrunk to 203: 812 dots
    // across, in whole bytes 816; 1218 rows and the one extra dot along.
    EXPECT_NE(summary.find("  label width: 816 dots\n  label length: 1219 dots\n"), std::string::npos) << summary;
    // Two copies are two pages of PAPPL's, each a label of one copy.
    EXPECT_NE(summary.find("labels: 2\n"), std::string::npos) << summary;
    EXPECT_NE(summary.find("  label 1: 816 x 1219 dots, 1 copy, no cut, 1 graphic, 0 lines"), std::string::npos)
        << summary;

    // The same picture with the application's own "submit": the same bytes.
    kvtool::CommandResult r =
        server.Command({"submit", "-d", "label", "-o", "copies=2", "-o", "print-scaling=fit", png});
    ASSERT_EQ(r.status, 0) << r.err;
    const int submitted = std::stoi(r.out.substr(r.out.find('-') + 1));
    ASSERT_EQ(server.WaitForJob("label", submitted), kvapptest::kJobCompleted);
    EXPECT_TRUE(server.Output("label", "bars.png") == server.Output("label", "bars"))
        << server.Output("label", "bars.png").size() << " and " << server.Output("label", "bars").size() << " bytes";
}

// The ipptool ATTR lines of a media-col of `width` x `length` hundredths
// of a millimetre.
std::string MediaSizeAttributes(int width, int length)
{
    return "ATTR collection media-col {\n"
           "  MEMBER collection media-size {\n"
           "    MEMBER integer x-dimension " +
           std::to_string(width) + "\n    MEMBER integer y-dimension " + std::to_string(length) +
           "\n  }\n"
           "}\n";
}

// A grey picture of `width` x `height` pixels: a frame, bars of 1 to 4
// pixels, grey steps and a gradient, content every halftone acts on.
std::vector<uint8_t> GreyLabelPicture(unsigned width, unsigned height)
{
    std::vector<uint8_t> grey(size_t(width) * height, 255);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) {
            uint8_t& v = grey[size_t(y) * width + x];
            if (x < 3 || y < 3 || x + 3 >= width || y + 3 >= height)
                v = 0;
            else if (y < height / 2 && x >= 10 && x < 130)
                v = (x / (1 + x % 4)) % 2 ? 0 : 255;
            else if (y >= height / 2 && x < width / 2)
                v = static_cast<uint8_t>((x * 8 / (width / 2)) * 32);
            else if (y >= height / 2)
                v = static_cast<uint8_t>(y * 255 / height);
        }
    return grey;
}

// A PNG exactly the label's size at the printer's resolution, printed
// without scaling, is a page of its own pixels: the application prints the
// filter's EPL for that page, with the PWG header PAPPL makes for the job.
class PictureOfTheLabelsSize : public AppPrinting {
protected:
    static constexpr unsigned kDpi = 203, kWidth = 2 * kDpi, kHeight = kDpi;  // 2 x 1 inches
    static constexpr int kWidthHmm = 5080, kLengthHmm = 2540;

    // Prints `grey` as a PNG of `bits` bits; expects the filter's EPL for
    // the page of its pixels.
    void PrintsTheFiltersEplForItsPixels(const std::vector<uint8_t>& grey, unsigned bits)
    {
        const kvppd::PpdModel& model = kvppd::PpdModels()[0];  // 203 dpi, 2 inches
        ASSERT_TRUE(server.AddPrinter("label", kvapp::DriverName(model)));
        const std::string png = server.Folder() + "/label.png";
        kvtest::WriteFile(png, kvtool::EncodeGreyPng(kWidth, kHeight, grey, kDpi, bits));
        const int job = server.PrintWithIpptool("label", png, "image/png", "picture",
                                                "ATTR resolution printer-resolution 203dpi\n"
                                                "ATTR keyword print-scaling none\n" +
                                                    MediaSizeAttributes(kWidthHmm, kLengthHmm));
        ASSERT_GT(job, 0) << server.LastError();
        ASSERT_EQ(server.WaitForJob("label", job), kvapptest::kJobCompleted) << server.Log();
        const std::string app = server.Output("label", "picture");

        // The same pixels as the page PAPPL makes, with its PWG header and
        // one copy (PWG raster counts none), widened to the RGB the filter
        // reads.
        cups_page_header2_t header;
        ASSERT_TRUE(cupsRasterInitPWGHeader(&header, pwgMediaForSize(kWidthHmm, kLengthHmm), "sgray_8", kDpi, kDpi,
                                            "one-sided", nullptr));
        header.NumCopies = 1;
        kvtest::RasterPage page{header, {}};
        for (unsigned y = 0; y < kHeight; ++y)
            page.rows.emplace_back(grey.begin() + y * kWidth, grey.begin() + (y + 1) * kWidth);
        const std::string raster = server.Folder() + "/label-pixels.ras";
        kvtest::WriteRaster(raster, {kvtest::GreyPageAsRgb(page)});
        const std::string filter = kvapptest::FilterEpl(kvapptest::PpdFile(model.fileName), raster);
        ASSERT_GT(filter.size(), 1000u);
        EXPECT_TRUE(app == filter) << app.size() << " bytes from the application, " << filter.size()
                                   << " from the filter";
    }
};

TEST_F(PictureOfTheLabelsSize, GreyPngIsTheFiltersEplForItsPixels)
{
    PrintsTheFiltersEplForItsPixels(GreyLabelPicture(kWidth, kHeight), 8);
}

TEST_F(PictureOfTheLabelsSize, BlackAndWhitePngIsTheFiltersEplForItsPixels)
{
    std::vector<uint8_t> picture = GreyLabelPicture(kWidth, kHeight);
    for (uint8_t& v : picture)
        v = v >= 128 ? 255 : 0;
    PrintsTheFiltersEplForItsPixels(picture, 1);
}

TEST_F(AppPrinting, CustomLabelSizeInMediaColSizesTheLabel)
{
    ASSERT_TRUE(server.AddPrinter("label", "kivcp_epl2_203dpi_4in"));
    std::vector<uint8_t> grey(100 * 50, 0);
    const std::string png = server.Folder() + "/black.png";
    kvtest::WriteFile(png, kvtool::EncodeGreyPng(100, 50, grey));
    // 3 x 1.5 inches, none of the named sizes.
    const int job =
        server.PrintWithIpptool("label", png, "image/png", "custom",
                                "ATTR resolution printer-resolution 203dpi\n" + MediaSizeAttributes(7620, 3810));
    ASSERT_GT(job, 0) << server.LastError();
    ASSERT_EQ(server.WaitForJob("label", job), kvapptest::kJobCompleted) << server.Log();
    const std::string summary = kvapptest::EplviewSummary(server.Output("label", "custom"), server.Folder());
    // 609 dots across, in whole bytes 616; 304 rows and the extra dot.
    EXPECT_NE(summary.find("  label 1: 616 x 305 dots, 1 copy, no cut, 1 graphic, 0 lines"), std::string::npos)
        << summary;
}

TEST_F(AppPrinting, RawEplJobReachesTheDeviceUnchanged)
{
    ASSERT_TRUE(server.AddPrinter("label", "kivcp_epl2_300dpi_2in"));
    const std::string epl = "\r\nN\r\nq600\r\nQ300,24\r\nA50,50,0,3,1,1,N,\"RAW JOB\"\r\nLO40,120,400,4\r\nP2\r\n";
    const std::string file = server.Folder() + "/raw.epl";
    kvtest::WriteFile(file, epl);
    const int job = server.PrintWithIpptool("label", file, kvapp::kEplFormat, "raw");
    ASSERT_GT(job, 0) << server.LastError();
    ASSERT_EQ(server.WaitForJob("label", job), kvapptest::kJobCompleted);
    EXPECT_EQ(server.Output("label", "raw"), epl);
}

// A PWG raster file of one page whose header says `width` x `height`
// pixels at `dpi`, 24-bit sRGB, followed by `dataBytes` bytes of PackBits
// data (white runs), possibly far fewer than the header promises. (A
// stream cut short inside a page is not among the cases: PAPPL waits for
// the rest of a streamed page until its client time-out, a minute; the
// held page's rows that never come stay zero, as the filter keeps them,
// see test_held_page.cpp.)
std::string PwgFile(unsigned width, unsigned height, unsigned dpi, size_t dataBytes)
{
    std::string header(1796, '\0');
    auto put = [&](size_t off, unsigned v) {
        header[off] = static_cast<char>(v >> 24);
        header[off + 1] = static_cast<char>(v >> 16);
        header[off + 2] = static_cast<char>(v >> 8);
        header[off + 3] = static_cast<char>(v);
    };
    header.replace(0, 8, "PwgRaster");
    put(276, dpi);
    put(280, dpi);
    put(352, width * 72 / dpi);
    put(356, height * 72 / dpi);
    put(372, width);
    put(376, height);
    put(384, 8);
    put(388, 24);
    put(392, width * 3);
    put(400, 19);  // sRGB
    put(420, 3);   // colours
    std::string data;
    while (data.size() < dataBytes) {
        data += '\0';                     // one line repeated once
        data += static_cast<char>(0x81);  // 128 pixels the same
        data += std::string(3, '\xff');
    }
    return "RaS2" + header + data.substr(0, dataBytes);
}

TEST_F(AppPrinting, HostileRastersNeverStopTheServerAndTheNextJobPrints)
{
    const kvppd::PpdModel& model = kvppd::PpdModels()[1];
    ASSERT_TRUE(server.AddPrinter("label", kvapp::DriverName(model)));
    struct Hostile {
        const char* name;
        std::string bytes;
    };
    const std::vector<Hostile> hostile = {
        {"endless", PwgFile(812, 4000000, 203, 5000)},               // 500 m of label
        {"too-wide", PwgFile(2000000, 10, 203, 5000)},               // 250 m across
        {"header-only", PwgFile(812, 1218, 203, 0).substr(0, 900)},  // the header itself cut
    };
    for (const Hostile& h : hostile) {
        const std::string file = server.Folder() + "/" + h.name + ".pwg";
        kvtest::WriteFile(file, h.bytes);
        const int job = server.PrintWithIpptool("label", file, "image/pwg-raster", h.name,
                                                "ATTR resolution printer-resolution 203dpi\n");
        if (job > 0) {
            EXPECT_GE(server.WaitForJob("label", job), kvapptest::kJobCanceled) << h.name;
        }
        ASSERT_TRUE(server.Listening()) << h.name << "\n" << server.Log();
    }
    // The pages beyond the limits are refused by the filter's own limits.
    const std::string log = server.Log();
    EXPECT_NE(log.find("Page 1 not printed: at 203 dpi it is 101.6 x 500492.6 mm, larger than the largest label "
                       "(300 mm across, 1000 mm along)"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("Page 1 not printed: at 203 dpi it is 250246.3 x 1.3 mm, larger than the largest label"),
              std::string::npos);
    const std::string raster = Raster(model, 203, 4, 2);
    EXPECT_TRUE(PrintRaster("label", raster, 203, "after") ==
                kvapptest::FilterEpl(kvapptest::PpdFile(model.fileName), raster));
}

}  // namespace
