// The min/max lattice: for every pixel corner of the source, the darkest and
// brightest grey of a small window around it.
//
// Lattice point (X, Y), X = 0..W and Y = 0..H, sits between grey columns X - 1
// and X and rows Y - 1 and Y. Its window is the 4 x 4 grey block of columns
// X - 2..X + 1 and rows Y - 2..Y + 1 without its four corners. Along the
// borders the windows are cut down as listed at each loop below. Two of those
// cut-downs are deliberately lopsided and must stay so: the left border takes
// its window one column further right than the right border does (grey column
// 0 never reaches lattice columns 0 and 1 between the corners), and the
// top-right corner reads the first grey of row 3 (linear position 3 * W) where
// the other corners read the grey next to the corner.
#include <algorithm>
#include <cstddef>

#include "kernels/Refinement.h"

namespace quillon {

namespace {

struct Range {
    uint8_t lo = 255;
    uint8_t hi = 0;

    void Take(uint8_t v) {
        lo = v < lo ? v : lo;
        hi = v > hi ? v : hi;
    }
};

class LatticeWriter {
public:
    LatticeWriter(const uint8_t* grey, uint8_t* latticeMin, uint8_t* latticeMax, std::size_t width)
        : grey_(grey), min_(latticeMin), max_(latticeMax), width_(width) {}

    uint8_t At(std::size_t column, std::size_t row) const { return grey_[row * width_ + column]; }

    // Columns c0..c1 and rows r0..r1, inclusive.
    void Block(Range& range, std::size_t c0, std::size_t c1, std::size_t r0, std::size_t r1) const {
        for (std::size_t r = r0; r <= r1; ++r) {
            const uint8_t* row = grey_ + r * width_;
            for (std::size_t c = c0; c <= c1; ++c) {
                range.Take(row[c]);
            }
        }
    }

    void Store(std::size_t x, std::size_t y, const Range& range) const {
        const std::size_t at = y * (width_ + 1) + x;
        min_[at] = range.lo;
        max_[at] = range.hi;
    }

    // Same window for two neighbouring lattice points.
    void StorePairX(std::size_t x0, std::size_t y, const Range& range) const {
        Store(x0, y, range);
        Store(x0 + 1, y, range);
    }
    void StorePairY(std::size_t x, std::size_t y0, const Range& range) const {
        Store(x, y0, range);
        Store(x, y0 + 1, range);
    }
    void StoreQuad(std::size_t x0, std::size_t y0, const Range& range) const {
        StorePairX(x0, y0, range);
        StorePairX(x0, y0 + 1, range);
    }

    const uint8_t* grey() const { return grey_; }

private:
    const uint8_t* grey_;
    uint8_t* min_;
    uint8_t* max_;
    std::size_t width_;
};

}  // namespace

void buildLattice(const uint8_t* grey, uint8_t* latticeMin, uint8_t* latticeMax, uint32_t srcWidth,
                  uint32_t srcHeight) {
    // The border windows need at least four grey rows and columns.
    if (grey == nullptr || latticeMin == nullptr || latticeMax == nullptr || srcWidth < 4 ||
        srcHeight < 4) {
        return;
    }
    const std::size_t w = srcWidth;
    const std::size_t h = srcHeight;
    const LatticeWriter out(grey, latticeMin, latticeMax, w);

    // Inside: the full twelve-grey window, written as plain min/max chains so
    // the compiler can run it across many columns at once.
    for (std::size_t y = 2; y + 2 <= h; ++y) {
        const uint8_t* above2 = grey + (y - 2) * w;
        const uint8_t* above1 = grey + (y - 1) * w;
        const uint8_t* below0 = grey + y * w;
        const uint8_t* below1 = grey + (y + 1) * w;
        uint8_t* outMin = latticeMin + y * (w + 1);
        uint8_t* outMax = latticeMax + y * (w + 1);
        for (std::size_t x = 2; x + 2 <= w; ++x) {
            const uint8_t middle[8] = {above1[x - 2], above1[x - 1], above1[x], above1[x + 1],
                                       below0[x - 2], below0[x - 1], below0[x], below0[x + 1]};
            const uint8_t ends[4] = {above2[x - 1], above2[x], below1[x - 1], below1[x]};
            uint8_t lo = ends[0];
            uint8_t hi = ends[0];
            for (int i = 1; i < 4; ++i) {
                lo = std::min(lo, ends[i]);
                hi = std::max(hi, ends[i]);
            }
            for (int i = 0; i < 8; ++i) {
                lo = std::min(lo, middle[i]);
                hi = std::max(hi, middle[i]);
            }
            outMin[x] = lo;
            outMax[x] = hi;
        }
    }

    for (std::size_t x = 2; x + 2 <= w; ++x) {
        // Top rows 0 and 1: rows 0..1 over columns X - 2..X + 1, row 2 over X - 1..X.
        Range top;
        out.Block(top, x - 2, x + 1, 0, 1);
        out.Block(top, x - 1, x, 2, 2);
        out.StorePairY(x, 0, top);
        // Bottom rows H - 1 and H: the mirror image.
        Range bottom;
        out.Block(bottom, x - 2, x + 1, h - 2, h - 1);
        out.Block(bottom, x - 1, x, h - 3, h - 3);
        out.StorePairY(x, h - 1, bottom);
    }

    for (std::size_t y = 2; y + 2 <= h; ++y) {
        // Left columns 0 and 1: grey columns 1 and 2 over four rows, column 3
        // over the middle two (one column right of the mirror of the right side).
        Range left;
        out.Block(left, 1, 2, y - 2, y + 1);
        out.Block(left, 3, 3, y - 1, y);
        out.StorePairX(0, y, left);
        // Right columns W - 1 and W: grey columns W - 2 and W - 1 over four
        // rows, column W - 3 over the middle two.
        Range right;
        out.Block(right, w - 2, w - 1, y - 2, y + 1);
        out.Block(right, w - 3, w - 3, y - 1, y);
        out.StorePairX(w - 1, y, right);
    }

    // Corners: two rows of three greys plus two more next to the corner.
    Range topLeft;
    out.Block(topLeft, 0, 2, 0, 1);
    out.Block(topLeft, 0, 1, 2, 2);
    out.StoreQuad(0, 0, topLeft);

    Range topRight;
    out.Block(topRight, w - 3, w - 1, 0, 1);
    topRight.Take(out.At(w - 2, 2));
    topRight.Take(out.grey()[3 * w]);  // the first grey of row 3
    out.StoreQuad(w - 1, 0, topRight);

    Range bottomLeft;
    out.Block(bottomLeft, 0, 2, h - 2, h - 1);
    out.Block(bottomLeft, 0, 1, h - 3, h - 3);
    out.StoreQuad(0, h - 1, bottomLeft);

    Range bottomRight;
    out.Block(bottomRight, w - 3, w - 1, h - 2, h - 1);
    out.Block(bottomRight, w - 2, w - 1, h - 3, h - 3);
    out.StoreQuad(w - 1, h - 1, bottomRight);
}

}  // namespace quillon
