#pragma once

#include <movaSystem.h>
#include "server/Component.h"
#include "xml/HoldsFlags.h"

namespace mova {

/// How objects are written and read as XML.
class XMLFlags final : public Component<XMLFlags, ::XMLFlags, IXMLFlags, IClone, IHoldsFlags> {
 public:
    using Component::Component;

    // IXMLFlags
    STDMETHODIMP put_ForSOAP(VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP get_ForSOAP(VARIANT_BOOL* flag) noexcept override;
    STDMETHODIMP put_SharedObjects(VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP get_SharedObjects(VARIANT_BOOL* flag) noexcept override;
    STDMETHODIMP put_UnknownAsNull(VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP get_UnknownAsNull(VARIANT_BOOL* flag) noexcept override;
    STDMETHODIMP put_Formatted(VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP get_Formatted(VARIANT_BOOL* flag) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override;

    // IHoldsFlags
    SerializeFlags STDMETHODCALLTYPE Flags() const noexcept override { return flags_; }

 private:
    HRESULT Put(bool SerializeFlags::*which, VARIANT_BOOL flag) noexcept;
    HRESULT Get(bool SerializeFlags::*which, VARIANT_BOOL* flag) const noexcept;

    SerializeFlags flags_;
};

}  // namespace mova
