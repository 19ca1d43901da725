#pragma once

#include <movaSystem.h>

#include "json/JSONBase.h"

namespace mova {

/// Values by position.
class JSONArray final : public JSONBase<JSONArray, ::JSONArray, IJSONArray, AddedUnder<>,
                                        Generations<IJSONArrayEx, IJSONArray2, IJSONArray>> {
 public:
    using JSONBase::JSONBase;

    // IJSONArray: what objects have otherwise
    STDMETHODIMP IsValueNull(LONG index, VARIANT_BOOL* isNull) noexcept override;
    STDMETHODIMP GetValue(LONG index, VARIANT* value) noexcept override;
    STDMETHODIMP RemoveAt(LONG index) noexcept override;

 private:
    friend JSONBase;

    std::uint32_t Find(LONG index) const noexcept {
        return index >= 0 && static_cast<std::uint32_t>(index) < values_.held.Count()
                   ? static_cast<std::uint32_t>(index)
                   : json::Container::none;
    }
    static HRESULT Missing() noexcept { return Refuse(E_INVALIDARG); }
    HRESULT AddValue(const json::Value& value);
};

}  // namespace mova
