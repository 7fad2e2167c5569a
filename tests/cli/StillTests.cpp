// Stills through the built tool: every format at 8 and 16 bits, compared
// with the engine run directly on the same pixels.
#include <gtest/gtest.h>

#include <filesystem>

#include "Reference.h"
#include "ToolRunner.h"

namespace quillon::test {
namespace {

namespace fs = std::filesystem;

struct FormatCase {
    const char* extension;
    int bits;
    const char* fileType;  // "" = follow bits
    int tolerance;         // largest channel difference; lossy formats: mean difference
    bool lossy = false;
};

class StillRoundTrip : public ::testing::TestWithParam<FormatCase> {};

TEST_P(StillRoundTrip, MatchesTheEngineOnTheSamePixels) {
    const FormatCase& fc = GetParam();
    TempDir dir;
    Picture source =
        ReadPicture(Asset(fc.bits == 8 ? "cups_320x180.png" : "pier_320x180_16bit.png"));
    const std::string in = dir / (std::string("in") + fc.extension);
    const std::string out = dir / (std::string("out") + fc.extension);
    WritePicture(in, source, 3, fc.fileType);
    // What the tool will see after the file format's own conversion.
    const Picture decoded = ReadPicture(in);

    const ToolResult r =
        RunQuillon({"upscale", in, out, "--size", "400x226", "--filter", "best", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const Picture result = ReadPicture(out);
    EXPECT_EQ(result.width, 400);
    EXPECT_EQ(result.height, 226);
    if (std::string(fc.extension) != ".jpg") {
        EXPECT_EQ(result.bits, fc.bits) << "depth must survive the round trip";
    }
    EffectSettings best;
    best.filter = 4;
    const Picture expected = ReferenceUpscale(decoded, 400, 226, best);
    if (fc.lossy) {
        EXPECT_LE(MeanDifference(result, expected), fc.tolerance);
    } else {
        EXPECT_LE(MaxDifference(result, expected), fc.tolerance);
    }
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Formats, StillRoundTrip,
    ::testing::Values(FormatCase{".png", 8, "", 0}, FormatCase{".tif", 8, "", 0},
                      FormatCase{".dpx", 8, "", 0}, FormatCase{".jpg", 8, "", 3, true},
                      FormatCase{".png", 16, "", 0}, FormatCase{".tif", 16, "", 0},
                      FormatCase{".dpx", 16, "", 0},
                      // Half floats keep 11 significant bits: 1/2048 of 65535.
                      FormatCase{".exr", 16, "half", 40}, FormatCase{".exr", 16, "float", 40}),
    [](const ::testing::TestParamInfo<FormatCase>& p) {
        std::string name = std::string(p.param.extension + 1) + std::to_string(p.param.bits);
        if (*p.param.fileType != '\0') {
            name += p.param.fileType;
        }
        return name;
    });

TEST(StillAlpha, TransparencyIsKeptAndMatchesTheEngine) {
    TempDir dir;
    Picture source = ReadPicture(Asset("forest_480x270.png"));
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
            source.rgba[(static_cast<size_t>(y) * source.width + x) * 4 + 3] =
                static_cast<uint16_t>((x * 255) / (source.width - 1));
        }
    }
    WritePicture(dir / "in.png", source, 4);
    const ToolResult r = RunQuillon(
        {"upscale", dir / "in.png", dir / "out.png", "--preset", "1280 x 720 fit to height", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const Picture result = ReadPicture(dir / "out.png");
    EXPECT_EQ(result.fileChannels, 4);
    EXPECT_EQ(MaxDifference(result, ReferenceUpscale(source, 1280, 720)), 0);
}

TEST(StillCompare, WritesSideBySideCropOfBothEnlargements) {
    TempDir dir;
    const ToolResult r = RunQuillon({"upscale", Asset("cups_320x180.png"), dir / "o.png", "--size",
                                     "640x360", "--compare", dir / "cmp.png", "--compare-crop",
                                     "200x100", "--compare-at", "10,20", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const Picture cmp = ReadPicture(dir / "cmp.png");
    const Picture result = ReadPicture(dir / "o.png");
    const Picture source = ReadPicture(Asset("cups_320x180.png"));
    ASSERT_EQ(cmp.width, 2 * 200 + 8);
    ASSERT_EQ(cmp.height, 100);
    // Right half: the result's crop. Left half: source pixel (x/2, y/2) at 2x.
    for (int y = 0; y < 100; y += 7) {
        for (int x = 0; x < 200; x += 13) {
            for (int c = 0; c < 3; ++c) {
                const size_t right = (static_cast<size_t>(y) * cmp.width + 208 + x) * 4 + c;
                const size_t left = (static_cast<size_t>(y) * cmp.width + x) * 4 + c;
                EXPECT_EQ(cmp.rgba[right],
                          result.rgba[(static_cast<size_t>(y + 20) * 640 + x + 10) * 4 + c]);
                EXPECT_EQ(
                    cmp.rgba[left],
                    source.rgba[(static_cast<size_t>((y + 20) / 2) * 320 + (x + 10) / 2) * 4 + c]);
            }
        }
    }
}

}  // namespace
}  // namespace quillon::test
