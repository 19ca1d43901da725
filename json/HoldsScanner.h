#pragma once

#include "json/Scanner.h"
#include "kvcore/Platform.h"

namespace mova {

/// Answered by a JSON reader of this module: what it reads with, for those who read whole documents and would pay for
/// a call for every token. What they move, the reader has moved.
struct IHoldsScanner : IUnknown {
    /// The reader's scanner, as long as the reader lives. It may throw std::bad_alloc.
    virtual json::Scanner& STDMETHODCALLTYPE TheScanner() noexcept = 0;
    /// Reports the failure that the scanner has met as one of the reader. @return its status
    virtual HRESULT STDMETHODCALLTYPE ReportFailure() noexcept = 0;
    /// Goes to the next token. @return S_OK; S_FALSE at the end; a failure, reported
    virtual HRESULT STDMETHODCALLTYPE Step() noexcept = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::IHoldsScanner, 0xE185B071, 0xE0D0, 0x4532, 0xA7, 0x84, 0x8F, 0x5B, 0x2E, 0x52, 0x2D, 0x8E)
