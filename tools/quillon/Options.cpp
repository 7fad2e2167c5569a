#include "Options.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdio>

#include "Errors.h"

namespace quillon {

namespace {

struct RawCommon {
    std::string preset;
    std::string size;
    std::string fit;
    std::string comp;
    std::string filter = "quick";
};

void AddCommon(CLI::App* app, CommonOptions& o, RawCommon& raw) {
    app->add_option(
        "--preset", raw.preset,
        "Size preset of the effect's 4K table, by position or text (see 'quillon presets')");
    app->add_option("--size", raw.size, "Custom target size WxH (W or xH with --keep-aspect)");
    app->add_option("--fit", raw.fit, "Fit the --size box (or the composition) by width or height")
        ->check(CLI::IsMember({"width", "height"}));
    app->add_flag("--keep-aspect", o.size.keepAspect,
                  "Keep the source's proportions: the other side of --size follows");
    app->add_option("--pixel-aspect", o.size.pixelAspect, "Pixel aspect ratio of the source")
        ->capture_default_str();
    app->add_option("--comp", raw.comp,
                    "Composition size WxH for the \"Fit To Comp\" presets (default: 3840x2160)");
    app->add_option("--comp-pixel-aspect", o.size.compPixelAspect,
                    "Pixel aspect ratio of the composition")
        ->capture_default_str();
    app->add_option("--filter", raw.filter, "Filter Type: draft, quick, better or best")
        ->capture_default_str();
    app->add_option("--sharpness", o.controls.sharpness, "Sharpness 0..25")
        ->check(CLI::Range(kSharpnessRange.minimum, kSharpnessRange.maximum))
        ->capture_default_str();
    app->add_option("--quality", o.controls.quality, "Quality 0..25")
        ->check(CLI::Range(kQualityRange.minimum, kQualityRange.maximum))
        ->capture_default_str();
    app->add_option("--anti-aliasing", o.controls.antiAliasing, "Anti-aliasing 0..10")
        ->check(CLI::Range(kAntiAliasingRange.minimum, kAntiAliasingRange.maximum))
        ->capture_default_str();
    app->add_flag("-q,--quiet", o.quiet, "No progress bar and no result line");
    app->add_flag("--json", o.json, "Print a JSON summary of the run");
}

std::optional<SizeSpec> FullSize(const std::string& text) {
    auto spec = ParseSizeSpec(text);
    if (!spec || !spec->width || !spec->height) {
        return std::nullopt;
    }
    return spec;
}

// Checks and converts the raw strings; throws QuillonError(Usage).
void FinishCommon(CommonOptions& o, const RawCommon& raw) {
    if (!raw.preset.empty()) {
        o.size.preset = raw.preset;
    }
    if (!raw.size.empty()) {
        o.size.size = ParseSizeSpec(raw.size);
        if (!o.size.size) {
            throw QuillonError(ExitCode::Usage, "--size expects WxH, got '" + raw.size + "'");
        }
    }
    if (!raw.fit.empty()) {
        o.size.fit = raw.fit == "width" ? FitMode::Width : FitMode::Height;
    }
    if (!raw.comp.empty()) {
        o.size.comp = FullSize(raw.comp);
        if (!o.size.comp) {
            throw QuillonError(ExitCode::Usage, "--comp expects WxH, got '" + raw.comp + "'");
        }
    }
    const auto filter = ParseFilterType(raw.filter);
    if (!filter) {
        throw QuillonError(ExitCode::Usage, "--filter must be draft, quick, better or best, got '" +
                                                raw.filter + "'");
    }
    o.controls.filter = *filter;
}

std::optional<uint32_t> ParseCoordinate(const std::string& text) {
    uint32_t v = 0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    if (text.empty() || r.ec != std::errc() || r.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return v;
}

}  // namespace

std::optional<EightBitKernel> ParseEightBitKernel(const std::string& text) {
    if (text == "cell") {
        return EightBitKernel::Cell;
    }
    if (text == "two-pass") {
        return EightBitKernel::TwoPass;
    }
    if (text == "none") {
        return EightBitKernel::None;
    }
    return std::nullopt;
}

const char* EightBitKernelName(EightBitKernel kernel) {
    switch (kernel) {
        case EightBitKernel::Cell:
            return "cell";
        case EightBitKernel::None:
            return "none";
        case EightBitKernel::TwoPass:
            return "two-pass";
    }
    return "two-pass";
}

std::optional<int64_t> ParseBitrate(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    int64_t scale = 1;
    std::string digits = text;
    const char last = text.back();
    if (last == 'k' || last == 'K') {
        scale = 1000;
        digits.pop_back();
    } else if (last == 'm' || last == 'M') {
        scale = 1000000;
        digits.pop_back();
    }
    int64_t value = 0;
    const auto r = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || r.ec != std::errc() || r.ptr != digits.data() + digits.size() ||
        value <= 0 || value > INT64_MAX / scale) {
        return std::nullopt;
    }
    return value * scale;
}

std::optional<int> ParseCommandLine(int argc, const char* const* argv, ParsedCommandLine& parsed) {
    CLI::App app{"quillon: enlarges stills, image sequences, video and raw frame streams"};
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--cpu", parsed.execution.cpu,
                   "Highest instruction-set level: scalar, sse2, avx2 or avx512")
        ->check(CLI::IsMember({"scalar", "sse2", "avx2", "avx512"}));
    app.add_option("--threads", parsed.execution.threads,
                   "Threads of the run (1..256): the engine splits a frame over them, and "
                   "sequences and video keep as many stages busy at once")
        ->check(CLI::Range(1, 256));

