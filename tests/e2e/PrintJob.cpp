// Job runner and page builders of the end-to-end tests.
#include "PrintJob.h"

#include "PpdWriter.h"
#include "TempDir.h"

namespace kvtest {

namespace {

constexpr unsigned kTestDpi = 203;
constexpr unsigned char kWhite = 255;

}  // namespace

PrintedJob ReadJob(const FilterResult& result)
{
    PrintedJob job;
    job.result = result;
    job.stream = ParseEpl(result.out);
    job.lines = CommandLines(job.stream);
    job.graphics = Graphics(job.stream);
    return job;
}

PrintedJob RunJob(const std::map<std::string, std::string>& codes, const std::vector<RasterPage>& pages,
                  const std::string& options)
{
    TempDir dir;
    const std::string ppd = LabelPpd(codes).WriteTo(dir.File("label.ppd"));
    return ReadJob(RunFilter(FilterArgs(options), ppd, RasterBytes(pages)));
}

RasterPage GreyRows(const std::vector<std::vector<int>>& rows)
{
    const unsigned width = rows.empty() ? 0 : static_cast<unsigned>(rows[0].size());
    return RgbPage(width, static_cast<unsigned>(rows.size()), kTestDpi,
                   [&](unsigned x, unsigned y, unsigned char rgb[3]) {
                       rgb[0] = rgb[1] = rgb[2] = static_cast<unsigned char>(rows[y][x]);
                   });
}

RasterPage BlackBoxes(unsigned width, unsigned height, const std::vector<Box>& black)
{
    return RgbPage(width, height, kTestDpi, [&](unsigned x, unsigned y, unsigned char rgb[3]) {
        unsigned char v = kWhite;
        for (const Box& b : black)
            if (x >= b.x0 && x < b.x1 && y >= b.y0 && y < b.y1)
                v = 0;
        rgb[0] = rgb[1] = rgb[2] = v;
    });
}

RasterPage WithCopies(RasterPage page, unsigned copies)
{
    page.header.NumCopies = copies;
    return page;
}

std::string RawBytes(const std::vector<int>& values)
{
    std::string out;
    for (int v : values)
        out += static_cast<char>(v);
    return out;
}

std::string Fill(int value, size_t count)
{
    return std::string(count, static_cast<char>(value));
}

std::vector<std::string> Join(const std::vector<std::vector<std::string>>& parts)
{
    std::vector<std::string> all;
    for (const std::vector<std::string>& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

}  // namespace kvtest
