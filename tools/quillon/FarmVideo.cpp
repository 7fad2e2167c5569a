#include "FarmVideo.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
}

#include <memory>
#include <string>
#include <vector>

#include "Errors.h"

namespace fs = std::filesystem;

namespace quillon {

namespace {

struct InputCloser {
    void operator()(AVFormatContext* c) const { avformat_close_input(&c); }
};
using InputPtr = std::unique_ptr<AVFormatContext, InputCloser>;

struct OutputCloser {
    void operator()(AVFormatContext* c) const {
        if (c != nullptr && c->oformat != nullptr && !(c->oformat->flags & AVFMT_NOFILE)) {
            avio_closep(&c->pb);
        }
        avformat_free_context(c);
    }
};
using OutputPtr = std::unique_ptr<AVFormatContext, OutputCloser>;

struct PacketFree {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
using PacketPtr = std::unique_ptr<AVPacket, PacketFree>;

std::string AvText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

InputPtr OpenInput(const fs::path& path, const AVInputFormat* format, AVDictionary** options) {
    AVFormatContext* raw = nullptr;
    const int rc = avformat_open_input(&raw, path.string().c_str(), format, options);
    if (rc < 0) {
        throw QuillonError(ExitCode::InputMissing,
                           "cannot open '" + path.string() + "': " + AvText(rc));
    }
    InputPtr input(raw);
    if (avformat_find_stream_info(input.get(), nullptr) < 0) {
        throw QuillonError(ExitCode::CorruptInput, "cannot read '" + path.string() + "'");
    }
    return input;
}

int VideoStream(AVFormatContext* input, const fs::path& path) {
    const int index = av_find_best_stream(input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0) {
        throw QuillonError(ExitCode::CorruptInput, "'" + path.string() + "' has no video stream");
    }
    return index;
}

PacketPtr NewPacket() {
    PacketPtr p(av_packet_alloc());
    if (!p) {
        throw std::bad_alloc();
    }
    return p;
}

}  // namespace

int64_t CountVideoFrames(const fs::path& input) {
    av_log_set_level(AV_LOG_ERROR);
    InputPtr in = OpenInput(input, nullptr, nullptr);
    const int video = VideoStream(in.get(), input);
    PacketPtr packet = NewPacket();
    int64_t count = 0;
    int rc = 0;
    while ((rc = av_read_frame(in.get(), packet.get())) >= 0) {
        count += packet->stream_index == video ? 1 : 0;
        av_packet_unref(packet.get());
    }
    if (rc != AVERROR_EOF) {
        throw QuillonError(ExitCode::CorruptInput,
                           "cannot read '" + input.string() + "': " + AvText(rc));
    }
    return count;
}

int64_t JoinVideoSegments(const fs::path& segmentList, const fs::path& source,
                          const fs::path& output) {
    av_log_set_level(AV_LOG_ERROR);
    AVDictionary* options = nullptr;
    av_dict_set(&options, "safe", "0", 0);
    InputPtr segments = OpenInput(segmentList, av_find_input_format("concat"), &options);
    av_dict_free(&options);
    InputPtr audio = OpenInput(source, nullptr, nullptr);
    const int videoIn = VideoStream(segments.get(), segmentList);

    AVFormatContext* rawOut = nullptr;
    const std::string outName = output.string();
    if (avformat_alloc_output_context2(&rawOut, nullptr, nullptr, outName.c_str()) < 0 || !rawOut) {
        throw QuillonError(ExitCode::Unsupported,
                           "cannot write a '" + output.extension().string() + "' file");
    }
    OutputPtr out(rawOut);
    // Input stream -> output stream, for the segments' video and the source's audio.
    AVStream* videoOut = avformat_new_stream(out.get(), nullptr);
    const AVStream* videoSrc = segments->streams[videoIn];
    if (videoOut == nullptr ||
        avcodec_parameters_copy(videoOut->codecpar, videoSrc->codecpar) < 0) {
        throw std::bad_alloc();
    }
    videoOut->codecpar->codec_tag = 0;
    videoOut->time_base = videoSrc->time_base;
    videoOut->avg_frame_rate = videoSrc->avg_frame_rate;
    videoOut->r_frame_rate = videoSrc->r_frame_rate;
    videoOut->sample_aspect_ratio = videoSrc->codecpar->sample_aspect_ratio;
    std::vector<AVStream*> audioMap(audio->nb_streams, nullptr);
    for (unsigned i = 0; i < audio->nb_streams; ++i) {
        const AVStream* ist = audio->streams[i];
        if (ist->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
            continue;
        }
        AVStream* ost = avformat_new_stream(out.get(), nullptr);
        if (ost == nullptr || avcodec_parameters_copy(ost->codecpar, ist->codecpar) < 0) {
            throw std::bad_alloc();
        }
        ost->codecpar->codec_tag = 0;
        ost->time_base = ist->time_base;
        av_dict_copy(&ost->metadata, ist->metadata, 0);
        audioMap[i] = ost;
    }
    if (!(out->oformat->flags & AVFMT_NOFILE)) {
        const int rc = avio_open(&out->pb, outName.c_str(), AVIO_FLAG_WRITE);
        if (rc < 0) {
            throw QuillonError(ExitCode::OutputFailed,
                               "cannot create '" + outName + "': " + AvText(rc));
        }
    }
    if (const int rc = avformat_write_header(out.get(), nullptr); rc < 0) {
        throw QuillonError(ExitCode::OutputFailed, "cannot start '" + outName + "': " + AvText(rc));
    }

    // Two inputs read side by side: the packet with the earlier time goes next.
    PacketPtr videoPacket = NewPacket();
    PacketPtr audioPacket = NewPacket();
    bool videoPending = false;
    bool audioPending = false;
    bool videoDone = false;
    bool audioDone = false;
    int64_t videoPackets = 0;
    auto nextVideo = [&]() {
        while (!videoPending && !videoDone) {
            const int rc = av_read_frame(segments.get(), videoPacket.get());
            if (rc == AVERROR_EOF) {
                videoDone = true;
            } else if (rc < 0) {
                throw QuillonError(ExitCode::CorruptInput, "cannot read a segment: " + AvText(rc));
            } else if (videoPacket->stream_index == videoIn) {
                videoPending = true;
            } else {
                av_packet_unref(videoPacket.get());
            }
        }
    };
    auto nextAudio = [&]() {
        while (!audioPending && !audioDone) {
            const int rc = av_read_frame(audio.get(), audioPacket.get());
            if (rc == AVERROR_EOF) {
                audioDone = true;
            } else if (rc < 0) {
                throw QuillonError(ExitCode::CorruptInput,
                                   "cannot read '" + source.string() + "': " + AvText(rc));
            } else if (audioMap[static_cast<size_t>(audioPacket->stream_index)] != nullptr) {
                audioPending = true;
            } else {
                av_packet_unref(audioPacket.get());
            }
        }
    };
    auto timeOf = [](const AVPacket* p, AVRational base) {
        const int64_t t = p->dts != AV_NOPTS_VALUE ? p->dts : p->pts;
        return t == AV_NOPTS_VALUE ? int64_t{0} : av_rescale_q(t, base, AV_TIME_BASE_Q);
    };
    auto write = [&](AVPacket* p, AVRational from, AVStream* to) {
        av_packet_rescale_ts(p, from, to->time_base);
        p->stream_index = to->index;
        p->pos = -1;
        const int rc = av_interleaved_write_frame(out.get(), p);
        if (rc < 0) {
            throw QuillonError(ExitCode::OutputFailed,
                               "cannot write '" + outName + "': " + AvText(rc));
        }
    };
    for (;;) {
        nextVideo();
        nextAudio();
        if (!videoPending && !audioPending) {
            break;
        }
        const bool takeVideo =
            videoPending &&
            (!audioPending ||
             timeOf(videoPacket.get(), videoSrc->time_base) <=
                 timeOf(audioPacket.get(), audio->streams[audioPacket->stream_index]->time_base));
        if (takeVideo) {
            write(videoPacket.get(), videoSrc->time_base, videoOut);
            videoPending = false;
            ++videoPackets;
        } else {
            const AVStream* ist = audio->streams[audioPacket->stream_index];
            write(audioPacket.get(), ist->time_base,
                  audioMap[static_cast<size_t>(audioPacket->stream_index)]);
            audioPending = false;
        }
    }
    if (const int rc = av_write_trailer(out.get()); rc < 0) {
        throw QuillonError(ExitCode::OutputFailed,
                           "cannot finish '" + outName + "': " + AvText(rc));
    }
    return videoPackets;
}

}  // namespace quillon
