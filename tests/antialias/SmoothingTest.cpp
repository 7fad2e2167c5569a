// Smoothing: window size, spot weights, the blend against a plain model, and
// the tracing walk observed through a recording blend.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "AntiAliasTestSupport.h"

namespace quillon::aatest {
namespace {

TEST(AntiAliasSpot, WindowSizeFollowsVerticalRatioAndSpread) {
    struct Case {
        uint32_t srcH, dstH;
        float spread;
        int n, r;
    };
    // Ratio 2, spread 2: d = 6, an even layout. Ratio 1.5 rounds to 2 and
    // 1.49 to 1. Ratio 4 with spread 5: d = 13.
    for (const Case& c : {Case{1080, 2160, 2.0f, 6, 2}, Case{100, 150, 1.0f, 5, 2},
                          Case{100, 149, 1.0f, 3, 1}, Case{10, 40, 5.0f, 13, 6}}) {
        const aa::SpotGeometry g = aa::spotGeometry(c.srcH, c.dstH, c.spread);
        EXPECT_TRUE(g.valid);
        EXPECT_EQ(g.n, c.n) << c.dstH;
        EXPECT_EQ(g.r, c.r) << c.dstH;
        EXPECT_EQ(g.doubles, static_cast<std::size_t>(3 * c.n * c.n));
    }
    EXPECT_FALSE(aa::spotGeometry(0, 40, 1.0f).valid);
    EXPECT_FALSE(aa::spotGeometry(10, 40, NAN).valid);
}

TEST(AntiAliasSpot, WeightsAreAGaussianPeakingAtOnePointFive) {
    for (int n : {5, 6, 13}) {
        const std::size_t doubles = static_cast<std::size_t>(3 * n * n);
        std::vector<double> w(doubles, -1.0);
        aa::buildSpotWeights(w.data(), doubles);
        const double c = (n - 1) * 0.5;
        const double sigma2 = (c / std::exp(1.0)) * (c / std::exp(1.0));
        double peak = 0.0;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                const double d2 = (i - c) * (i - c) + (j - c) * (j - c);
                const double want = 1.5 * std::exp(-0.5 * d2 / sigma2);
                for (int k = 0; k < 3; ++k) {
                    EXPECT_NEAR(w[static_cast<std::size_t>(3 * (i * n + j) + k)], want, 1e-12);
                }
                peak = std::max(peak, w[static_cast<std::size_t>(3 * (i * n + j))]);
                // Symmetric about the layout centre.
                EXPECT_EQ(w[static_cast<std::size_t>(3 * (i * n + j))],
                          w[static_cast<std::size_t>(3 * ((n - 1 - i) * n + (n - 1 - j)))]);
            }
        }
        if (n % 2 == 1) {
            EXPECT_EQ(peak, 1.5);
        } else {
            EXPECT_LT(peak, 1.5);  // the centre falls between pixels
        }
    }
    EXPECT_EQ(aa::followDenominatorBase(), std::nextafter(1.95, 2.0));
}

// Plain model of one blended spot on an 8-bit frame.
int modelBlend(std::vector<uint8_t>& frame, int32_t fw, int32_t fh, std::vector<double>& window,
               const std::vector<double>& weights, int32_t n, int32_t r, double follow, double mix,
               int32_t maxValue, int32_t cx, int32_t cy) {
    int clamped = 0;
    for (int32_t y = cy - r; y <= cy + r; ++y) {
        for (int32_t x = cx + r; x >= cx - r; --x) {
            if (x < 0 || y < 0 || x >= fw || y >= fh) {
                continue;
            }
            for (int k = 0; k < 3; ++k) {
                const std::size_t at =
                    static_cast<std::size_t>(3 * ((y - cy + r) * n + (x - cx + r)) + k);
                uint8_t& v = frame[static_cast<std::size_t>((y * fw + x) * 4 + k)];
                window[at] += follow * (v - window[at]) / (std::nextafter(1.95, 2.0) - weights[at]);
                const double t = std::trunc((1.0 - mix * weights[at]) * v +
                                            mix * weights[at] * window[at] + 0.5);
                clamped += (t > maxValue || t < 0.0) ? 1 : 0;
                v = static_cast<uint8_t>(std::clamp(t, 0.0, static_cast<double>(maxValue)));
            }
        }
    }
    return clamped;
}

