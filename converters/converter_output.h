// The discipline by which every conversion routine reads its input and writes its output. A source encoding adds a
// decoder, which tells one character from the next.
//
// A decoder offers
//   CHARACTER_S next(const uint8_t *pu8Input, int32_t s32Left) const
//       the character at pu8Input, of which s32Left bytes, at least one, can be read
//   void write(const CHARACTER_S &stChar, const uint8_t *pu8Input, uint8_t *pu8Output) const
//       writes its stChar.s32Length bytes
//   static bool copyPlainBlock(BLOCK_CURSOR_S stCursor)
//       writes a block as if it were ASCII throughout, PLAIN_OUTPUT bytes, and says whether it is
//   BLOCK_CURSOR_S convertBlock(BLOCK_CURSOR_S stCursor) const
//       the same for all characters that begin within BLOCK_INPUT bytes, far from the ends of both buffers: the fast
//       way, which gives what next() and write() give. A cursor goes by value because bytes written through a pointer
//       could change one that lies in memory.
#pragma once

#include "converter_skeleton.h"
#include "utf8_block.h"

// For what stands in the innermost loop of a conversion: a call there costs more than the work itself.
#define ZU_HOT [[gnu::always_inline]] inline

namespace zucharset {

// One character as a decoder finds it in the input.
struct CHARACTER_S {
    int32_t s32Taken;    // input bytes; 0: the input ends inside the character
    int32_t s32Length;   // output bytes; 0: passed over, nothing is written and no room is needed
    uint32_t u32Unicode; // its code point
};

constexpr CHARACTER_S CUT_OFF{0, 0, 0};

// A code point below 10000, which is all that the tables and UTF-16 units hold.
constexpr CHARACTER_S character(uint32_t u32Unicode, int32_t s32Taken) {
    const int32_t s32Length = 1 + (u32Unicode >= 0x80 ? 1 : 0) + (u32Unicode >= 0x800 ? 1 : 0);
    return {s32Taken, s32Length, u32Unicode};
}

constexpr CHARACTER_S passedOver(int32_t s32Taken) { return {s32Taken, 0, 0}; }

constexpr uint32_t REPLACEMENT = 0xFFFD;

// A block: the bytes between two looks at the quit flag. Behind them BLOCK_MARGIN more can be read; and the output has
// room for the worst case, three bytes for one, and for a margin that may be written and written over.
constexpr int32_t BLOCK_INPUT = TEXT_BLOCK;
constexpr int32_t BLOCK_MARGIN = 16;
constexpr int32_t BLOCK_ROOM = 3 * BLOCK_INPUT + 2 * BLOCK_MARGIN;

struct BLOCK_CURSOR_S {
    const uint8_t *pu8Input;
    uint8_t *pu8Output;
};

constexpr BLOCK_CURSOR_S advanced(BLOCK_CURSOR_S stCursor, int32_t s32Taken, int32_t s32Length) {
    return {stCursor.pu8Input + s32Taken, stCursor.pu8Output + s32Length};
}

// As many blocks as are sure to fit, at least one: a stretch of ASCII goes fast, and the first other block ends it.
template <class Decoder>
BLOCK_CURSOR_S convertBlocks(const Decoder &stDecoder, const HANDLE_CONTROL_S &stControl, BLOCK_CURSOR_S stCursor,
                             int32_t s32Left, int32_t s32Room) {
    const int32_t s32ByInput = (s32Left - BLOCK_MARGIN) / BLOCK_INPUT;
    const int32_t s32ByRoom = (s32Room - BLOCK_ROOM) / BLOCK_INPUT + 1;
    for (int32_t i = s32ByInput < s32ByRoom ? s32ByInput : s32ByRoom; i > 0; --i) {
        if (!Decoder::copyPlainBlock(stCursor))
            return stDecoder.convertBlock(stCursor);
        stCursor = advanced(stCursor, BLOCK_INPUT, Decoder::PLAIN_OUTPUT);
        if (quitRequested(stControl))
            break;
    }
    return stCursor;
}

// Whole sequences only, never more than the capacity, a 0 byte behind the last one. Far from the ends the text goes
// block by block, near them character by character.
template <class Decoder>
int32_t convertToUtf8(const Decoder &stDecoder, const HANDLE_CONTROL_S &stControl, uint8_t *pu8Output,
                      int32_t *ps32OutputLen, const uint8_t *pu8Input, int32_t s32InputLen) {
    int32_t s32Room = *ps32OutputLen;
    int32_t s32Pos = 0;
    uint8_t *pu8Write = pu8Output;
    while (s32Pos < s32InputLen && !quitRequested(stControl)) {
        if (s32InputLen - s32Pos >= BLOCK_INPUT + BLOCK_MARGIN && s32Room >= BLOCK_ROOM) {
            const BLOCK_CURSOR_S stCursor =
                convertBlocks(stDecoder, stControl, {pu8Input + s32Pos, pu8Write}, s32InputLen - s32Pos, s32Room);
            s32Room -= static_cast<int32_t>(stCursor.pu8Output - pu8Write);
            s32Pos = static_cast<int32_t>(stCursor.pu8Input - pu8Input);
            pu8Write = stCursor.pu8Output;
            continue;
        }
        const CHARACTER_S stChar = stDecoder.next(pu8Input + s32Pos, s32InputLen - s32Pos);
        if (stChar.s32Taken == 0 || stChar.s32Length > s32Room)
            break;
        stDecoder.write(stChar, pu8Input + s32Pos, pu8Write);
        pu8Write += stChar.s32Length;
        s32Room -= stChar.s32Length;
        s32Pos += stChar.s32Taken;
    }
    *pu8Write = 0;
    *ps32OutputLen -= s32Room;
    return s32Pos;
}

// The conversion routine of a decoder that is made from its converter's handle.
template <class Handle, class Decoder>
int32_t decoderToUtf8(ZU_CHARSET_HANDLE hHandle, uint8_t *pu8Output, int32_t *ps32OutputLen, const uint8_t *pu8Input,
                      int32_t s32InputLen) {
    const auto &stHandle = *static_cast<const Handle *>(hHandle);
    return convertToUtf8(Decoder{stHandle}, stHandle.stTail.stControl, pu8Output, ps32OutputLen, pu8Input, s32InputLen);
}

// --- Parts of which fast ways are made ---

// The sequence of a code point from 800 to FFFF, and that of any one below 10000, in a word: first byte lowest.
constexpr uint32_t threeByteSequence(uint32_t u32Unicode) {
    return 0x8080E0u | u32Unicode >> 12 | (u32Unicode & 0xFC0) << 2 | (u32Unicode & 0x3F) << 16;
}

// One byte or two is chosen by a mask, because letters and spaces come in no order that a processor could foresee.
constexpr uint32_t wideSequence(const CHARACTER_S &stChar) {
    const uint32_t u32Unicode = stChar.u32Unicode;
    if (stChar.s32Length == 3)
        return threeByteSequence(u32Unicode);
    const uint32_t u32Two = 0u - (u32Unicode >= 0x80 ? 1u : 0u);
    return ((0x80C0u | u32Unicode >> 6 | (u32Unicode & 0x3F) << 8) & u32Two) | (u32Unicode & ~u32Two);
}

// The plain blocks of the encodings that leave the bytes 00 to 7F as they are.
struct AsciiKeeper {
    static constexpr int32_t PLAIN_OUTPUT = BLOCK_INPUT;

