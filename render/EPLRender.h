// The renderer the job loop drives: it holds the three job records and
// writes printer commands to standard output, the start of the document once
// per job and each page through the page pipeline.
#ifndef KV_RENDER_EPLRENDER_H
#define KV_RENDER_EPLRENDER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "BmpProcessing.h"
#include "DevMode.h"
#include "OemCfg.h"

namespace kvrender {
struct WorkImage;
struct DeferredSwap;

// Where a renderer's printer commands go. The filter writes them to
// standard output, which the spooler's back end carries to the printer; the
// printer application hands them to its printer's device instead. Whatever
// the sink, the bytes and the order of the writes are the same.
class CommandSink {
public:
    virtual ~CommandSink() = default;
    // Writes `size` bytes of `data`; returns how many were written.
    virtual size_t Write(const void* data, size_t size) = 0;
};
}  // namespace kvrender

class CEPLRender {
public:
    CEPLRender();
    ~CEPLRender();

    // The records are owned by the job loop and outlive the renderer.
    void SetOemCfgPointer(tagOEMCFG* cfg);
    void SetDevModePointer(_DEVMODE* devMode);
    void SetOemPdevPointer(_OEMPDEV* pdev);
    // The held page's pending red-blue swap, owned by the job loop; none
    // unless set. The renderer makes the swap and clears `pending`.
    void SetDeferredSwap(kvrender::DeferredSwap* swap);
    // Where the commands go, owned by the caller; standard output unless set.
    void SetCommandSink(kvrender::CommandSink* sink);

    // Writes `size` bytes of `data` to the sink (standard output: in one
    // buffered write).
    // Returns 1 when any byte was written, 0 otherwise or when no job has
    // been set up (null configuration). The last two arguments are unused.
    int32_t SendCommand(unsigned char* data, unsigned int size, unsigned char, wchar_t*);

    // Emits the start-of-document block. Returns 0 when no job has been set
    // up, else 1.
    int32_t StartDocCMD();

    // Renders the held page. Returns false only when there is no held page.
    bool TransCommand(bool lastPage, bool logOn);
    // The steps of the pages rendered so far that went without memory, as
    // phrases for a message ("the halftone"); the page went on without
    // them, as it must.
    const std::vector<const char*>& MemoryShortfalls() const { return m_shortfalls; }

    // Writes `height` rows of `data` (`size` bytes in all) at `bitsPerPixel`
    // to a BMP file at `path`, replacing any file there. An unopenable file
    // is skipped silently; an allocation failure throws.
    void LogData2BmpFile(const char* path, unsigned char* data, unsigned int size, int width, int height,
                         int bitsPerPixel);

private:
    using WorkImage = kvrender::WorkImage;

    // Page pipeline steps, in the order TransCommand runs them.
    // The scaling of the held page to the printer's resolution.
    struct ScalePlan {
        bool scale = false;
        bool shrink = false;
        int64_t width = 0;
        int64_t height = 0;
        int64_t bytes = 0;
    };
    ScalePlan PlanScale() const;
    void SwapHeldPageIfPending();
    bool ConversionTakesHeldPageAsSent(bool logOn) const;
    void HeldPageConverted(CBmpProcessing& bmp, bool gaveImage);
    void ScaleToOutputResolution(CBmpProcessing& bmp);
    void FirstConversion(CBmpProcessing& bmp, WorkImage& work, int orientation, const COLORLEVELSITEM& levels);
    void AutoRotate(CBmpProcessing& bmp, WorkImage& work);
    void FitPrintableWidth(CBmpProcessing& bmp, WorkImage& work);
    void SecondConversion(CBmpProcessing& bmp, WorkImage& work, int orientation, const COLORLEVELSITEM& levels);
    void Halftone(CBmpProcessing& bmp, WorkImage& work);
    bool ThresholdInPlace(CBmpProcessing& bmp, WorkImage& work, bool invert);
    void SendPage(CBmpProcessing& bmp, WorkImage& work, int orientation, bool lastPage);
    void RestorePageSize(const tagBITMAPINFOHEADER& saved);
    // Writes a debug dump; an exception is logged and the page goes on.
    void DumpPage(const char* path, unsigned char* data, uint64_t size, int width, int height, int bits);

    // Computes the label width and length from the first page and writes
    // them, the orientation copy and a cleared back-feed into the
    // configuration, where they stay for the whole job.
    void StoreLabelSize();
    // Builds the start-of-document block and writes it to standard output
    // in one buffered write; nothing when the emulation refuses it.
    void SendStartDocBlock();
    // Writes printer commands to the sink, or to standard output in one
    // buffered write; returns the bytes written.
    size_t Emit(const void* data, size_t size);

    tagOEMCFG* m_pOemCfg;  // null: no job set up
    _DEVMODE* m_pDevMode;
    _OEMPDEV* m_pOemPdev;
    kvrender::DeferredSwap* m_pSwap = nullptr;
    kvrender::CommandSink* m_pSink = nullptr;  // null: standard output
    std::vector<const char*> m_shortfalls;
};

#endif