struct SpotFixture {
    int32_t fw = 9;
    int32_t fh = 7;
    int32_t n = 5;
    int32_t r = 2;
    std::vector<uint8_t> frame;
    std::vector<double> weights;
    std::vector<double> window;
    aa::SpotFrame spot;

    SpotFixture(double follow, double mix, int32_t maxValue, uint32_t seed, int top) {
        std::mt19937 rng(seed);
        frame.resize(static_cast<std::size_t>(fw * fh * 4));
        for (std::size_t i = 0; i < frame.size(); ++i) {
            frame[i] = static_cast<uint8_t>(i % 4 == 3 ? 201 : rng() % (top + 1));
        }
        weights.resize(static_cast<std::size_t>(3 * n * n));
        aa::buildSpotWeights(weights.data(), weights.size());
        window.assign(weights.size(), 0.0);
        spot = {frame.data(), fw, fh, weights.data(), window.data(), n, r, follow, mix, maxValue};
    }
};

TEST(AntiAliasSpot, BlendMatchesPlainModelIncludingFrameBorders) {
    const double follow = 0.7f / 1.0;
    const double mix = static_cast<double>(static_cast<float>(0.8 / std::pow(20.0, 0.25)));
    for (auto [cx, cy] : {std::pair{4, 3}, std::pair{0, 0}, std::pair{8, 6}, std::pair{1, 5}}) {
        SpotFixture f(follow, mix, 255, 5u + static_cast<uint32_t>(cx), 255);
        std::vector<uint8_t> modelFrame = f.frame;
        bool first = true;
        aa::blendSpot8(f.spot, cx, cy, &first);  // the first spot only loads
        EXPECT_FALSE(first);
        EXPECT_EQ(f.frame, modelFrame);
        std::vector<double> modelWindow = f.window;
        // Window entries of pixels outside the frame were loaded as 0.
        if (cx == 0) {
            EXPECT_EQ(f.window[0], 0.0);
        }
        // Two more spots, the second one pixel to the right.
        aa::blendSpot8(f.spot, cx, cy, &first);
        aa::blendSpot8(f.spot, cx + 1, cy, &first);
        modelBlend(modelFrame, f.fw, f.fh, modelWindow, f.weights, f.n, f.r, follow, mix, 255, cx,
                   cy);
        modelBlend(modelFrame, f.fw, f.fh, modelWindow, f.weights, f.n, f.r, follow, mix, 255,
                   cx + 1, cy);
        EXPECT_EQ(f.frame, modelFrame) << cx << "," << cy;
        EXPECT_EQ(f.window, modelWindow);
    }
}

TEST(AntiAliasSpot, OvershootIsClampedToTheCeilingAndChannelThreeIsKept) {
    // Amount 1: follow 0.7, so near the centre the window moves by more than
    // the difference (0.7 / (1.95 - 1.5) > 1) and passes the frame value; the
    // blend carries that beyond 0 .. 180. A ceiling of 180 keeps it inside.
    const double follow = 0.7;
    const double mix = static_cast<double>(static_cast<float>(0.8 / std::pow(25.0, 0.25)));
    SpotFixture f(follow, mix, 180, 3, 180);
    for (std::size_t i = 0; i < f.frame.size(); ++i) {
        if (i % 4 != 3) {
            f.frame[i] = ((i / 4) % 3 == 0) ? 180 : 0;
        }
    }
    bool first = true;
    aa::blendSpot8(f.spot, 4, 3, &first);
    // A different picture under the loaded window drives the overshoot.
    for (std::size_t i = 0; i < f.frame.size(); ++i) {
        if (i % 4 != 3) {
            f.frame[i] = f.frame[i] == 180 ? 0 : 180;
        }
    }
    std::vector<uint8_t> model = f.frame;
    std::vector<double> modelWindow = f.window;
    aa::blendSpot8(f.spot, 4, 3, &first);
    const int clamped =
        modelBlend(model, f.fw, f.fh, modelWindow, f.weights, f.n, f.r, follow, mix, 180, 4, 3);
    EXPECT_GT(clamped, 0);  // the unclamped blend leaves 0 .. 180
    EXPECT_EQ(f.frame, model);
    for (std::size_t i = 0; i < f.frame.size(); ++i) {
        if (i % 4 == 3) {
            EXPECT_EQ(f.frame[i], 201);
        } else {
            EXPECT_LE(f.frame[i], 180);
        }
    }
}

