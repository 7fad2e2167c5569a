#include "StillIO.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <mutex>
#include <system_error>
#include <vector>

#include "Errors.h"

namespace fs = std::filesystem;

namespace quillon {

namespace {

constexpr int kMinSide = 4;
constexpr int kMaxSide = 65535;

std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    while (!text.empty() && (text.back() == ' ' || text.back() == '\r')) {
        text.pop_back();
    }
    return text;
}

void CheckReadable(const fs::path& path) {
    std::error_code ec;
    if (!fs::exists(path, ec)) {
        throw QuillonError(ExitCode::InputMissing, "input '" + path.string() + "' does not exist");
    }
    if (fs::is_directory(path, ec)) {
        throw QuillonError(ExitCode::InputMissing, "input '" + path.string() + "' is a directory");
    }
    std::ifstream probe(path, std::ios::binary);
    if (!probe) {
        throw QuillonError(ExitCode::InputMissing, "input '" + path.string() + "' is not readable");
    }
}

// Expands 1 (grey), 2 (grey, alpha), 3 (RGB) or 4+ (RGBA...) channels to RGBA.
template <typename T>
void ExpandToRgba(const std::vector<T>& packed, int channels, size_t pixelCount, T opaque,
                  std::vector<T>& rgba) {
    for (size_t i = 0; i < pixelCount; ++i) {
        const T* s = packed.data() + i * static_cast<size_t>(channels);
        T* d = rgba.data() + i * 4;
        switch (channels) {
            case 1:
                d[0] = d[1] = d[2] = s[0];
                d[3] = opaque;
                break;
            case 2:
                d[0] = d[1] = d[2] = s[0];
                d[3] = s[1];
                break;
            case 3:
                d[0] = s[0];
                d[1] = s[1];
                d[2] = s[2];
                d[3] = opaque;
                break;
            default:
                d[0] = s[0];
                d[1] = s[1];
                d[2] = s[2];
                d[3] = s[3];
                break;
        }
    }
}

// Image libraries print their own diagnostics on standard error (libpng
// does); quillon reports failures in one line of its own, so they are muted
// while a file is read or written.
// Files are read and written on several threads at once: the first thread
// in saves and mutes standard error, the last one out restores it.
class SilencedStderr {
public:
    SilencedStderr() {
        const std::lock_guard lock(mutex_);
        if (users_++ > 0) {
            return;
        }
        std::fflush(stderr);
        saved_ = ::dup(STDERR_FILENO);
        const int null = ::open("/dev/null", O_WRONLY);
        if (saved_ >= 0 && null >= 0) {
            ::dup2(null, STDERR_FILENO);
        }
        if (null >= 0) {
            ::close(null);
        }
    }
    ~SilencedStderr() {
        const std::lock_guard lock(mutex_);
        if (--users_ > 0 || saved_ < 0) {
            return;
        }
        std::fflush(stderr);
        ::dup2(saved_, STDERR_FILENO);
        ::close(saved_);
        saved_ = -1;
    }
    SilencedStderr(const SilencedStderr&) = delete;
    SilencedStderr& operator=(const SilencedStderr&) = delete;

private:
    static inline std::mutex mutex_;
    static inline int users_ = 0;
    static inline int saved_ = -1;
};

// Writes all of bytes to a new file at path, checking every step: image
// writers do not all notice a short write (a full disk, a file size limit).
void WriteWholeFile(const fs::path& path, const std::vector<unsigned char>& bytes,
                    const std::string& shownName) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        throw QuillonError(ExitCode::OutputFailed,
                           "cannot write '" + shownName + "': " + std::strerror(errno));
    }
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            const int error = n < 0 ? errno : ENOSPC;
            ::close(fd);
            throw QuillonError(ExitCode::OutputFailed,
                               "cannot write '" + shownName + "': " + std::strerror(error));
        }
        done += static_cast<size_t>(n);
    }
    if (::close(fd) != 0) {
        throw QuillonError(ExitCode::OutputFailed,
                           "cannot write '" + shownName + "': " + std::strerror(errno));
    }
}

