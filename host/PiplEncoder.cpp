#include "host/PiplEncoder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace quillon::plugin {
namespace {

void Put16(std::vector<uint8_t>& out, uint32_t value) {
    out.push_back(static_cast<uint8_t>(value & 0xFFu));
    out.push_back(static_cast<uint8_t>((value >> 8) & 0xFFu));
}

void Put32(std::vector<uint8_t>& out, uint32_t value) {
    Put16(out, value & 0xFFFFu);
    Put16(out, value >> 16);
}

void PadToFour(std::vector<uint8_t>& data) {
    while (data.size() % 4 != 0) {
        data.push_back(0);
    }
}

bool EncodeValue(const PiplProperty& property, std::vector<uint8_t>& data, uint32_t& lengthField) {
    switch (property.kind) {
        case PiplValue::Code:
        case PiplValue::Word:
            Put32(data, property.number);
            lengthField = 4;
            return true;
        case PiplValue::VersionPair:
            Put16(data, property.number);
            Put16(data, property.minor);
            lengthField = 4;
            return true;
        case PiplValue::InfoWord:
            Put16(data, property.number);
            Put16(data, 0);
            lengthField = 2;
            return true;
        case PiplValue::PascalString: {
            if (property.text == nullptr) {
                return false;
            }
            const std::size_t length = std::strlen(property.text);
            if (length > 255) {
                return false;
            }
            data.push_back(static_cast<uint8_t>(length));
            data.insert(data.end(), property.text, property.text + length);
            PadToFour(data);
            lengthField = static_cast<uint32_t>(data.size());
            return true;
        }
        case PiplValue::CString: {
            if (property.text == nullptr) {
                return false;
            }
            const std::size_t length = std::strlen(property.text);
            if (length > 255) {
                return false;
            }
            data.insert(data.end(), property.text, property.text + length);
            data.push_back(0);
            PadToFour(data);
            lengthField = static_cast<uint32_t>(data.size());
            return true;
        }
    }
    return false;
}

}  // namespace

bool EncodePipl(const PiplProperty* properties, std::size_t count, std::vector<uint8_t>& bytes) {
    bytes.clear();
    std::vector<uint8_t> out;
    Put16(out, 1);
    Put32(out, 0);
    Put32(out, static_cast<uint32_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        std::vector<uint8_t> data;
        uint32_t lengthField = 0;
        if (!EncodeValue(properties[i], data, lengthField)) {
            return false;
        }
        Put32(out, kPiplVendor);
        Put32(out, properties[i].key);
        Put32(out, 0);
        Put32(out, lengthField);
        out.insert(out.end(), data.begin(), data.end());
    }
    bytes.swap(out);
    return true;
}

std::string MakePiplResourceScript(const std::vector<uint8_t>& bytes, int32_t resourceId) {
    std::string script = "// Plug-in property list, generated at build time.\n";
    script += std::to_string(resourceId) + " PiPL\nBEGIN\n";
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        const uint32_t low = bytes[i];
        const uint32_t high = i + 1 < bytes.size() ? bytes[i + 1] : 0;
        char word[16];
        std::snprintf(word, sizeof(word), "0x%04X", static_cast<unsigned>(low | (high << 8)));
        script += (i % 16 == 0) ? "    " : " ";
        script += word;
        const bool last = i + 2 >= bytes.size();
        script += last ? "\n" : ",";
        if (!last && i % 16 == 14) {
            script += "\n";
        }
    }
    script += "END\n";
    return script;
}

namespace {

uint32_t Get16(const uint8_t* at) {
    return static_cast<uint32_t>(at[0]) | (static_cast<uint32_t>(at[1]) << 8);
}

uint32_t Get32(const uint8_t* at) {
    return Get16(at) | (Get16(at + 2) << 16);
}

constexpr std::size_t kHeaderBytes = 10;
constexpr std::size_t kPropertyHeaderBytes = 16;

}  // namespace

bool DecodePipl(const uint8_t* bytes, std::size_t size,
                std::vector<DecodedPiplProperty>& properties) {
    properties.clear();
    if (bytes == nullptr || size < kHeaderBytes || Get16(bytes) != 1 || Get32(bytes + 2) != 0) {
        return false;
    }
    const uint32_t count = Get32(bytes + 6);
    std::vector<DecodedPiplProperty> decoded;
    std::size_t at = kHeaderBytes;
    for (uint32_t i = 0; i < count; ++i) {
        if (size - at < kPropertyHeaderBytes) {
            return false;
        }
        DecodedPiplProperty property;
        property.vendor = Get32(bytes + at);
        property.key = Get32(bytes + at + 4);
        property.id = Get32(bytes + at + 8);
        property.length = Get32(bytes + at + 12);
        const std::size_t padded =
            (static_cast<std::size_t>(property.length) + 3u) & ~std::size_t{3};
        at += kPropertyHeaderBytes;
        if (size - at < padded) {
            return false;
        }
        property.data.assign(bytes + at, bytes + at + padded);
        at += padded;
        decoded.push_back(std::move(property));
    }
    if (at != size) {
        return false;
    }
    properties.swap(decoded);
    return true;
}

bool ReadPiplWord(const DecodedPiplProperty& property, uint32_t& value) {
    if (property.length != 4 || property.data.size() != 4) {
        return false;
    }
    value = Get32(property.data.data());
    return true;
}

bool ReadPiplVersionPair(const DecodedPiplProperty& property, uint32_t& major, uint32_t& minor) {
    if (property.length != 4 || property.data.size() != 4) {
        return false;
    }
    major = Get16(property.data.data());
    minor = Get16(property.data.data() + 2);
    return true;
}

bool ReadPiplPascalString(const DecodedPiplProperty& property, std::string& text) {
    if (property.data.empty()) {
        return false;
    }
    const std::size_t length = property.data[0];
    // The Windows form counts the padding in the length field.
    if (property.length != property.data.size() || 1 + length > property.data.size() ||
        ((1 + length + 3) & ~std::size_t{3}) != property.data.size()) {
        return false;
    }
    for (std::size_t i = 1 + length; i < property.data.size(); ++i) {
        if (property.data[i] != 0) {
            return false;
        }
    }
    text.assign(property.data.begin() + 1,
                property.data.begin() + 1 + static_cast<std::ptrdiff_t>(length));
    return true;
}

bool ReadPiplCString(const DecodedPiplProperty& property, std::string& text) {
    const auto end = std::find(property.data.begin(), property.data.end(), uint8_t{0});
    if (end == property.data.end() || property.length != property.data.size()) {
        return false;
    }
    const std::size_t length = static_cast<std::size_t>(end - property.data.begin());
    if (((length + 1 + 3) & ~std::size_t{3}) != property.data.size()) {
        return false;
    }
    for (auto it = end; it != property.data.end(); ++it) {
        if (*it != 0) {
            return false;
        }
    }
    text.assign(property.data.begin(), end);
    return true;
}

}  // namespace quillon::plugin