TEST(AntiAliasSpot, SixteenBitBlendClampsToItsCeiling) {
    std::vector<uint16_t> frame(7 * 7 * 4);
    for (std::size_t i = 0; i < frame.size(); ++i) {
        frame[i] = i % 4 == 3 ? 0xBEEF : ((i / 4) % 2 ? 32768 : 0);
    }
    std::vector<double> weights(3 * 5 * 5);
    aa::buildSpotWeights(weights.data(), weights.size());
    std::vector<double> window(weights.size());
    // Amount 1: the window overshoots the frame.
    const aa::SpotFrame spot{
        frame.data(), 7, 7, weights.data(), window.data(), 5, 2, 0.7, 0.8 / std::pow(25.0, 0.25),
        32768};
    bool first = true;
    aa::blendSpot16(spot, 3, 3, &first);
    for (std::size_t i = 0; i < frame.size(); ++i) {
        frame[i] = i % 4 == 3 ? frame[i] : (frame[i] == 0 ? 32768 : 0);
    }
    aa::blendSpot16(spot, 3, 3, &first);
    bool reachedCeiling = false;
    for (std::size_t i = 0; i < frame.size(); ++i) {
        EXPECT_LE(frame[i], i % 4 == 3 ? 0xBEEF : 32768);
        EXPECT_TRUE(i % 4 != 3 || frame[i] == 0xBEEF);
        reachedCeiling = reachedCeiling || (i % 4 != 3 && frame[i] == 32768);
    }
    EXPECT_TRUE(reachedCeiling);
}

// ---------------------------------------------------------------- tracing --

struct Call {
    int32_t x;
    int32_t y;
    bool first;
    bool operator==(const Call&) const = default;
};
std::vector<Call>* gCalls = nullptr;

void recordBlend(const aa::SpotFrame&, int32_t x, int32_t y, bool* firstFlag) {
    gCalls->push_back({x, y, *firstFlag});
    *firstFlag = false;
}

std::vector<Call> traceRows(const ScaleContext* ctx, const std::vector<int32_t>& points,
                            const std::vector<int32_t>& ends, bool columns = false) {
    aa::ChainSet chains;
    EXPECT_TRUE(chains.points.resize(points.size() + 1));
    EXPECT_TRUE(chains.ends.resize(ends.size() + 1));
    std::copy(points.begin(), points.end(), chains.points.data());
    std::copy(ends.begin(), ends.end(), chains.ends.data());
    chains.count = static_cast<int32_t>(ends.size());
    std::vector<Call> calls;
    gCalls = &calls;
    aa::SpotFrame spot;
    if (columns) {
        aa::traceColumnChains(ctx, chains, spot, recordBlend);
    } else {
        aa::traceRowChains(ctx, chains, spot, recordBlend);
    }
    gCalls = nullptr;
    return calls;
}

TEST(AntiAliasTrace, ChainZeroIsNeverTracedAndOneChainTracesNothing) {
    HandContext ctx(10, 10, 20, 20, 6);
    // A 45-degree pair from (2, 3) to (4, 5) as chain 0 only.
    EXPECT_TRUE(traceRows(ctx.get(), {32, 54}, {2}).empty());
    EXPECT_TRUE(traceRows(ctx.get(), {32, 54}, {2}, true).empty());
    // The same pair as chain 1 is traced.
    EXPECT_FALSE(traceRows(ctx.get(), {32, 54, 32, 54}, {2, 4}).empty());
}

