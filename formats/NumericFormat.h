#pragma once

#include <movaSystem.h>
#include "formats/NumericText.h"
#include "kvcore/BString.h"
#include "xml/XmlPersistentComponent.h"

namespace mova {

/// The general number format: any number as decimals or significant digits. How the text comes about is in
/// NumericText.h.
class NumericFormat final : public XmlVersionedComponent<NumericFormat, ::NumericFormat, INumberFormat, INumericFormat,
                                                         INumericFormat2, INumberFormatOperations, IClone> {
 public:
    using XmlVersionedComponent::XmlVersionedComponent;

    // INumberFormat
    STDMETHODIMP ValueToString(DOUBLE value, BSTR* text) noexcept override;
    STDMETHODIMP StringToValue(BSTR text, DOUBLE* value) noexcept override;
    // INumericFormat
    STDMETHODIMP put_RoundingOption(movaRoundingOptionEnum option) noexcept override;
    STDMETHODIMP get_RoundingOption(movaRoundingOptionEnum* option) noexcept override;
    STDMETHODIMP put_RoundingValue(LONG digits) noexcept override;
    STDMETHODIMP get_RoundingValue(LONG* digits) noexcept override;
    STDMETHODIMP put_AlignmentOption(movaNumberAlignmentEnum alignment) noexcept override;
    STDMETHODIMP get_AlignmentOption(movaNumberAlignmentEnum* alignment) noexcept override;
    STDMETHODIMP put_AlignmentWidth(LONG width) noexcept override;
    STDMETHODIMP get_AlignmentWidth(LONG* width) noexcept override;
    STDMETHODIMP put_UseSeparator(VARIANT_BOOL isGrouped) noexcept override;
    STDMETHODIMP get_UseSeparator(VARIANT_BOOL* isGrouped) noexcept override;
    STDMETHODIMP put_ZeroPad(VARIANT_BOOL isPadded) noexcept override;
    STDMETHODIMP get_ZeroPad(VARIANT_BOOL* isPadded) noexcept override;
    STDMETHODIMP put_ShowPlus(VARIANT_BOOL isShown) noexcept override;
    STDMETHODIMP get_ShowPlus(VARIANT_BOOL* isShown) noexcept override;
    // INumericFormat2
    STDMETHODIMP put_Suffix(BSTR suffix) noexcept override;
    STDMETHODIMP get_Suffix(BSTR* suffix) noexcept override;
    // INumberFormatOperations
    STDMETHODIMP Increment(DOUBLE value, DOUBLE* result) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override;

    // PersistentComponent's
    static constexpr ULONG sizeMax = 24;  ///< without the suffix, as it always was
    void WriteFields(kv::StreamWriter& out) const;
    HRESULT ReadFields(kv::StreamReader& in);
    // XmlVersionedComponent's
    static constexpr std::u16string_view typeName = u"NumericFormat";
    static constexpr auto firstRelease = xml::SchemaRelease::V9_3;
    HRESULT WriteElements(XmlFieldWriter& out) const;
    HRESULT ReadElements(XmlFieldReader& in);

 private:
    template <class Field, class Value>
    HRESULT Put(Field& field, Value value) noexcept;
    template <class Field, class Value>
    HRESULT Get(const Field& field, Value* value) const noexcept;

    formats::NumericSettings settings_;
    kv::BString suffix_;
};

}  // namespace mova
