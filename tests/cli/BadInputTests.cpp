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

class BadInput : public ::testing::Test {
protected:
    TempDir dir;
    ToolResult Upscale(std::vector<std::string> args) {
        args.insert(args.begin(), "upscale");
        args.push_back("-q");
        return RunQuillon(args);
    }
};

TEST_F(BadInput, MissingOrUnreadableInputIsThree) {
    for (const std::string& input :
         {dir / "nothing.png", dir / "nothing.mp4", dir.path().string()}) {
        const ToolResult r = Upscale({input, dir / "o.png", "--size", "640x360"});
        EXPECT_EQ(r.exitCode, 3) << input;
        ExpectOneLineError(r);
    }
    const ToolResult seq = Upscale({dir / "f.%04d.png", dir / "o.%04d.png", "--size", "640x360"});
    EXPECT_EQ(seq.exitCode, 3);
    ExpectOneLineError(seq);
}

TEST_F(BadInput, CorruptImageOrVideoIsFour) {
    WriteBytes(dir / "bad.png", "\x89PNG\r\n\x1a\ngarbage that is not a png");
    WriteBytes(dir / "bad.mp4", std::string(4096, 'x'));
    // A real PNG cut short: header fine, pixels missing.
    const auto full = fs::file_size(Asset("cups_320x180.png"));
    {
        std::ifstream in(Asset("cups_320x180.png"), std::ios::binary);
        std::string head(static_cast<size_t>(full / 3), '\0');
        in.read(head.data(), static_cast<std::streamsize>(head.size()));
        WriteBytes(dir / "cut.png", head);
    }
    for (const char* name : {"bad.png", "bad.mp4", "cut.png"}) {
        const std::string out = dir / (std::string("o_") + name);
        const ToolResult r = Upscale({dir / name, out, "--size", "640x360"});
        EXPECT_EQ(r.exitCode, 4) << name << ": " << r.err;
        ExpectOneLineError(r);
        EXPECT_FALSE(fs::exists(out));
    }
}

TEST_F(BadInput, UnsupportedFormatsAndPixelFormatsAreFive) {
    const ToolResult unknownFormat =
        Upscale({Asset("grey_320x180.png"), dir / "o.qqq", "--size", "640x360"});
    EXPECT_EQ(unknownFormat.exitCode, 5);
    ExpectOneLineError(unknownFormat);

    ClipSpec spec;
    spec.frames = 1;
    spec.audio = false;
    MakeClip(dir / "c.mkv", ReadPicture(Asset("grey_320x180.png")), spec);
    const std::vector<std::vector<std::string>> cases = {
        {"--pix-fmt", "no_such_format"},
        {"--codec", "prores_ks", "--pix-fmt", "yuv420p"},
        {"--codec", "no_such_codec"},
    };
    for (const auto& extra : cases) {
        std::vector<std::string> args = {dir / "c.mkv", dir / "o.mov", "--size", "640x360"};
        args.insert(args.end(), extra.begin(), extra.end());
        const ToolResult r = Upscale(args);
        EXPECT_EQ(r.exitCode, 5) << extra.back() << ": " << r.err;
        ExpectOneLineError(r);
        EXPECT_FALSE(fs::exists(dir / "o.mov"));
    }
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

TEST_F(BadInput, SizesOutsideTheEnginesLimitsAreSix) {
    Picture tiny;
    tiny.width = 3;
    tiny.height = 3;
    tiny.rgba.assign(3 * 3 * 4, 200);
    WritePicture(dir / "tiny.png", tiny, 3);
    const ToolResult small = Upscale({dir / "tiny.png", dir / "o.png", "--size", "640x360"});
    EXPECT_EQ(small.exitCode, 6);
    ExpectOneLineError(small);

    Picture strip;
    strip.width = 2000;
    strip.height = 4;
    strip.rgba.assign(2000 * 4 * 4, 90);
    WritePicture(dir / "strip.png", strip, 3);
    // Fit to height 2160 makes it 1,080,000 pixels wide.
    const ToolResult huge = Upscale({dir / "strip.png", dir / "o.png", "--preset", "25"});
    EXPECT_EQ(huge.exitCode, 6);
    ExpectOneLineError(huge);
    const ToolResult custom =
        Upscale({Asset("grey_320x180.png"), dir / "o.png", "--size", "9000x9000"});
    EXPECT_EQ(custom.exitCode, 6);
    const ToolResult pipeTiny =
        RunQuillon({"pipe", "--in-size", "3x100", "--size", "200x200", "-q"});
    EXPECT_EQ(pipeTiny.exitCode, 6);
    EXPECT_FALSE(fs::exists(dir / "o.png"));
}

TEST_F(BadInput, TargetSmallerThanSourceIsSeven) {
    const ToolResult r = Upscale({Asset("cups_320x180.png"), dir / "o.png", "--size", "300x200"});
    EXPECT_EQ(r.exitCode, 7);
    ExpectOneLineError(r);
    EXPECT_NE(r.err.find("smaller than the source"), std::string::npos);
}

TEST_F(BadInput, UnknownPresetIsEight) {
    for (const char* preset : {"29", "0", "Ultra HD (3840 x 2160) Fit To Nothing"}) {
        const ToolResult r =
            Upscale({Asset("cups_320x180.png"), dir / "o.png", "--preset", preset});
        EXPECT_EQ(r.exitCode, 8) << preset;
        ExpectOneLineError(r);
    }
}

TEST_F(BadInput, ExistingOutputNeedsForceAndInputIsNeverOverwritten) {
    const std::string in = dir / "in.png";
    fs::copy_file(Asset("grey_320x180.png"), in);
    WriteBytes(dir / "o.png", "keep me");
    const ToolResult refused = Upscale({in, dir / "o.png", "--size", "400x225"});
    EXPECT_EQ(refused.exitCode, 10);
    ExpectOneLineError(refused);
    EXPECT_EQ(fs::file_size(dir / "o.png"), 7u);

    const ToolResult forced = Upscale({in, dir / "o.png", "--size", "400x225", "-y"});
    EXPECT_EQ(forced.exitCode, 0) << forced.err;
    EXPECT_EQ(ReadPicture(dir / "o.png").width, 400);

    const auto before = fs::file_size(in);
    const ToolResult self = Upscale({in, in, "--size", "400x225", "--force"});
    EXPECT_EQ(self.exitCode, 10);
    EXPECT_EQ(fs::file_size(in), before);
    EXPECT_TRUE(dir.HiddenFiles().empty());
}

TEST_F(BadInput, UsageErrorsAreTwo) {
    const std::vector<std::vector<std::string>> cases = {
        {"upscale", Asset("cups_320x180.png"), dir / "o.png", "--filter", "sharpest"},
        {"upscale", Asset("cups_320x180.png"), dir / "o.png", "--sharpness", "26"},
        {"upscale", Asset("cups_320x180.png"), dir / "o.png", "--anti-aliasing", "11"},
        {"upscale", Asset("cups_320x180.png"), dir / "o.png", "--size", "big"},
        {"pipe", "--size", "640x360"},
        {"pipe", "--in-size", "320x180", "--depth", "12"},
        {"frobnicate"},
    };
    for (const auto& args : cases) {
        const ToolResult r = RunQuillon(args);
        EXPECT_EQ(r.exitCode, 2) << args.back() << ": " << r.err;
        ExpectOneLineError(r);
    }
}

}  // namespace
}  // namespace quillon::test
