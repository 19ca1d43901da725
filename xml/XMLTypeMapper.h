#pragma once

#include <movaSystem.h>
#include "server/Component.h"

namespace mova {

/// Values to and from text; the forms are in XmlValues.h.
class XMLTypeMapper final : public Component<XMLTypeMapper, ::XMLTypeMapper, IXMLTypeMapper> {
 public:
    using Component::Component;

    // IXMLTypeMapper
    STDMETHODIMP TextToDouble(BSTR text, DOUBLE* number) noexcept override;
    STDMETHODIMP DoubleToText(DOUBLE number, BSTR* text) noexcept override;
    STDMETHODIMP TextToFloat(BSTR text, FLOAT* number) noexcept override;
    STDMETHODIMP FloatToText(FLOAT number, BSTR* text) noexcept override;
    STDMETHODIMP TextToShort(BSTR text, SHORT* number) noexcept override;
    STDMETHODIMP ShortToText(SHORT number, BSTR* text) noexcept override;
    STDMETHODIMP TextToLong(BSTR text, LONG* number) noexcept override;
    STDMETHODIMP LongToText(LONG number, BSTR* text) noexcept override;
    STDMETHODIMP TextToInt64(BSTR text, LONGLONG* number) noexcept override;
    STDMETHODIMP Int64ToText(LONGLONG number, BSTR* text) noexcept override;
    STDMETHODIMP TextToBoolean(BSTR text, VARIANT_BOOL* flag) noexcept override;
    STDMETHODIMP BooleanToText(VARIANT_BOOL flag, BSTR* text) noexcept override;
    STDMETHODIMP TextToDate(BSTR text, DATE* date) noexcept override;
    STDMETHODIMP DateToText(DATE date, BSTR* text) noexcept override;

 private:
    /// Hands out what was read. @param reason why nothing was
    template <class Value, class Read>
    HRESULT HandOut(Value* value, const Read& read, const char16_t* reason) const noexcept;
    /// @param format char*(char*), which writes at most kv::numberTextSize characters; null where there is no text
    template <class Format>
    HRESULT HandOutText(BSTR* text, Format format) const noexcept;
};

}  // namespace mova
