// Pixel conversion geometry and channel mapping, and the
// host-handle allocator, called directly with the simulator's callbacks.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <type_traits>
#include <vector>

#include "engine/Engine.h"
#include "host/HostMemory.h"
#include "host/PixelConversion.h"
#include "tools/hostsim/HostSimulator.h"

namespace quillon::test {
namespace {

using namespace quillon::host;
using hostsim::Callback;
using hostsim::HostSimulator;

// ------------------------------------------------------------ conversion

// A host world of T samples with padded rows (or, with a negative stride,
// rows stored bottom-up) filled with a sentinel.
template <typename T>
struct TestWorld {
    std::vector<uint8_t> bytes;
    PF_LayerDef def{};

    TestWorld(int32_t width, int32_t height, bool bottomUp = false) {
        const int32_t stride = (width * 4 + 16) * static_cast<int32_t>(sizeof(T));
        bytes.assign(static_cast<std::size_t>(stride) * height, 0xEE);
        def.world_flags = sizeof(T) == 2 ? PF_WorldFlag_DEEP : 0;
        def.width = width;
        def.height = height;
        def.rowbytes = bottomUp ? -stride : stride;
        def.data = bottomUp ? bytes.data() + static_cast<std::size_t>(stride) * (height - 1)
                            : bytes.data();
    }
    T* At(int32_t x, int32_t y) {
        return reinterpret_cast<T*>(static_cast<uint8_t*>(def.data) +
                                    static_cast<std::ptrdiff_t>(y) * def.rowbytes) +
               x * 4;
    }
    // Each pixel names its place: red = x, green = y, blue 7, alpha 200.
    void Label() {
        for (int32_t y = 0; y < def.height; ++y) {
            for (int32_t x = 0; x < def.width; ++x) {
                const T px[4] = {200, static_cast<T>(x), static_cast<T>(y), 7};
                std::memcpy(At(x, y), px, sizeof px);
            }
        }
    }
};

constexpr uint32_t kM = 255;
template <typename T>
constexpr T kSentinel = static_cast<T>(sizeof(T) == 1 ? 0xEE : 0xEEEE);

template <typename T>
void Read(bool overlap, const PF_LayerDef& w, T* f, int32_t width, int32_t height) {
    overlap ? ReadOverlap(w, f, width, height, kM) : ReadCropCentre(w, f, width, height, kM);
}

template <typename T>
void Write(bool overlap, const T* f, const PF_LayerDef& w, int32_t width, int32_t height) {
    overlap ? WriteOverlap(f, w, width, height, kM) : WriteCentre(f, w, width, height, kM);
}

// The world pixel (x, y) of a labelled world as the frame holds it, or the
// sentinel for x < 0: a frame pixel not written.
template <typename T>
std::array<T, 4> Labelled(int32_t x, int32_t y) {
    if (x < 0) {
        return {kSentinel<T>, kSentinel<T>, kSentinel<T>, kSentinel<T>};
    }
    return {7, static_cast<T>(y), static_cast<T>(x), static_cast<T>(kM - 200)};
}
template <typename T>
std::array<T, 4> FramePixel(const std::vector<T>& frame, int32_t stride, int32_t x, int32_t y) {
    const std::size_t i = (static_cast<std::size_t>(y) * stride + x) * 4;
    return {frame[i], frame[i + 1], frame[i + 2], frame[i + 3]};
}

template <typename T>
class Conversion : public ::testing::Test {};
using SampleTypes = ::testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Conversion, SampleTypes);

// A 9 x 7 world, top-down and bottom-up, read into frames smaller and larger
// by odd amounts. Smaller: both readers start at column 5 / 2 = 2, row
// 3 / 2 = 1. Larger: crop-centre packs the whole world at its own width from
// the first pixel, overlap centres it 3 / 2 = 1 column and row in. Width 0
// asks for the world's size.
TYPED_TEST(Conversion, ReadersPlaceTheCentredRegion) {
    using T = TypeParam;
    struct Case {
        bool overlap;
        int32_t width, height, stride;
        std::vector<std::array<int32_t, 4>> checks;  // frame x, y <- world x, y (-1: untouched)
    };
    const Case cases[] = {
        {false, 4, 4, 4, {{0, 0, 2, 1}, {3, 3, 5, 4}, {0, 4, -1, -1}}},
        {true, 4, 4, 4, {{0, 0, 2, 1}, {3, 3, 5, 4}, {0, 4, -1, -1}}},
        {false, 12, 10, 9, {{0, 0, 0, 0}, {8, 6, 8, 6}, {0, 7, -1, -1}}},
        {true, 12, 10, 12, {{0, 0, -1, -1}, {1, 1, 0, 0}, {9, 7, 8, 6}, {10, 8, -1, -1}}},
        {false, 0, 0, 9, {{8, 6, 8, 6}}},
    };
    for (bool bottomUp : {false, true}) {
        TestWorld<T> world(9, 7, bottomUp);
        world.Label();
        for (const Case& c : cases) {
            std::vector<T> frame(12 * 10 * 4, kSentinel<T>);
            Read<T>(c.overlap, world.def, frame.data(), c.width, c.height);
            for (const auto& [fx, fy, wx, wy] : c.checks) {
                EXPECT_EQ(FramePixel(frame, c.stride, fx, fy), Labelled<T>(wx, wy))
                    << c.overlap << " " << c.width << "x" << c.height << " at " << fx << "," << fy;
            }
        }
    }
}

// Frames whose pixels name their place: blue = x, green = y, red 9, transparency 0.
template <typename T>
std::vector<T> LabelledFrame(int32_t width, int32_t height) {
    std::vector<T> frame;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            frame.insert(frame.end(), {static_cast<T>(x), static_cast<T>(y), 9, 0});
        }
    }
    return frame;
}

