#include "zucharset.h"
constinit ZU_CHARSET_S g_stCOMMON_detector = {};
