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

    static constexpr int32_t PLAIN_OUTPUT = BLOCK_INPUT / 2;

    ZU_HOT static bool copyPlainBlock(BLOCK_CURSOR_S stCursor) { return narrowAscii<BLOCK_INPUT>(stCursor); }

    static BLOCK_CURSOR_S convertBlock(BLOCK_CURSOR_S stCursor) {
        for (int32_t i = 0; i < BLOCK_INPUT; i += 16) {
            if (narrowAscii<16>(stCursor)) {
                stCursor = advanced(stCursor, 16, 8);
                continue;
            }
            stCursor = convertFour(stCursor);
            stCursor = convertFour(stCursor);
        }
        return stCursor;
    }

  private:
    template <class Units> ZU_HOT static Units loadUnits(const uint8_t *pu8Input) {
        const auto vUnits = loadAs<Units>(pu8Input);
        return pfnGetUnicode == ConverterUCS16BEGetUnicode ? vUnits << 8 | vUnits >> 8 : vUnits;
    }

    // Writes a byte for each of the next units and says whether all of them are ASCII.
    template <int32_t s32Bytes> ZU_HOT static bool narrowAscii(BLOCK_CURSOR_S stCursor) {
        VECTOR_U16 vAny{};
        for (int32_t i = 0; i < s32Bytes; i += 16) {
            const auto vUnits = loadUnits<VECTOR_U16>(stCursor.pu8Input + i);
            storeAs(stCursor.pu8Output + i / 2, __builtin_convertvector(vUnits, VECTOR_U8_HALF));
            vAny |= vUnits;
        }
        return isZero(vAny & 0xFF80);
    }

    // Four units: side by side if all of them take three bytes.
    ZU_HOT static BLOCK_CURSOR_S convertFour(BLOCK_CURSOR_S stCursor) {
        const auto vUnits = __builtin_convertvector(loadUnits<VECTOR_U16_HALF>(stCursor.pu8Input), VECTOR_U32);
        if (HAS_VECTORS && isZero((vUnits & 0xF800) == 0)) {
            const auto vPairs =
                std::bit_cast<VECTOR_U64>(0x8080E0 | vUnits >> 12 | (vUnits & 0xFC0) << 2 | (vUnits & 0x3F) << 16);
            storeAs(stCursor.pu8Output, (vPairs[0] & 0xFFFFFF) | vPairs[0] >> 32 << 24);
            storeAs(stCursor.pu8Output + 6, (vPairs[1] & 0xFFFFFF) | vPairs[1] >> 32 << 24);
            return advanced(stCursor, 8, 12);
        }
        for (int32_t s32Unit = 0; s32Unit < 4; ++s32Unit)
            stCursor = convertUnit(stCursor);
        return stCursor;
    }

    ZU_HOT static BLOCK_CURSOR_S convertUnit(BLOCK_CURSOR_S stCursor) {
        const uint32_t u32Unicode = pfnGetUnicode(stCursor.pu8Input);
        if (u32Unicode >= 0x800) {
            storeAs(stCursor.pu8Output, threeByteSequence(u32Unicode));
            return advanced(stCursor, 2, 3);
        }
        const CHARACTER_S stChar = character(u32Unicode, 2);
        storeAs(stCursor.pu8Output, wideSequence(stChar));
        return advanced(stCursor, 2, stChar.s32Length);
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

    static BLOCK_CURSOR_S convertBlock(BLOCK_CURSOR_S stCursor) {
        // Well-formed text comes out as it is, and is copied already.
        const int32_t s32WellFormed = wellFormedLength(stCursor.pu8Input);
        if (s32WellFormed > 0)
            return advanced(stCursor, s32WellFormed, s32WellFormed);
        const uint8_t *const pu8End = stCursor.pu8Input + BLOCK_INPUT;
        while (stCursor.pu8Input < pu8End) {
            if (*stCursor.pu8Input < 0x80) {
                const int32_t s32Plain = copyAsciiWord(stCursor);
                stCursor = advanced(stCursor, s32Plain, s32Plain);
                continue;
            }
            const CHARACTER_S stChar = next(stCursor.pu8Input, BLOCK_MARGIN);
            write(stChar, stCursor.pu8Input, stCursor.pu8Output);
            stCursor = advanced(stCursor, stChar.s32Taken, stChar.s32Length);
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
