// Runs that stop midway (a signal, a full disk, a corrupt frame) leave only
// complete files under final names, remove their temporaries and say which
// frames are complete.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "FramePipeline.h"
#include "Reference.h"
#include "ToolRunner.h"

namespace quillon::test {
namespace {

namespace fs = std::filesystem;

std::string Numbered(const TempDir& dir, const char* stem, int n) {
    char name[64];
    std::snprintf(name, sizeof name, "%s.%04d.png", stem, n);
    return dir / name;
}

// Frame numbers of the outputs present, ascending.
std::vector<int64_t> PresentFrames(const TempDir& dir, int last) {
    std::vector<int64_t> present;
    for (int n = 1; n <= last; ++n) {
        if (fs::exists(Numbered(dir, "out", n))) {
            present.push_back(n);
        }
    }
    return present;
}

// The list after "frames complete: " names exactly the outputs present, and
// each of them is a whole picture.
void ExpectCompleteFramesListed(const ToolResult& r, const TempDir& dir, int last, int width,
                                int height) {
    const std::vector<int64_t> present = PresentFrames(dir, last);
    const std::string listed = DescribeFrames(present, [](int64_t n) { return n; });
    EXPECT_NE(r.err.find("frames complete: " + listed + "\n"), std::string::npos)
        << "present: " << listed << "; stderr: " << r.err;
    for (const int64_t n : present) {
        const Picture p = ReadPicture(Numbered(dir, "out", static_cast<int>(n)));
        EXPECT_EQ(p.width, width) << n;
        EXPECT_EQ(p.height, height) << n;
    }
    EXPECT_TRUE(dir.HiddenFiles().empty()) << "a temporary file was left behind";
}

TEST(Stop, SigtermMidSequence) {
    TempDir dir;
    // Far more work than the signal's delay: Ultra HD frames take a while to
    // write however fast the engine is.
    constexpr int kFrames = 400;
    for (int n = 1; n <= kFrames; ++n) {
        fs::copy_file(Asset("cups_320x180.png"), Numbered(dir, "in", n));
    }
    const ToolResult r = RunQuillon({"upscale", dir / "in.%04d.png", dir / "out.%04d.png", "--size",
                                     "3840x2160", "--filter", "best", "-q"},
                                    {}, 65536, "exec timeout --preserve-status -s TERM 2 ");
    ASSERT_EQ(r.exitCode, 130) << r.err;
    EXPECT_NE(r.err.find("interrupted"), std::string::npos) << r.err;
    ExpectCompleteFramesListed(r, dir, kFrames, 3840, 2160);
}

// Flat frames compress to a few hundred bytes, noisy ones do not: with the
// file size limited, the first noisy frame fails as on a full disk.
TEST(Stop, FullDiskMidSequence) {
    TempDir dir;
    Picture flat{320, 180, 8, std::vector<uint16_t>(320 * 180 * 4, 128)};
    Picture noisy = flat;
    uint32_t hash = 12345;
    for (uint16_t& v : noisy.rgba) {
        hash = hash * 1664525u + 1013904223u;
        v = static_cast<uint16_t>(hash >> 24);
    }
    for (int n = 1; n <= 8; ++n) {
        WritePicture(Numbered(dir, "in", n), n < 4 ? flat : noisy, 3);
    }
    // 512-byte blocks: 256 KB, far below a noisy 640x360 frame.
    const ToolResult r = RunQuillon({"upscale", dir / "in.%04d.png", dir / "out.%04d.png", "--size",
                                     "640x360", "--filter", "draft", "-q"},
                                    {}, 65536, "ulimit -f 512; exec ");
    ASSERT_EQ(r.exitCode, 11) << r.err;
    EXPECT_NE(r.err.find("frame '" + Numbered(dir, "out", 4) + "' was not written"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(PresentFrames(dir, 8), (std::vector<int64_t>{1, 2, 3}));
    ExpectCompleteFramesListed(r, dir, 8, 640, 360);
}

TEST(Stop, FullDiskMidVideo) {
    TempDir dir;
    RunProgram({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=size=320x180:rate=24",
                "-frames:v", "24", "-c:v", "ffv1", dir / "clip.mkv"});
    const ToolResult r = RunQuillon({"upscale", dir / "clip.mkv", dir / "big.mkv", "--size",
                                     "1280x720", "--codec", "ffv1", "-q"},
                                    {}, 65536, "ulimit -f 512; exec ");
    ASSERT_EQ(r.exitCode, 11) << r.err;
    EXPECT_NE(r.err.find("frames were encoded, '" + (dir / "big.mkv") + "' was not written"),
              std::string::npos)
        << r.err;
    EXPECT_FALSE(fs::exists(dir / "big.mkv"));
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

TEST(Stop, CorruptFrameIsNamed) {
    TempDir dir;
    for (int n = 1; n <= 5; ++n) {
        fs::copy_file(Asset("cups_320x180.png"), Numbered(dir, "in", n));
    }
    fs::resize_file(Numbered(dir, "in", 3), fs::file_size(Numbered(dir, "in", 3)) / 2);
    const ToolResult r = RunQuillon({"upscale", dir / "in.%04d.png", dir / "out.%04d.png", "--size",
                                     "640x360", "--threads", "1", "-q"});
    ASSERT_EQ(r.exitCode, 4) << r.err;
    EXPECT_NE(r.err.find("'" + Numbered(dir, "in", 3) + "'"), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(Numbered(dir, "out", 3)));
    ExpectCompleteFramesListed(r, dir, 5, 640, 360);
}

}  // namespace
}  // namespace quillon::test
