#include "streams/MemoryBlobStream.h"

#include "kvcore/SafeArray.h"

namespace mova {

STDMETHODIMP MemoryBlobStream::put_Bytes(VARIANT bytes) noexcept {
    const VARIANT* value = kv::Referred(bytes);
    if (value && value->vt == VT_EMPTY) return SetBuffer(nullptr, 0);
    const auto array = kv::ArrayView::Of(bytes);
    if (!array || array->Type() != VT_UI1 || array->Dimensions() != 1)
        return Refuse<IMemoryBlobStream>(E_INVALIDARG, u"The bytes must be an array of VT_UI1 in one dimension.");
    return SetBuffer(static_cast<const BYTE*>(array->Data()), static_cast<ULONG>(array->Count()));
}

STDMETHODIMP MemoryBlobStream::get_Bytes(VARIANT* bytes) noexcept try {
    if (!bytes) return Refuse(E_POINTER);
    VariantInit(bytes);
    const std::span<std::byte> content = content_.Bytes();
    kv::ArrayBuilder copy(VT_UI1, content.size());
    std::copy(content.begin(), content.end(), copy.Elements<std::byte>());
    *bytes = copy.Finish().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MemoryBlobStream::GetBuffer(BYTE** bytes, ULONGLONG* size) noexcept {
    if (bytes) *bytes = nullptr;
    if (size) *size = 0;
    if (!bytes || !size) return Refuse(E_POINTER);
    const std::span<std::byte> content = content_.Bytes();
    *bytes = content.empty() ? nullptr : reinterpret_cast<BYTE*>(content.data());
    *size = content.size();
    return S_OK;
}

STDMETHODIMP MemoryBlobStream::SetBuffer(const BYTE* bytes, ULONG size) noexcept {
    if (!bytes && size != 0) return Refuse(E_POINTER);
    if (!content_.Replace({reinterpret_cast<const std::byte*>(bytes), size})) return Refuse(E_OUTOFMEMORY);
    return S_OK;
}

}  // namespace mova
