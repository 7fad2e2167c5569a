// Sequences, video clips and the raw pipe through the built tool.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

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
    for (const char* field : {"\"frames\":3", "\"width\":480", "\"height\":270",
                              "\"engine\":", "\"convert_in\":", "\"convert_out\":", "\"read\":",
                              "\"write\":", "\"filter\":\"Quick\"", "\"engine_options\":11"}) {
        EXPECT_NE(r.outText().find(field), std::string::npos) << field << " in " << r.outText();
    }
    EXPECT_FALSE(fs::exists(FrameName(dir, "big", 1)));
    EXPECT_FALSE(fs::exists(FrameName(dir, "big", 5)));
    for (int n = 2; n <= 4; ++n) {
        const Picture expected = ReferenceUpscale(ReadPicture(FrameName(dir, "shot", n)), 480, 270);
        EXPECT_EQ(MaxDifference(ReadPicture(FrameName(dir, "big", n)), expected), 0) << n;
    }

    // Without --frames every existing frame is taken; existing outputs need --force.
    std::vector<std::string> all = {
        "upscale", dir / "shot.%04d.png", dir / "big.%04d.png", "--size", "480x270", "-q"};
    EXPECT_EQ(RunQuillon(all).exitCode, 10);
    EXPECT_FALSE(fs::exists(FrameName(dir, "big", 1))) << "nothing is written when refusing";
    all.push_back("-y");
    EXPECT_EQ(RunQuillon(all).exitCode, 0);
    EXPECT_TRUE(fs::exists(FrameName(dir, "big", 5)));

    // A corrupt frame stops the run: the frames before it stay, no part of it appears.
    std::ofstream(FrameName(dir, "shot", 6), std::ios::binary) << "\x89PNG\r\n\x1a\n not really";
    const ToolResult bad = RunQuillon({"upscale", dir / "shot.%04d.png", dir / "o.%04d.png",
                                       "--frames", "5-6", "--size", "400x225", "-q"});
    EXPECT_EQ(bad.exitCode, 4) << bad.err;
    EXPECT_TRUE(fs::exists(FrameName(dir, "o", 5)));
    EXPECT_FALSE(fs::exists(FrameName(dir, "o", 6)));
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

TEST(Video, ClipKeepsRateTimeBaseFrameCountAndAudio) {
    TempDir dir;
    ClipSpec spec;
    spec.frames = 7;
    MakeClip(dir / "clip.mkv", ReadPicture(Asset("cups_320x180.png")), spec);
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

// A deep source goes through the 16-bit engine and stays deep by default;
// a named codec and quality are honoured.
TEST(Video, DeepSourceStaysDeepAndCodecOptionsAreHonoured) {
    TempDir dir;
    ClipSpec spec;
    spec.frames = 3;
    spec.pixelFormat = "yuv444p10le";
    spec.audio = false;
    MakeClip(dir / "deep.mkv", ReadPicture(Asset("pier_320x180_16bit.png")), spec);
    const ToolResult r = RunQuillon(
        {"upscale", dir / "deep.mkv", dir / "big.mov", "--size", "480x270", "--json", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.outText().find("\"bits\":16"), std::string::npos) << r.outText();
    const ClipFacts after = ProbeClip(dir / "big.mov");
    EXPECT_EQ(after.decodedFrames, 3);
    EXPECT_EQ(after.videoCodec, "prores");
    EXPECT_GE(after.bitsPerComponent, 10);
    const ToolResult mpeg4 = RunQuillon({"upscale", dir / "deep.mkv", dir / "o.mkv", "--size",
                                         "400x226", "--codec", "mpeg4", "--crf", "4", "-q"});
    ASSERT_EQ(mpeg4.exitCode, 0) << mpeg4.err;
    EXPECT_EQ(ProbeClip(dir / "o.mkv").videoCodec, "mpeg4");
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

// Frame n of the pipe's output (bgra or rgba64le) as an RGBA picture.
Picture RawFrame(const std::vector<uint8_t>& bytes, size_t n, int width, int height, bool deep) {
    Picture p;
    p.width = width;
    p.height = height;
    p.bits = deep ? 16 : 8;
    p.rgba.resize(static_cast<size_t>(width) * height * 4);
    const uint8_t* b = bytes.data() + n * p.rgba.size() * (deep ? 2 : 1);
    for (size_t i = 0; i < p.rgba.size(); ++i) {
        const size_t c = i % 4;
        p.rgba[i] = deep ? static_cast<uint16_t>(b[i * 2] | (b[i * 2 + 1] << 8))
                         : b[i - c + (c == 3 ? 3 : 2 - c)];
    }
    return p;
}

// Frames fed in odd chunks come out as the engine makes them from the
// shifted photos, at 8 bits with either kernel and at 16 bits through the
// host range mapping.
TEST(Pipe, FramesInOddChunksComeOutAsTheEngineMakesThem) {
    struct Case {
        bool deep;
        const char* kernel;
        uint32_t variant;
    };
    for (const Case& c :
         {Case{false, "cell", 0}, Case{false, "two-pass", 2}, Case{true, "cell", 0}}) {
        Picture photo = ReadPicture(Asset("forest_480x270.png"));
        if (c.deep) {  // the full 16-bit range, in colour
            photo.bits = 16;
            for (uint16_t& v : photo.rgba) {
                v = static_cast<uint16_t>(v * 257 - (v & 7));
            }
        }
        const ToolResult r =
            RunQuillon({"pipe", "--in-size", "480x270", "--depth", c.deep ? "16" : "8", "--size",
                        "640x360", "--kernel", c.kernel, "--filter", "better", "-q"},
                       RawFrames(photo, 3, c.deep), 4093);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        ASSERT_EQ(r.out.size(), 3u * 640 * 360 * (c.deep ? 8 : 4));
        EffectSettings s;
        s.filter = 3;
        s.kernelVariant = c.variant;
        for (size_t n = 0; n < 3; ++n) {
            const Picture expected =
                ReferenceUpscale(ShiftedPicture(photo, static_cast<int>(n) * 5), 640, 360, s);
            EXPECT_EQ(MaxDifference(RawFrame(r.out, n, 640, 360, c.deep), expected), 0)
                << c.kernel << (c.deep ? " 16" : " 8") << " frame " << n;
        }
    }
}

TEST(Pipe, TruncatedStreamKeepsWholeFramesAndFailsAnEmptyOneIsZeroFrames) {
    std::vector<uint8_t> input = RawFrames(ReadPicture(Asset("grey_320x180.png")), 2, false);
    input.resize(input.size() - 1000);
    const std::vector<std::string> args = {"pipe",   "--in-size", "320x180",
                                           "--size", "400x226",   "-q"};
    const ToolResult r = RunQuillon(args, input, 10000);
    EXPECT_EQ(r.exitCode, 9);
    EXPECT_EQ(r.out.size(), 400u * 226 * 4) << "the complete first frame is delivered";
    EXPECT_NE(r.err.find("middle of frame 2"), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;

    std::vector<std::string> json = args;
    json.push_back("--json");
    const ToolResult empty = RunQuillon(json);
    EXPECT_EQ(empty.exitCode, 0) << empty.err;
    EXPECT_TRUE(empty.out.empty());
    EXPECT_NE(empty.err.find("\"frames\":0"), std::string::npos) << empty.err;
}

}  // namespace
}  // namespace quillon::test
