// The tool's pure pieces: option mapping, pixel conversion, target sizes,
// sequence patterns, safe output, progress text and JSON.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Compare.h"
#include "EffectControls.h"
#include "Errors.h"
#include "FrameConversion.h"
#include "Options.h"
#include "Progress.h"
#include "Reference.h"
#include "RunSummary.h"
#include "SafeOutput.h"
#include "SequencePattern.h"
#include "TargetSize.h"
#include "ToolRunner.h"
#include "VideoIO.h"
#include "engine/Engine.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

ExitCode CodeOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const QuillonError& e) {
        return e.code();
    }
    return ExitCode::Ok;
}

// Every value against the mappings written out in the reference; host values
// survive host -> file -> host exactly, values above white are white.
TEST(FrameConversion, SixteenBitMappingRoundsToNearestAndHostValuesSurvive) {
    EXPECT_EQ(HostToFile16(40000), 65535);
    for (uint32_t v = 0; v <= 65535; ++v) {
        ASSERT_EQ(FileToHost16(static_cast<uint16_t>(v)),
                  test::ToHostRange(static_cast<uint16_t>(v)))
            << v;
    }
    for (uint32_t h = 0; h <= 32768; ++h) {
        const uint16_t file = HostToFile16(static_cast<uint16_t>(h));
        ASSERT_EQ(file, test::ToFileRange(static_cast<uint16_t>(h))) << h;
        ASSERT_EQ(FileToHost16(file), h);
    }
}

SizeRequest Preset(const char* p) {
    SizeRequest r;
    r.preset = p;
    return r;
}

TEST(TargetSize, PresetsFollowTheEffectsRules) {
    auto uhd = ResolveTargetSize(Preset("25"), 1920, 1080);
    EXPECT_EQ(uhd.width, 3840u);
    EXPECT_EQ(uhd.height, 2160u);
    // By text: case and the trailing blank of the item do not matter.
    EXPECT_EQ(FindPresetPosition("ultra hd (3840 x 2160) fit to height"), 25);
    SizeRequest fitWidth = Preset("Ultra HD (3840 x 2160) Fit To Width");
    fitWidth.pixelAspect = 0.9;
    auto anamorphic = ResolveTargetSize(fitWidth, 720, 480);
    EXPECT_EQ(anamorphic.width, 4266u);
    EXPECT_EQ(anamorphic.height, 2844u);
    // "Fit To Comp" rows fit an Ultra HD composition unless one is named.
    EXPECT_EQ(ResolveTargetSize(Preset("2"), 640, 360).width, 3840u);
    EXPECT_EQ(ResolveTargetSize(Preset("2"), 640, 360).height, 2160u);
    SizeRequest comp = Preset("1");
    comp.comp = SizeSpec{1920u, 1080u};
    EXPECT_EQ(ResolveTargetSize(comp, 640, 360).height, 1080u);
    EXPECT_EQ(ResolveTargetSize(comp, 640, 360).width, 1920u);
    // No size option at all: the effect's default row, Fit To Comp Width.
    EXPECT_EQ(ResolveTargetSize(SizeRequest{}, 500, 300).width, 3840u);
    EXPECT_EQ(CodeOf([] { FindPresetPosition("3"); }), ExitCode::Ok) << "separators exist";
    EXPECT_EQ(CodeOf([] { ResolveTargetSize(Preset("3"), 500, 300); }), ExitCode::Usage)
        << "a separator needs --size like Custom";
    EXPECT_EQ(CodeOf([] { FindPresetPosition("(-"); }), ExitCode::UnknownPreset);
}