// Larger frames fill the world from frame column and row 1 with both
// writers; a smaller one goes to world column 5 / 2 = 2, row 3 / 2 = 1 with the
// overlap writer, while the centre writer takes the frame at the world's size.
TYPED_TEST(Conversion, WritersPlaceTheCentredRegion) {
    using T = TypeParam;
    struct Case {
        bool overlap;
        int32_t width, height, frameWidth, frameHeight;
        std::vector<std::array<int32_t, 4>> checks;  // world x, y <- frame x, y (-1: untouched)
    };
    const Case cases[] = {
        {true, 12, 10, 12, 10, {{0, 0, 1, 1}, {8, 6, 9, 7}}},
        {true, 4, 4, 4, 4, {{2, 1, 0, 0}, {5, 4, 3, 3}, {1, 1, -1, -1}, {2, 5, -1, -1}}},
        {false, 4, 4, 9, 7, {{0, 0, 0, 0}, {8, 6, 8, 6}}},
    };
    for (const Case& c : cases) {
        TestWorld<T> world(9, 7);
        const std::vector<T> frame = LabelledFrame<T>(c.frameWidth, c.frameHeight);
        Write<T>(c.overlap, frame.data(), world.def, c.width, c.height);
        for (const auto& [wx, wy, fx, fy] : c.checks) {
            const T* p = world.At(wx, wy);
            const std::vector<T> expected =
                fx < 0
                    ? std::vector<T>(4, kSentinel<T>)
                    : std::vector<T>{static_cast<T>(kM), 9, static_cast<T>(fy), static_cast<T>(fx)};
            EXPECT_EQ(std::vector<T>(p, p + 4), expected)
                << c.overlap << " " << c.width << "x" << c.height << " world " << wx << "," << wy;
        }
    }
}

// A padded world read into a frame and written back comes out unchanged.
TYPED_TEST(Conversion, PixelsRoundTrip) {
    using T = TypeParam;
    for (bool overlap : {false, true}) {
        TestWorld<T> world(9, 7);
        TestWorld<T> back(9, 7);
        world.Label();
        std::vector<T> frame(9 * 7 * 4);
        Read<T>(overlap, world.def, frame.data(), 9, 7);
        Write<T>(overlap, frame.data(), back.def, 9, 7);
        EXPECT_TRUE(back.bytes == world.bytes) << overlap;
    }
}

// ------------------------------------------------------------ allocator

class HostMemoryTest : public ::testing::Test {
protected:
    void TearDown() override {
        while (HostMemoryScopeDepth() > 0) {
            LeaveHostMemoryScope();
        }
    }
    HostSimulator host_;
};

TEST_F(HostMemoryTest, BlocksAreAlignedLockedHandlesFreedOnRequest) {
    EXPECT_FALSE(EnterHostMemoryScope(nullptr));
    const std::size_t before = host_.LiveHandleCount();
    ASSERT_TRUE(EnterHostMemoryScope(&host_.inData()));
    EXPECT_EQ(AllocateHostBlock(0), nullptr);
    void* block = AllocateHostBlock(1000);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
    ASSERT_EQ(host_.LiveHandleCount(), before + 1);
    std::memset(block, 0x11, 1000);

    int foreign = 0;
    FreeHostBlock(&foreign);
    FreeHostBlock(static_cast<uint8_t*>(block) + 16);
    FreeHostBlock(nullptr);
    EXPECT_EQ(host_.LiveHandleCount(), before + 1);

    FreeHostBlock(block);
    EXPECT_EQ(host_.LiveHandleCount(), before);
    EXPECT_EQ(host_.CallCount(Callback::UnlockHandle), 1);
    EXPECT_EQ(host_.CallCount(Callback::DisposeHandle), 1);
    FreeHostBlock(block);  // a second release is unknown by then
    EXPECT_EQ(host_.CallCount(Callback::DisposeHandle), 1);
    host_.FailCallback(Callback::LockHandle);
    EXPECT_EQ(AllocateHostBlock(100), nullptr);
    EXPECT_EQ(host_.LiveHandleCount(), before);  // the unlockable handle went back
    host_.ClearFaults();
    LeaveHostMemoryScope();
    EXPECT_EQ(host_.unknownHandleCalls(), 0);
}

TEST_F(HostMemoryTest, OutermostScopeReclaimsForgottenBlocks) {
    const std::size_t before = host_.LiveHandleCount();
    ASSERT_TRUE(EnterHostMemoryScope(&host_.inData()));
    ASSERT_TRUE(EnterHostMemoryScope(&host_.inData()));
    EXPECT_EQ(HostMemoryScopeDepth(), 2);
    ASSERT_NE(AllocateHostBlock(64), nullptr);
    ASSERT_NE(AllocateHostBlock(128), nullptr);
    LeaveHostMemoryScope();  // inner: blocks stay
    EXPECT_EQ(host_.LiveHandleCount(), before + 2);
    EXPECT_EQ(LiveHostBlockCount(), 2u);
    LeaveHostMemoryScope();  // outer: both go
    EXPECT_EQ(host_.LiveHandleCount(), before);
    EXPECT_EQ(LiveHostBlockCount(), 0u);

    // A repeated scope starts from an empty record and works the same way.
    ASSERT_TRUE(EnterHostMemoryScope(&host_.inData()));
    ASSERT_NE(AllocateHostBlock(32), nullptr);
    LeaveHostMemoryScope();
    EXPECT_EQ(host_.LiveHandleCount(), before);
    EXPECT_EQ(host_.unknownHandleCalls(), 0);
    LeaveHostMemoryScope();  // unbalanced: no effect
    EXPECT_EQ(HostMemoryScopeDepth(), 0);
}

}  // namespace
}  // namespace quillon::test
