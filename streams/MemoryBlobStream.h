#pragma once

#include <movaSystem.h>
#include "streams/MemoryStream.h"

namespace mova {

/// A stream of bytes in memory.
class MemoryBlobStream final
    : public MemoryStream<MemoryBlobStream, ::MemoryBlobStream, IMemoryBlobStream, IMemoryBlobBuffer> {
 public:
    using Component::Make;
    using MemoryStream::MemoryStream;

    // IMemoryBlobStream
    STDMETHODIMP put_Bytes(VARIANT bytes) noexcept override;
    STDMETHODIMP get_Bytes(VARIANT* bytes) noexcept override;
    // IMemoryBlobBuffer
    STDMETHODIMP GetBuffer(BYTE** bytes, ULONGLONG* size) noexcept override;
    STDMETHODIMP SetBuffer(const BYTE* bytes, ULONG size) noexcept override;
};

}  // namespace mova
