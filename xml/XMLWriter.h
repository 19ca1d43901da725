#pragma once

#include <movaSystem.h>

#include <vector>

#include "kvcore/BString.h"
#include "kvcore/Ptr.h"
#include "server/Component.h"
#include "xml/Emitter.h"

namespace mova {

/// Writes XML documents to a stream; how is in Emitter.h.
class XMLWriter final : public Component<XMLWriter, ::XMLWriter, Generations<IXMLWriter3, IXMLWriter2, IXMLWriter>>,
                        private xml::ByteSink {
 public:
    using Component::Component;

    // IXMLWriter
    STDMETHODIMP put_OutputStream(IStream* stream) noexcept override;
    STDMETHODIMP StartElement(BSTR name, BSTR namespaceURI, IXMLAttributes* attributes, IXMLNamespaces* namespaces,
                              VARIANT_BOOL empty) noexcept override;
    STDMETHODIMP WriteText(BSTR text) noexcept override;
    STDMETHODIMP WriteCData(BSTR text) noexcept override;
    STDMETHODIMP EndElement() noexcept override;
    STDMETHODIMP WriteBoolean(VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP WriteLong(LONG number) noexcept override;
    STDMETHODIMP WriteByte(BYTE number) noexcept override;
    STDMETHODIMP WriteShort(SHORT number) noexcept override;
    STDMETHODIMP WriteUShort(USHORT number) noexcept override;
    STDMETHODIMP WriteFloat(FLOAT number) noexcept override;
    STDMETHODIMP WriteDouble(DOUBLE number) noexcept override;
    STDMETHODIMP WriteDate(DATE date) noexcept override;
    STDMETHODIMP WriteCurrency(CY amount) noexcept override;
    STDMETHODIMP WriteRawText(BSTR text) noexcept override;
    STDMETHODIMP WriteXMLDeclaration() noexcept override;
    STDMETHODIMP WriteNewLine() noexcept override;
    STDMETHODIMP WriteTab() noexcept override;
    STDMETHODIMP LookupNamespacePrefix(BSTR namespaceURI, BSTR* prefix) noexcept override;
    STDMETHODIMP get_OutputStream(IStream** stream) noexcept override;
    STDMETHODIMP WriteULong(ULONG number) noexcept override;
    STDMETHODIMP get_NormalizeNewLines(VARIANT_BOOL* normalizes) noexcept override;
    STDMETHODIMP put_NormalizeNewLines(VARIANT_BOOL normalizes) noexcept override;
    STDMETHODIMP WriteInt64(LONGLONG number) noexcept override;
    STDMETHODIMP WriteUInt64(ULONGLONG number) noexcept override;
    // IXMLWriter2
    STDMETHODIMP WriteBase64(VARIANT bytes) noexcept override;
    // IXMLWriter3
    STDMETHODIMP WriteObjectID(LONG number) noexcept override;

 private:
    // xml::ByteSink: the stream
    void Write(std::string_view bytes) noexcept override;

    /// Does what writes, unless there is nothing to write to. @param write HRESULT(), or void()
    template <class WriteOut>
    HRESULT Perform(WriteOut write) noexcept;
    /// Writes a value's text. @param format char*(char*), which writes at most kv::numberTextSize characters
    template <class Format>
    HRESULT WriteValue(Format format) noexcept;
    template <class Collection, class Part, class... Getters>
    HRESULT GatherForeign(Collection& collection, std::vector<Part>& parts, Getters... getters);
    HRESULT StatusOf(xml::Refusal refusal) const noexcept;

    xml::Emitter emitter_{*this};
    kv::Ptr<IStream> stream_;
    bool isBusy_ = false;  ///< an operation is being carried out, which may have called out
    VARIANT_BOOL normalizes_ = VARIANT_FALSE;

    // Of the tag that is being written.
    std::vector<xml::Attribute> attributes_;
    std::vector<xml::Declaration> declarations_;
    std::vector<kv::BString> texts_;  ///< that foreign collections have handed out
};

}  // namespace mova
