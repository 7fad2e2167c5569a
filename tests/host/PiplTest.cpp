// The generated property list, decoded from the build's output, and the
// resource script that carries it.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "host/PiplEncoder.h"
#include "host/PluginInfo.h"

namespace {

std::vector<uint8_t> ReadFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(file),
                                std::istreambuf_iterator<char>());
}

uint32_t Le32(const std::vector<uint8_t>& b, std::size_t at) {
    return static_cast<uint32_t>(b.at(at)) | (static_cast<uint32_t>(b.at(at + 1)) << 8) |
           (static_cast<uint32_t>(b.at(at + 2)) << 16) |
           (static_cast<uint32_t>(b.at(at + 3)) << 24);
}

uint16_t Le16(const std::vector<uint8_t>& b, std::size_t at) {
    return static_cast<uint16_t>(b.at(at) | (b.at(at + 1) << 8));
}

struct Property {
    std::string key;  // characters in reading order
    uint32_t length;
    std::vector<uint8_t> data;  // padded data
};

std::string CodeText(uint32_t code) {
    return {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
            static_cast<char>(code >> 8), static_cast<char>(code)};
}

std::vector<Property> Decode(const std::vector<uint8_t>& bytes, uint32_t& count) {
    std::vector<Property> properties;
    count = Le32(bytes, 6);
    std::size_t at = 10;
    for (uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(CodeText(Le32(bytes, at)), "8BIM");
        EXPECT_EQ(Le32(bytes, at + 8), 0u);
        Property p;
        p.key = CodeText(Le32(bytes, at + 4));
        p.length = Le32(bytes, at + 12);
        const std::size_t padded = (p.length + 3u) & ~3u;
        p.data.assign(bytes.begin() + static_cast<std::ptrdiff_t>(at + 16),
                      bytes.begin() + static_cast<std::ptrdiff_t>(at + 16 + padded));
        properties.push_back(p);
        at += 16 + padded;
    }
    EXPECT_EQ(at, bytes.size());
    return properties;
}

std::string Pascal(const Property& p) {
    const std::size_t length = p.data.at(0);
    EXPECT_EQ(p.length, (1 + length + 3) & ~std::size_t{3});
    for (std::size_t i = 1 + length; i < p.data.size(); ++i) {
        EXPECT_EQ(p.data[i], 0);
    }
    return std::string(p.data.begin() + 1,
                       p.data.begin() + 1 + static_cast<std::ptrdiff_t>(length));
}

TEST(PluginPropertyList, GeneratedBytesHoldTheEffectsProperties) {
    const std::vector<uint8_t> bytes = ReadFile(QUILLON_PIPL_BINARY);
    ASSERT_EQ(bytes.size(), 318u);
    EXPECT_EQ(Le16(bytes, 0), 1);
    EXPECT_EQ(Le32(bytes, 2), 0u);
    uint32_t count = 0;
    const std::vector<Property> p = Decode(bytes, count);
    ASSERT_EQ(count, 13u);
    ASSERT_EQ(p.size(), 13u);

    const char* keys[] = {"kind", "name", "catg", "8664", "ePVR", "eSVR", "eVER",
                          "eINF", "eGLO", "eGL2", "eMNA", "aeRD", "aeFL"};
    for (std::size_t i = 0; i < 13; ++i) {
        EXPECT_EQ(p[i].key, keys[i]) << i;
    }
    EXPECT_EQ(CodeText(Le32(p[0].data, 0)), "eFKT");
    EXPECT_EQ(Pascal(p[1]), "Quillon 4K");
    EXPECT_EQ(Pascal(p[2]), "HV Palomar Suite");
    EXPECT_EQ(p[3].length, 16u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p[3].data.data())), "EntryPointFunc");
    EXPECT_EQ(p[4].length, 4u);
    EXPECT_EQ(Le16(p[4].data, 0), 2);
    EXPECT_EQ(Le16(p[4].data, 2), 0);
    EXPECT_EQ(Le16(p[5].data, 0), 13);
    EXPECT_EQ(Le16(p[5].data, 2), 0);
    EXPECT_EQ(Le32(p[6].data, 0), 0x000ABE00u);
    EXPECT_EQ(p[7].length, 2u);
    EXPECT_EQ(p[7].data.size(), 4u);
    EXPECT_EQ(Le32(p[7].data, 0), 0u);
    EXPECT_EQ(Le32(p[8].data, 0), 0x06008640u);
    EXPECT_EQ(Le32(p[9].data, 0), 0x00008000u);
    EXPECT_EQ(Pascal(p[10]), "KMX Quillon 4K");
    EXPECT_EQ(Le32(p[11].data, 0), 0u);
    EXPECT_EQ(Le32(p[12].data, 0), 8u);
}

TEST(PluginPropertyList, ResourceScriptCarriesTheSameBytes) {
    const std::vector<uint8_t> bytes = ReadFile(QUILLON_PIPL_BINARY);
    std::ifstream file(QUILLON_PIPL_SCRIPT);
    const std::string script((std::istreambuf_iterator<char>(file)),
                             std::istreambuf_iterator<char>());
    ASSERT_NE(script.find("16000 PiPL"), std::string::npos);
    const std::size_t begin = script.find("BEGIN");
    const std::size_t end = script.find("END", begin + 5);
    ASSERT_NE(begin, std::string::npos);
    ASSERT_NE(end, std::string::npos);
    const std::string body = script.substr(begin + 5, end - begin - 5);
    std::vector<uint8_t> decoded;
    const std::regex word("0x([0-9A-Fa-f]{4})");
    for (auto it = std::sregex_iterator(body.begin(), body.end(), word);
         it != std::sregex_iterator(); ++it) {
        const unsigned value = static_cast<unsigned>(std::stoul((*it)[1].str(), nullptr, 16));
        decoded.push_back(static_cast<uint8_t>(value & 0xFF));
        decoded.push_back(static_cast<uint8_t>(value >> 8));
    }
    EXPECT_EQ(decoded, bytes);
}

TEST(PluginPropertyList, GlobalSetupWordsComeFromTheSameTable) {
    using namespace quillon::plugin;
    bool sawVersion = false;
    bool sawFlags = false;
    for (const PiplProperty& property : kPiplProperties) {
        if (property.key == FourCC("eVER")) {
            EXPECT_EQ(property.number, kMyVersion);
            sawVersion = true;
        }
        if (property.key == FourCC("eGLO")) {
            EXPECT_EQ(property.number, static_cast<uint32_t>(kGlobalOutFlags));
            sawFlags = true;
        }
    }
    EXPECT_TRUE(sawVersion && sawFlags);
    EXPECT_EQ(PackVersion(1, 5, 7, 3, 0), 0x000ABE00u);
}

TEST(PluginPropertyList, EncoderRejectsUnencodableTexts) {
    using namespace quillon::plugin;
    const std::string tooLong(256, 'a');
    const PiplProperty bad[] = {{FourCC("name"), PiplValue::PascalString, 0, 0, tooLong.c_str()}};
    std::vector<uint8_t> bytes{1, 2, 3};
    EXPECT_FALSE(EncodePipl(bad, 1, bytes));
    EXPECT_TRUE(bytes.empty());
    const PiplProperty missing[] = {{FourCC("8664"), PiplValue::CString, 0, 0, nullptr}};
    EXPECT_FALSE(EncodePipl(missing, 1, bytes));
}

}  // namespace
