// Tells the JavaScript side where the members of the structures of zutext.h stand in memory, and its constants. Made by
// the compiler from the header itself, so that the two sides cannot drift apart: a member that is gone fails to
// compile.
#include "zutext.h"

// What a member is, as a letter.
#define KIND_OF(lvalue)                                                                                                \
    _Generic(&(lvalue), int32_t *: 'i', uint32_t *: 'u', int64_t *: 'I', uint64_t *: 'U', size_t *: 'u',              \
             const char **: 's', uint8_t **: 'p', const uint8_t **: 'p', char(*)[8]: 't', uint8_t(*)[8]: 'b',         \
             uint64_t(*)[ZUTEXT_LOSS_KINDS]: 'A', default: 'x')

/** A member of a structure, or a constant of the header. */
typedef struct row {
    const char *name;
    int32_t value; /**< offset of the member; value of the constant */
    int32_t kind;  /**< i, u: 32 bits; I, U: 64 bits; s: pointer to a string; p: pointer to bytes; t: text of at most 8
                        bytes in place; b: 8 bytes; A: losses by kind; x: something else; =: a constant; z: the size */
} row;

#define MEMBER(structure, member)                                                                                      \
    { #structure "." #member, offsetof(zutext_##structure, member), KIND_OF(((zutext_##structure *)0)->member) }
#define SIZE(structure)                                                                                                \
    { #structure, sizeof(zutext_##structure), 'z' }
#define CONSTANT(name)                                                                                                 \
    { #name, ZUTEXT_##name, '=' }

static const row rows[] = {
    SIZE(encoding),
    MEMBER(encoding, id),
    MEMBER(encoding, traits),
    MEMBER(encoding, name),
    MEMBER(encoding, aliases),
    MEMBER(encoding, description),
    MEMBER(encoding, web_name),
    MEMBER(encoding, caveat),
    SIZE(language),
    MEMBER(language, code),
    MEMBER(language, name),
    SIZE(options),
    MEMBER(options, from),
    MEMBER(options, flags),
    MEMBER(options, sample),
    MEMBER(options, prefer),
    SIZE(reading),
    MEMBER(reading, encoding),
    MEMBER(reading, cost),
    MEMBER(reading, language),
    SIZE(verdict),
    MEMBER(verdict, kind),
    MEMBER(verdict, encoding),
    MEMBER(verdict, decided_by),
    MEMBER(verdict, sure),
    MEMBER(verdict, margin),
    MEMBER(verdict, library_code_type),
    MEMBER(verdict, hint),
    MEMBER(verdict, whole),
    MEMBER(verdict, sample_offset),
    MEMBER(verdict, sample_length),
    MEMBER(verdict, language),
    MEMBER(verdict, what),
    MEMBER(verdict, reading_count),
    MEMBER(verdict, readings),
    SIZE(place),
    MEMBER(place, offset),
    MEMBER(place, kind),
    MEMBER(place, length),
    MEMBER(place, bytes),
    SIZE(account),
    MEMBER(account, input_bytes),
    MEMBER(account, output_bytes),
    MEMBER(account, losses),
    MEMBER(account, complete),
    MEMBER(account, changed),
    MEMBER(account, well_formed),
    MEMBER(account, text_lost),
    MEMBER(account, wrong_byte_order),
    MEMBER(account, place_count),
    MEMBER(account, places),
    SIZE(output),
    MEMBER(output, bytes),
    MEMBER(output, length),
    SIZE(score),
    MEMBER(score, name),
    MEMBER(score, score),
    MEMBER(score, encoding),
    MEMBER(score, won),
    SIZE(test),
    MEMBER(test, encoding),
    MEMBER(test, accepted),
    MEMBER(test, refused),
    MEMBER(test, byte),
    MEMBER(test, decided),
    SIZE(difference),
    MEMBER(difference, byte),
    MEMBER(difference, count),
    MEMBER(difference, words),
    MEMBER(difference, first),
    MEMBER(difference, second),
    SIZE(explanation),
    MEMBER(explanation, verdict),
    MEMBER(explanation, examined),
    MEMBER(explanation, vote_named),
    MEMBER(explanation, scores),
    MEMBER(explanation, tests),
    MEMBER(explanation, difference_count),
    MEMBER(explanation, differences),
    CONSTANT(CONVERTIBLE),
    CONSTANT(SINGLE_BYTE),
    CONSTANT(UNICODE),
    CONSTANT(RECOGNISED),
    CONSTANT(PLAIN),
    CONSTANT(MARK_OPEN),
    CONSTANT(ADD_MARK),
    CONSTANT(STRIP_MARK),
    CONSTANT(JUDGE_ONLY),
    CONSTANT(ERROR_ARGUMENT),
    CONSTANT(ERROR_MEMORY),
    CONSTANT(ERROR_CANCELLED),
    CONSTANT(ERROR_REFUSED),
    CONSTANT(ERROR_NOT_TEXT),
    CONSTANT(ERROR_UNSUPPORTED),
    CONSTANT(ERROR_NAME),
    CONSTANT(KIND_EMPTY),
    CONSTANT(KIND_ASCII),
    CONSTANT(KIND_TEXT),
    CONSTANT(KIND_UNSUPPORTED),
    CONSTANT(KIND_BINARY),
    CONSTANT(BY_NOTHING),
    CONSTANT(BY_USER),
    CONSTANT(BY_MARK),
    CONSTANT(BY_FORM),
    CONSTANT(BY_VOTE),
    CONSTANT(BY_READING),
    CONSTANT(BY_LIBRARY),
    CONSTANT(HINT_NONE),
    CONSTANT(HINT_AGREED),
    CONSTANT(HINT_DECIDED),
    CONSTANT(HINT_UNDEFINED),
    CONSTANT(HINT_OUTWEIGHED),
    CONSTANT(LOSS_REPLACED),
    CONSTANT(LOSS_DROPPED),
    CONSTANT(LOSS_MALFORMED),
    CONSTANT(LOSS_SURROGATE),
    CONSTANT(LOSS_MISREAD),
    CONSTANT(LOSS_CUT),
    {"LOSS_MENDED", ZUTEXT_MENDED_PAIR, '='},
    CONSTANT(LOSS_KINDS),
    CONSTANT(SCORES),
    CONSTANT(TESTS),
    CONSTANT(SCORE_NEEDED),
    {0, 0, 0},
};

/** The rows, the last of which has no name. */
__attribute__((export_name("zutext_web_layout"))) const row *zutext_web_layout(void) { return rows; }
