#pragma once

#include <movaSystem.h>

#include <string>
#include <vector>

#include "xml/XmlPersistentComponent.h"

namespace mova {

/// A growing array of texts, from index 0.
class StrArray final : public XmlPersistentComponent<StrArray, ::StrArray, IStringArray, IClone> {
 public:
    using XmlPersistentComponent::XmlPersistentComponent;

    // IStringArray
    STDMETHODIMP get_Count(LONG* count) noexcept override;
    STDMETHODIMP put_Element(LONG index, BSTR element) noexcept override;
    STDMETHODIMP get_Element(LONG index, BSTR* element) noexcept override;
    STDMETHODIMP Add(BSTR element) noexcept override;
    STDMETHODIMP Insert(LONG index, BSTR element) noexcept override;
    STDMETHODIMP Remove(LONG index) noexcept override;
    STDMETHODIMP RemoveAll() noexcept override;
    STDMETHODIMP Find(BSTR text, VARIANT_BOOL ignoreCase, LONG* index) noexcept override;
    STDMETHODIMP Split(BSTR text, BSTR delimiter) noexcept override;
    STDMETHODIMP Join(BSTR delimiter, BSTR* text) noexcept override;
    STDMETHODIMP put_Values(VARIANT values) noexcept override;
    STDMETHODIMP get_Values(VARIANT* values) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override { return CloneBySaving(copy); }

    // PersistentComponent's
    void WriteFields(kv::StreamWriter& out) const;
    HRESULT ReadFields(kv::StreamReader& in);
    // XmlPersistentComponent's
    static constexpr std::u16string_view typeName = u"StrArray";
    HRESULT WriteElements(XmlFieldWriter& out) const;
    HRESULT ReadElements(XmlFieldReader& in);

 private:
    /// The element at an index; null outside the array.
    std::u16string* At(LONG index) noexcept;
    HRESULT RefuseIndex() const noexcept;

    std::vector<std::u16string> elements_;
};

}  // namespace mova
