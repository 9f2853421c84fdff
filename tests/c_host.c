/* A host in C: the header must do without C++, and one buffer goes the whole way through the entry record. */
#include "zucharset.h"

#include <stdio.h>
#include <string.h>

int main(void) {
    static const uint8_t input[] = {'c', 'a', 'f', 0xE9, 0x80};
    uint8_t output[3 * sizeof input + 1];
    int32_t length = (int32_t)sizeof output - 1;
    uint32_t consumed = 0;
    ZU_CHARSET_HANDLE handle = NULL;
    const ZU_CHARSET_S *entry = &g_stCharset_entry;
    if (entry->pfnConverterFind(ZU_CHARSET_CODETYPE_CP1252, ZU_CHARSET_CODETYPE_UTF8) != 0 ||
        entry->pfnConverterCreate(&handle, 0) != 0 ||
        entry->pfnConverterConvStream(handle, input, (int32_t)sizeof input, output, &length, ZU_CHARSET_CODETYPE_CP1252,
                                      ZU_CHARSET_CODETYPE_UTF8, &consumed) != 0 ||
        entry->pfnConverterClose(handle) != 0)
        return 1;
    printf("%s\n", (const char *)output);
    return length != 8 || consumed != sizeof input || strcmp((const char *)output, "caf\xC3\xA9\xE2\x82\xAC") != 0;
}
