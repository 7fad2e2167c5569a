// Smoothing: window size, spot weights, the blend against a plain model, and
// the tracing walk observed through a recording blend.
#include <gtest/gtest.h>

#include <array>
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
void modelBlend(std::vector<uint8_t>& frame, int32_t fw, int32_t fh, std::vector<double>& window,
                const std::vector<double>& weights, int32_t n, int32_t r, double follow, double mix,
                int32_t maxValue, int32_t cx, int32_t cy) {
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
                v = static_cast<uint8_t>(std::clamp(t, 0.0, static_cast<double>(maxValue)));
            }
        }
    }
}

TEST(AntiAliasSpot, BlendMatchesPlainModelIncludingFrameBorders) {
    const double follow = 0.7f / 1.0;
    const double mix = static_cast<double>(static_cast<float>(0.8 / std::pow(20.0, 0.25)));
    const int32_t fw = 9;
    const int32_t fh = 7;
    std::vector<double> weights(3 * 5 * 5);
    aa::buildSpotWeights(weights.data(), weights.size());
    for (auto [cx, cy] : {std::pair{4, 3}, std::pair{0, 0}, std::pair{8, 6}, std::pair{1, 5}}) {
        auto frame = support::RandomFrame<uint8_t>(fw, fh, 255, 5u + static_cast<uint32_t>(cx));
        std::vector<double> window(weights.size(), 0.0);
        const aa::SpotFrame spot{frame.data(), fw,  fh, weights.data(), window.data(), 5, 2,
                                 follow,       mix, 255};
        std::vector<uint8_t> modelFrame = frame;
        bool first = true;
        aa::blendSpot8(spot, cx, cy, &first);  // the first spot only loads
        EXPECT_FALSE(first);
        EXPECT_EQ(frame, modelFrame);
        std::vector<double> modelWindow = window;
        // Window entries of pixels outside the frame were loaded as 0.
        EXPECT_TRUE(cx != 0 || window[0] == 0.0);
        // Two more spots, the second one pixel to the right.
        aa::blendSpot8(spot, cx, cy, &first);
        aa::blendSpot8(spot, cx + 1, cy, &first);
        for (const int32_t x : {cx, cx + 1}) {
            modelBlend(modelFrame, fw, fh, modelWindow, weights, 5, 2, follow, mix, 255, x, cy);
        }
        EXPECT_EQ(frame, modelFrame) << cx << "," << cy;
        EXPECT_EQ(window, modelWindow);
    }
}

// A one-pixel spot whose window sits so that the blend rounds to exactly
// one above the ceiling, to not a number and below zero.
template <typename Channel>
void expectBlendClamped(void (*blend)(const aa::SpotFrame&, int32_t, int32_t, bool*),
                        int32_t ceiling) {
    std::vector<Channel> pixel = {9, 9, 9, 201};
    const std::vector<double> weights(3, 1.0);
    std::vector<double> window = {ceiling + 0.5, NAN, -3.0};
    const aa::SpotFrame spot{pixel.data(), 1,   1,      weights.data(), window.data(), 1, 0,
                             0.0,          1.0, ceiling};
    bool first = false;
    blend(spot, 0, 0, &first);
    EXPECT_EQ(pixel, (std::vector<Channel>{static_cast<Channel>(ceiling), 0, 0, 201}));
}

