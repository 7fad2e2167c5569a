#include "Reference.h"

#include <OpenImageIO/imageio.h>

#include <cmath>
#include <stdexcept>

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
    Picture p{spec.width, spec.height, spec.format == OIIO::TypeDesc::UINT8 ? 8 : 16, {}};
    const int ch = std::min(spec.nchannels, 4);  // RGB or RGBA
    std::vector<uint16_t> raw(static_cast<size_t>(p.width) * p.height * ch);
    in->read_image(0, 0, 0, ch, OIIO::TypeDesc::UINT16, raw.data());
    for (size_t i = 0; i < raw.size(); i += ch) {
        p.rgba.insert(p.rgba.end(),
                      {raw[i], raw[i + 1], raw[i + 2], ch == 4 ? raw[i + 3] : uint16_t{65535}});
    }
    if (p.bits == 8) {
        for (uint16_t& v : p.rgba) {
            v /= 257;
        }
    }
    return p;
}

void WritePicture(const std::string& path, const Picture& p, int channels,
                  const std::string& type) {
    auto out = OIIO::ImageOutput::create(path);
    const OIIO::TypeDesc fileType =
        !type.empty() ? OIIO::TypeDesc(type) : OIIO::TypeDesc(p.bits == 8 ? "uint8" : "uint16");
    OIIO::ImageSpec spec(p.width, p.height, channels, fileType);
    spec.attribute("oiio:UnassociatedAlpha", 1);
    if (!out || !out->open(path, spec)) {
        throw std::runtime_error("cannot write " + path);
    }
    std::vector<uint16_t> full = p.rgba;
    for (uint16_t& v : full) {
        v = static_cast<uint16_t>(p.bits == 8 ? v * 257 : v);
    }
    out->write_image(OIIO::TypeDesc::UINT16, full.data(), 8);
    out->close();
}

Picture ReferenceUpscale(const Picture& p, int width, int height, const EffectSettings& s) {
    // Working frame: B, G, R, transparency; 16-bit values on the host's 0..32768.
    const bool deep = p.bits == 16;
    const uint16_t white = deep ? 32768 : 255;
    auto toHost = [&](uint16_t v) { return deep ? ToHostRange(v) : v; };
    std::vector<uint16_t> frame;
    for (size_t i = 0; i < p.rgba.size(); i += 4) {
        frame.insert(frame.end(), {toHost(p.rgba[i + 2]), toHost(p.rgba[i + 1]), toHost(p.rgba[i]),
                                   uint16_t(white - toHost(p.rgba[i + 3]))});
    }
    const uint32_t options = (s.filter == 1   ? 0u
                              : s.filter == 2 ? 1u
                              : s.filter == 3 ? 4u
                                              : 5u) |
                             (s.sharpness > 0 ? 2u : 0u) | (s.antiAliasing > 0 ? 8u : 0u);
    const support::Request request{static_cast<uint32_t>(p.width),
                                   static_cast<uint32_t>(p.height),
                                   static_cast<uint32_t>(width),
                                   static_cast<uint32_t>(height),
                                   options,
                                   deep ? 1u : 0u,
                                   deep ? 0u : 2u,  // cell kernel at 16 bits, two-pass at 8
                                   static_cast<uint32_t>(s.sharpness),
                                   static_cast<uint32_t>(s.quality),
                                   static_cast<uint32_t>(s.antiAliasing)};
    const support::CeilingGuard ceilings(255, 32768);
    std::vector<uint16_t> out;
    if (deep) {
        out = support::RunFrame(request, frame);
    } else {
        const std::vector<uint8_t> small =
            support::RunFrame(request, std::vector<uint8_t>(frame.begin(), frame.end()));
        out.assign(small.begin(), small.end());
    }
    if (out.empty()) {
        throw std::runtime_error("engine refused the reference frame");
    }
    Picture r{width, height, p.bits, {}};
    auto toFile = [&](uint16_t v) { return deep ? ToFileRange(v) : v; };
    for (size_t i = 0; i < out.size(); i += 4) {
        r.rgba.insert(
            r.rgba.end(),
            {toFile(out[i + 2]), toFile(out[i + 1]), toFile(out[i]),
             toFile(static_cast<uint16_t>(out[i + 3] >= white ? 0 : white - out[i + 3]))});
    }
    return r;
}

double Difference(const Picture& a, const Picture& b, bool mean) {
    if (a.width != b.width || a.height != b.height || a.rgba.size() != b.rgba.size()) {
        return 1e9;
    }
    double sum = 0;
    double worst = 0;
    for (size_t i = 0; i < a.rgba.size(); ++i) {
        const double d = std::abs(static_cast<int>(a.rgba[i]) - static_cast<int>(b.rgba[i]));
        sum += d;
        worst = std::max(worst, d);
    }
    return mean ? sum / static_cast<double>(a.rgba.size()) : worst;
}

}  // namespace quillon::test
