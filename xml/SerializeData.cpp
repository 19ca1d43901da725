#include "xml/SerializeData.h"

#include <algorithm>
#include <limits>

#include "xml/ByteArrays.h"
#include "xml/GraphReader.h"
#include "xml/GraphWriter.h"
#include "xml/XmlNames.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

constexpr auto notWriting = u"No object is being written.";
constexpr auto notReading = u"No object is being read.";
constexpr auto noName = u"An element must have a name as XML has them, without a prefix.";
constexpr auto noTypeName = u"The name of a type must be one as XML has them, without a prefix.";
constexpr auto badKey = u"The key of the element is not base64 of UTF-16 text.";
constexpr auto noSuchIndex = u"The index is outside the elements.";
constexpr auto noSuchValue = u"The text of an element is no value of this type.";

}  // namespace

SerializeData::Turn::Turn(SerializeData& data, GraphWriter& writer, Index element) noexcept
    : data_(data),
      writer_(std::exchange(data.writer_, &writer)),
      reader_(std::exchange(data.reader_, nullptr)),
      element_(std::exchange(data.element_, element)),
      firstChild_(data.firstChild_) {}

SerializeData::Turn::Turn(SerializeData& data, GraphReader& reader, Index element)
    : data_(data),
      writer_(data.writer_),
      reader_(data.reader_),
      element_(data.element_),
      firstChild_(data.firstChild_) {
    const xml::ElementTree& tree = reader.Tree();
    const std::size_t first = data.children_.size();
    try {
        for (Index i = xml::ElementTree::FirstIn(element); i < tree[element].end; i = tree[i].end)
            data.children_.push_back(i);
    } catch (...) {
        data.children_.resize(first);
        throw;
    }
    data.firstChild_ = first;
    data.writer_ = nullptr;
    data.reader_ = &reader;
    data.element_ = element;
}

SerializeData::Turn::~Turn() {
    if (data_.reader_) data_.children_.resize(data_.firstChild_);
    data_.writer_ = writer_;
    data_.reader_ = reader_;
    data_.element_ = element_;
    data_.firstChild_ = firstChild_;
}

void SerializeData::ErrorSource(HRESULT, UINT, const char16_t*, std::span<char16_t, 128> source) const noexcept {
    constexpr std::u16string_view name = u"movaSystem.XMLSerializer";
    *std::copy(name.begin(), name.end(), source.begin()) = u'\0';
}

// Whose turn it is

xml::ElementTree* SerializeData::Tree() noexcept {
    if (writer_) return &writer_->Tree();
    return reader_ ? &reader_->Tree() : nullptr;
}

template <class Text>
HRESULT SerializeData::HandOutText(BSTR* target, Text text) noexcept try {
    if (!target) return Refuse(E_POINTER);
    *target = nullptr;
    xml::ElementTree* const tree = Tree();
    if (!tree) return Explain(E_UNEXPECTED, notReading);
    *target = kv::BString(text((*tree)[element_])).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP SerializeData::put_TypeName(BSTR typeName) noexcept try {
    if (!writer_) return Explain(E_UNEXPECTED, notWriting);
    if (!kv::View(typeName).empty() && !xml::IsName(kv::View(typeName))) return Explain(E_INVALIDARG, noTypeName);
    const auto kept = writer_->Tree().KeepOnce(kv::View(typeName));
    writer_->Tree()[element_].typeName = kept;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP SerializeData::get_TypeName(BSTR* typeName) noexcept {
    return HandOutText(typeName, [](const xml::ElementTree::Element& element) { return element.typeName; });
}

STDMETHODIMP SerializeData::put_TypeNamespaceURI(BSTR namespaceURI) noexcept try {
    if (!writer_) return Explain(E_UNEXPECTED, notWriting);
    const auto kept = writer_->Tree().KeepOnce(kv::View(namespaceURI));
    writer_->Tree()[element_].typeUri = kept;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP SerializeData::get_TypeNamespaceURI(BSTR* namespaceURI) noexcept {
    return HandOutText(namespaceURI, [](const xml::ElementTree::Element& element) { return element.typeUri; });
}

STDMETHODIMP SerializeData::get_ReleaseNamespaceURI(BSTR* namespaceURI) noexcept {
    return HandOutText(namespaceURI, [this](const xml::ElementTree::Element& element) {
        if (writer_) return xml::NamespaceOf(writer_->Said().release);
        return xml::NamespaceOf(xml::ReleaseOf(element.typeUri).value_or(xml::newestRelease));
    });
}

STDMETHODIMP SerializeData::get_ForSOAP(VARIANT_BOOL* isForSOAP) noexcept {
    if (!isForSOAP) return Refuse(E_POINTER);
    *isForSOAP = VARIANT_FALSE;
    if (!Tree()) return Explain(E_UNEXPECTED, notReading);
    *isForSOAP = writer_ && writer_->Said().isForSOAP ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

// Writing

template <class Fill>
HRESULT SerializeData::Add(BSTR name, Fill fill) noexcept try {
    if (!writer_) return Explain(E_UNEXPECTED, notWriting);
    if (!xml::IsName(kv::View(name))) return Explain(E_INVALIDARG, noName);
    GraphWriter& writer = *writer_;
    return writer.Add(writer.Tree().KeepOnce(kv::View(name)), [&](Index element) { return fill(writer, element); });
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP SerializeData::AddBoolean(BSTR name, VARIANT_BOOL flag) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) {
        writer.Tree()[element].text = flag ? u"true" : u"false";
        return S_OK;
    });
}

STDMETHODIMP SerializeData::AddLong(BSTR name, LONG number) noexcept {
    return AddInt64(name, number);
}

STDMETHODIMP SerializeData::AddInt64(BSTR name, LONGLONG number) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) {
        return writer.FillFormatted(element, [&](char* out) { return kv::FormatInt64(out, number); });
    });
}