    UpscaleOptions& up = parsed.upscale;
    RawCommon upRaw;
    std::string frames;
    std::string bitrate;
    std::string compareCrop;
    std::string compareAt;
    std::optional<int> crf;
    std::string compression = CompressionName(Compression::Fast);
    std::string colourspace = "bt709";
    CLI::App* upscale =
        app.add_subcommand("upscale", "Enlarge a still, an image sequence or a video file");
    upscale
        ->add_option("input", up.input, "Input file, or a sequence pattern such as shot.%04d.dpx")
        ->required();
    upscale->add_option("output", up.output, "Output file, or a sequence pattern")->required();
    AddCommon(upscale, up, upRaw);
    upscale->add_option("--frames", frames,
                        "Frame range FIRST-LAST: frame numbers of a sequence, indices from 0 of "
                        "a video (video only, no audio)");
    upscale->add_flag("-y,--force", up.force, "Replace an existing output");
    upscale->add_option("--codec", up.video.codec,
                        "Video encoder (default: chosen by the container)");
    upscale->add_option("--crf", crf, "Constant-quality value for the video encoder");
    upscale->add_option("--bitrate", bitrate, "Video bit rate, such as 40M");
    upscale->add_option("--pix-fmt", up.video.pixelFormat,
                        "Encoder pixel format, such as yuv422p10le");
    upscale->add_option("--encoder-preset", up.video.preset, "Encoder speed preset, such as slow");
    upscale->add_option("--codec-opt", up.video.codecOptions,
                        "Private encoder option KEY=VALUE (repeatable)");
    upscale->add_flag("--verbose", up.video.verbose, "Let FFmpeg log to standard error");
    upscale
        ->add_option("--compression", compression,
                     "Still writers (PNG, TIFF, OpenEXR), all lossless: fast, balanced, small "
                     "or none")
        ->check(CLI::IsMember({"fast", "balanced", "small", "none"}))
        ->capture_default_str();
    upscale
        ->add_option("--colorspace", colourspace,
                     "Video colour: bt709 converts SD colour to BT.709 when the target is HD or "
                     "larger; keep keeps the source's")
        ->check(CLI::IsMember({"bt709", "keep"}))
        ->capture_default_str();
    upscale->add_option(
        "--compare", up.compare,
        "Also write a side-by-side crop (nearest neighbour | quillon) as PNG (stills)");
    upscale->add_option("--compare-crop", compareCrop,
                        "Size WxH of the compared crop (default 960x540)");
    upscale->add_option(
        "--compare-at", compareAt,
        "Top-left corner X,Y of the crop (default: where the picture has most detail)");

