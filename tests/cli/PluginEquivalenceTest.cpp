// A frame enlarged by quillon is the frame the plug-in renders: the same
// still goes through the tool, and through the built plug-in inside the host
// simulator with the same controls; after the tool's documented pixel
// mapping the two agree byte for byte, at 8 and at 16 bits.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "FrameConversion.h"
#include "Reference.h"
#include "ToolRunner.h"
#include "tools/hostsim/HostSimulator.h"

namespace quillon::test {
namespace {

using hostsim::HostIdentity;
using hostsim::HostSimulator;

constexpr int32_t kTargetWidth = 800;
constexpr int32_t kTargetHeight = 450;

// Parameter indices of the effect's controls.
constexpr int32_t kFourKSize = 3;
constexpr int32_t kCustomWidth = 5;
constexpr int32_t kCustomHeight = 6;
constexpr int32_t kFilterType = 9;
constexpr int32_t kSharpness = 10;
constexpr int32_t kQuality = 11;
constexpr int32_t kAntiAliasing = 12;
constexpr int32_t kCustomRow = 28;  // "Custom" in the 4K table

struct Controls {
    const char* filter;
    int32_t filterType;
    int32_t sharpness, quality, antiAliasing;
};

// Gives the picture a varying alpha, so transparency takes part as well.
Picture WithAlpha(Picture p) {
    const uint32_t max = p.bits == 16 ? 65535u : 255u;
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width; ++x) {
            const uint32_t a = max - static_cast<uint32_t>((x + 3 * y) % 97) * (max / 255u);
            p.rgba[(static_cast<std::size_t>(y) * p.width + x) * 4 + 3] = static_cast<uint16_t>(a);
        }
    }
    return p;
}

// Host pixels are (alpha, red, green, blue); 16-bit samples use 0..32768.
void FillInputWorld(hostsim::World& world, const Picture& p) {
    const bool deep = p.bits == 16;
    for (int y = 0; y < p.height; ++y) {
        uint8_t* row = world.Row(y);
        for (int x = 0; x < p.width; ++x) {
            const uint16_t* s = &p.rgba[(static_cast<std::size_t>(y) * p.width + x) * 4];
            if (deep) {
                const uint16_t px[4] = {FileToHost16(s[3]), FileToHost16(s[0]), FileToHost16(s[1]),
                                        FileToHost16(s[2])};
                std::memcpy(row + x * 8, px, sizeof(px));
            } else {
                const uint8_t px[4] = {static_cast<uint8_t>(s[3]), static_cast<uint8_t>(s[0]),
                                       static_cast<uint8_t>(s[1]), static_cast<uint8_t>(s[2])};
                std::memcpy(row + x * 4, px, sizeof(px));
            }
        }
    }
}

// The output world as file samples R, G, B, A.
std::vector<uint16_t> OutputAsFile(hostsim::World& world, bool deep) {
    std::vector<uint16_t> rgba;
    for (int32_t y = 0; y < world.def.height; ++y) {
        const uint8_t* row = world.Row(y);
        for (int32_t x = 0; x < world.def.width; ++x) {
            uint16_t argb[4];
            if (deep) {
                std::memcpy(argb, row + x * 8, sizeof(argb));
                for (uint16_t& v : argb)
                    v = HostToFile16(v);
            } else {
                for (int c = 0; c < 4; ++c)
                    argb[c] = row[x * 4 + c];
            }
            rgba.insert(rgba.end(), {argb[1], argb[2], argb[3], argb[0]});
        }
    }
    return rgba;
}

void ExpectToolEqualsPlugin(const std::string& photo, const Controls& c) {
    TempDir dir;
    const Picture source = WithAlpha(ReadPicture(Asset(photo)));
    ASSERT_GT(source.width, 0) << photo;
    const bool deep = source.bits == 16;
    const std::string in = dir / "in.png";
    const std::string out = dir / "out.png";
    WritePicture(in, source, 4);

    const ToolResult run = RunQuillon(
        {"upscale", in, out, "--preset", "Custom", "--size",
         std::to_string(kTargetWidth) + "x" + std::to_string(kTargetHeight), "--filter", c.filter,
         "--sharpness", std::to_string(c.sharpness), "--quality", std::to_string(c.quality),
         "--anti-aliasing", std::to_string(c.antiAliasing), "-q"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Picture tool = ReadPicture(out);
    ASSERT_EQ(tool.width, kTargetWidth);
    ASSERT_EQ(tool.height, kTargetHeight);
    ASSERT_EQ(tool.bits, source.bits);

    HostSimulator host(HostIdentity::AfterEffects);
    std::string error;
    ASSERT_TRUE(host.LoadPlugin(QUILLON_PLUGIN_PATH, &error)) << error;
    ASSERT_EQ(host.SetUpInstance(), PF_Err_NONE);
    host.SetInputLayer(source.width, source.height, deep, /*rowPadding=*/24);
    FillInputWorld(host.inputWorld(), source);
    host.param(kFourKSize).u.pd.value = kCustomRow;
    host.param(kCustomWidth).u.sd.value = kTargetWidth;
    host.param(kCustomHeight).u.sd.value = kTargetHeight;
    host.param(kFilterType).u.pd.value = c.filterType;
    host.param(kSharpness).u.sd.value = c.sharpness;
    host.param(kQuality).u.sd.value = c.quality;
    host.param(kAntiAliasing).u.sd.value = c.antiAliasing;
    ASSERT_EQ(host.FrameSetup(), PF_Err_NONE);
    ASSERT_EQ(host.outputWorld().def.width, kTargetWidth);
    ASSERT_EQ(host.outputWorld().def.height, kTargetHeight);
    ASSERT_EQ(host.Send(PF_Cmd_RENDER), PF_Err_NONE);

    const std::vector<uint16_t> plugin = OutputAsFile(host.outputWorld(), deep);
    ASSERT_EQ(plugin.size(), tool.rgba.size());
    for (std::size_t i = 0; i < plugin.size(); ++i) {
        ASSERT_EQ(tool.rgba[i], plugin[i])
            << photo << " " << c.filter << ": pixel " << i / 4 << " channel " << i % 4;
    }
    EXPECT_EQ(host.SequenceSetdown(), PF_Err_NONE);
    EXPECT_EQ(host.GlobalSetdown(), PF_Err_NONE);
}

TEST(ToolEqualsPlugin, EightBitsEveryFilter) {
    ExpectToolEqualsPlugin("cups_320x180.png", {"draft", 1, 0, 8, 0});
    ExpectToolEqualsPlugin("cups_320x180.png", {"quick", 2, 2, 8, 6});
    ExpectToolEqualsPlugin("grey_320x180.png", {"better", 3, 0, 12, 6});
    ExpectToolEqualsPlugin("grey_320x180.png", {"best", 4, 5, 25, 10});
}

TEST(ToolEqualsPlugin, SixteenBits) {
    ExpectToolEqualsPlugin("pier_320x180_16bit.png", {"quick", 2, 2, 8, 6});
    ExpectToolEqualsPlugin("pier_320x180_16bit.png", {"best", 4, 3, 10, 6});
}

}  // namespace
}  // namespace quillon::test
