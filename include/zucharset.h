/** @file
 * libzucharset: character-set detection and conversion to UTF-8 for the text side of a media player.
 *
 * A host loads the library and works through one object, g_stCharset_entry. Its operation slots detect the encoding
 * of a buffer (create, identify, close) and convert a buffer to UTF-8 (find, create, convert, close). This header is
 * the manual of that interface; it can be included from C11 and from C++.
 *
 * Conventions of every operation
 *   - Results are signed 32-bit: 0 for success, -1 for failure. Each failure is logged where it is found.
 *   - Lengths and capacities are byte counts in signed 32-bit integers.
 *   - A handle belongs to the caller from create to close. Input and output buffers always belong to the caller; the
 *     library neither keeps nor frees them.
 *   - Nothing runs when the library is loaded, and it never allocates a global object. There is no clean-up call.
 *
 * Threads
 *   - The first pfnDetectorCreate and the first pfnConverterFind of g_stCharset_entry register the plug-ins. They must
 *     not run at the same time as each other or as themselves; call each once before starting threads.
 *   - After that, distinct handles may be used on distinct threads.
 *   - On one handle only the set-data operation may run while another operation of that handle is running. That is how
 *     a host cancels long work (ZU_CHARSET_CMD_QUIT).
 */
#ifndef ZUCHARSET_H
#define ZUCHARSET_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define ZU_CHARSET_API __attribute__((visibility("default")))
#define ZU_CHARSET_PRINTF_LIKE(text, args) __attribute__((format(printf, text, args)))
#else
#define ZU_CHARSET_API
#define ZU_CHARSET_PRINTF_LIKE(text, args)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Code types: the integers that name an encoding. Values 31 and 32 lie inside the valid range but name nothing.
 * The destination of every conversion is ZU_CHARSET_CODETYPE_UTF8.
 */
typedef enum ZU_CHARSET_CODETYPE_E {
    ZU_CHARSET_CODETYPE_BIG5 = 1,
    ZU_CHARSET_CODETYPE_UTF8 = 2,
    ZU_CHARSET_CODETYPE_ISO8859_1 = 3,
    ZU_CHARSET_CODETYPE_ISO8859_2 = 4,
    ZU_CHARSET_CODETYPE_ISO8859_3 = 5,
    ZU_CHARSET_CODETYPE_ISO8859_4 = 6,
    ZU_CHARSET_CODETYPE_ISO8859_5 = 7,
    ZU_CHARSET_CODETYPE_ISO8859_6 = 8,
    ZU_CHARSET_CODETYPE_ISO8859_7 = 9,
    ZU_CHARSET_CODETYPE_ISO8859_8 = 10,
    ZU_CHARSET_CODETYPE_ISO8859_9 = 11,
    ZU_CHARSET_CODETYPE_ISO8859_10 = 12,
    ZU_CHARSET_CODETYPE_ISO8859_11 = 13,
    ZU_CHARSET_CODETYPE_ISO8859_13 = 14, /**< ISO-8859-12 does not exist */
    ZU_CHARSET_CODETYPE_ISO8859_14 = 15,
    ZU_CHARSET_CODETYPE_ISO8859_15 = 16,
    ZU_CHARSET_CODETYPE_ISO8859_16 = 17,
    ZU_CHARSET_CODETYPE_UCS16LE = 18, /**< UTF-16, little endian */
    ZU_CHARSET_CODETYPE_UCS16BE = 19, /**< UTF-16, big endian */
    ZU_CHARSET_CODETYPE_GBK = 20,
    ZU_CHARSET_CODETYPE_CP1250 = 21,
    ZU_CHARSET_CODETYPE_CP1251 = 22,
    ZU_CHARSET_CODETYPE_CP1252 = 23,
    ZU_CHARSET_CODETYPE_CP1253 = 24,
    ZU_CHARSET_CODETYPE_CP1254 = 25,
    ZU_CHARSET_CODETYPE_CP1255 = 26,
    ZU_CHARSET_CODETYPE_CP1256 = 27,
    ZU_CHARSET_CODETYPE_CP1257 = 28,
    ZU_CHARSET_CODETYPE_CP1258 = 29,
    ZU_CHARSET_CODETYPE_CP874 = 30,
    ZU_CHARSET_CODETYPE_CP949 = 33 /**< Unified Hangul Code */
} ZU_CHARSET_CODETYPE_E;

