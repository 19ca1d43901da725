// How an operation fails: one routine for all classes.
#pragma once

#include "kvcore/Platform.h"

namespace mova {

class Unknown;

/// Puts error information on the calling thread: description, source, help file, and the interface that failed.
/// @param messageId a text of the library's string table, taken where there is no text; 0 for none.
/// @param text the description; null or empty for none. Without a description, or with one from the table of less
///     than two characters, the thread is left without error information, so that no stale text explains this failure.
/// @return the status, unchanged.
HRESULT ReportError(const Unknown& reporter, HRESULT status, UINT messageId, const char16_t* text, REFIID iid) noexcept;

/// Refuses without a text: the thread is left without error information. @return the status, unchanged.
HRESULT Refuse(HRESULT status) noexcept;

/// The status of the exception that is being handled, for the one handler at the end of every operation that can throw:
/// E_OUTOFMEMORY for lack of memory, else E_FAIL. The thread is left without error information.
HRESULT CaughtStatus() noexcept;

}  // namespace mova
