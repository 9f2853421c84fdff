// The UCS converter: UTF-16 of either byte order, and UTF-8, to UTF-8. UTF-16 is taken unit by unit, so a surrogate
// comes out as a three-byte sequence of its own; UTF-8 is given the form of UTF-8 but not validated.
#include "converter_output.h"

namespace zucharset {
namespace {

constexpr uint32_t SYS_UNKNOWN_ENDIAN = 0;
constexpr uint32_t SYS_BIG_ENDIAN = 1;
constexpr uint32_t SYS_LITTLE_ENDIAN = 2;

// The bytes "12" read as one native 16-bit integer.
constexpr uint32_t UCS_SYS_BENUM = 0x3132;
constexpr uint32_t UCS_SYS_LENUM = 0x3231;

struct ZU_CHARSETCONVERTER_Ucs_S {
    uint32_t enSysEndian; // byte order of the machine; the readers go by the code type alone
    CONVERTER_TAIL_S stTail;
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(ZU_CHARSETCONVERTER_Ucs_S) == 5 * 4);
#endif

uint32_t UCS_GetSYS_EndiaType() {
    const uint8_t au8Probe[2] = {0x31, 0x32};
    uint16_t u16Native = 0;
    if (memcpy_s(&u16Native, sizeof u16Native, au8Probe, sizeof au8Probe) != 0)
        CHARSET_Printf(LOG_ERROR, __FILE__, __LINE__, "[%s:%d] memcpy_s failed!\n", __func__, __LINE__);
    if (u16Native == UCS_SYS_BENUM)
        return SYS_BIG_ENDIAN;
    return u16Native == UCS_SYS_LENUM ? SYS_LITTLE_ENDIAN : SYS_UNKNOWN_ENDIAN;
}

int32_t initUcs(ZU_CHARSET_HANDLE hNew) {
    const uint32_t enEndian = UCS_GetSYS_EndiaType();
    if (enEndian == SYS_UNKNOWN_ENDIAN)
        return refuseWithText(LOG_ERROR, "UCS Converter:system EndiaType is error");
    static_cast<ZU_CHARSETCONVERTER_Ucs_S *>(hNew)->enSysEndian = enEndian;
    return 0;
}

constexpr uint32_t ConverterUCS16LEGetUnicode(const uint8_t *pu8Unit) { return pu8Unit[0] | pu8Unit[1] * 0x100u; }
constexpr uint32_t ConverterUCS16BEGetUnicode(const uint8_t *pu8Unit) { return pu8Unit[0] * 0x100u | pu8Unit[1]; }

template <uint32_t (*pfnGetUnicode)(const uint8_t *)> struct Ucs16Decoder {
    explicit Ucs16Decoder(const ZU_CHARSETCONVERTER_Ucs_S &) {}

    ZU_HOT static CHARACTER_S next(const uint8_t *pu8Input, int32_t s32Left) {
        return s32Left < 2 ? CUT_OFF : character(pfnGetUnicode(pu8Input), 2);
    }

    static void write(const CHARACTER_S &stChar, const uint8_t *, uint8_t *pu8Output) {
        writeUtf8(stChar.u32Unicode, stChar.s32Length, pu8Output);
    }

    static constexpr int32_t PLAIN_UNIT = 2;

    template <int32_t s32Bytes> ZU_HOT static bool copyPlain(CURSOR_S stCursor) {
        using Units = std::conditional_t<s32Bytes == 8, VECTOR_U16_HALF, VECTOR_U16>;
        using Bytes = std::conditional_t<s32Bytes == 8, VECTOR_U8_QUARTER, VECTOR_U8_HALF>;
        constexpr auto s32Step = static_cast<int32_t>(sizeof(Units));
        Units vAny{};
#pragma GCC unroll 4
        for (int32_t i = 0; i < s32Bytes; i += s32Step) {
            const auto vUnits = loadUnits<Units>(stCursor.pu8Input + i);
            storeAs(stCursor.pu8Output + i / 2, __builtin_convertvector(vUnits, Bytes));
            vAny |= vUnits;
        }
        return isZero(vAny & 0xFF80);
    }

    static CURSOR_S convertStretch(CURSOR_S stCursor, STRETCH_S stStretch) {
        PlainCounter<16> stPlain;
        while (stStretch.goesOn(stCursor)) {
            const bool bPlain = copyPlain<16>(stCursor);
            if (bPlain)
                stCursor = advanced(stCursor, 16, 8);
            else
                stCursor = HAS_VECTORS ? convertEight(stCursor) : convertEachOfEight(stCursor);
            if (stPlain.isLong(bPlain))
                break;
        }
        return stCursor;
    }

  private:
    template <class Units> ZU_HOT static Units loadUnits(const uint8_t *pu8Input) {
        const auto vUnits = loadAs<Units>(pu8Input);
        return pfnGetUnicode == ConverterUCS16BEGetUnicode ? vUnits << 8 | vUnits >> 8 : vUnits;
    }

    ZU_HOT static CURSOR_S convertEachOfEight(CURSOR_S stCursor) {
        for (int32_t s32Unit = 0; s32Unit < 8; ++s32Unit) {
            const CHARACTER_S stChar = next(stCursor.pu8Input, 2);
            storeAs(stCursor.pu8Output, sequence(stChar.u32Unicode));
            stCursor = advanced(stCursor, 2, stChar.s32Length);
        }
        return stCursor;
    }

    ZU_HOT static CURSOR_S convertEight(CURSOR_S stCursor) {
        const EIGHT_SEQUENCES_S stEight = anySequences(loadUnits<VECTOR_U16>(stCursor.pu8Input));
        uint8_t *pu8Output = stCursor.pu8Output;
#pragma GCC unroll 4
        for (int32_t i = 0; i < 4; ++i) {
            const uint64_t u64Pair = std::bit_cast<VECTOR_U64>(stEight.av[i / 2])[i % 2];
            pu8Output = storeSequence(pu8Output, static_cast<uint32_t>(u64Pair));
            pu8Output = storeSequence(pu8Output, static_cast<uint32_t>(u64Pair >> 32));
        }
        return {stCursor.pu8Input + 16, pu8Output};
    }
};

constexpr auto ConverterGetUCS8Len = utf8SequenceLength;

// Copies sequences, whatever they encode, and forces what follows a lead byte into continuation bytes.
struct Ucs8Decoder : AsciiKeeper {
    explicit Ucs8Decoder(const ZU_CHARSETCONVERTER_Ucs_S &) {}

