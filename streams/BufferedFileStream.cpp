#include "streams/BufferedFileStream.h"

namespace mova {
namespace {

constexpr LONG greatestBuffer = 16 * 1024 * 1024;

}  // namespace

STDMETHODIMP BufferedFileStream::put_BufferSize(LONG byteCount) noexcept try {
    if (byteCount < 1 || byteCount > greatestBuffer)
        return Refuse<IBufferedFileStream>(E_INVALIDARG, u"The buffer must be from 1 to 16,777,216 bytes.");
    const auto capacity = static_cast<ULONG>(byteCount);
    if (OpenContent()) {
        if (const FileOutcome outcome = OpenContent()->SetCapacity(capacity); outcome.Failed()) return Tell(outcome);
    }
    nextCapacity_ = capacity;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP BufferedFileStream::get_BufferSize(LONG* byteCount) noexcept {
    if (!byteCount) return Refuse(E_POINTER);
    *byteCount = static_cast<LONG>(Capacity());
    return S_OK;
}

}  // namespace mova
