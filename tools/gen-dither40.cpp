// Generates the 40 x 40 dispersed threshold screen of dither method 5 and
// prints it as the C++ initialiser that imaging/DitherScreens.cpp holds.
//
// How the screen is built (deterministic, integer arithmetic only after the
// kernel is rounded, so every run prints the same table):
//  1. Every threshold value 1..255 gets 6 or 7 cells: 6 each, plus one more
//     for the 70 values at which floor(70 * v / 255) steps. The count of
//     cells <= g is then 6 g + floor(70 g / 255), less than one cell away
//     from 1600 g / 255, so a uniform grey g turns g / 255 of the cells white.
//  2. The sixty cells of rows 0 to 2, columns 0 to 19 keep their prescribed
//     values; they are reserved until their value's turn.
//  3. Values are handed out in rising order. For each value its prescribed
//     cells are placed first; each further cell goes to the free cell with
//     the lowest "energy" (the sum of a Gaussian kernel, sigma 1.0, over all
//     cells placed so far, measured with wrap-around), skipping cells that
//     touch (8-neighbourhood, wrap-around) a cell of the same value. That is
//     the largest void of the pattern so far, so the white dots of every
//     grey level stay evenly scattered. Ties go to the cell that comes first
//     in a fixed pseudo-random order, which avoids the stripes a row-major
//     tie rule would make. Sigma 1.0 was chosen over wider kernels because
//     they let mid greys form larger clumps of one colour.
//
// Usage: build the target gen-dither40 and run it; its output is the body
// between the braces of kScreen40x40 in imaging/DitherScreens.cpp, and the
// test DitherScreen40.IsExactlyWhatItsGeneratorPrints keeps the two equal.
// Exit status 1 when a constraint cannot be met.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

constexpr int kSize = 40;                                   // screen edge
constexpr int kCells = kSize * kSize;                       // 1600
constexpr int kLevels = 255;                                // values 1..255
constexpr int kBaseCount = 6;                               // 255 * 6 = 1530 cells
constexpr int kExtraCells = kCells - kLevels * kBaseCount;  // 70 values get a 7th
constexpr double kSigma = 1.0;                              // kernel width in cells
constexpr double kKernelScale = 1000000.0;                  // fixed-point scale of the kernel
constexpr uint32_t kTieSeed = 0x9E3779B9u;                  // any fixed seed; this one is the golden ratio

// The prescribed start of rows 0 to 2 (first twenty entries each).
constexpr int kFixedRows = 3;
constexpr int kFixedCols = 20;
constexpr int kFixed[kFixedRows][kFixedCols] = {
    {1, 154, 250, 72, 132, 30, 186, 228, 93, 108, 7, 162, 253, 63, 139, 36, 192, 234, 99, 103},
    {51, 140, 38, 194, 218, 81, 119, 17, 172, 247, 58, 148, 45, 201, 213, 86, 125, 24, 178, 239},
    {181, 223, 89, 110, 9, 163, 255, 67, 135, 33, 189, 232, 95, 106, 4, 158, 252, 73, 130, 27},
};

// Shortest distance between two coordinates on the wrapped edge.
int WrapDistance(int a, int b)
{
    int d = a > b ? a - b : b - a;
    return d < kSize - d ? d : kSize - d;
}

// Kernel weight for every offset, rounded to integers so that the placement
// only compares integers.
std::vector<int64_t> MakeKernel()
{
    std::vector<int64_t> kernel(kCells);
    for (int dy = 0; dy < kSize; ++dy) {
        for (int dx = 0; dx < kSize; ++dx) {
            int wx = WrapDistance(dx, 0);
            int wy = WrapDistance(dy, 0);
            double r2 = wx * wx + wy * wy;
            kernel[dy * kSize + dx] = std::llround(kKernelScale * std::exp(-r2 / (2.0 * kSigma * kSigma)));
        }
    }
    return kernel;
}

// Cells for value v (1..255): 6, or 7 where floor(70 v / 255) steps.
int CountFor(int v)
{
    return kBaseCount + (kExtraCells * v) / kLevels - (kExtraCells * (v - 1)) / kLevels;
}

// A fixed pseudo-random rank per cell (xorshift32), used only to break ties.
std::vector<uint32_t> TieRanks()
{
    std::vector<uint32_t> rank(kCells);
    uint32_t s = kTieSeed;
    for (int i = 0; i < kCells; ++i) {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        rank[i] = s;
    }
    return rank;
}

// Whether cell c touches (8-neighbourhood, wrapped) a cell holding v.
bool TouchesValue(const std::vector<int>& screen, int c, int v)
{
    int x = c % kSize;
    int y = c / kSize;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            if (dx == 0 && dy == 0) {
                continue;
            }
            int n = ((y + dy + kSize) % kSize) * kSize + (x + dx + kSize) % kSize;
            if (screen[n] == v) {
                return true;
            }
        }
    }
    return false;
}

// Adds the kernel centred on cell c to the energy map.
void AddEnergy(std::vector<int64_t>& energy, const std::vector<int64_t>& kernel, int c)
{
    int cx = c % kSize;
    int cy = c / kSize;
    for (int y = 0; y < kSize; ++y) {
        int dy = (y - cy + kSize) % kSize;
        for (int x = 0; x < kSize; ++x) {
            int dx = (x - cx + kSize) % kSize;
            energy[y * kSize + x] += kernel[dy * kSize + dx];
        }
    }
}

// Builds the screen; returns false when some value found no free cell.
bool BuildScreen(std::vector<int>& screen)
{
    const std::vector<int64_t> kernel = MakeKernel();
    const std::vector<uint32_t> rank = TieRanks();
    std::vector<int64_t> energy(kCells, 0);
    std::vector<bool> reserved(kCells, false);
    screen.assign(kCells, 0);
    for (int y = 0; y < kFixedRows; ++y) {
        for (int x = 0; x < kFixedCols; ++x) {
            reserved[y * kSize + x] = true;
        }
    }
    for (int v = 1; v <= kLevels; ++v) {
        int placed = 0;
        for (int y = 0; y < kFixedRows; ++y) {
            for (int x = 0; x < kFixedCols; ++x) {
                if (kFixed[y][x] == v) {
                    screen[y * kSize + x] = v;
                    AddEnergy(energy, kernel, y * kSize + x);
                    ++placed;
                }
            }
        }
        for (; placed < CountFor(v); ++placed) {
            int best = -1;
            for (int c = 0; c < kCells; ++c) {
                if (screen[c] != 0 || reserved[c] || TouchesValue(screen, c, v)) {
                    continue;
                }
                if (best < 0 || energy[c] < energy[best] || (energy[c] == energy[best] && rank[c] < rank[best])) {
                    best = c;
                }
            }
            if (best < 0) {
                std::fprintf(stderr, "no free cell for value %d\n", v);
                return false;
            }
            screen[best] = v;
            AddEnergy(energy, kernel, best);
        }
    }
    return true;
}

// Prints the table as rows of a C++ initialiser, each row on two lines of
// twenty entries.
void PrintScreen(const std::vector<int>& screen)
{
    constexpr int kPerLine = 20;
    for (int y = 0; y < kSize; ++y) {
        std::printf("    {");
        for (int x = 0; x < kSize; ++x) {
            if (x == kPerLine) {
                std::printf(",\n     ");
            } else if (x != 0) {
                std::printf(", ");
            }
            std::printf("%d", screen[y * kSize + x]);
        }
        std::printf("},\n");
    }
}

}  // namespace

int main()
{
    std::vector<int> screen;
    if (!BuildScreen(screen)) {
        return 1;
    }
    PrintScreen(screen);
    return 0;
}
