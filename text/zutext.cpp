#include "zutext.h"

#include "zucharset.h"

const char *zutext_error_text(int32_t result) {
    switch (result) {
        case ZUTEXT_OK:
            return "all right";
        case ZUTEXT_ERROR_ARGUMENT:
            return "an argument makes no sense";
        case ZUTEXT_ERROR_MEMORY:
            return "memory is short";
        case ZUTEXT_ERROR_CANCELLED:
            return "cancelled";
        case ZUTEXT_ERROR_REFUSED:
            return "the conversion library refused";
        case ZUTEXT_ERROR_NOT_TEXT:
            return "this is no text";
        case ZUTEXT_ERROR_UNSUPPORTED:
            return "the encoding is recognised and not converted";
        case ZUTEXT_ERROR_NAME:
            return "a hint is neither an encoding nor a language";
        default:
            return "an unknown result";
    }
}

void zutext_prepare(void) {
    ZU_CHARSET_HANDLE detector = nullptr;
    if (g_stCharset_entry.pfnDetectorCreate(&detector, 0) == 0) {
        g_stCharset_entry.pfnDetectorClose(detector);
    }
    g_stCharset_entry.pfnConverterFind(ZU_CHARSET_CODETYPE_GBK, ZU_CHARSET_CODETYPE_UTF8);
}
