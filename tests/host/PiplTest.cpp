// The generated property list, decoded from the build's output, and the
// resource script that carries it.
#include <gtest/gtest.h>

#include <algorithm>
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

struct Property {
    std::string key;  // characters in reading order
    uint32_t length;
    std::vector<uint8_t> data;  // padded data
};

std::string CodeText(uint32_t code) {
    return {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
            static_cast<char>(code >> 8), static_cast<char>(code)};
}

std::vector<Property> Decode(const std::vector<uint8_t>& bytes) {
    std::vector<Property> properties;
    std::size_t at = 10;
    for (uint32_t i = 0; i < Le32(bytes, 6); ++i) {
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
    EXPECT_EQ(Le32(bytes, 0) & 0xFFFF, 1u);  // the 16-bit marker, then version 0
    EXPECT_EQ(Le32(bytes, 2), 0u);
    const std::vector<Property> p = Decode(bytes);
    ASSERT_EQ(p.size(), 13u);

    const char* keys[] = {"kind", "name", "catg", "8664", "ePVR", "eSVR", "eVER",
                          "eINF", "eGLO", "eGL2", "eMNA", "aeRD", "aeFL"};
    const uint32_t lengths[] = {4, 12, 20, 16, 4, 4, 4, 2, 4, 4, 16, 4, 4};
    // One little-endian word ('eFKT'; 16-bit halves for the version pairs);
    // the texts are checked below.
    const uint32_t words[] = {0x65464B54, 0,          0,      0, 2, 13, 0x000ABE00,
                              0,          0x06008640, 0x8000, 0, 0, 8};
    for (std::size_t i = 0; i < 13; ++i) {
        SCOPED_TRACE(keys[i]);
        EXPECT_EQ(p[i].key, keys[i]);
        EXPECT_EQ(p[i].length, lengths[i]);
        if (lengths[i] <= 4) {
            EXPECT_EQ(Le32(p[i].data, 0), words[i]);
        }
    }
    EXPECT_EQ(Pascal(p[1]), "Quillon 4K");
    EXPECT_EQ(Pascal(p[2]), "HV Palomar Suite");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p[3].data.data())), "EntryPointFunc");
    EXPECT_EQ(Pascal(p[10]), "KMX Quillon 4K");
}

TEST(PluginPropertyList, ResourceScriptCarriesTheSameBytes) {
    const std::vector<uint8_t> bytes = ReadFile(QUILLON_PIPL_BINARY);
    std::ifstream file(QUILLON_PIPL_SCRIPT);
    const std::string script((std::istreambuf_iterator<char>(file)),
                             std::istreambuf_iterator<char>());
    ASSERT_NE(script.find("16000 PiPL"), std::string::npos);
    const std::size_t begin = script.find("BEGIN");
    const std::size_t end = script.find("END", begin + 5);
    ASSERT_TRUE(begin != std::string::npos && end != std::string::npos);
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

// The plug-in's own reader, checked against the decoding above, then fed
// damaged copies.
TEST(PluginPropertyList, ReaderAgreesAndRejectsDamagedLists) {
    using namespace quillon::plugin;
    const std::vector<uint8_t> good = ReadFile(QUILLON_PIPL_BINARY);
    const std::vector<Property> expected = Decode(good);
    std::vector<DecodedPiplProperty> p;
    ASSERT_TRUE(DecodePipl(good.data(), good.size(), p));
    ASSERT_EQ(p.size(), expected.size());
    for (std::size_t i = 0; i < p.size(); ++i) {
        EXPECT_EQ(p[i].vendor, FourCC("8BIM"));
        EXPECT_EQ(CodeText(p[i].key), expected[i].key);
        ASSERT_EQ(p[i].length, expected[i].length);
        EXPECT_TRUE(std::equal(p[i].data.begin(), p[i].data.begin() + p[i].length,
                               expected[i].data.begin()));
    }
    std::string text;
    uint32_t major = 0, minor = 1, word = 0;
    EXPECT_TRUE(ReadPiplPascalString(p[1], text) && text == "Quillon 4K") << text;
    EXPECT_TRUE(ReadPiplCString(p[3], text) && text == "EntryPointFunc") << text;
    EXPECT_TRUE(ReadPiplVersionPair(p[5], major, minor) && major == 13 && minor == 0);
    EXPECT_TRUE(ReadPiplWord(p[8], word) && word == 0x06008640u) << word;
    EXPECT_FALSE(ReadPiplWord(p[7], word));  // a length of 2 is not a word
    DecodedPiplProperty name = p[1];
    name.data.back() = 'x';  // padding must be zeros
    EXPECT_FALSE(ReadPiplPascalString(name, text));
    name = p[1];
    name.data[0] = 40;  // longer than the data
    EXPECT_FALSE(ReadPiplPascalString(name, text));

    const struct {
        std::size_t at;  // byte changed, or the new size when `value` < 0
        int value;
    } damage[] = {{good.size() - 1, -1}, {good.size() + 1, -1}, {9, -1}, {0, 2}, {6, 14},
                  {10 + 12 + 3, 0x7F}};
    for (const auto& d : damage) {
        std::vector<uint8_t> bytes = good;
        if (d.value < 0) {
            bytes.resize(d.at);
        } else {
            bytes[d.at] = static_cast<uint8_t>(d.value);
        }
        EXPECT_FALSE(DecodePipl(bytes.data(), bytes.size(), p)) << d.at << " " << d.value;
        EXPECT_TRUE(p.empty());
    }
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
