// The drivers of the printer application, built from the PPD models and
// the option table, so the application and the PPDs offer the same
// printers, sizes, resolutions and choices.
#include "Drivers.h"

#include <strings.h>

#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "IppOptions.h"
#include "OptionTable.h"
#include "RasterJob.h"

namespace kvapp {
namespace {

// Hundredths of a millimetre, PWG's unit of media sizes.
constexpr double kPwgPerInch = 2540.0, kPwgPerMm = 100.0;
constexpr double kPointsPerInch = 72.0;
constexpr const char* kMainRoll = "main-roll";

// Everything PAPPL keeps pointers to, per model, made once: PAPPL copies
// the driver data but not the strings it points at.
struct ModelStrings {
    std::string driverName;
    std::string description;
    std::vector<std::string> media;  // sizes, then the custom range
    std::string defaultMedia;
    std::vector<VendorAttribute> vendor;
};

// The PWG name of a size of `w` x `l` (inches or millimetres).
std::string PwgName(const char* prefix, const char* name, double w, double l, bool metric)
{
    char keyword[128];
    const double unit = metric ? kPwgPerMm : kPwgPerInch;
    pwgFormatSizeName(keyword, sizeof keyword, prefix, name, static_cast<int>(w * unit + 0.5),
                      static_cast<int>(l * unit + 0.5), metric ? "mm" : "in");
    return keyword;
}

std::string MediaName(const kvppd::LabelSize& s)
{
    return PwgName(s.metric ? "om" : "oe", nullptr, s.width, s.length, s.metric);
}

const std::map<std::string, ModelStrings>& AllModelStrings()
{
    static const std::map<std::string, ModelStrings> all = [] {
        std::map<std::string, ModelStrings> m;
        for (const kvppd::PpdModel& model : kvppd::PpdModels()) {
            ModelStrings s;
            s.driverName = DriverName(model);
            s.description =
                "KIVCP EPL2 " + std::to_string(model.headInches) + "-inch " + std::to_string(model.dpi) + " dpi";
            s.media = MediaNames(model);
            const double minInches = kvppd::kMinCustomSidePt / kPointsPerInch;
            s.media.push_back(PwgName("roll", "min", minInches, minInches, false));
            s.media.push_back(PwgName("roll", "max", kvppd::MaxCustomWidthPt(model) / kPointsPerInch,
                                      kvppd::kMaxCustomLengthPt / kPointsPerInch, false));
            s.defaultMedia = DefaultMediaName(model);
            s.vendor = VendorAttributes(model);
            m[s.driverName] = s;
        }
        return m;
    }();
    return all;
}

// Adds "<name>-supported" and "<name>-default" of a vendor attribute.
void AddVendorAttribute(ipp_t* attrs, const VendorAttribute& v)
{
    std::vector<const char*> values;
    for (const std::string& k : v.keywords)
        values.push_back(k.c_str());
    ippAddStrings(attrs, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, (v.ippName + "-supported").c_str(),
                  static_cast<int>(values.size()), nullptr, values.data());
    ippAddString(attrs, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, (v.ippName + "-default").c_str(), nullptr,
                 v.defaultKeyword.c_str());
}

// Fills the default and ready media: the model's default size on the one
// roll, labels with gaps, edge to edge.
void SetDefaultMedia(pappl_pr_driver_data_t* data, const std::string& sizeName)
{
    pappl_media_col_t& media = data->media_default;
    memset(&media, 0, sizeof media);
    strncpy(media.size_name, sizeName.c_str(), sizeof media.size_name - 1);
    if (pwg_media_t* pwg = pwgMediaForPWG(sizeName.c_str())) {
        media.size_width = pwg->width;
        media.size_length = pwg->length;
    }
    strncpy(media.source, kMainRoll, sizeof media.source - 1);
    strncpy(media.type, kMediaTypeGap, sizeof media.type - 1);
    data->media_ready[0] = media;
}

// The English texts of the vendor attributes and their keywords, from the
// option table ("halftone" = "Halftoning", "halftone.errordiffusion" =
// "Error diffusion (photos)"), as a PAPPL strings file: the web interface
// shows them instead of the bare keywords, and IPP clients get them too.
std::string VendorStrings()
{
    std::map<std::string, std::string> texts;
    for (const kvppd::PpdModel& model : kvppd::PpdModels()) {
        const std::vector<kvppd::OptionGroup> table = kvppd::DriverOptions(model);
        for (const VendorAttribute& v : VendorAttributes(model)) {
            const kvppd::DriverOption* option = kvppd::FindDriverOption(table, v.ppdKeyword);
            if (v.ippName == "tear-off-back-feed") {
                texts[v.ippName] = "Tear-Off Back-Feed";
                texts[v.ippName + ".on"] = "On (pull back before the next label)";
                texts[v.ippName + ".off"] = "Off";
                continue;
            }
            texts[v.ippName] = option->text;
            for (const kvppd::OptionChoice& c : option->choices)
                texts[v.ippName + "." + IppKeyword(c.name)] = c.text;
        }
    }
    std::string out;
    for (const auto& [key, text] : texts) {
        std::string quoted;
        for (char ch : text)
            quoted += ch == '"' ? std::string("\\\"") : std::string(1, ch);
        out += "\"" + key + "\" = \"" + quoted + "\";\n";
    }
    return out;
}

// Adds the texts once per system.
void AddVendorStrings(pappl_system_t* system)
{
    static std::mutex lock;
    static pappl_system_t* added = nullptr;
    static const std::string strings = VendorStrings();
    std::lock_guard<std::mutex> guard(lock);
    if (added == system)
        return;
    papplSystemAddStringsData(system, "/en.strings", "en", strings.c_str());
    added = system;
}

}  // namespace

std::string DriverName(const kvppd::PpdModel& model)
{
    return "kivcp_epl2_" + std::to_string(model.dpi) + "dpi_" + std::to_string(model.headInches) + "in";
}

const kvppd::PpdModel* ModelOfDriver(const char* name)
{
    if (!name)
        return nullptr;
    for (const kvppd::PpdModel& model : kvppd::PpdModels())
        if (DriverName(model) == name)
            return &model;
    return nullptr;
}

std::vector<std::string> MediaNames(const kvppd::PpdModel& model)
{
    std::vector<std::string> names;
    for (const kvppd::LabelSize& s : kvppd::LabelSizes(model))
        names.push_back(MediaName(s));
    return names;
}

std::string DefaultMediaName(const kvppd::PpdModel& model)
{
    return MediaName(kvppd::DefaultLabelSize(model));
}

std::vector<pappl_pr_driver_t>& DriverList()
{
    static std::vector<pappl_pr_driver_t> list = [] {
        std::vector<pappl_pr_driver_t> l;
        for (const kvppd::PpdModel& model : kvppd::PpdModels()) {
            const ModelStrings& s = AllModelStrings().at(DriverName(model));
            l.push_back({s.driverName.c_str(), s.description.c_str(), kEpl2DeviceId, nullptr});
        }
        return l;
    }();
    return list;
}

bool DeviceSchemeSupported(const char* deviceUri)
{
    if (!deviceUri)
        return false;
    for (const char* scheme : {"usb://", "socket://", "file://"})
        if (strncasecmp(deviceUri, scheme, strlen(scheme)) == 0)
            return true;
    return false;
}

bool DriverCallback(pappl_system_t* system, const char* driverName, const char* deviceUri, const char* /*deviceId*/,
                    pappl_pr_driver_data_t* data, ipp_t** attrs, void* /*cbData*/)
{
    const kvppd::PpdModel* model = ModelOfDriver(driverName);
    if (!model) {
        papplLog(system, PAPPL_LOGLEVEL_ERROR, "No driver called \"%s\".", driverName ? driverName : "(null)");
        return false;
    }
    if (!DeviceSchemeSupported(deviceUri)) {
        papplLog(system, PAPPL_LOGLEVEL_ERROR, "Device \"%s\" is not a usb:, socket: or file: device.",
                 deviceUri ? deviceUri : "(null)");
        return false;
    }
    const ModelStrings& s = AllModelStrings().at(driverName);
    AddVendorStrings(system);

    data->printfile_cb = PrintRawFile;
    data->rstartjob_cb = StartJob;
    data->rstartpage_cb = StartPage;
    data->rwriteline_cb = WriteLine;
    data->rendpage_cb = EndPage;
    data->rendjob_cb = EndJob;
    data->format = kEplFormat;
    strncpy(data->make_and_model, s.description.c_str(), sizeof data->make_and_model - 1);
    data->ppm = 60;
    data->kind = PAPPL_KIND_LABEL;
    data->orient_default = IPP_ORIENT_PORTRAIT;
    data->quality_default = IPP_QUALITY_NORMAL;

    // The filter reads 24-bit RGB and makes black and white itself, as the
    // PPDs ask the spooler for: PAPPL renders images to sRGB and asks PWG
    // raster clients for it in the colour mode, the default. Clients that
    // ask for monochrome (the spooler's IPP Everywhere queues do) send
    // 8-bit grey, which the job widens to RGB line by line.
    data->color_supported = static_cast<pappl_color_mode_t>(PAPPL_COLOR_MODE_COLOR | PAPPL_COLOR_MODE_MONOCHROME);
    data->color_default = PAPPL_COLOR_MODE_COLOR;
    data->raster_types = static_cast<pappl_raster_type_t>(PAPPL_PWG_RASTER_TYPE_SRGB_8 | PAPPL_PWG_RASTER_TYPE_SGRAY_8);

    // The PPDs' Resolution choices: the printer's own and the supersampled
    // ones, the PPD's default first choice.
    const std::vector<int> dpis = kvppd::RasterResolutions(*model);
    data->num_resolution = 0;
    for (int dpi : dpis) {
        if (data->num_resolution >= PAPPL_MAX_RESOLUTION)
            break;
        data->x_resolution[data->num_resolution] = dpi;
        data->y_resolution[data->num_resolution] = dpi;
        ++data->num_resolution;
    }
    data->x_default = data->y_default = model->dpi * model->defaultSupersampling;
    // PAPPL picks a job's resolution by print-quality when the job names
    // none (draft the coarsest, normal the middle, high the finest): the
    // quality default is the one that picks the PPD's default resolution.
    if (model->defaultSupersampling == 1)
        data->quality_default = IPP_QUALITY_DRAFT;
    else if (model->defaultSupersampling == model->maxSupersampling)
        data->quality_default = IPP_QUALITY_HIGH;

    data->borderless = true;
    data->left_right = 0;
    data->bottom_top = 0;
    data->num_media = 0;
    for (const std::string& m : s.media)
        if (data->num_media < PAPPL_MAX_MEDIA)
            data->media[data->num_media++] = m.c_str();
    data->num_source = 1;
    data->source[0] = kMainRoll;
    data->num_type = 3;
    data->type[0] = kMediaTypeGap;
    data->type[1] = kMediaTypeBlackMark;
    data->type[2] = kMediaTypeContinuous;
    SetDefaultMedia(data, s.defaultMedia);

    data->mode_supported = static_cast<pappl_label_mode_t>(PAPPL_LABEL_MODE_TEAR_OFF | PAPPL_LABEL_MODE_PEEL_OFF |
                                                           PAPPL_LABEL_MODE_CUTTER);
    data->mode_configured = PAPPL_LABEL_MODE_TEAR_OFF;
    data->darkness_supported = kDarknessLevels;
    data->darkness_configured = kDarknessConfiguredDefault;
    data->darkness_default = 0;
    data->speed_supported[0] = kSpeedUnitsPerLevel;
    data->speed_supported[1] = 6 * kSpeedUnitsPerLevel;
    data->speed_default = 0;

    if (!*attrs)
        *attrs = ippNew();
    data->num_vendor = 0;
    for (const VendorAttribute& v : s.vendor) {
        if (data->num_vendor >= PAPPL_MAX_VENDOR)
            break;
        data->vendor[data->num_vendor++] = v.ippName.c_str();
        AddVendorAttribute(*attrs, v);
    }
    return true;
}

const char* AutoAddCallback(const char* /*deviceInfo*/, const char* deviceUri, const char* deviceId, void* /*cbData*/)
{
    if (!DeviceSchemeSupported(deviceUri) || !deviceId)
        return nullptr;
    cups_option_t* pairs = nullptr;
    int count = papplDeviceParseID(deviceId, &pairs);
    const char* cmd = cupsGetOption("COMMAND SET", count, pairs);
    if (!cmd)
        cmd = cupsGetOption("CMD", count, pairs);
    const bool epl2 = cmd && strstr(cmd, "EPL2") != nullptr;
    cupsFreeOptions(count, pairs);
    // A printer says its command set, not its head width or resolution: the
    // common 4-inch 203 dpi model; another is chosen with "add -m".
    static const std::string fallback = DriverName(kvppd::PpdModels()[1]);
    return epl2 ? fallback.c_str() : nullptr;
}

}  // namespace kvapp
