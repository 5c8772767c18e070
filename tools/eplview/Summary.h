// The text eplview prints about a stream: the printer set-up it leaves and
// one line per printed label.
#ifndef KV_TOOLS_SUMMARY_H
#define KV_TOOLS_SUMMARY_H

#include <string>
#include <vector>

#include "EplDocument.h"

namespace eplview {

// Returns the summary of `doc`; `imageFiles` holds the image written for
// each label (an empty name, or a short list, leaves the file out).
std::string Summary(const Document& doc, const std::vector<std::string>& imageFiles);

}  // namespace eplview

#endif
