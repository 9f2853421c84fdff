// The common detector: the multibyte vote and, when it names nothing, a cascade of identification tests.
#include "detector_cascade.h"
#include "detector_instance.h"
#include "detector_vote.h"

#include <cstdlib>

namespace zucharset {
namespace {

int32_t ZU_DETECTOR_Create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    if (phHandle == nullptr)
        return refuse("invalid param");
    auto *pstDetector =
        static_cast<ZU_CHARSETDETECTOR_Common_S *>(CHARSET_MALLOCZ(sizeof(ZU_CHARSETDETECTOR_Common_S)));
    if (pstDetector == nullptr)
        return refuse("ZU_CHARSET_Create malloc handle fail");
    pstDetector->stControl.u32Option = u32Option;
    if (_Detector_initialize_frequencies(*pstDetector) != 0) {
        std::free(pstDetector);
        return refuseWithText(LOG_ERROR, "_Detector_initialize_frequencies fail");
    }
    *phHandle = pstDetector;
    return 0;
}

int32_t ZU_DETECTOR_IdentStream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                ZU_CHARSET_OPTION u32Option, int32_t *ps32CodeType) {
    if (hHandle == nullptr)
        return refuse("null");
    if (pu8Input == nullptr)
        return refuse("u8Input is null");
    if (s32InputLen <= 0)
        return refuse("ZU_CHARSET_IdentStream: stream is null");
    auto &stDetector = *static_cast<ZU_CHARSETDETECTOR_Common_S *>(hHandle);
    storeOption(stDetector.stControl, u32Option);
    if (quitRequested(stDetector.stControl))
        return -1;
    const TEXT_S stText{pu8Input, s32InputLen};
    int32_t s32CodeType = _Detector_GuessEnCodingsType(stDetector, stText);
    if (s32CodeType == 0)
        s32CodeType = identifySingleByte(stDetector.stControl, stText);
    if (s32CodeType == 0)
        return -1;
    *ps32CodeType = s32CodeType;
    return 0;
}

int32_t ZU_DETECTOR_SetDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    if (hHandle == nullptr)
        return refuse("null");
    return applyCommand(static_cast<ZU_CHARSETDETECTOR_Common_S *>(hHandle)->stControl, s32Cmd, pArg,
                        "TESTCHARSET_CONVERTER_setDataAsync: unknow commands\n");
}

int32_t ZU_DETECTOR_Close(ZU_CHARSET_HANDLE hHandle) {
    if (hHandle == nullptr)
        return refuse("null");
    releaseHandle(hHandle, sizeof(ZU_CHARSETDETECTOR_Common_S));
    return 0;
}

} // namespace
} // namespace zucharset

constinit ZU_CHARSET_S g_stCOMMON_detector = {
    .pszName = "libzucharsetdetector.so",
    .u32Version = 1,
    .pszDescription = "zucharset common detector",
    .u32Reserved = 0,
    .pfnDetectorCreate = zucharset::ZU_DETECTOR_Create,
    .pfnDetectorIdentStream = zucharset::ZU_DETECTOR_IdentStream,
    .pfnDetectorSetDataAsync = zucharset::ZU_DETECTOR_SetDataAsync,
    .pfnDetectorClose = zucharset::ZU_DETECTOR_Close,
    .pfnConverterFind = nullptr,
    .pfnConverterCreate = nullptr,
    .pfnConverterConvStream = nullptr,
    .pfnConverterSetDataAsync = nullptr,
    .pfnConverterClose = nullptr,
    .pstNext = nullptr,
    .au32Reserved = {},
};
