// eplview: previews an EPL2 label stream without a printer. Writes each
// printed label as a one-bit PNG image of the label's size in dots and
// prints a summary of the printer set-up and of the labels.
//
// Usage: eplview [-o PREFIX] [-n] [FILE]
//   -o PREFIX  name the images PREFIX-1.png, PREFIX-2.png, ... (default "label")
//   -n         write no images, only the summary
//   FILE       the EPL2 stream; standard input when missing or "-"
// Exit status: 0 done, 1 malformed stream (the message names the byte
// offset), 2 wrong arguments or a file that cannot be read or written.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "EplDocument.h"
#include "LabelBitmap.h"
#include "PngWriter.h"
#include "Summary.h"

namespace {

constexpr int kMalformed = 1;
constexpr int kUsageOrIo = 2;

const char* kUsage = "usage: eplview [-o PREFIX] [-n] [FILE]\n";

struct Arguments {
    std::string prefix = "label";
    bool images = true;
    std::string file = "-";
};

// Reads the command line; false on anything it does not know.
bool ParseArguments(int argc, char** argv, Arguments& args)
{
    bool haveFile = false;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "-o" && i + 1 < argc)
            args.prefix = argv[++i];
        else if (a == "-n")
            args.images = false;
        else if ((a == "-" || a[0] != '-') && !haveFile) {
            args.file = a;
            haveFile = true;
        } else
            return false;
    }
    return true;
}

// Reads the whole input; false when the file cannot be read.
bool ReadInput(const std::string& file, std::string& data)
{
    if (file == "-") {
        std::ostringstream ss;
        ss << std::cin.rdbuf();
        data = ss.str();
        return !std::cin.bad();
    }
    std::ifstream in(file, std::ios::binary);
    if (!in)
        return false;
    data.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

bool WriteFile(const std::string& path, const std::string& data)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << data;
    out.close();
    return static_cast<bool>(out);
}

// Returns the tEXt entries of a label image: who made it and the copies.
std::vector<std::pair<std::string, std::string>> ImageTexts(const eplview::Label& label)
{
    return {{"Software", "eplview"}, {"Copies", std::to_string(label.sets * label.copies)}};
}

}  // namespace

int main(int argc, char** argv)
{
    Arguments args;
    if (!ParseArguments(argc, argv, args)) {
        std::fputs(kUsage, stderr);
        return kUsageOrIo;
    }
    std::string name = args.file == "-" ? "standard input" : args.file;
    std::string stream;
    if (!ReadInput(args.file, stream)) {
        std::fprintf(stderr, "eplview: cannot read %s\n", name.c_str());
        return kUsageOrIo;
    }
    eplview::Document doc;
    eplview::ParseError err;
    if (!eplview::ParseEpl(stream, doc, err)) {
        std::fprintf(stderr, "eplview: %s: byte %zu: %s\n", name.c_str(), err.offset, err.message.c_str());
        return kMalformed;
    }
    std::vector<std::string> files;
    for (std::size_t i = 0; args.images && i < doc.labels.size(); ++i) {
        std::string path = args.prefix + "-" + std::to_string(i + 1) + ".png";
        const eplview::Label& label = doc.labels[i];
        if (!WriteFile(path, eplview::EncodePng(eplview::RenderLabel(label), ImageTexts(label)))) {
            std::fprintf(stderr, "eplview: cannot write %s\n", path.c_str());
            return kUsageOrIo;
        }
        files.push_back(path);
    }
    std::fputs(eplview::Summary(doc, files).c_str(), stdout);
    return 0;
}