    ZU_HOT static CHARACTER_S next(const uint8_t *pu8Input, int32_t s32Left) {
        const int32_t s32Length = ConverterGetUCS8Len(pu8Input[0]);
        if (s32Length == 0)
            return passedOver(1);
        return s32Length > s32Left ? CUT_OFF : CHARACTER_S{s32Length, s32Length, 0};
    }

    static void write(const CHARACTER_S &stChar, const uint8_t *pu8Input, uint8_t *pu8Output) {
        if (stChar.s32Length > 0)
            pu8Output[0] = pu8Input[0];
        for (int32_t i = 1; i < stChar.s32Length; ++i)
            pu8Output[i] = static_cast<uint8_t>(0x80u | (pu8Input[i] & 0x3Fu));
    }

    static CURSOR_S convertStretch(CURSOR_S stCursor, STRETCH_S stStretch) {
        // Well-formed text comes out as it is. Now and then the loop outside is to see whether it has become plain.
        for (int32_t i = 0; i < 16 && stStretch.goesOn(stCursor); ++i) {
            const bool bBlock = stStretch.pu8InputStop - stCursor.pu8Input >= TEXT_BLOCK - INPUT_MARGIN &&
                                stStretch.pu8OutputStop - stCursor.pu8Output >= TEXT_BLOCK - OUTPUT_MARGIN;
            const int32_t s32Bytes = bBlock ? TEXT_BLOCK : INPUT_MARGIN;
            const int32_t s32WellFormed = wellFormedLength(stCursor.pu8Input, s32Bytes);
            if (s32WellFormed == 0)
                return convertFlawed(stCursor, stStretch);
            for (int32_t s32Part = 0; s32Part < s32Bytes; s32Part += 16)
                storeAs(stCursor.pu8Output + s32Part, loadAs<VECTOR_U64>(stCursor.pu8Input + s32Part));
            stCursor = advanced(stCursor, s32WellFormed, s32WellFormed);
        }
        return stCursor;
    }