// libpng's row filter flags, as OpenImageIO's "png:filter" takes them.
constexpr int kPngFilterNone = 0x08;
constexpr int kPngFilterUp = 0x20;
constexpr int kPngFilterAll = 0xF8;

void SetCompression(OIIO::ImageSpec& spec, const std::string& ext, Compression compression) {
    if (ext == ".png") {
        static constexpr int kLevel[] = {1, 6, 9, 0};
        static constexpr int kFilter[] = {kPngFilterUp, kPngFilterAll, kPngFilterAll,
                                          kPngFilterNone};
        const auto i = static_cast<size_t>(compression);
        spec.attribute("png:compressionLevel", kLevel[i]);
        spec.attribute("png:filter", kFilter[i]);
    } else if (ext == ".tif" || ext == ".tiff") {
        static constexpr const char* kTiff[] = {"lzw", "zip:6", "zip:9", "none"};
        spec.attribute("compression", kTiff[static_cast<size_t>(compression)]);
        if (compression != Compression::None) {
            spec.attribute("tiff:Predictor", 2);  // horizontal differencing
        }
    } else if (ext == ".exr") {
        // PIZ is both smaller and faster than ZIP on photographic half floats.
        spec.attribute("compression", compression == Compression::None ? "none" : "piz");
    }
}

}  // namespace

std::optional<Compression> ParseCompression(std::string_view text) {
    for (const Compression c :
         {Compression::Fast, Compression::Balanced, Compression::Small, Compression::None}) {
        if (text == CompressionName(c)) {
            return c;
        }
    }
    return std::nullopt;
}

const char* CompressionName(Compression compression) {
    switch (compression) {
        case Compression::Fast:
            return "fast";
        case Compression::Balanced:
            return "balanced";
        case Compression::Small:
            return "small";
        case Compression::None:
            return "none";
    }
    return "fast";
}

std::string LowerExtension(const fs::path& path) {
    std::string ext = path.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

StillImage ReadStill(const fs::path& path) {
    CheckReadable(path);
    const std::string name = path.string();
    SilencedStderr quiet;
    auto input = OIIO::ImageInput::create(name);
    if (!input) {
        (void)OIIO::geterror();
        throw QuillonError(ExitCode::Unsupported,
                           "'" + name + "' is not an image format quillon can read");
    }
    // Pixels as stored: straight alpha, as the host's worlds hold them.
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    OIIO::ImageSpec spec;
    if (!input->open(name, spec, config)) {
        throw QuillonError(ExitCode::CorruptInput,
                           "cannot read '" + name + "': " + OneLine(input->geterror()));
    }
    if (spec.width < kMinSide || spec.height < kMinSide) {
        throw QuillonError(ExitCode::SizeOutOfRange,
                           "'" + name + "' is " + std::to_string(spec.width) + "x" +
                               std::to_string(spec.height) +
                               "; sources must be at least 4 pixels wide and high");
    }
    if (spec.width > kMaxSide || spec.height > kMaxSide || spec.depth > 1) {
        throw QuillonError(ExitCode::SizeOutOfRange,
                           "'" + name + "' is " + std::to_string(spec.width) + "x" +
                               std::to_string(spec.height) +
                               "; the engine takes at most 65535 pixels a side");
    }
    if (spec.nchannels < 1) {
        throw QuillonError(ExitCode::Unsupported, "'" + name + "' has no colour channels");
    }

    StillImage still;
    still.formatName = input->format_name();
    still.sourceType = spec.format.c_str();
    const int channels = std::min(spec.nchannels, 4);
    still.hasAlpha = channels == 2 || channels == 4;
    const int bits =
        (spec.format == OIIO::TypeDesc::UINT8 || spec.format == OIIO::TypeDesc::INT8) ? 8 : 16;
    const auto w = static_cast<uint32_t>(spec.width);
    const auto h = static_cast<uint32_t>(spec.height);
    const size_t pixels = size_t{w} * h;
    still.image.Allocate(w, h, bits);

    auto fail = [&]() {
        return QuillonError(ExitCode::CorruptInput, "cannot read the pixels of '" + name +
                                                        "': " + OneLine(input->geterror()));
    };
    if (bits == 8) {
        std::vector<uint8_t> packed(pixels * static_cast<size_t>(channels));
        if (!input->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, packed.data())) {
            throw fail();
        }
        ExpandToRgba<uint8_t>(packed, channels, pixels, 255, still.image.pixels8);
    } else {
        std::vector<uint16_t> packed(pixels * static_cast<size_t>(channels));
        if (!input->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT16, packed.data())) {
            throw fail();
        }
        ExpandToRgba<uint16_t>(packed, channels, pixels, 65535, still.image.pixels16);
    }
    input->close();
    return still;
}

