#pragma once

#include <movaSystem.h>

#include "json/JSONBase.h"

namespace mova {

/// Named values in the order of adding.
class JSONObject final
    : public JSONBase<JSONObject, ::JSONObject, IJSONObject, AddedUnder<BSTR>,
                      Generations<IJSONObjectEx, IJSONObject3, IJSONObject2, IJSONObject>, IJSONTraversal> {
 public:
    using JSONBase::JSONBase;

    // IJSONObject: what arrays have otherwise
    STDMETHODIMP MemberExists(BSTR name, VARIANT_BOOL* exists) noexcept override;
    STDMETHODIMP IsValueNull(BSTR name, VARIANT_BOOL* isNull) noexcept override;
    STDMETHODIMP GetMemberAt(LONG index, BSTR* name, VARIANT* value) noexcept override;
    STDMETHODIMP GetValue(BSTR name, VARIANT* value, VARIANT_BOOL* found) noexcept override;
    STDMETHODIMP RemoveMember(BSTR name) noexcept override;

    // IJSONObjectEx
    STDMETHODIMP Translate(IPropertySet* options, IUnknown** object) noexcept override;
    STDMETHODIMP GetNames(IJSONArray** names) noexcept override;
    STDMETHODIMP AddNamedValue(BSTR name, const VARIANT* value) noexcept override;
    STDMETHODIMP putref_Attachment(IUnknown* object) noexcept override;
    STDMETHODIMP get_Attachment(IUnknown** object) noexcept override;

    // IJSONTraversal
    STDMETHODIMP GetValueByPath(BSTR path, VARIANT* value, VARIANT_BOOL* found) noexcept override;
    STDMETHODIMP Traverse(IJSONVisitor* visitor) noexcept override;

 private:
    friend JSONBase;

    /// Where the member of that name is; none where there is none.
    std::uint32_t Find(BSTR name) const noexcept;
    /// What it means that there is none.
    static HRESULT Missing() noexcept { return S_OK; }
    HRESULT AddValue(BSTR name, const json::Value& value);

    kv::Ptr<IUnknown> attachment_;
};

}  // namespace mova
