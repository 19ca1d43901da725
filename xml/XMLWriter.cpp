#include "xml/XMLWriter.h"

#include <algorithm>
#include <array>
#include <type_traits>

#include "kvcore/NumberText.h"
#include "xml/ByteArrays.h"
#include "xml/ElementParts.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

constexpr auto noStream = u"The writer has no stream.";
constexpr auto isWriting = u"The writer is being called by what it writes to or reads from.";
constexpr auto nameless = u"An element must have a name.";
constexpr auto unknownNamespace = u"The namespace of the element is not declared.";
constexpr auto unknownAttributeNamespace = u"The namespace of an attribute is not declared with a prefix.";
constexpr auto nothingOpen = u"No element is open.";
constexpr auto notDeclared = u"The namespace is not declared.";

/// Sets a flag for as long as it lives.
class Busy {
 public:
    explicit Busy(bool& flag) noexcept : flag_(flag) { flag_ = true; }
    ~Busy() { flag_ = false; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

 private:
    bool& flag_;
};

}  // namespace

template <class WriteOut>
HRESULT XMLWriter::Perform(WriteOut write) noexcept try {
    if (isBusy_) return Refuse<IXMLWriter>(E_UNEXPECTED, isWriting);
    if (!stream_) return Refuse<IXMLWriter>(E_UNEXPECTED, noStream);
    const Busy busy(isBusy_);
    if constexpr (std::is_void_v<decltype(write())>) {
        write();
        return S_OK;
    } else {
        return write();
    }
} catch (...) {
    return CaughtStatus();
}

template <class Format>
HRESULT XMLWriter::WriteValue(Format format) noexcept {
    return Perform([&] {
        std::array<char, kv::numberTextSize> text;
        const char* const end = format(text.data());
        if (!end) return Refuse<IXMLWriter>(E_INVALIDARG, xml::noDateText);
        emitter_.Ascii({text.data(), end});
        return S_OK;
    });
}

void XMLWriter::Write(std::string_view bytes) noexcept {
    constexpr std::size_t most = std::size_t{1} << 30;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), most))) {
        ULONG written = 0;
        stream_->Write(bytes.data(), static_cast<ULONG>(std::min(bytes.size(), most)), &written);
    }
}

// The stream

STDMETHODIMP XMLWriter::put_OutputStream(IStream* stream) noexcept {
    if (isBusy_) return Refuse<IXMLWriter>(E_UNEXPECTED, isWriting);
    if (!stream) return Refuse(E_POINTER);
    if (stream != stream_.Get()) const auto former = std::exchange(stream_, kv::Ptr<IStream>(stream));
    return S_OK;
}

STDMETHODIMP XMLWriter::get_OutputStream(IStream** stream) noexcept {
    if (!stream) return Refuse(E_POINTER);
    *stream = kv::Ptr<IStream>(stream_).Detach();
    return S_OK;
}

// Elements

/// Takes what a collection of another maker holds, text by text.
template <class Collection, class Part, class... Getters>
HRESULT XMLWriter::GatherForeign(Collection& collection, std::vector<Part>& parts, Getters... getters) {
    const kv::Ptr<Collection> held(&collection);
    LONG count = 0;
    if (HRESULT status = collection.get_Count(&count); FAILED(status)) return status;
    for (LONG i = 0; i < count; ++i) {
        const std::size_t first = texts_.size();
        for (const auto getter : {getters...}) {
            kv::BString text;
            if (HRESULT status = (collection.*getter)(i, text.Put()); FAILED(status)) return status;
            texts_.push_back(std::move(text));
        }
        std::size_t next = first;
        parts.push_back(Part{(static_cast<void>(getters), texts_[next++].View())...});
    }
    return S_OK;
}

HRESULT XMLWriter::StatusOf(xml::Refusal refusal) const noexcept {
    switch (refusal) {
        case xml::Refusal::Nameless:
            return Refuse<IXMLWriter>(E_INVALIDARG, nameless);
        case xml::Refusal::UnknownNamespace:
            return Refuse<IXMLWriter>(E_INVALIDARG, unknownNamespace);
        case xml::Refusal::UnknownAttributeNamespace:
            return Refuse<IXMLWriter>(E_INVALIDARG, unknownAttributeNamespace);
        case xml::Refusal::NothingOpen:
            return Refuse<IXMLWriter>(E_UNEXPECTED, nothingOpen);
        default:
            return S_OK;
    }
}

STDMETHODIMP XMLWriter::StartElement(BSTR name, BSTR namespaceURI, IXMLAttributes* attributes,
                                     IXMLNamespaces* namespaces, VARIANT_BOOL empty) noexcept {
    return Perform([&] {
        attributes_.clear();
        declarations_.clear();
        texts_.clear();
        if (kv::View(name).empty()) return StatusOf(xml::Refusal::Nameless);
        // Those of other makers come first: while they are called, they may change ours.
        const auto ownAttributes = kv::Ptr<IXMLAttributes>(attributes).As<IHoldsAttributes>();
        const auto ownNamespaces = kv::Ptr<IXMLNamespaces>(namespaces).As<IHoldsNamespaces>();
        if (attributes && !ownAttributes) {
            const HRESULT status = GatherForeign(*attributes, attributes_, &IXMLAttributes::GetNamespaceURI,
                                                 &IXMLAttributes::GetLocalName, &IXMLAttributes::GetValue);
            if (FAILED(status)) return status;
        }
        if (namespaces && !ownNamespaces) {
            const HRESULT status =
                GatherForeign(*namespaces, declarations_, &IXMLNamespaces::GetPrefix, &IXMLNamespaces::GetURI);
            if (FAILED(status)) return status;
        }
        if (ownNamespaces) ownNamespaces->AppendTo(declarations_);
        if (ownAttributes) ownAttributes->AppendTo(attributes_);
        return StatusOf(emitter_.StartElement(kv::View(name), kv::View(namespaceURI), attributes_, declarations_,
                                              empty != VARIANT_FALSE));
    });
}

