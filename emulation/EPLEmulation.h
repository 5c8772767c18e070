// EPL2 command builder: formats printer set-up lines and page graphics into
// one command buffer, which the renderer copies out and sends to the printer.
#ifndef KV_EMULATION_EPLEMULATION_H
#define KV_EMULATION_EPLEMULATION_H

#include <cstdint>
#include <vector>

#include "OemCfg.h"

#pragma pack(push, 1)

// Options of the "O" (hardware options) command. Callers zero it before
// filling it in.
struct _HWOPT {
    uint8_t bCutter;         // request the cutter option
    int32_t nCutCount;       // labels per cut; 1 or less cuts after every label
    uint8_t bDirectThermal;  // request direct-thermal printing
    uint8_t bPeel;           // request the peel (label-taken) option
};

#pragma pack(pop)

static_assert(sizeof(_HWOPT) == 7, "the hardware-options record is packed");

class CEPLEmulation {
public:
    // Number of code-page designators in m_lpCodePageString.
    static constexpr int kCodePageCount = 20;
    // Code-page designators of the "I" command, indexed 0..19: "0".."13",
    // then "A".."F".
    static const char m_lpCodePageString[kCodePageCount][3];

    CEPLEmulation();
    ~CEPLEmulation();
    CEPLEmulation(const CEPLEmulation&) = delete;
    CEPLEmulation& operator=(const CEPLEmulation&) = delete;

    // Appends `size` bytes of `data` to the command buffer. Returns 1; 0 with
    // nothing appended when `data` is null or `size` is negative.
    int32_t SetCmdBuf(char* data, long size);
    // Empties the command buffer. Always returns 1.
    int32_t ClearCmdBuf();
    // Copies the whole buffer to `out` when `out` is non-null and the buffer
    // fits in `outSize`, and returns 1; otherwise returns 0, also for an empty
    // buffer. Either way the buffer length goes to `*outLen` (when non-null);
    // the buffer is kept.
    int32_t GetOutputData(char* out, long outSize, long* outLen);

    // "N": clear the printer's image buffer. Returns 1.
    int32_t ClearPrinterImgBufCMD();
    // "I<bits>,<designator>". Returns 1; 0 with nothing appended for a
    // code-page index outside 0..19.
    int32_t SetPtrCharSetCMD(int bits, int codePage);
    // "q<dots>": label width. Returns 1.
    int32_t SetLabelWidthCMD(int dots);
    // "Q<length>,0", "Q<length>,<gap>" or "Q<length>,<gap>+<offset>". The
    // offset is dropped when the gap is 0; `blackMark` is accepted and never
    // used, so no black-mark form is emitted. Returns 1.
    int32_t SetLabelLenghtCMD(int length, int gap, int offset, bool blackMark);
    // "WY" when `on` is non-zero, else "WN". Returns 1.
    int32_t SetWindowModeCMD(int on);
    // "ZB" when `bottom` is non-zero, else "ZT". Returns 1.
    int32_t SetPrintDirectionCMD(int bottom);
    // "O" with the option letters of `opt` ("D", "C"/"C<n>", "P", comma
    // separated). Returns 1; 0 with nothing appended when `opt` is null.
    int32_t SetPrinterOptionsCMD(_HWOPT* opt);
    // "JF" when `on`, else "JB": back-feed on or off. Returns 1.
    int32_t EnableBackupTopCMD(bool on);
    // "fB<dots>" with the whole value (also above 255) when `dots` is 1 or
    // more; nothing otherwise. Returns 1.
    int32_t SetBackupPositionCMD(int dots);
    // "f<pos>" for 70 <= pos <= 130 and returns 1; otherwise nothing and 0.
    int32_t SetCutPositionCMD(int pos);
    // "GW<x>,<y>,<bytes per row>,<height>," line, the raw `size` bytes and a
    // line end. The row width comes from size / height (0 when height is 0);
    // `width` is not used. Returns 1; 0 with nothing appended when `data` is
    // null or `size` negative.
    int32_t DirectGraphicWriteCMD(int x, int y, int width, int height, char* data, long size);
    // "P<copies>": print the image buffer. Returns 1.
    int32_t PrintCMD(int copies);
    // "LO<x>,<y>,<width>,<height>": a black box. Returns 1.
    int32_t DrawLine(int x, int y, int width, int height);
    // "D<level>", or nothing for 1000 (printer default). Returns 1.
    int32_t SetPrinterDensity(int level);
    // "S<level>", or nothing for 1000 (printer default). Returns 1.
    int32_t SetPrinterSpeed(int level);

    // Builds (or reuses, for an unchanged configuration) the job's opening
    // command block and copies it to `out`. Returns 1 when copied; 0 when
    // `out` is null or smaller than the block, or `cfg` is null. The block
    // length goes to `*outLen` when non-null (0 for a null `cfg`).
    int32_t GetStartDocCMD(tagOEMCFG* cfg, char* out, long outSize, long* outLen);

    // Builds one page's commands (first call, `out` null) and hands them over
    // (second call, large enough `out`, other arguments ignored). Returns 1
    // when copied, after writing the updated configuration back into `*cfg`;
    // 0 otherwise, with the needed length in `*outLen` when commands exist.
    // `reserved` is not used.
    int32_t TransferPageData2CMD(tagOEMCFG* cfg, char* bitmap, long size, int x, int reserved, int width, int height,
                                 char* out, long outSize, long* outLen, bool lastPage);

private:
    // The page bitmap and where it goes, as the graphic block sends it.
    struct PageGraphic {
        int x;         // dots, after the configured shift, never negative
        int y;         // dots, after the configured shift, never negative
        int width;     // page width in dots
        int height;    // rows
        char* bitmap;  // packed rows, `size` bytes
        long size;
    };

    // Formats one command line into a fresh scratch line and appends it.
    // Returns the result of SetCmdBuf.
    int32_t AppendLine(const char* fmt, ...) __attribute__((format(printf, 2, 3)));

    // Start-of-document steps.
    void AppendHardwareSetup();
    void AppendStartDocLabelSize();

    // Page steps; all read the saved configuration.
    int32_t HandOverPage(tagOEMCFG* cfg, char* out, long outSize, long* outLen);
    PageGraphic PlaceGraphic(char* bitmap, long size, int x, int width, int height) const;
    bool AppendPageLabelSize(int width, int height);
    void AppendCornerDot(int height);
    void AppendPageGroup(const PageGraphic& page, int copies);
    void AppendCutPosition();
    void AppendCutterPage(const PageGraphic& page, bool lastPage);
    void AppendCutEveryLabel(const PageGraphic& page, _HWOPT& opt);
    void AppendCutAtJobEnd(const PageGraphic& page, _HWOPT& opt, bool lastPage);
    void AppendCutAfterCopies(const PageGraphic& page, _HWOPT& opt);
    int AppendCutIntervalRound(const PageGraphic& page, _HWOPT& opt, int remaining, bool lastPage);

    std::vector<char> m_cmdBuf;  // command bytes; its size is the reported length
    bool m_bStartDocBuilt;       // GetStartDocCMD has built its block
    tagOEMCFG m_savedCfg;        // configuration the buffer was last built from
};

#endif
