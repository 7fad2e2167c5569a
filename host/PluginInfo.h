// The effect's identity in one place: the plug-in property list is generated
// from the table below at build time, and global setup reports the same
// version and flag words, so the two cannot disagree.
#ifndef QUILLON_HOST_PLUGININFO_H
#define QUILLON_HOST_PLUGININFO_H

#include <cstdint>

#include "host/ae/PluginTypes.h"

namespace quillon::plugin {

// Big-endian reading of four characters, the host's way of writing codes.
constexpr uint32_t FourCC(const char (&code)[5]) {
    return (static_cast<uint32_t>(static_cast<unsigned char>(code[0])) << 24) |
           (static_cast<uint32_t>(static_cast<unsigned char>(code[1])) << 16) |
           (static_cast<uint32_t>(static_cast<unsigned char>(code[2])) << 8) |
           static_cast<uint32_t>(static_cast<unsigned char>(code[3]));
}

// The host's packed version word: build 0-8, stage 9-10, bug-fix 11-14,
// sub-version 15-18, version 19-21.
constexpr uint32_t PackVersion(uint32_t version, uint32_t subVersion, uint32_t bugFix,
                               uint32_t stage, uint32_t build) {
    return ((version & 0x7u) << 19) | ((subVersion & 0xFu) << 15) | ((bugFix & 0xFu) << 11) |
           ((stage & 0x3u) << 9) | (build & 0x1FFu);
}

inline constexpr char kEffectName[] = "Quillon 4K";
inline constexpr char kCategory[] = "HV Palomar Suite";
inline constexpr char kMatchName[] = "KMX Quillon 4K";
inline constexpr char kEntryPointName[] = "EntryPointFunc";
inline constexpr char kSuiteName[] = "Palomar Suite";
inline constexpr char kDescription[] = "Upconvert video to 4K resolution";

inline constexpr uint32_t kVersionMajor = 1;
inline constexpr uint32_t kVersionMinor = 5;
inline constexpr uint32_t kVersionBugFix = 7;
inline constexpr uint32_t kVersionBuild = 0;
inline constexpr uint32_t kMyVersion =
    PackVersion(kVersionMajor, kVersionMinor, kVersionBugFix, PF_Stage_RELEASE, kVersionBuild);

inline constexpr PF_OutFlags kGlobalOutFlags =
    PF_OutFlag_USE_OUTPUT_EXTENT | PF_OutFlag_I_EXPAND_BUFFER | PF_OutFlag_PIX_INDEPENDENT |
    PF_OutFlag_CUSTOM_UI | PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_SEND_UPDATE_PARAMS_UI;
inline constexpr PF_OutFlags2 kGlobalOutFlags2 =
    PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER;

static_assert(kMyVersion == 0x000ABE00u);
static_assert(kGlobalOutFlags == 0x06008640);
static_assert(kGlobalOutFlags2 == 0x00008000);

// ------------------------------------------------------------ property list

inline constexpr int32_t kPiplResourceId = 16000;

enum class PiplValue : uint8_t {
    Code,          // a four-character code, stored as its 32-bit value
    PascalString,  // length byte and characters, padded to four bytes
    CString,       // characters and a terminating zero, padded to four bytes
    VersionPair,   // two 16-bit numbers, major then minor
    Word,          // one 32-bit number
    InfoWord,      // one 16-bit number in four bytes, length field 2
};

struct PiplProperty {
    uint32_t key;
    PiplValue kind;
    uint32_t number;   // Code, Word, InfoWord; major for VersionPair
    uint32_t minor;    // VersionPair only
    const char* text;  // PascalString, CString
};

inline constexpr uint32_t kPiplVendor = FourCC("8BIM");

inline constexpr PiplProperty kPiplProperties[] = {
    {FourCC("kind"), PiplValue::Code, FourCC("eFKT"), 0, nullptr},
    {FourCC("name"), PiplValue::PascalString, 0, 0, kEffectName},
    {FourCC("catg"), PiplValue::PascalString, 0, 0, kCategory},
    {FourCC("8664"), PiplValue::CString, 0, 0, kEntryPointName},
    {FourCC("ePVR"), PiplValue::VersionPair, 2, 0, nullptr},
    {FourCC("eSVR"), PiplValue::VersionPair, 13, 0, nullptr},
    {FourCC("eVER"), PiplValue::Word, kMyVersion, 0, nullptr},
    {FourCC("eINF"), PiplValue::InfoWord, 0, 0, nullptr},
    {FourCC("eGLO"), PiplValue::Word, static_cast<uint32_t>(kGlobalOutFlags), 0, nullptr},
    {FourCC("eGL2"), PiplValue::Word, static_cast<uint32_t>(kGlobalOutFlags2), 0, nullptr},
    {FourCC("eMNA"), PiplValue::PascalString, 0, 0, kMatchName},
    {FourCC("aeRD"), PiplValue::Word, 0, 0, nullptr},
    {FourCC("aeFL"), PiplValue::Word, 8, 0, nullptr},
};

}  // namespace quillon::plugin

#endif  // QUILLON_HOST_PLUGININFO_H
