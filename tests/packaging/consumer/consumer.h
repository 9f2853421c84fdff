/* One buffer through the installed library, for the C and the C++ consumer alike. */
#include <zucharset.h>

#include <stdio.h>
#include <stdlib.h>

static int convertFile(const char *name) {
    static uint8_t input[65536], output[3 * sizeof input + 1];
    FILE *file = fopen(name, "rb");
    if (file == NULL)
        return 1;
    const int32_t length = (int32_t)fread(input, 1, sizeof input, file);
    fclose(file);

    const ZU_CHARSET_S *entry = &g_stCharset_entry;
    ZU_CHARSET_HANDLE detector = NULL, converter = NULL;
    int32_t type = 0, written = (int32_t)sizeof output - 1;
    uint32_t consumed = 0;
    if (entry->pfnDetectorCreate(&detector, 0) != 0 ||
        entry->pfnDetectorIdentStream(detector, input, length, 0, &type) != 0 ||
        entry->pfnDetectorClose(detector) != 0 || entry->pfnConverterFind(type, ZU_CHARSET_CODETYPE_UTF8) != 0 ||
        entry->pfnConverterCreate(&converter, 0) != 0 ||
        entry->pfnConverterConvStream(converter, input, length, output, &written, type, ZU_CHARSET_CODETYPE_UTF8,
                                      &consumed) != 0 ||
        entry->pfnConverterClose(converter) != 0)
        return 1;
    return fwrite(output, 1, (size_t)written, stdout) == (size_t)written && fflush(stdout) == 0 ? 0 : 1;
}
