/** @file
 * libzutext: bytes of unknown encoding in, right UTF-8 out, and an account of how it came about.
 *
 * The library stands on libzucharset and reads a text as a person would: it asks which encoding makes sense of the
 * letters, says how sure that is, and keeps an exact account of what a conversion lost. Hosts that want the detector's
 * and the converters' own answers use g_stCharset_entry of zucharset.h directly.
 *
 * Three ways in
 *   - zutext_convert() takes a whole text and gives its UTF-8; zutext_detect() only names the encoding.
 *   - zutext_open(), zutext_write() and zutext_finish() take a text of any length in pieces, cut anywhere.
 *   - zutext_explain() and zutext_preview() give the facts behind an answer.
 * All of them judge alike: the same bytes and options give the same answer on every road.
 *
 * Conventions
 *   - Functions that can fail give ZUTEXT_OK or one of the negative ZUTEXT_ERROR values.
 *   - Strings are UTF-8, end with a 0 byte and, unless said otherwise, are constants of the library.
 *   - Offsets and lengths count bytes; offsets are those of the input.
 *   - Structures that the caller hands over may be uninitialised unless said otherwise. They hold no memory to be freed
 *     except zutext_text.
 *
 * Threads
 *   - The library keeps no state of its own. Different streams, and the functions without one, may be used on different
 *     threads, once zutext_prepare() has returned on one of them.
 *   - On one stream only zutext_cancel() may run while another function works on it.
 */
#ifndef ZUTEXT_H
#define ZUTEXT_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define ZUTEXT_API __attribute__((visibility("default")))
#else
#define ZUTEXT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Results. */
enum {
    ZUTEXT_OK = 0,
    ZUTEXT_ERROR_ARGUMENT = -1,    /**< a null pointer, an unknown encoding, or a call at the wrong time */
    ZUTEXT_ERROR_MEMORY = -2,      /**< memory is short; nothing is left allocated that was not before */
    ZUTEXT_ERROR_CANCELLED = -3,   /**< zutext_cancel() ended the work */
    ZUTEXT_ERROR_REFUSED = -4,     /**< libzucharset refused; its log line on the host's sink has the reason */
    ZUTEXT_ERROR_NOT_TEXT = -5,    /**< the bytes are no text: ZUTEXT_KIND_BINARY */
    ZUTEXT_ERROR_UNSUPPORTED = -6, /**< text in an encoding that is not converted: ZUTEXT_KIND_UNSUPPORTED */
    ZUTEXT_ERROR_NAME = -7         /**< options.prefer holds a name that is neither an encoding nor a language */
};

/** What a result means, for people: "memory is short". Never null. */
ZUTEXT_API const char *zutext_error_text(int32_t result);

/**
 * Makes the detector and the converters of libzucharset known. Every function does so by itself; a host that starts
 * threads calls this once before. Calling it again does nothing.
 */
ZUTEXT_API void zutext_prepare(void);

/* ---- Encodings and languages ---- */

/** Traits of an encoding, bits of zutext_encoding.traits. */
enum {
    ZUTEXT_CONVERTIBLE = 1, /**< can be converted; its id is a code type of zucharset.h */
    ZUTEXT_SINGLE_BYTE = 2, /**< one character for every byte */
    ZUTEXT_UNICODE = 4,     /**< UTF-8, UTF-16 or UTF-32 */
    ZUTEXT_NAMED_ALONE = 8, /**< libzucharset's own detection can answer with it */
    ZUTEXT_RECOGNISED = 16  /**< judging can answer with it; encodings without this bit are known by name alone */
};

/** An encoding. */
typedef struct zutext_encoding {
    int32_t id;              /**< 1 to 33: code type of zucharset.h; from 100: known, but not converted */
    uint32_t traits;         /**< bits, see above */
    const char *name;        /**< "Windows-1251" */
    const char *aliases;     /**< other names, separated by spaces */
    const char *description; /**< what it is for: "Cyrillic" */
    const char *iconv_name;  /**< what iconv calls it: "CP1251"; null where it does not know it, ICU's uconv may */
    const char *web_name;    /**< its name in the Encoding Standard of the web, in lower case; null where it has none */
    const char *caveat;      /**< what the library's table lacks; null where it is complete */
} zutext_encoding;

