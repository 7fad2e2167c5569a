// Sequences, video clips and the raw pipe through the built tool.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "Reference.h"
#include "ToolRunner.h"

namespace quillon::test {
namespace {

namespace fs = std::filesystem;

// Frame n of a moving test: every channel, alpha too, raised by n steps (wrapping).
Picture Varied(Picture p, int n) {
    for (uint16_t& v : p.rgba) {
        v = static_cast<uint16_t>((v + n * (p.bits == 8 ? 40 : 9000)) %
                                  (p.bits == 8 ? 256 : 65536));
    }
    return p;
}

std::string FrameName(const TempDir& dir, const char* stem, int n) {
    return dir / (stem + std::string(".000") + std::to_string(n) + ".png");
}

// The output goes to a folder that does not exist yet: it is made, parents too.
TEST(Sequence, FrameRangeEnlargesOnlyTheRangeAndKeepsNumbers) {
    TempDir dir;
    const Picture photo = ReadPicture(Asset("cups_320x180.png"));
    for (int n = 1; n <= 5; ++n) {
        WritePicture(FrameName(dir, "shot", n), Varied(photo, n), 3);
    }
    const ToolResult r =
        RunQuillon({"upscale", dir / "shot.%04d.png", dir / "new/deep/big.%04d.png", "--frames",
                    "2-4", "--size", "480x270", "--json", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    for (const char* field : {"\"frames\":3", "\"width\":480", "\"engine\":", "\"write\":",
                              "\"filter\":\"Quick\"", "\"engine_options\":11"}) {
        EXPECT_NE(r.outText().find(field), std::string::npos) << field << " in " << r.outText();
    }
    EXPECT_FALSE(fs::exists(FrameName(dir, "new/deep/big", 1)));
    EXPECT_FALSE(fs::exists(FrameName(dir, "new/deep/big", 5)));
    for (int n = 2; n <= 4; ++n) {
        const Picture expected = ReferenceUpscale(ReadPicture(FrameName(dir, "shot", n)), 480, 270);
        EXPECT_LE(Difference(ReadPicture(FrameName(dir, "new/deep/big", n)), expected), 0) << n;
    }
}

// Stream facts as ffprobe prints them, one "key=value" a line.
std::string Probe(const std::string& path) {
    return "\n" +
           RunProgram({"ffprobe", "-v", "error", "-count_frames", "-show_entries",
                       "stream=codec_type,codec_name,width,height,avg_frame_rate,nb_read_frames,"
                       "pix_fmt",
                       "-of", "default=nw=1", path});
}

void MakeClip(const std::string& path, const char* photo, const char* pixFmt, bool audio) {
    std::vector<std::string> cmd = {"ffmpeg",     "-v",         "error", "-loop",     "1",
                                    "-framerate", "24000/1001", "-i",    Asset(photo)};
    if (audio) {
        cmd.insert(cmd.end(), {"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000:d=1",
                               "-c:a", "pcm_s16le"});
    }
    cmd.insert(cmd.end(), {"-frames:v", "7", "-c:v", "ffv1", "-pix_fmt", pixFmt, path});
    RunProgram(cmd);
}

std::string AudioDigest(const std::string& path) {
    return RunProgram(
        {"ffmpeg", "-v", "error", "-i", path, "-map", "0:a", "-c", "copy", "-f", "md5", "-"});
}

TEST(Video, ClipKeepsSizeRateFrameCountAndAudio) {
    TempDir dir;
    MakeClip(dir / "clip.mkv", "cups_320x180.png", "yuv420p", true);
    const ToolResult r = RunQuillon({"upscale", dir / "clip.mkv", dir / "big.mkv", "--preset",
                                     "1280 x 720 Fit To Height", "--json", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string after = Probe(dir / "big.mkv");
    for (const char* fact :
         {"\nwidth=1280\n", "\nheight=720\n", "\nnb_read_frames=7\n",
          "\navg_frame_rate=24000/1001\n", "\npix_fmt=yuv420p\n", "\ncodec_type=audio\n"}) {
        EXPECT_NE(after.find(fact), std::string::npos) << fact << " in " << after;
    }
    EXPECT_EQ(AudioDigest(dir / "big.mkv"), AudioDigest(dir / "clip.mkv"))
        << "audio must be copied untouched";
    EXPECT_NE(r.outText().find("\"encode\":"), std::string::npos);
}

// A deep source goes through the 16-bit engine and stays deep by default.
TEST(Video, DeepSourceStaysDeep) {
    TempDir dir;
    MakeClip(dir / "deep.mkv", "pier_320x180_16bit.png", "yuv444p10le", false);
    const ToolResult r = RunQuillon(
        {"upscale", dir / "deep.mkv", dir / "big.mov", "--size", "480x270", "--json", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.outText().find("\"bits\":16"), std::string::npos) << r.outText();
    const std::string after = Probe(dir / "big.mov");
    EXPECT_NE(after.find("\nnb_read_frames=7\n"), std::string::npos) << after;
    EXPECT_NE(after.find("\ncodec_name=prores\n"), std::string::npos) << after;
    EXPECT_NE(after.find("le\n"), std::string::npos) << "a deep pixel format: " << after;
}

// Frames as ffmpeg's rawvideo muxer writes them: bgra, or rgba64le.
std::vector<uint8_t> Raw(const Picture& p) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < p.rgba.size(); i += 4) {
        for (int c : {0, 1, 2, 3}) {
            if (p.bits == 8) {
                bytes.push_back(static_cast<uint8_t>(p.rgba[i + (c == 3 ? 3 : 2 - c)]));
            } else {
                bytes.insert(bytes.end(), {static_cast<uint8_t>(p.rgba[i + c] & 0xff),
                                           static_cast<uint8_t>(p.rgba[i + c] >> 8)});
            }
        }
    }
    return bytes;
}

// Frames fed in odd chunks come out as the engine makes them, at 8 bits and
// at 16 bits through the host range mapping.
TEST(Pipe, FramesInOddChunksComeOutAsTheEngineMakesThem) {
    for (const char* photoName : {"cups_320x180.png", "pier_320x180_16bit.png"}) {
        const Picture photo = ReadPicture(Asset(photoName));
        std::vector<uint8_t> input;
        std::vector<uint8_t> expected;
        for (int n = 0; n < 3; ++n) {
            const Picture frame = Varied(photo, n);
            const std::vector<uint8_t> in = Raw(frame);
            const std::vector<uint8_t> out = Raw(ReferenceUpscale(frame, 480, 270, {3, 2, 8, 6}));
            input.insert(input.end(), in.begin(), in.end());
            expected.insert(expected.end(), out.begin(), out.end());
        }
        const ToolResult r =
            RunQuillon({"pipe", "--in-size", "320x180", "--depth", std::to_string(photo.bits),
                        "--size", "480x270", "--filter", "better", "-q"},
                       input, 4093);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        EXPECT_TRUE(r.out == expected) << photoName;
    }
}

TEST(Pipe, TruncatedStreamKeepsWholeFramesAndFailsAnEmptyOneIsZeroFrames) {
    std::vector<uint8_t> input(2 * 320 * 180 * 4 - 1000, 77);
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
