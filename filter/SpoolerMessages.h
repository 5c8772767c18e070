// Messages for the spooler on standard error. The filter's original texts
// end without a newline, so the next one follows on the same line; cupsd
// only recognises a prefix ("ERROR:", "WARNING:") at the start of a line, so
// every other message is written on a line of its own, with a line break
// first when a text without one came before it.
#ifndef KV_FILTER_SPOOLERMESSAGES_H
#define KV_FILTER_SPOOLERMESSAGES_H

#include <cstdio>

// How cupsd files a message: as an error (recorded in its error log and
// shown as the printer's state message) or as a warning.
enum class SpoolerLevel { kError, kWarning };

// Writes one of the filter's original texts as it is, without a newline.
void PutKeptText(const char* text);

// Writes "ERROR: " or "WARNING: " and the formatted message on a line of its
// own, ended by a newline.
void PutSpoolerMessage(SpoolerLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Sends the next messages to `stream` instead of standard error (tests),
// as if a fresh line had started; null goes back to standard error.
void SetSpoolerStream(FILE* stream);

#endif
