// The held page buffer, filled line by line.
#include "HeldPage.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

uint64_t PageStride(const cups_page_header2_t& header)
{
    return ((uint64_t(header.cupsBitsPerPixel) * header.cupsWidth + 31) >> 5) * 4;
}

void SwapRedBlue(unsigned char* line, uint64_t lineBytes, uint64_t width)
{
    kvrender::SwapRedBlue(line, lineBytes, width);
}

namespace {

// Bytes that the first page's geometry needs: later pages are read by the
// renderer with it.
uint64_t FirstPageBytes(const tagBITMAPINFOHEADER& first)
{
    uint64_t stride = ((uint64_t(first.biBitCount) * uint32_t(first.biWidth) + 31) >> 5) * 4;
    return stride * uint32_t(first.biHeight);
}

// stride x rows, or 0 when the product does not fit the 32-bit size field.
uint64_t PageBytes(uint64_t stride, uint64_t rows)
{
    if (stride != 0 && rows > UINT32_MAX / stride)
        return 0;
    return stride * rows;
}

}  // namespace

bool HeldPageFill::Begin(const cups_page_header2_t& header, _OEMPDEV* pdev, bool swap)
{
    uint64_t stride = PageStride(header);
    uint64_t ownBytes = PageBytes(stride, header.cupsHeight);
    if (ownBytes == 0 && stride != 0 && header.cupsHeight != 0)
        return false;
    uint64_t size = std::max(ownBytes, FirstPageBytes(pdev->bmInfoHeader));
    if (size > UINT32_MAX)
        return false;
    const uint64_t lineBytes = header.cupsBytesPerLine;
    // Lines that fit their row are read straight into it; a longer line
    // (a header whose line length exceeds the row) goes through a line
    // buffer and is cut to the row.
    const bool direct = lineBytes <= stride;
    kvimg::MallocBuffer line = direct ? nullptr : kvimg::AllocateBlock(std::max<uint64_t>(lineBytes, 1));
    unsigned char* buffer = static_cast<unsigned char*>(malloc(std::max<uint64_t>(size, 1)));
    if ((!direct && !line) || !buffer) {
        free(buffer);
        return false;
    }
    pdev->pBufStart = buffer;
    pdev->dwBufSize = static_cast<uint32_t>(size);
    m_buffer = buffer;
    m_size = size;
    m_stride = stride;
    m_lineBytes = lineBytes;
    m_width = header.cupsWidth;
    m_height = header.cupsHeight;
    m_nextRow = 0;
    m_swap = swap;
    m_direct = direct;
    m_line = std::move(line);
    return true;
}

unsigned char* HeldPageFill::LineTarget(uint64_t row)
{
    return m_direct ? m_buffer + row * m_stride : m_line.get();
}

// Every byte no line fills is zero: row padding, rows the stream does not
// deliver and the room a larger first page needs.
void HeldPageFill::LineRead(uint64_t row)
{
    unsigned char* dst = m_buffer + row * m_stride;
    unsigned char* in = LineTarget(row);
    if (m_swap)
        SwapRedBlue(in, m_lineBytes, m_width);
    if (m_direct)
        memset(dst + m_lineBytes, 0, m_stride - m_lineBytes);
    else
        memcpy(dst, in, m_stride);
    if (row > m_nextRow)
        memset(m_buffer + m_nextRow * m_stride, 0, (row - m_nextRow) * m_stride);
    m_nextRow = std::max(m_nextRow, row + 1);
}

void HeldPageFill::StoreLine(uint64_t row, const unsigned char* line)
{
    if (row >= m_height || !m_buffer)
        return;
    memcpy(LineTarget(row), line, m_lineBytes);
    LineRead(row);
}

kvrender::DeferredSwap HeldPageFill::End()
{
    if (m_buffer)
        memset(m_buffer + m_nextRow * m_stride, 0, m_size - m_nextRow * m_stride);
    return {!m_swap, m_height, m_stride, m_lineBytes, m_width};
}
