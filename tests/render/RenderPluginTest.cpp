// The render command through the built plug-in in the host simulator, each
// output compared with the engine run directly on a plainly converted frame.
#include <algorithm>
#include <string>
#include <vector>

#include "RenderTestSupport.h"
#include "engine/Engine.h"
#include "tests/host/PluginTestSupport.h"

namespace quillon::test {
namespace {

constexpr uint32_t kWhite8 = 255;
constexpr uint32_t kWhite16 = 32768;

// Index of the first difference, or -1.
template <typename Sample>
long FirstDifference(const std::vector<Sample>& a, const std::vector<Sample>& b) {
    if (a.size() != b.size()) {
        return 0;
    }
    const auto it = std::mismatch(a.begin(), a.end(), b.begin());
    return it.first == a.end() ? -1 : static_cast<long>(it.first - a.begin());
}

struct Settings {
    int32_t filterType;
    int32_t sharpness;
    int32_t quality;
    int32_t antiAliasing;
    uint32_t options;  // what the settings stand for in the engine
};

class Render : public PluginTest {
protected:
    void SetUp() override {
        // The engine in this process clamps like the plug-in's.
        SetMaxValue16(32768);
        SetMaxValue8(255);
    }
    void TearDown() override { SetMaxValue16(65535); }

    void Begin(HostIdentity identity, const Settings& s) {
        StartInstance(identity);
        host().param(9).u.pd.value = s.filterType;
        host().param(10).u.sd.value = s.sharpness;
        host().param(11).u.sd.value = s.quality;
        host().param(12).u.sd.value = s.antiAliasing;
        settings_ = s;
    }
    PF_Handle Seq() { return host().inData().sequence_data; }
    void SetSequenceOutput(uint32_t width, int32_t height) {
        WriteAt<uint32_t>(Seq(), kSeqOutputWidth, width);
        WriteAt<int32_t>(Seq(), kSeqOutputHeight, height);
    }
    void FillOutput(uint8_t value) {
        auto& buffer = host().outputWorld().buffer;
        std::fill(buffer.begin(), buffer.end(), value);
    }
    // Sends the render and checks that the handles came back as they were.
    PF_Err RenderFrame() {
        const std::size_t handles = host().LiveHandleCount();
        const int unknown = host().unknownHandleCalls();
        const PF_Err err = host().Send(PF_Cmd_RENDER);
        EXPECT_EQ(host().LiveHandleCount(), handles);
        if (Seq() != nullptr && host().IsLiveHandle(Seq())) {
            EXPECT_EQ(host().HandleLockCount(Seq()), 0);
        }
        EXPECT_EQ(host().unknownHandleCalls(), unknown);
        return err;
    }
    ScaleRequest Request(uint32_t srcW, uint32_t srcH, uint32_t dstW, uint32_t dstH, bool deep,
                         uint32_t kernel = KERNEL_TWO_PASS) const {
        ScaleRequest r;
        r.srcWidth = srcW;
        r.srcHeight = srcH;
        r.dstWidth = dstW;
        r.dstHeight = dstH;
        r.options = settings_.options;
        r.depthMode = deep ? DEPTH_16 : DEPTH_8;
        r.kernelVariant = deep ? uint32_t{KERNEL_CELL} : kernel;
        r.sharpness = static_cast<uint32_t>(settings_.sharpness);
        r.refineStrength = static_cast<uint32_t>(settings_.quality);
        r.antiAliasAmount = static_cast<uint32_t>(settings_.antiAliasing);
        return r;
    }
    // Whole input world against whole output world.
    template <typename Sample>
    void ExpectOutputMatchesEngine(uint32_t kernel = KERNEL_TWO_PASS) {
        const PF_LayerDef& in = host().inputWorld().def;
        const PF_LayerDef& out = host().outputWorld().def;
        const uint32_t white = sizeof(Sample) == 1 ? kWhite8 : kWhite16;
        const std::vector<Sample> expected = ExpectedOutput(
            WorldToFrame<Sample>(in, 0, 1, white),
            Request(static_cast<uint32_t>(in.width), static_cast<uint32_t>(in.height),
                    static_cast<uint32_t>(out.width), static_cast<uint32_t>(out.height),
                    sizeof(Sample) == 2, kernel),
            white);
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(FirstDifference(WorldSamples<Sample>(out), expected), -1);
    }