/** Commands of the set-data operations. Any other number is refused with -1. */
typedef enum ZU_CHARSET_CMD_E {
    /** pArg points to an int32_t, the handle's new quit flag: above 0 asks running and later work on the handle to
     * stop, 0 or less lets it go on. */
    ZU_CHARSET_CMD_QUIT = 1,
    /** The handle's option word becomes the value of pArg itself, not what it points to. */
    ZU_CHARSET_CMD_OPTION = 2
} ZU_CHARSET_CMD_E;

/** What a create operation gives: opaque, valid until the close operation of the same record. */
typedef void *ZU_CHARSET_HANDLE;

/** The option word of a handle. It changes no result in this library. Pointer-sized, because ZU_CHARSET_CMD_OPTION
 * stores a pointer value in it. */
typedef uintptr_t ZU_CHARSET_OPTION;

/**
 * Detector create.
 * @param phHandle   out: receives the new handle; untouched on failure
 * @param u32Option  option word of the new handle
 * @return 0: handle stored, its quit flag 0. -1: phHandle is null or memory is short; nothing is left allocated.
 */
typedef int32_t (*ZU_CHARSET_DETECTOR_CREATE_FN)(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option);

/**
 * Detector identify: names the encoding of a buffer.
 * @param hHandle       handle from detector create
 * @param pu8Input      the text; read only during the call
 * @param s32InputLen   its length in bytes, at least 1
 * @param u32Option     option word for this request
 * @param ps32CodeType  out: a code type; must be writable
 * @return 0: *ps32CodeType names the encoding. -1: bad arguments, no memory, or a quit request. After a quit request
 * that arrived during the call *ps32CodeType may have been written all the same.
 *
 * Every request is independent of the ones before it. It needs about 400 KB of heap and 32 KB of stack.
 */
typedef int32_t (*ZU_CHARSET_DETECTOR_IDENTSTREAM_FN)(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input,
                                                      int32_t s32InputLen, ZU_CHARSET_OPTION u32Option,
                                                      int32_t *ps32CodeType);

/**
 * Set-data of a detector or a converter handle; may be called from another thread while another operation of the
 * same handle is running.
 * @param hHandle  handle from the create operation of the same record
 * @param s32Cmd   a ZU_CHARSET_CMD_E
 * @param pArg     the command's argument, never null
 * @return 0: done. -1: null handle, null argument or unknown command; nothing changed.
 */
typedef int32_t (*ZU_CHARSET_SETDATAASYNC_FN)(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg);

/** Close of a detector or a converter handle: releases it. 0, or -1 for a null handle. No other operation of the handle
 * may be running. */
typedef int32_t (*ZU_CHARSET_CLOSE_FN)(ZU_CHARSET_HANDLE hHandle);

/**
 * Converter find: can this pair of code types be converted? Needs no handle. Of g_stCharset_entry it must be called
 * at least once before the first conversion, since it alone registers the converters.
 * @return 0: yes. -1: no.
 */
typedef int32_t (*ZU_CHARSET_CONVERTER_FIND_FN)(int32_t s32SrcCodeType, int32_t s32DstCodeType);

/** Converter create: as detector create. */
typedef int32_t (*ZU_CHARSET_CONVERTER_CREATE_FN)(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option);

