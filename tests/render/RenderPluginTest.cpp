// The render command through the built plug-in in the host simulator, each
// output compared with the engine run directly on a plainly converted frame.
#include <algorithm>
#include <string>
#include <vector>

#include "effect/EffectSettings.h"
#include "engine/Engine.h"
#include "engine/ScaleEngine.hpp"
#include "tests/host/PluginTestSupport.h"
#include "tests/support/Photos.h"

namespace quillon::test {
namespace {

using support::LoadPicture;
using support::Picture;

template <typename Sample>
using HostPixel = std::conditional_t<sizeof(Sample) == 1, PF_Pixel, PF_Pixel16>;

inline uint8_t* WorldRow(const PF_LayerDef& world, int32_t y) {
    return static_cast<uint8_t*>(world.data) + static_cast<std::ptrdiff_t>(y) * world.rowbytes;
}

// Fills a host world (8 or 16 bits) with the photo, repeated as needed. Alpha
// follows a gradient so that the transparency channel carries a picture too;
// 16-bit samples are mapped onto the host's 0..32768.
inline void FillWorld(PF_LayerDef& world, const Picture& photo) {
    const bool deep = (world.world_flags & PF_WorldFlag_DEEP) != 0;
    auto sample = [&](uint32_t v, uint32_t full) {
        return (v * (deep ? 32768u : 255u) + full / 2) / full;
    };
    const uint32_t full = photo.bitDepth == 16 ? 65535u : 255u;
    for (int32_t y = 0; y < world.height; ++y) {
        for (int32_t x = 0; x < world.width; ++x) {
            const uint16_t* rgb =
                &photo.rgba[((y % photo.height) * std::size_t{photo.width} + x % photo.width) * 4];
            const uint32_t px[4] = {sample(255u - static_cast<uint32_t>((x + 2 * y) % 160), 255),
                                    sample(rgb[0], full), sample(rgb[1], full),
                                    sample(rgb[2], full)};
            for (int c = 0; c < 4; ++c) {
                const auto v = static_cast<uint16_t>(px[c]);
                std::memcpy(WorldRow(world, y) + (x * 4 + c) * (deep ? 2 : 1), &v, deep ? 2 : 1);
            }
        }
    }
}

// Rows firstRow, firstRow + rowStep, ... of a world, without padding.
template <typename Sample>
std::vector<Sample> WorldSamples(const PF_LayerDef& world, int32_t firstRow = 0,
                                 int32_t rowStep = 1) {
    std::vector<Sample> samples;
    for (int32_t y = firstRow; y < world.height; y += rowStep) {
        const auto* row = reinterpret_cast<const Sample*>(WorldRow(world, y));
        samples.insert(samples.end(), row, row + std::size_t{4} * world.width);
    }
    return samples;
}

// Sequence-data offsets: output size and kernel choice.
constexpr std::size_t kOutputWidthAt = 12, kOutputHeightAt = 16, kKernelAt = 20;
constexpr auto kAE = HostIdentity::AfterEffects;
constexpr auto kPr12 = HostIdentity::PremierePro12;
constexpr auto kPr13 = HostIdentity::PremierePro13;

struct Settings {
    int32_t filterType, sharpness, quality, antiAliasing;
    uint32_t options;  // what the settings stand for in the engine
};

class Render : public PluginTest {
protected:
    // The engine in this process clamps like the plug-in's.
    void SetUp() override { SetMaxValue16(kWhite16); }
    void TearDown() override { SetMaxValue16(65535); }

