#include "tools/hostcheck/Platform.h"

#ifdef _WIN32
#include <shlobj.h>
#include <windows.h>
#else
#include <cstdlib>
#endif

namespace quillon::hostcheck {

#ifdef _WIN32

bool IsWindowsBuild() {
    return true;
}

bool ReadPiplResource(const std::string& pluginPath, std::vector<uint8_t>& bytes,
                      std::string* error) {
    bytes.clear();
    HMODULE module = LoadLibraryExA(pluginPath.c_str(), nullptr,
                                    LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    if (module == nullptr) {
        *error = "cannot open the plug-in as data (error " + std::to_string(GetLastError()) + ")";
        return false;
    }
    bool ok = false;
    HRSRC resource = FindResourceA(module, MAKEINTRESOURCEA(16000), "PiPL");
    if (resource == nullptr) {
        *error = "no resource of type PiPL with id 16000";
    } else {
        HGLOBAL loaded = LoadResource(module, resource);
        const DWORD size = SizeofResource(module, resource);
        const void* data = loaded != nullptr ? LockResource(loaded) : nullptr;
        if (data == nullptr || size == 0) {
            *error = "the PiPL resource cannot be loaded";
        } else {
            const auto* begin = static_cast<const uint8_t*>(data);
            bytes.assign(begin, begin + size);
            ok = true;
        }
    }
    FreeLibrary(module);
    return ok;
}

bool LibraryExports(const std::string& libraryPath, const std::string& name) {
    HMODULE module = LoadLibraryA(libraryPath.c_str());
    if (module == nullptr) {
        return false;
    }
    const bool found = GetProcAddress(module, name.c_str()) != nullptr;
    FreeLibrary(module);
    return found;
}

std::string BrandingInstallPath() {
    char folder[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathA(nullptr, CSIDL_PROGRAM_FILES_COMMON, nullptr, 0, folder))) {
        return {};
    }
    return std::string(folder) + "\\Halvern\\Common\\Libraries\\HVBranding.dll";
}

bool InstallBranding(const std::string& source, std::string* error) {
    const std::string target = BrandingInstallPath();
    if (target.empty()) {
        *error = "no common program files folder";
        return false;
    }
    // Create each folder of the path in turn.
    for (std::size_t at = target.find('\\', 3); at != std::string::npos;
         at = target.find('\\', at + 1)) {
        CreateDirectoryA(target.substr(0, at).c_str(), nullptr);
    }
    if (!CopyFileA(source.c_str(), target.c_str(), FALSE)) {
        *error = "cannot copy " + source + " to " + target + " (error " +
                 std::to_string(GetLastError()) + ")";
        return false;
    }
    return true;
}

bool RemoveBranding() {
    const std::string target = BrandingInstallPath();
    if (target.empty()) {
        return false;
    }
    return DeleteFileA(target.c_str()) != 0 ||
           GetFileAttributesA(target.c_str()) == INVALID_FILE_ATTRIBUTES;
}

bool IsModuleLoaded(const char* fileName) {
    return GetModuleHandleA(fileName) != nullptr;
}

void SetEnvironment(const char* name, const std::string& value) {
    SetEnvironmentVariableA(name, value.empty() ? nullptr : value.c_str());
}

#else

bool IsWindowsBuild() {
    return false;
}

bool ReadPiplResource(const std::string&, std::vector<uint8_t>& bytes, std::string* error) {
    bytes.clear();
    *error = "a shared object carries no Windows resources";
    return false;
}

bool LibraryExports(const std::string&, const std::string&) {
    return false;
}

std::string BrandingInstallPath() {
    return {};
}

bool InstallBranding(const std::string&, std::string* error) {
    *error = "the branding library exists only on Windows";
    return false;
}

bool RemoveBranding() {
    return true;
}

bool IsModuleLoaded(const char*) {
    return false;
}

void SetEnvironment(const char* name, const std::string& value) {
    if (value.empty()) {
        unsetenv(name);
    } else {
        setenv(name, value.c_str(), 1);
    }
}

#endif

}  // namespace quillon::hostcheck
