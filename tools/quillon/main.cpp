// quillon: the command-line upscaler around the scaling engine.
#include <cstdio>
#include <exception>
#include <new>
#include <string_view>

#include "Commands.h"
#include "Errors.h"
#include "Interrupt.h"
#include "Options.h"
#include "SafeOutput.h"

int main(int argc, char** argv) {
    using quillon::ExitCode;
    quillon::InstallInterruptHandlers();
    if (argc > 1 && std::string_view(argv[1]) == "farm") {
        return quillon::RunFarm(argc, argv);
    }
    quillon::ParsedCommandLine parsed;
    if (const auto code = quillon::ParseCommandLine(argc, argv, parsed)) {
        return *code;
    }
    try {
        quillon::ApplyExecution(parsed.execution);
        switch (parsed.command) {
            case quillon::Command::Upscale:
                quillon::RunUpscale(parsed.upscale);
                break;
            case quillon::Command::Pipe:
                quillon::RunPipe(parsed.pipe);
                break;
            case quillon::Command::Presets:
                quillon::RunPresets();
                break;
            case quillon::Command::Info:
                quillon::RunInfo();
                break;
            case quillon::Command::None:
                return static_cast<int>(ExitCode::Usage);
        }
    } catch (const quillon::QuillonError& e) {
        std::fflush(stdout);
        std::fprintf(stderr, "quillon: error: %s\n", e.what());
        return static_cast<int>(e.code());
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "quillon: error: out of memory\n");
        return static_cast<int>(ExitCode::OutOfMemory);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "quillon: error: internal: %s\n", e.what());
        return static_cast<int>(ExitCode::Internal);
    }
    return static_cast<int>(ExitCode::Ok);
}
