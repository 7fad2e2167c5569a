// Whether this build has the baseline 128-bit integer vectors (SSE2): every
// x86-64 compiler target does. Vector kernels are compiled only then; their
// plain scalar twins serve every other build.
#ifndef QUILLON_ENGINE_VECTORSUPPORT_H
#define QUILLON_ENGINE_VECTORSUPPORT_H

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#define QUILLON_HAVE_SSE2 1
#endif

#endif  // QUILLON_ENGINE_VECTORSUPPORT_H