    PipeOptions& pipe = parsed.pipe;
    RawCommon pipeRaw;
    std::string inSize;
    std::string kernel = "two-pass";
    CLI::App* pipeCmd = app.add_subcommand(
        "pipe", "Enlarge raw frames from standard input to standard output (bgra or rgba64le)");
    pipeCmd->add_option("--in-size", inSize, "Size WxH of the input frames")->required();
    pipeCmd->add_option("--depth", pipe.depth, "8 (bgra) or 16 (rgba64le)")
        ->check(CLI::IsMember({8, 16}))
        ->capture_default_str();
    pipeCmd->add_option("--kernel", kernel, "8-bit kernel: cell, two-pass or none")
        ->check(CLI::IsMember({"cell", "two-pass", "none"}))
        ->capture_default_str();
    AddCommon(pipeCmd, pipe, pipeRaw);

    CLI::App* presets = app.add_subcommand("presets", "List the size presets");
    CLI::App* info = app.add_subcommand(
        "info", "Print the version, the instruction-set levels and the thread count");
    app.add_subcommand("farm", "Split an upscale into chunks for a render farm (farm --help)");

    try {
        app.parse(argc, argv);
        if (upscale->parsed()) {
            parsed.command = Command::Upscale;
            FinishCommon(up, upRaw);
            if (!frames.empty()) {
                up.frames = frames;
            }
            up.video.crf = crf;
            up.compression = *ParseCompression(compression);
            up.video.colour =
                colourspace == "keep" ? ColourConversion::Keep : ColourConversion::Bt709;
            if (!bitrate.empty()) {
                up.video.bitrate = ParseBitrate(bitrate);
                if (!up.video.bitrate) {
                    throw QuillonError(
                        ExitCode::Usage,
                        "--bitrate expects a number such as 40M, got '" + bitrate + "'");
                }
            }
            if (!compareCrop.empty()) {
                up.compareCrop = FullSize(compareCrop);
                if (!up.compareCrop) {
                    throw QuillonError(ExitCode::Usage,
                                       "--compare-crop expects WxH, got '" + compareCrop + "'");
                }
            }
            if (!compareAt.empty()) {
                const size_t comma = compareAt.find(',');
                const auto x = comma == std::string::npos
                                   ? std::nullopt
                                   : ParseCoordinate(compareAt.substr(0, comma));
                const auto y = comma == std::string::npos
                                   ? std::nullopt
                                   : ParseCoordinate(compareAt.substr(comma + 1));
                if (!x || !y) {
                    throw QuillonError(ExitCode::Usage,
                                       "--compare-at expects X,Y, got '" + compareAt + "'");
                }
                up.compareX = x;
                up.compareY = y;
            }
        } else if (pipeCmd->parsed()) {
            parsed.command = Command::Pipe;
            FinishCommon(pipe, pipeRaw);
            const auto size = FullSize(inSize);
            if (!size) {
                throw QuillonError(ExitCode::Usage, "--in-size expects WxH, got '" + inSize + "'");
            }
            pipe.inWidth = *size->width;
            pipe.inHeight = *size->height;
            pipe.kernel = *ParseEightBitKernel(kernel);
        } else if (presets->parsed()) {
            parsed.command = Command::Presets;
        } else if (info->parsed()) {
            parsed.command = Command::Info;
        }
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        std::string message = e.what();
        for (char& c : message) {
            if (c == '\n') {
                c = ' ';
            }
        }
        std::fprintf(stderr, "quillon: error: %s (try --help)\n", message.c_str());
        return static_cast<int>(ExitCode::Usage);
    } catch (const QuillonError& e) {
        std::fprintf(stderr, "quillon: error: %s\n", e.what());
        return static_cast<int>(e.code());
    }
    return std::nullopt;
}

}  // namespace quillon
