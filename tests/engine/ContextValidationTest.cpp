// Request validation and the scalar controls derived at creation.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "CountingAllocator.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"

namespace {

using quillon::test::CountingScope;

struct Request {
    uint32_t srcW = 16, srcH = 12, dstW = 32, dstH = 24, outW = 32, outH = 24;
    uint32_t options = 0, depth = DEPTH_8, variant = KERNEL_CELL;
    uint32_t sharpness = 0, refine = 0, aa = 0;
};

// Creates and destroys; returns creation's result. A rejected request must
// not touch the allocator nor write the context pointer.
int32_t Try(const Request& r) {
    CountingScope scope;
    ScaleContext* sentinel = reinterpret_cast<ScaleContext*>(uintptr_t{0x1234});
    ScaleContext* c = sentinel;
    const int32_t result =
        CreateScaleContext(r.srcW, r.srcH, r.dstW, r.dstH, r.outW, r.outH, r.options, r.depth,
                           r.variant, r.sharpness, r.refine, r.aa, &c);
    if (result != 0) {
        EXPECT_EQ(scope.calls(), 0) << "a rejected request allocated";
        EXPECT_EQ(c, sentinel) << "a rejected request wrote the context pointer";
    } else {
        DestroyScaleContext(c);
        EXPECT_EQ(scope.live(), 0u);
    }
    return result;
}

TEST(ContextValidation, SizesLieInOneTo65536AndSourcesHaveFourSamples) {
    EXPECT_EQ(Try({}), 0);
    for (uint32_t bad : {0u, 65537u, 0xFFFFFFFFu}) {
        Request r;
        r.outW = bad;
        EXPECT_EQ(Try(r), -1) << bad;
        r = {};
        r.srcH = bad;
        EXPECT_EQ(Try(r), -1) << bad;
    }
    Request narrow;
    narrow.srcW = 3;
    EXPECT_EQ(Try(narrow), -1);
    Request low;
    low.srcH = 3;
    EXPECT_EQ(Try(low), -1);
    Request four;
    four.srcW = four.srcH = 4;
    EXPECT_EQ(Try(four), 0);
}

TEST(ContextValidation, EngineOnlyEnlargesIntoACanvasAtLeastAsLarge) {
    Request same;  // no enlargement in one axis is fine
    same.dstW = same.outW = same.srcW;
    EXPECT_EQ(Try(same), 0);
    Request shrink;
    shrink.dstW = shrink.srcW - 1;
    EXPECT_EQ(Try(shrink), -1);
    Request smallCanvas;
    smallCanvas.outH = smallCanvas.dstH - 1;
    EXPECT_EQ(Try(smallCanvas), -1);
    Request canvas;
    canvas.outW = canvas.dstW + 1;
    EXPECT_EQ(Try(canvas), 0);
}

TEST(ContextValidation, OptionsAreComparedAsASignedNumber) {
    Request r;
    r.options = 15;
    EXPECT_EQ(Try(r), 0);
    r.options = 16;
    EXPECT_EQ(Try(r), -1);
    r.options = 0x80000000u;  // negative as a signed number: passes
    EXPECT_EQ(Try(r), 0);
}

TEST(ContextValidation, KernelVariantAndDepth) {
    Request r;
    for (uint32_t v : {0u, 1u, 2u}) {
        r.variant = v;
        EXPECT_EQ(Try(r), 0) << v;
    }
    r.variant = 3;
    EXPECT_EQ(Try(r), -1);
    r.depth = DEPTH_16;
    r.variant = KERNEL_CELL;
    EXPECT_EQ(Try(r), 0);
    r.variant = KERNEL_TWO_PASS;
    EXPECT_EQ(Try(r), -1);
    r.variant = KERNEL_NONE;
    EXPECT_EQ(Try(r), -1);
    // Other depth modes are accepted (no kernels are chosen for them).
    r.depth = 7;
    r.variant = KERNEL_TWO_PASS;
    EXPECT_EQ(Try(r), 0);
}

TEST(ContextValidation, ControlsAreAtMost25) {
    for (int which = 0; which < 3; ++which) {
        Request r;
        uint32_t* field = which == 0 ? &r.sharpness : which == 1 ? &r.refine : &r.aa;
        *field = 25;
        EXPECT_EQ(Try(r), 0);
        *field = 26;
        EXPECT_EQ(Try(r), -1);
    }
}

TEST(ContextValidation, NullContextOutIsRejected) {
    EXPECT_EQ(CreateScaleContext(16, 16, 32, 32, 32, 32, 0, 0, 0, 0, 0, 0, nullptr), -1);
}

ScaleContext* Make(uint32_t sharpness, uint32_t refine, uint32_t aa) {
    ScaleContext* c = nullptr;
    EXPECT_EQ(CreateScaleContext(8, 8, 16, 16, 16, 16, 0, 0, 0, sharpness, refine, aa, &c), 0);
    return c;
}

TEST(ScalarControls, SharpenGain) {
    ScaleContext* c = Make(0, 0, 0);
    EXPECT_EQ(c->sharpenGain, 0.01f);
    DestroyScaleContext(c);
    c = Make(25, 0, 0);
    EXPECT_EQ(c->sharpenGain, static_cast<float>((25 - 0.52) / 24));
    EXPECT_NEAR(c->sharpenGain, 1.02, 1e-6);
    DestroyScaleContext(c);
    c = Make(10, 0, 0);
    EXPECT_NEAR(c->sharpenGain, 0.395, 1e-6);
    DestroyScaleContext(c);
}

TEST(ScalarControls, RefineShapeAddsInFloat) {
    for (uint32_t q : {0u, 1u, 7u, 10u, 25u}) {
        ScaleContext* c = Make(0, q, 0);
        const float expected = static_cast<float>(q / 20.0) + 0.1f;
        EXPECT_EQ(c->refineShape, expected) << q;
        DestroyScaleContext(c);
    }
}

TEST(ScalarControls, AntiAliasFollowMixAndSpread) {
    ScaleContext* zero = Make(0, 0, 0);
    ScaleContext* one = Make(0, 0, 1);
    EXPECT_EQ(zero->aaFollow, 0.7f);
    EXPECT_EQ(one->aaFollow, zero->aaFollow);
    EXPECT_EQ(zero->aaSpread, 1.0f);
    DestroyScaleContext(zero);
    DestroyScaleContext(one);

    ScaleContext* max = Make(0, 0, 25);
    EXPECT_EQ(max->aaMix, 0.8f);
    EXPECT_EQ(max->aaSpread, 5.0f);
    EXPECT_EQ(max->aaFollow, static_cast<float>(0.7 / std::pow(25.0, 0.38)));
    DestroyScaleContext(max);

    ScaleContext* five = Make(0, 0, 5);
    ScaleContext* six = Make(0, 0, 6);
    EXPECT_EQ(five->aaSpread, 1.0f);
    EXPECT_EQ(six->aaSpread, 2.0f);
    EXPECT_EQ(six->aaMix, static_cast<float>(0.8 / std::pow(20.0, 0.25)));
    DestroyScaleContext(five);
    DestroyScaleContext(six);
}

}  // namespace