bool CanWriteStill(const fs::path& path) {
    auto output = OIIO::ImageOutput::create(path.string());
    if (!output) {
        (void)OIIO::geterror();
        return false;
    }
    return true;
}

void WriteStill(const fs::path& path, const RgbaImage& image, bool keepAlpha,
                const fs::path& formatHint, Compression compression) {
    const fs::path& named = formatHint.empty() ? path : formatHint;
    auto output = OIIO::ImageOutput::create(named.string());
    if (!output) {
        (void)OIIO::geterror();
        throw QuillonError(ExitCode::Unsupported,
                           "'" + named.string() + "' is not an image format quillon can write");
    }
    const std::string ext = LowerExtension(named);
    OIIO::TypeDesc fileType = image.bits == 8 ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::UINT16;
    if (ext == ".jpg" || ext == ".jpeg" || ext == ".jpe") {
        fileType = OIIO::TypeDesc::UINT8;
    } else if (ext == ".exr") {
        fileType = OIIO::TypeDesc::HALF;
    }
    const int channels = keepAlpha && output->supports("alpha") ? 4 : 3;
    OIIO::ImageSpec spec(static_cast<int>(image.width), static_cast<int>(image.height), channels,
                         fileType);
    if (channels == 4) {
        spec.alpha_channel = 3;
        spec.attribute("oiio:UnassociatedAlpha", 1);
    }
    SetCompression(spec, ext, compression);
    SilencedStderr quiet;
    // Encoded in memory where the writer allows it, then written with every
    // write checked; otherwise written directly and read back in full.
    std::vector<unsigned char> encoded;
    OIIO::Filesystem::IOVecOutput memory(encoded);
    const bool inMemory = output->supports("ioproxy") && output->set_ioproxy(&memory);
    if (!output->open(path.string(), spec)) {
        throw QuillonError(ExitCode::OutputFailed,
                           "cannot write '" + named.string() + "': " + OneLine(output->geterror()));
    }
    const OIIO::TypeDesc memoryType =
        image.bits == 8 ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::UINT16;
    const void* data = image.bits == 8 ? static_cast<const void*>(image.pixels8.data())
                                       : static_cast<const void*>(image.pixels16.data());
    const OIIO::stride_t xstride = static_cast<OIIO::stride_t>(4 * memoryType.size());
    const bool ok = output->write_image(memoryType, data, xstride);
    const bool closed = output->close();
    if (!ok || !closed) {
        throw QuillonError(ExitCode::OutputFailed,
                           "cannot write '" + named.string() + "': " + OneLine(output->geterror()));
    }
    if (inMemory) {
        WriteWholeFile(path, encoded, named.string());
        return;
    }
    auto check = OIIO::ImageInput::open(path.string());
    std::vector<uint8_t> pixels(image.PixelCount() * static_cast<size_t>(channels));
    if (!check || !check->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, pixels.data())) {
        (void)OIIO::geterror();
        throw QuillonError(ExitCode::OutputFailed,
                           "cannot write '" + path.string() + "': the file is incomplete");
    }
}

}  // namespace quillon
