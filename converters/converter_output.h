// The discipline by which every conversion routine reads its input and writes its output. A source encoding adds a
// decoder, which tells one character from the next.
//
// A decoder offers
//   CHARACTER_S next(const uint8_t *pu8Input, int32_t s32Left) const
//       the character at pu8Input, of which s32Left bytes, at least one, can be read
//   void write(const CHARACTER_S &stChar, const uint8_t *pu8Input, uint8_t *pu8Output) const
//       writes its stChar.s32Length bytes
//   template <int32_t s32Bytes> static bool copyPlain(CURSOR_S stCursor)
//       writes s32Bytes bytes as if all were ASCII, s32Bytes / PLAIN_UNIT of them, and says whether that is so
//   CURSOR_S convertStretch(CURSOR_S stCursor, STRETCH_S stStretch) const
//       the fast way, away from the ends of both buffers: converts at least one character, and more as long as
//       stStretch.goesOn(), and gives what next() and write() give
// A cursor goes by value because bytes written through a pointer could change one that lies in memory.
#pragma once

#include "converter_skeleton.h"
#include "utf8_kernel.h"

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

struct CURSOR_S {
    const uint8_t *pu8Input;
    uint8_t *pu8Output;
};

constexpr CURSOR_S advanced(CURSOR_S stCursor, int32_t s32Taken, int32_t s32Length) {
    return {stCursor.pu8Input + s32Taken, stCursor.pu8Output + s32Length};
}

// A stretch of text in which a decoder need not look at the ends of the buffers: from a cursor before both stops,
// INPUT_MARGIN more bytes can be read and OUTPUT_MARGIN bytes written, also such as will be written over.
constexpr int32_t INPUT_MARGIN = 16;
constexpr int32_t OUTPUT_MARGIN = 32;

struct STRETCH_S {
    const uint8_t *pu8InputStop;
    const uint8_t *pu8OutputStop;
    const HANDLE_CONTROL_S *pstControl;

    bool holds(CURSOR_S stCursor) const {
        return stCursor.pu8Input < pu8InputStop && stCursor.pu8Output < pu8OutputStop;
    }

    // Whether so many bytes more can be read and written.
    bool hasRoom(CURSOR_S stCursor, int32_t s32Read, int32_t s32Written) const {
        return pu8InputStop - stCursor.pu8Input >= s32Read - INPUT_MARGIN &&
               pu8OutputStop - stCursor.pu8Output >= s32Written - OUTPUT_MARGIN;
    }

    bool goesOn(CURSOR_S stCursor) const { return holds(stCursor) && !quitRequested(*pstControl); }
};

// Plain text is moved in blocks, the bytes between two looks at the quit flag, and near the ends in words.
constexpr int32_t PLAIN_BLOCK = TEXT_BLOCK;
constexpr int32_t PLAIN_WORD = 8;

// Tells a decoder, step by step, when plain text has become so long that it is time to leave it to the blocks.
template <int32_t s32Bytes> class PlainCounter {
  public:
    bool isLong(bool bPlain) {
        s32Plain = bPlain ? s32Plain + s32Bytes : 0;
        return s32Plain >= PLAIN_BLOCK;
    }

  private:
    int32_t s32Plain = 0;
};

// The ends of both buffers.
struct ENDS_S {
    const uint8_t *pu8Input;
    const uint8_t *pu8Output;

    int32_t left(CURSOR_S stCursor) const { return static_cast<int32_t>(pu8Input - stCursor.pu8Input); }
    int32_t room(CURSOR_S stCursor) const { return static_cast<int32_t>(pu8Output - stCursor.pu8Output); }
};

// Moves on over plain text of s32Bytes bytes if there is so much.
template <class Decoder, int32_t s32Bytes> ZU_HOT bool takePlain(CURSOR_S &stCursor, const ENDS_S &stEnds) {
    constexpr int32_t s32Length = s32Bytes / Decoder::PLAIN_UNIT;
    if (stEnds.left(stCursor) < s32Bytes || stEnds.room(stCursor) < s32Length ||
        !Decoder::template copyPlain<s32Bytes>(stCursor))
        return false;
    stCursor = advanced(stCursor, s32Bytes, s32Length);
    return true;
}

// The same block by block, apart from all else: what narrows UTF-16 units keeps its constants in registers then.
template <class Decoder>
[[gnu::noinline]] CURSOR_S plainBlocksTaken(CURSOR_S stCursor, ENDS_S stEnds, const HANDLE_CONTROL_S &stControl) {
    while (takePlain<Decoder, PLAIN_BLOCK>(stCursor, stEnds) && !quitRequested(stControl)) {
    }
    return stCursor;
}

