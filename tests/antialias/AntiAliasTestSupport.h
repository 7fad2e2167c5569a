// Helpers shared by the anti-aliasing tests: edge maps written as text,
// hand-made contexts, synthetic pictures.
#ifndef QUILLON_TESTS_ANTIALIAS_SUPPORT_H
#define QUILLON_TESTS_ANTIALIAS_SUPPORT_H

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "antialias/AntiAliasStages.h"
#include "engine/ScaleContext.h"
#include "tests/support/TestSupport.h"

namespace quillon::aatest {

// A map written as rows of '.', '1' and '2'.
struct TextMap {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> cells;

    static TextMap parse(const std::vector<std::string>& rows) {
        TextMap m;
        m.height = static_cast<int32_t>(rows.size());
        m.width = static_cast<int32_t>(rows.front().size());
        for (const std::string& row : rows) {
            for (char ch : row) {
                m.cells.push_back(ch == '.' ? 0 : static_cast<uint8_t>(ch - '0'));
            }
        }
        return m;
    }

    std::vector<std::string> text() const {
        std::vector<std::string> rows;
        for (int32_t y = 0; y < height; ++y) {
            std::string row;
            for (int32_t x = 0; x < width; ++x) {
                const uint8_t v = cells[static_cast<std::size_t>(y * width + x)];
                row.push_back(v == 0 ? '.' : static_cast<char>('0' + v));
            }
            rows.push_back(row);
        }
        return rows;
    }

    TextMap transposed() const {
        TextMap t;
        t.width = height;
        t.height = width;
        t.cells.resize(cells.size());
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                t.cells[static_cast<std::size_t>(x * height + y)] =
                    cells[static_cast<std::size_t>(y * width + x)];
            }
        }
        return t;
    }
};

// Random map whose codes come in runs, so that every rule gets exercised.
inline TextMap randomRunMap(int32_t width, int32_t height, uint32_t seed) {
    std::mt19937 rng(seed);
    TextMap m;
    m.width = width;
    m.height = height;
    m.cells.resize(static_cast<std::size_t>(width) * height);
    for (int32_t y = 0; y < height; ++y) {
        int32_t x = 0;
        while (x < width) {
            const int32_t len = 1 + static_cast<int32_t>(rng() % 5);
            const uint8_t code = static_cast<uint8_t>(rng() % 3);
            for (int32_t i = 0; i < len && x < width; ++i, ++x) {
                m.cells[static_cast<std::size_t>(y * width + x)] = code;
            }
        }
    }
    return m;
}

// A context made by the engine for an anti-aliasing request.
class HandContext {
public:
    HandContext(uint32_t srcW, uint32_t srcH, uint32_t dstW, uint32_t dstH, uint32_t amount)
        : context_(MakeRequest(srcW, srcH, dstW, dstH, amount)) {}
    ScaleContext* get() const { return context_.get(); }

private:
    static support::Request MakeRequest(uint32_t srcW, uint32_t srcH, uint32_t dstW, uint32_t dstH,
                                        uint32_t amount) {
        support::Request r{srcW, srcH, dstW, dstH, OPT_ANTIALIAS};
        r.antiAlias = amount;
        return r;
    }
    support::Context context_;
};

// 8-bit BGRA frame; `shade(x, y)` gives the grey level, transparency gets a
// fixed marker.
template <typename Shade>
std::vector<uint8_t> makeFrame8(int32_t width, int32_t height, Shade shade, uint8_t marker = 77) {
    std::vector<uint8_t> f(static_cast<std::size_t>(width) * height * 4);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            uint8_t* p = &f[(static_cast<std::size_t>(y) * width + x) * 4];
            const int v = shade(x, y);
            p[0] = static_cast<uint8_t>(v);
            p[1] = static_cast<uint8_t>(v);
            p[2] = static_cast<uint8_t>(v);
            p[3] = marker;
        }
    }
    return f;
}

// Nearest-neighbour enlargement: a stand-in for the upscale, which keeps the
// staircase of the source fully visible.
template <typename Channel>
std::vector<Channel> enlargeNearest(const std::vector<Channel>& src, int32_t srcW, int32_t srcH,
                                    int32_t dstW, int32_t dstH) {
    std::vector<Channel> d(static_cast<std::size_t>(dstW) * dstH * 4);
    for (int32_t y = 0; y < dstH; ++y) {
        const int32_t sy = static_cast<int32_t>(int64_t{y} * srcH / dstH);
        for (int32_t x = 0; x < dstW; ++x) {
            const int32_t sx = static_cast<int32_t>(int64_t{x} * srcW / dstW);
            for (int k = 0; k < 4; ++k) {
                d[(static_cast<std::size_t>(y) * dstW + x) * 4 + k] =
                    src[(static_cast<std::size_t>(sy) * srcW + sx) * 4 + k];
            }
        }
    }
    return d;
}

// Bright and dark bands of slope 0.3 (16 rows a period): many parallel
// staircases, so several chains form. The first bright-to-dark edge lies at
// y = 0.3 x + 8, the next ones 16 rows further down each.
inline int bands(int x, int y) {
    const int v = ((10 * y - 3 * x) % 160 + 160) % 160;
    return v < 80 ? 210 : 40;
}

inline std::vector<int32_t> listOf(const aa::IndexList& list) {
    return std::vector<int32_t>(list.data(), list.data() + list.size());
}

}  // namespace quillon::aatest

#endif  // QUILLON_TESTS_ANTIALIAS_SUPPORT_H