/** All encodings in the order of their ids. @param count  out: how many */
ZUTEXT_API const zutext_encoding *zutext_encodings(size_t *count);

/** The encoding with an id; null for 0 and for numbers that name none. */
ZUTEXT_API const zutext_encoding *zutext_encoding_of(int32_t id);

/**
 * The encoding that a name means: a name, an alias or an id in decimal, in any case, with or without '-', '_' and
 * spaces.
 * @param name       need not end with a 0 byte
 * @param length     its length in bytes
 * @param mark_open  out, may be null: 1 when the name leaves the byte order to the mark ("utf-16"), for
 * ZUTEXT_MARK_OPEN
 * @return the encoding, or null when nothing has that name
 */
ZUTEXT_API const zutext_encoding *zutext_find_encoding(const char *name, size_t length, int32_t *mark_open);

/**
 * Names near one that nothing has, for "did you mean": at most three, separated by ", ".
 * @param name       what was given; need not end with a 0 byte
 * @param length     its length in bytes
 * @param languages  1: languages too, by code and name
 * @param names      out: the list, cut to fit; empty when nothing is near
 * @param size       room in names, at least 1
 */
ZUTEXT_API void zutext_near_names(const char *name, size_t length, int32_t languages, char *names, size_t size);

/** A language that readings are told by. */
typedef struct zutext_language {
    const char *code; /**< ISO 639-1, with a script where there are two: "ru", "sr-Latn" */
    const char *name; /**< "Russian" */
} zutext_language;

/** All languages: those of single-byte text by code, then Japanese, Korean and Chinese. @param count  out: how many */
ZUTEXT_API const zutext_language *zutext_languages(size_t *count);

/* ---- Options ---- */

/** Bits of zutext_options.flags. */
enum {
    ZUTEXT_PLAIN = 1,            /**< libzucharset's own answer instead of a reading; nothing is refused as no text */
    ZUTEXT_MARK_OPEN = 2,        /**< with from: a byte order mark of the other UTF-16 overrules it */
    ZUTEXT_ADD_MARK = 4,         /**< start the output with a byte order mark; never with two */
    ZUTEXT_STRIP_MARK = 8,       /**< leave out a byte order mark */
    ZUTEXT_KEEP_SURROGATES = 16, /**< write surrogates as libzucharset does, three bytes each: not well-formed UTF-8 */
    ZUTEXT_JUDGE_ONLY = 32       /**< give no output: zutext_write() only looks for the verdict */
};

/** How to judge and convert. All zero is the default; a null pointer to options means the same. */
typedef struct zutext_options {
    int32_t from;       /**< id of the encoding, not judged then; 0: judge */
    uint32_t flags;     /**< bits, see above */
    uint32_t sample;    /**< bytes to judge by, from a little before the first byte that is not plain ASCII; 0: 1 MiB */
    const char *prefer; /**< hints, "ru,windows-1251": encodings and languages that are likelier than others, a prior
                             and not a veto; null: none. Read only during the call it is given to. */
} zutext_options;

/* ---- Judging ---- */

enum { ZUTEXT_MOST_READINGS = 12 };

/** What a text is. */
enum {
    ZUTEXT_KIND_EMPTY = 0,       /**< no bytes */
    ZUTEXT_KIND_ASCII = 1,       /**< plain ASCII throughout; said only of a text that was seen to its end */
    ZUTEXT_KIND_TEXT = 2,        /**< text in an encoding that can be converted */
    ZUTEXT_KIND_UNSUPPORTED = 3, /**< text in an encoding that is recognised and not converted */
    ZUTEXT_KIND_BINARY = 4       /**< no text */
};

/** What a verdict rests on. */
enum {
    ZUTEXT_BY_NOTHING = 0, /**< an empty text, or one that is no text */
    ZUTEXT_BY_USER = 1,    /**< options.from */
    ZUTEXT_BY_MARK = 2,    /**< a byte order mark */
    ZUTEXT_BY_FORM = 3,    /**< the form alone: well-formed UTF-8, the zero bytes of UTF-16, escape sequences */
    ZUTEXT_BY_VOTE = 4,    /**< libzucharset's vote for a double-byte encoding, borne out by the text */
    ZUTEXT_BY_READING = 5, /**< how its letters follow each other */
    ZUTEXT_BY_LIBRARY = 6  /**< libzucharset's own answer: asked for by ZUTEXT_PLAIN, or nothing else spoke */
};