TEST(TargetSize, CustomSizesKeepProportionsByTheSliderRule) {
    EXPECT_EQ(ConstrainedHeight(1000, 1.35), 741u);
    EXPECT_EQ(ConstrainedWidth(8192, 1.35), 8192u) << "clamped to the slider range";
    EXPECT_EQ(ConstrainedHeight(500, 0.0), 500u) << "ratio 0 counts as 1";
    SizeRequest r;
    r.size = ParseSizeSpec("x1080");
    r.keepAspect = true;
    const auto w = ResolveTargetSize(r, 640, 480);
    EXPECT_EQ(w.width, 1440u);
    EXPECT_EQ(w.height, 1080u);
    r.keepAspect = false;
    EXPECT_EQ(CodeOf([&] { ResolveTargetSize(r, 640, 480); }), ExitCode::Usage);
    r.size = ParseSizeSpec("99x500");
    EXPECT_EQ(CodeOf([&] { ResolveTargetSize(r, 64, 48); }), ExitCode::SizeOutOfRange);
    // --fit with a box behaves like the preset rows.
    SizeRequest fit;
    fit.size = ParseSizeSpec("3840x2160");
    fit.fit = FitMode::Height;
    EXPECT_EQ(ResolveTargetSize(fit, 1440, 1080).width, 2880u);
    EXPECT_FALSE(ParseSizeSpec("12xx3").has_value());
    EXPECT_FALSE(ParseSizeSpec("x").has_value());
}

TEST(TargetSize, EngineLimitsAndEnlargementOnly) {
    EXPECT_EQ(CodeOf([] { CheckScaleSizes(3, 100, 200, 200, 8); }), ExitCode::SizeOutOfRange);
    EXPECT_EQ(CodeOf([] { CheckScaleSizes(100, 100, 99, 200, 8); }), ExitCode::TargetTooSmall);
    EXPECT_EQ(CodeOf([] { CheckScaleSizes(100, 100, 200, 99, 8); }), ExitCode::TargetTooSmall);
    EXPECT_EQ(CodeOf([] { CheckScaleSizes(100, 100, 65536, 200, 8); }), ExitCode::SizeOutOfRange);
    // 40000 x 30000 x 4 bytes passes 32 bits.
    EXPECT_EQ(CodeOf([] { CheckScaleSizes(100, 100, 40000, 30000, 8); }), ExitCode::SizeOutOfRange);
    EXPECT_EQ(CodeOf([] { CheckScaleSizes(100, 100, 100, 100, 16); }), ExitCode::Ok);
}

TEST(SequencePattern, ParsesFormatsAndMatches) {
    const auto p = SequencePattern::Parse("dir/shot.%04d.dpx");
    ASSERT_TRUE(p.has_value());
    EXPECT_EQ(p->Format(7), "dir/shot.0007.dpx");
    EXPECT_EQ(p->Format(123456), "dir/shot.123456.dpx");
    EXPECT_EQ(p->Match("dir/shot.0042.dpx"), 42);
    for (const char* other : {"dir/shot.042.dpx", "dir/shot.00042.dpx", "dir/shot.0042.exr"}) {
        EXPECT_FALSE(p->Match(other).has_value()) << other;
    }
    for (const char* bad : {"a%d%d.png", "a%s.png"}) {
        EXPECT_FALSE(SequencePattern::Parse(bad).has_value()) << bad;
    }
}

TEST(SequencePattern, FrameRangesAndExistingFrames) {
    EXPECT_EQ(ParseFrameRange("1001-1100")->count(), 100);
    EXPECT_FALSE(ParseFrameRange("9-3").has_value());
    test::TempDir dir;
    for (const char* name : {"f.0010.png", "f.0002.png", "f.02.png", "g.0003.png"}) {
        std::ofstream(dir / name) << "x";
    }
    const auto p = SequencePattern::Parse(dir / "f.%04d.png");
    EXPECT_EQ(p->ExistingFrames(), (std::vector<int64_t>{2, 10}));
}

