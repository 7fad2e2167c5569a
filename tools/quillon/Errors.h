// Failure kinds of the quillon tool and the exit code each one ends the
// process with. Every failure that reaches main() is one QuillonError with a
// single-line message.
#ifndef QUILLON_TOOLS_QUILLON_ERRORS_H
#define QUILLON_TOOLS_QUILLON_ERRORS_H

#include <stdexcept>
#include <string>

namespace quillon {

// Exit codes, documented in README.md. Keep the numbers stable: scripts and
// render-farm managers test them.
enum class ExitCode : int {
    Ok = 0,
    Internal = 1,        // unexpected failure (a bug)
    Usage = 2,           // bad command line
    InputMissing = 3,    // input missing or unreadable
    CorruptInput = 4,    // corrupt image or video
    Unsupported = 5,     // unsupported pixel format, file format or codec
    SizeOutOfRange = 6,  // source below 4 pixels, target beyond the engine's limits
    TargetTooSmall = 7,  // target smaller than the source
    UnknownPreset = 8,   // no such size preset
    TruncatedPipe = 9,   // raw pipe ended in the middle of a frame
    OutputRefused = 10,  // output exists without --force, or would overwrite the input
    OutputFailed = 11,   // output could not be written
    EngineFailed = 12,   // the engine refused the request or failed a frame
    OutOfMemory = 13,    // an allocation failed
    Interrupted = 130,   // SIGINT or SIGTERM
};

class QuillonError : public std::runtime_error {
public:
    QuillonError(ExitCode code, const std::string& message)
        : std::runtime_error(message), code_(code) {}
    ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

// Short name of an exit code for messages and the JSON summary.
const char* ExitCodeName(ExitCode code);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_ERRORS_H
