// Loading a dynamic library and looking up one symbol: the only
// platform-specific part of the host simulator.
#ifndef QUILLON_TOOLS_HOSTSIM_SHAREDLIBRARY_H
#define QUILLON_TOOLS_HOSTSIM_SHAREDLIBRARY_H

#include <string>

namespace quillon::hostsim {

class SharedLibrary {
public:
    SharedLibrary() = default;
    ~SharedLibrary();
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    // Loads the library; on failure returns false and describes why.
    bool Open(const std::string& path, std::string* error);
    void Close();
    bool IsOpen() const { return handle_ != nullptr; }
    // The address of an exported symbol, or null.
    void* Symbol(const char* name) const;

private:
    void* handle_ = nullptr;
};

}  // namespace quillon::hostsim

#endif  // QUILLON_TOOLS_HOSTSIM_SHAREDLIBRARY_H