TEST(SafeOutput, OnlyACommittedOutputAppears) {
    test::TempDir dir;
    const fs::path final = dir.path() / "out.png";
    {
        SafeOutput out(final);
        EXPECT_EQ(out.temporary().parent_path(), dir.path());
        EXPECT_EQ(out.temporary().extension(), ".png");
        std::ofstream(out.temporary()) << "partial";
    }
    EXPECT_FALSE(fs::exists(final));
    EXPECT_TRUE(dir.HiddenFiles().empty());
    {
        SafeOutput out(final);
        std::ofstream(out.temporary()) << "done";
        out.Commit();
    }
    EXPECT_TRUE(fs::exists(final));
    EXPECT_TRUE(dir.HiddenFiles().empty());
    EXPECT_EQ(CodeOf([&] { CheckDestination("", final, false); }), ExitCode::OutputRefused);
    EXPECT_EQ(CodeOf([&] { CheckDestination("", final, true); }), ExitCode::Ok);
    EXPECT_EQ(CodeOf([&] { CheckDestination(final, final, true); }), ExitCode::OutputRefused);
    // A missing folder is made with its parents; a file in the way fails.
    EXPECT_EQ(CodeOf([&] { SafeOutput(dir.path() / "missing" / "deeper" / "o.png"); }),
              ExitCode::Ok);
    EXPECT_TRUE(fs::is_directory(dir.path() / "missing" / "deeper"));
    EXPECT_EQ(CodeOf([&] { SafeOutput(final / "o.png"); }), ExitCode::OutputFailed);
}

// Untagged sources are taken as players take them; SD colour moves to
// BT.709 only for HD targets and only unless kept.
TEST(VideoColour, UntaggedDefaultsAndTheHdConversion) {
    const auto sd = SourceColour(AVCOL_SPC_UNSPECIFIED, AVCOL_PRI_UNSPECIFIED,
                                 AVCOL_TRC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED, 480, true);
    EXPECT_EQ(sd.matrix, AVCOL_SPC_SMPTE170M);
    EXPECT_EQ(sd.primaries, AVCOL_PRI_SMPTE170M);
    EXPECT_EQ(sd.range, AVCOL_RANGE_MPEG);
    EXPECT_EQ(SourceColour(AVCOL_SPC_UNSPECIFIED, AVCOL_PRI_UNSPECIFIED, AVCOL_TRC_UNSPECIFIED,
                           AVCOL_RANGE_UNSPECIFIED, 576, true)
                  .primaries,
              AVCOL_PRI_BT470BG);
    for (const int rows : {719, 720, 1080}) {
        const auto c = SourceColour(AVCOL_SPC_UNSPECIFIED, AVCOL_PRI_UNSPECIFIED,
                                    AVCOL_TRC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED, rows, true);
        EXPECT_EQ(c.matrix, rows >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M) << rows;
    }
    // Tags as read are kept; full range stays full.
    const auto tagged = SourceColour(AVCOL_SPC_BT470BG, AVCOL_PRI_BT709, AVCOL_TRC_BT709,
                                     AVCOL_RANGE_JPEG, 1080, true);
    EXPECT_EQ(tagged.matrix, AVCOL_SPC_BT470BG);
    EXPECT_EQ(tagged.range, AVCOL_RANGE_JPEG);
    const auto rgb = SourceColour(AVCOL_SPC_UNSPECIFIED, AVCOL_PRI_UNSPECIFIED,
                                  AVCOL_TRC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED, 480, false);
    EXPECT_EQ(rgb.matrix, AVCOL_SPC_RGB);
    EXPECT_EQ(rgb.range, AVCOL_RANGE_JPEG);

    EXPECT_EQ(OutputColour(sd, 1080, ColourConversion::Bt709, true).matrix, AVCOL_SPC_BT709);
    EXPECT_EQ(OutputColour(sd, 1080, ColourConversion::Bt709, true).primaries, AVCOL_PRI_BT709);
    EXPECT_EQ(OutputColour(sd, 719, ColourConversion::Bt709, true).matrix, AVCOL_SPC_SMPTE170M);
    EXPECT_EQ(OutputColour(sd, 2160, ColourConversion::Keep, true).matrix, AVCOL_SPC_SMPTE170M);
    EXPECT_EQ(OutputColour(sd, 2160, ColourConversion::Bt709, false).matrix, AVCOL_SPC_RGB);
    EXPECT_EQ(OutputColour(rgb, 1080, ColourConversion::Keep, true).matrix, AVCOL_SPC_BT709);
    EXPECT_EQ(OutputColour(rgb, 1080, ColourConversion::Keep, true).range, AVCOL_RANGE_MPEG);
    EXPECT_EQ(DescribeColour(OutputColour(sd, 1080, ColourConversion::Bt709, true)),
              "bt709/bt709/bt709/tv");
}

