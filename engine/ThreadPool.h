// The engine's one persistent pool of worker threads, shared by every
// context and started on first use. A pass hands it a number of tasks (row
// bands); the calling thread works on its own tasks too and returns when all
// are done, so several frames can be in flight from different host threads
// at once. Tasks never allocate through the engine's hooks and never call
// the host.
#ifndef QUILLON_ENGINE_THREADPOOL_H
#define QUILLON_ENGINE_THREADPOOL_H

#include <cstdint>

namespace quillon {

using TaskFn = void (*)(void* state, uint32_t task);

// Runs task(state, i) for i in [0, tasks) on at most `threads` threads (the
// caller included) and returns when every one has returned. With one thread,
// or when no worker can be started, everything runs on the caller.
void RunTasks(uint32_t tasks, uint32_t threads, TaskFn task, void* state);

// Joins every worker. The pool starts again when next needed. Must not be
// called while a frame is being processed (the plug-in calls it at global
// setdown; on Linux it also runs when the library is unloaded).
void StopWorkers();

// Workers alive now (tests and tools).
uint32_t WorkerCount();

}  // namespace quillon

#endif  // QUILLON_ENGINE_THREADPOOL_H
