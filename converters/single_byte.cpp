#include "single_byte.h"

namespace zucharset {
namespace {

struct SingleByteDecoder : CodePointDecoder {
    const SINGLE_BYTE_PAGE_S &stPage;

    explicit SingleByteDecoder(const SINGLE_BYTE_PAGE_S &stPageIn) : stPage(stPageIn) {}

    CHARACTER_S next(const uint8_t *pu8Input, int32_t) const {
        const uint8_t u8Byte = pu8Input[0];
        const size_t u32Index = static_cast<size_t>(u8Byte) - stPage.u8FirstByte; // wraps for a byte below the first
        if (u32Index >= stPage.au16ToUnicode.size())
            return character(u8Byte, 1);
        const uint16_t u16Unicode = stPage.au16ToUnicode[u32Index];
        if (u16Unicode == REPLACEMENT && stPage.enGap == GAP_E::PASSED_OVER)
            return passedOver(1);
        return character(u16Unicode, 1);
    }
};

} // namespace

int32_t singleByteToUtf8(const SINGLE_BYTE_PAGE_S &stPage, const HANDLE_CONTROL_S &stControl, uint8_t *pu8Output,
                         int32_t *ps32OutputLen, const uint8_t *pu8Input, int32_t s32InputLen) {
    return convertToUtf8(SingleByteDecoder{stPage}, stControl, pu8Output, ps32OutputLen, pu8Input, s32InputLen);
}

} // namespace zucharset
