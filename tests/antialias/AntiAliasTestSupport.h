// Helpers shared by the anti-aliasing tests: edge maps written as text,
// engine contexts, synthetic pictures.
#ifndef QUILLON_TESTS_ANTIALIAS_SUPPORT_H
#define QUILLON_TESTS_ANTIALIAS_SUPPORT_H

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "antialias/AntiAliasStages.h"
#include "engine/ScaleContext.h"
#include "tests/support/TestSupport.h"

namespace quillon::aatest {

using Rows = std::vector<std::string>;

// An edge map; as text, rows of '.' (no edge), '1' and '2'.
struct TextMap {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> cells;

    static TextMap parse(const Rows& rows) {
        TextMap m{static_cast<int32_t>(rows.front().size()), static_cast<int32_t>(rows.size()), {}};
        for (const std::string& row : rows) {
            for (char ch : row) {
                m.cells.push_back(ch == '.' ? 0 : static_cast<uint8_t>(ch - '0'));
            }
        }
        return m;
    }

    Rows text() const {
        Rows rows(static_cast<std::size_t>(height));
        for (std::size_t i = 0; i < cells.size(); ++i) {
            rows[i / static_cast<std::size_t>(width)].push_back(
                cells[i] == 0 ? '.' : static_cast<char>('0' + cells[i]));
        }
        return rows;
    }

    TextMap transposed() const {
        TextMap t{height, width, cells};
        for (int32_t i = 0; i < width * height; ++i) {
            t.cells[static_cast<std::size_t>((i % width) * height + i / width)] =
                cells[static_cast<std::size_t>(i)];
        }
        return t;
    }
};

// Random map whose codes come in runs of 1 to 5, so that every rule fires.
inline TextMap randomRunMap(int32_t width, int32_t height, uint32_t seed) {
    std::mt19937 rng(seed);
    TextMap m{width, height, {}};
    while (m.cells.size() < static_cast<std::size_t>(width) * height) {
        m.cells.insert(m.cells.end(), 1 + rng() % 5, static_cast<uint8_t>(rng() % 3));
    }
    m.cells.resize(static_cast<std::size_t>(width) * height);
    return m;
}

// The request for an anti-aliased enlargement.
inline support::Request aaRequest(int32_t srcW, int32_t srcH, int32_t dstW, int32_t dstH,
                                  uint32_t amount) {
    support::Request r{static_cast<uint32_t>(srcW), static_cast<uint32_t>(srcH),
                       static_cast<uint32_t>(dstW), static_cast<uint32_t>(dstH), OPT_ANTIALIAS};
    r.antiAlias = amount;
    return r;
}

// 4-channel grey frame from `shade(x, y)`; channel 3 holds `marker`.
template <typename Channel, typename Shade>
std::vector<Channel> makeFrame(int32_t width, int32_t height, Shade shade, Channel marker = 77) {
    std::vector<Channel> f(static_cast<std::size_t>(width) * height * 4, marker);
    for (std::size_t i = 0; i < f.size(); ++i) {
        if (i % 4 != 3) {
            const auto p = static_cast<int32_t>(i / 4);
            f[i] = static_cast<Channel>(shade(p % width, p / width));
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
    for (std::size_t i = 0; i < d.size(); ++i) {
        const auto p = static_cast<int64_t>(i / 4);
        const int64_t sx = p % dstW * srcW / dstW;
        const int64_t sy = p / dstW * srcH / dstH;
        d[i] = src[static_cast<std::size_t>((sy * srcW + sx) * 4) + i % 4];
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