/** What became of options.prefer. */
enum {
    ZUTEXT_HINT_NONE = 0,      /**< no hint, or nothing to apply it to: the form decides */
    ZUTEXT_HINT_AGREED = 1,    /**< the text reads so without the hint as well */
    ZUTEXT_HINT_DECIDED = 2,   /**< without the hint another reading would come first */
    ZUTEXT_HINT_UNDEFINED = 3, /**< the preferred encodings do not define every byte of the text */
    ZUTEXT_HINT_OUTWEIGHED = 4 /**< the text speaks against it too clearly */
};

/** One way to read a text. */
typedef struct zutext_reading {
    int32_t encoding;     /**< id */
    int32_t cost;         /**< how much less likely it is than the first reading, in hundredths of a nat */
    const char *language; /**< code of the language it reads as; null when it reads as none */
} zutext_reading;

/** The verdict on a text. */
typedef struct zutext_verdict {
    int32_t kind;              /**< ZUTEXT_KIND_... */
    int32_t encoding;          /**< id; 0 when empty or no text */
    int32_t decided_by;        /**< ZUTEXT_BY_... */
    int32_t sure;              /**< 1: sure; 0: the reading may be wrong, the runner-up is worth a look */
    int32_t margin;            /**< distance to the next reading that gives another text, in hundredths of a nat; 400 is
                                    sure; INT32_MAX where there is none to compare */
    int32_t library_code_type; /**< libzucharset's own answer for the sample; 0 where it was not asked */
    int32_t hint;              /**< ZUTEXT_HINT_... */
    int32_t whole;             /**< 1: judged by all of the text; 0: by the sample */
    uint64_t sample_offset;    /**< where the sample starts */
    uint64_t sample_length;    /**< its length in bytes */
    const char *language;      /**< code of the language; null when unknown or told by the form alone */
    const char *what;          /**< ZUTEXT_KIND_BINARY: what it is, "an MPEG program stream"; else null */
    int32_t reading_count;     /**< how many readings follow; 0 where no letters were compared */
    int32_t reserved;          /**< 0 */
    zutext_reading readings[ZUTEXT_MOST_READINGS]; /**< least cost first; those that give the same text count as one */
} zutext_verdict;

/** The English name of a language code; null for null and for codes that name none. */
ZUTEXT_API const char *zutext_language_name(const char *code);

/**
 * Judges a whole text.
 * @param bytes    the text; may be null when length is 0
 * @param length   its length in bytes
 * @param options  how to judge; may be null
 * @param verdict  out
 * @return ZUTEXT_OK also for no text and unsupported encodings: the verdict says so
 */
ZUTEXT_API int32_t zutext_detect(const uint8_t *bytes, size_t length, const zutext_options *options,
                                 zutext_verdict *verdict);

/* ---- What a conversion lost ---- */

/** Kinds of loss, and one of damage that was mended. */
enum {
    ZUTEXT_LOSS_REPLACED = 0,  /**< a character without a meaning in the encoding became U+FFFD */
    ZUTEXT_LOSS_DROPPED = 1,   /**< bytes without a meaning were left out */
    ZUTEXT_LOSS_MALFORMED = 2, /**< what UTF-8 does not allow became U+FFFD */
    ZUTEXT_LOSS_SURROGATE =
        3,                   /**< half of a surrogate pair alone became U+FFFD, or stays with ZUTEXT_KEEP_SURROGATES */
    ZUTEXT_LOSS_MISREAD = 4, /**< a code that others read otherwise: of GB18030 in GBK, or a single 80 (often €) */
    ZUTEXT_LOSS_CUT = 5,     /**< the end of the text cuts off a character; its bytes were left out */
    ZUTEXT_MENDED_PAIR = 6,  /**< UTF-8 with a surrogate pair, which became the one character meant: nothing is lost */
    ZUTEXT_LOSS_KINDS = 7
};