    ZU_HOT static bool copyPlainBlock(BLOCK_CURSOR_S stCursor) {
        VECTOR_U64 vAny{};
        for (int32_t i = 0; i < BLOCK_INPUT; i += 16) {
            const auto vPart = loadAs<VECTOR_U64>(stCursor.pu8Input + i);
            storeAs(stCursor.pu8Output + i, vPart);
            vAny |= vPart;
        }
        return isZero(vAny & HIGH_BITS);
    }
};

// Copies eight bytes and says how many of them are ASCII before the first that is not.
inline int32_t copyAsciiWord(BLOCK_CURSOR_S stCursor) {
    const auto u64Word = loadAs<uint64_t>(stCursor.pu8Input);
    storeAs(stCursor.pu8Output, u64Word);
    return std::countr_zero(u64Word & HIGH_BITS) / 8; // 64 for none: eight
}

// Base of the decoders of those encodings that yield code points below 10000. Of a two-byte encoding, a decoder may
// also offer
//   uint32_t commonPair(const uint8_t *pu8Input) const
//       the code point of a valid pair, or anything below 800 where next() is to decide
template <class Decoder> struct CodePointDecoder : AsciiKeeper {
    static void write(const CHARACTER_S &stChar, const uint8_t *, uint8_t *pu8Output) {
        if (stChar.s32Length > 0)
            writeUtf8(stChar.u32Unicode, stChar.s32Length, pu8Output);
    }

    BLOCK_CURSOR_S convertBlock(BLOCK_CURSOR_S stCursor) const {
        const auto &stDecoder = *static_cast<const Decoder *>(this);
        const uint8_t *const pu8End = stCursor.pu8Input + BLOCK_INPUT;
        while (stCursor.pu8Input < pu8End) {
            if constexpr (requires { stDecoder.commonPair(stCursor.pu8Input); }) {
                const uint32_t u32Unicode = stDecoder.commonPair(stCursor.pu8Input);
                if (u32Unicode >= 0x800) {
                    storeAs(stCursor.pu8Output, threeByteSequence(u32Unicode));
                    stCursor = advanced(stCursor, 2, 3);
                    continue;
                }
            }
            if (*stCursor.pu8Input < 0x80) {
                const int32_t s32Plain = copyAsciiWord(stCursor);
                stCursor = advanced(stCursor, s32Plain, s32Plain);
                continue;
            }
            // What is written of a character passed over does not count.
            const CHARACTER_S stChar = stDecoder.next(stCursor.pu8Input, BLOCK_MARGIN);
            storeAs(stCursor.pu8Output, wideSequence(stChar));
            stCursor = advanced(stCursor, stChar.s32Taken, stChar.s32Length);
        }
        return stCursor;
    }
};

} // namespace zucharset
