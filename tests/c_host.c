/* A host in C: the header must do without C++, and one buffer goes the whole way through the entry record. */
#include "zucharset.h"

#include <string.h>

int main(void) {
    static const uint8_t input[] = {'c', 'a', 'f', 0xE9, 0x80};
    uint8_t output[16];
    int32_t length = 15;
    uint32_t consumed = 0;
    ZU_CHARSET_HANDLE handle = NULL;
    const ZU_CHARSET_S *entry = &g_stCharset_entry;
    return entry->pfnConverterFind(ZU_CHARSET_CODETYPE_CP1252, ZU_CHARSET_CODETYPE_UTF8) != 0 ||
           entry->pfnConverterCreate(&handle, 0) != 0 ||
           entry->pfnConverterConvStream(handle, input, 5, output, &length, ZU_CHARSET_CODETYPE_CP1252,
                                         ZU_CHARSET_CODETYPE_UTF8, &consumed) != 0 ||
           entry->pfnConverterClose(handle) != 0 || length != 8 || consumed != 5 ||
           strcmp((const char *)output, "caf\xC3\xA9\xE2\x82\xAC") != 0;
}
