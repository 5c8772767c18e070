// Messages for the spooler on standard error, keeping track of whether the
// last text ended its line.
#include "SpoolerMessages.h"

#include <cstdarg>
#include <cstring>

namespace {

FILE* g_stream = nullptr;
// True while the last text written left its line open.
bool g_midLine = false;

FILE* Stream()
{
    return g_stream ? g_stream : stderr;
}

const char* Prefix(SpoolerLevel level)
{
    return level == SpoolerLevel::kError ? "ERROR: " : "WARNING: ";
}

}  // namespace

void PutKeptText(const char* text)
{
    fputs(text, Stream());
    size_t length = strlen(text);
    if (length > 0)
        g_midLine = text[length - 1] != '\n';
}

void PutSpoolerMessage(SpoolerLevel level, const char* format, ...)
{
    FILE* out = Stream();
    if (g_midLine)
        fputc('\n', out);
    fputs(Prefix(level), out);
    va_list args;
    va_start(args, format);
    vfprintf(out, format, args);
    va_end(args);
    fputc('\n', out);
    g_midLine = false;
}

void SetSpoolerStream(FILE* stream)
{
    g_stream = stream;
    g_midLine = false;
}
