// Every kind of bad input ends with one clear line on standard error and its
// own exit code, and never leaves a file under the output's name.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "ClipMaker.h"
#include "Reference.h"
#include "ToolRunner.h"

namespace quillon::test {
namespace {

namespace fs = std::filesystem;

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// One error line, starting with the tool's name.
void ExpectOneLineError(const ToolResult& r) {
    EXPECT_EQ(r.err.rfind("quillon: error: ", 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

std::vector<std::string> Upscale(std::vector<std::string> args) {
    args.insert(args.begin(), "upscale");
    args.push_back("-q");
    return args;
}

TEST(BadInput, EachKindHasItsOwnExitCodeAndLeavesNoOutput) {
    TempDir dir;
    const std::string cups = Asset("cups_320x180.png");
    const std::string grey = Asset("grey_320x180.png");
    WriteBytes(dir / "bad.png", "\x89PNG\r\n\x1a\ngarbage that is not a png");
    WriteBytes(dir / "bad.mp4", std::string(4096, 'x'));
    {  // A real PNG cut short: header fine, pixels missing.
        std::ifstream in(cups, std::ios::binary);
        std::string head(static_cast<size_t>(fs::file_size(cups) / 3), '\0');
        in.read(head.data(), static_cast<std::streamsize>(head.size()));
        WriteBytes(dir / "cut.png", head);
    }
    Picture flat;
    flat.width = flat.height = 3;
    flat.rgba.assign(3 * 3 * 4, 200);
    WritePicture(dir / "tiny.png", flat, 3);
    flat.width = 2000;  // fit to height 2160 makes it 1,080,000 pixels wide
    flat.height = 4;
    flat.rgba.assign(2000 * 4 * 4, 90);
    WritePicture(dir / "strip.png", flat, 3);
    ClipSpec spec;
    spec.frames = 1;
    spec.audio = false;
    MakeClip(dir / "c.mkv", ReadPicture(grey), spec);
    const std::string in = dir / "in.png";
    fs::copy_file(grey, in);
    const auto inSize = fs::file_size(in);

    const std::string o = dir / "o.png";
    const std::string mov = dir / "o.mov";
    struct Case {
        int code;
        std::vector<std::string> args;
        const char* says = "";
    };
    const Case cases[] = {
        {3, Upscale({dir / "nothing.png", o, "--size", "640x360"})},
        {3, Upscale({dir / "nothing.mp4", o, "--size", "640x360"})},
        {3, Upscale({dir.path().string(), o, "--size", "640x360"})},
        {3, Upscale({dir / "f.%04d.png", dir / "o.%04d.png", "--size", "640x360"})},
        {4, Upscale({dir / "bad.png", o, "--size", "640x360"})},
        {4, Upscale({dir / "bad.mp4", dir / "o.mp4", "--size", "640x360"})},
        {4, Upscale({dir / "cut.png", o, "--size", "640x360"})},
        {5, Upscale({grey, dir / "o.qqq", "--size", "640x360"})},
        {5, Upscale({dir / "c.mkv", mov, "--size", "640x360", "--pix-fmt", "no_such_format"})},
        {5, Upscale({dir / "c.mkv", mov, "--size", "640x360", "--codec", "prores_ks", "--pix-fmt",
                     "yuv420p"})},
        {5, Upscale({dir / "c.mkv", mov, "--size", "640x360", "--codec", "no_such_codec"})},
        {6, Upscale({dir / "tiny.png", o, "--size", "640x360"})},
        {6, Upscale({dir / "strip.png", o, "--preset", "25"})},
        {6, Upscale({grey, o, "--size", "9000x9000"})},
        {6, {"pipe", "--in-size", "3x100", "--size", "200x200", "-q"}},
        {7, Upscale({cups, o, "--size", "300x200"}), "smaller than the source"},
        {8, Upscale({cups, o, "--preset", "29"})},
        {8, Upscale({cups, o, "--preset", "0"})},
        {8, Upscale({cups, o, "--preset", "Ultra HD (3840 x 2160) Fit To Nothing"})},
        {10, Upscale({in, in, "--size", "400x225", "--force"})},
        {2, Upscale({cups, o, "--filter", "sharpest"})},
        {2, Upscale({cups, o, "--sharpness", "26"})},
        {2, Upscale({cups, o, "--anti-aliasing", "11"})},
        {2, Upscale({cups, o, "--size", "big"})},
        {2, Upscale({dir / "c.mkv", dir / "o.mkv", "--size", "400x226", "--codec-opt",
                     "no_such_option=1"})},
        {2, {"pipe", "--size", "640x360"}},
        {2, {"pipe", "--in-size", "320x180", "--depth", "12"}},
        {2, {"frobnicate"}},
    };
    for (const Case& c : cases) {
        const ToolResult r = RunQuillon(c.args);
        const std::string what = c.args[c.args.size() > 1 ? 1 : 0] + " " + c.args.back();
        EXPECT_EQ(r.exitCode, c.code) << what << ": " << r.err;
        ExpectOneLineError(r);
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
        for (const auto& entry : fs::directory_iterator(dir.path())) {
            const std::string name = entry.path().filename().string();
            EXPECT_TRUE(name.rfind("o.", 0) != 0 && name[0] != '.') << name << " after " << what;
        }
    }
    EXPECT_EQ(fs::file_size(in), inSize) << "the input is never overwritten";
}

TEST(BadInput, ExistingOutputNeedsForce) {
    TempDir dir;
    WriteBytes(dir / "o.png", "keep me");
    const std::vector<std::string> args =
        Upscale({Asset("grey_320x180.png"), dir / "o.png", "--size", "400x225"});
    const ToolResult refused = RunQuillon(args);
    EXPECT_EQ(refused.exitCode, 10);
    ExpectOneLineError(refused);
    EXPECT_EQ(fs::file_size(dir / "o.png"), 7u);

    std::vector<std::string> forced = args;
    forced.push_back("-y");
    const ToolResult r = RunQuillon(forced);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(ReadPicture(dir / "o.png").width, 400);
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

}  // namespace
}  // namespace quillon::test
