#include "streams/ByteSwapStreamIO.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace mova {
namespace {

template <class Number>
using BytesOf = std::array<std::byte, sizeof(Number)>;

}  // namespace

template <class Number>
HRESULT ByteSwapStreamIO::WriteSwapped(const Number& number) noexcept {
    BytesOf<Number> bytes;
    std::memcpy(bytes.data(), &number, bytes.size());
    std::reverse(bytes.begin(), bytes.end());
    const kv::Ptr<IStream> inner = Inner();
    return inner ? kv::KvStreamWrite(inner.Get(), bytes.data(), bytes.size(), nullptr) : Refuse(E_FAIL);
}

template <class Number>
HRESULT ByteSwapStreamIO::ReadSwapped(Number* number) noexcept {
    if (!number) return Refuse(E_POINTER);
    *number = 0;
    const kv::Ptr<IStream> inner = Inner();
    if (!inner) return Refuse(E_FAIL);
    BytesOf<Number> bytes;
    std::size_t came = 0;
    if (HRESULT status = kv::KvStreamRead(inner.Get(), bytes.data(), bytes.size(), &came); FAILED(status))
        return status;
    if (came != bytes.size()) return Refuse<IByteSwapStreamIO>(E_FAIL, u"The stream ends within the number.");
    std::reverse(bytes.begin(), bytes.end());
    std::memcpy(number, bytes.data(), bytes.size());
    return S_OK;
}

STDMETHODIMP ByteSwapStreamIO::put_Stream(IStream* inner) noexcept {
    return SetInner(inner);
}

STDMETHODIMP ByteSwapStreamIO::get_Stream(IStream** inner) noexcept {
    return HandOutInner(inner);
}

STDMETHODIMP ByteSwapStreamIO::WriteInt16(SHORT number) noexcept {
    return WriteSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::ReadInt16(SHORT* number) noexcept {
    return ReadSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::WriteInt32(LONG number) noexcept {
    return WriteSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::ReadInt32(LONG* number) noexcept {
    return ReadSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::WriteInt64(LONGLONG number) noexcept {
    return WriteSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::ReadInt64(LONGLONG* number) noexcept {
    return ReadSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::WriteSingle(FLOAT number) noexcept {
    return WriteSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::ReadSingle(FLOAT* number) noexcept {
    return ReadSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::WriteDouble(DOUBLE number) noexcept {
    return WriteSwapped(number);
}

STDMETHODIMP ByteSwapStreamIO::ReadDouble(DOUBLE* number) noexcept {
    return ReadSwapped(number);
}

}  // namespace mova
