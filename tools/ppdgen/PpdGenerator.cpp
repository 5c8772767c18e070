// Builds the PPD text of each driver model from the option table
// (OptionTable.h). The filter reads every option as the number in its
// choice code, and the printer's resolution from the main keyword
// "OutputDPI".
#include "PpdGenerator.h"

#include <string>
#include <vector>

#include "OptionTable.h"
#include "RecordUnits.h"

namespace kvppd {
namespace {

// Returns `v` with at most two decimals and no trailing zeros ("0.5", "2").
std::string Num(double v)
{
    return FormatDecimal(v);
}

// Returns `v` as a whole decimal number.
std::string Int(long v)
{
    return std::to_string(v);
}

// Appends lines to the PPD text; every line ends in a line feed.
class LineWriter {
public:
    void Line(const std::string& s) { m_text += s + "\n"; }
    const std::string& Text() const { return m_text; }

private:
    std::string m_text;
};

// The PPD header: version, model names, the filter and "OutputDPI".
void WriteHeader(LineWriter& t, const PpdModel& m)
{
    std::string head = Int(m.headInches) + "-inch";
    std::string model = "KIVCP EPL2 " + head + " " + Int(m.dpi) + " dpi";
    t.Line("*PPD-Adobe: \"4.3\"");
    t.Line("*% Printer description of a generic EPL2 label printer (" + head + " head, " + Int(m.dpi) +
           " dpi) for the rastertokivcp filter.");
    t.Line("*% Made by tools/ppdgen (kv-gen-ppd): change the generator, not this file.");
    t.Line("*% The filter reads each option's number from its choice code, and the");
    t.Line("*% printer's resolution from *OutputDPI. The keywords interval,");
    t.Line("*% horizontalOffset and verticalOffset start in lower case so that they are");
    t.Line("*% not prefixes of IntervalBlack, HorizontalOffsetValue and");
    t.Line("*% VerticalOffsetValue; option names are matched without regard to case.");
    t.Line("*FormatVersion: \"4.3\"");
    t.Line("*FileVersion: \"1.0\"");
    t.Line("*LanguageVersion: English");
    t.Line("*LanguageEncoding: ISOLatin1");
    t.Line("*PCFileName: \"" + m.pcFileName + "\"");
    t.Line("*Manufacturer: \"KIVCP\"");
    t.Line("*Product: \"(EPL2 Label Printer)\"");
    // The IEEE 1284 device ID that printers report over USB and the network:
    // CUPS proposes these PPDs ("lpinfo -m --device-id") to a printer whose
    // ID names the EPL2 command set.
    t.Line("*1284DeviceID: \"" + std::string(kDeviceId) + "\"");
    t.Line("*ModelName: \"" + model + "\"");
    t.Line("*ShortNickName: \"" + model + "\"");
    t.Line("*NickName: \"" + model + ", rastertokivcp 1.0\"");
    t.Line("*PSVersion: \"(3010.000) 0\"");
    t.Line("*LanguageLevel: \"3\"");
    t.Line("*ColorDevice: False");
    t.Line("*DefaultColorSpace: Gray");
    t.Line("*FileSystem: False");
    t.Line("*Throughput: \"1\"");
    t.Line("*LandscapeOrientation: Plus90");
    t.Line("*TTRasterizer: Type42");
    t.Line("*cupsVersion: 2.4");
    t.Line("*cupsModelNumber: 0");
    // The printer makes the copies: the filter sends "P<copies>".
    t.Line("*cupsManualCopies: False");
    t.Line("*cupsFilter: \"application/vnd.cups-raster 0 rastertokivcp\"");
    t.Line("*OutputDPI: \"" + Int(m.dpi) + "\"");
}

// PageSize, PageRegion, ImageableArea and PaperDimension for every size,
// plus the custom size, all edge to edge.
void WriteSizes(LineWriter& t, const PpdModel& m)
{
    std::vector<LabelSize> sizes = LabelSizes(m);
    std::string def = SizeName(DefaultLabelSize(m));
    auto dims = [](const LabelSize& s) { return Num(ToPoints(s, s.width)) + " " + Num(ToPoints(s, s.length)); };
    for (const char* kw : {"PageSize", "PageRegion"}) {
        std::string k = kw;
        t.Line("*OpenUI *" + k + "/Label Size: PickOne");
        t.Line("*OrderDependency: 10 AnySetup *" + k);
        t.Line("*Default" + k + ": " + def);
        for (const LabelSize& s : sizes)
            t.Line("*" + k + " " + SizeName(s) + "/" + SizeText(s) + ": \"<</PageSize[" + dims(s) +
                   "]/ImagingBBox null>>setpagedevice\"");
        t.Line("*CloseUI: *" + k);
    }
    t.Line("*DefaultImageableArea: " + def);
    for (const LabelSize& s : sizes)
        t.Line("*ImageableArea " + SizeName(s) + "/" + SizeText(s) + ": \"0 0 " + dims(s) + "\"");
    t.Line("*DefaultPaperDimension: " + def);
    for (const LabelSize& s : sizes)
        t.Line("*PaperDimension " + SizeName(s) + "/" + SizeText(s) + ": \"" + dims(s) + "\"");
    int maxWidthPt = MaxCustomWidthPt(m);
    t.Line("*VariablePaperSize: True");
    t.Line("*HWMargins: 0 0 0 0");
    t.Line("*MaxMediaWidth: \"" + Int(maxWidthPt) + "\"");
    t.Line("*MaxMediaHeight: \"" + Int(kMaxCustomLengthPt) + "\"");
    t.Line("*CustomPageSize True: \"pop pop pop <</PageSize[5 -2 roll]/ImagingBBox null>>setpagedevice\"");
    t.Line("*ParamCustomPageSize Width: 1 points " + Int(kMinCustomSidePt) + " " + Int(maxWidthPt));
    t.Line("*ParamCustomPageSize Height: 2 points " + Int(kMinCustomSidePt) + " " + Int(kMaxCustomLengthPt));
    t.Line("*ParamCustomPageSize WidthOffset: 3 points 0 0");
    t.Line("*ParamCustomPageSize HeightOffset: 4 points 0 0");
    t.Line("*ParamCustomPageSize Orientation: 5 int 0 0");
}

// Returns the text of the raster resolution `dpi` of `model`, saying what it
// is for. PPD texts cannot hold a colon, so it is written in hex ("<3A>").
std::string ResolutionText(const PpdModel& m, int dpi)
{
    const char* use = "sharper barcodes";
    if (dpi == m.dpi)
        use = "fastest";
    else if (dpi == m.dpi * m.maxSupersampling)
        use = "sharpest barcodes";
    return Int(dpi) + " dpi<3A> " + use;
}

// The raster the filter needs: 24-bit RGB at the printer's resolution or a
// whole multiple of it; "OutputDPI" stays the printer's own resolution.
void WriteRaster(LineWriter& t, const PpdModel& m)
{
    t.Line("*OpenUI *Resolution/Resolution: PickOne");
    t.Line("*OrderDependency: 10 AnySetup *Resolution");
    t.Line("*DefaultResolution: " + Int(m.dpi * m.defaultSupersampling) + "dpi");
    for (int dpi : RasterResolutions(m)) {
        std::string d = Int(dpi);
        t.Line("*Resolution " + d + "dpi/" + ResolutionText(m, dpi) + ": \"<</HWResolution[" + d + " " + d +
               "]/cupsBitsPerColor 8/cupsColorOrder 0/cupsColorSpace 1>>setpagedevice\"");
    }
    t.Line("*CloseUI: *Resolution");
    t.Line("*OpenUI *ColorModel/Raster Colour: PickOne");
    t.Line("*OrderDependency: 10 AnySetup *ColorModel");
    t.Line("*DefaultColorModel: RGB");
    t.Line("*ColorModel RGB/RGB (converted to black and white by the driver): "
           "\"<</cupsColorSpace 1/cupsBitsPerColor 8/cupsColorOrder 0/cupsCompression 0>>setpagedevice\"");
    t.Line("*CloseUI: *ColorModel");
}

// One PickOne option with its default and choices.
void WriteOption(LineWriter& t, const DriverOption& o)
{
    constexpr int kDriverOptionOrder = 20;  // after page size and raster set-up
    t.Line("*OpenUI *" + o.keyword + "/" + o.text + ": PickOne");
    t.Line("*OrderDependency: " + Int(kDriverOptionOrder) + " AnySetup *" + o.keyword);
    t.Line("*Default" + o.keyword + ": " + o.defaultChoice);
    for (const OptionChoice& c : o.choices)
        t.Line("*" + o.keyword + " " + c.name + "/" + c.text + ": \"" + c.code + "\"");
    t.Line("*CloseUI: *" + o.keyword);
}

// One group of options; the group given `withBasics` also holds the page
// sizes and the raster request of that model.
void WriteGroup(LineWriter& t, const OptionGroup& g, const PpdModel* withBasics)
{
    t.Line("*OpenGroup: " + g.name + "/" + g.text);
    if (withBasics) {
        WriteSizes(t, *withBasics);
        WriteRaster(t, *withBasics);
    }
    for (const DriverOption& o : g.options)
        WriteOption(t, o);
    t.Line("*CloseGroup: " + g.name);
}

}  // namespace

const std::vector<PpdModel>& PpdModels()
{
    static const std::vector<PpdModel> models = {
        {"kivcp-epl2-203dpi-2in.ppd", "KV203_2.PPD", 203, 2, 3, 3},
        {"kivcp-epl2-203dpi-4in.ppd", "KV203_4.PPD", 203, 4, 3, 3},
        {"kivcp-epl2-300dpi-2in.ppd", "KV300_2.PPD", 300, 2, 2, 1},
        {"kivcp-epl2-300dpi-4in.ppd", "KV300_4.PPD", 300, 4, 2, 1},
    };
    return models;
}

std::vector<int> RasterResolutions(const PpdModel& model)
{
    std::vector<int> dpis;
    for (int factor = 1; factor <= model.maxSupersampling; ++factor)
        dpis.push_back(model.dpi * factor);
    return dpis;
}

std::string PpdText(const PpdModel& model)
{
    LineWriter t;
    WriteHeader(t, model);
    std::vector<OptionGroup> groups = DriverOptions(model);
    // The first group also holds the page sizes and the raster request.
    for (size_t i = 0; i < groups.size(); ++i)
        WriteGroup(t, groups[i], i == 0 ? &model : nullptr);
    t.Line("*DefaultFont: Courier");
    t.Line("*Font Courier: Standard \"(002.004S)\" Standard ROM");
    t.Line("*% End of " + model.fileName);
    return t.Text();
}

}  // namespace kvppd
