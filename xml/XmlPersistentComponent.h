#pragma once

#include "streams/PersistentComponent.h"
#include "xml/FieldForms.h"
#include "xml/SchemaRelease.h"

namespace mova {

/// A component that persists in binary and as XML. For the latter a class says, beside what PersistentComponent wants,
///
///     static constexpr std::u16string_view typeName;    // of its type in documents
///     HRESULT WriteElements(XmlFieldWriter& out) const;  // S_OK, or a failure; out.Status() where the writer has it
///     HRESULT ReadElements(XmlFieldReader& in);          // the same; a failure leaves the object as it was
///
/// Both may throw.
template <class Self, class Coclass, class... Items>
class XmlPersistentComponent : public PersistentComponent<Self, Coclass, Items..., IXMLSerialize> {
    using Base = PersistentComponent<Self, Coclass, Items..., IXMLSerialize>;

 public:
    using Base::Base;

    // IXMLSerialize
    STDMETHODIMP Serialize(IXMLSerializeData* data) noexcept override try {
        if (!data) return Base::Refuse(E_POINTER);
        XmlFieldWriter out(data, Self::typeName);
        return static_cast<const Self*>(this)->WriteElements(out);
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Deserialize(IXMLSerializeData* data) noexcept override try {
        if (!data) return Base::Refuse(E_POINTER);
        XmlFieldReader in(data);
        const HRESULT status = static_cast<Self*>(this)->ReadElements(in);
        if (SUCCEEDED(status)) Base::SetDirty();
        return status;
    } catch (...) {
        return CaughtStatus();
    }
};

/// One whose type is not in all releases of the schema. It says, too,
///
///     static constexpr xml::SchemaRelease firstRelease;  // that has the type
template <class Self, class Coclass, class... Items>
class XmlVersionedComponent : public XmlPersistentComponent<Self, Coclass, Items..., IXMLVersionSupport> {
    using Base = XmlPersistentComponent<Self, Coclass, Items..., IXMLVersionSupport>;

 public:
    using Base::Base;

    // IXMLVersionSupport
    STDMETHODIMP get_MinNamespaceSupported(BSTR* namespaceURI) noexcept override try {
        if (!namespaceURI) return Base::Refuse(E_POINTER);
        *namespaceURI = nullptr;
        *namespaceURI = kv::BString(xml::NamespaceOf(Self::firstRelease)).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
};

}  // namespace mova