    // An instance with the settings, worlds of the given sizes (deep: 16
    // bits) with padded rows, the input filled from a photo, the output 0x5A.
    void Begin(HostIdentity identity, const Settings& s, bool deep, int32_t inW, int32_t inH,
               int32_t outW, int32_t outH, const char* photo = "forest_480x270.png") {
        StartInstance(identity);
        host().param(9).u.pd.value = s.filterType;
        host().param(10).u.sd.value = s.sharpness;
        host().param(11).u.sd.value = s.quality;
        host().param(12).u.sd.value = s.antiAliasing;
        settings_ = s;
        host().SetInputLayer(inW, inH, deep, deep ? 24 : 20);
        host().SetOutputWorld(outW, outH, deep, deep ? 40 : 12);
        const Picture picture = LoadPicture(photo);
        ASSERT_FALSE(picture.empty()) << photo;
        FillWorld(host().inputWorld().def, picture);
        FillOutput();
        // What frame setup leaves for modern Premiere Pro.
        WriteAt<uint32_t>(Seq(), kOutputWidthAt, static_cast<uint32_t>(outW));
        WriteAt<int32_t>(Seq(), kOutputHeightAt, outH);
    }
    PF_Handle Seq() { return host().inData().sequence_data; }
    void FillOutput() {
        auto& buffer = host().outputWorld().buffer;
        std::fill(buffer.begin(), buffer.end(), uint8_t{0x5A});
    }
    // Output rows firstRow, firstRow + rowStep, ... still hold 0x5A.
    bool OutputUntouched(int32_t firstRow = 0, int32_t rowStep = 1) {
        const auto out = WorldSamples<uint8_t>(host().outputWorld().def, firstRow, rowStep);
        return std::all_of(out.begin(), out.end(), [](uint8_t v) { return v == 0x5A; });
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
    // What the render should leave in output rows firstRow, firstRow +
    // rowStep, ...: those input rows converted pixel by pixel through the
    // host's pixel records (blue, green, red, white - alpha), the engine run
    // directly, the result converted back (alpha, red, green, blue).
    template <typename Sample>
    std::vector<Sample> Expected(int32_t firstRow, int32_t rowStep, int32_t outH,
                                 uint32_t kernel = KERNEL_TWO_PASS) {
        const PF_LayerDef& in = host().inputWorld().def;
        const bool deep = sizeof(Sample) == 2;
        const uint32_t white = deep ? kWhite16 : 255;
        std::vector<Sample> source;
        for (int32_t y = firstRow; y < in.height; y += rowStep) {
            for (int32_t x = 0; x < in.width; ++x) {
                HostPixel<Sample> p;
                std::memcpy(&p, WorldRow(in, y) + x * sizeof(p), sizeof(p));
                source.insert(source.end(), {p.blue, p.green, p.red, Sample(white - p.alpha)});
            }
        }
        ScaleRequest r;
        r.srcWidth = static_cast<uint32_t>(in.width);
        r.srcHeight = static_cast<uint32_t>(source.size() / 4 / in.width);
        r.dstWidth = static_cast<uint32_t>(host().outputWorld().def.width);
        r.dstHeight = static_cast<uint32_t>(outH);
        r.options = settings_.options;
        r.depthMode = deep ? DEPTH_16 : DEPTH_8;
        r.kernelVariant = deep ? uint32_t{KERNEL_CELL} : kernel;
        r.sharpness = static_cast<uint32_t>(settings_.sharpness);
        r.refineStrength = static_cast<uint32_t>(settings_.quality);
        r.antiAliasAmount = static_cast<uint32_t>(settings_.antiAliasing);
        auto engine = ScaleEngine::Create(r);
        std::vector<Sample> out(std::size_t{r.dstWidth} * r.dstHeight * 4);
        EXPECT_TRUE(engine && engine->Process(source.data(), out.data()));
        for (std::size_t i = 0; i < out.size(); i += 4) {
            out[i + 0] = static_cast<Sample>(white - std::exchange(out[i + 3], out[i]));
            std::swap(out[i + 1], out[i + 2]);
        }
        return out;
    }
    template <typename Sample>
    void ExpectWholeOutputMatches(uint32_t kernel = KERNEL_TWO_PASS) {
        const PF_LayerDef& out = host().outputWorld().def;
        EXPECT_TRUE(WorldSamples<Sample>(out) == Expected<Sample>(0, 1, out.height, kernel));
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
    Begin(c.identity, c.settings, c.deep, 200, 112, 456, 260,
          c.deep ? "pier_320x180_16bit.png" : "cups_320x180.png");
    WriteAt<uint32_t>(Seq(), kKernelAt, c.kernel);
    ASSERT_EQ(RenderFrame(), PF_Err_NONE);
    if (c.deep) {
        ExpectWholeOutputMatches<uint16_t>();
    } else {
        ExpectWholeOutputMatches<uint8_t>(c.kernel);
    }
}

constexpr uint32_t kTwo = KERNEL_TWO_PASS;
INSTANTIATE_TEST_SUITE_P(FilterTypes, RenderPhoto,
                         ::testing::Values(PhotoCase{kAE, false, {1, 2, 8, 0, 2}, kTwo},
                                           PhotoCase{kPr12, false, {2, 0, 8, 0, 1}, kTwo},
                                           PhotoCase{kPr13, false, {3, 0, 8, 6, 12}, kTwo},
                                           PhotoCase{kAE, false, {4, 3, 10, 4, 15}, KERNEL_CELL},
                                           PhotoCase{kAE, true, {1, 0, 8, 0, 0}, kTwo},
                                           PhotoCase{kAE, true, {2, 2, 8, 6, 11}, kTwo},
                                           PhotoCase{kPr13, true, {3, 2, 8, 0, 6}, kTwo},
                                           PhotoCase{kAE, true, {4, 5, 12, 6, 15}, kTwo}));

// Hard-edged blocks of black and the host's white, sharpened hard: the
// output stays within 0..32768 without wrapping, and only because of the
// plug-in's ceiling, since the engine's own 65535 lets it overshoot.
TEST_F(Render, SixteenBitSharpeningClampsAtTheHostsWhiteAndAtZero) {
    Begin(kAE, {4, 25, 8, 0, 7}, true, 64, 48, 160, 120);
    for (int32_t y = 0; y < 48; ++y) {
        for (int32_t x = 0; x < 64; ++x) {
            const uint16_t v = ((x / 5 + y / 7) % 2) != 0 ? kWhite16 : 0;
            const PF_Pixel16 p{kWhite16, v, static_cast<uint16_t>(kWhite16 - v), v};
            std::memcpy(host().inputWorld().Row(y) + x * 8, &p, sizeof(p));
        }
    }
    ASSERT_EQ(RenderFrame(), PF_Err_NONE);
    const std::vector<uint16_t> out = WorldSamples<uint16_t>(host().outputWorld().def);
    EXPECT_EQ(*std::max_element(out.begin(), out.end()), kWhite16);
    EXPECT_GT(std::count(out.begin(), out.end(), uint16_t{0}), 0);
    ExpectWholeOutputMatches<uint16_t>();

    SetMaxValue16(65535);
    const std::vector<uint16_t> unclamped = Expected<uint16_t>(0, 1, 120);
    EXPECT_GT(*std::max_element(unclamped.begin(), unclamped.end()), kWhite16);
}

// ------------------------------------------------------------------ fields

struct FieldCase {
    HostIdentity identity;
    PF_Field field;
    int32_t inW, inH, outW, outH;
    const char* photo;
};

class RenderField : public Render, public ::testing::WithParamInterface<FieldCase> {};

// The field's rows (every second one from the first or second line) are
// enlarged on their own; the other rows and every size come back unchanged.
TEST_P(RenderField, ProcessesOneFieldAndRestoresEverySize) {
    const FieldCase& c = GetParam();
    Begin(c.identity, {2, 0, 8, 0, 1}, false, c.inW, c.inH, c.outW, c.outH, c.photo);
    host().inData().field = c.field;
    const PF_LayerDef inBefore = host().inputWorld().def;
    const PF_LayerDef outBefore = host().outputWorld().def;
    ASSERT_EQ(RenderFrame(), PF_Err_NONE);

    for (const auto& [before, after] : {std::pair{inBefore, host().param(0).u.ld},
                                        std::pair{outBefore, host().outputWorld().def}}) {
        EXPECT_EQ(after.data, before.data);
        EXPECT_EQ(after.height, before.height);
        EXPECT_EQ(after.rowbytes, before.rowbytes);
    }
    EXPECT_EQ(host().inData().height, c.inH);
    EXPECT_EQ(ReadAt<int32_t>(Seq(), kOutputHeightAt), c.outH);
    const int32_t first = c.field == PF_Field_LOWER ? 1 : 0;
    EXPECT_TRUE(WorldSamples<uint8_t>(host().outputWorld().def, first, 2) ==
                Expected<uint8_t>(first, 2, c.outH / 2));
    EXPECT_TRUE(OutputUntouched(1 - first, 2));
}

INSTANTIATE_TEST_SUITE_P(
    Fields, RenderField,
    ::testing::Values(FieldCase{kAE, PF_Field_LOWER, 1920, 1080, 1920, 1080, "cups_1920x1080.png"},
                      FieldCase{kPr13, PF_Field_UPPER, 96, 64, 200, 128, "forest_480x270.png"}),
    [](const auto& p) {
        return std::string(p.param.field == PF_Field_LOWER ? "AE_Lower" : "Pr13_Upper");
    });

// ----------------------------------------------------------------- failures

TEST_F(Render, NarrowLayerFallsBackToTheHostCopy) {
    Begin(kAE, {2, 2, 8, 6, 11}, false, 2, 8, 6, 12, "grey_320x180.png");
    ASSERT_EQ(RenderFrame(), PF_Err_NONE);
    EXPECT_EQ(host().CallCount(Callback::Copy), 1);
    for (int32_t y = 0; y < 8; ++y) {
        EXPECT_EQ(std::memcmp(host().outputWorld().Row(y), host().inputWorld().Row(y), 8), 0);
    }
}

// Fails host_new_handle from every allocation of a render on, for several
// settings at both depths with every pass: creation's own allocations fall
// back to the host copy, the two working frames give out-of-memory with the
// output untouched, later ones a failed pipeline; the handles come back every
// time (RenderFrame checks them).
TEST_F(Render, EveryFailedHandleAllocationIsReportedAndCleanedUp) {
    const struct {
        Settings settings;
        bool deep;
    } cases[] = {{{4, 2, 8, 6, 15}, false},
                 {{4, 2, 8, 6, 15}, true},
                 {{3, 0, 12, 10, 12}, false},
                 {{2, 5, 0, 0, 3}, true},
                 {{1, 0, 0, 3, 8}, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "filter " << c.settings.filterType << ", "
                                        << (c.deep ? "16" : "8") << " bits");
        Begin(kAE, c.settings, c.deep, 48, 32, 100, 72);
        const int before = host().CallCount(Callback::NewHandle);
        ASSERT_EQ(RenderFrame(), PF_Err_NONE);
        const int allocations = host().CallCount(Callback::NewHandle) - before;
        ASSERT_GE(allocations, 3);

        std::string results;  // N none, M out of memory, D damaged
        for (int succeed = 0; succeed < allocations; ++succeed) {
            FillOutput();
            host().FailCallback(Callback::NewHandle, succeed);
            const PF_Err err = RenderFrame();
            host().ClearFaults();
            results += err == PF_Err_NONE ? 'N' : err == PF_Err_OUT_OF_MEMORY ? 'M' : 'D';
            if (err == PF_Err_NONE) {
                const int32_t rowBytes = 48 * (c.deep ? 8 : 4);
                EXPECT_EQ(std::memcmp(host().outputWorld().Row(0), host().inputWorld().Row(0),
                                      static_cast<std::size_t>(rowBytes)),
                          0);
            } else {
                EXPECT_EQ(err, results.back() == 'M' ? PF_Err_OUT_OF_MEMORY
                                                     : PF_Err_INTERNAL_STRUCT_DAMAGED);
                EXPECT_TRUE(OutputUntouched()) << succeed;
            }
        }
        const std::size_t firstOom = results.find('M');
        ASSERT_NE(firstOom, std::string::npos) << results;
        ASSERT_GT(firstOom, 0u) << results;
        EXPECT_EQ(results, std::string(firstOom, 'N') + "MM" +
                               std::string(results.size() - firstOom - 2, 'D'));
        // Memory is back: the instance renders again.
        FillOutput();
        EXPECT_EQ(RenderFrame(), PF_Err_NONE);
    }
}

}  // namespace
}  // namespace quillon::test
