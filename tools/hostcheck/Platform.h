// What the host check does differently on Windows: reading the plug-in's
// resources as a host does, and placing the branding library where the
// plug-in looks for it.
#ifndef QUILLON_TOOLS_HOSTCHECK_PLATFORM_H
#define QUILLON_TOOLS_HOSTCHECK_PLATFORM_H

#include <cstdint>
#include <string>
#include <vector>

namespace quillon::hostcheck {

// True where the plug-in is a Windows library with resources and the
// branding library can exist.
bool IsWindowsBuild();

// Reads resource type "PiPL", id 16000, from the file loaded as data (the
// way a host scans its plug-in folders, before it runs any of the code).
bool ReadPiplResource(const std::string& pluginPath, std::vector<uint8_t>& bytes,
                      std::string* error);

// Loads the library and looks up one export by name.
bool LibraryExports(const std::string& libraryPath, const std::string& name);

// Where the branding library is installed: the common program files folder,
// then Halvern\Common\Libraries\HVBranding.dll. Empty when unknown.
std::string BrandingInstallPath();

// Copies a file there, creating the folders; or removes what is there.
bool InstallBranding(const std::string& source, std::string* error);
bool RemoveBranding();

// Whether a module of this file name is loaded in the process.
bool IsModuleLoaded(const char* fileName);

void SetEnvironment(const char* name, const std::string& value);

}  // namespace quillon::hostcheck

#endif  // QUILLON_TOOLS_HOSTCHECK_PLATFORM_H
