#pragma once

#include <movaSystem.h>
#include "streams/ForwardingStream.h"

namespace mova {

/// Numbers in an inner stream in the byte order that this machine does not have.
class ByteSwapStreamIO final : public ForwardingStream<ByteSwapStreamIO, ::ByteSwapStreamIO, IByteSwapStreamIO,
                                                       Generations<IStream, ISequentialStream>> {
 public:
    using ForwardingStream::ForwardingStream;

    // IByteSwapStreamIO
    STDMETHODIMP put_Stream(IStream* inner) noexcept override;
    STDMETHODIMP get_Stream(IStream** inner) noexcept override;
    STDMETHODIMP WriteInt16(SHORT number) noexcept override;
    STDMETHODIMP ReadInt16(SHORT* number) noexcept override;
    STDMETHODIMP WriteInt32(LONG number) noexcept override;
    STDMETHODIMP ReadInt32(LONG* number) noexcept override;
    STDMETHODIMP WriteInt64(LONGLONG number) noexcept override;
    STDMETHODIMP ReadInt64(LONGLONG* number) noexcept override;
    STDMETHODIMP WriteSingle(FLOAT number) noexcept override;
    STDMETHODIMP ReadSingle(FLOAT* number) noexcept override;
    STDMETHODIMP WriteDouble(DOUBLE number) noexcept override;
    STDMETHODIMP ReadDouble(DOUBLE* number) noexcept override;

 private:
    template <class Number>
    HRESULT WriteSwapped(const Number& number) noexcept;
    template <class Number>
    HRESULT ReadSwapped(Number* number) noexcept;
};

}  // namespace mova
