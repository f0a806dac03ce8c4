/* A program written against the installed headers and library, in plain C. */
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
    int ok = strcmp(version, "Version 5.56") == 0 && strcmp(message, "Can't open file") == 0 &&
             block != NULL && GlobalSize(block) == 64 && GlobalFree(block) == NULL;
    printf("consumer: %s, %s\n", version, ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