STDMETHODIMP SerializeData::AddDouble(BSTR name, DOUBLE number) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) {
        return writer.FillFormatted(element, [&](char* out) { return kv::FormatShortest(out, number); });
    });
}

STDMETHODIMP SerializeData::AddDate(BSTR name, DATE date) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) {
        const HRESULT status = writer.FillFormatted(element, [&](char* out) { return xml::FormatDate(out, date); });
        return SUCCEEDED(status) ? status : Explain(status, xml::noDateText);
    });
}

STDMETHODIMP SerializeData::AddString(BSTR name, BSTR text) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) {
        writer.FillText(element, kv::View(text));
        return S_OK;
    });
}

STDMETHODIMP SerializeData::AddBytes(BSTR name, VARIANT bytes) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) {
        const auto found = BytesIn(bytes);
        if (!found) return Explain(E_INVALIDARG, noBytes);
        writer.FillBytes(element, *found);
        return S_OK;
    });
}

STDMETHODIMP SerializeData::AddObject(BSTR name, IUnknown* object) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) { return writer.FillObject(element, object); });
}

STDMETHODIMP SerializeData::AddVariant(BSTR name, VARIANT value) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) { return writer.FillValue(element, value); });
}

STDMETHODIMP SerializeData::AddKeyedVariant(BSTR name, BSTR key, VARIANT value) noexcept {
    return Add(name, [&](GraphWriter& writer, Index element) {
        writer.FillKey(element, kv::View(key));
        return writer.FillValue(element, value);
    });
}

// Reading

template <class Handle>
HRESULT SerializeData::At(LONG index, Handle handle) noexcept try {
    if (!reader_) return Explain(E_UNEXPECTED, notReading);
    if (index < 0 || static_cast<std::size_t>(index) >= children_.size() - firstChild_)
        return Explain(E_INVALIDARG, noSuchIndex);
    return handle(*reader_, children_[firstChild_ + static_cast<std::size_t>(index)]);
} catch (...) {
    return CaughtStatus();
}

template <class Value, class Read>
HRESULT SerializeData::HandOut(LONG index, Value* value, Read read) noexcept {
    if (!value) return Refuse(E_POINTER);
    *value = Value{};
    return At(index, [&](GraphReader& reader, Index element) {
        const auto found = read(reader.Tree()[element].text);
        if (!found) return Explain(E_INVALIDARG, noSuchValue);
        *value = static_cast<Value>(*found);
        return S_OK;
    });
}

STDMETHODIMP SerializeData::get_Count(LONG* elementCount) noexcept {
    if (!elementCount) return Refuse(E_POINTER);
    *elementCount = 0;
    if (!reader_) return Explain(E_UNEXPECTED, notReading);
    *elementCount = static_cast<LONG>(children_.size() - firstChild_);
    return S_OK;
}

STDMETHODIMP SerializeData::GetName(LONG index, BSTR* name) noexcept {
    if (!name) return Refuse(E_POINTER);
    *name = nullptr;
    return At(index, [&](GraphReader& reader, Index element) {
        *name = kv::BString(reader.Tree()[element].name).Detach();
        return S_OK;
    });
}

