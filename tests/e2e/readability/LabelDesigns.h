// The labels of the barcode readability suite: Code 128 symbols made by GNU
// barcode and QR codes made by qrencode, one symbol per label, with
// randomised data, written as the PDF a label program sends to the spooler:
// either with the symbol as vector drawing, or with the whole label as a
// one-bit picture of 300 dpi, as shipping sites deliver their labels.
#ifndef KV_TESTS_E2E_READABILITY_LABELDESIGNS_H
#define KV_TESTS_E2E_READABILITY_LABELDESIGNS_H

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace kvread {

enum class Symbology { kCode128, kQr };
enum class Embedding { kVector, kImage300 };

// The size of one label, in points (72 per inch).
struct LabelPage {
    double width;
    double height;
};

// One kind of label: a symbol of `xMm` millimetres per narrowest bar (Code
// 128) or per module (QR), `heightMm` high (Code 128; QR codes are square);
// `framed` draws a thin frame 1 mm inside the label's edges as well.
struct SymbolDesign {
    Symbology symbology;
    double xMm;
    double heightMm;
    Embedding embedding;
    bool framed = false;
};

// The PDF of a set of labels and the data each label's symbol carries.
struct LabelSet {
    std::string pdf;                // path of the PDF file, one label per page
    std::vector<std::string> data;  // the data of page 1, 2, ...
    std::string error;              // empty when the set was made
};

// Returns random symbol data: `length` capitals and digits.
std::string RandomData(std::mt19937& random, int length);

// Makes `count` labels of `design` on `page` in the folder `dir`, with data
// drawn from `random`: Code 128 symbols carry 8 to 14 characters, QR codes
// 16 to 32. Each symbol sits at a random place near the middle of its
// label, so that its edges fall at random places between the printer's
// dots.
LabelSet MakeLabels(const SymbolDesign& design, const LabelPage& page, int count, std::mt19937& random,
                    const std::string& dir);

}  // namespace kvread

#endif
