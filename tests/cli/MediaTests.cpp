// Sequences, video clips and the raw pipe through the built tool.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

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

// ------------------------------------------------------------------ colour

struct ColourTags {
    std::string matrix;  // ffprobe's color_space, "unknown" when untagged
    std::string primaries;
    std::string transfer;
    std::string range;
    int height = 0;
};

std::string Field(const std::string& text, const std::string& key) {
    const size_t at = text.find("\n" + key + "=");
    if (at == std::string::npos) {
        return "";
    }
    const size_t begin = at + key.size() + 2;
    return text.substr(begin, text.find('\n', begin) - begin);
}

ColourTags ReadTags(const std::string& path) {
    const std::string text =
        "\n" + RunProgram({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                           "stream=color_space,color_primaries,color_transfer,color_range,height",
                           "-of", "default=nw=1", path});
    return {Field(text, "color_space"), Field(text, "color_primaries"),
            Field(text, "color_transfer"), Field(text, "color_range"),
            std::stoi(Field(text, "height"))};
}

// The picture as a player shows it: the tagged matrix and range, or for an
// untagged file BT.601 below 720 rows and BT.709 from 720 rows, limited
// range; then averaged down to 64x36 so that areas, not edges, are compared.
std::vector<uint8_t> AsPlayed(const std::string& path) {
    const ColourTags tags = ReadTags(path);
    std::string matrix = tags.matrix;
    if (matrix == "unknown" || matrix.empty()) {
        matrix = tags.height < 720 ? "bt601" : "bt709";
    } else if (matrix == "smpte170m" || matrix == "bt470bg") {
        matrix = "bt601";
    }
    const std::string range = tags.range == "pc" ? "pc" : "tv";
    const std::string out =
        RunProgram({"ffmpeg", "-v", "error", "-i", path, "-frames:v", "1", "-vf",
                    "scale=in_color_matrix=" + matrix + ":in_range=" + range +
                        ":out_range=pc:flags=bilinear+accurate_rnd+full_chroma_int,"
                        "format=rgb24,scale=64:36:flags=area",
                    "-f", "rawvideo", "-"});
    return {out.begin(), out.end()};
}

double MeanDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    if (a.size() != b.size() || a.empty()) {
        return 1e9;
    }
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        sum += std::abs(static_cast<int>(a[i]) - static_cast<int>(b[i]));
    }
    return sum / static_cast<double>(a.size());
}

struct ColourCase {
    const char* name;
    const char* pattern;  // lavfi source
    const char* codec;
    const char* pixFmt;
    const char* extension;
    const char* colorspace;    // --colorspace
    const char* outputMatrix;  // expected tag
};

class Colour : public ::testing::TestWithParam<ColourCase> {};

// An untagged SD clip enlarged to HD looks the same in a player before and
// after, and the output carries its tags.
TEST_P(Colour, EnlargedSdClipPlaysWithTheSourcesColours) {
    const ColourCase& c = GetParam();
    TempDir dir;
    const std::string in = dir / (std::string("sd") + c.extension);
    const std::string out = dir / (std::string("hd") + c.extension);
    RunProgram({"ffmpeg", "-v", "error", "-f", "lavfi", "-i",
                std::string(c.pattern) + "=size=720x480:rate=24", "-frames:v", "2", "-c:v", c.codec,
                "-pix_fmt", c.pixFmt, in});
    ASSERT_EQ(ReadTags(in).matrix, "unknown") << "the source must be untagged";
    const ToolResult r =
        RunQuillon({"upscale", in, out, "--size", "1920x1080", "--filter", "draft", "--sharpness",
                    "0", "--anti-aliasing", "0", "--colorspace", c.colorspace, "--json", "-q"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const ColourTags tags = ReadTags(out);
    if (std::string(c.extension) == ".mp4") {
        // (The ProRes decoder reports its own header, not the container's tags.)
        EXPECT_EQ(tags.matrix, c.outputMatrix);
        EXPECT_EQ(tags.range, "tv");
        EXPECT_NE(tags.primaries, "unknown");
        EXPECT_NE(tags.transfer, "unknown");
    }
    EXPECT_NE(r.outText().find(std::string("\"output_colour\":\"") + c.outputMatrix),
              std::string::npos)
        << r.outText();
    const double difference = MeanDifference(AsPlayed(in), AsPlayed(out));
    RecordProperty("mean_difference", std::to_string(difference));
    std::printf("colour %s: mean difference %.3f levels\n", c.name, difference);
    EXPECT_LE(difference, 2.0) << c.name;
}

INSTANTIATE_TEST_SUITE_P(Clips, Colour,
                         ::testing::Values(ColourCase{"h264", "smptebars", "libx264", "yuv420p",
                                                      ".mp4", "bt709", "bt709"},
                                           ColourCase{"h264_testsrc2", "testsrc2", "libx264",
                                                      "yuv420p", ".mp4", "bt709", "bt709"},
                                           ColourCase{"prores422_10bit", "smptebars", "prores_ks",
                                                      "yuv422p10le", ".mov", "bt709", "bt709"},
                                           ColourCase{"h264_keep", "smptebars", "libx264",
                                                      "yuv420p", ".mp4", "keep", "smpte170m"}),
                         [](const auto& p) { return std::string(p.param.name); });

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
