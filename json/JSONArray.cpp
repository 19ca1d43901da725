#include "json/JSONArray.h"

namespace mova {

STDMETHODIMP JSONArray::IsValueNull(LONG index, VARIANT_BOOL* isNull) noexcept {
    if (!isNull) return Refuse(E_POINTER);
    const std::uint32_t place = Find(index);
    if (place == json::Container::none) return Missing();
    const VARTYPE type = TypeOf(values_.held.At(place));
    return GetFlag(type == VT_EMPTY || type == VT_NULL, isNull);
}

STDMETHODIMP JSONArray::GetValue(LONG index, VARIANT* value) noexcept try {
    if (!value) return Refuse(E_POINTER);
    VariantInit(value);
    const std::uint32_t place = Find(index);
    return place == json::Container::none ? Missing() : values_.CopyOut(place, value);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONArray::RemoveAt(LONG index) noexcept try {
    const std::uint32_t place = Find(index);
    if (place == json::Container::none) return Missing();
    values_.held.Remove(place);
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

HRESULT JSONArray::AddValue(const json::Value& value) {
    if (values_.held.Count() == static_cast<std::uint32_t>(std::numeric_limits<LONG>::max()))
        return Refuse(E_OUTOFMEMORY);
    values_.held.Append(value);
    return S_OK;
}

}  // namespace mova
