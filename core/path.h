// Included first by every family source. A family source is compiled once per
// path with -DVEXO_PATH=<code> -DVEXO_LEVEL=<index> and that path's instruction
// set, and puts everything it defines inside namespace vexo::VEXO_PATH, so that
// no two paths ever share a symbol (an inline function merged across paths
// could hand AVX2 code to a processor without it).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "vexovc.h"

#if !defined(VEXO_PATH) || !defined(VEXO_LEVEL)
#error "family sources are compiled per path: VEXO_PATH and VEXO_LEVEL must be defined"
#endif

#define VEXO_LEVEL_PX 0
#define VEXO_LEVEL_W7 1
#define VEXO_LEVEL_V8 2
#define VEXO_LEVEL_S8 3
#define VEXO_LEVEL_P8 4
#define VEXO_LEVEL_G9 5
#define VEXO_LEVEL_H9 6

namespace vexo::VEXO_PATH {

constexpr int kPathLevel = VEXO_LEVEL;

// This path's function for every export: inner calls between primitives use
// these names unqualified and so stay on the path.
#define VEXO_EXPORT(ret, name, params, args) ret name params;
#include "core/exports.def"
#undef VEXO_EXPORT

// Memory services. Each path has its own; primitives call only their path's.
void* vexoAlloc8u(Vexo32s length);
void* vexoAlloc16s(Vexo32s length);
void* vexoAlloc32s(Vexo32s length);
void vexoFree(void* block);
VexoStatus vexoCopy8u(const Vexo8u* src, Vexo8u* dst, Vexo32s length);
VexoStatus vexoCopy16s(const Vexo16s* src, Vexo16s* dst, Vexo32s length);
VexoStatus vexoSet8u(Vexo8u value, Vexo8u* dst, Vexo32s length);
VexoStatus vexoZero8u(Vexo8u* dst, Vexo32s length);
VexoStatus vexoZero16s(Vexo16s* dst, Vexo32s length);
VexoStatus vexoCopyPlane8u(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s width,
                           Vexo32s height);

}  // namespace vexo::VEXO_PATH