/**
 * Converter convert: turns a buffer into UTF-8.
 * @param hHandle          handle from converter create
 * @param pu8Input         the text; read only during the call; must not overlap the output
 * @param s32InputLen      its length in bytes, at least 1
 * @param pu8Output        receives the UTF-8 text and a 0 byte after it. The buffer must hold ONE BYTE MORE than the
 *                    capacity: when the text fills the capacity, the 0 byte lies just behind it.
 * @param ps32OutputLen    in: the capacity in bytes, at least s32InputLen; out: bytes written, the 0 byte not counted
 * @param s32SrcCodeType   code type of the input
 * @param s32DstCodeType   ZU_CHARSET_CODETYPE_UTF8
 * @param pu32ConsumedLen  out: input bytes used
 * @return 0: *ps32OutputLen bytes of whole UTF-8 sequences were written for the first *pu32ConsumedLen input bytes.
 * That is less than s32InputLen when the capacity is used up, when the input ends inside a character, or when a quit
 * request arrived; go on from there with the next call. A capacity of three times the input length always suffices.
 *
 * -1: bad arguments, a pair that nothing converts, a capacity below s32InputLen, no memory, or a quit request; the
 * outputs mean nothing then.
 */
typedef int32_t (*ZU_CHARSET_CONVERTER_CONVSTREAM_FN)(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input,
                                                      int32_t s32InputLen, uint8_t *pu8Output, int32_t *ps32OutputLen,
                                                      int32_t s32SrcCodeType, int32_t s32DstCodeType,
                                                      uint32_t *pu32ConsumedLen);

/**
 * Plug-in record. The library's entry, its detector and its converters all have this form. Records are static
 * objects; a record with pfnDetectorCreate set is a detector, one with pfnConverterFind set a converter.
 */
typedef struct ZU_CHARSET_S {
    const char *pszName;        /**< file name of the library that provides the plug-in; for the host's information */
    uint32_t u32Version;        /**< 1 */
    const char *pszDescription; /**< for people; appears in the log when a converter is used again */
    uint32_t u32Reserved;       /**< 0 */
    ZU_CHARSET_DETECTOR_CREATE_FN pfnDetectorCreate;
    ZU_CHARSET_DETECTOR_IDENTSTREAM_FN pfnDetectorIdentStream;
    ZU_CHARSET_SETDATAASYNC_FN pfnDetectorSetDataAsync;
    ZU_CHARSET_CLOSE_FN pfnDetectorClose;
    ZU_CHARSET_CONVERTER_FIND_FN pfnConverterFind;
    ZU_CHARSET_CONVERTER_CREATE_FN pfnConverterCreate;
    ZU_CHARSET_CONVERTER_CONVSTREAM_FN pfnConverterConvStream;
    ZU_CHARSET_SETDATAASYNC_FN pfnConverterSetDataAsync;
    ZU_CHARSET_CLOSE_FN pfnConverterClose;
    struct ZU_CHARSET_S *pstNext; /**< link of the library's own list; a host leaves it alone */
    uint32_t au32Reserved[2];     /**< 0 */
} ZU_CHARSET_S;

#if UINTPTR_MAX == 0xFFFFFFFFu
#if defined(__cplusplus)
#define ZU_CHARSET_STATIC_ASSERT static_assert
#else
#define ZU_CHARSET_STATIC_ASSERT _Static_assert
#endif
ZU_CHARSET_STATIC_ASSERT(sizeof(ZU_CHARSET_S) == 16 * 4, "the record is sixteen 32-bit words");
ZU_CHARSET_STATIC_ASSERT(offsetof(ZU_CHARSET_S, pfnDetectorCreate) == 4 * 4, "detector slots start at word 4");
ZU_CHARSET_STATIC_ASSERT(offsetof(ZU_CHARSET_S, pfnConverterFind) == 8 * 4, "converter slots start at word 8");
ZU_CHARSET_STATIC_ASSERT(offsetof(ZU_CHARSET_S, pstNext) == 13 * 4, "the link is word 13");
ZU_CHARSET_STATIC_ASSERT(offsetof(ZU_CHARSET_S, au32Reserved) == 14 * 4, "two reserved words end the record");
ZU_CHARSET_STATIC_ASSERT(sizeof(ZU_CHARSET_CODETYPE_E) == 4, "code types are 32-bit");
#endif

/** The host's entry: all nine operation slots are filled. */
extern ZU_CHARSET_API ZU_CHARSET_S g_stCharset_entry;

