// Writes the driver's PPD files into a folder (by default the source tree's
// ppd/), so that the shipped files are always the generator's output.
//
// Usage: kv-gen-ppd [output-folder]
// Exit status 0 when every file was written, 1 otherwise.
#include <cstdio>
#include <fstream>
#include <string>

#include "PpdGenerator.h"

namespace {

// Writes `text` to `path`; returns false when the file cannot be written.
bool WriteText(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    return static_cast<bool>(out);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc > 2) {
        std::fprintf(stderr, "usage: kv-gen-ppd [output-folder]\n");
        return 1;
    }
    std::string folder = argc == 2 ? argv[1] : KV_PPD_SOURCE_DIR;
    for (const kvppd::PpdModel& model : kvppd::PpdModels()) {
        std::string path = folder + "/" + model.fileName;
        if (!WriteText(path, kvppd::PpdText(model))) {
            std::fprintf(stderr, "kv-gen-ppd: cannot write %s\n", path.c_str());
            return 1;
        }
        std::printf("%s\n", path.c_str());
    }
    return 0;
}
