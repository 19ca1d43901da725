#pragma once

#include <movaSystem.h>
#include "xml/XmlPersistentComponent.h"

namespace mova {

/// An identifier as an object, with a subtype.
class UID final : public XmlPersistentComponent<UID, ::UID, IUID, IIdentifierExchange> {
 public:
    using XmlPersistentComponent::XmlPersistentComponent;

    // IUID
    STDMETHODIMP put_Value(VARIANT value) noexcept override;
    STDMETHODIMP get_Value(VARIANT* value) noexcept override;
    STDMETHODIMP Generate() noexcept override;
    STDMETHODIMP put_SubType(LONG subtype) noexcept override;
    STDMETHODIMP get_SubType(LONG* subtype) noexcept override;
    STDMETHODIMP Compare(IUID* other, VARIANT_BOOL* equal) noexcept override;
    // IIdentifierExchange
    STDMETHODIMP SetIdentifier(const GUID* identifier, LONG subtype) noexcept override;
    STDMETHODIMP GetIdentifier(GUID* identifier, LONG* subtype) noexcept override;

    // PersistentComponent's
    static constexpr ULONG sizeMax = 23;
    void WriteFields(kv::StreamWriter& out) const noexcept;
    HRESULT ReadFields(kv::StreamReader& in) noexcept;
    // XmlPersistentComponent's
    static constexpr std::u16string_view typeName = u"UID";
    HRESULT WriteElements(XmlFieldWriter& out) const;
    HRESULT ReadElements(XmlFieldReader& in);

 private:
    HRESULT PutObject(IUnknown* object) noexcept;
    HRESULT PutText(std::u16string_view text, bool searchesRegistry);
    void Take(const GUID& identifier) noexcept;
    void TakeSubtype(LONG subtype) noexcept;

    GUID identifier_{};
    LONG subtype_ = 0;  ///< never negative
    bool hasValue_ = false;
};

}  // namespace mova
