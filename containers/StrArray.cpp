#include "containers/StrArray.h"

#include <algorithm>

#include "containers/NameFold.h"
#include "containers/SystemNames.h"
#include "kvcore/SafeArray.h"
#include "kvcore/ValueFormat.h"

namespace mova {
namespace {

constexpr std::uint16_t recordVersion = 1;
constexpr std::u16string_view itemElement = u"Item";

}  // namespace

std::u16string* StrArray::At(LONG index) noexcept {
    return index >= 0 && static_cast<std::size_t>(index) < elements_.size()
               ? &elements_[static_cast<std::size_t>(index)]
               : nullptr;
}

HRESULT StrArray::RefuseIndex() const noexcept {
    return Refuse<IStringArray>(E_INVALIDARG, u"The index is outside the array.");
}

STDMETHODIMP StrArray::get_Count(LONG* count) noexcept {
    if (!count) return Refuse(E_POINTER);
    *count = static_cast<LONG>(elements_.size());
    return S_OK;
}

STDMETHODIMP StrArray::put_Element(LONG index, BSTR element) noexcept try {
    std::u16string* const place = At(index);
    if (!place) return RefuseIndex();
    *place = kv::View(element);
    SetDirty();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP StrArray::get_Element(LONG index, BSTR* element) noexcept try {
    if (!element) return Refuse(E_POINTER);
    *element = nullptr;
    const std::u16string* const place = At(index);
    if (!place) return RefuseIndex();
    *element = kv::BString(*place).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP StrArray::Add(BSTR element) noexcept {
    return Insert(static_cast<LONG>(elements_.size()), element);
}

STDMETHODIMP StrArray::Insert(LONG index, BSTR element) noexcept try {
    if (index < 0 || static_cast<std::size_t>(index) > elements_.size()) return RefuseIndex();
    elements_.emplace(elements_.begin() + index, kv::View(element));
    SetDirty();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP StrArray::Remove(LONG index) noexcept {
    if (!At(index)) return RefuseIndex();
    elements_.erase(elements_.begin() + index);
    SetDirty();
    return S_OK;
}

STDMETHODIMP StrArray::RemoveAll() noexcept {
    std::vector<std::u16string>().swap(elements_);
    SetDirty();
    return S_OK;
}

STDMETHODIMP StrArray::Find(BSTR text, VARIANT_BOOL ignoreCase, LONG* index) noexcept {
    if (!index) return Refuse(E_POINTER);
    const auto wanted = kv::View(text);
    const bool isAscii = IsAsciiName(wanted);
    const auto found = std::find_if(elements_.begin(), elements_.end(), [&](const std::u16string& element) {
        return ignoreCase == VARIANT_FALSE ? element == wanted : SameName(wanted, isAscii, element);
    });
    *index = found == elements_.end() ? -1 : static_cast<LONG>(found - elements_.begin());
    return S_OK;
}

STDMETHODIMP StrArray::Split(BSTR text, BSTR delimiter) noexcept try {
    const auto between = kv::View(delimiter);
    auto rest = kv::View(text);
    std::vector<std::u16string> parts;
    if (!rest.empty()) {
        for (auto end = rest.find(between); !between.empty() && end != std::u16string_view::npos;
             end = rest.find(between)) {
            parts.emplace_back(rest.substr(0, end));
            rest.remove_prefix(end + between.size());
        }
        parts.emplace_back(rest);
    }
    elements_.swap(parts);
    SetDirty();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP StrArray::Join(BSTR delimiter, BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    const auto between = kv::View(delimiter);
    std::size_t length = elements_.empty() ? 0 : between.size() * (elements_.size() - 1);
    for (const auto& element : elements_) length += element.size();
    if (length > kv::BString::longest) return Refuse(E_OUTOFMEMORY);
    std::u16string joined;
    joined.reserve(length);
    for (const auto& element : elements_) {
        if (&element != elements_.data()) joined += between;
        joined += element;
    }
    *text = kv::BString(joined).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP StrArray::put_Values(VARIANT values) noexcept try {
    const auto array = kv::ArrayView::Of(values);
    const auto refuse = [&] { return Refuse<IStringArray>(E_INVALIDARG, u"The values must be an array of strings."); };
    if (!array || array->Dimensions() != 1) return refuse();
    std::vector<std::u16string> texts;
    for (std::size_t i = 0; i < array->Count(); ++i) {
        const VARIANT element = array->Element(i);
        const VARIANT* const value = kv::Referred(element);
        const auto text = value ? kv::TextIn(*value) : std::nullopt;
        if (!text) return refuse();
        texts.emplace_back(*text);
    }
    elements_.swap(texts);
    SetDirty();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP StrArray::get_Values(VARIANT* values) noexcept try {
    if (!values) return Refuse(E_POINTER);
    VariantInit(values);
    kv::ArrayBuilder copies(VT_VARIANT, elements_.size());  // not VT_BSTR: scripts can index VARIANTs only
    for (std::size_t i = 0; i < elements_.size(); ++i)
        copies.Elements<VARIANT>()[i] = kv::Variant::FromText(kv::BString(elements_[i])).Detach();
    *values = copies.Finish().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

void StrArray::WriteFields(kv::StreamWriter& out) const {
    out << recordVersion << static_cast<LONG>(elements_.size());
    for (const auto& element : elements_) kv::WriteText(out, element);
}

HRESULT StrArray::ReadFields(kv::StreamReader& in) {
    std::uint16_t version = 0;
    if (in.Read(version) && version > recordVersion) return RefuseNewer();
    std::vector<std::u16string> elements;
    LONG count = 0;
    for (in >> count; count > 0; --count) {
        if (!kv::ReadText(in, elements.emplace_back())) break;
    }
    if (!in.Failed()) elements_.swap(elements);
    return in.Status();
}

HRESULT StrArray::WriteElements(XmlFieldWriter& out) const {
    for (const auto& element : elements_)
        if (!out.Add(&IXMLSerializeData::AddString, itemElement, kv::BString(element).Get())) break;
    return out.Status();
}

HRESULT StrArray::ReadElements(XmlFieldReader& in) {
    std::vector<std::u16string> elements;
    in.ForEach(itemElement, [&](LONG index) {
        kv::BString text;
        const HRESULT status = in.Data()->GetString(index, text.Put());
        if (SUCCEEDED(status)) elements.emplace_back(text.View());
        return status;
    });
    if (SUCCEEDED(in.Status())) elements_.swap(elements);
    return in.Status();
}

}  // namespace mova