// Whole sequences only, never more than the capacity, a 0 byte behind the last one. Away from the ends the text goes
// in stretches, near them character by character.
template <class Decoder>
int32_t convertToUtf8(const Decoder &stDecoder, const HANDLE_CONTROL_S &stControl, uint8_t *pu8Output,
                      int32_t *ps32OutputLen, const uint8_t *pu8Input, int32_t s32InputLen) {
    const ENDS_S stEnds{pu8Input + s32InputLen, pu8Output + *ps32OutputLen};
    const STRETCH_S stStretch{s32InputLen > INPUT_MARGIN ? stEnds.pu8Input - INPUT_MARGIN : pu8Input,
                              *ps32OutputLen > OUTPUT_MARGIN ? stEnds.pu8Output - OUTPUT_MARGIN : pu8Output,
                              &stControl};
    CURSOR_S stCursor{pu8Input, pu8Output};
    while (stCursor.pu8Input < stEnds.pu8Input && !quitRequested(stControl)) {
        if constexpr (HAS_SHUFFLE && Decoder::PLAIN_UNIT > 1) {
            const uint8_t *const pu8Before = stCursor.pu8Input;
            stCursor = plainBlocksTaken<Decoder>(stCursor, stEnds, stControl);
            if (stCursor.pu8Input != pu8Before)
                continue;
        } else if (takePlain<Decoder, PLAIN_BLOCK>(stCursor, stEnds)) {
            continue;
        }
        if (stStretch.holds(stCursor)) {
            stCursor = stDecoder.convertStretch(stCursor, stStretch);
            continue;
        }
        if (takePlain<Decoder, PLAIN_WORD>(stCursor, stEnds))
            continue;
        const CHARACTER_S stChar = stDecoder.next(stCursor.pu8Input, stEnds.left(stCursor));
        if (stChar.s32Taken == 0 || stChar.s32Length > stEnds.room(stCursor))
            break;
        stDecoder.write(stChar, stCursor.pu8Input, stCursor.pu8Output);
        stCursor = advanced(stCursor, stChar.s32Taken, stChar.s32Length);
    }
    *stCursor.pu8Output = 0;
    *ps32OutputLen = static_cast<int32_t>(stCursor.pu8Output - pu8Output);
    return static_cast<int32_t>(stCursor.pu8Input - pu8Input);
}

// The conversion routine of a decoder that is made from its converter's handle.
template <class Handle, class Decoder>
int32_t decoderToUtf8(ZU_CHARSET_HANDLE hHandle, uint8_t *pu8Output, int32_t *ps32OutputLen, const uint8_t *pu8Input,
                      int32_t s32InputLen) {
    const auto &stHandle = *static_cast<const Handle *>(hHandle);
    return convertToUtf8(Decoder{stHandle}, stHandle.stTail.stControl, pu8Output, ps32OutputLen, pu8Input, s32InputLen);
}

// --- Parts of which fast ways are made ---

// Writes two three-byte sequences. A wide word puts both together at once.
ZU_HOT void storeTwoSequences(uint8_t *pu8Output, uint32_t u32First, uint32_t u32Second) {
    if constexpr (sizeof(size_t) < sizeof(uint64_t)) {
        storeAs(pu8Output, threeByteSequence(u32First));
        storeAs(pu8Output + 3, threeByteSequence(u32Second));
    } else {
        const uint64_t u64Both = u32First | uint64_t{u32Second} << 24;
        storeAs(pu8Output, 0x8080E08080E0u | (u64Both >> 12 & 0x00000F00000F) | (u64Both & 0x000FC0000FC0) << 2 |
                               (u64Both & 0x00003F00003F) << 16);
    }
}

// The plain text of the encodings that leave the bytes 00 to 7F as they are.
struct AsciiKeeper {
    static constexpr int32_t PLAIN_UNIT = 1;

    template <int32_t s32Bytes> ZU_HOT static bool copyPlain(CURSOR_S stCursor) {
        if constexpr (s32Bytes == PLAIN_WORD) {
            const auto u64Word = loadAs<uint64_t>(stCursor.pu8Input);
            storeAs(stCursor.pu8Output, u64Word);
            return (u64Word & HIGH_BITS) == 0;
        } else {
            VECTOR_U64 vAny{};
#pragma GCC unroll 4
            for (int32_t i = 0; i < s32Bytes; i += 16) {
                const auto vPart = loadAs<VECTOR_U64>(stCursor.pu8Input + i);
                storeAs(stCursor.pu8Output + i, vPart);
                vAny |= vPart;
            }
            return isZero(vAny & HIGH_BITS);
        }
    }
};

// Copies eight bytes and says how many of them are ASCII before the first that is not.
ZU_HOT int32_t copyAsciiWord(CURSOR_S stCursor) {
    const auto u64Word = loadAs<uint64_t>(stCursor.pu8Input);
    storeAs(stCursor.pu8Output, u64Word);
    return std::countr_zero(u64Word & HIGH_BITS) / 8; // 64 for none: eight
}

// The same for a whole block, where that takes no more than a few instructions.
ZU_HOT int32_t copyAsciiBlock(CURSOR_S stCursor) {
    std::memcpy(stCursor.pu8Output, stCursor.pu8Input, PLAIN_BLOCK);
    return std::countr_zero(bitsAtLeast(stCursor.pu8Input));
}

// Base of the decoders of those encodings that yield code points below 10000.
template <class Decoder> struct CodePointDecoder : AsciiKeeper {
    static void write(const CHARACTER_S &stChar, const uint8_t *, uint8_t *pu8Output) {
        if (stChar.s32Length > 0)
            writeUtf8(stChar.u32Unicode, stChar.s32Length, pu8Output);
    }

    CURSOR_S convertStretch(CURSOR_S stCursor, STRETCH_S stStretch) const {
        PlainCounter<8> stPlain;
        while (stStretch.goesOn(stCursor)) {
            const int32_t s32Plain = copyAsciiWord(stCursor);
            stCursor = advanced(stCursor, s32Plain, s32Plain);
            if (stPlain.isLong(s32Plain == 8))
                break;
            if (s32Plain == 0)
                stCursor = convertOne(stCursor);
        }
        return stCursor;
    }

    // One character of a stretch.
    CURSOR_S convertOne(CURSOR_S stCursor) const {
        const auto &stDecoder = *static_cast<const Decoder *>(this);
        // What is written of a character passed over does not count.
        const CHARACTER_S stChar = stDecoder.next(stCursor.pu8Input, INPUT_MARGIN);
        storeAs(stCursor.pu8Output, sequence(stChar.u32Unicode));
        return advanced(stCursor, stChar.s32Taken, stChar.s32Length);
    }
};

} // namespace zucharset
