/*
 * libvexovc: video-coding primitives for x86.
 *
 * Every primitive does one exact step of a codec on memory the caller owns and
 * returns a VexoStatus. The library holds no codec state: a path (a code
 * level for one class of processor) is chosen once per process, when the
 * library is loaded, and serves every call.
 *
 * Usable from C99 and C++.
 */
#ifndef VEXOVC_H
#define VEXOVC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint8_t Vexo8u;
typedef int8_t Vexo8s;
typedef uint16_t Vexo16u;
typedef int16_t Vexo16s;
typedef uint32_t Vexo32u;
typedef int32_t Vexo32s;
typedef int64_t Vexo64s;

typedef struct VexoSize {
    Vexo32s width;
    Vexo32s height;
} VexoSize;

typedef struct VexoPoint {
    Vexo32s x;
    Vexo32s y;
} VexoPoint;

typedef struct VexoRect {
    Vexo32s x;
    Vexo32s y;
    Vexo32s width;
    Vexo32s height;
} VexoRect;

/* A motion vector; its unit is set by the primitive that takes it. */
typedef struct VexoMotionVector {
    Vexo16s x;
    Vexo16s y;
} VexoMotionVector;

/* 0 success, negative error (nothing useful done), positive warning. */
typedef Vexo32s VexoStatus;

enum VexoStatusCode {
    vexoStatusOk = 0,
    vexoStatusRoiTooSmall = -2,
    vexoStatusAllocationFailed = -4,
    vexoStatusBadArgument = -5,
    vexoStatusBadSize = -6,
    vexoStatusNullPointer = -8,
    vexoStatusNoMemory = -9,
    vexoStatusDivideByZero = -10,
    vexoStatusOutOfRange = -11,
    vexoStatusBadQuantizer = -13,
    vexoStatusBadStep = -14,
    vexoStatusBadContext = -17,
    vexoStatusBadInterpolation = -22,
    vexoStatusBadResizeFactor = -23,
    vexoStatusBadVlcCode = -74,
    vexoStatusBadIntraEdges = -117,
    vexoStatusBadBitStream = -191,
    vexoStatusQuantError = -192,
    vexoStatusBadBitOffset = -193,
    vexoStatusStreamFull = -223,
    vexoStatusNoOperation = 1,
    vexoStatusMisalignedPointer = 2,
    vexoStatusIntraFallback = 11,
    vexoStatusForeignCpu = 20,
    vexoStatusUnknownCpuType = 21,
    vexoStatusOddSizeTruncated = 35,
    vexoStatusCpuTypeUnsupported = 36,
    vexoStatusCacheSizeUnknown = 37
};

/*
 * The constant record of the path in force. The library owns it: never write
 * or free it. On 32-bit x86 it is 32 bytes; on x86-64 the three pointers are
 * 8 bytes each and the record is 48 bytes, fields in the same order.
 */
typedef struct VexoLibraryVersion {
    Vexo32s major;      /* 9 */
    Vexo32s minor;      /* 0 */
    Vexo32s majorBuild; /* 0 */
    Vexo32s build;      /* -1 */
    char targetCpu[4];  /* the path's code, "px" ... "h9", zero filled */
    const char* name;   /* the path's banner */
    const char* version;
    const char* buildDate;
} VexoLibraryVersion;

/*
 * Detects the processor and chooses the path. Any number of calls; every call
 * after the first arrives at the same path. Returns vexoStatusOk, or
 * vexoStatusForeignCpu (20) as a warning for a processor without CPUID or of
 * another vendor: the path is still the one its features earn.
 */
VexoStatus vexovcInit(void);

/* The version record of the path in force; never null. */
const VexoLibraryVersion* vexovcGetLibVersion(void);

/* The library is single-threaded: ignores its argument, returns vexoStatusNoOperation. */
VexoStatus vexovcSetNumThreads(Vexo32s numThreads);

/* Writes 1; returns vexoStatusNoOperation, or vexoStatusNullPointer for null. */
VexoStatus vexovcGetNumThreads(Vexo32s* numThreads);

#ifdef __cplusplus
}
#endif

#include "vexovc/block_copy.h"
#include "vexovc/block_residual.h"
#include "vexovc/mpeg2.h"
#include "vexovc/vlc.h"
#include "vexovc/block_sad.h"
#include "vexovc/block_stats.h"
#include "vexovc/block_mc.h"

#endif /* VEXOVC_H */