TEST(AntiAliasSpot, BlendIsClampedToTheCeilingAndKeepsChannelThree) {
    expectBlendClamped<uint8_t>(aa::blendSpot8, 180);
    expectBlendClamped<uint16_t>(aa::blendSpot16, 32768);
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

// The blend calls of tracing the chains (ends after each) of a 10 x 10 map.
std::vector<Call> trace(const ScaleContext* ctx, const std::vector<int32_t>& points,
                        const std::vector<int32_t>& ends, bool columns = false) {
    aa::ChainSet chains;
    EXPECT_TRUE(chains.points.resize(points.size() + 1));
    EXPECT_TRUE(chains.ends.resize(ends.size() + 1));
    std::copy(points.begin(), points.end(), chains.points.data());
    std::copy(ends.begin(), ends.end(), chains.ends.data());
    chains.count = static_cast<int32_t>(ends.size());
    std::vector<Call> calls;
    gCalls = &calls;
    (columns ? aa::traceColumnChains : aa::traceRowChains)(ctx, chains, {}, recordBlend);
    gCalls = nullptr;
    return calls;
}

// A row-chain pair from (x0, y0) to (x1, y1) covers source columns x0..x1 - 1
// and rows y0..y1 - 1 (in order). Every destination column of those source
// columns gets one spot at the row nearest to the line, the first of equally
// near rows, searched here through the index and fraction tables. A rising
// line measures its target from the bottom. Tracing the transposed pair as a
// column chain gives the transposed calls; chain 0 is never traced.
TEST(AntiAliasTrace, WalkPicksTheNearestRowPerColumn) {
    for (const int32_t dst : {20, 25}) {
        support::Context ctx(aaRequest(10, 10, dst, dst, 6));
        const ScaleContext* c = ctx.get();
        auto position = [](const uint32_t* index, const double* frac, int32_t i, int32_t lo) {
            return static_cast<int32_t>(index[i]) - lo + frac[i];
        };
        // (x0, y0, x1, y1): slopes 1, 2 (ties between rows), 1/2, falling and rising.
        for (const auto& p : std::vector<std::array<int32_t, 4>>{
                 {2, 3, 4, 5}, {2, 3, 3, 5}, {1, 2, 5, 4}, {2, 5, 4, 3}, {3, 6, 4, 4}}) {
            SCOPED_TRACE(testing::Message()
                         << dst << ": " << p[0] << "," << p[1] << " -> " << p[2] << "," << p[3]);
            const int32_t ylo = std::min(p[1], p[3]);
            const int32_t yhi = std::max(p[1], p[3]);
            const double slope = static_cast<double>(p[3] - p[1]) / (p[2] - p[0]);
            std::vector<Call> want;
            for (int32_t x = 0; x < dst; ++x) {
                if (c->columnIndex[x] < static_cast<uint32_t>(p[0]) ||
                    c->columnIndex[x] >= static_cast<uint32_t>(p[2])) {
                    continue;
                }
                const double u = position(c->columnIndex, c->columnFrac, x, p[0]) * slope;
                const double target = slope > 0 ? u : (yhi - ylo) + u;
                double best = 10.0;
                int32_t row = -1;
                for (int32_t y = 0; y < dst; ++y) {
                    const double d = std::fabs(position(c->rowIndex, c->rowFrac, y, ylo) - target);
                    if (c->rowIndex[y] >= static_cast<uint32_t>(ylo) &&
                        c->rowIndex[y] < static_cast<uint32_t>(yhi) && d < best) {
                        best = d;
                        row = y;
                    }
                }
                want.push_back({x, row, want.empty()});
            }
            const int32_t a = p[1] * 10 + p[0];
            const int32_t b = p[3] * 10 + p[2];
            EXPECT_TRUE(trace(c, {a, b}, {2}).empty());
            EXPECT_EQ(trace(c, {0, 0, a, b}, {2, 4}), want);
            std::vector<Call> mirrored;
            for (const Call& call :
                 trace(c, {0, 0, p[0] * 10 + p[1], p[2] * 10 + p[3]}, {2, 4}, true)) {
                mirrored.push_back({call.y, call.x, call.first});
            }
            EXPECT_EQ(mirrored, want);
        }
    }
}

TEST(AntiAliasTrace, FlatPairReusesTheLastChosenRow) {
    support::Context ctx(aaRequest(10, 10, 20, 20, 6));
    // Chain 1: a flat pair along row 5: no rows to search, so row 0 (the
    // start value of the call) is used.
    const std::vector<Call> flat = trace(ctx.get(), {0, 0, 52, 55}, {2, 4});
    ASSERT_EQ(flat.size(), 6u);
    for (const Call& call : flat) {
        EXPECT_EQ(call.y, 0);
    }
    // After a sloped pair, the flat pair keeps that pair's last choice.
    const std::vector<Call> after = trace(ctx.get(), {0, 0, 32, 54, 55, 57}, {2, 6});
    const std::vector<Call> sloped = trace(ctx.get(), {0, 0, 32, 54}, {2, 4});
    ASSERT_EQ(after.size(), sloped.size() + 4);
    for (std::size_t i = sloped.size(); i < after.size(); ++i) {
        EXPECT_EQ(after[i].y, sloped.back().y);
    }
}

}  // namespace
}  // namespace quillon::aatest
