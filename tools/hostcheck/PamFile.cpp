#include "tools/hostcheck/PamFile.h"

#include <fstream>
#include <sstream>

namespace quillon::hostcheck {

bool ReadPam(const std::string& path, RgbaFrame& frame, std::string* error) {
    auto fail = [&](const std::string& why) {
        if (error != nullptr) {
            *error = path + ": " + why;
        }
        return false;
    };
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return fail("cannot open");
    }
    std::string line;
    if (!std::getline(file, line) || line != "P7") {
        return fail("not a PAM file");
    }
    int64_t width = 0;
    int64_t height = 0;
    int64_t depth = 0;
    int64_t maxValue = 0;
    std::string tupleType;
    while (std::getline(file, line) && line != "ENDHDR") {
        std::istringstream fields(line);
        std::string name;
        fields >> name;
        if (name == "WIDTH") {
            fields >> width;
        } else if (name == "HEIGHT") {
            fields >> height;
        } else if (name == "DEPTH") {
            fields >> depth;
        } else if (name == "MAXVAL") {
            fields >> maxValue;
        } else if (name == "TUPLTYPE") {
            fields >> tupleType;
        }
    }
    if (line != "ENDHDR" || width <= 0 || height <= 0 || width > 16384 || height > 16384 ||
        depth != 4 || maxValue < 1 || maxValue > 65535 || tupleType != "RGB_ALPHA") {
        return fail("unsupported header (expected a four-channel RGB_ALPHA frame)");
    }
    frame.width = static_cast<int32_t>(width);
    frame.height = static_cast<int32_t>(height);
    frame.maxValue = static_cast<uint32_t>(maxValue);
    const std::size_t count = static_cast<std::size_t>(width * height * 4);
    const std::size_t sampleBytes = maxValue > 255 ? 2 : 1;
    std::vector<unsigned char> raw(count * sampleBytes);
    file.read(reinterpret_cast<char*>(raw.data()), static_cast<std::streamsize>(raw.size()));
    if (static_cast<std::size_t>(file.gcount()) != raw.size()) {
        return fail("truncated pixel data");
    }
    frame.samples.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        frame.samples[i] =
            sampleBytes == 2 ? static_cast<uint16_t>((raw[2 * i] << 8) | raw[2 * i + 1]) : raw[i];
        if (frame.samples[i] > maxValue) {
            return fail("sample above the maximum");
        }
    }
    return true;
}

bool WritePam(const std::string& path, const RgbaFrame& frame) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << "P7\nWIDTH " << frame.width << "\nHEIGHT " << frame.height << "\nDEPTH 4\nMAXVAL "
         << frame.maxValue << "\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    std::vector<unsigned char> raw;
    raw.reserve(frame.samples.size() * 2);
    for (uint16_t sample : frame.samples) {
        if (frame.deep()) {
            raw.push_back(static_cast<unsigned char>(sample >> 8));
        }
        raw.push_back(static_cast<unsigned char>(sample & 0xFF));
    }
    file.write(reinterpret_cast<const char*>(raw.data()), static_cast<std::streamsize>(raw.size()));
    return static_cast<bool>(file);
}

}  // namespace quillon::hostcheck
