// Two-byte encodings that find their code points in a table of rows and columns, and the fast way through such text.
#pragma once

#include "converter_output.h"

#include <algorithm>

namespace zucharset {

// The pairs of a table: a row for each lead byte and a column for each trail byte. The trail bytes form one band, or
// two with a gap between them.
struct PAIR_GRID_S {
    static constexpr uint32_t NOWHERE = UINT32_MAX;

    uint8_t u8FirstLead;
    uint8_t u8LastLead;
    uint8_t u8FirstTrail;
    uint8_t u8LastTrail;
    uint8_t u8GapFirst;
    uint32_t u32GapLength; // 0: there is none

    constexpr uint32_t columns() const { return u8LastTrail - u8FirstTrail + 1u - u32GapLength; }
    constexpr uint32_t rows() const { return u8LastLead - u8FirstLead + 1u; }

    // Column of a byte, NOWHERE when it is no trail byte.
    constexpr uint32_t columnOf(uint8_t u8Trail) const {
        const uint32_t u32BehindGap = u8GapFirst + u32GapLength;
        if (u8Trail < u8FirstTrail || u8Trail > u8LastTrail || (u8Trail >= u8GapFirst && u8Trail < u32BehindGap))
            return NOWHERE;
        return u8Trail - u8FirstTrail - (u8Trail >= u32BehindGap ? u32GapLength : 0u);
    }
};

// The column of every byte, 255 for NOWHERE: two bands of trail bytes mix in no order that a processor could foresee.
struct TRAIL_COLUMNS_S {
    uint8_t au8[256];
};

constexpr TRAIL_COLUMNS_S trailColumns(const PAIR_GRID_S &stGrid) {
    TRAIL_COLUMNS_S stColumns{};
    for (uint32_t u32Byte = 0; u32Byte < 256; ++u32Byte)
        stColumns.au8[u32Byte] = static_cast<uint8_t>(stGrid.columnOf(static_cast<uint8_t>(u32Byte)));
    return stColumns;
}

// Base of the decoders of such encodings. A decoder offers, besides next(),
//   static constexpr PAIR_GRID_S GRID
//       pairs that are common in its text
//   uint32_t entry(uint32_t u32Row, uint32_t u32Column) const
//       the code point at a place of that grid: if it is 800 or more, the one that next() gives for the pair
//   static constexpr bool LONG_RUNS
//       whether many pairs in a row are common, and if so
//   const uint8_t *table() const
//   static constexpr bool HIGH_BYTE_FIRST
//       what entry() reads from, row by row, and the order of its bytes; two bytes more can be read behind it
template <class Decoder> struct TwoByteDecoder : CodePointDecoder<Decoder> {
    // Eight pairs at a time, or else two, where there are so many. A single ASCII character between pairs is taken by
    // itself: it is nearly always a space, and then nothing has to be counted before the next word can begin.
    CURSOR_S convertStretch(CURSOR_S stCursor, STRETCH_S stStretch) const {
        const Decoder stDecoder = *static_cast<const Decoder *>(this); // a copy that no written byte could change
        if constexpr (HAS_GATHER && Decoder::LONG_RUNS) {
            if (hasRoomForRuns(stCursor, stStretch))
                return convertRuns(stDecoder, stCursor, stStretch);
        }
        PlainCounter<8> stPlain;
        while (stStretch.goesOn(stCursor)) {
            const uint8_t *const pu8Input = stCursor.pu8Input;
            if constexpr (HAS_QUICK_LANES && !HAS_GATHER && Decoder::LONG_RUNS) {
                if (storePairs<VECTOR_U16>(stDecoder.table(), stCursor) == 8) {
                    stCursor = advanced(stCursor, 16, 24);
                    continue;
                }
            }
            const uint32_t u32First = commonPair(stDecoder, pu8Input);
            if (u32First >= 0x800) {
                const uint32_t u32Second = commonPair(stDecoder, pu8Input + 2);
                if (u32Second >= 0x800) {
                    storeTwoSequences(stCursor.pu8Output, u32First, u32Second);
                    stCursor = advanced(stCursor, 4, 6);
                    continue;
                }
                // The byte behind the pair goes along with it, for it may be such a character.
                storeAs(stCursor.pu8Output, threeByteSequence(u32First) | uint32_t{pu8Input[2]} << 24);
                stCursor = isSinglePlain(pu8Input + 2) ? advanced(stCursor, 3, 4) : advanced(stCursor, 2, 3);
            } else if (isSinglePlain(pu8Input)) {
                *stCursor.pu8Output = *pu8Input;
                stCursor = advanced(stCursor, 1, 1);
            } else if (*pu8Input < 0x80) {
                const bool bBlock = HAS_QUICK_BITS && stStretch.hasRoom(stCursor, PLAIN_BLOCK, PLAIN_BLOCK);
                const int32_t s32Plain = bBlock ? copyAsciiBlock(stCursor) : copyAsciiWord(stCursor);
                stCursor = advanced(stCursor, s32Plain, s32Plain);
                if (bBlock ? s32Plain == PLAIN_BLOCK : stPlain.isLong(s32Plain == 8))
                    break;
            } else {
                stCursor = this->convertOne(stCursor);
            }
        }
        return stCursor;
    }

  private:
    static constexpr int32_t RUN_PAIRS = sizeof(WIDE_U16) / 2;

    static bool hasRoomForRuns(CURSOR_S stCursor, STRETCH_S stStretch) {
        return stStretch.hasRoom(stCursor, 2 * RUN_PAIRS + PLAIN_BLOCK, 3 * RUN_PAIRS + PLAIN_BLOCK);
    }

    // A run of pairs and the ASCII behind it at a time. How long they are, which no processor could foresee, decides
    // nothing but where the next ones begin.
    static CURSOR_S convertRuns(const Decoder &stDecoder, CURSOR_S stCursor, STRETCH_S stStretch) {
        while (stStretch.goesOn(stCursor) && hasRoomForRuns(stCursor, stStretch)) {
            const int32_t s32Pairs = storePairs<WIDE_U16>(stDecoder.table(), stCursor);
            if (s32Pairs == RUN_PAIRS) {
                stCursor = advanced(stCursor, 2 * RUN_PAIRS, 3 * RUN_PAIRS); // nothing to wait for
                continue;
            }
            stCursor = advanced(stCursor, 2 * s32Pairs, 3 * s32Pairs);
            if (quitRequested(*stStretch.pstControl))
                break;
            const int32_t s32Plain = copyAsciiBlock(stCursor);
            stCursor = advanced(stCursor, s32Plain, s32Plain);
            if (s32Plain == PLAIN_BLOCK)
                break;
            if (s32Pairs + s32Plain == 0)
                stCursor = stDecoder.convertOne(stCursor);
        }
        return stCursor;
    }

    static bool isSinglePlain(const uint8_t *pu8Input) { return pu8Input[0] < 0x80 && pu8Input[1] >= 0x80; }

    static constexpr TRAIL_COLUMNS_S s_stColumns = trailColumns(Decoder::GRID);

    // The code point of a common pair; anything below 800 where next() is to decide.
    ZU_HOT static uint32_t commonPair(const Decoder &stDecoder, const uint8_t *pu8Input) {
        constexpr PAIR_GRID_S stGrid = Decoder::GRID;
        const uint32_t u32Row = pu8Input[0] - uint32_t{stGrid.u8FirstLead};
        const uint32_t u32Column =
            stGrid.u32GapLength > 0 ? s_stColumns.au8[pu8Input[1]] : pu8Input[1] - uint32_t{stGrid.u8FirstTrail};
        if (u32Row >= stGrid.rows() || u32Column >= stGrid.columns())
            return 0;
        return stDecoder.entry(u32Row, u32Column);
    }

    // By words: lanes would be taken out and put in one by one through the shuffling unit.
    ZU_HOT static VECTOR_U16 gatheredByWords(const uint8_t *pu8Table, VECTOR_U16 vPlaces) {
        const auto vWords = std::bit_cast<VECTOR_U64>(vPlaces);
        VECTOR_U64 vEntries{};
#pragma GCC unroll 2
        for (int32_t i = 0; i < 2; ++i) {
            const uint64_t u64Places = vWords[i];
            uint64_t u64Entries = 0;
#pragma GCC unroll 4
            for (int32_t s32Shift = 0; s32Shift < 64; s32Shift += 16)
                u64Entries |= uint64_t{loadAs<uint16_t>(pu8Table + 2 * (u64Places >> s32Shift & 0xFFFF))} << s32Shift;
            vEntries[i] = u64Entries;
        }
        return std::bit_cast<VECTOR_U16>(vEntries);
    }

    template <class Vector> ZU_HOT static Vector lookedUp(const uint8_t *pu8Table, Vector vPlaces) {
        Vector vEntries;
        if constexpr (HAS_GATHER)
            vEntries = gathered(pu8Table, vPlaces);
        else
            vEntries = gatheredByWords(pu8Table, vPlaces);
        return Decoder::HIGH_BYTE_FIRST ? vEntries << 8 | vEntries >> 8 : vEntries;
    }

    // Writes the sequences of the common pairs that come first in a vector, and gives their number. Without a quick
    // way to look up and to count it is all of them or none.
    template <class Vector> ZU_HOT static int32_t storePairs(const uint8_t *pu8Table, CURSOR_S stCursor) {
        constexpr PAIR_GRID_S stGrid = Decoder::GRID;
        const auto vPairs = loadAs<Vector>(stCursor.pu8Input);
        const Vector vRow = (vPairs & 0xFF) - stGrid.u8FirstLead;
        const Vector vTrail = vPairs >> 8;
        Vector vColumn = vTrail - stGrid.u8FirstTrail;
        auto vCommon = (vRow <= static_cast<uint16_t>(stGrid.rows() - 1)) &
                       (vColumn <= static_cast<uint16_t>(stGrid.u8LastTrail - stGrid.u8FirstTrail));
        if constexpr (stGrid.u32GapLength > 0) {
            vCommon &= vTrail - stGrid.u8GapFirst >= static_cast<uint16_t>(stGrid.u32GapLength);
            vColumn -= std::bit_cast<Vector>(vTrail > stGrid.u8GapFirst) & static_cast<uint16_t>(stGrid.u32GapLength);
        }
        if (!HAS_GATHER && !isZero(~vCommon))
            return 0;
        const Vector vPlaces = vRow * static_cast<uint16_t>(stGrid.columns()) + vColumn;
        const Vector vUnicode = lookedUp(pu8Table, vPlaces & std::bit_cast<Vector>(vCommon));
        storeThreeByteSequences(stCursor.pu8Output, vUnicode);
        const auto vLow = vUnicode < 0x800;
        if (!HAS_GATHER)
            return isZero(vLow) ? static_cast<int32_t>(sizeof(Vector) / 2) : 0;
        const int32_t s32Common = std::countr_one(bitsOf(std::bit_cast<WIDE_U8>(vCommon))) / 2;
        if (isZero(vLow & vCommon)) [[likely]] // a guess, so that the next step need not wait for the table
            return s32Common;
        return std::min(s32Common, std::countr_zero(bitsOf(std::bit_cast<WIDE_U8>(vLow))) / 2);
    }
};

} // namespace zucharset
