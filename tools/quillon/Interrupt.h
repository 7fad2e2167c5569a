// SIGINT and SIGTERM end a run between frames: the handler only raises a
// flag, the frame loops test it and unwind, which removes unfinished outputs.
#ifndef QUILLON_TOOLS_QUILLON_INTERRUPT_H
#define QUILLON_TOOLS_QUILLON_INTERRUPT_H

namespace quillon {

void InstallInterruptHandlers();
bool InterruptRequested();
// Throws QuillonError(Interrupted) when a signal arrived.
void ThrowIfInterrupted();

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_INTERRUPT_H
