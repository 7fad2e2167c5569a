/* Names shared by the engine's C boundary and every layer below it: the
 * option bits, kernel variants, depths and the allocation hook types. Plain
 * C, so engine/Engine.h can carry it to C callers. */
#ifndef QUILLON_CORE_ENGINETYPES_H
#define QUILLON_CORE_ENGINETYPES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Allocation hooks. The release hook must accept a null pointer. */
typedef void* (*EngineAllocFn)(uint32_t byteCount);
typedef void (*EngineFreeFn)(void* block);

/* EngineOptions bits. */
enum { OPT_LANCZOS = 1, OPT_SHARPEN = 2, OPT_REFINE = 4, OPT_ANTIALIAS = 8 };

/* KernelVariant: the 8-bit upscale implementation. */
enum { KERNEL_CELL = 0, KERNEL_NONE = 1, KERNEL_TWO_PASS = 2 };

/* depthMode values. */
enum { DEPTH_8 = 0, DEPTH_16 = 1 };

#ifdef __cplusplus
}
#endif

#endif /* QUILLON_CORE_ENGINETYPES_H */