STDMETHODIMP XMLWriter::EndElement() noexcept {
    return Perform([&] { return StatusOf(emitter_.EndElement()); });
}

STDMETHODIMP XMLWriter::LookupNamespacePrefix(BSTR namespaceURI, BSTR* prefix) noexcept try {
    if (prefix) *prefix = nullptr;
    if (!namespaceURI || !prefix) return Refuse(E_POINTER);
    const auto found = emitter_.PrefixOf(kv::View(namespaceURI));
    if (!found) return Refuse<IXMLWriter>(E_INVALIDARG, notDeclared);
    *prefix = kv::BString(*found).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

// Texts

STDMETHODIMP XMLWriter::WriteText(BSTR text) noexcept {
    return Perform([&] { emitter_.Text(kv::View(text)); });
}

STDMETHODIMP XMLWriter::WriteCData(BSTR text) noexcept {
    return Perform([&] { emitter_.CData(kv::View(text)); });
}

STDMETHODIMP XMLWriter::WriteRawText(BSTR text) noexcept {
    return Perform([&] {
        if (!text) return Refuse(E_POINTER);
        emitter_.Raw(kv::View(text));
        return S_OK;
    });
}

STDMETHODIMP XMLWriter::WriteXMLDeclaration() noexcept {
    return Perform([&] { emitter_.Ascii(R"(<?xml version="1.0" encoding="utf-8" ?>)"); });
}

STDMETHODIMP XMLWriter::WriteNewLine() noexcept {
    return Perform([&] { emitter_.Ascii("\r\n"); });
}

STDMETHODIMP XMLWriter::WriteTab() noexcept {
    return Perform([&] { emitter_.Ascii("\t"); });
}

STDMETHODIMP XMLWriter::get_NormalizeNewLines(VARIANT_BOOL* normalizes) noexcept {
    if (!normalizes) return Refuse(E_POINTER);
    *normalizes = normalizes_;
    return S_OK;
}

STDMETHODIMP XMLWriter::put_NormalizeNewLines(VARIANT_BOOL normalizes) noexcept {
    normalizes_ = normalizes;
    emitter_.SetNormalisesLineEnds(normalizes != VARIANT_FALSE);
    return S_OK;
}

// Values

STDMETHODIMP XMLWriter::WriteBoolean(VARIANT_BOOL flag) noexcept {
    return Perform([&] { emitter_.Ascii(flag != VARIANT_FALSE ? "true" : "false"); });
}

STDMETHODIMP XMLWriter::WriteLong(LONG number) noexcept {
    return WriteInt64(number);
}

STDMETHODIMP XMLWriter::WriteByte(BYTE number) noexcept {
    return WriteInt64(number);
}

STDMETHODIMP XMLWriter::WriteShort(SHORT number) noexcept {
    return WriteInt64(number);
}

STDMETHODIMP XMLWriter::WriteUShort(USHORT number) noexcept {
    return WriteInt64(number);
}

STDMETHODIMP XMLWriter::WriteULong(ULONG number) noexcept {
    return WriteInt64(number);
}

STDMETHODIMP XMLWriter::WriteInt64(LONGLONG number) noexcept {
    return WriteValue([&](char* out) { return kv::FormatInt64(out, number); });
}

STDMETHODIMP XMLWriter::WriteUInt64(ULONGLONG number) noexcept {
    return WriteValue([&](char* out) { return kv::FormatUInt64(out, number); });
}

STDMETHODIMP XMLWriter::WriteFloat(FLOAT number) noexcept {
    return WriteValue([&](char* out) { return kv::FormatFloat(out, number); });
}

STDMETHODIMP XMLWriter::WriteDouble(DOUBLE number) noexcept {
    return WriteValue([&](char* out) { return kv::FormatShortest(out, number); });
}

STDMETHODIMP XMLWriter::WriteDate(DATE date) noexcept {
    return WriteValue([&](char* out) { return xml::FormatDate(out, date); });
}

STDMETHODIMP XMLWriter::WriteCurrency(CY amount) noexcept {
    return WriteValue([&](char* out) { return kv::FormatCurrency(out, amount.int64); });
}

STDMETHODIMP XMLWriter::WriteBase64(VARIANT bytes) noexcept {
    return Perform([&] {
        const auto found = BytesIn(bytes);
        if (!found) return Refuse<IXMLWriter2>(E_INVALIDARG, noBytes);
        emitter_.Base64(*found);
        return S_OK;
    });
}

STDMETHODIMP XMLWriter::WriteObjectID(LONG number) noexcept {
    return WriteValue([&](char* out) {
        *out++ = 'I';
        *out++ = 'D';
        return kv::FormatInt64(out, number);
    });
}

}  // namespace mova
