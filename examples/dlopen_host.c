/*
 * A host that loads the library while it runs, as a player does with its plug-ins.
 *
 *   dlopen_host LIBRARY FILE > FILE.utf8
 *
 * It names the encoding by the first megabyte and converts the file in blocks, however large the file is.
 */
#include "zucharset.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { SAMPLE = 1 << 20, BLOCK = 1 << 16 };

static uint8_t input[SAMPLE];
static uint8_t output[3 * BLOCK + 1]; /* no encoding grows more, and one byte for the 0 at the end */

/* The code type of the file, or -1. */
static int32_t detect(const ZU_CHARSET_S *entry, FILE *file) {
    ZU_CHARSET_HANDLE handle = NULL;
    int32_t type = -1;
    const size_t length = fread(input, 1, SAMPLE, file);
    if (entry->pfnDetectorCreate(&handle, 0) != 0)
        return -1;
    if (entry->pfnDetectorIdentStream(handle, input, (int32_t)length, 0, &type) != 0)
        type = -1;
    entry->pfnDetectorClose(handle);
    return type;
}

static int convert(const ZU_CHARSET_S *entry, int32_t type, FILE *file) {
    ZU_CHARSET_HANDLE handle = NULL;
    size_t kept = 0; /* bytes of a character that the last block cut off */
    size_t got = 0;
    int result = 0;
    /* Find comes first: it alone makes the converters known. */
    if (entry->pfnConverterFind(type, ZU_CHARSET_CODETYPE_UTF8) != 0 || entry->pfnConverterCreate(&handle, 0) != 0)
        return -1;
    while (result == 0 && (got = fread(input + kept, 1, BLOCK - kept, file)) > 0) {
        const int32_t length = (int32_t)(kept + got);
        int32_t written = (int32_t)sizeof output - 1;
        uint32_t consumed = 0;
        result = entry->pfnConverterConvStream(handle, input, length, output, &written, type, ZU_CHARSET_CODETYPE_UTF8,
                                               &consumed);
        if (result == 0 && fwrite(output, 1, (size_t)written, stdout) != (size_t)written)
            result = -1;
        kept = (size_t)length - consumed;
        memmove(input, input + consumed, kept);
    }
    entry->pfnConverterClose(handle);
    if (result == 0 && kept > 0)
        fprintf(stderr, "the file ends inside a character: %zu bytes left over\n", kept);
    return ferror(file) ? -1 : result;
}

int main(int argc, char **argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: dlopen_host LIBRARY FILE\n");
        return 2;
    }
    void *library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    const ZU_CHARSET_S *entry = dlsym(library, "g_stCharset_entry");
    FILE *file = fopen(argv[2], "rb");
    if (entry == NULL || entry->u32Version != 1 || file == NULL) {
        fprintf(stderr, "cannot use %s with %s\n", argv[1], argv[2]);
        return 1;
    }
    const int32_t type = detect(entry, file);
    rewind(file);
    const int result = type < 0 ? -1 : convert(entry, type, file);
    if (result == 0)
        fprintf(stderr, "code type %d\n", (int)type);
    else
        fprintf(stderr, "failed; VEMORA_LOG=2 in the environment shows why\n");
    fclose(file);
    dlclose(library);
    return result == 0 && fflush(stdout) == 0 ? 0 : 1;
}
