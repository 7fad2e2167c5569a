// Every kind of bad input ends with one clear line on standard error and its
// own exit code, and never leaves a file under the output's name.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

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
    WriteBytes(dir / "bad.mp4", std::string(4096, 'x'));
    std::ifstream whole(cups, std::ios::binary);  // a real PNG cut short: pixels missing
    std::string head(static_cast<size_t>(fs::file_size(cups) / 3), '\0');
    whole.read(head.data(), static_cast<std::streamsize>(head.size()));
    WriteBytes(dir / "cut.png", head);
    WritePicture(dir / "tiny.png", {3, 3, 8, std::vector<uint16_t>(3 * 3 * 4, 200)}, 3);
    // Fit to height 2160 makes this 1,080,000 pixels wide.
    WritePicture(dir / "strip.png", {2000, 4, 8, std::vector<uint16_t>(2000 * 4 * 4, 90)}, 3);
    RunProgram({"ffmpeg", "-v", "error", "-i", cups, "-c:v", "ffv1", dir / "c.mkv"});
    const std::string in = dir / "in.png";
    fs::copy_file(cups, in);

    const std::string o = dir / "o.png";
    struct Case {
        int code;
        std::vector<std::string> args;
        const char* says = "";
    };
    const Case cases[] = {
        {3, Upscale({dir / "nothing.png", o, "--size", "640x360"})},
        {3, Upscale({dir.path().string(), o, "--size", "640x360"})},
        {3, Upscale({dir / "f.%04d.png", dir / "o.%04d.png", "--size", "640x360"})},
        {4, Upscale({dir / "bad.mp4", dir / "o.mp4", "--size", "640x360"})},
        {4, Upscale({dir / "cut.png", o, "--size", "640x360"})},
        {5, Upscale({cups, dir / "o.qqq", "--size", "640x360"})},
        {5, Upscale({dir / "c.mkv", dir / "o.mov", "--size", "640x360", "--pix-fmt", "no_such"})},
        {6, Upscale({dir / "tiny.png", o, "--size", "640x360"})},
        {6, Upscale({dir / "strip.png", o, "--preset", "25"})},
        {6, Upscale({cups, o, "--size", "9000x9000"})},
        {6, {"pipe", "--in-size", "3x100", "--size", "200x200", "-q"}},
        {7, Upscale({cups, o, "--size", "300x200"}), "smaller than the source"},
        {8, Upscale({cups, o, "--preset", "29"})},
        {8, Upscale({cups, o, "--preset", "Ultra HD (3840 x 2160) Fit To Nothing"})},
        {10, Upscale({in, in, "--size", "400x225", "--force"})},
        {2, Upscale({cups, o, "--filter", "sharpest"})},
        {2, Upscale({cups, o, "--sharpness", "26"})},
        {2, {"pipe", "--in-size", "320x180", "--depth", "12"}},
    };
    for (const Case& c : cases) {
        const ToolResult r = RunQuillon(c.args);
        const std::string what = c.args[1] + " " + c.args.back();
        EXPECT_EQ(r.exitCode, c.code) << what << ": " << r.err;
        ExpectOneLineError(r);
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
        for (const auto& entry : fs::directory_iterator(dir.path())) {
            const std::string name = entry.path().filename().string();
            EXPECT_TRUE(name.rfind("o.", 0) != 0 && name[0] != '.') << name << " after " << what;
        }
    }
    EXPECT_EQ(fs::file_size(in), fs::file_size(cups)) << "the input is never overwritten";
}

TEST(BadInput, ExistingOutputNeedsForce) {
    TempDir dir;
    WriteBytes(dir / "o.png", "keep me");
    std::vector<std::string> args =
        Upscale({Asset("grey_320x180.png"), dir / "o.png", "--size", "400x225"});
    const ToolResult refused = RunQuillon(args);
    EXPECT_EQ(refused.exitCode, 10);
    ExpectOneLineError(refused);
    EXPECT_EQ(fs::file_size(dir / "o.png"), 7u);
    args.push_back("-y");
    EXPECT_EQ(RunQuillon(args).exitCode, 0);
    EXPECT_EQ(ReadPicture(dir / "o.png").width, 400);
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

}  // namespace
}  // namespace quillon::test
