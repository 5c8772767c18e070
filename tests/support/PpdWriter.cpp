// Test PPD files.
#include "PpdWriter.h"

#include <sstream>

#include "TestFiles.h"

namespace kvtest {

namespace {

// The main keywords every PPD carries so that libcups accepts it.
const char* const kPpdHeader = "*PPD-Adobe: \"4.3\"\n"
                               "*FormatVersion: \"4.3\"\n"
                               "*FileVersion: \"1.0\"\n"
                               "*LanguageVersion: English\n"
                               "*LanguageEncoding: ISOLatin1\n"
                               "*PCFileName: \"KVTEST.PPD\"\n"
                               "*Manufacturer: \"Test\"\n"
                               "*Product: \"(Test Label Printer)\"\n"
                               "*ModelName: \"Test Label Printer\"\n"
                               "*ShortNickName: \"Test Label Printer\"\n"
                               "*NickName: \"Test Label Printer\"\n"
                               "*PSVersion: \"(3010.000) 0\"\n"
                               "*ColorDevice: True\n"
                               "*DefaultColorSpace: RGB\n"
                               "*cupsFilter: \"application/vnd.cups-raster 0 rastertokivcp\"\n";

}  // namespace

PpdWriter& PpdWriter::Option(const std::string& keyword, const std::vector<std::string>& codes)
{
    PpdOption option{keyword, codes.empty() ? "" : codes.front(), {}};
    for (const std::string& code : codes)
        option.choices.push_back({code, code});
    return OptionChoices(option);
}

PpdWriter& PpdWriter::OptionCode(const std::string& keyword, const std::string& code)
{
    return OptionChoices({keyword, "Only", {{"Only", code}}});
}

PpdWriter& PpdWriter::OptionChoices(PpdOption option)
{
    m_options.push_back(std::move(option));
    return *this;
}

PpdWriter& PpdWriter::Keyword(const std::string& keyword, const std::string& value, bool quoted)
{
    m_lines.push_back("*" + keyword + ": " + (quoted ? "\"" + value + "\"" : value));
    return *this;
}

PpdWriter& PpdWriter::Raw(const std::string& text)
{
    m_raw += text;
    return *this;
}

std::string PpdWriter::Text() const
{
    std::ostringstream out;
    out << kPpdHeader;
    for (const std::string& line : m_lines)
        out << line << "\n";
    for (const PpdOption& option : m_options) {
        out << "*OpenUI *" << option.keyword << "/" << option.keyword << ": PickOne\n";
        out << "*Default" << option.keyword << ": " << option.defaultChoice << "\n";
        for (const PpdChoice& choice : option.choices)
            out << "*" << option.keyword << " " << choice.name << "/" << choice.name << ": \"" << choice.code << "\"\n";
        out << "*CloseUI: *" << option.keyword << "\n";
    }
    out << m_raw;
    return out.str();
}

std::string PpdWriter::WriteTo(const std::string& path) const
{
    WriteFile(path, Text());
    return path;
}

std::map<std::string, std::string> LabelPpdCodes()
{
    return {
        {"Mirror", "0"},
        {"Rotation", "0"},
        {"NegativeFilm", "0"},
        {"Density", "10"},
        {"HorizontalOffset", "0"},
        {"HorizontalOffsetValue", "0"},
        {"VerticalOffset", "0"},
        {"VerticalOffsetValue", "0"},
        {"Brightness", "100"},
        {"Contrast", "100"},
        {"Levels", "100"},
        {"Halftone", "1"},
        {"PrintMethod", "0"},
        {"MediaType", "0"},
        {"GAPOffset", "0"},
        {"GAPHeight", "3"},
        {"Mode", "0"},
        {"CutMethod", "0"},
        {"Interval", "1"},
        {"Feed", "100"},
        {"MaxOutputWidth", "104"},
        {"IsToDashed", "0"},
        {"MinLength", "5"},
        {"IntervalBlack", "1"},
        {"IntervalWhite", "1"},
        {"SavePaper", "0"},
        {"PrintMode", "0"},
        {"PrintSpeed", "4"},
        {"FixedHeight", "0"},
        {"AutoRotate", "0"},
        {"StartOffsetValue", "0"},
        {"EndOffsetValue", "0"},
        {"DriverLog", "0"},
        {"OutputDPI", "203"},
    };
}

std::vector<std::string> FilterOptionKeywords()
{
    std::vector<std::string> keywords;
    for (const auto& [keyword, code] : LabelPpdCodes())
        if (keyword != "OutputDPI")
            keywords.push_back(keyword);
    return keywords;
}

PpdWriter LabelPpd(const std::map<std::string, std::string>& codes)
{
    PpdWriter ppd;
    for (const auto& [keyword, code] : codes) {
        if (keyword == "OutputDPI")
            ppd.Keyword(keyword, code);
        else
            ppd.OptionCode(keyword, code);
    }
    return ppd;
}

std::map<std::string, std::string> WithCodes(std::map<std::string, std::string> overrides)
{
    std::map<std::string, std::string> codes = LabelPpdCodes();
    for (const auto& [keyword, code] : overrides)
        codes[keyword] = code;
    return codes;
}

std::map<std::string, std::string> WithoutOptions(const std::vector<std::string>& keywords)
{
    std::map<std::string, std::string> codes = LabelPpdCodes();
    for (const std::string& keyword : keywords)
        codes.erase(keyword);
    return codes;
}

}  // namespace kvtest
