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

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ScaleContext ScaleContext;

// Allocation hooks. Every engine buffer, the context included, comes from the
// allocation hook and goes back through the release hook. The release hook
// must accept a null pointer.
typedef void* (*EngineAllocFn)(uint32_t byteCount);
typedef void (*EngineFreeFn)(void* block);

// EngineOptions bits.
enum { OPT_LANCZOS = 1, OPT_SHARPEN = 2, OPT_REFINE = 4, OPT_ANTIALIAS = 8 };

// KernelVariant: the 8-bit upscale implementation.
enum { KERNEL_CELL = 0, KERNEL_NONE = 1, KERNEL_TWO_PASS = 2 };

// depthMode values.
enum { DEPTH_8 = 0, DEPTH_16 = 1 };

// Both null restores the 16-byte-aligned defaults; both set installs them;
// exactly one null returns -1 and changes nothing.
int32_t SetEngineAllocator(EngineAllocFn alloc, EngineFreeFn release);

// Channel ceilings the kernels clamp to: 2..255 and 2..65535, else -1.
int32_t SetMaxValue8(int32_t value);
int32_t SetMaxValue16(int32_t value);

// Validates the request and builds a context with its kernels and tables.
// Returns 0 and stores the context through contextOut, or -1 (nothing is
// allocated and *contextOut is not written). Sources narrower or lower than
// 4 pixels are rejected; so is a request whose buffers cannot be allocated.
int32_t CreateScaleContext(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth,
                           uint32_t dstHeight, uint32_t outWidth, uint32_t outHeight,
                           uint32_t options, uint32_t depthMode, uint32_t kernelVariant,
                           uint32_t sharpness, uint32_t refineStrength, uint32_t antiAliasAmount,
                           ScaleContext** contextOut);

// Frees everything creation allocated. Null is ignored.
void DestroyScaleContext(ScaleContext* context);

// Runs the passes: upscale, anti-aliasing, refinement, sharpening, then the
// centring copy into a larger canvas. source is srcWidth x srcHeight pixels,
// output outWidth x outHeight. Returns 0, or -1 when a pointer is null or a
// pass could not get its scratch memory.
int32_t ProcessFrame(const void* source, void* output, ScaleContext* context);

#ifdef __cplusplus
}
#endif

#endif  // QUILLON_ENGINE_ENGINE_H