// Destination samples of source intervals [lo, hi), from the index table.
std::vector<int32_t> samplesOf(const uint32_t* index, int32_t count, int32_t lo, int32_t hi) {
    std::vector<int32_t> out;
    for (int32_t i = 0; i < count; ++i) {
        if (static_cast<int32_t>(index[i]) >= lo && static_cast<int32_t>(index[i]) < hi) {
            out.push_back(i);
        }
    }
    return out;
}

TEST(AntiAliasTrace, RowWalkPicksTheNearestRowPerColumn) {
    // A pair from (2, 3) to (4, 5) on a 10 -> 20 enlargement covers source
    // columns 2..3 and rows 3..4. Every destination column of those source
    // columns gets one spot at the row nearest to the line, searched here
    // independently through the index and fraction tables.
    HandContext ctx(10, 10, 20, 20, 6);
    const auto* c = ctx.get();
    const std::vector<int32_t> columns = samplesOf(c->columnIndex, 20, 2, 4);
    const std::vector<int32_t> rows = samplesOf(c->rowIndex, 20, 3, 5);
    auto nearest = [&](double target) {
        double best = 10.0;
        int32_t want = -1;
        for (int32_t y : rows) {
            const double d =
                std::fabs((static_cast<int32_t>(c->rowIndex[y]) - 3) + c->rowFrac[y] - target);
            if (d < best) {
                best = d;
                want = y;
            }
        }
        return want;
    };
    const std::vector<Call> calls = traceRows(c, {0, 0, 32, 54}, {2, 4});
    ASSERT_EQ(calls.size(), columns.size());
    // Descending: (2, 5) -> (4, 3); the target is measured from the bottom.
    const std::vector<Call> down = traceRows(c, {0, 0, 52, 34}, {2, 4});
    ASSERT_EQ(down.size(), columns.size());
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const int32_t x = columns[i];
        const double u = (static_cast<int32_t>(c->columnIndex[x]) - 2) + c->columnFrac[x];
        EXPECT_EQ(calls[i], (Call{x, nearest(u), i == 0})) << "column " << x;
        EXPECT_EQ(down[i], (Call{x, nearest(2.0 - u), i == 0})) << "column " << x;
    }
    EXPECT_LT(calls.front().y, calls.back().y);
    EXPECT_GT(down.front().y, down.back().y);
}

TEST(AntiAliasTrace, FlatPairReusesTheLastChosenRow) {
    HandContext ctx(10, 10, 20, 20, 6);
    // Chain 1: a flat pair along row 5: no rows to search, so row 0 (the
    // start value of the call) is used.
    const std::vector<Call> flat = traceRows(ctx.get(), {0, 0, 52, 55}, {2, 4});
    ASSERT_FALSE(flat.empty());
    for (const Call& call : flat) {
        EXPECT_EQ(call.y, 0);
    }
    // After a sloped pair, the flat pair keeps that pair's last choice.
    const std::vector<Call> after = traceRows(ctx.get(), {0, 0, 32, 54, 55, 57}, {2, 6});
    const std::vector<Call> sloped = traceRows(ctx.get(), {0, 0, 32, 54}, {2, 4});
    ASSERT_EQ(after.size(), sloped.size() + 4);
    for (std::size_t i = sloped.size(); i < after.size(); ++i) {
        EXPECT_EQ(after[i].y, sloped.back().y);
    }
}

TEST(AntiAliasTrace, ColumnWalkIsTheMirror) {
    // Square context: tracing a pair as a column chain gives the transposed
    // calls of tracing the transposed pair as a row chain.
    HandContext ctx(10, 10, 20, 20, 6);
    const std::vector<Call> rows = traceRows(ctx.get(), {0, 0, 32, 54}, {2, 4});
    const std::vector<Call> cols = traceRows(ctx.get(), {0, 0, 23, 45}, {2, 4}, true);
    ASSERT_EQ(rows.size(), cols.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(cols[i], (Call{rows[i].y, rows[i].x, rows[i].first}));
    }
}

}  // namespace
}  // namespace quillon::aatest
