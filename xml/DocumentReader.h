#pragma once

#include <movaSystem.h>

#include <limits>
#include <memory>
#include <string>

#include "server/Component.h"
#include "xml/OpenDocument.h"
#include "xml/ReadsNodes.h"
#include "xml/XMLAttributes.h"
#include "xml/XMLNamespaces.h"

namespace mova {

/// What the XML readers share: the operations of IXMLReader.
template <class Self, class Coclass, class Main>
class DocumentReader : public Component<Self, Coclass, Main, IReadsNodes> {
    using Base = Component<Self, Coclass, Main, IReadsNodes>;

 public:
    using Base::Base;

    // IXMLReader
    STDMETHODIMP put_InputStream(IStream* stream) noexcept override try {
        if (IsBusy()) return RefuseBusy();
        Open(stream ? std::make_unique<OpenDocument>(stream) : nullptr);
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP get_InputStream(IStream** stream) noexcept override {
        if (!stream) return Base::Refuse(E_POINTER);
        *stream = nullptr;
        if (IsBusy()) return RefuseBusy();
        if (document_) *stream = kv::Ptr<IStream>(document_->Stream()).Detach();
        return S_OK;
    }
    STDMETHODIMP Read(VARIANT_BOOL* found) noexcept override {
        if (!found) return Base::Refuse(E_POINTER);
        *found = VARIANT_FALSE;
        const HRESULT status = Move();
        if (SUCCEEDED(status)) *found = status == S_OK ? VARIANT_TRUE : VARIANT_FALSE;
        return SUCCEEDED(status) ? S_OK : status;
    }
    STDMETHODIMP get_NodeType(movaXMLNodeType* type) noexcept override {
        if (!type) return Base::Refuse(E_POINTER);
        *type = movaXMLNone;
        if (IsBusy()) return RefuseBusy();
        *type = static_cast<movaXMLNodeType>(Type());
        return S_OK;
    }
    STDMETHODIMP get_LocalName(BSTR* localName) noexcept override {
        return AnswerText(localName, &xml::PullParser::Name);
    }
    STDMETHODIMP get_Prefix(BSTR* prefix) noexcept override { return AnswerText(prefix, &xml::PullParser::Prefix); }
    STDMETHODIMP get_NamespaceURI(BSTR* namespaceURI) noexcept override {
        return AnswerText(namespaceURI, &xml::PullParser::Uri);
    }
    STDMETHODIMP get_Value(BSTR* value) noexcept override { return AnswerText(value, &xml::PullParser::Text); }
    STDMETHODIMP get_Depth(LONG* depth) noexcept override { return AnswerNumber(depth, &xml::PullParser::Depth); }
    STDMETHODIMP get_Attributes(IXMLAttributes** attributes) noexcept override try {
        if (!attributes) return Base::Refuse(E_POINTER);
        *attributes = nullptr;
        if (IsBusy()) return RefuseBusy();
        using Span = std::span<const xml::Attribute>;
        *attributes = XMLAttributes::Of(document_ ? document_->Parser().Attributes() : Span()).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP get_Namespaces(IXMLNamespaces** namespaces) noexcept override try {
        if (!namespaces) return Base::Refuse(E_POINTER);
        *namespaces = nullptr;
        if (IsBusy()) return RefuseBusy();
        using Span = std::span<const xml::Declaration>;
        *namespaces = XMLNamespaces::Of(document_ ? document_->Parser().Declarations() : Span()).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP GetAttribute(BSTR namespaceURI, BSTR localName, BSTR* attributeValue) noexcept override try {
        if (!attributeValue) return Base::Refuse(E_POINTER);
        *attributeValue = nullptr;
        if (IsBusy()) return RefuseBusy();
        if (!document_) return S_FALSE;
        for (const xml::Attribute& attribute : document_->Parser().Attributes()) {
            if (attribute.name != kv::View(localName) || attribute.uri != kv::View(namespaceURI)) continue;
            *attributeValue = kv::BString(attribute.value).Detach();
            return S_OK;
        }
        return S_FALSE;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP LookupNamespaceURI(BSTR prefix, BSTR* namespaceURI) noexcept override try {
        if (!namespaceURI) return Base::Refuse(E_POINTER);
        *namespaceURI = nullptr;
        if (IsBusy()) return RefuseBusy();
        if (!document_) return S_FALSE;
        const auto uri = document_->Parser().UriOf(kv::View(prefix));
        if (!uri) return S_FALSE;
        *namespaceURI = kv::BString(*uri).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP ReadText(BSTR* text) noexcept override try {
        if (!text) return Base::Refuse(E_POINTER);
        *text = nullptr;
        if (IsBusy()) return RefuseBusy();
        if (Type() != xml::NodeType::startElement)
            return Base::template Refuse<IXMLReader>(E_UNEXPECTED, u"The reader is not on a start tag.");
        std::u16string gathered;
        const HRESULT status = MoveToEnd([&](const xml::PullParser& parser) {
            if (parser.Type() != xml::NodeType::text && parser.Type() != xml::NodeType::cdata) return;
            if (parser.Text().size() > kv::BString::longest - gathered.size()) throw std::bad_alloc();
            gathered += parser.Text();
        });
        if (SUCCEEDED(status)) *text = kv::BString(gathered).Detach();
        return status;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Skip() noexcept override try {
        if (IsBusy()) return RefuseBusy();
        if (Type() != xml::NodeType::startElement) return S_OK;
        return MoveToEnd([](const xml::PullParser&) {});
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP get_LineNumber(LONG* line) noexcept override {
        return AnswerPlace(line, &xml::PullParser::Line, &xml::ParseFault::line);
    }
    STDMETHODIMP get_ColumnNumber(LONG* column) noexcept override {
        return AnswerPlace(column, &xml::PullParser::Column, &xml::ParseFault::column);
    }

    // IReadsNodes
    xml::PullParser* STDMETHODCALLTYPE Parser() noexcept override {
        return document_ && !IsBusy() ? &document_->Parser() : nullptr;
    }

 protected:
    /// Whether the stream is being called, which an operation of the reader does that has not ended.
    bool IsBusy() const noexcept { return document_ && document_->IsCallingOut(); }
    HRESULT RefuseBusy() const noexcept {
        return Base::template Refuse<IXMLReader>(E_UNEXPECTED,
                                                 u"The reader is being called by the stream that it reads.");
    }
    /// The former document is let go of last, for the end of its stream may call back.
    void Open(std::unique_ptr<OpenDocument> document) noexcept { document_.swap(document); }
    const OpenDocument* Document() const noexcept { return document_.get(); }

 private:
    xml::NodeType Type() const noexcept { return document_ ? document_->Parser().Type() : xml::NodeType::none; }

    /// Moves to the next node. @return S_OK, S_FALSE where there is none, or why it could not
    HRESULT Move() noexcept try {
        if (IsBusy()) return RefuseBusy();
        if (!document_) return Base::template Refuse<IXMLReader>(E_UNEXPECTED, u"The reader has no document.");
        const HRESULT status = document_->Read();
        if (status == E_OUTOFMEMORY) return Base::Refuse(status);
        if (status != E_FAIL) return status;
        const std::u16string reason = document_->Reason();
        return reason.empty() ? status : Base::template Refuse<IXMLReader>(status, reason.c_str());
    } catch (...) {
        return CaughtStatus();
    }
    /// Moves from a start tag to its end tag. @param visit void(const xml::PullParser&), for every node on the way
    template <class Visit>
    HRESULT MoveToEnd(Visit visit) {
        const xml::PullParser& parser = document_->Parser();
        const std::size_t depth = parser.Depth();
        for (;;) {
            if (HRESULT status = Move(); FAILED(status)) return status;
            if (parser.Type() == xml::NodeType::endElement && parser.Depth() == depth) return S_OK;
            visit(parser);
        }
    }

    HRESULT AnswerText(BSTR* text, std::u16string_view (xml::PullParser::*part)() const noexcept) noexcept try {
        if (!text) return Base::Refuse(E_POINTER);
        *text = nullptr;
        if (IsBusy()) return RefuseBusy();
        *text = kv::BString(document_ ? (document_->Parser().*part)() : std::u16string_view()).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    static LONG Clamped(std::uint64_t number) noexcept {
        constexpr std::uint64_t most = std::numeric_limits<LONG>::max();
        return static_cast<LONG>(number < most ? number : most);
    }
    template <class Number>
    HRESULT AnswerNumber(LONG* number, Number (xml::PullParser::*part)() const noexcept) noexcept {
        if (!number) return Base::Refuse(E_POINTER);
        *number = 0;
        if (IsBusy()) return RefuseBusy();
        if (document_) *number = Clamped((document_->Parser().*part)());
        return S_OK;
    }
    /// The place of the node, or of the fault where the reader stands on nothing.
    HRESULT AnswerPlace(LONG* number, std::uint64_t (xml::PullParser::*ofNode)() const noexcept,
                        std::uint64_t xml::ParseFault::*ofFault) noexcept {
        if (HRESULT status = AnswerNumber(number, ofNode); FAILED(status)) return status;
        if (!document_ || Type() != xml::NodeType::none) return S_OK;
        if (const xml::ParseFault* const fault = document_->Parser().Fault()) *number = Clamped(fault->*ofFault);
        return S_OK;
    }

    std::unique_ptr<OpenDocument> document_;
};

}  // namespace mova