    Settings settings_{};
};

// ---------------------------------------------------------------- photos

struct PhotoCase {
    HostIdentity identity;
    bool deep;
    Settings settings;
    uint32_t kernel;
};

class RenderPhoto : public Render, public ::testing::WithParamInterface<PhotoCase> {};

TEST_P(RenderPhoto, OutputIsTheEngineResultOfTheConvertedLayer) {
    const PhotoCase& c = GetParam();
    Begin(c.identity, c.settings);
    const Photo photo = LoadPhoto(c.deep ? "pier_320x180_16bit.png" : "cups_320x180.png");
    ASSERT_GT(photo.width, 0);
    // Padded rows of different lengths on both sides.
    host().SetInputLayer(200, 112, c.deep, c.deep ? 24 : 20);
    host().SetOutputWorld(456, 260, c.deep, c.deep ? 40 : 12);
    FillWorld(host().inputWorld().def, photo);
    FillOutput(0x5A);
    WriteAt<uint32_t>(Seq(), kSeqKernel, c.kernel);
    SetSequenceOutput(456, 260);  // what frame setup leaves for modern Premiere Pro

    ASSERT_EQ(RenderFrame(), PF_Err_NONE);
    if (c.deep) {
        ExpectOutputMatchesEngine<uint16_t>();
        const std::vector<uint16_t> out = WorldSamples<uint16_t>(host().outputWorld().def);
        EXPECT_LE(*std::max_element(out.begin(), out.end()), kWhite16);
    } else {
        ExpectOutputMatchesEngine<uint8_t>(c.kernel);
    }
}

std::string PhotoCaseName(const ::testing::TestParamInfo<PhotoCase>& param) {
    static const char* const kHosts[] = {"AE", "Pr12", "Pr13"};
    const PhotoCase& c = param.param;
    return std::string(kHosts[static_cast<int>(c.identity)]) + (c.deep ? "_16bit" : "_8bit") +
           "_filter" + std::to_string(c.settings.filterType) + "_options" +
           std::to_string(c.settings.options) + "_kernel" + std::to_string(c.kernel);
}

void PrintTo(const PhotoCase& c, std::ostream* os) {
    *os << PhotoCaseName(::testing::TestParamInfo<PhotoCase>(c, 0));
}

constexpr auto kAE = HostIdentity::AfterEffects;
INSTANTIATE_TEST_SUITE_P(
    FilterTypes, RenderPhoto,
    ::testing::Values(
        PhotoCase{kAE, false, {1, 2, 8, 0, 2}, KERNEL_TWO_PASS},
        PhotoCase{kAE, false, {2, 0, 8, 0, 1}, KERNEL_TWO_PASS},
        PhotoCase{kAE, false, {3, 0, 8, 6, 12}, KERNEL_TWO_PASS},
        PhotoCase{kAE, false, {4, 3, 10, 4, 15}, KERNEL_TWO_PASS},
        PhotoCase{kAE, false, {2, 2, 8, 6, 11}, KERNEL_CELL},
        PhotoCase{kAE, true, {1, 0, 8, 0, 0}, KERNEL_TWO_PASS},
        PhotoCase{kAE, true, {2, 2, 8, 6, 11}, KERNEL_TWO_PASS},
        PhotoCase{kAE, true, {3, 2, 8, 0, 6}, KERNEL_TWO_PASS},
        PhotoCase{kAE, true, {4, 5, 12, 6, 15}, KERNEL_TWO_PASS},
        PhotoCase{HostIdentity::PremierePro13, false, {4, 2, 8, 6, 15}, KERNEL_TWO_PASS},
        PhotoCase{HostIdentity::PremierePro13, true, {3, 0, 8, 6, 12}, KERNEL_TWO_PASS},
        PhotoCase{HostIdentity::PremierePro12, false, {2, 2, 8, 6, 11}, KERNEL_TWO_PASS}),
    PhotoCaseName);

// ------------------------------------------------------------ 16-bit range

TEST_F(Render, SixteenBitSharpeningClampsAtTheHostsWhiteAndAtZero) {
    Begin(kAE, {4, 25, 8, 0, 7});
    host().SetInputLayer(64, 48, true, 8);
    host().SetOutputWorld(160, 120, true, 0);
    // Hard-edged blocks of black and the host's white.
    PF_LayerDef& in = host().inputWorld().def;
    for (int32_t y = 0; y < in.height; ++y) {
        for (int32_t x = 0; x < in.width; ++x) {
            const uint16_t v = ((x / 5 + y / 7) % 2) != 0 ? 32768 : 0;
            const PF_Pixel16 p{32768, v, static_cast<uint16_t>(32768 - v), v};
            std::memcpy(host().inputWorld().Row(y) + x * 8, &p, sizeof(p));
        }
    }
    ASSERT_EQ(RenderFrame(), PF_Err_NONE);
    const std::vector<uint16_t> out = WorldSamples<uint16_t>(host().outputWorld().def);
    EXPECT_LE(*std::max_element(out.begin(), out.end()),
              kWhite16);  // nothing above, nothing wrapped
    EXPECT_GT(std::count(out.begin(), out.end(), uint16_t{0}), 0);
    ExpectOutputMatchesEngine<uint16_t>();

    // The same frame under the engine's own 16-bit ceiling overshoots the
    // host's white: the plug-in's ceiling is what keeps it in range.
    SetMaxValue16(65535);
    const std::vector<uint16_t> unclamped = ExpectedOutput(
        WorldToFrame<uint16_t>(in, 0, 1, kWhite16), Request(64, 48, 160, 120, true), kWhite16);
    ASSERT_FALSE(unclamped.empty());
    EXPECT_GT(*std::max_element(unclamped.begin(), unclamped.end()), kWhite16);
}

// ------------------------------------------------------------------ fields

TEST_F(Render, LowerFieldProcessesOddRowsAndRestoresEverySize) {
    Begin(kAE, {1, 0, 8, 0, 0});
    const Photo photo = LoadPhoto("cups_1920x1080.png");
    ASSERT_GT(photo.width, 0);
    host().SetInputLayer(1920, 1080, false, 16);
    host().SetOutputWorld(1920, 1080, false, 32);
    FillWorld(host().inputWorld().def, photo);
    FillOutput(0x5A);
    host().inData().field = PF_Field_LOWER;
    const PF_LayerDef inBefore = host().inputWorld().def;
    const PF_LayerDef outBefore = host().outputWorld().def;

    ASSERT_EQ(RenderFrame(), PF_Err_NONE);

    const PF_LayerDef& inAfter = host().param(0).u.ld;
    EXPECT_EQ(inAfter.data, inBefore.data);
    EXPECT_EQ(inAfter.height, 1080);
    EXPECT_EQ(inAfter.rowbytes, inBefore.rowbytes);
    const PF_LayerDef& outAfter = host().outputWorld().def;
    EXPECT_EQ(outAfter.data, outBefore.data);
    EXPECT_EQ(outAfter.height, 1080);
    EXPECT_EQ(outAfter.rowbytes, outBefore.rowbytes);

    const std::vector<uint8_t> expected =
        ExpectedOutput(WorldToFrame<uint8_t>(inBefore, 1, 2, kWhite8),
                       Request(1920, 540, 1920, 540, false), kWhite8);
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(FirstDifference(WorldSamples<uint8_t>(outAfter, 1, 2), expected), -1);
    const std::vector<uint8_t> upper = WorldSamples<uint8_t>(outAfter, 0, 2);
    EXPECT_EQ(std::count(upper.begin(), upper.end(), uint8_t{0x5A}),
              static_cast<long>(upper.size()));
}

TEST_F(Render, ModernPremiereUpperFieldHalvesAndRestoresItsSizes) {
    Begin(HostIdentity::PremierePro13, {2, 0, 8, 0, 1});
    const Photo photo = LoadPhoto("forest_480x270.png");
    ASSERT_GT(photo.width, 0);
    host().SetInputLayer(96, 64, false, 8);
    host().SetOutputWorld(200, 128, false, 4);
    FillWorld(host().inputWorld().def, photo);
    FillOutput(0x5A);
    SetSequenceOutput(200, 128);
    host().inData().field = PF_Field_UPPER;

    ASSERT_EQ(RenderFrame(), PF_Err_NONE);
    EXPECT_EQ(host().inData().height, 64);
    EXPECT_EQ(ReadAt<int32_t>(Seq(), kSeqOutputHeight), 128);
    EXPECT_EQ(host().outputWorld().def.height, 128);

    const std::vector<uint8_t> expected =
        ExpectedOutput(WorldToFrame<uint8_t>(host().inputWorld().def, 0, 2, kWhite8),
                       Request(96, 32, 200, 64, false), kWhite8);
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(FirstDifference(WorldSamples<uint8_t>(host().outputWorld().def, 0, 2), expected), -1);
    const std::vector<uint8_t> lower = WorldSamples<uint8_t>(host().outputWorld().def, 1, 2);
    EXPECT_EQ(std::count(lower.begin(), lower.end(), uint8_t{0x5A}),
              static_cast<long>(lower.size()));
}

// ----------------------------------------------------------------- failures

TEST_F(Render, NarrowLayerFallsBackToTheHostCopy) {
    Begin(kAE, {2, 2, 8, 6, 11});
    host().SetInputLayer(2, 8, false, 4);
    host().SetOutputWorld(6, 12, false, 0);
    const Photo photo = LoadPhoto("grey_320x180.png");
    ASSERT_GT(photo.width, 0);
    FillWorld(host().inputWorld().def, photo);
    FillOutput(0x5A);
    ASSERT_EQ(RenderFrame(), PF_Err_NONE);
    EXPECT_EQ(host().CallCount(Callback::Copy), 1);
    for (int32_t y = 0; y < 8; ++y) {
        EXPECT_EQ(std::memcmp(host().outputWorld().Row(y), host().inputWorld().Row(y), 8), 0);
    }
}

TEST_F(Render, MissingOrShortSequenceDataIsOutOfMemory) {
    Begin(kAE, {2, 2, 8, 6, 11});
    host().SetInputLayer(32, 24, false, 0);
    host().SetOutputWorld(64, 48, false, 0);
    FillOutput(0x5A);
    const PF_Handle sequence = Seq();
    host().inData().sequence_data = nullptr;
    EXPECT_EQ(RenderFrame(), PF_Err_OUT_OF_MEMORY);
    host().inData().sequence_data = host().NewHandle(540);  // the older, shorter layout
    EXPECT_EQ(RenderFrame(), PF_Err_OUT_OF_MEMORY);
    host().DisposeHandle(host().inData().sequence_data);
    host().inData().sequence_data = sequence;
    const std::vector<uint8_t> out = WorldSamples<uint8_t>(host().outputWorld().def);
    EXPECT_EQ(std::count(out.begin(), out.end(), uint8_t{0x5A}), static_cast<long>(out.size()));
}

// Fails host_new_handle from every allocation of a render on: creation's
// own allocations fall back to the host copy, the two working frames give
// out-of-memory with the output untouched, later ones a failed pipeline.
TEST_F(Render, EveryFailedHandleAllocationIsReportedAndCleanedUp) {
    Begin(kAE, {4, 2, 8, 6, 15});
    host().SetInputLayer(48, 32, false, 8);
    host().SetOutputWorld(100, 72, false, 0);
    FillWorld(host().inputWorld().def, LoadPhoto("forest_480x270.png"));
    FillOutput(0x5A);
    const int before = host().CallCount(Callback::NewHandle);
    ASSERT_EQ(RenderFrame(), PF_Err_NONE);
    const int allocations = host().CallCount(Callback::NewHandle) - before;
    ASSERT_GE(allocations, 3);

    std::vector<PF_Err> results;
    for (int succeed = 0; succeed < allocations; ++succeed) {
        FillOutput(0x5A);
        host().FailCallback(Callback::NewHandle, succeed);
        const PF_Err err = RenderFrame();
        host().ClearFaults();
        results.push_back(err);
        const std::vector<uint8_t> out = WorldSamples<uint8_t>(host().outputWorld().def);
        const long untouched = std::count(out.begin(), out.end(), uint8_t{0x5A});
        if (err == PF_Err_OUT_OF_MEMORY || err == PF_Err_INTERNAL_STRUCT_DAMAGED) {
            EXPECT_EQ(untouched, static_cast<long>(out.size())) << succeed;
        } else {
            ASSERT_EQ(err, PF_Err_NONE) << succeed;
            EXPECT_EQ(std::memcmp(host().outputWorld().Row(0), host().inputWorld().Row(0), 48 * 4),
                      0)
                << succeed;
        }
    }
    // Creation refuses first, then exactly the two frames run out of memory.
    const auto firstOom = std::find(results.begin(), results.end(), PF_Err_OUT_OF_MEMORY);
    ASSERT_NE(firstOom, results.end());
    EXPECT_GT(firstOom - results.begin(), 0);
    EXPECT_TRUE(std::all_of(results.begin(), firstOom, [](PF_Err e) { return e == PF_Err_NONE; }));
    EXPECT_EQ(std::count(results.begin(), results.end(), PF_Err_OUT_OF_MEMORY), 2);
    ASSERT_LT(firstOom + 1, results.end());
    EXPECT_EQ(*(firstOom + 1), PF_Err_OUT_OF_MEMORY);
    EXPECT_TRUE(std::all_of(firstOom + 2, results.end(),
                            [](PF_Err e) { return e == PF_Err_INTERNAL_STRUCT_DAMAGED; }));
}

TEST_F(Render, ThrowingHostCopyIsInternalDamageWithFieldsRestored) {
    Begin(kAE, {1, 0, 8, 0, 0});
    host().SetInputLayer(3, 16, false, 0);
    host().SetOutputWorld(8, 16, false, 0);
    host().inData().field = PF_Field_LOWER;
    SetSequenceOutput(8, 16);
    const PF_LayerDef outBefore = host().outputWorld().def;
    host().ThrowFrom(Callback::Copy);
    EXPECT_EQ(RenderFrame(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_EQ(host().param(0).u.ld.height, 16);
    EXPECT_EQ(host().param(0).u.ld.rowbytes, 12);
    EXPECT_EQ(host().outputWorld().def.data, outBefore.data);
    EXPECT_EQ(host().outputWorld().def.rowbytes, outBefore.rowbytes);
    EXPECT_EQ(ReadAt<int32_t>(Seq(), kSeqOutputHeight), 16);
}

TEST_F(Render, UnusableWorldsAreRejected) {
    Begin(kAE, {2, 2, 8, 6, 11});
    host().SetInputLayer(32, 24, false, 0);
    host().SetOutputWorld(64, 48, false, 0);
    PF_LayerDef& out = host().outputWorld().def;
    out.rowbytes = 64 * 4 - 4;  // shorter than a row
    EXPECT_EQ(RenderFrame(), PF_Err_BAD_CALLBACK_PARAM);
    out.rowbytes = 64 * 4;
    out.data = nullptr;
    EXPECT_EQ(RenderFrame(), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().SendRaw(PF_Cmd_RENDER, &host().inData(), &host().outData(), nullptr,
                             &host().outputWorld().def, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
}

}  // namespace
}  // namespace quillon::test
