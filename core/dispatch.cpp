// Entry points and dispatch tables, all made from core/exports.def.
//
// Each export has a row of eight code pointers in one constant table: slot
// -1 (the first) is an initialising thunk, slots 0 to 6 the paths. The
// exported stub reads dispatchIndex and jumps through its row, arguments and
// return address untouched, so a path function has exactly the export's
// signature and the call costs one load and one indirect jump.
#include "core/internal.h"

#include "vexovc.h"

#define VEXO_EXPORT(ret, name, params, args) ret name params;
namespace vexo::px {
#include "core/exports.def"
}
namespace vexo::w7 {
#include "core/exports.def"
}
namespace vexo::v8 {
#include "core/exports.def"
}
namespace vexo::s8 {
#include "core/exports.def"
}
namespace vexo::p8 {
#include "core/exports.def"
}
namespace vexo::g9 {
#include "core/exports.def"
}
namespace vexo::h9 {
#include "core/exports.def"
}
#undef VEXO_EXPORT

// Redeclaring each export from the list: a row whose parameters or result
// differ from the public header's prototype is a compile error here.
#define VEXO_EXPORT(ret, name, params, args) extern "C" ret name params;
#include "core/exports.def"
#undef VEXO_EXPORT

extern "C" {
VEXO_HIDDEN std::atomic<Vexo32s> dispatchIndex{-1};
}

namespace vexo::slot {
// Serves a call that arrives before the load handler ran: initialise, then
// go back through the stub, which now reads a chosen index.
#define VEXO_EXPORT(ret, name, params, args) \
    ret name params {                       \
        vexovcInit();                       \
        return ::name args;                 \
    }
#include "core/exports.def"
#undef VEXO_EXPORT
}  // namespace vexo::slot

constinit const vexo::DispatchTable vexoDispatchTable = {
#define VEXO_EXPORT(ret, name, params, args)                                                               \
    {&vexo::slot::name, &vexo::px::name, &vexo::w7::name, &vexo::v8::name, &vexo::s8::name, &vexo::p8::name, \
     &vexo::g9::name, &vexo::h9::name},
#include "core/exports.def"
#undef VEXO_EXPORT
};

static_assert(sizeof(vexo::DispatchTable) % (8 * sizeof(void (*)())) == 0, "rows of eight pointers, no padding");

// The stubs, written out so that no compiler setting (no optimisation,
// sanitizers) can put a frame or a branch in them. Rows are counted by the
// assembler as the list is expanded in order.
#define VEXO_STR2(x) #x
#define VEXO_STR(x) VEXO_STR2(x)
#if defined(__x86_64__)
// RIP-relative addressing takes no index register, so the table's address is
// formed by a lea (no memory access) between the load and the jump.
#define VEXO_STUB_BODY                                                  \
    "    movslq dispatchIndex(%rip), %rax\n"                            \
    "    leaq vexoDispatchTable(%rip), %r11\n"                          \
    "    jmp *(vexoStubRow * 64 + 8)(%r11, %rax, 8)\n"
#elif defined(__i386__)
// Absolute addressing: the stub object is not position independent, and the
// shared library carries text relocations for these two instructions.
#define VEXO_STUB_BODY                                                  \
    "    movl dispatchIndex, %eax\n"                                    \
    "    jmp *(vexoDispatchTable + vexoStubRow * 32 + 4)(, %eax, 4)\n"
#else
#error "x86 only"
#endif

#define VEXO_EXPORT(ret, name, params, args)          \
    "    .globl " #name "\n"                          \
    "    .type " #name ", @function\n"                \
    "    .p2align 4\n" #name ":\n" VEXO_STUB_BODY     \
    "    .size " #name ", . - " #name "\n"            \
    "    .set vexoStubRow, vexoStubRow + 1\n"

asm("    .text\n"
    "    .set vexoStubRow, 0\n"
#include "core/exports.def"
);
#undef VEXO_EXPORT

namespace {
// The load handler: choose the path before the program's first call.
[[gnu::constructor]] void loadHandler() { (void)vexovcInit(); }
}  // namespace
