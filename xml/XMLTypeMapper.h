#pragma once

#include <movaSystem.h>
#include "server/Component.h"
#include "xml/MapsTypes.h"

namespace mova {

/// Values to and from text, whose forms are in XmlValues.h and Base64.h, and the thread's map of XML types.
class XMLTypeMapper final
    : public Component<XMLTypeMapper, ::XMLTypeMapper, Generations<IXMLTypeMapper2, IXMLTypeMapper>, IXMLIdentifierText,
                       IMapsTypes> {
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
    // IXMLTypeMapper2
    STDMETHODIMP TextToSByte(BSTR text, CHAR* number) noexcept override;
    STDMETHODIMP SByteToText(CHAR number, BSTR* text) noexcept override;
    STDMETHODIMP TextToByte(BSTR text, BYTE* number) noexcept override;
    STDMETHODIMP ByteToText(BYTE number, BSTR* text) noexcept override;
    STDMETHODIMP TextToUShort(BSTR text, USHORT* number) noexcept override;
    STDMETHODIMP UShortToText(USHORT number, BSTR* text) noexcept override;
    STDMETHODIMP TextToULong(BSTR text, ULONG* number) noexcept override;
    STDMETHODIMP ULongToText(ULONG number, BSTR* text) noexcept override;
    STDMETHODIMP TextToUInt64(BSTR text, ULONGLONG* number) noexcept override;
    STDMETHODIMP UInt64ToText(ULONGLONG number, BSTR* text) noexcept override;
    STDMETHODIMP TextToCurrency(BSTR text, CY* amount) noexcept override;
    STDMETHODIMP CurrencyToText(CY amount, BSTR* text) noexcept override;
    STDMETHODIMP TextToDecimal(BSTR text, DECIMAL* number) noexcept override;
    STDMETHODIMP DecimalToText(DECIMAL number, BSTR* text) noexcept override;
    STDMETHODIMP TextToBytes(BSTR text, VARIANT* bytes) noexcept override;
    STDMETHODIMP BytesToText(VARIANT bytes, BSTR* text) noexcept override;
    STDMETHODIMP HexToBytes(BSTR text, VARIANT* bytes) noexcept override;
    STDMETHODIMP BytesToHex(VARIANT bytes, BSTR* text) noexcept override;
    STDMETHODIMP AddType(BSTR name, BSTR namespaceURI, BSTR classIdentifier) noexcept override;
    STDMETHODIMP RemoveType(BSTR name, BSTR namespaceURI) noexcept override;
    STDMETHODIMP FindClass(BSTR name, BSTR namespaceURI, BSTR* classIdentifier) noexcept override;
    STDMETHODIMP FindType(BSTR classIdentifier, BSTR* name, BSTR* namespaceURI) noexcept override;
    STDMETHODIMP get_TypeCount(LONG* typeCount) noexcept override;
    STDMETHODIMP GetType(LONG index, BSTR* name, BSTR* namespaceURI, BSTR* classIdentifier) noexcept override;
    // IXMLIdentifierText
    STDMETHODIMP TextToGUID(BSTR text, GUID* identifier) noexcept override;
    STDMETHODIMP GUIDToText(const GUID* identifier, BSTR* text) noexcept override;

    // IMapsTypes
    xml::TypeMap& STDMETHODCALLTYPE Types() noexcept override { return types_; }

 private:
    /// Hands out what was read. @param reason why nothing was
    template <class Interface = IXMLTypeMapper, class Value, class Read>
    HRESULT HandOut(Value* value, const Read& read, const char16_t* reason) const noexcept;
    template <class Integer>
    HRESULT HandOutUnsigned(BSTR text, Integer* number) const noexcept;
    /// @param format char*(char*), which writes at most kv::numberTextSize characters; null where there is no text
    template <class Format>
    HRESULT HandOutText(BSTR* text, Format format) const noexcept;
    /// Hands out the bytes of a text. @param most how many they are at most
    /// @param read std::optional<std::size_t>(std::byte*, std::u16string_view), nothing where the text is none
    template <class Read>
    HRESULT HandOutBytes(std::u16string_view text, std::size_t most, VARIANT* bytes, Read read,
                         const char16_t* reason) const noexcept;
    /// Hands out the text of an array's bytes. @param size how many units so many bytes become
    /// @param put char16_t*(char16_t*, std::span<const std::byte>)
    template <class Size, class Put>
    HRESULT HandOutTextOf(const VARIANT& bytes, BSTR* text, Size size, Put put) const noexcept;

    xml::TypeMap types_;
};

}  // namespace mova
