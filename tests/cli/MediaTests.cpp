// Sequences, video clips and the raw pipe through the built tool.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "ClipMaker.h"
#include "Reference.h"
#include "ToolRunner.h"

namespace quillon::test {
namespace {

namespace fs = std::filesystem;

std::string FrameName(const TempDir& dir, const char* stem, int n) {
    char name[64];
    std::snprintf(name, sizeof name, "%s.%04d.png", stem, n);
    return dir / name;
}

TEST(Sequence, FrameRangeEnlargesOnlyTheRangeAndKeepsNumbers) {
    TempDir dir;
    const Picture photo = ReadPicture(Asset("cups_320x180.png"));
    for (int n = 1; n <= 5; ++n) {
        WritePicture(FrameName(dir, "shot", n), ShiftedPicture(photo, n * 10), 3);
    }
    const ToolResult r = RunQuillon({"upscale", dir / "shot.%04d.png", dir / "big.%04d.png",
                                     "--frames", "2-4", "--size", "480x270", "--json", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.outText().find("\"frames\":3"), std::string::npos) << r.outText();
    EXPECT_FALSE(fs::exists(FrameName(dir, "big", 1)));
    EXPECT_FALSE(fs::exists(FrameName(dir, "big", 5)));
    for (int n = 2; n <= 4; ++n) {
        const Picture result = ReadPicture(FrameName(dir, "big", n));
        const Picture expected = ReferenceUpscale(ReadPicture(FrameName(dir, "shot", n)), 480, 270);
        EXPECT_EQ(MaxDifference(result, expected), 0) << "frame " << n;
    }

    // Without --frames every existing frame is taken; existing outputs need --force.
    const ToolResult refused = RunQuillon(
        {"upscale", dir / "shot.%04d.png", dir / "big.%04d.png", "--size", "480x270", "-q"});
    EXPECT_EQ(refused.exitCode, 10);
    EXPECT_FALSE(fs::exists(FrameName(dir, "big", 1))) << "nothing is written when refusing";
    const ToolResult forced = RunQuillon(
        {"upscale", dir / "shot.%04d.png", dir / "big.%04d.png", "--size", "480x270", "-q", "-y"});
    EXPECT_EQ(forced.exitCode, 0) << forced.err;
    EXPECT_TRUE(fs::exists(FrameName(dir, "big", 5)));
}

TEST(Sequence, FailedFrameLeavesNoPartialFile) {
    TempDir dir;
    const Picture photo = ReadPicture(Asset("grey_320x180.png"));
    WritePicture(FrameName(dir, "s", 1), photo, 3);
    WritePicture(FrameName(dir, "s", 2), photo, 3);
    {
        std::FILE* f = std::fopen(FrameName(dir, "s", 3).c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fputs("\x89PNG\r\n\x1a\n not really", f);
        std::fclose(f);
    }
    const ToolResult r = RunQuillon({"upscale", dir / "s.%04d.png", dir / "o.%04d.png", "--frames",
                                     "1-3", "--size", "400x225", "-q"});
    EXPECT_EQ(r.exitCode, 4) << r.err;
    EXPECT_TRUE(fs::exists(FrameName(dir, "o", 2)));
    EXPECT_FALSE(fs::exists(FrameName(dir, "o", 3)));
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

TEST(Video, ClipKeepsRateTimeBaseFrameCountAndAudio) {
    TempDir dir;
    const Picture photo = ReadPicture(Asset("cups_320x180.png"));
    ClipSpec spec;
    spec.frames = 7;
    MakeClip(dir / "clip.mkv", photo, spec);
    const ClipFacts before = ProbeClip(dir / "clip.mkv");
    ASSERT_EQ(before.decodedFrames, 7);

    const ToolResult r = RunQuillon({"upscale", dir / "clip.mkv", dir / "big.mkv", "--preset",
                                     "1280 x 720 Fit To Height", "--json", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const ClipFacts after = ProbeClip(dir / "big.mkv");
    EXPECT_EQ(after.width, 1280);
    EXPECT_EQ(after.height, 720);
    EXPECT_EQ(after.decodedFrames, 7);
    EXPECT_EQ(after.rateNum * before.rateDen, before.rateNum * after.rateDen);
    EXPECT_EQ(after.timeBaseNum, before.timeBaseNum);
    EXPECT_EQ(after.timeBaseDen, before.timeBaseDen);
    std::vector<int64_t> ptsBefore = before.videoPts;
    std::vector<int64_t> ptsAfter = after.videoPts;  // decode order differs with B-frames
    std::sort(ptsBefore.begin(), ptsBefore.end());
    std::sort(ptsAfter.begin(), ptsAfter.end());
    EXPECT_EQ(ptsAfter, ptsBefore);
    EXPECT_EQ(after.bitsPerComponent, 8);
    ASSERT_EQ(after.audioStreams, 1);
    EXPECT_EQ(after.audioPackets, before.audioPackets) << "audio must be copied untouched";
    EXPECT_NE(r.outText().find("\"decode\":"), std::string::npos);
    EXPECT_NE(r.outText().find("\"encode\":"), std::string::npos);
}

TEST(Video, DeepSourceGoesThroughTheSixteenBitEngineAndStaysDeep) {
    TempDir dir;
    const Picture photo = ReadPicture(Asset("pier_320x180_16bit.png"));
    ClipSpec spec;
    spec.frames = 3;
    spec.pixelFormat = "yuv444p10le";
    spec.audio = false;
    MakeClip(dir / "deep.mkv", photo, spec);
    const ToolResult r = RunQuillon(
        {"upscale", dir / "deep.mkv", dir / "big.mov", "--size", "480x270", "--json", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.outText().find("\"bits\":16"), std::string::npos) << r.outText();
    const ClipFacts after = ProbeClip(dir / "big.mov");
    EXPECT_EQ(after.decodedFrames, 3);
    EXPECT_EQ(after.videoCodec, "prores");
    EXPECT_GE(after.bitsPerComponent, 10);
}

TEST(Video, CodecAndQualityOptionsAreHonoured) {
    TempDir dir;
    ClipSpec spec;
    spec.frames = 2;
    spec.audio = false;
    MakeClip(dir / "c.mkv", ReadPicture(Asset("grey_320x180.png")), spec);
    const ToolResult r = RunQuillon({"upscale", dir / "c.mkv", dir / "o.mkv", "--size", "400x226",
                                     "--codec", "mpeg4", "--crf", "4", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(ProbeClip(dir / "o.mkv").videoCodec, "mpeg4");
    const ToolResult badOpt = RunQuillon({"upscale", dir / "c.mkv", dir / "p.mkv", "--size",
                                          "400x226", "--codec-opt", "no_such_option=1", "-q"});
    EXPECT_EQ(badOpt.exitCode, 2) << badOpt.err;
    EXPECT_FALSE(fs::exists(dir / "p.mkv"));
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

// Raw frames as ffmpeg's rawvideo muxer would write them.
std::vector<uint8_t> RawFrames(const Picture& photo, int count, bool deep) {
    std::vector<uint8_t> bytes;
    for (int n = 0; n < count; ++n) {
        const Picture p = ShiftedPicture(photo, n * 5);
        for (size_t i = 0; i < p.rgba.size(); i += 4) {
            if (deep) {
                for (int c = 0; c < 4; ++c) {
                    const uint16_t v =
                        p.bits == 16 ? p.rgba[i + c] : static_cast<uint16_t>(p.rgba[i + c] * 257);
                    bytes.push_back(static_cast<uint8_t>(v & 0xff));
                    bytes.push_back(static_cast<uint8_t>(v >> 8));
                }
            } else {
                bytes.push_back(static_cast<uint8_t>(p.rgba[i + 2]));
                bytes.push_back(static_cast<uint8_t>(p.rgba[i + 1]));
                bytes.push_back(static_cast<uint8_t>(p.rgba[i + 0]));
                bytes.push_back(static_cast<uint8_t>(p.rgba[i + 3]));
            }
        }
    }
    return bytes;
}

TEST(Pipe, EightBitFramesInOddChunksComeOutAsTheEngineMakesThem) {
    const Picture photo = ReadPicture(Asset("forest_480x270.png"));
    const std::vector<uint8_t> input = RawFrames(photo, 3, false);
    for (const char* kernel : {"cell", "two-pass"}) {
        const ToolResult r = RunQuillon({"pipe", "--in-size", "480x270", "--size", "640x360",
                                         "--kernel", kernel, "--filter", "better", "-q"},
                                        input, 4093);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const size_t frameIn = 480 * 270 * 4;
        const size_t frameOut = 640 * 360 * 4;
        ASSERT_EQ(r.out.size(), 3 * frameOut);
        EffectSettings s;
        s.filter = 3;
        s.kernelVariant = std::string(kernel) == "cell" ? 0 : 2;
        for (size_t n = 0; n < 3; ++n) {
            std::vector<uint8_t> frame(input.begin() + static_cast<long>(n * frameIn),
                                       input.begin() + static_cast<long>((n + 1) * frameIn));
            for (size_t i = 3; i < frame.size(); i += 4) {
                frame[i] = static_cast<uint8_t>(255 - frame[i]);
            }
            std::vector<uint8_t> expected = EngineUpscale(frame, 8, 480, 270, 640, 360, s);
            for (size_t i = 3; i < expected.size(); i += 4) {
                expected[i] = static_cast<uint8_t>(255 - expected[i]);
            }
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(),
                                   r.out.begin() + static_cast<long>(n * frameOut)))
                << kernel << " frame " << n;
        }
    }
}

TEST(Pipe, SixteenBitFramesUseTheHostRangeMapping) {
    const Picture photo = ReadPicture(Asset("pier_320x180_16bit.png"));
    const std::vector<uint8_t> input = RawFrames(photo, 2, true);
    const ToolResult r = RunQuillon(
        {"pipe", "--in-size", "320x180", "--depth", "16", "--size", "400x226", "-q"}, input);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    ASSERT_EQ(r.out.size(), 2u * 400 * 226 * 8);
    // Frame 1 (shifted by 5) against the still reference.
    const Picture expected = ReferenceUpscale(ShiftedPicture(photo, 5), 400, 226);
    const uint8_t* got = r.out.data() + 400 * 226 * 8;
    int worst = 0;
    for (size_t i = 0; i < expected.rgba.size(); ++i) {
        const int v = got[i * 2] | (got[i * 2 + 1] << 8);
        worst = std::max(worst, std::abs(v - static_cast<int>(expected.rgba[i])));
    }
    EXPECT_EQ(worst, 0);
}

TEST(Pipe, TruncatedStreamKeepsWholeFramesAndFails) {
    const Picture photo = ReadPicture(Asset("grey_320x180.png"));
    std::vector<uint8_t> input = RawFrames(photo, 2, false);
    input.resize(input.size() - 1000);
    const ToolResult r =
        RunQuillon({"pipe", "--in-size", "320x180", "--size", "400x226", "-q"}, input, 10000);
    EXPECT_EQ(r.exitCode, 9);
    EXPECT_EQ(r.out.size(), 400u * 226 * 4) << "the complete first frame is delivered";
    EXPECT_NE(r.err.find("middle of frame 2"), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

TEST(Pipe, EmptyStreamIsZeroFramesAndJsonGoesToStandardError) {
    const ToolResult r =
        RunQuillon({"pipe", "--in-size", "320x180", "--size", "400x226", "-q", "--json"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(r.out.empty());
    EXPECT_NE(r.err.find("\"frames\":0"), std::string::npos) << r.err;
}

}  // namespace
}  // namespace quillon::test
