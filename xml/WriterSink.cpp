#include "xml/WriterSink.h"

namespace mova {

WriterSink::WriterSink(IXMLWriter* writer)
    : writer_(writer),
      attributes_(kv::Ptr<IXMLAttributes>::Attach(new XMLAttributes(nullptr))),
      namespaces_(kv::Ptr<IXMLNamespaces>::Attach(new XMLNamespaces(nullptr))) {}

bool WriterSink::Note(HRESULT status) noexcept {
    status_ = status;
    return SUCCEEDED(status);
}

bool WriterSink::StartElement(std::u16string_view name, std::u16string_view uri,
                              std::span<const xml::Attribute> attributes,
                              std::span<const xml::Declaration> declarations, bool isEmpty) {
    attributes_->RemoveAll();
    namespaces_->RemoveAll();
    for (const xml::Attribute& attribute : attributes) {
        const HRESULT status = attributes_->AddAttribute(
            kv::BString(attribute.uri).Get(), kv::BString(attribute.name).Get(), kv::BString(attribute.value).Get());
        if (!Note(status)) return false;
    }
    for (const xml::Declaration& declaration : declarations) {
        const HRESULT status =
            namespaces_->AddNamespace(kv::BString(declaration.prefix).Get(), kv::BString(declaration.uri).Get());
        if (!Note(status)) return false;
    }
    return Note(writer_->StartElement(kv::BString(name).Get(), kv::BString(uri).Get(), attributes_.Get(),
                                      namespaces_.Get(), isEmpty ? VARIANT_TRUE : VARIANT_FALSE));
}

bool WriterSink::EndElement() {
    return Note(writer_->EndElement());
}

bool WriterSink::Text(std::u16string_view text) {
    return Note(writer_->WriteText(kv::BString(text).Get()));
}

bool WriterSink::Raw(std::u16string_view text) {
    return Note(writer_->WriteRawText(kv::BString(text).Get()));
}

bool WriterSink::BeginLine(std::size_t tabs) {
    bool isWritten = Note(writer_->WriteNewLine());
    for (std::size_t i = 0; i < tabs && isWritten; ++i) isWritten = Note(writer_->WriteTab());
    return isWritten;
}

std::optional<std::u16string_view> WriterSink::PrefixOf(std::u16string_view uri) {
    if (FAILED(writer_->LookupNamespacePrefix(kv::BString(uri).Get(), prefix_.Put()))) return {};
    return prefix_.View();
}

}  // namespace mova
