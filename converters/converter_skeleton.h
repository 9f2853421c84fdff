// The five operations of a converter record, which the six converters share. A converter adds a description of itself
// (CONVERTER_CLASS_S) and a conversion routine for each source encoding.
#pragma once

#include "charset_common.h"
#include "vemora_utils.h"

#include <span>

namespace zucharset {

// The words that end every converter handle, after the converter's private data.
struct CONVERTER_TAIL_S {
    int32_t s32CurSrcCodeType; // code types of the latest conversion, kept for whoever looks at a core dump
    int32_t s32CurDstCodeType;
    HANDLE_CONTROL_S stControl;
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(CONVERTER_TAIL_S) == 4 * 4);
#endif

// A conversion routine: converts until the input ends, the room ends or a quit request arrives.
//   ps32OutputLen  in: capacity; out: bytes written, without the 0 byte that follows them
// The number of input bytes used; negative only where a routine refuses its arguments.
using ZU_CHARSET_CONVERTER_ToUTF8_FN = int32_t (*)(ZU_CHARSET_HANDLE hHandle, uint8_t *pu8Output,
                                                   int32_t *ps32OutputLen, const uint8_t *pu8Input,
                                                   int32_t s32InputLen);

// A converter's routines by source code type.
struct CONVERTER_ROUTINE_S {
    int32_t s32CodeType;
    ZU_CHARSET_CONVERTER_ToUTF8_FN pfnToUTF8;
};

// The order in which find tests a pair.
enum class FIND_ORDER_E : uint8_t {
    RANGES_FIRST,     // source range, destination range, source list, destination list
    SOURCE_THEN_DEST, // source range, source list, destination range, destination list
};

// When convert looks at the quit flag.
enum class QUIT_TEST_E : uint8_t {
    AFTER_LOOKUP,  // only a source type that has a routine meets the test
    BEFORE_LOOKUP, // every source type does
};

// What makes a converter different from the others, but for its private data and its decoders.
struct CONVERTER_CLASS_S {
    const int32_t *ps32ConvSrcCodeType; // lists of code types, each ended by 0
    const int32_t *ps32ConvDstCodeType;
    FIND_ORDER_E enFindOrder;
    const char *pszSrcUnknown;   // source outside the valid range
    const char *pszDstUnknown;   // destination outside the valid range
    const char *pszNotListed;    // logged first for either list; null: no such line
    const char *pszSrcNotListed; // source not in the list
    const char *pszDstNotListed; // destination not in the list
    uint32_t u32HandleSize;
    uint32_t u32TailOffset;                     // of the CONVERTER_TAIL_S in the handle
    int32_t (*pfnInit)(ZU_CHARSET_HANDLE hNew); // fills the private data; null: there is none
    std::span<const CONVERTER_ROUTINE_S> astRoutines;
    QUIT_TEST_E enQuitTest;
    const char *pszUnknownCommand;
};

// The convert operation's arguments.
struct CONVERTER_CALL_S {
    ZU_CHARSET_HANDLE hHandle;
    const uint8_t *pu8Input;
    int32_t s32InputLen;
    uint8_t *pu8Output;
    int32_t *ps32OutputLen;
    int32_t s32SrcCodeType;
    int32_t s32DstCodeType;
    uint32_t *pu32ConsumedLen;
};

// The five operations. Log lines carry the place of the call, so a converter calls them from functions of its own.
int32_t converterFind(const CONVERTER_CLASS_S &stClass, int32_t s32SrcCodeType, int32_t s32DstCodeType,
                      LogSite stSite = LogSite::here());
int32_t converterCreate(const CONVERTER_CLASS_S &stClass, ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option,
                        LogSite stSite = LogSite::here());
int32_t converterConvStream(const CONVERTER_CLASS_S &stClass, const CONVERTER_CALL_S &stCall,
                            LogSite stSite = LogSite::here());
int32_t converterSetDataAsync(const CONVERTER_CLASS_S &stClass, ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd,
                              const void *pArg, LogSite stSite = LogSite::here());
int32_t converterClose(const CONVERTER_CLASS_S &stClass, ZU_CHARSET_HANDLE hHandle, LogSite stSite = LogSite::here());

// A converter's plug-in record.
constexpr ZU_CHARSET_S converterRecord(const char *pszDescription, ZU_CHARSET_CONVERTER_FIND_FN pfnFind,
                                       ZU_CHARSET_CONVERTER_CREATE_FN pfnCreate,
                                       ZU_CHARSET_CONVERTER_CONVSTREAM_FN pfnConvStream,
                                       ZU_CHARSET_SETDATAASYNC_FN pfnSetDataAsync, ZU_CHARSET_CLOSE_FN pfnClose) {
    ZU_CHARSET_S stRecord{};
    stRecord.pszName = "libzucharsetconv.so";
    stRecord.u32Version = 1;
    stRecord.pszDescription = pszDescription;
    stRecord.pfnConverterFind = pfnFind;
    stRecord.pfnConverterCreate = pfnCreate;
    stRecord.pfnConverterConvStream = pfnConvStream;
    stRecord.pfnConverterSetDataAsync = pfnSetDataAsync;
    stRecord.pfnConverterClose = pfnClose;
    return stRecord;
}

// Fills a handle's private copy of a constant table. 0, or the host's error.
template <class Entry, size_t u32Entries>
int32_t copyTable(Entry (&aCopy)[u32Entries], const Entry (&aTable)[u32Entries]) {
    return memcpy_s(aCopy, sizeof aCopy, aTable, sizeof aTable);
}

} // namespace zucharset
