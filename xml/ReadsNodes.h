// How others of this module read through a reader: past its operations, in the parser that it stands in.
#pragma once

#include "kvcore/Platform.h"
#include "xml/PullParser.h"

namespace mova {

/// What a parser throws whose stream has failed.
struct StreamFailure {
    HRESULT status;
};

/// Answered by the readers of this module.
struct IReadsNodes : IUnknown {
    /// The parser that the reader stands in, which stays the reader's: where it is moved, the reader is. Its Next
    /// throws StreamFailure, too. Null without a document, and while the reader is being called by the stream that it
    /// reads.
    virtual xml::PullParser* STDMETHODCALLTYPE Parser() noexcept = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::IReadsNodes, 0x373D79F9, 0x09F1, 0x4B2F, 0xA6, 0x74, 0xAA, 0x65, 0x4A, 0x39, 0xEB, 0x2E)