enum { ZUTEXT_MOST_PLACES = 21, ZUTEXT_PLACES_OF_A_KIND = 3 };

/** Where something was lost. */
typedef struct zutext_place {
    uint64_t offset;
    int32_t kind;     /**< ZUTEXT_LOSS_... */
    uint32_t length;  /**< of the bytes concerned, 1 to 8 */
    uint8_t bytes[8]; /**< the bytes */
} zutext_place;

/** The account of a conversion, exact up to where it has come. */
typedef struct zutext_account {
    uint64_t input_bytes;               /**< bytes converted */
    uint64_t output_bytes;              /**< bytes given out */
    uint64_t losses[ZUTEXT_LOSS_KINDS]; /**< how often, by kind */
    int32_t complete;                   /**< 1: all losses are counted; 0: too many, the counts are lower bounds */
    int32_t changed;                    /**< 1: the output is not the input byte for byte */
    int32_t well_formed;                /**< 1: the output is well-formed UTF-8; 0 only with ZUTEXT_KEEP_SURROGATES */
    int32_t text_lost;                  /**< 1: some of the text is gone, whatever the kind */
    int32_t wrong_byte_order;           /**< 1: the text starts with the mark of the other byte order */
    uint32_t place_count;               /**< how many places follow */
    zutext_place places[ZUTEXT_MOST_PLACES]; /**< the first ones of each kind, by offset */
} zutext_account;

/* ---- Converting a stream ---- */

/** A text on its way. */
typedef struct zutext_stream zutext_stream;

/** Bytes that a stream gives out. They belong to the stream and stay valid until its next call. */
typedef struct zutext_output {
    const uint8_t *bytes; /**< UTF-8; null only when length is 0 */
    size_t length;
} zutext_output;

/**
 * Starts a stream.
 * @param options  copied; may be null
 * @param stream   out: belongs to the caller until zutext_close(); untouched on failure
 */
ZUTEXT_API int32_t zutext_open(const zutext_options *options, zutext_stream **stream);

/**
 * Takes the next piece of the text, cut anywhere. Plain ASCII passes; from the first other byte the stream gathers its
 * sample, judges, and converts what it holds and all that follows. Until then output may be empty; it always holds
 * whole characters.
 * @param stream  from zutext_open()
 * @param bytes   read only during the call; may be null when length is 0
 * @param length  in bytes, any; a piece of 64 KiB costs least memory
 * @param output  out: what is ready; may be null with ZUTEXT_JUDGE_ONLY
 * @return ZUTEXT_ERROR_NOT_TEXT and ZUTEXT_ERROR_UNSUPPORTED as soon as the verdict is one that cannot be converted.
 * After an error only zutext_verdict_of(), zutext_account_of() and zutext_close() are allowed.
 */
ZUTEXT_API int32_t zutext_write(zutext_stream *stream, const uint8_t *bytes, size_t length, zutext_output *output);

/** Ends the text: judges if that is still open, and gives the rest. Afterwards only the verdict, the account and close.
 */
ZUTEXT_API int32_t zutext_finish(zutext_stream *stream, zutext_output *output);

/** The verdict, valid until zutext_close(); null until it stands. With ZUTEXT_JUDGE_ONLY nothing more need be written
 * then. */
ZUTEXT_API const zutext_verdict *zutext_verdict_of(const zutext_stream *stream);

/** The account so far, valid until zutext_close(). */
ZUTEXT_API const zutext_account *zutext_account_of(const zutext_stream *stream);

/** Asks work on the stream to end, from any thread: its running call and all later ones give ZUTEXT_ERROR_CANCELLED. */
ZUTEXT_API void zutext_cancel(zutext_stream *stream);

/** Frees the stream and what it gave out; null is allowed. */
ZUTEXT_API void zutext_close(zutext_stream *stream);

/* ---- Converting a whole text ---- */

/** A converted text. */
typedef struct zutext_text {
    uint8_t *bytes; /**< UTF-8 and a 0 byte behind it; null after an error */
    size_t length;  /**< without that 0 byte */
    zutext_verdict verdict;
    zutext_account account;
} zutext_text;

