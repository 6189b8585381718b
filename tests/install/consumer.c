/* A C99 program that links the installed library: the header must stand
 * alone in C, and the shared library must choose a path at load. */
#include <stdio.h>
#include <string.h>
#include <vexovc.h>

int main(void) {
    Vexo8u src[17 * 17], dst[16 * 16];
    const VexoLibraryVersion* v = vexovcGetLibVersion();
    int i;
    for (i = 0; i < 17 * 17; ++i) src[i] = (Vexo8u)i;
    if (vexoCopy16x16HP_8u_C1R(src, 17, dst, 16, 1, 0) != vexoStatusOk) return 1;
    if (dst[0] != (Vexo8u)((src[0] + src[1] + 1) >> 1)) return 2;
    if (v == NULL || v->major != 9 || strncmp(v->name, "vexoVC", 6) != 0) return 3;
    printf("%s\n", v->name);
    return 0;
}
