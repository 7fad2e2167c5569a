#include "Interrupt.h"

#include <csignal>

#include "Errors.h"

namespace quillon {

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

extern "C" void OnSignal(int) {
    g_interrupted = 1;
}

}  // namespace

void InstallInterruptHandlers() {
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;  // no SA_RESTART: a blocked read returns so the loop can stop
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // A closed downstream pipe, or a file grown past the process's size
    // limit, becomes a write error (and a clean exit), not a silent death.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool InterruptRequested() {
    return g_interrupted != 0;
}

void ThrowIfInterrupted() {
    if (g_interrupted != 0) {
        throw QuillonError(ExitCode::Interrupted, "interrupted");
    }
}

}  // namespace quillon
