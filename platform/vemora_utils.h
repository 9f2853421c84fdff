/*
 * The part of the host player's utility library that libzucharset.so calls.
 *
 * libzucharset.so is linked against libvemora_utils.so by name only, so a player's own library of that name takes the
 * place of the stand-in built here when the program is loaded. It must export these five functions with C linkage.
 */
#ifndef VEMORA_UTILS_H
#define VEMORA_UTILS_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define VEMORA_API __attribute__((visibility("default")))
#define VEMORA_PRINTF_LIKE(text, args) __attribute__((format(printf, text, args)))
#else
#define VEMORA_API
#define VEMORA_PRINTF_LIKE(text, args)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The log sink: takes one line. Levels that libzucharset uses: 2 errors and refusals, 4 notices, 6 trace.
 * Which lines are kept is the sink's own business; its result is not used. Called from any thread.
 *
 * The stand-in drops every line unless the environment variable VEMORA_LOG holds a level from 1 to 6 when the first
 * line arrives; then lines up to that level go to standard error as "TAG/LEVEL text".
 */
VEMORA_API int32_t SVR_LOG_Write(const char *pszTag, int32_t s32Level, const char *pszFormat, ...)
    VEMORA_PRINTF_LIKE(3, 4);

/* Fills u32Count bytes of a block of u32Capacity bytes. 0, or an errno value: EINVAL for a null block, ERANGE for a
 * count beyond the capacity, in which case the whole capacity is filled. */
VEMORA_API int memset_s(void *pDst, size_t u32Capacity, int s32Byte, size_t u32Count);

/* Copies u32Count bytes into a block of u32Capacity bytes. 0, or an errno value and nothing copied: EINVAL for a null
 * pointer, ERANGE for a count beyond the capacity. The blocks must not overlap. */
VEMORA_API int memcpy_s(void *pDst, size_t u32Capacity, const void *pSrc, size_t u32Count);

/* Formats at most u32MaxCount characters into a block of u32Capacity bytes and always ends them with a zero. The
 * number of characters written, or -1 when the text was cut off or an argument is unusable. */
VEMORA_API int snprintf_s(char *pszDst, size_t u32Capacity, size_t u32MaxCount, const char *pszFormat, ...)
    VEMORA_PRINTF_LIKE(4, 5);
VEMORA_API int vsnprintf_s(char *pszDst, size_t u32Capacity, size_t u32MaxCount, const char *pszFormat, va_list stArgs)
    VEMORA_PRINTF_LIKE(4, 0);

#ifdef __cplusplus
}
#endif

#endif /* VEMORA_UTILS_H */
