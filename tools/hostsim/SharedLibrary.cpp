#include "tools/hostsim/SharedLibrary.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace quillon::hostsim {

SharedLibrary::~SharedLibrary() {
    Close();
}

#ifdef _WIN32

bool SharedLibrary::Open(const std::string& path, std::string* error) {
    Close();
    HMODULE module = LoadLibraryA(path.c_str());
    if (module == nullptr) {
        if (error != nullptr) {
            *error = "LoadLibrary failed with error " + std::to_string(GetLastError());
        }
        return false;
    }
    handle_ = module;
    return true;
}

void SharedLibrary::Close() {
    if (handle_ != nullptr) {
        FreeLibrary(static_cast<HMODULE>(handle_));
        handle_ = nullptr;
    }
}

void* SharedLibrary::Symbol(const char* name) const {
    if (handle_ == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

#else

bool SharedLibrary::Open(const std::string& path, std::string* error) {
    Close();
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) {
        if (error != nullptr) {
            const char* reason = dlerror();
            *error = reason != nullptr ? reason : "dlopen failed";
        }
        return false;
    }
    return true;
}

void SharedLibrary::Close() {
    if (handle_ != nullptr) {
        dlclose(handle_);
        handle_ = nullptr;
    }
}

void* SharedLibrary::Symbol(const char* name) const {
    return handle_ != nullptr ? dlsym(handle_, name) : nullptr;
}

#endif

}  // namespace quillon::hostsim
