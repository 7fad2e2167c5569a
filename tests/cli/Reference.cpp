#include "Reference.h"

#include <OpenImageIO/imageio.h>

#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "engine/Engine.h"
#include "tests/support/TestSupport.h"

namespace quillon::test {

uint16_t ToHostRange(uint16_t v) {
    return static_cast<uint16_t>(std::lround(static_cast<double>(v) * 32768.0 / 65535.0));
}

uint16_t ToFileRange(uint16_t h) {
    const double clamped = h > 32768 ? 32768.0 : static_cast<double>(h);
    return static_cast<uint16_t>(std::floor(clamped * 65535.0 / 32768.0 + 0.5));
}

Picture ReadPicture(const std::string& path) {
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    auto in = OIIO::ImageInput::open(path, &config);
    if (!in) {
        throw std::runtime_error("cannot open " + path + ": " + OIIO::geterror());
    }
    const OIIO::ImageSpec& spec = in->spec();
    Picture p;
    p.width = spec.width;
    p.height = spec.height;
    p.fileChannels = spec.nchannels;
    p.bits = spec.format == OIIO::TypeDesc::UINT8 ? 8 : 16;
    const int ch = std::min(spec.nchannels, 4);
    std::vector<uint16_t> raw(static_cast<size_t>(p.width) * p.height * ch);
    if (p.bits == 8) {
        std::vector<uint8_t> bytes(raw.size());
        in->read_image(0, 0, 0, ch, OIIO::TypeDesc::UINT8, bytes.data());
        raw.assign(bytes.begin(), bytes.end());
    } else {
        in->read_image(0, 0, 0, ch, OIIO::TypeDesc::UINT16, raw.data());
    }
    const uint16_t opaque = p.bits == 8 ? 255 : 65535;
    p.rgba.resize(static_cast<size_t>(p.width) * p.height * 4);
    for (size_t i = 0; i < static_cast<size_t>(p.width) * p.height; ++i) {
        const uint16_t* s = &raw[i * ch];
        uint16_t* d = &p.rgba[i * 4];
        if (ch >= 3) {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
            d[3] = ch == 4 ? s[3] : opaque;
        } else {
            d[0] = d[1] = d[2] = s[0];
            d[3] = ch == 2 ? s[1] : opaque;
        }
    }
    return p;
}

void WritePicture(const std::string& path, const Picture& p, int channels,
                  const std::string& type) {
    auto out = OIIO::ImageOutput::create(path);
    if (!out) {
        throw std::runtime_error("no writer for " + path);
    }
    OIIO::TypeDesc fileType = p.bits == 8 ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::UINT16;
    if (!type.empty()) {
        fileType = OIIO::TypeDesc(type);
    }
    OIIO::ImageSpec spec(p.width, p.height, channels, fileType);
    if (channels == 4) {
        spec.attribute("oiio:UnassociatedAlpha", 1);
    }
    if (!out->open(path, spec)) {
        throw std::runtime_error("cannot write " + path + ": " + out->geterror());
    }
    if (p.bits == 8) {
        std::vector<uint8_t> bytes(p.rgba.begin(), p.rgba.end());
        out->write_image(OIIO::TypeDesc::UINT8, bytes.data(), 4);
    } else {
        out->write_image(OIIO::TypeDesc::UINT16, p.rgba.data(), 8);
    }
    out->close();
}

std::vector<uint8_t> EngineUpscale(const std::vector<uint8_t>& frame, int bits, int sw, int sh,
                                   int dw, int dh, const EffectSettings& s) {
    SetMaxValue16(32768);
    SetMaxValue8(255);
    uint32_t options = s.filter == 1 ? 0u : s.filter == 2 ? 1u : s.filter == 3 ? 4u : 5u;
    if (s.sharpness > 0) {
        options |= 2;
    }
    if (s.antiAliasing > 0) {
        options |= 8;
    }
    const support::Request request{static_cast<uint32_t>(sw),
                                   static_cast<uint32_t>(sh),
                                   static_cast<uint32_t>(dw),
                                   static_cast<uint32_t>(dh),
                                   options,
                                   bits == 16 ? 1u : 0u,
                                   bits == 16 ? 0u : s.kernelVariant,
                                   static_cast<uint32_t>(s.sharpness),
                                   static_cast<uint32_t>(s.quality),
                                   static_cast<uint32_t>(s.antiAliasing)};
    const support::Context context(request);
    std::vector<uint8_t> out(static_cast<size_t>(dw) * dh * (bits == 16 ? 8 : 4), 0);
    if (!context.ok() || ProcessFrame(frame.data(), out.data(), context.get()) != 0) {
        throw std::runtime_error("engine refused the reference frame");
    }
    return out;
}

Picture ReferenceUpscale(const Picture& p, int width, int height, const EffectSettings& s) {
    const size_t n = static_cast<size_t>(p.width) * p.height;
    std::vector<uint8_t> frame(n * (p.bits == 16 ? 8 : 4));
    for (size_t i = 0; i < n; ++i) {
        const uint16_t* px = &p.rgba[i * 4];
        if (p.bits == 8) {
            frame[i * 4 + 0] = static_cast<uint8_t>(px[2]);
            frame[i * 4 + 1] = static_cast<uint8_t>(px[1]);
            frame[i * 4 + 2] = static_cast<uint8_t>(px[0]);
            frame[i * 4 + 3] = static_cast<uint8_t>(255 - px[3]);
        } else {
            auto* w = reinterpret_cast<uint16_t*>(frame.data()) + i * 4;
            w[0] = ToHostRange(px[2]);
            w[1] = ToHostRange(px[1]);
            w[2] = ToHostRange(px[0]);
            w[3] = static_cast<uint16_t>(32768 - ToHostRange(px[3]));
        }
    }
    const std::vector<uint8_t> out =
        EngineUpscale(frame, p.bits, p.width, p.height, width, height, s);
    Picture r;
    r.width = width;
    r.height = height;
    r.bits = p.bits;
    r.fileChannels = 4;
    r.rgba.resize(static_cast<size_t>(width) * height * 4);
    for (size_t i = 0; i < static_cast<size_t>(width) * height; ++i) {
        uint16_t* d = &r.rgba[i * 4];
        if (p.bits == 8) {
            d[0] = out[i * 4 + 2];
            d[1] = out[i * 4 + 1];
            d[2] = out[i * 4 + 0];
            d[3] = static_cast<uint16_t>(255 - out[i * 4 + 3]);
        } else {
            const auto* w = reinterpret_cast<const uint16_t*>(out.data()) + i * 4;
            d[0] = ToFileRange(w[2]);
            d[1] = ToFileRange(w[1]);
            d[2] = ToFileRange(w[0]);
            d[3] = ToFileRange(static_cast<uint16_t>(w[3] >= 32768 ? 0 : 32768 - w[3]));
        }
    }
    return r;
}

int MaxDifference(const Picture& a, const Picture& b) {
    if (a.width != b.width || a.height != b.height) {
        return -1;
    }
    int worst = 0;
    for (size_t i = 0; i < a.rgba.size(); ++i) {
        worst =
            std::max(worst, std::abs(static_cast<int>(a.rgba[i]) - static_cast<int>(b.rgba[i])));
    }
    return worst;
}

double MeanDifference(const Picture& a, const Picture& b) {
    if (a.width != b.width || a.height != b.height || a.rgba.empty()) {
        return -1;
    }
    double sum = 0;
    for (size_t i = 0; i < a.rgba.size(); ++i) {
        sum += std::abs(static_cast<int>(a.rgba[i]) - static_cast<int>(b.rgba[i]));
    }
    return sum / static_cast<double>(a.rgba.size());
}

Picture ShiftedPicture(const Picture& p, int n) {
    Picture r = p;
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width; ++x) {
            const int sx = (x + n) % p.width;
            for (int c = 0; c < 4; ++c) {
                r.rgba[(static_cast<size_t>(y) * p.width + x) * 4 + c] =
                    p.rgba[(static_cast<size_t>(y) * p.width + sx) * 4 + c];
            }
        }
    }
    return r;
}

}  // namespace quillon::test
