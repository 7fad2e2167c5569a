// Public boundary of the scaling engine.
//
// The engine enlarges one four-channel working frame (8 or 16 bits a channel,
// channels blue, green, red, transparency, rows packed without gaps) from a
// source size to a destination size, optionally centred in a larger canvas.
// Everything outside engine/, kernels/ and antialias/ reaches the engine
// through this header only.
#ifndef QUILLON_ENGINE_ENGINE_H
#define QUILLON_ENGINE_ENGINE_H

#include <stdint.h>

#include "core/EngineTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ScaleContext ScaleContext;

// Allocation hooks (types in core/EngineTypes.h). Every context and every
// buffer a frame needs comes from the allocation hook, on the thread that
// calls the engine, and goes back through the release hook. Tables that
// depend only on settings (positions, weights, curves) are shared between
// contexts in a small process-wide cache; that cache lives across frames and
// renders, so it takes its memory from the default aligned allocator, never
// from the hooks.

// Both null restores the 16-byte-aligned defaults; both set installs them;
// exactly one null returns -1 and changes nothing.
int32_t SetEngineAllocator(EngineAllocFn alloc, EngineFreeFn release);

// Channel ceilings the kernels clamp to: 2..255 and 2..65535, else -1.
int32_t SetMaxValue8(int32_t value);
int32_t SetMaxValue16(int32_t value);

// How new contexts run. Levels: 0 scalar, 1 SSE2, 2 AVX2, 3 AVX-512.
enum { ENGINE_CPU_SCALAR = 0, ENGINE_CPU_SSE2 = 1, ENGINE_CPU_AVX2 = 2, ENGINE_CPU_AVX512 = 3 };

// Caps the instruction-set level of contexts created from now on (0..3); -1
// removes the setting, leaving the environment's QUILLON_CPU (scalar, sse2,
// avx2 or avx512; any other value is ignored) or no cap. Other values: -1,
// nothing changes.
int32_t SetEngineCpuCap(int32_t level);
// The level new contexts use (the machine's, capped), and the machine's own.
int32_t GetEngineCpuLevel(void);
int32_t GetMachineCpuLevel(void);

// Threads (the calling one included) new contexts split a frame's passes
// over: 1..256; 0 removes the setting, leaving the environment's
// QUILLON_THREADS or the machine's hardware threads. Other values: -1.
int32_t SetEngineThreads(uint32_t count);
uint32_t GetEngineThreads(void);

// Joins the engine's worker threads (they start again when next needed).
// Call only while no frame is being processed; the plug-in does it at global
// setdown.
void StopEngineThreads(void);

// Runs band(state, rowBegin, rowEnd) over rows 0..rowCount split into as
// many bands as the threads in force, on the engine's worker threads and the
// calling one; returns when every band is done. The plug-in's pixel
// conversions use it. band must not call the allocation hooks or the host.
typedef void (*EngineRowBandFn)(void* state, uint32_t rowBegin, uint32_t rowEnd);
void RunEngineRowBands(uint32_t rowCount, EngineRowBandFn band, void* state);

// Validates the request and builds a context with its kernels and tables.
// Returns 0 and stores the context through contextOut, or -1 (nothing is
// allocated and *contextOut is not written). Sources narrower or lower than
// 4 pixels are rejected; so is a request whose context or tables cannot be
// allocated, or whose frames would need a block larger than the hook's
// 32-bit size can ask for. The instruction-set level and thread count in
// force now are the context's for its whole life.
int32_t CreateScaleContext(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth,
                           uint32_t dstHeight, uint32_t outWidth, uint32_t outHeight,
                           uint32_t options, uint32_t depthMode, uint32_t kernelVariant,
                           uint32_t sharpness, uint32_t refineStrength, uint32_t antiAliasAmount,
                           ScaleContext** contextOut);

// Frees everything creation allocated. Null is ignored. A context may be
// used by several threads at once, but must not be destroyed while in use.
void DestroyScaleContext(ScaleContext* context);

// Runs the passes: upscale, anti-aliasing, refinement, sharpening, then the
// centring copy into a larger canvas. source is srcWidth x srcHeight pixels,
// output outWidth x outHeight. Returns 0, or -1 when a pointer is null or the
// frame's memory could not be had. The frame's memory comes from the
// allocation hook on the calling thread, before work fans out to the
// engine's worker threads; workers never call the hooks. Several threads may
// process frames on one context at once.
int32_t ProcessFrame(const void* source, void* output, ScaleContext* context);

#ifdef __cplusplus
}
#endif

#endif  // QUILLON_ENGINE_ENGINE_H
