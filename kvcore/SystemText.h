#pragma once

#include "kvcore/BString.h"

namespace kv {

/// What the system says of a status code in a language, without a line break at the end; where it knows no text, the
/// code as 0x and eight hexadecimal digits. @throw std::bad_alloc
BString SystemText(HRESULT status, LCID locale);

}  // namespace kv