/**
 * Converts a whole text to UTF-8.
 * @param bytes    the text; may be null when length is 0
 * @param length   its length in bytes
 * @param options  how to judge and convert; may be null
 * @param text     out: to be released with zutext_release(). After ZUTEXT_ERROR_NOT_TEXT and ZUTEXT_ERROR_UNSUPPORTED
 * its verdict is filled in; there is nothing to release after an error, though it does no harm.
 */
ZUTEXT_API int32_t zutext_convert(const uint8_t *bytes, size_t length, const zutext_options *options,
                                  zutext_text *text);

/** Frees what a zutext_text holds; null is allowed. */
ZUTEXT_API void zutext_release(zutext_text *text);

/* ---- Explaining ---- */

enum { ZUTEXT_SCORES = 15, ZUTEXT_TESTS = 27, ZUTEXT_MOST_DIFFERENCES = 8, ZUTEXT_SCORE_NEEDED = 66 };

/** An estimator of libzucharset's vote. */
typedef struct zutext_score {
    const char *name; /**< "GBK" */
    int32_t score;    /**< 0 to about 110; the highest wins if it reaches ZUTEXT_SCORE_NEEDED */
    int32_t encoding; /**< id that it stands for if it wins; 0: none, the cascade is asked then */
    int32_t won;      /**< 1: it won */
} zutext_score;

/** A single-byte test of libzucharset's cascade. */
typedef struct zutext_test {
    int32_t encoding; /**< id */
    int32_t accepted; /**< 1: it accepts the text */
    int64_t refused;  /**< offset of the first byte that it does not know; -1 when it accepts or weighs the text */
    int32_t byte;     /**< that byte; -1 when there is none */
    int32_t decided;  /**< 1: the first that accepts, hence the cascade's answer */
} zutext_test;

/** A byte that the first two readings read differently. */
typedef struct zutext_difference {
    int32_t byte;   /**< 0x80 to 0xFF */
    uint32_t count; /**< how often it stands in the text */
    uint32_t words; /**< in how many words */
    char first[8];  /**< its character in the first reading */
    char second[8]; /**< and in the second */
} zutext_difference;

/** The facts behind a verdict. */
typedef struct zutext_explanation {
    zutext_verdict verdict;
    uint64_t examined;     /**< bytes of the sample */
    int32_t vote_named;    /**< 1: the vote named an encoding, so the cascade's answer did not count */
    int32_t utf16_units;   /**< for UTF-16 answers: 16-bit units looked at; else 0 */
    int32_t utf16_ascii;   /**< and how many of them are ASCII */
    int32_t utf16_letters; /**< and how many are other letters of one script */
    zutext_score scores[ZUTEXT_SCORES];
    zutext_test tests[ZUTEXT_TESTS];
    uint32_t difference_count;
    uint32_t reserved;                                      /**< 0 */
    zutext_difference differences[ZUTEXT_MOST_DIFFERENCES]; /**< most frequent first */
} zutext_explanation;

/** Judges a whole text as zutext_detect() does and gives the facts behind the verdict. Works out every score: slower.
 */
ZUTEXT_API int32_t zutext_explain(const uint8_t *bytes, size_t length, const zutext_options *options,
                                  zutext_explanation *explanation);

/**
 * Shows the lines of a text that tell most about its encoding, read in one encoding. The choice of lines depends on the
 * bytes alone, so that previews in several encodings stand side by side.
 * @param bytes     the text, or the start of it; may be null when length is 0
 * @param length    its length in bytes
 * @param encoding  id; single-byte encodings that are not converted can be shown too
 * @param lines     how many at most, 1 to 8
 * @param text      out: lines, each cut at about 70 characters, with '\n' between them; ends with a 0 byte;
 * well-formed, control characters replaced
 * @param size      room in text, at least 1
 * @return ZUTEXT_OK, ZUTEXT_ERROR_UNSUPPORTED when the encoding cannot be shown, or another error
 */
ZUTEXT_API int32_t zutext_preview(const uint8_t *bytes, size_t length, int32_t encoding, uint32_t lines, char *text,
                                  size_t size);

#ifdef __cplusplus
}
#endif

#endif /* ZUTEXT_H */
