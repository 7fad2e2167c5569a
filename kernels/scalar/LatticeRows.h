// The lattice windows of the border points, shared by every level of the
// lattice kernel (the levels differ only in the interior of middle rows).
// See LatticeScalar.cpp for the windows and their two lopsided cut-downs.
#ifndef QUILLON_KERNELS_SCALAR_LATTICEROWS_H
#define QUILLON_KERNELS_SCALAR_LATTICEROWS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

// Internal linkage: the levels' files include this header under their own
// instruction-set flags, and their copies must never stand in for each other.
namespace quillon::latticerows {
namespace {

struct Range {
    uint8_t lo = 255;
    uint8_t hi = 0;

    void Take(uint8_t v) {
        lo = v < lo ? v : lo;
        hi = v > hi ? v : hi;
    }
};

// Points x0..x1 - 1 (inside 2..W - 2) of middle row y: the full twelve-grey
// window, as plain min/max chains the compiler can run across many columns.
inline void InteriorPoints(const uint8_t* grey, std::size_t w, std::size_t y, std::size_t x0,
                           std::size_t x1, uint8_t* outMin, uint8_t* outMax) {
    const uint8_t* above2 = grey + (y - 2) * w;
    const uint8_t* above1 = grey + (y - 1) * w;
    const uint8_t* below0 = grey + y * w;
    const uint8_t* below1 = grey + (y + 1) * w;
    for (std::size_t x = x0; x < x1; ++x) {
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

// A level's band loop: interior(grey, w, y, outMin, outMax) fills points
// 2..W - 2 of a middle row; the border windows are the plain ones.
template <typename Interior>
void RunBand(const uint8_t* grey, std::size_t w, std::size_t h, uint8_t* latticeMin,
             uint8_t* latticeMax, uint32_t rowBegin, uint32_t rowEnd, Interior interior);

class Window {
public:
    Window(const uint8_t* grey, std::size_t width, std::size_t height)
        : grey_(grey), w_(width), h_(height) {}

    // Rows 2..H - 2 take the full window between their end columns.
    bool IsMiddleRow(std::size_t y) const { return y >= 2 && y + 2 <= h_; }

    // Points x0..x1 - 1 (inside 2..W - 2) of a top (0, 1) or bottom (H - 1,
    // H) row: two rows of four greys and the middle two of the row beyond.
    void BorderRowInterior(std::size_t y, std::size_t x0, std::size_t x1, uint8_t* outMin,
                           uint8_t* outMax) const {
        const bool top = y <= 1;
        const std::size_t near0 = top ? 0 : h_ - 2;
        const std::size_t beyond = top ? 2 : h_ - 3;
        for (std::size_t x = x0; x < x1; ++x) {
            Range r;
            Block(r, x - 2, x + 1, near0, near0 + 1);
            Block(r, x - 1, x, beyond, beyond);
            outMin[x] = r.lo;
            outMax[x] = r.hi;
        }
    }

    // Points 0, 1 and W - 1, W of lattice row y.
    void RowEnds(std::size_t y, uint8_t* outMin, uint8_t* outMax) const {
        Range left;
        Range right;
        if (IsMiddleRow(y)) {
            // Grey columns 1 and 2 over four rows, column 3 over the middle
            // two (one column right of the mirror of the right side).
            Block(left, 1, 2, y - 2, y + 1);
            Block(left, 3, 3, y - 1, y);
            Block(right, w_ - 2, w_ - 1, y - 2, y + 1);
            Block(right, w_ - 3, w_ - 3, y - 1, y);
        } else if (y <= 1) {
            // Corners: two rows of three greys plus two more next to the
            // corner, except the top right's first grey of row 3.
            Block(left, 0, 2, 0, 1);
            Block(left, 0, 1, 2, 2);
            Block(right, w_ - 3, w_ - 1, 0, 1);
            right.Take(grey_[2 * w_ + w_ - 2]);
            right.Take(grey_[3 * w_]);
        } else {
            Block(left, 0, 2, h_ - 2, h_ - 1);
            Block(left, 0, 1, h_ - 3, h_ - 3);
            Block(right, w_ - 3, w_ - 1, h_ - 2, h_ - 1);
            Block(right, w_ - 2, w_ - 1, h_ - 3, h_ - 3);
        }
        outMin[0] = outMin[1] = left.lo;
        outMax[0] = outMax[1] = left.hi;
        outMin[w_ - 1] = outMin[w_] = right.lo;
        outMax[w_ - 1] = outMax[w_] = right.hi;
    }

private:
    // Columns c0..c1 and rows r0..r1, inclusive.
    void Block(Range& range, std::size_t c0, std::size_t c1, std::size_t r0, std::size_t r1) const {
        for (std::size_t r = r0; r <= r1; ++r) {
            for (std::size_t c = c0; c <= c1; ++c) {
                range.Take(grey_[r * w_ + c]);
            }
        }
    }

    const uint8_t* grey_;
    std::size_t w_;
    std::size_t h_;
};

template <typename Interior>
void RunBand(const uint8_t* grey, std::size_t w, std::size_t h, uint8_t* latticeMin,
             uint8_t* latticeMax, uint32_t rowBegin, uint32_t rowEnd, Interior interior) {
    // The border windows need at least four grey rows and columns.
    if (w < 4 || h < 4) {
        return;
    }
    const Window window(grey, w, h);
    for (std::size_t y = rowBegin; y < rowEnd; ++y) {
        uint8_t* outMin = latticeMin + y * (w + 1);
        uint8_t* outMax = latticeMax + y * (w + 1);
        if (window.IsMiddleRow(y)) {
            interior(grey, w, y, outMin, outMax);
        } else {
            window.BorderRowInterior(y, 2, w - 1, outMin, outMax);
        }
        window.RowEnds(y, outMin, outMax);
    }
}

}  // namespace
}  // namespace quillon::latticerows

#endif  // QUILLON_KERNELS_SCALAR_LATTICEROWS_H
