// libFuzzer harness: eplview's EPL2 parser, and for a stream it accepts the
// summary and the drawing of its first labels (the PNG only for small
// ones, so each input stays quick).
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "EplDocument.h"
#include "LabelBitmap.h"
#include "PngWriter.h"
#include "Summary.h"

namespace {

// Labels drawn per input, and the largest image encoded as PNG, in bytes.
constexpr size_t kLabelsDrawn = 2;
constexpr long kMaxPngBytes = 64 * 1024;

}  // namespace

// Parses one stream; summarises and draws what it accepted.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string stream(reinterpret_cast<const char*>(data), size);
    eplview::Document doc;
    eplview::ParseError err;
    if (!eplview::ParseEpl(stream, doc, err))
        return 0;
    eplview::Summary(doc, {});
    for (size_t i = 0; i < doc.labels.size() && i < kLabelsDrawn; ++i) {
        eplview::LabelBitmap image = eplview::RenderLabel(doc.labels[i]);
        if (image.RowBytes() * image.Height() <= kMaxPngBytes)
            eplview::EncodePng(image, {{"Software", "eplview"}});
    }
    return 0;
}
