// Raster streams for tests, written through cupsRasterOpen(CUPS_RASTER_WRITE).
#include "RasterWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "TempDir.h"
#include "TestFiles.h"

namespace kvtest {

namespace {

constexpr unsigned kPointsPerInch = 72;

}  // namespace

cups_page_header2_t RgbHeader(unsigned width, unsigned height, unsigned dpi)
{
    cups_page_header2_t h;
    memset(&h, 0, sizeof(h));
    h.HWResolution[0] = dpi;
    h.HWResolution[1] = dpi;
    h.PageSize[0] = width * kPointsPerInch / dpi;
    h.PageSize[1] = height * kPointsPerInch / dpi;
    h.ImagingBoundingBox[2] = h.PageSize[0];
    h.ImagingBoundingBox[3] = h.PageSize[1];
    h.NumCopies = 1;
    h.cupsWidth = width;
    h.cupsHeight = height;
    h.cupsBitsPerColor = 8;
    h.cupsBitsPerPixel = 24;
    h.cupsBytesPerLine = width * 3;
    h.cupsColorOrder = CUPS_ORDER_CHUNKED;
    h.cupsColorSpace = CUPS_CSPACE_RGB;
    return h;
}

RasterPage RgbPage(unsigned width, unsigned height, unsigned dpi,
                   const std::function<void(unsigned, unsigned, unsigned char[3])>& pixel)
{
    RasterPage page{RgbHeader(width, height, dpi), {}};
    for (unsigned y = 0; y < height; ++y) {
        std::vector<unsigned char> row(width * 3);
        for (unsigned x = 0; x < width; ++x)
            pixel(x, y, &row[3 * x]);
        page.rows.push_back(std::move(row));
    }
    return page;
}

RasterPage GreyPageAsRgb(const RasterPage& grey)
{
    RasterPage rgb{grey.header, {}};
    rgb.header.cupsBitsPerPixel = 24;
    rgb.header.cupsBytesPerLine = grey.header.cupsWidth * 3;
    rgb.header.cupsColorSpace = CUPS_CSPACE_SRGB;
    rgb.header.cupsNumColors = 3;
    for (const std::vector<unsigned char>& row : grey.rows) {
        std::vector<unsigned char> wide(row.size() * 3);
        for (size_t x = 0; x < row.size(); ++x)
            wide[3 * x] = wide[3 * x + 1] = wide[3 * x + 2] = row[x];
        rgb.rows.push_back(std::move(wide));
    }
    return rgb;
}

RasterPage SolidPage(unsigned width, unsigned height, unsigned dpi, unsigned char r, unsigned char g, unsigned char b)
{
    return RgbPage(width, height, dpi, [&](unsigned, unsigned, unsigned char rgb[3]) {
        rgb[0] = r;
        rgb[1] = g;
        rgb[2] = b;
    });
}

namespace {

// An open raster stream for writing; closed with its file at destruction.
class RasterOutput {
public:
    explicit RasterOutput(const std::string& path)
    {
        m_fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (m_fd < 0)
            throw std::runtime_error("cannot create " + path);
        m_ras = cupsRasterOpen(m_fd, CUPS_RASTER_WRITE);
        if (!m_ras) {
            close(m_fd);
            throw std::runtime_error("cupsRasterOpen for writing failed");
        }
    }
    ~RasterOutput()
    {
        cupsRasterClose(m_ras);
        close(m_fd);
    }
    RasterOutput(const RasterOutput&) = delete;
    RasterOutput& operator=(const RasterOutput&) = delete;

    void Header(cups_page_header2_t header) { cupsRasterWriteHeader2(m_ras, &header); }
    void Row(std::vector<unsigned char> row)
    {
        cupsRasterWritePixels(m_ras, row.data(), static_cast<unsigned>(row.size()));
    }

private:
    int m_fd = -1;
    cups_raster_t* m_ras = nullptr;
};

}  // namespace

void WriteRaster(const std::string& path, const std::vector<RasterPage>& pages)
{
    RasterOutput out(path);
    for (const RasterPage& page : pages) {
        out.Header(page.header);
        for (const std::vector<unsigned char>& row : page.rows)
            out.Row(row);
    }
}

void WriteStreamedPage(const std::string& path, const cups_page_header2_t& header,
                       const std::function<void(unsigned y, std::vector<unsigned char>& row)>& fill)
{
    RasterOutput out(path);
    out.Header(header);
    std::vector<unsigned char> row(header.cupsBytesPerLine);
    for (unsigned y = 0; y < header.cupsHeight; ++y) {
        fill(y, row);
        out.Row(row);
    }
}

std::string RasterBytes(const std::vector<RasterPage>& pages)
{
    TempDir dir;
    std::string path = dir.File("job.ras");
    WriteRaster(path, pages);
    return ReadFile(path);
}

}  // namespace kvtest
