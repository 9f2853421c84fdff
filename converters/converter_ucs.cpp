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
        if constexpr (HAS_VECTORS && s32Bytes == PLAIN_BLOCK)
            return copyPlainBlock(stCursor, std::make_index_sequence<WIDE_BYTES>());
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
        if (HAS_SHUFFLE && stStretch.hasRoom(stCursor, PLAIN_BLOCK, BLOCK_MOST))
            return convertBlocks(stCursor, stStretch);
        PlainCounter<16> stPlain;
        while (stStretch.goesOn(stCursor)) {
            const bool bPlain = copyPlain<16>(stCursor);
            if (bPlain)
                stCursor = advanced(stCursor, 16, 8);
            else
                stCursor = HAS_VECTORS ? convertUnits<VECTOR_U16>(stCursor) : convertEachOfEight(stCursor);
            if (stPlain.isLong(bPlain))
                break;
        }
        return stCursor;
    }

  private:
    // In foreign units of ASCII these bits are set somewhere.
    static constexpr bool BIG_ENDIAN_UNITS = pfnGetUnicode == ConverterUCS16BEGetUnicode;
    static constexpr uint16_t FOREIGN_BITS = BIG_ENDIAN_UNITS ? 0x80FF : 0xFF80;

    template <size_t... u32Place>
    ZU_HOT static bool copyPlainBlock(CURSOR_S stCursor, std::index_sequence<u32Place...>) {
        WIDE_U16 vAny{};
#pragma GCC unroll 2
        for (int32_t i = 0; i < PLAIN_BLOCK; i += 2 * WIDE_BYTES) {
            const auto vFirst = loadAs<WIDE_U8>(stCursor.pu8Input + i);
            const auto vSecond = loadAs<WIDE_U8>(stCursor.pu8Input + i + WIDE_BYTES);
            storeAs(stCursor.pu8Output + i / 2,
                    __builtin_shufflevector(vFirst, vSecond, (2 * u32Place + (BIG_ENDIAN_UNITS ? 1 : 0))...));
            vAny |= std::bit_cast<WIDE_U16>(vFirst | vSecond);
        }
        return isZero(vAny & FOREIGN_BITS);
    }

    static bool isPlainBlock(const uint8_t *pu8Input) {
        WIDE_U16 vAny{};
#pragma GCC unroll 4
        for (int32_t i = 0; i < PLAIN_BLOCK; i += WIDE_BYTES)
            vAny |= loadAs<WIDE_U16>(pu8Input + i);
        return isZero(vAny & FOREIGN_BITS);
    }

    // Up to a plain block. Apart from the loop outside, so that the registers are for this one.
    [[gnu::noinline]] static CURSOR_S convertBlocks(CURSOR_S stCursor, STRETCH_S stStretch) {
        do {
#pragma GCC unroll 4
            for (int32_t i = 0; i < PLAIN_BLOCK; i += WIDE_BYTES)
                stCursor = convertUnits<WIDE_U16>(stCursor);
        } while (stStretch.goesOn(stCursor) && stStretch.hasRoom(stCursor, PLAIN_BLOCK, BLOCK_MOST) &&
                 !isPlainBlock(stCursor.pu8Input));
        return stCursor;
    }

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

    // Sequences of three bytes throughout, and what the kernel may write behind them.
    static constexpr int32_t BLOCK_MOST = PLAIN_BLOCK / 2 * 3 + KERNEL_MARGIN;

    template <class Units> ZU_HOT static CURSOR_S convertUnits(CURSOR_S stCursor) {
        uint8_t *const pu8Behind = storeSequences(stCursor.pu8Output, loadUnits<Units>(stCursor.pu8Input));
        return {stCursor.pu8Input + sizeof(Units), pu8Behind};
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
        // Well-formed text comes out as it is. When it has become plain the loop outside is faster.
        if (stStretch.hasRoom(stCursor, TEXT_BLOCK, TEXT_BLOCK)) {
            if (formOf<BEFORE_E::NOTHING>(stCursor.pu8Input) == FORM_E::FLAWED)
                return convertFlawed(stCursor, stStretch);
            do
                stCursor = copied<TEXT_BLOCK>(stCursor);
            while (stStretch.goesOn(stCursor) && stStretch.hasRoom(stCursor, TEXT_BLOCK, TEXT_BLOCK) &&
                   formOf<BEFORE_E::TEXT>(stCursor.pu8Input) == FORM_E::WELL_FORMED);
        } else {
            if (formOf<BEFORE_E::NOTHING, INPUT_MARGIN>(stCursor.pu8Input) == FORM_E::FLAWED)
                return convertFlawed(stCursor, stStretch);
            stCursor = copied<INPUT_MARGIN>(stCursor);
        }
        const int32_t s32Open = openBytes(stCursor.pu8Input);
        return advanced(stCursor, -s32Open, -s32Open);
    }

  private:
    template <int32_t s32Bytes> ZU_HOT static CURSOR_S copied(CURSOR_S stCursor) {
        for (int32_t i = 0; i < s32Bytes; i += 16)
            storeAs(stCursor.pu8Output + i, loadAs<VECTOR_U8>(stCursor.pu8Input + i));
        return advanced(stCursor, s32Bytes, s32Bytes);
    }

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
