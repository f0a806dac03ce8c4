/* A program written against the installed headers and library, in plain C: the library's own
   calls, a memory block, and a GDI object inspected and freed through the area headers. */
#include <stdio.h>
#include <string.h>

#include <vexora.h>

int main(void) {
    char version[16] = {0};
    char message[64];
    GetImageVersion(version, sizeof version);
    SetImgError(IMGERR_OPENFILE);
    ImgErrorString(message, -1);
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 64);
    LOGPALETTE logical = {0x300, 1, {{1, 2, 3, 0}}};
    HPALETTE palette = CreatePalette(&logical);
    int gdi = GetObjectType(palette) == OBJ_PAL && DeleteObject(palette) && GetObjectType(palette) == 0;
    int ok = gdi && strcmp(version, "Version 5.56") == 0 && strcmp(message, "Can't open file") == 0 &&
             block != NULL && GlobalSize(block) == 64 && GlobalFree(block) == NULL;
    printf("consumer: %s, %s\n", version, ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
