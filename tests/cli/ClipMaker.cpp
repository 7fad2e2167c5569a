#include "ClipMaker.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <cmath>
#include <stdexcept>

namespace quillon::test {

namespace {

void Check(int rc, const char* what) {
    if (rc < 0) {
        throw std::runtime_error(std::string("clip: ") + what + " failed");
    }
}

void Drain(AVCodecContext* enc, AVFormatContext* fmt, AVStream* st, AVPacket* pkt) {
    while (avcodec_receive_packet(enc, pkt) == 0) {
        av_packet_rescale_ts(pkt, enc->time_base, st->time_base);
        pkt->stream_index = st->index;
        Check(av_interleaved_write_frame(fmt, pkt), "write packet");
    }
}

}  // namespace

void MakeClip(const std::string& path, const Picture& photo, const ClipSpec& spec) {
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* fmt = nullptr;
    Check(avformat_alloc_output_context2(&fmt, nullptr, nullptr, path.c_str()), "container");
    const AVCodec* vcodec = avcodec_find_encoder_by_name(spec.codec.c_str());
    if (vcodec == nullptr) {
        throw std::runtime_error("clip: no encoder " + spec.codec);
    }
    AVCodecContext* venc = avcodec_alloc_context3(vcodec);
    const AVPixelFormat pixfmt = av_get_pix_fmt(spec.pixelFormat.c_str());
    venc->width = photo.width;
    venc->height = photo.height;
    venc->pix_fmt = pixfmt;
    venc->time_base = AVRational{spec.rateDen, spec.rateNum};
    venc->framerate = AVRational{spec.rateNum, spec.rateDen};
    if (fmt->oformat->flags & AVFMT_GLOBALHEADER) {
        venc->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    Check(avcodec_open2(venc, vcodec, nullptr), "open video encoder");
    AVStream* vst = avformat_new_stream(fmt, nullptr);
    avcodec_parameters_from_context(vst->codecpar, venc);
    vst->time_base = venc->time_base;
    vst->avg_frame_rate = venc->framerate;

    AVCodecContext* aenc = nullptr;
    AVStream* ast = nullptr;
    if (spec.audio) {
        const AVCodec* acodec = avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE);
        aenc = avcodec_alloc_context3(acodec);
        aenc->sample_fmt = AV_SAMPLE_FMT_S16;
        aenc->sample_rate = 48000;
        av_channel_layout_default(&aenc->ch_layout, 1);
        aenc->time_base = AVRational{1, 48000};
        Check(avcodec_open2(aenc, acodec, nullptr), "open audio encoder");
        ast = avformat_new_stream(fmt, nullptr);
        avcodec_parameters_from_context(ast->codecpar, aenc);
        ast->time_base = aenc->time_base;
    }
    Check(avio_open(&fmt->pb, path.c_str(), AVIO_FLAG_WRITE), "create file");
    Check(avformat_write_header(fmt, nullptr), "header");

    const bool deep = photo.bits == 16;
    SwsContext* sws =
        sws_getContext(photo.width, photo.height, deep ? AV_PIX_FMT_RGBA64LE : AV_PIX_FMT_RGBA,
                       photo.width, photo.height, pixfmt, SWS_BICUBIC, nullptr, nullptr, nullptr);
    AVFrame* frame = av_frame_alloc();
    frame->format = pixfmt;
    frame->width = photo.width;
    frame->height = photo.height;
    Check(av_frame_get_buffer(frame, 0), "frame buffer");
    AVPacket* pkt = av_packet_alloc();
    for (int n = 0; n < spec.frames; ++n) {
        const Picture shifted = ShiftedPicture(photo, 3 * n);
        std::vector<uint8_t> packed(shifted.rgba.size() * (deep ? 2 : 1));
        for (size_t i = 0; i < shifted.rgba.size(); ++i) {
            if (deep) {
                packed[i * 2] = static_cast<uint8_t>(shifted.rgba[i] & 0xff);
                packed[i * 2 + 1] = static_cast<uint8_t>(shifted.rgba[i] >> 8);
            } else {
                packed[i] = static_cast<uint8_t>(shifted.rgba[i]);
            }
        }
        const uint8_t* src[4] = {packed.data(), nullptr, nullptr, nullptr};
        const int stride[4] = {photo.width * (deep ? 8 : 4), 0, 0, 0};
        Check(av_frame_make_writable(frame), "writable");
        sws_scale(sws, src, stride, 0, photo.height, frame->data, frame->linesize);
        frame->pts = n;
        Check(avcodec_send_frame(venc, frame), "encode");
        Drain(venc, fmt, vst, pkt);
    }
    avcodec_send_frame(venc, nullptr);
    Drain(venc, fmt, vst, pkt);
    if (aenc != nullptr) {
        // One second of tone in 1024-sample packets.
        AVFrame* af = av_frame_alloc();
        af->format = AV_SAMPLE_FMT_S16;
        af->sample_rate = 48000;
        av_channel_layout_default(&af->ch_layout, 1);
        af->nb_samples = 1024;
        Check(av_frame_get_buffer(af, 0), "audio buffer");
        for (int64_t start = 0; start < 48000; start += 1024) {
            Check(av_frame_make_writable(af), "audio writable");
            auto* samples = reinterpret_cast<int16_t*>(af->data[0]);
            for (int i = 0; i < 1024; ++i) {
                samples[i] =
                    static_cast<int16_t>(8000 * std::sin(2 * M_PI * 440 * (start + i) / 48000.0));
            }
            af->pts = start;
            Check(avcodec_send_frame(aenc, af), "audio encode");
            Drain(aenc, fmt, ast, pkt);
        }
        avcodec_send_frame(aenc, nullptr);
        Drain(aenc, fmt, ast, pkt);
        av_frame_free(&af);
        avcodec_free_context(&aenc);
    }
    Check(av_write_trailer(fmt), "trailer");
    avio_closep(&fmt->pb);
    av_packet_free(&pkt);
    av_frame_free(&frame);
    sws_freeContext(sws);
    avcodec_free_context(&venc);
    avformat_free_context(fmt);
}

ClipFacts ProbeClip(const std::string& path) {
    av_log_set_level(AV_LOG_QUIET);
    ClipFacts facts;
    AVFormatContext* fmt = nullptr;
    Check(avformat_open_input(&fmt, path.c_str(), nullptr, nullptr), "open clip");
    Check(avformat_find_stream_info(fmt, nullptr), "stream info");
    const AVCodec* dec = nullptr;
    const int vi = av_find_best_stream(fmt, AVMEDIA_TYPE_VIDEO, -1, -1, &dec, 0);
    Check(vi, "find video");
    AVStream* vst = fmt->streams[vi];
    AVCodecContext* ctx = avcodec_alloc_context3(dec);
    avcodec_parameters_to_context(ctx, vst->codecpar);
    Check(avcodec_open2(ctx, dec, nullptr), "open decoder");
    facts.width = ctx->width;
    facts.height = ctx->height;
    facts.rateNum = vst->avg_frame_rate.num;
    facts.rateDen = vst->avg_frame_rate.den;
    facts.timeBaseNum = vst->time_base.num;
    facts.timeBaseDen = vst->time_base.den;
    facts.videoCodec = dec->name;
    facts.bitsPerComponent = av_pix_fmt_desc_get(ctx->pix_fmt)->comp[0].depth;
    int firstAudio = -1;
    for (unsigned i = 0; i < fmt->nb_streams; ++i) {
        if (fmt->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            ++facts.audioStreams;
            if (firstAudio < 0) {
                firstAudio = static_cast<int>(i);
            }
        }
    }
    AVPacket* pkt = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    auto drain = [&]() {
        while (avcodec_receive_frame(ctx, frame) == 0) {
            ++facts.decodedFrames;
            av_frame_unref(frame);
        }
    };
    while (av_read_frame(fmt, pkt) >= 0) {
        if (pkt->stream_index == vi) {
            facts.videoPts.push_back(pkt->pts);
            avcodec_send_packet(ctx, pkt);
            drain();
        } else if (pkt->stream_index == firstAudio) {
            facts.audioPackets.emplace_back(pkt->data, pkt->data + pkt->size);
        }
        av_packet_unref(pkt);
    }
    avcodec_send_packet(ctx, nullptr);
    drain();
    av_frame_free(&frame);
    av_packet_free(&pkt);
    avcodec_free_context(&ctx);
    avformat_close_input(&fmt);
    return facts;
}

}  // namespace quillon::test