  private:
    static CURSOR_S convertFlawed(CURSOR_S stCursor, STRETCH_S stStretch) {
        // Behind a flaw the next block may be well-formed again.
        constexpr int32_t s32Steps = HAS_VECTORS ? 8 : INT32_MAX;
        PlainCounter<8> stPlain;
        for (int32_t i = 0; i < s32Steps && stStretch.goesOn(stCursor); ++i) {
            const auto u32Text = loadAs<uint32_t>(stCursor.pu8Input);
            if ((u32Text & 0xC0C0F0) == 0x8080E0) { // a well-formed sequence of three
                storeAs(stCursor.pu8Output, u32Text);
                stCursor = advanced(stCursor, 3, 3);
            } else if ((u32Text & 0x80) == 0) {
                const int32_t s32Plain = copyAsciiWord(stCursor);
                stCursor = advanced(stCursor, s32Plain, s32Plain);
                if (stPlain.isLong(s32Plain == 8))
                    break;
            } else {
                const CHARACTER_S stChar = next(stCursor.pu8Input, INPUT_MARGIN);
                write(stChar, stCursor.pu8Input, stCursor.pu8Output);
                stCursor = advanced(stCursor, stChar.s32Taken, stChar.s32Length);
            }
        }
        return stCursor;
    }
};

template <uint32_t (*pfnGetUnicode)(const uint8_t *)>
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN ConvertUSC16ToUTF8 =
    decoderToUtf8<ZU_CHARSETCONVERTER_Ucs_S, Ucs16Decoder<pfnGetUnicode>>;

constexpr auto _Converter_UCS16LE_ToUTF8 = ConvertUSC16ToUTF8<ConverterUCS16LEGetUnicode>;
constexpr auto _Converter_UCS16BE_ToUTF8 = ConvertUSC16ToUTF8<ConverterUCS16BEGetUnicode>;
constexpr auto _Converter_UCS8_ToUTF8 = decoderToUtf8<ZU_CHARSETCONVERTER_Ucs_S, Ucs8Decoder>;

constexpr int32_t s32ConvSrcCodeType[] = {ZU_CHARSET_CODETYPE_UTF8, ZU_CHARSET_CODETYPE_UCS16BE,
                                          ZU_CHARSET_CODETYPE_UCS16LE, 0};
constexpr int32_t s32ConvDstCodeType[] = {ZU_CHARSET_CODETYPE_UTF8, 0};

constexpr CONVERTER_ROUTINE_S s_astRoutines[] = {
    {ZU_CHARSET_CODETYPE_UCS16LE, _Converter_UCS16LE_ToUTF8},
    {ZU_CHARSET_CODETYPE_UCS16BE, _Converter_UCS16BE_ToUTF8},
    {ZU_CHARSET_CODETYPE_UTF8, _Converter_UCS8_ToUTF8},
};

constexpr CONVERTER_CLASS_S s_stUcs = {
    .ps32ConvSrcCodeType = s32ConvSrcCodeType,
    .ps32ConvDstCodeType = s32ConvDstCodeType,
    .enFindOrder = FIND_ORDER_E::RANGES_FIRST,
    .pszSrcUnknown = "unknown codetype!!",
    .pszDstUnknown = "unknown codetype!!",
    .pszNotListed = "org type is not support, not use ucs converter.",
    .pszSrcNotListed = "src type is not support, not use ucs converter.",
    .pszDstNotListed = "dst type is not support, not use ucs converter.",
    .u32HandleSize = sizeof(ZU_CHARSETCONVERTER_Ucs_S),
    .u32TailOffset = offsetof(ZU_CHARSETCONVERTER_Ucs_S, stTail),
    .pfnInit = initUcs,
    .astRoutines = s_astRoutines,
    .enQuitTest = QUIT_TEST_E::AFTER_LOOKUP,
    .pszUnknownCommand = "TESTCHARSET_CONVERTER_setDataAsync: unknow commands\n",
};

int32_t UCS_CONVERTER_find(int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    return converterFind(s_stUcs, s32SrcCodeType, s32DstCodeType);
}

int32_t UCS_CONVERTER_create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    return converterCreate(s_stUcs, phHandle, u32Option);
}

int32_t UCS_CONVERTER_convstream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                 uint8_t *pu8Output, int32_t *ps32OutputLen, int32_t s32SrcCodeType,
                                 int32_t s32DstCodeType, uint32_t *pu32ConsumedLen) {
    return converterConvStream(s_stUcs, {hHandle, pu8Input, s32InputLen, pu8Output, ps32OutputLen, s32SrcCodeType,
                                         s32DstCodeType, pu32ConsumedLen});
}

int32_t UCS_CONVERTER_setDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    return converterSetDataAsync(s_stUcs, hHandle, s32Cmd, pArg);
}

int32_t UCS_CONVERTER_close(ZU_CHARSET_HANDLE hHandle) { return converterClose(s_stUcs, hHandle); }

} // namespace
} // namespace zucharset

constinit ZU_CHARSET_S g_stUCS_converter = zucharset::converterRecord(
    "zucharset ucs converter", zucharset::UCS_CONVERTER_find, zucharset::UCS_CONVERTER_create,
    zucharset::UCS_CONVERTER_convstream, zucharset::UCS_CONVERTER_setDataAsync, zucharset::UCS_CONVERTER_close);
