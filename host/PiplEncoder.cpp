#include "host/PiplEncoder.h"

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

}  // namespace quillon::plugin