STDMETHODIMP SerializeData::GetKey(LONG index, BSTR* key) noexcept {
    if (!key) return Refuse(E_POINTER);
    *key = nullptr;
    return At(index, [&](GraphReader& reader, Index element) {
        if (!reader.Tree()[element].hasKey) return S_FALSE;
        if (reader.Tree()[element].isKeyEncoded) return Explain(E_INVALIDARG, badKey);
        *key = kv::BString(reader.Tree()[element].key).Detach();
        return S_OK;
    });
}

const xml::ElementTree::Element& SerializeData::ElementAt(LONG index) noexcept {
    return reader_->Tree()[children_[firstChild_ + static_cast<std::size_t>(index)]];
}

std::u16string_view STDMETHODCALLTYPE SerializeData::NameOf(LONG index) noexcept {
    return ElementAt(index).name;
}

std::u16string_view STDMETHODCALLTYPE SerializeData::KeyOf(LONG index) noexcept {
    return ElementAt(index).key;
}

STDMETHODIMP SerializeData::Find(BSTR name, LONG* index) noexcept {
    if (!index) return Refuse(E_POINTER);
    *index = -1;
    if (!reader_) return Explain(E_UNEXPECTED, notReading);
    for (std::size_t i = firstChild_; i < children_.size(); ++i) {
        if (reader_->Tree()[children_[i]].name != kv::View(name)) continue;
        *index = static_cast<LONG>(i - firstChild_);
        return S_OK;
    }
    return S_FALSE;
}

STDMETHODIMP SerializeData::GetBoolean(LONG index, VARIANT_BOOL* flag) noexcept {
    return HandOut(index, flag, [](std::u16string_view text) {
        const auto read = xml::ReadBoolean(text);
        return read ? std::optional(*read ? VARIANT_TRUE : VARIANT_FALSE) : std::nullopt;
    });
}

STDMETHODIMP SerializeData::GetLong(LONG index, LONG* number) noexcept {
    using Limits = std::numeric_limits<LONG>;
    return HandOut(index, number,
                   [](std::u16string_view text) { return xml::ReadInteger(text, Limits::min(), Limits::max()); });
}

STDMETHODIMP SerializeData::GetInt64(LONG index, LONGLONG* number) noexcept {
    using Limits = std::numeric_limits<LONGLONG>;
    return HandOut(index, number,
                   [](std::u16string_view text) { return xml::ReadInteger(text, Limits::min(), Limits::max()); });
}

STDMETHODIMP SerializeData::GetDouble(LONG index, DOUBLE* number) noexcept {
    return HandOut(index, number, xml::ReadDouble);
}

STDMETHODIMP SerializeData::GetDate(LONG index, DATE* date) noexcept {
    return HandOut(index, date, xml::ReadDate);
}

STDMETHODIMP SerializeData::GetString(LONG index, BSTR* text) noexcept {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    return At(index, [&](GraphReader& reader, Index element) {
        kv::BString read;
        const HRESULT status = reader.ReadText(element, read);
        if (SUCCEEDED(status)) *text = read.Detach();
        return status;
    });
}

STDMETHODIMP SerializeData::GetBytes(LONG index, VARIANT* bytes) noexcept {
    if (!bytes) return Refuse(E_POINTER);
    VariantInit(bytes);
    return At(index, [&](GraphReader& reader, Index element) {
        kv::Variant read;
        const HRESULT status = reader.ReadBytes(element, read);
        if (SUCCEEDED(status)) *bytes = read.Detach();
        return status;
    });
}

STDMETHODIMP SerializeData::GetObjectAt(LONG index, IUnknown** object) noexcept {
    if (!object) return Refuse(E_POINTER);
    *object = nullptr;
    return At(index, [&](GraphReader& reader, Index element) {
        kv::Ptr<IUnknown> read;
        const HRESULT status = reader.ReadObject(element, read);
        if (SUCCEEDED(status)) *object = read.Detach();
        return status;
    });
}

STDMETHODIMP SerializeData::GetVariant(LONG index, VARIANT* value) noexcept {
    if (!value) return Refuse(E_POINTER);
    VariantInit(value);
    return At(index, [&](GraphReader& reader, Index element) {
        kv::Variant read;
        const HRESULT status = reader.ReadValue(element, read);
        if (SUCCEEDED(status)) *value = read.Detach();
        return status;
    });
}

}  // namespace mova
