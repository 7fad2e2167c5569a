// Fingerprints of the engine's computed tables: the filter weights, the
// refinement and sharpen curves, the derived control values and the
// anti-aliasing window, over every slider value and a range of sizes. Two
// builds whose lines differ would render different frames from the same
// input, so the Windows and the Linux build must write identical files.
#ifndef QUILLON_TOOLS_HOSTCHECK_TABLEDUMP_H
#define QUILLON_TOOLS_HOSTCHECK_TABLEDUMP_H

#include <string>

namespace quillon::hostcheck {

// Writes one line per table: "<group> <setting> <64-bit hash>". Returns false
// when a context could not be created or the file not written.
bool WriteTableFingerprints(const std::string& path, std::string* error);

}  // namespace quillon::hostcheck

#endif  // QUILLON_TOOLS_HOSTCHECK_TABLEDUMP_H
