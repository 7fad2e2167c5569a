#include "VideoIO.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cctype>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <system_error>

#include "Errors.h"
#include "FramePipeline.h"
#include "Interrupt.h"
#include "RunSummary.h"
#include "StillIO.h"

namespace fs = std::filesystem;

namespace quillon {

namespace {

using Clock = std::chrono::steady_clock;

std::string AvError(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

struct InputDeleter {
    void operator()(AVFormatContext* c) const { avformat_close_input(&c); }
};
struct OutputDeleter {
    void operator()(AVFormatContext* c) const {
        if (c != nullptr && c->oformat != nullptr && !(c->oformat->flags & AVFMT_NOFILE)) {
            avio_closep(&c->pb);
        }
        avformat_free_context(c);
    }
};
struct CodecDeleter {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameDeleter {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketDeleter {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct SwsDeleter {
    void operator()(SwsContext* s) const { sws_freeContext(s); }
};
struct DictHolder {
    AVDictionary* d = nullptr;
    DictHolder() = default;
    DictHolder(const DictHolder&) = delete;
    DictHolder& operator=(const DictHolder&) = delete;
    ~DictHolder() { av_dict_free(&d); }
};

using InputPtr = std::unique_ptr<AVFormatContext, InputDeleter>;
using OutputPtr = std::unique_ptr<AVFormatContext, OutputDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, CodecDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using SwsPtr = std::unique_ptr<SwsContext, SwsDeleter>;

[[noreturn]] void OutOfMemory(const char* what) {
    throw QuillonError(ExitCode::OutOfMemory, std::string("out of memory (") + what + ")");
}

FramePtr NewFrame() {
    FramePtr frame(av_frame_alloc());
    if (!frame) {
        OutOfMemory("video frame");
    }
    return frame;
}

PacketPtr NewPacket() {
    PacketPtr packet(av_packet_alloc());
    if (!packet) {
        OutOfMemory("video packet");
    }
    return packet;
}

void SetLogLevel(bool verbose) {
    av_log_set_level(verbose ? AV_LOG_INFO : AV_LOG_QUIET);
}

// An opened input with its video decoder.
struct Decoder {
    InputPtr format;
    CodecPtr codec;
    int videoIndex = -1;
    AVStream* stream = nullptr;
    int bits = 8;
};

Decoder OpenDecoder(const fs::path& input, int threads = 0) {
    std::error_code ec;
    if (!fs::exists(input, ec) || fs::is_directory(input, ec)) {
        throw QuillonError(ExitCode::InputMissing, "input '" + input.string() + "' does not exist");
    }
    if (!std::ifstream(input, std::ios::binary)) {
        throw QuillonError(ExitCode::InputMissing,
                           "input '" + input.string() + "' is not readable");
    }
    Decoder d;
    AVFormatContext* raw = nullptr;
    int rc = avformat_open_input(&raw, input.string().c_str(), nullptr, nullptr);
    if (rc < 0) {
        throw QuillonError(ExitCode::CorruptInput,
                           "cannot read '" + input.string() + "' as a video: " + AvError(rc));
    }
    d.format.reset(raw);
    rc = avformat_find_stream_info(raw, nullptr);
    if (rc < 0) {
        throw QuillonError(ExitCode::CorruptInput,
                           "cannot read the streams of '" + input.string() + "': " + AvError(rc));
    }
    const AVCodec* decoder = nullptr;
    d.videoIndex = av_find_best_stream(raw, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (d.videoIndex == AVERROR_STREAM_NOT_FOUND) {
        throw QuillonError(ExitCode::CorruptInput, "'" + input.string() + "' has no video stream");
    }
    if (d.videoIndex < 0 || decoder == nullptr) {
        throw QuillonError(ExitCode::Unsupported,
                           "no decoder for the video of '" + input.string() + "'");
    }
    d.stream = raw->streams[d.videoIndex];
    d.codec.reset(avcodec_alloc_context3(decoder));
    if (!d.codec) {
        OutOfMemory("decoder");
    }
    rc = avcodec_parameters_to_context(d.codec.get(), d.stream->codecpar);
    if (rc < 0) {
        throw QuillonError(ExitCode::CorruptInput,
                           "bad video parameters in '" + input.string() + "'");
    }
    d.codec->thread_count = threads;
    d.codec->pkt_timebase = d.stream->time_base;
    rc = avcodec_open2(d.codec.get(), decoder, nullptr);
    if (rc < 0) {
        throw QuillonError(ExitCode::Unsupported, "cannot open the " + std::string(decoder->name) +
                                                      " decoder: " + AvError(rc));
    }
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(d.codec->pix_fmt);
    if (desc == nullptr || (desc->flags & AV_PIX_FMT_FLAG_HWACCEL) ||
        !sws_isSupportedInput(d.codec->pix_fmt)) {
        throw QuillonError(ExitCode::Unsupported, "unsupported pixel format '" +
                                                      std::string(desc ? desc->name : "none") +
                                                      "' in '" + input.string() + "'");
    }
    d.bits = desc->comp[0].depth > 8 ? 16 : 8;
    if (d.codec->width < 4 || d.codec->height < 4) {
        throw QuillonError(ExitCode::SizeOutOfRange,
                           "'" + input.string() + "' is " + std::to_string(d.codec->width) + "x" +
                               std::to_string(d.codec->height) +
                               "; sources must be at least 4 pixels wide and high");
    }
    if (d.codec->width > 65535 || d.codec->height > 65535) {
        throw QuillonError(ExitCode::SizeOutOfRange,
                           "'" + input.string() + "' is larger than 65535 pixels a side");
    }
    return d;
}

AVRational FrameRateOf(const AVFormatContext* format, AVStream* stream) {
    AVRational rate = stream->avg_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) {
        rate = av_guess_frame_rate(const_cast<AVFormatContext*>(format), stream, nullptr);
    }
    return rate;
}

int64_t EstimateFrameCount(const AVFormatContext* format, const AVStream* stream, AVRational rate) {
    if (stream->nb_frames > 0) {
        return stream->nb_frames;
    }
    if (stream->duration > 0 && rate.num > 0) {
        return av_rescale_q(stream->duration, stream->time_base, av_inv_q(rate));
    }
    if (format->duration > 0 && rate.num > 0) {
        return av_rescale_q(format->duration, AV_TIME_BASE_Q, av_inv_q(rate));
    }
    return 0;
}

// Picks the default quality settings of an encoder unless the user chose.
void ApplyEncoderDefaults(AVCodecContext* enc, AVDictionary** dict, const VideoEncodeOptions& o) {
    const std::string name = enc->codec->name;
    if (o.bitrate) {
        enc->bit_rate = *o.bitrate;
    }
    const bool x26x = name == "libx264" || name == "libx265";
    if (x26x || name == "libvpx-vp9" || name == "libaom-av1") {
        if (o.crf) {
            av_dict_set_int(dict, "crf", *o.crf, 0);
        } else if (!o.bitrate) {
            av_dict_set_int(dict, "crf", name == "libx264" ? 18 : (name == "libx265" ? 20 : 31), 0);
        }
        if (!o.bitrate && name != "libx264" && name != "libx265") {
            enc->bit_rate = 0;
        }
    } else if (!o.bitrate && (name == "mpeg4" || name == "mjpeg" || name == "mpeg2video")) {
        // Fixed quantiser 3 (-q:v 3): near-transparent for these older codecs.
        const int q = o.crf.value_or(3);
        enc->flags |= AV_CODEC_FLAG_QSCALE;
        enc->global_quality = FF_QP2LAMBDA * q;
    }
    if (!o.preset.empty()) {
        av_dict_set(dict, "preset", o.preset.c_str(), 0);
    }
    if (x26x) {
        // Frames reach the encoder one at a time; a shorter look-ahead keeps
        // memory sane at 4K without a visible quality cost.
        if (av_dict_get(*dict, "rc-lookahead", nullptr, 0) == nullptr && name == "libx264") {
            av_dict_set(dict, "rc-lookahead", "20", 0);
        }
    }
    for (const std::string& kv : o.codecOptions) {
        const size_t eq = kv.find('=');
        if (eq == std::string::npos || eq == 0) {
            throw QuillonError(ExitCode::Usage, "--codec-opt expects KEY=VALUE, got '" + kv + "'");
        }
        av_dict_set(dict, kv.substr(0, eq).c_str(), kv.substr(eq + 1).c_str(), 0);
    }
}

AVPixelFormat ChooseEncoderFormat(const AVCodec* codec, AVPixelFormat source, int bits,
                                  const std::string& requested) {
    if (!requested.empty()) {
        const AVPixelFormat wanted = av_get_pix_fmt(requested.c_str());
        if (wanted == AV_PIX_FMT_NONE) {
            throw QuillonError(ExitCode::Unsupported, "unknown pixel format '" + requested + "'");
        }
        if (codec->pix_fmts != nullptr) {
            bool listed = false;
            for (const AVPixelFormat* p = codec->pix_fmts; *p != AV_PIX_FMT_NONE; ++p) {
                listed = listed || *p == wanted;
            }
            if (!listed) {
                throw QuillonError(
                    ExitCode::Unsupported,
                    "the " + std::string(codec->name) + " encoder does not take " + requested);
            }
        }
        return wanted;
    }
    if (codec->pix_fmts == nullptr) {
        return bits == 16 ? AV_PIX_FMT_RGBA64LE : AV_PIX_FMT_RGBA;
    }
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(source);
    const int hasAlpha = desc != nullptr && (desc->flags & AV_PIX_FMT_FLAG_ALPHA) ? 1 : 0;
    int loss = 0;
    return avcodec_find_best_pix_fmt_of_list(codec->pix_fmts, source, hasAlpha, &loss);
}

// Builds a converter between two frame layouts of the same size, sliced
// over `threads` threads, with the YUV side's matrix and range.
SwsPtr MakeConverter(int width, int height, AVPixelFormat from, AVPixelFormat to, int flags,
                     int threads, const ColourDescription& yuvSide, bool toRgb) {
    SwsPtr sws(sws_alloc_context());
    if (!sws) {
        OutOfMemory("pixel converter");
    }
    SwsContext* c = sws.get();
    av_opt_set_int(c, "srcw", width, 0);
    av_opt_set_int(c, "srch", height, 0);
    av_opt_set_int(c, "src_format", from, 0);
    av_opt_set_int(c, "dstw", width, 0);
    av_opt_set_int(c, "dsth", height, 0);
    av_opt_set_int(c, "dst_format", to, 0);
    av_opt_set_int(c, "sws_flags", flags, 0);
    av_opt_set_int(c, "threads", threads, 0);
    if (sws_init_context(c, nullptr, nullptr) < 0) {
        return nullptr;
    }
    const int* coefficients = sws_getCoefficients(yuvSide.matrix);
    const int full = yuvSide.range == AVCOL_RANGE_JPEG ? 1 : 0;
    int* invTable = nullptr;
    int* table = nullptr;
    int srcRange = 0;
    int dstRange = 0;
    int brightness = 0;
    int contrast = 0;
    int saturation = 0;
    if (sws_getColorspaceDetails(c, &invTable, &srcRange, &table, &dstRange, &brightness, &contrast,
                                 &saturation) >= 0) {
        if (toRgb) {
            sws_setColorspaceDetails(c, coefficients, full, table, 1, brightness, contrast,
                                     saturation);
        } else {
            sws_setColorspaceDetails(c, invTable, 1, coefficients, full, brightness, contrast,
                                     saturation);
        }
    }
    return sws;
}

// An AVFrame that borrows packed pixels (their owner outlives it).
void Borrow(AVFrame* frame, uint8_t* data, uint32_t width, uint32_t height, int pixelBytes,
            AVPixelFormat format) {
    av_frame_unref(frame);
    const size_t bytes = size_t{width} * height * static_cast<size_t>(pixelBytes);
    frame->buf[0] = av_buffer_create(
        data, bytes, [](void*, uint8_t*) {}, nullptr, 0);
    if (frame->buf[0] == nullptr) {
        OutOfMemory("frame reference");
    }
    frame->data[0] = data;
    frame->linesize[0] = static_cast<int>(width) * pixelBytes;
    frame->width = static_cast<int>(width);
    frame->height = static_cast<int>(height);
    frame->format = format;
}

void BorrowRgba(AVFrame* frame, RgbaImage& image) {
    const bool deep = image.bits == 16;
    Borrow(frame, deep ? reinterpret_cast<uint8_t*>(image.pixels16.data()) : image.pixels8.data(),
           image.width, image.height, deep ? 8 : 4, deep ? AV_PIX_FMT_RGBA64LE : AV_PIX_FMT_RGBA);
}

// An 8-bit working frame seen as BGRA: its fourth byte is transparency.
void BorrowWorking8(AVFrame* frame, WorkingFrame& working) {
    Borrow(frame, working.bytes.data(), working.width, working.height, 4, AV_PIX_FMT_BGRA);
}

// 8-bit BGRA with alpha to a working frame in place: transparency = 255 - A.
void AlphaToTransparency8(WorkingFrame& working) {
    uint8_t* p = working.bytes.data();
    const size_t n = working.PixelCount();
    for (size_t i = 0; i < n; ++i) {
        p[i * 4 + 3] = static_cast<uint8_t>(p[i * 4 + 3] ^ 0xFF);
    }
}

// Buffers of one video frame in flight.
struct VideoSlot {
    FramePtr decoded;
    RgbaImage source;  // 16 bits, and results with alpha
    RgbaImage result;
    WorkingFrame workSource;
    WorkingFrame workResult;
    FramePtr encoded;
    FramePtr borrowed;  // the RGBA image seen as an AVFrame
    int64_t pts = AV_NOPTS_VALUE;
    std::vector<PacketPtr> audio;  // audio packets read before this frame
};

}  // namespace

bool IsYuvFormat(AVPixelFormat format) {
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
    return desc != nullptr && !(desc->flags & AV_PIX_FMT_FLAG_RGB) && desc->nb_components >= 3;
}

ColourDescription SourceColour(AVColorSpace matrix, AVColorPrimaries primaries,
                               AVColorTransferCharacteristic transfer, AVColorRange range,
                               int height, bool yuv) {
    const bool sd = height < 720;
    const bool pal = height == 576;
    ColourDescription c;
    c.matrix = matrix;
    if (!yuv) {
        c.matrix = AVCOL_SPC_RGB;
    } else if (matrix == AVCOL_SPC_UNSPECIFIED || matrix == AVCOL_SPC_RESERVED ||
               matrix == AVCOL_SPC_RGB) {
        c.matrix = sd ? (pal ? AVCOL_SPC_BT470BG : AVCOL_SPC_SMPTE170M) : AVCOL_SPC_BT709;
    }
    c.primaries = primaries;
    if (primaries == AVCOL_PRI_UNSPECIFIED || primaries == AVCOL_PRI_RESERVED ||
        primaries == AVCOL_PRI_RESERVED0) {
        c.primaries = sd ? (pal ? AVCOL_PRI_BT470BG : AVCOL_PRI_SMPTE170M) : AVCOL_PRI_BT709;
    }
    c.transfer = transfer;
    if (transfer == AVCOL_TRC_UNSPECIFIED || transfer == AVCOL_TRC_RESERVED ||
        transfer == AVCOL_TRC_RESERVED0) {
        c.transfer = sd ? AVCOL_TRC_SMPTE170M : AVCOL_TRC_BT709;
    }
    c.range = range;
    if (range == AVCOL_RANGE_UNSPECIFIED) {
        c.range = yuv ? AVCOL_RANGE_MPEG : AVCOL_RANGE_JPEG;
    }
    return c;
}

ColourDescription OutputColour(const ColourDescription& source, int targetHeight,
                               ColourConversion conversion, bool yuvOutput) {
    ColourDescription c = source;
    const bool sdMatrix =
        source.matrix == AVCOL_SPC_SMPTE170M || source.matrix == AVCOL_SPC_BT470BG;
    const bool sdRgb = source.matrix == AVCOL_SPC_RGB && (source.primaries == AVCOL_PRI_SMPTE170M ||
                                                          source.primaries == AVCOL_PRI_BT470BG);
    if (conversion == ColourConversion::Bt709 && targetHeight >= 720 && (sdMatrix || sdRgb)) {
        c.matrix = AVCOL_SPC_BT709;
        c.primaries = AVCOL_PRI_BT709;
        c.transfer = AVCOL_TRC_BT709;
    }
    if (!yuvOutput) {
        c.matrix = AVCOL_SPC_RGB;
        c.range = AVCOL_RANGE_JPEG;
    } else if (c.matrix == AVCOL_SPC_RGB) {
        c.matrix = targetHeight >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
        c.range = AVCOL_RANGE_MPEG;
    }
    return c;
}

bool IsVideoContainer(const fs::path& path) {
    return av_guess_format(nullptr, path.filename().string().c_str(), nullptr) != nullptr;
}

std::string DefaultVideoCodec(const fs::path& output, int bits) {
    const std::string ext = LowerExtension(output);
    const bool deep = bits > 8;
    if (ext == ".mp4" || ext == ".m4v") {
        return "libx264";
    }
    if (ext == ".mov") {
        return deep ? "prores_ks" : "libx264";
    }
    if (ext == ".mkv") {
        return deep ? "ffv1" : "libx264";
    }
    if (ext == ".avi") {
        return deep ? "ffv1" : "mpeg4";
    }
    if (ext == ".webm") {
        return "libvpx-vp9";
    }
    if (ext == ".nut") {
        return "ffv1";
    }
    const AVOutputFormat* format =
        av_guess_format(nullptr, output.filename().string().c_str(), nullptr);
    if (format != nullptr && format->video_codec != AV_CODEC_ID_NONE) {
        const AVCodec* codec = avcodec_find_encoder(format->video_codec);
        if (codec != nullptr) {
            return codec->name;
        }
    }
    return "";
}

VideoInfo ProbeVideo(const fs::path& input) {
    SetLogLevel(false);
    Decoder d = OpenDecoder(input);
    VideoInfo info;
    info.width = static_cast<uint32_t>(d.codec->width);
    info.height = static_cast<uint32_t>(d.codec->height);
    info.bits = d.bits;
    info.codecName = d.codec->codec->name;
    info.pixelFormat = av_get_pix_fmt_name(d.codec->pix_fmt);
    const AVRational rate = FrameRateOf(d.format.get(), d.stream);
    info.frameRateNum = rate.num;
    info.frameRateDen = rate.den;
    info.timeBaseNum = d.stream->time_base.num;
    info.timeBaseDen = d.stream->time_base.den;
    info.frameCount = EstimateFrameCount(d.format.get(), d.stream, rate);
    for (unsigned i = 0; i < d.format->nb_streams; ++i) {
        if (d.format->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            ++info.audioStreams;
        }
    }
    return info;
}

int64_t TranscodeVideo(const fs::path& input, const fs::path& output, uint32_t dstWidth,
                       uint32_t dstHeight, const VideoEncodeOptions& options,
                       const FrameFunction& process, const std::function<void(int64_t)>& progress,
                       VideoTimings& timings) {
    SetLogLevel(options.verbose);
    const int threads = std::max(options.threads, 1);
    Decoder d = OpenDecoder(input, threads);
    AVFormatContext* in = d.format.get();
    const AVRational rate = FrameRateOf(in, d.stream);
    const std::string outName = output.string();
    const std::string inName = input.string();

    // Output container and video encoder.
    AVFormatContext* rawOut = nullptr;
    if (avformat_alloc_output_context2(&rawOut, nullptr, nullptr, outName.c_str()) < 0 || !rawOut) {
        throw QuillonError(
            ExitCode::Unsupported,
            "'" + output.extension().string() + "' is not a video container quillon can write");
    }
    OutputPtr out(rawOut);
    const std::string codecName =
        options.codec.empty() ? DefaultVideoCodec(output, d.bits) : options.codec;
    const AVCodec* encoder =
        codecName.empty() ? nullptr : avcodec_find_encoder_by_name(codecName.c_str());
    if (encoder == nullptr || encoder->type != AVMEDIA_TYPE_VIDEO) {
        throw QuillonError(ExitCode::Unsupported, "no video encoder named '" + codecName + "'");
    }
    if (avformat_query_codec(out->oformat, encoder->id, FF_COMPLIANCE_NORMAL) == 0) {
        throw QuillonError(ExitCode::Unsupported, std::string("the ") + encoder->name +
                                                      " codec cannot be stored in a " +
                                                      output.extension().string() + " file");
    }
    CodecPtr enc(avcodec_alloc_context3(encoder));
    if (!enc) {
        OutOfMemory("encoder");
    }
    const AVPixelFormat encFormat =
        ChooseEncoderFormat(encoder, d.codec->pix_fmt, d.bits, options.pixelFormat);
    const AVPixFmtDescriptor* encDesc = av_pix_fmt_desc_get(encFormat);
    if (encDesc == nullptr || !sws_isSupportedOutput(encFormat)) {
        throw QuillonError(ExitCode::Unsupported, "cannot convert frames for the " +
                                                      std::string(encoder->name) + " encoder");
    }
    if (((dstWidth & 1) && encDesc->log2_chroma_w) || ((dstHeight & 1) && encDesc->log2_chroma_h)) {
        throw QuillonError(ExitCode::Unsupported,
                           "the target " + std::to_string(dstWidth) + "x" +
                               std::to_string(dstHeight) + " is odd but " + encDesc->name +
                               " needs even sizes; choose another size or --pix-fmt");
    }
    // Colour: the source as a player takes it, the output tagged explicitly.
    const ColourDescription sourceColour =
        SourceColour(d.codec->colorspace, d.codec->color_primaries, d.codec->color_trc,
                     d.codec->color_range, d.codec->height, IsYuvFormat(d.codec->pix_fmt));
    const ColourDescription outColour = OutputColour(sourceColour, static_cast<int>(dstHeight),
                                                     options.colour, IsYuvFormat(encFormat));
    timings.sourceColour = sourceColour;
    timings.outputColour = outColour;

    enc->width = static_cast<int>(dstWidth);
    enc->height = static_cast<int>(dstHeight);
    enc->pix_fmt = encFormat;
    enc->sample_aspect_ratio = AVRational{1, 1};
    enc->time_base = d.stream->time_base;
    if (encoder->id == AV_CODEC_ID_MPEG4 && enc->time_base.den > 65535 && rate.num > 0) {
        enc->time_base = av_inv_q(rate);  // MPEG-4 part 2 limits the time base to 16 bits
    }
    enc->framerate = rate;
    enc->thread_count = threads;
    enc->color_range = outColour.range;
    enc->colorspace = outColour.matrix;
    enc->color_primaries = outColour.primaries;
    enc->color_trc = outColour.transfer;
    if (out->oformat->flags & AVFMT_GLOBALHEADER) {
        enc->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    DictHolder dict;
    ApplyEncoderDefaults(enc.get(), &dict.d, options);
    int rc = avcodec_open2(enc.get(), encoder, &dict.d);
    if (rc < 0) {
        throw QuillonError(ExitCode::Unsupported, "cannot open the " + std::string(encoder->name) +
                                                      " encoder: " + AvError(rc));
    }
    if (const AVDictionaryEntry* unused = av_dict_get(dict.d, "", nullptr, AV_DICT_IGNORE_SUFFIX)) {
        throw QuillonError(ExitCode::Usage, std::string("the ") + encoder->name +
                                                " encoder has no option '" + unused->key + "'");
    }

    AVStream* videoOut = avformat_new_stream(out.get(), nullptr);
    if (videoOut == nullptr) {
        OutOfMemory("output stream");
    }
    if (avcodec_parameters_from_context(videoOut->codecpar, enc.get()) < 0) {
        OutOfMemory("output stream parameters");
    }
    videoOut->time_base = enc->time_base;
    videoOut->avg_frame_rate = d.stream->avg_frame_rate;
    videoOut->r_frame_rate = d.stream->r_frame_rate;
    videoOut->sample_aspect_ratio = enc->sample_aspect_ratio;

    // Audio streams are copied untouched (a frame range leaves them out).
    std::map<int, AVStream*> audioMap;
    for (unsigned i = 0; i < in->nb_streams && !options.frames; ++i) {
        AVStream* ist = in->streams[i];
        if (ist->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
            continue;
        }
        if (avformat_query_codec(out->oformat, ist->codecpar->codec_id, FF_COMPLIANCE_NORMAL) ==
            0) {
            throw QuillonError(ExitCode::Unsupported,
                               std::string("the audio codec ") +
                                   avcodec_get_name(ist->codecpar->codec_id) +
                                   " cannot be stored in a " + output.extension().string() +
                                   " file; choose another container");
        }
        AVStream* ost = avformat_new_stream(out.get(), nullptr);
        if (ost == nullptr || avcodec_parameters_copy(ost->codecpar, ist->codecpar) < 0) {
            OutOfMemory("audio stream");
        }
        ost->codecpar->codec_tag = 0;
        ost->time_base = ist->time_base;
        av_dict_copy(&ost->metadata, ist->metadata, 0);
        audioMap[static_cast<int>(i)] = ost;
    }

    if (!(out->oformat->flags & AVFMT_NOFILE)) {
        rc = avio_open(&out->pb, outName.c_str(), AVIO_FLAG_WRITE);
        if (rc < 0) {
            throw QuillonError(ExitCode::OutputFailed,
                               "cannot create '" + outName + "': " + AvError(rc));
        }
    }
    rc = avformat_write_header(out.get(), nullptr);
    if (rc < 0) {
        throw QuillonError(ExitCode::OutputFailed,
                           "cannot start '" + outName + "': " + AvError(rc));
    }

    // Conversions around the engine, each sliced over the run's threads.
    const int srcW = d.codec->width;
    const int srcH = d.codec->height;
    // 8-bit frames convert straight to and from the working layout (BGRA with
    // transparency), unless the encoder keeps alpha; 16-bit frames go through
    // full-range RGBA and the host-range mapping.
    const bool deep = d.bits == 16;
    const bool keepsAlpha = (encDesc->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    const AVPixelFormat inRgb = deep ? AV_PIX_FMT_RGBA64LE : AV_PIX_FMT_BGRA;
    const AVPixelFormat outRgb =
        deep ? AV_PIX_FMT_RGBA64LE : (keepsAlpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_BGRA);
    const int inFlags = SWS_BILINEAR | SWS_ACCURATE_RND;
    const int outFlags = SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP;
    SwsPtr toRgba;
    AVPixelFormat toRgbaFrom = AV_PIX_FMT_NONE;
    SwsPtr fromRgba = MakeConverter(enc->width, enc->height, outRgb, encFormat, outFlags, threads,
                                    outColour, false);
    if (!fromRgba) {
        throw QuillonError(ExitCode::Unsupported,
                           "cannot convert RGBA frames to " + std::string(encDesc->name));
    }

    const size_t slotCount = static_cast<size_t>(4 + std::max(options.engineWorkers, 1));
    std::vector<VideoSlot> slots(slotCount);
    for (VideoSlot& slot : slots) {
        slot.decoded = NewFrame();
        slot.encoded = NewFrame();
        slot.borrowed = NewFrame();
        slot.workSource.Allocate(static_cast<uint32_t>(srcW), static_cast<uint32_t>(srcH), d.bits);
        slot.encoded->format = encFormat;
        slot.encoded->width = enc->width;
        slot.encoded->height = enc->height;
        if (av_frame_get_buffer(slot.encoded.get(), 0) < 0) {
            OutOfMemory("encoder frame");
        }
    }
    PacketPtr packet = NewPacket();
    PacketPtr outPacket = NewPacket();
    std::vector<PacketPtr> pendingAudio;  // read since the last video frame
    bool decoderFlushed = false;
    int64_t lastPts = AV_NOPTS_VALUE;

    // A frame range: seek to the keyframe at or before the first frame; the
    // index of a decoded frame follows from its time at the stream's rate.
    const int64_t streamStart = d.stream->start_time == AV_NOPTS_VALUE ? 0 : d.stream->start_time;
    int64_t decodedIndex = -1;
    bool rangeDone = false;
    if (options.frames && options.frames->first > 0 && rate.num > 0) {
        const int64_t ts =
            streamStart + av_rescale_q(options.frames->first, av_inv_q(rate), d.stream->time_base);
        if (av_seek_frame(in, d.videoIndex, ts, AVSEEK_FLAG_BACKWARD) >= 0) {
            avcodec_flush_buffers(d.codec.get());
            decodedIndex = -2;  // unknown until the first frame's time is seen
        }
    }
    // True when a decoded frame is inside the range (always without one).
    auto inRange = [&](const AVFrame* frame) {
        if (!options.frames) {
            return true;
        }
        const int64_t pts = frame->best_effort_timestamp;
        if (pts != AV_NOPTS_VALUE && rate.num > 0) {
            decodedIndex = av_rescale_q_rnd(pts - streamStart, d.stream->time_base, av_inv_q(rate),
                                            AV_ROUND_NEAR_INF);
        } else if (decodedIndex == -2) {
            throw QuillonError(ExitCode::Unsupported,
                               "a frame range of '" + inName + "' needs frame times");
        } else {
            ++decodedIndex;
        }
        const int64_t last = options.frames->second;
        rangeDone = rangeDone || (last >= 0 && decodedIndex >= last);
        return decodedIndex >= options.frames->first && (last < 0 || decodedIndex <= last);
    };

    auto writeAudio = [&](std::vector<PacketPtr>& packets) {
        for (PacketPtr& p : packets) {
            const int w = av_interleaved_write_frame(out.get(), p.get());
            if (w < 0) {
                throw QuillonError(ExitCode::OutputFailed,
                                   "cannot write '" + outName + "': " + AvError(w));
            }
        }
        packets.clear();
    };

    auto drainEncoder = [&]() {
        for (;;) {
            const int r = avcodec_receive_packet(enc.get(), outPacket.get());
            if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) {
                return;
            }
            if (r < 0) {
                throw QuillonError(ExitCode::OutputFailed, "encoding failed: " + AvError(r));
            }
            av_packet_rescale_ts(outPacket.get(), enc->time_base, videoOut->time_base);
            outPacket->stream_index = videoOut->index;
            const int w = av_interleaved_write_frame(out.get(), outPacket.get());
            if (w < 0) {
                throw QuillonError(ExitCode::OutputFailed,
                                   "cannot write '" + outName + "': " + AvError(w));
            }
        }
    };

    // Decodes the next frame into slot.decoded; false at the end of the video.
    auto decodeNext = [&](int64_t index, VideoSlot& slot) {
        for (;;) {
            const int r = avcodec_receive_frame(d.codec.get(), slot.decoded.get());
            if (r == 0) {
                return true;
            }
            if (r == AVERROR_EOF) {
                return false;
            }
            if (r != AVERROR(EAGAIN)) {
                throw QuillonError(ExitCode::CorruptInput, "cannot decode frame " +
                                                               std::to_string(index + 1) + " of '" +
                                                               inName + "': " + AvError(r));
            }
            if (decoderFlushed) {
                return false;
            }
            ThrowIfInterrupted();
            rc = av_read_frame(in, packet.get());
            if (rc == AVERROR_EOF) {
                avcodec_send_packet(d.codec.get(), nullptr);
                decoderFlushed = true;
                continue;
            }
            if (rc < 0) {
                throw QuillonError(ExitCode::CorruptInput,
                                   "cannot read '" + inName + "' after frame " +
                                       std::to_string(index) + ": " + AvError(rc));
            }
            if (packet->stream_index == d.videoIndex) {
                const int s = avcodec_send_packet(d.codec.get(), packet.get());
                av_packet_unref(packet.get());
                if (s < 0 && s != AVERROR(EAGAIN)) {
                    throw QuillonError(ExitCode::CorruptInput,
                                       "cannot decode frame " + std::to_string(index + 1) +
                                           " of '" + inName + "': " + AvError(s));
                }
            } else if (auto it = audioMap.find(packet->stream_index); it != audioMap.end()) {
                AVStream* ist = in->streams[packet->stream_index];
                av_packet_rescale_ts(packet.get(), ist->time_base, it->second->time_base);
                packet->stream_index = it->second->index;
                packet->pos = -1;
                PacketPtr kept = NewPacket();
                av_packet_move_ref(kept.get(), packet.get());
                pendingAudio.push_back(std::move(kept));
            } else {
                av_packet_unref(packet.get());
            }
        }
    };

    std::vector<PipelineStage> stages;
    stages.push_back({"decode", 1, [&](int64_t index, size_t s) {
                          VideoSlot& slot = slots[s];
                          do {
                              av_frame_unref(slot.decoded.get());
                              if (rangeDone || !decodeNext(index, slot)) {
                                  return false;
                              }
                          } while (!inRange(slot.decoded.get()));
                          slot.pts = slot.decoded->best_effort_timestamp;
                          slot.audio = std::move(pendingAudio);
                          pendingAudio.clear();
                          return true;
                      }});
    stages.push_back(
        {"convert_in", 1, [&](int64_t index, size_t s) {
             VideoSlot& slot = slots[s];
             AVFrame* frame = slot.decoded.get();
             if (frame->width != srcW || frame->height != srcH) {
                 throw QuillonError(ExitCode::CorruptInput, "the video changes size at frame " +
                                                                std::to_string(index + 1) +
                                                                " of '" + inName + "'");
             }
             const auto format = static_cast<AVPixelFormat>(frame->format);
             if (!toRgba || format != toRgbaFrom) {
                 toRgba =
                     MakeConverter(srcW, srcH, format, inRgb, inFlags, threads, sourceColour, true);
                 if (!toRgba) {
                     throw QuillonError(ExitCode::Unsupported,
                                        "cannot convert the video's frames to RGBA");
                 }
                 toRgbaFrom = format;
             }
             if (deep) {
                 slot.source.Allocate(static_cast<uint32_t>(srcW), static_cast<uint32_t>(srcH), 16);
                 BorrowRgba(slot.borrowed.get(), slot.source);
             } else {
                 BorrowWorking8(slot.borrowed.get(), slot.workSource);
             }
             const int r = sws_scale_frame(toRgba.get(), slot.borrowed.get(), frame);
             av_frame_unref(slot.borrowed.get());
             av_frame_unref(frame);
             if (deep) {
                 ToWorkingFrame(slot.source, slot.workSource);
             } else {
                 AlphaToTransparency8(slot.workSource);
             }
             if (r < 0) {
                 throw QuillonError(
                     ExitCode::CorruptInput,
                     "cannot convert frame " + std::to_string(index + 1) + ": " + AvError(r));
             }
             return true;
         }});
    stages.push_back({"engine", std::max(options.engineWorkers, 1), [&](int64_t, size_t s) {
                          process(slots[s].workSource, slots[s].workResult);
                          return true;
                      }});
    stages.push_back({"convert_out", 1, [&](int64_t index, size_t s) {
                          VideoSlot& slot = slots[s];
                          if (av_frame_make_writable(slot.encoded.get()) < 0) {
                              OutOfMemory("encoder frame");
                          }
                          if (deep || keepsAlpha) {
                              FromWorkingFrame(slot.workResult, slot.result);
                              BorrowRgba(slot.borrowed.get(), slot.result);
                          } else {
                              BorrowWorking8(slot.borrowed.get(), slot.workResult);
                          }
                          const int r = sws_scale_frame(fromRgba.get(), slot.encoded.get(),
                                                        slot.borrowed.get());
                          av_frame_unref(slot.borrowed.get());
                          if (r < 0) {
                              throw QuillonError(ExitCode::OutputFailed,
                                                 "cannot convert frame " +
                                                     std::to_string(index + 1) + ": " + AvError(r));
                          }
                          return true;
                      }});
    stages.push_back({"encode", 1, [&](int64_t index, size_t s) {
                          VideoSlot& slot = slots[s];
                          writeAudio(slot.audio);
                          int64_t pts = slot.pts;
                          if (pts == AV_NOPTS_VALUE) {
                              pts = lastPts == AV_NOPTS_VALUE ? 0 : lastPts + 1;
                          } else {
                              pts = av_rescale_q(pts, d.stream->time_base, enc->time_base);
                          }
                          if (lastPts != AV_NOPTS_VALUE && pts <= lastPts) {
                              pts = lastPts + 1;
                          }
                          lastPts = pts;
                          slot.encoded->pts = pts;
                          slot.encoded->pict_type = AV_PICTURE_TYPE_NONE;
                          const int r = avcodec_send_frame(enc.get(), slot.encoded.get());
                          if (r < 0) {
                              throw QuillonError(ExitCode::OutputFailed,
                                                 "encoding frame " + std::to_string(index + 1) +
                                                     " failed: " + AvError(r));
                          }
                          drainEncoder();
                          return true;
                      }});

    FramePipeline pipeline(std::move(stages), slotCount, threads);
    PipelineReport report;
    try {
        pipeline.Run(
            -1,
            [&](int64_t index) {
                if (progress) {
                    progress(index + 1);
                }
            },
            report);
    } catch (...) {
        timings.framesEncoded = report.frames;
        throw;
    }
    timings.framesEncoded = report.frames;
    timings.decode = report.busySeconds[0];
    timings.convertIn = report.busySeconds[1];
    timings.engine = report.busySeconds[2];
    timings.convertOut = report.busySeconds[3];
    timings.encode = report.busySeconds[4];

    // The rest of the audio, the encoder's delayed frames and the trailer.
    const auto t0 = Clock::now();
    while (!decoderFlushed && !options.frames) {
        rc = av_read_frame(in, packet.get());
        if (rc < 0) {
            break;
        }
        if (auto it = audioMap.find(packet->stream_index); it != audioMap.end()) {
            AVStream* ist = in->streams[packet->stream_index];
            av_packet_rescale_ts(packet.get(), ist->time_base, it->second->time_base);
            packet->stream_index = it->second->index;
            packet->pos = -1;
            PacketPtr kept = NewPacket();
            av_packet_move_ref(kept.get(), packet.get());
            pendingAudio.push_back(std::move(kept));
        } else {
            av_packet_unref(packet.get());
        }
    }
    writeAudio(pendingAudio);
    rc = avcodec_send_frame(enc.get(), nullptr);
    if (rc >= 0) {
        drainEncoder();
    }
    rc = av_write_trailer(out.get());
    if (rc < 0) {
        throw QuillonError(ExitCode::OutputFailed,
                           "cannot finish '" + outName + "': " + AvError(rc));
    }
    if (!(out->oformat->flags & AVFMT_NOFILE)) {
        rc = avio_closep(&out->pb);
        if (rc < 0) {
            throw QuillonError(ExitCode::OutputFailed,
                               "cannot close '" + outName + "': " + AvError(rc));
        }
    }
    timings.encode += SecondsSince(t0);
    if (report.frames == 0) {
        throw QuillonError(ExitCode::CorruptInput, "'" + inName + "' has no decodable frame");
    }
    return report.frames;
}

}  // namespace quillon
