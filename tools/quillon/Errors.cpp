#include "Errors.h"

namespace quillon {

const char* ExitCodeName(ExitCode code) {
    switch (code) {
        case ExitCode::Ok:
            return "ok";
        case ExitCode::Internal:
            return "internal";
        case ExitCode::Usage:
            return "usage";
        case ExitCode::InputMissing:
            return "input-missing";
        case ExitCode::CorruptInput:
            return "corrupt-input";
        case ExitCode::Unsupported:
            return "unsupported";
        case ExitCode::SizeOutOfRange:
            return "size-out-of-range";
        case ExitCode::TargetTooSmall:
            return "target-too-small";
        case ExitCode::UnknownPreset:
            return "unknown-preset";
        case ExitCode::TruncatedPipe:
            return "truncated-pipe";
        case ExitCode::OutputRefused:
            return "output-refused";
        case ExitCode::OutputFailed:
            return "output-failed";
        case ExitCode::EngineFailed:
            return "engine-failed";
        case ExitCode::OutOfMemory:
            return "out-of-memory";
        case ExitCode::Interrupted:
            return "interrupted";
    }
    return "unknown";
}

}  // namespace quillon
