#pragma once

#include "kvcore/BString.h"

namespace kv {

/// A date as its reader's country writes it: the date, and behind a blank the time unless that is midnight. A date that
/// an OLE date cannot be is "<?>". @param flags 0, or LOCALE_NOUSEROVERRIDE to leave out what the user has customised
/// @return E_FAIL for not-a-number, and where the system cannot write it; E_OUTOFMEMORY
HRESULT DateText(DATE date, LCID locale, DWORD flags, BString& text) noexcept;

}  // namespace kv