/** The plug-ins behind it, for hosts that drive one directly. Handles of a record go only to that record's slots. */
extern ZU_CHARSET_API ZU_CHARSET_S g_stCOMMON_detector;
extern ZU_CHARSET_API ZU_CHARSET_S g_stUCS_converter;
extern ZU_CHARSET_API ZU_CHARSET_S g_stGBK_converter;
extern ZU_CHARSET_API ZU_CHARSET_S g_stBIG5_converter;
extern ZU_CHARSET_API ZU_CHARSET_S g_stISO8859_converter;
extern ZU_CHARSET_API ZU_CHARSET_S g_stWINCP_converter;
extern ZU_CHARSET_API ZU_CHARSET_S g_stCP949_converter;

/**
 * Identification tests: may these bytes be text in the encoding that the name gives? 0: yes. -1: no, or no bytes
 * (null pointer, length 0 or less). They keep no state and may run on any number of threads. They ask only whether
 * every byte is defined (the UTF-16 tests: whether enough code units are ASCII), so several usually accept one text.
 * IsCp1256 looks at the length alone, since that code page defines every byte.
 */
ZU_CHARSET_API int32_t IsUnicodeBE(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsUnicodeLE(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1250(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1251(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1252(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1253(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1254(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1255(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1256(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1257(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp1258(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsCp874(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_1(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_2(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_3(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_4(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_5(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_6(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_7(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_8(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_9(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_10(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_11(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_13(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_14(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_15(const uint8_t *pu8Input, int32_t s32InputLen);
ZU_CHARSET_API int32_t IsIso8859_16(const uint8_t *pu8Input, int32_t s32InputLen);

/**
 * Logging in the library's line format, to the host's sink SVR_LOG_Write under the tag "Vemora-CharsetMGR".
 * Library levels: 2 errors and refusals, 4 notices, 5 trace. Level 0 drops the line.
 */

/** The host sink's level for a library level. */
ZU_CHARSET_API int32_t CHARSET_GetLoglevel(int32_t s32Level);

/** Logs a fixed message (null: empty) with a return code in hexadecimal. A null file name drops the line; of a path
 * only the last component is printed. */
ZU_CHARSET_API void CHARSET_DBG_Printf(int32_t s32Level, const char *pszFile, int32_t s32Line, const char *pszMessage,
                                       int32_t s32Ret);

/** Logs a formatted message, cut at 2047 characters with its file and line prefix; flushes standard output. */
ZU_CHARSET_API void CHARSET_Printf(int32_t s32Level, const char *pszFile, int32_t s32Line, const char *pszFormat, ...)
    ZU_CHARSET_PRINTF_LIKE(4, 5);

/** A zero-filled block of u32Size bytes, to be released with free(); null when u32Size is 0 or memory is short. */
ZU_CHARSET_API void *CHARSET_MALLOCZ(uint32_t u32Size);

/**
 * A block of at least u32NewSize bytes in place of pOld (which may be null). When u32NewSize is not above u32OldSize,
 * pOld itself. Otherwise a new block with the old bytes first and zeros after them, or null when memory is short; the
 * old block is freed in either case, so the result always replaces it.
 */
ZU_CHARSET_API void *CHARSET_REALLOC(void *pOld, uint32_t u32OldSize, uint32_t u32NewSize);

/** The smallest and the largest valid code type, 1 and 33. */
ZU_CHARSET_API int32_t ZU_CHARSET_GetMinCodetype(void);
ZU_CHARSET_API int32_t ZU_CHARSET_GetMaxCodetype(void);

/** Bytes that the UTF-8 form of a code point takes, 1 to 6: the form of RFC 2279, without an upper limit. */
ZU_CHARSET_API int32_t ZU_CHARSET_TestUnicode_Len(uint32_t u32Unicode);

/** Writes that form, without a terminating zero, and returns its length. */
ZU_CHARSET_API int32_t ZU_CHARSET_UNICODEToUTF8code(uint32_t u32Unicode, uint8_t *pu8Output);

#ifdef __cplusplus
}
#endif

#endif /* ZUCHARSET_H */
