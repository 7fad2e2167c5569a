// Stand-in for the maker's branding library. It has the library's entry
// points, reports an ideal header size, draws nothing and opens no window.
// Every call appends one line to the file named by QUILLON_BRANDING_LOG:
// the call's name, then tab-separated name=value fields. Records are read
// at the byte offsets of the interface, not through the plug-in's own
// declarations, so a layout mistake on the plug-in's side shows up here.
//
// QUILLON_STANDIN_EXPORTS selects the form: 2 exports all eight entry points,
// 1 leaves out HB_ShowAboutBox and HB_HandleEvent, 0 exports nothing.
// QUILLON_BRANDING_EVENT_RESULT, when set, is the result HB_HandleEvent
// returns.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#ifndef QUILLON_STANDIN_EXPORTS
#define QUILLON_STANDIN_EXPORTS 2
#endif

#if QUILLON_STANDIN_EXPORTS >= 1
#define STANDIN_CORE extern "C" __declspec(dllexport)
#else
#define STANDIN_CORE [[maybe_unused]] static
#endif
#if QUILLON_STANDIN_EXPORTS >= 2
#define STANDIN_UI extern "C" __declspec(dllexport)
#else
#define STANDIN_UI [[maybe_unused]] static
#endif

namespace {

// The header size this library prefers; fractional on purpose, so the
// caller's truncation is visible.
constexpr float kIdealWidth = 312.75f;
constexpr float kIdealHeight = 58.5f;

int g_reference = 0;

std::string Hex(uint64_t value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%llx", static_cast<unsigned long long>(value));
    return text;
}

std::string Pointer(const void* pointer) {
    return Hex(static_cast<uint64_t>(reinterpret_cast<uintptr_t>(pointer)));
}

std::string Text(const char* text) {
    return text != nullptr ? std::string(text) : std::string("(null)");
}

template <typename T>
T ReadAt(const void* record, std::size_t offset) {
    T value{};
    std::memcpy(&value, static_cast<const uint8_t*>(record) + offset, sizeof(T));
    return value;
}

void Record(const std::string& line) {
    char path[MAX_PATH] = {};
    const DWORD length = GetEnvironmentVariableA("QUILLON_BRANDING_LOG", path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return;
    }
    std::FILE* file = std::fopen(path, "ab");
    if (file == nullptr) {
        return;
    }
    std::fputs(line.c_str(), file);
    std::fputc('\n', file);
    std::fclose(file);
}

// The 88-byte product record, field by field at its offsets.
std::string ProductFields(const void* product) {
    if (product == nullptr) {
        return "\tproduct_record=(null)";
    }
    std::string fields;
    fields += "\tproduct=" + Text(ReadAt<const char*>(product, 0));
    fields += "\tsuite=" + Text(ReadAt<const char*>(product, 8));
    fields += "\tsubtitle=" + Text(ReadAt<const char*>(product, 16));
    fields += "\treserved24=" + Pointer(ReadAt<const void*>(product, 24));
    fields += "\tversion=" + std::to_string(ReadAt<uint32_t>(product, 32)) + "." +
              std::to_string(ReadAt<uint32_t>(product, 36)) + "." +
              std::to_string(ReadAt<uint32_t>(product, 40));
    fields += "\treserved44=" + Hex(ReadAt<uint32_t>(product, 44));
    fields += "\thost=" + Hex(ReadAt<uint32_t>(product, 48));
    uint64_t reserved52 = 0;
    for (std::size_t i = 52; i < 64; ++i) {
        reserved52 |= ReadAt<uint8_t>(product, i);
    }
    fields += "\treserved52=" + Hex(reserved52);
    fields += "\tdescription=" + Text(ReadAt<const char*>(product, 64));
    fields += "\treserved72=" + Pointer(ReadAt<const void*>(product, 72));
    fields += "\tpage=" + Text(ReadAt<const char*>(product, 80));
    return fields;
}

// The build record: a 64-bit word, then a pointer to five string pointers.
std::string BuildFields(const void* build) {
    if (build == nullptr) {
        return "\tbuild_record=(null)";
    }
    std::string fields = "\tbuild_reserved=" + Hex(ReadAt<uint64_t>(build, 0));
    const void* strings = ReadAt<const void*>(build, 8);
    if (strings == nullptr) {
        return fields + "\tbuild_strings=(null)";
    }
    static const char* const kNames[5] = {"build0", "date", "time", "number", "build4"};
    for (std::size_t i = 0; i < 5; ++i) {
        const char* text = ReadAt<const char*>(strings, i * sizeof(void*));
        fields += std::string("\t") + kNames[i] + "=" + Text(text);
    }
    return fields;
}

}  // namespace

STANDIN_CORE void HB_GetVersionInfo() {
    Record("get_version_info");
}

STANDIN_UI void HB_ShowAboutBox(void* mainWindow, const void* product, const void* build) {
    Record("about\twindow=" + Pointer(mainWindow) + ProductFields(product) + BuildFields(build));
}

STANDIN_CORE void* HB_CreateAEBrandingRef(const void* product) {
    Record("create\tref=" + Pointer(&g_reference) + ProductFields(product));
    return &g_reference;
}

STANDIN_CORE void HB_DestroyAEBrandingRef(void* reference) {
    Record("destroy\tref=" + Pointer(reference));
}

STANDIN_CORE void HB_AddActionButton() {
    Record("add_action_button");
}

STANDIN_CORE void HB_GetIdealDimensions(void* reference, float* width, float* height) {
    Record("ideal\tref=" + Pointer(reference) + "\twidth=" + std::to_string(kIdealWidth) +
           "\theight=" + std::to_string(kIdealHeight));
    if (width != nullptr) {
        *width = kIdealWidth;
    }
    if (height != nullptr) {
        *height = kIdealHeight;
    }
}

STANDIN_UI int32_t HB_HandleEvent(void* reference, int32_t cmd, void* in_data, void* out_data,
                                  void* params, void* output, void* extra) {
    Record("event\tref=" + Pointer(reference) + "\tcmd=" + std::to_string(cmd) + "\tin_data=" +
           Pointer(in_data) + "\tout_data=" + Pointer(out_data) + "\tparams=" + Pointer(params) +
           "\toutput=" + Pointer(output) + "\textra=" + Pointer(extra));
    char text[32] = {};
    const DWORD length = GetEnvironmentVariableA("QUILLON_BRANDING_EVENT_RESULT", text, 32);
    if (length == 0 || length >= 32) {
        return 0;
    }
    return static_cast<int32_t>(std::strtol(text, nullptr, 10));
}

STANDIN_CORE void HB_SetActionButtonTitle() {
    Record("set_action_button_title");
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        Record("attach");
    } else if (reason == DLL_PROCESS_DETACH) {
        Record("detach");
    }
    return TRUE;
}
