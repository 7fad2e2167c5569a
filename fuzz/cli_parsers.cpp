// The command-line tool's parsers, called directly: sequence patterns (with
// the formatting and matching round trip), frame ranges, sizes, presets,
// filter and kernel names, bit rates, and whole command lines followed by the
// target-size rules. The first byte picks the parser; the rest is its text.
//
// Checked beside the sanitizers: a parser either refuses or gives a value
// inside its documented range, a pattern matches its own formatted names, and
// only the documented QuillonError ever leaves the size rules.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Errors.h"
#include "Options.h"
#include "SequencePattern.h"
#include "TargetSize.h"
#include "fuzz/ByteReader.h"

namespace {

using quillon::fuzz::ByteReader;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void Patterns(ByteReader& in) {
    const std::string text = in.String(48);
    const int64_t frame = in.Range(0, 2000000000);
    const std::string other = in.String(48);
    (void)quillon::LooksLikePattern(text);
    const auto pattern = quillon::SequencePattern::Parse(text);
    if (!pattern) {
        return;
    }
    Require(pattern->width() >= 0 && pattern->width() <= 9);
    const std::string name = pattern->Format(frame);
    const auto back = pattern->Match(name);
    Require(back.has_value() && *back == frame);
    (void)pattern->Match(other);
}

void Ranges(ByteReader& in) {
    const auto range = quillon::ParseFrameRange(in.String(40));
    if (range) {
        Require(range->first >= 0 && range->first <= range->last && range->count() >= 1);
    }
}

void Sizes(ByteReader& in) {
    const auto size = quillon::ParseSizeSpec(in.String(40));
    if (size) {
        Require(size->width.has_value() || size->height.has_value());
    }
    const uint32_t side = in.U32();
    const double ratio = static_cast<double>(in.U32()) / static_cast<double>(in.Range(1, 1000000));
    const uint32_t h = quillon::ConstrainedHeight(side, ratio);
    const uint32_t w = quillon::ConstrainedWidth(side, ratio);
    const auto low = static_cast<uint32_t>(quillon::kCustomSideRange.minimum);
    const auto high = static_cast<uint32_t>(quillon::kCustomSideRange.maximum);
    Require(h >= low && h <= high);
    Require(w >= low && w <= high);
}

void Names(ByteReader& in) {
    const std::string text = in.String(40);
    try {
        const int position = quillon::FindPresetPosition(text);
        Require(position >= 1);
    } catch (const quillon::QuillonError&) {
    }
    (void)quillon::ParseFilterType(text);
    (void)quillon::ParseEightBitKernel(text);
    const auto bitrate = quillon::ParseBitrate(text);
    Require(!bitrate || *bitrate > 0);
}

// A whole command line (arguments separated by zero bytes), then the size
// rules on the parsed request for a source of fuzzed size.
void CommandLine(ByteReader& in) {
    const uint32_t sourceWidth = in.Range(0, 70000);
    const uint32_t sourceHeight = in.Range(0, 70000);
    const int bits = in.Bool() ? 16 : 8;
    std::vector<std::string> args = {"quillon"};
    std::string current;
    const std::string text = in.String(255);
    for (const char c : text) {
        if (c == '\0') {
            args.push_back(current);
            current.clear();
        } else {
            current.push_back(c);
        }
    }
    args.push_back(current);
    std::vector<const char*> argv;
    for (const std::string& a : args) {
        argv.push_back(a.c_str());
    }
    quillon::ParsedCommandLine parsed;
    const auto exit = quillon::ParseCommandLine(static_cast<int>(argv.size()), argv.data(), parsed);
    if (exit) {
        Require(*exit == 0 || *exit == 2);
        return;
    }
    const quillon::SizeRequest& request =
        parsed.command == quillon::Command::Pipe ? parsed.pipe.size : parsed.upscale.size;
    try {
        const quillon::ResolvedSize size =
            quillon::ResolveTargetSize(request, sourceWidth, sourceHeight);
        quillon::CheckScaleSizes(sourceWidth, sourceHeight, size.width, size.height, bits);
    } catch (const quillon::QuillonError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader in(data, size);
    switch (in.Byte() % 5) {
        case 0:
            Patterns(in);
            break;
        case 1:
            Ranges(in);
            break;
        case 2:
            Sizes(in);
            break;
        case 3:
            Names(in);
            break;
        default:
            CommandLine(in);
            break;
    }
    return 0;
}
