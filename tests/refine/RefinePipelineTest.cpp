// Refinement and sharpening through CreateScaleContext / ProcessFrame.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "RefineTestSupport.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"

namespace quillon::refinetest {
namespace {

using support::LoadPicture;
using support::Picture;
using support::RunFrame;

template <typename T>
std::vector<T> Flat(std::vector<T> pixel) {
    std::vector<T> f(40 * 30 * 4);
    for (std::size_t i = 0; i < f.size(); ++i) {
        f[i] = pixel[i % 4];
    }
    return f;
}

TEST(RefinePipeline, FlatSourceIsBitIdenticalWithRefineAndSharpen) {
    CeilingGuard guard(255, 32768);
    const auto flat8 = Flat<uint8_t>({90, 120, 150, 0});
    const auto flat16 = Flat<uint16_t>({11000, 22000, 30000, 0});
    for (const auto& [depth, variant] :
         {std::pair{DEPTH_8, KERNEL_CELL}, std::pair{DEPTH_8, KERNEL_TWO_PASS},
          std::pair{DEPTH_16, KERNEL_CELL}}) {
        for (const uint32_t lanczos : {0u, uint32_t{OPT_LANCZOS}}) {
            const Request plain{40, 30, 100, 75, lanczos, depth, variant};
            Request refined = plain;
            refined.options |= OPT_REFINE | OPT_SHARPEN;
            refined.sharpness = 25;
            refined.quality = 25;
            const auto check = [&](const auto& src) {
                const auto out = RunFrame(refined, src);
                EXPECT_FALSE(out.empty());
                EXPECT_EQ(out, RunFrame(plain, src)) << depth << " " << variant << " " << lanczos;
            };
            depth == DEPTH_8 ? check(flat8) : check(flat16);
        }
    }
}

TEST(RefinePipeline, KernelNoneKeepsMapsAndOutput) {
    Context c({16, 12, 40, 30, OPT_REFINE, DEPTH_8, KERNEL_NONE});
    ASSERT_TRUE(c.ok());
    const std::size_t n = 40 * 30;
    // Narrow ranges everywhere: the apply leaves the frame alone too.
    std::fill(c->refineMin, c->refineMin + n, uint8_t{7});
    std::fill(c->refineMax, c->refineMax + n, uint8_t{9});
    const auto src = RandomFrame<uint8_t>(16, 12, 255, 5);
    const auto before = RandomFrame<uint8_t>(40, 30, 255, 6);
    auto out = before;
    ASSERT_EQ(ProcessFrame(src.data(), out.data(), c.get()), 0);
    EXPECT_EQ(out, before);
    EXPECT_TRUE(std::all_of(c->refineMin, c->refineMin + n, [](uint8_t v) { return v == 7; }));
    EXPECT_TRUE(std::all_of(c->refineMax, c->refineMax + n, [](uint8_t v) { return v == 9; }));
}

// Summed 10-90 % widths of the row edges found in the plain upscale, measured
// in both images over the same stretches.
struct EdgeWidths {
    long plain = 0;
    long refined = 0;
    int edges = 0;
};

EdgeWidths MeasureRowEdges(const std::vector<int>& plain, const std::vector<int>& refined,
                           uint32_t w, uint32_t h, int minStep) {
    EdgeWidths e;
    for (uint32_t y = 0; y < h; ++y) {
        const int* p = &plain[std::size_t{y} * w];
        const int* q = &refined[std::size_t{y} * w];
        uint32_t x = 0;
        while (x + 1 < w) {
            const int dir = p[x + 1] > p[x] ? 1 : (p[x + 1] < p[x] ? -1 : 0);
            if (dir == 0) {
                ++x;
                continue;
            }
            uint32_t end = x + 1;
            while (end + 1 < w && (p[end + 1] - p[end]) * dir > 0) {
                ++end;
            }
            const int a = p[x];
            const int b = p[end];
            if ((b - a) * dir >= minStep) {
                const double lo = std::min(a, b) + 0.1 * std::abs(b - a);
                const double hi = std::min(a, b) + 0.9 * std::abs(b - a);
                for (uint32_t i = x; i <= end; ++i) {
                    e.plain += p[i] > lo && p[i] < hi;
                    e.refined += q[i] > lo && q[i] < hi;
                }
                ++e.edges;
            }
            x = end;
        }
    }
    return e;
}

template <typename T>
std::vector<int> Greys(const std::vector<T>& frame) {
    std::vector<int> g(frame.size() / 4);
    for (std::size_t i = 0; i < g.size(); ++i) {
        g[i] = Grey(&frame[i * 4]);
    }
    return g;
}

// Runs plain and refined upscales of one source and checks the two
// properties of the refinement on real edges.
template <typename T>
void CheckEdgeProperties(const Request& base, const std::vector<T>& src, int minStep,
                         uint32_t quality, double maxWidthRatio) {
    Request refinedRequest = base;
    refinedRequest.options |= OPT_REFINE;
    refinedRequest.quality = quality;
    Context c(refinedRequest);
    ASSERT_TRUE(c.ok());
    std::vector<T> refined(std::size_t{base.dstWidth} * base.dstHeight * 4);
    ASSERT_EQ(ProcessFrame(src.data(), refined.data(), c.get()), 0);
    const auto plain = RunFrame(base, src);
    ASSERT_FALSE(plain.empty());

    const auto gp = Greys(plain);
    const auto gr = Greys(refined);
    const uint8_t* mins = c.get()->refineMin;
    const uint8_t* maxs = c.get()->refineMax;
    // Inside its local range a refined grey stays inside it, give or take the
    // rounding of the gain and of the three channels.
    int inside = 0;
    for (std::size_t p = 0; p < gp.size(); ++p) {
        if (maxs[p] - mins[p] >= 20 && gp[p] >= mins[p] && gp[p] <= maxs[p]) {
            ++inside;
            ASSERT_GE(gr[p], mins[p] - 2) << "pixel " << p;
            ASSERT_LE(gr[p], maxs[p] + 2) << "pixel " << p;
        }
    }
    EXPECT_GT(inside, 100);

    const EdgeWidths e = MeasureRowEdges(gp, gr, base.dstWidth, base.dstHeight, minStep);
    ASSERT_GT(e.edges, 0);
    EXPECT_LT(static_cast<double>(e.refined), maxWidthRatio * static_cast<double>(e.plain))
        << "edges " << e.edges << " plain " << e.plain << " refined " << e.refined;
}

TEST(RefinePipeline, PhotoEdgesNarrowAndStayInRange) {
    const Picture photo = LoadPicture("cups_320x180.png");
    ASSERT_FALSE(photo.empty());
    const auto src = support::ToWorking8(photo);
    for (uint32_t options : {0u, uint32_t{OPT_LANCZOS}}) {
        Request r{photo.width, photo.height, photo.width * 3, photo.height * 3, options};
        CheckEdgeProperties(r, src, 60, 8, 0.95);  // the slider's default
        CheckEdgeProperties(r, src, 60, 25, 0.85);
    }
    CeilingGuard guard(255, 32768);
    const Picture photo16 = LoadPicture("pier_320x180_16bit.png");
    ASSERT_EQ(photo16.bitDepth, 16);
    const Request r{photo16.width, photo16.height, photo16.width * 3, photo16.height * 3, 0,
                    DEPTH_16};
    // The 16-bit grey spans 0..128, so steps are half as tall and ranges
    // narrower, which flattens the S-curve: the gain in width is smaller.
    CheckEdgeProperties(r, support::ToWorking16(photo16), 30, 8, 1.0);
    CheckEdgeProperties(r, support::ToWorking16(photo16), 30, 25, 0.96);
}

// At 16 bits the refinement path upscales again, which discards anti-aliasing.
TEST(RefinePipeline, SixteenBitRefineReplacesAntiAliasing) {
    CeilingGuard guard(255, 32768);
    const Picture photo = LoadPicture("pier_320x180_16bit.png");
    ASSERT_FALSE(photo.empty());
    const auto src = support::ToWorking16(photo);
    Request r{photo.width, photo.height, photo.width * 2, photo.height * 2, OPT_REFINE, DEPTH_16};
    r.antiAlias = 20;
    const auto refineOnly = RunFrame(r, src);
    r.options = OPT_REFINE | OPT_ANTIALIAS;
    EXPECT_EQ(RunFrame(r, src), refineOnly);
    // Anti-aliasing on its own does change this frame, so the equality above
    // is the second upscale at work.
    r.options = 0;
    const auto plain = RunFrame(r, src);
    r.options = OPT_ANTIALIAS;
    EXPECT_NE(RunFrame(r, src), plain);
}

}  // namespace
}  // namespace quillon::refinetest