TEST(Progress, BarAndJsonSummary) {
    const std::string line = Progress::Render(25, 100, 5.0, 20);
    EXPECT_NE(line.find("[#####...............] 25/100 frames"), std::string::npos) << line;
    EXPECT_NE(line.find("00:15 left"), std::string::npos) << line;
    EXPECT_EQ(JsonString("a\"b\\c\n\x01"), "\"a\\\"b\\\\c\\n\\u0001\"");
    RunSummary s;
    s.frames = 4;
    s.totalSeconds = 2.0;
    s.stageSeconds = {{"engine", 1.5}};
    const std::string j = ToJson(s);
    EXPECT_NE(j.find("\"seconds\":{\"total\":2.000000,\"engine\":1.500000}"), std::string::npos)
        << j;
}

TEST(Options, BitratesKernelsAndCompareCrop) {
    EXPECT_EQ(ParseBitrate("40M"), 40000000);
    EXPECT_FALSE(ParseBitrate("-5").has_value());
    EXPECT_EQ(ParseEightBitKernel("two-pass"), EightBitKernel::TwoPass);
    EXPECT_EQ(NearestSource(639, 320, 640), 319u);
    EXPECT_EQ(ChooseCrop(3840, 2160, 0, 0, std::nullopt, std::nullopt).x, 1440u);
    EXPECT_EQ(ChooseCrop(640, 360, 960, 540, 5u, 5u).x, 0u) << "clamped to fit";
}

// A flat picture with one textured patch: the crop covers the patch, at 8
// and 16 bits, wherever the patch sits.
TEST(Compare, DetailedCropGoesToTheTexture) {
    for (const int bits : {8, 16}) {
        for (const auto& [px, py] :
             {std::pair{10u, 12u}, std::pair{250u, 130u}, std::pair{0u, 140u}}) {
            RgbaImage source;
            source.Allocate(320, 180, bits);
            for (uint32_t y = 0; y < 180; ++y) {
                for (uint32_t x = 0; x < 320; ++x) {
                    const bool patch = x >= px && x < px + 40 && y >= py && y < py + 30;
                    const uint32_t v = patch && ((x / 2 + y / 3) % 2 != 0) ? 230 : 90;
                    for (uint32_t c = 0; c < 4; ++c) {
                        const size_t i = (size_t{y} * 320 + x) * 4 + c;
                        if (bits == 8) {
                            source.pixels8[i] = static_cast<uint8_t>(c == 3 ? 255 : v);
                        } else {
                            source.pixels16[i] = static_cast<uint16_t>((c == 3 ? 255 : v) * 257);
                        }
                    }
                }
            }
            // 4x enlargement; the 320x180 crop covers 80x45 source pixels.
            const CropRect crop = ChooseDetailedCrop(source, 1280, 720, 320, 180);
            EXPECT_EQ(crop.width, 320u);
            EXPECT_LE(crop.x, px * 4) << bits << " " << px;
            EXPECT_GE(crop.x + crop.width, (px + 40) * 4) << bits << " " << px;
            EXPECT_LE(crop.y, py * 4) << bits << " " << py;
            EXPECT_GE(crop.y + crop.height, (py + 30) * 4) << bits << " " << py;
            EXPECT_LE(crop.x + crop.width, 1280u);
            EXPECT_LE(crop.y + crop.height, 720u);
        }
    }
}

}  // namespace
}  // namespace quillon
