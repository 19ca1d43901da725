#pragma once

#include <movaSystem.h>
#include "streams/MemoryStream.h"

namespace mova {

/// A document as text in memory; how text becomes bytes is in DocumentText.h.
class XMLStream final : public MemoryStream<XMLStream, ::XMLStream, IXMLStream> {
 public:
    using MemoryStream::MemoryStream;

    // IXMLStream
    STDMETHODIMP LoadFromString(BSTR text) noexcept override;
    STDMETHODIMP SaveToString(BSTR* text) noexcept override;
};

}  // namespace mova
