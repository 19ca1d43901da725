// The platform's error-record interfaces, whose header leaves out what __uuidof needs.
#pragma once

#include "kvcore/Platform.h"
// Platform.h first: this header builds on it.
#include <oledb.h>

#ifdef __CRT_UUID_DECL
__CRT_UUID_DECL(IErrorRecords, 0x0c733a67, 0x2a1c, 0x11ce, 0xad, 0xe5, 0x00, 0xaa, 0x00, 0x44, 0x77, 0x3d)
__CRT_UUID_DECL(IErrorLookup, 0x0c733a66, 0x2a1c, 0x11ce, 0xad, 0xe5, 0x00, 0xaa, 0x00, 0x44, 0x77, 0x3d)
#endif
