/*
 * The text side of a small player: reads an .srt file in any encoding and prints its cues as timed lines in UTF-8.
 *
 *   timed_lines FILE [CODETYPE]
 *
 * Detection tells the many-byte encodings apart well and the single-byte ones badly, so a player lets its user name
 * the encoding; here the second argument does that.
 */
#include "zucharset.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { LARGEST = 64 << 20 };

static uint8_t *readFile(const char *name, int32_t *length) {
    FILE *file = fopen(name, "rb");
    if (file == NULL)
        return NULL;
    uint8_t *bytes = NULL;
    if (fseek(file, 0, SEEK_END) == 0) {
        const long size = ftell(file);
        rewind(file);
        if (size > 0 && size <= LARGEST)
            bytes = malloc((size_t)size);
        if (bytes != NULL && fread(bytes, 1, (size_t)size, file) != (size_t)size) {
            free(bytes);
            bytes = NULL;
        }
        *length = (int32_t)size;
    }
    fclose(file);
    return bytes;
}

static int32_t detect(const uint8_t *bytes, int32_t length) {
    ZU_CHARSET_HANDLE handle = NULL;
    int32_t type = -1;
    if (g_stCharset_entry.pfnDetectorCreate(&handle, 0) != 0)
        return -1;
    if (g_stCharset_entry.pfnDetectorIdentStream(handle, bytes, length, 0, &type) != 0)
        type = -1;
    g_stCharset_entry.pfnDetectorClose(handle);
    return type;
}

/* The whole text as UTF-8 with a 0 byte behind it, to be freed; null on failure. */
static char *toUtf8(const uint8_t *bytes, int32_t length, int32_t type) {
    const ZU_CHARSET_S *entry = &g_stCharset_entry;
    ZU_CHARSET_HANDLE handle = NULL;
    int32_t written = 3 * length;
    uint32_t consumed = 0;
    uint8_t *text = malloc((size_t)written + 1);
    if (text == NULL || entry->pfnConverterFind(type, ZU_CHARSET_CODETYPE_UTF8) != 0 ||
        entry->pfnConverterCreate(&handle, 0) != 0) {
        free(text);
        return NULL;
    }
    const int32_t result =
        entry->pfnConverterConvStream(handle, bytes, length, text, &written, type, ZU_CHARSET_CODETYPE_UTF8, &consumed);
    entry->pfnConverterClose(handle);
    if (result != 0) {
        free(text);
        return NULL;
    }
    return (char *)text;
}

/* The library writes UTF-16 unit by unit: a character beyond U+FFFF comes as two halves of three bytes, ED A0..AF xx
 * and ED B0..BF xx. This makes well-formed UTF-8 of such pairs, in place. */
static void joinSurrogates(char *text) {
    uint8_t *to = (uint8_t *)text;
    const uint8_t *from = to;
    while (*from != 0) {
        if (from[0] == 0xED && (from[1] & 0xF0) == 0xA0 && from[3] == 0xED && (from[4] & 0xF0) == 0xB0) {
            const uint32_t high = (from[1] & 0x0Fu) << 6 | (from[2] & 0x3Fu);
            const uint32_t low = (from[4] & 0x0Fu) << 6 | (from[5] & 0x3Fu);
            const uint32_t character = 0x10000u + (high << 10) + low;
            to += ZU_CHARSET_UNICODEToUTF8code(character, to);
            from += 6;
        } else {
            *to++ = *from++;
        }
    }
    *to = 0;
}

/* Cuts the next line off the text and ends it before its line end; null at the end of the text. */
static char *nextLine(char **text) {
    char *line = *text;
    if (*line == '\0')
        return NULL;
    char *end = strchr(line, '\n');
    *text = end == NULL ? line + strlen(line) : end + 1;
    if (end == NULL)
        end = *text;
    if (end > line && end[-1] == '\r')
        --end;
    *end = '\0';
    return line;
}

static void printCues(char *text) {
    static const char mark[] = "\xEF\xBB\xBF"; /* a byte order mark is converted like any character */
    if (strncmp(text, mark, strlen(mark)) == 0)
        text += strlen(mark);
    int inCue = 0; /* 1: timed, 2: and the first line printed */
    for (char *line; (line = nextLine(&text)) != NULL;) {
        int from[4], to[4];
        if (sscanf(line, "%d:%d:%d,%d --> %d:%d:%d,%d", &from[0], &from[1], &from[2], &from[3], &to[0], &to[1], &to[2],
                   &to[3]) == 8) {
            printf("%02d:%02d:%02d.%03d %02d:%02d:%02d.%03d ", from[0], from[1], from[2], from[3], to[0], to[1], to[2],
                   to[3]);
            inCue = 1;
        } else if (*line == '\0') {
            if (inCue)
                putchar('\n');
            inCue = 0;
        } else if (inCue) {
            printf("%s%s", inCue == 2 ? " | " : "", line);
            inCue = 2;
        }
    }
    if (inCue)
        putchar('\n');
}

int main(int argc, char **argv) {
    if (argc < 2 || argc > 3) {
        fprintf(stderr, "usage: timed_lines FILE [CODETYPE]\n");
        return 2;
    }
    int32_t length = 0;
    uint8_t *bytes = readFile(argv[1], &length);
    if (bytes == NULL) {
        fprintf(stderr, "cannot read %s, or it is empty or beyond %d bytes\n", argv[1], (int)LARGEST);
        return 1;
    }
    const int32_t type = argc > 2 ? atoi(argv[2]) : detect(bytes, length);
    char *text = toUtf8(bytes, length, type);
    free(bytes);
    if (text == NULL) {
        fprintf(stderr, "cannot convert from code type %d\n", (int)type);
        return 1;
    }
    joinSurrogates(text);
    printCues(text);
    free(text);
    return fflush(stdout) == 0 ? 0 : 1;
}
