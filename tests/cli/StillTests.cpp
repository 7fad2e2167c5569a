// Stills through the built tool: every format at 8 and 16 bits, compared
// with the engine run directly on the same pixels.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "Reference.h"
#include "ToolRunner.h"

namespace quillon::test {
namespace {

struct FormatCase {
    const char* extension;
    int bits;
    const char* fileType;  // "" = follow bits
    double tolerance;      // largest channel difference; JPEG: mean difference
};

class StillRoundTrip : public ::testing::TestWithParam<FormatCase> {};

TEST_P(StillRoundTrip, MatchesTheEngineOnTheSamePixels) {
    const FormatCase& fc = GetParam();
    const bool jpeg = std::string(fc.extension) == ".jpg";
    TempDir dir;
    const std::string in = dir / (std::string("in") + fc.extension);
    const std::string out = dir / (std::string("out") + fc.extension);
    WritePicture(in,
                 ReadPicture(Asset(fc.bits == 8 ? "cups_320x180.png" : "pier_320x180_16bit.png")),
                 3, fc.fileType);
    const ToolResult r =
        RunQuillon({"upscale", in, out, "--size", "400x226", "--filter", "best", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const Picture result = ReadPicture(out);
    EXPECT_EQ(result.bits, fc.bits) << "depth must survive the round trip";
    // Expected from what the tool sees after the file format's own conversion.
    const Picture expected = ReferenceUpscale(ReadPicture(in), 400, 226, {4, 2, 8, 6});
    EXPECT_LE(Difference(result, expected, jpeg), fc.tolerance);
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

// Half floats keep 11 significant bits: 1/2048 of 65535.
INSTANTIATE_TEST_SUITE_P(
    Formats, StillRoundTrip,
    ::testing::Values(FormatCase{".png", 8, "", 0}, FormatCase{".tif", 8, "", 0},
                      FormatCase{".dpx", 8, "", 0}, FormatCase{".jpg", 8, "", 3},
                      FormatCase{".png", 16, "", 0}, FormatCase{".tif", 16, "", 0},
                      FormatCase{".dpx", 16, "", 0}, FormatCase{".exr", 16, "half", 40}),
    [](const auto& p) {
        return std::string(p.param.extension + 1) + std::to_string(p.param.bits);
    });

// Every compression setting of the PNG, TIFF and OpenEXR writers gives a
// file OpenImageIO reads back to the engine's result and FFmpeg decodes to
// the same pixels.
struct CompressionCase {
    const char* extension;
    int bits;
};

class StillCompression : public ::testing::TestWithParam<std::tuple<CompressionCase, const char*>> {
};

TEST_P(StillCompression, EveryReaderGetsTheSamePixels) {
    const auto& [fc, compression] = GetParam();
    const bool exr = std::string(fc.extension) == ".exr";
    TempDir dir;
    const std::string in = Asset(fc.bits == 8 ? "cups_320x180.png" : "pier_320x180_16bit.png");
    const std::string out = dir / (std::string("out") + fc.extension);
    const ToolResult r = RunQuillon({"upscale", in, out, "--size", "400x226", "--filter", "draft",
                                     "--compression", compression, "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const Picture result = ReadPicture(out);
    const Picture expected = ReferenceUpscale(ReadPicture(in), 400, 226, {1, 2, 8, 6});
    EXPECT_LE(Difference(result, expected), exr ? 40 : 0);

    // FFmpeg's own decoder, RGBA at the file's depth, against OpenImageIO's.
    const std::string raw = RunProgram({"ffmpeg", "-v", "error", "-i", out, "-f", "rawvideo",
                                        "-pix_fmt", fc.bits == 8 ? "rgba" : "rgba64le", "-"});
    ASSERT_EQ(raw.size(), result.rgba.size() * (fc.bits == 8 ? 1 : 2)) << compression;
    if (exr) {
        return;  // FFmpeg applies a transfer curve to float pixels
    }
    size_t mismatches = 0;
    for (size_t i = 0; i < result.rgba.size(); ++i) {
        const auto* b = reinterpret_cast<const uint8_t*>(raw.data());
        const uint32_t v = fc.bits == 8 ? b[i] : uint32_t{b[2 * i]} | uint32_t{b[2 * i + 1]} << 8;
        mismatches += (i % 4 != 3 && v != result.rgba[i]) ? 1 : 0;
    }
    EXPECT_EQ(mismatches, 0u) << compression;
}

INSTANTIATE_TEST_SUITE_P(
    Writers, StillCompression,
    ::testing::Combine(::testing::Values(CompressionCase{".png", 8}, CompressionCase{".png", 16},
                                         CompressionCase{".tif", 8}, CompressionCase{".tif", 16},
                                         CompressionCase{".exr", 16}),
                       ::testing::Values("fast", "balanced", "small", "none")),
    [](const auto& p) {
        return std::string(std::get<0>(p.param).extension + 1) +
               std::to_string(std::get<0>(p.param).bits) + "_" + std::get<1>(p.param);
    });

}  // namespace
}  // namespace quillon::test
