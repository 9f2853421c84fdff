/*
 * The text side of a small player: reads an .srt file in any encoding and prints its cues as timed lines in UTF-8.
 *
 *   timed_lines FILE [ENCODING]
 *
 * The encoding is judged by how the text reads; a player lets its user overrule that, as the second argument does here.
 */
#include "zutext.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { LARGEST = 64 << 20 };

static uint8_t *readFile(const char *name, size_t *length) {
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
        *length = (size_t)size;
    }
    fclose(file);
    return bytes;
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

/* What the screen may show for a second or two. */
static void tellReading(const zutext_verdict *verdict) {
    const char *language = zutext_language_name(verdict->language);
    fprintf(stderr, "read as %s%s%s%s\n", zutext_encoding_of(verdict->encoding)->name, language != NULL ? ", " : "",
            language != NULL ? language : "", verdict->sure ? "" : " (not sure)");
}

int main(int argc, char **argv) {
    if (argc < 2 || argc > 3) {
        fprintf(stderr, "usage: timed_lines FILE [ENCODING]\n");
        return 2;
    }
    zutext_options options = {.flags = ZUTEXT_STRIP_MARK};
    if (argc > 2) {
        const zutext_encoding *encoding = zutext_find_encoding(argv[2], strlen(argv[2]), NULL);
        if (encoding == NULL) {
            fprintf(stderr, "unknown encoding %s\n", argv[2]);
            return 2;
        }
        options.from = encoding->id;
    }
    size_t length = 0;
    uint8_t *bytes = readFile(argv[1], &length);
    if (bytes == NULL) {
        fprintf(stderr, "cannot read %s, or it is empty or beyond %d bytes\n", argv[1], (int)LARGEST);
        return 1;
    }
    zutext_text text;
    const int32_t result = zutext_convert(bytes, length, &options, &text);
    free(bytes);
    if (result != ZUTEXT_OK) {
        const zutext_encoding *encoding = zutext_encoding_of(text.verdict.encoding);
        fprintf(stderr, "cannot show %s: %s%s%s\n", argv[1], zutext_error_text(result), encoding != NULL ? ": " : "",
                encoding != NULL ? encoding->name : "");
        return 1;
    }
    tellReading(&text.verdict);
    printCues((char *)text.bytes);
    zutext_release(&text);
    return fflush(stdout) == 0 ? 0 : 1;
}
