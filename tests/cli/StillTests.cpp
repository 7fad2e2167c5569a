// Stills through the built tool: every format at 8 and 16 bits, compared
// with the engine run directly on the same pixels.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace quillon::test
