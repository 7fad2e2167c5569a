#include "RawPipe.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "Errors.h"
#include "Interrupt.h"

namespace quillon {

namespace {

using Clock = std::chrono::steady_clock;

// Reads up to size bytes, retrying short reads; returns the count read.
size_t ReadFully(std::FILE* in, uint8_t* data, size_t size) {
    size_t done = 0;
    while (done < size) {
        const size_t n = std::fread(data + done, 1, size - done, in);
        if (n == 0) {
            if (std::ferror(in) && errno == EINTR && !InterruptRequested()) {
                std::clearerr(in);
                continue;
            }
            break;
        }
        done += n;
    }
    return done;
}

}  // namespace

uint64_t RawFrameBytes(uint32_t width, uint32_t height, int bits) {
    return uint64_t{width} * height * (bits == 16 ? 8u : 4u);
}

int64_t RunRawPipe(std::FILE* in, std::FILE* out, FrameScaler& scaler,
                   const std::function<void(int64_t)>& progress, StageTimes& timings) {
    const ScaleSettings& s = scaler.settings();
    const size_t inBytes = static_cast<size_t>(RawFrameBytes(s.srcWidth, s.srcHeight, s.bits));
    const size_t outBytes = static_cast<size_t>(RawFrameBytes(s.dstWidth, s.dstHeight, s.bits));
    const size_t inPixels = size_t{s.srcWidth} * s.srcHeight;
    const size_t outPixels = size_t{s.dstWidth} * s.dstHeight;
    std::vector<uint8_t> raw(inBytes);
    std::vector<uint8_t> working(inBytes);
    std::vector<uint8_t> enlarged(outBytes);
    std::vector<uint8_t> packed(outBytes);

    int64_t frames = 0;
    for (;;) {
        ThrowIfInterrupted();
        auto t0 = Clock::now();
        const size_t got = ReadFully(in, raw.data(), inBytes);
        timings.read += SecondsSince(t0);
        if (got == 0) {
            if (std::ferror(in)) {
                ThrowIfInterrupted();
                throw QuillonError(
                    ExitCode::InputMissing,
                    std::string("cannot read standard input: ") + std::strerror(errno));
            }
            break;
        }
        if (got < inBytes) {
            ThrowIfInterrupted();
            throw QuillonError(ExitCode::TruncatedPipe, "input ended in the middle of frame " +
                                                            std::to_string(frames + 1) + " (" +
                                                            std::to_string(got) + " of " +
                                                            std::to_string(inBytes) + " bytes)");
        }

        t0 = Clock::now();
        if (s.bits == 16) {
            Rgba64leToWorking(raw.data(), inPixels, reinterpret_cast<uint16_t*>(working.data()));
        } else {
            BgraToWorking(raw.data(), inPixels, working.data());
        }
        timings.convertIn += SecondsSince(t0);

        t0 = Clock::now();
        scaler.Process(working.data(), enlarged.data());
        timings.engine += SecondsSince(t0);

        t0 = Clock::now();
        if (s.bits == 16) {
            WorkingToRgba64le(reinterpret_cast<const uint16_t*>(enlarged.data()), outPixels,
                              packed.data());
        } else {
            WorkingToBgra(enlarged.data(), outPixels, packed.data());
        }
        timings.convertOut += SecondsSince(t0);

        t0 = Clock::now();
        if (std::fwrite(packed.data(), 1, outBytes, out) != outBytes || std::fflush(out) != 0) {
            throw QuillonError(
                ExitCode::OutputFailed,
                std::string("cannot write standard output: ") + std::strerror(errno));
        }
        timings.write += SecondsSince(t0);
        ++frames;
        if (progress) {
            progress(frames);
        }
    }
    return frames;
}

}  // namespace quillon
