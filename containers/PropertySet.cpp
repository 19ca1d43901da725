#include "containers/PropertySet.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <vector>

#include "kvcore/Ptr.h"
#include "kvcore/SafeArray.h"
#include "kvcore/Status.h"
#include "kvcore/ValueFormat.h"

namespace mova {
namespace {

constexpr std::size_t longestNameInMessage = 100;
constexpr std::uint16_t recordVersion = 1;
constexpr DWORD contextWithClass = 15;  ///< of a transfer by value: the receiver is to learn the class, too
constexpr std::u16string_view propertyElement = u"Property";
constexpr auto noNames = u"The names must be an array of strings in one dimension.";

/// The names in an array of strings, or of VARIANTs that hold strings; nothing where an element is no string.
std::optional<std::vector<std::u16string_view>> NamesIn(const VARIANT& value) {
    const auto array = kv::ArrayView::Of(value);
    if (!array || array->Dimensions() != 1) return {};
    std::vector<std::u16string_view> names;
    for (std::size_t i = 0; i < array->Count(); ++i) {
        const auto name = kv::TextIn(array->Element(i));
        if (!name) return {};
        names.push_back(*name);
    }
    return names;
}

/// Deep copies of an array's elements; nothing where one cannot be copied.
std::optional<std::vector<kv::Variant>> ValuesIn(const VARIANT& value) {
    const auto array = kv::ArrayView::Of(value);
    if (!array || array->Dimensions() != 1) return {};
    std::vector<kv::Variant> values(array->Count());
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!kv::Succeeded(values[i].Assign(array->Element(i)))) return {};
    }
    return values;
}

/// Whether a value is an object, or an array that may hold some.
bool HoldsObjects(const VARIANT& value) noexcept {
    const int type = value.vt & VT_TYPEMASK;
    return type == VT_UNKNOWN || type == VT_DISPATCH || type == VT_VARIANT;
}

/// For the status of copying a value that was kept, which fails for lack of memory alone.
void RequireCopied(HRESULT status) {
    if (FAILED(status)) throw std::bad_alloc();
}

void CopyOut(const Property& property, VARIANT* target) {
    RequireCopied(property.CopyTo(target));
}

}  // namespace

STDMETHODIMP PropertySet::GetCount(LONG* count) noexcept {
    if (!count) return Refuse(E_POINTER);
    *count = static_cast<LONG>(properties_.Count());
    return S_OK;
}

STDMETHODIMP PropertySet::SetProperty(BSTR name, VARIANT value) noexcept try {
    if (Property* held = properties_.FindFirst(kv::View(name))) {
        if (HRESULT status = held->Assign(value); FAILED(status)) return RefuseValue(status);
        SetDirty();
        return S_OK;
    }
    auto entry = Property::Make(kv::View(name), value);
    if (HRESULT status = entry->Assign(value); FAILED(status)) return RefuseValue(status);
    if (properties_.Count() == std::numeric_limits<LONG>::max()) return Refuse(E_OUTOFMEMORY);
    properties_.Append(std::move(entry));
    SetDirty();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySet::SetProperties(VARIANT names, VARIANT values) noexcept try {
    if (!kv::IsArray(names) || !kv::IsArray(values))
        return Refuse<IPropertySet>(E_INVALIDARG, u"Names and values must be two arrays.");
    const auto keys = NamesIn(names);
    if (!keys) return Refuse<IPropertySet>(E_FAIL, noNames);
    auto copies = ValuesIn(values);
    if (!copies) return Refuse<IPropertySet>(E_FAIL, u"One of the values cannot be kept as a property.");
    if (copies->size() != keys->size()) return Refuse<IPropertySet>(E_FAIL, u"There must be as many values as names.");

    std::vector<PropertyList::Entry> entries;
    for (std::size_t i = 0; i < keys->size(); ++i) entries.push_back(Property::Make((*keys)[i], (*copies)[i].Get()));
    properties_.ReserveMore(entries.size());
    SetDirty();
    for (std::size_t i = 0; i < entries.size(); ++i) properties_.Set(std::move(entries[i]), std::move((*copies)[i]));
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySet::GetProperty(BSTR name, VARIANT* value) noexcept try {
    if (!value) return Refuse(E_POINTER);
    VariantInit(value);
    const Property* held = properties_.FindLast(kv::View(name));
    if (!held) return RefuseUnknown(kv::View(name));
    CopyOut(*held, value);
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySet::GetProperties(VARIANT names, VARIANT* values) noexcept try {
    if (!values) return Refuse(E_POINTER);
    VariantInit(values);
    if (!kv::IsArray(names)) return Refuse<IPropertySet>(E_INVALIDARG, u"The names must be an array.");
    const auto keys = NamesIn(names);
    if (!keys) return Refuse<IPropertySet>(E_FAIL, noNames);
    kv::ArrayBuilder copies(VT_VARIANT, keys->size());
    for (std::size_t i = 0; i < keys->size(); ++i) {
        const Property* held = properties_.FindLast((*keys)[i]);
        if (!held) return RefuseUnknown((*keys)[i]);
        CopyOut(*held, copies.Elements<VARIANT>() + i);
    }
    *values = copies.Finish().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySet::GetAllProperties(VARIANT* names, VARIANT* values) noexcept try {
    if (names) VariantInit(names);
    if (values) VariantInit(values);
    if (!names || !values) return Refuse(E_POINTER);
    const std::size_t count = properties_.Count();
    kv::ArrayBuilder nameCopies(VT_VARIANT, count);  // not VT_BSTR: scripts can index VARIANTs only
    kv::ArrayBuilder valueCopies(VT_VARIANT, count);
    for (std::size_t i = 0; i < count && i < properties_.Count(); ++i) {  // an object that is copied may call back
        nameCopies.Elements<VARIANT>()[i] = kv::Variant::FromText(kv::BString(properties_[i].Name())).Detach();
        CopyOut(properties_[i], valueCopies.Elements<VARIANT>() + i);
    }
    *names = nameCopies.Finish().Detach();
    *values = valueCopies.Finish().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySet::RemoveProperty(BSTR name) noexcept {
    if (!properties_.Remove(kv::View(name))) return S_FALSE;
    SetDirty();
    return S_OK;
}

STDMETHODIMP PropertySet::IsEqual(IPropertySet* other, VARIANT_BOOL* equal) noexcept try {
    if (!equal) return Refuse(E_POINTER);
    *equal = VARIANT_FALSE;
    if (!other) return Refuse<IPropertySet>(E_INVALIDARG, u"There is no set to compare with.");
    kv::Variant names;
    kv::Variant values;
    if (HRESULT status = other->GetAllProperties(names.Put(), values.Put()); FAILED(status)) return status;
    const auto keys = NamesIn(names.Get());
    auto copies = ValuesIn(values.Get());
    if (!keys || !copies || copies->size() != keys->size()) return Refuse(E_FAIL);
    PropertyList theirs;
    for (std::size_t i = 0; i < keys->size(); ++i)
        theirs.Append(PropertyList::MakeEntry((*keys)[i], std::move((*copies)[i])));
    const bool same =
        properties_.Count() == theirs.Count() && properties_.IsWithin(theirs) && theirs.IsWithin(properties_);
    *equal = same ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySet::GetPropertyAt(LONG index, BSTR* name, VARIANT* value) noexcept try {
    if (name) *name = nullptr;
    if (value) VariantInit(value);
    if (!name || !value) return Refuse(E_POINTER);
    if (index < 0 || static_cast<std::size_t>(index) >= properties_.Count())
        return Refuse<IPropertySet2>(E_INVALIDARG, u"The index is outside the set.");
    const auto position = static_cast<std::size_t>(index);
    kv::BString nameCopy(properties_[position].Name());
    CopyOut(properties_[position], value);
    *name = nameCopy.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySet::HasProperty(BSTR name, VARIANT_BOOL* found) noexcept {
    if (!found) return Refuse(E_POINTER);
    *found = properties_.FindLast(kv::View(name)) ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

STDMETHODIMP PropertySet::RemoveAllProperties() noexcept {
    properties_.Clear();
    SetDirty();
    return S_OK;
}

STDMETHODIMP PropertySet::SaveByValue(IStream* stream, DWORD context) noexcept try {
    if (!stream) return Refuse(E_POINTER);
    kv::StreamWriter out(stream);
    if (context == contextWithClass) out << classId;
    WriteProperties(out, kv::Objects::dropped);
    return out.Finish();
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySet::LoadByValue(IStream* stream, DWORD context) noexcept {
    if (!stream) return Refuse(E_POINTER);
    CLSID written = classId;
    if (context == contextWithClass) {
        kv::StreamReader in(stream);
        if (!in.Read(written)) return Refuse<IPropertySetImpl>(in.Status(), damagedStream);
    }
    if (written != classId) return Refuse<IPropertySetImpl>(E_FAIL, u"No property set stands here in the stream.");
    return LoadBy(stream, [this](kv::StreamReader& in) { return ReadProperties(in, kv::Objects::dropped); });
}

STDMETHODIMP PropertySet::Clone(IUnknown** copy) noexcept try {
    if (!copy) return Refuse(E_POINTER);
    *copy = nullptr;
    const auto clone = kv::Ptr<PropertySet>::Attach(Make());
    clone->properties_.ReserveMore(properties_.Count());
    for (std::size_t i = 0; i < properties_.Count(); ++i) {
        const VARIANT& value = properties_[i].Value();
        auto entry = Property::Make(properties_[i].Name(), value);
        RequireCopied(entry->Assign(value));  // an object that is copied may change this set
        clone->properties_.Append(std::move(entry));
    }
    *copy = clone.As<IUnknown>().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

void PropertySet::WriteProperties(kv::StreamWriter& out, kv::Objects objects) const {
    constexpr VARIANT null{{{VT_NULL, 0, 0, 0, {}}}};
    const std::size_t count = properties_.Count();
    out << recordVersion << static_cast<LONG>(count);
    for (std::size_t i = 0; i < count && !out.Failed(); ++i) {
        if (properties_.Count() != count) out.FailWith(E_FAIL);  // an object that was saved has changed the set
        if (out.Failed()) break;
        const VARIANT& value = properties_[i].Value();
        kv::WriteText(out, properties_[i].Name());
        kv::WriteValue(out, objects == kv::Objects::dropped && value.vt == VT_EMPTY ? null : value, objects);
    }
}

HRESULT PropertySet::ReadProperties(kv::StreamReader& in, kv::Objects objects) {
    std::uint16_t version = 0;
    if (in.Read(version) && version > recordVersion) return RefuseNewer();
    if (in.Failed()) return in.Status();
    RemoveAllProperties();
    LONG count = 0;
    std::u16string name;
    for (in >> count; count > 0; --count) {
        kv::Variant value;
        if (!kv::ReadText(in, name) || !kv::ReadValue(in, value.Put(), objects)) break;
        properties_.Append(PropertyList::MakeEntry(name, std::move(value)));
    }
    return in.Status();
}

HRESULT PropertySet::WriteElements(XmlFieldWriter& out) const {
    VARIANT_BOOL isForSOAP = VARIANT_FALSE;
    if (HRESULT status = out.Data()->get_ForSOAP(&isForSOAP); FAILED(status)) return status;
    const std::size_t count = properties_.Count();
    for (std::size_t i = 0; i < count; ++i) {
        if (properties_.Count() != count) return Refuse(E_FAIL);  // an object that was written has changed the set
        const VARIANT& value = properties_[i].Value();
        if (isForSOAP && value.vt == (VT_ARRAY | VT_BSTR))
            return Refuse<IXMLSerialize>(E_FAIL,
                                         u"VT_ARRAY | VT_BSTR properties are not supported for SOAP serialization.");
        const kv::BString key(properties_[i].Name());
        kv::Variant copy;  // of a value with objects, for these may change the set, too
        if (HoldsObjects(value)) CopyOut(properties_[i], copy.Put());
        const VARIANT& written = copy.Get().vt == VT_EMPTY ? value : copy.Get();
        if (!out.Add(&IXMLSerializeData::AddKeyedVariant, propertyElement, key.Get(), written)) break;
    }
    return out.Status();
}

HRESULT PropertySet::ReadElements(XmlFieldReader& in) {
    PropertyList properties;
    in.ForEach(propertyElement, [&](LONG index) {
        kv::BString holder;
        kv::Variant value;
        if (HRESULT status = in.Data()->GetVariant(index, value.Put()); FAILED(status)) return status;
        const auto key = in.Key(index, holder);
        if (FAILED(in.Status())) return in.Status();
        properties.Append(PropertyList::MakeEntry(key, std::move(value)));
        return S_OK;
    });
    if (FAILED(in.Status())) return in.Status();
    properties_.Swap(properties);
    return S_OK;
}

HRESULT PropertySet::RefuseUnknown(std::u16string_view name) const noexcept {
    // On the stack, since a set is also asked for names that may be there or not.
    std::array<char16_t, longestNameInMessage + 40> text;
    auto end = text.begin();
    const auto append = [&](std::u16string_view part) { end = std::copy(part.begin(), part.end(), end); };
    append(u"No property is named \"");
    const auto begin = end;
    append(name.substr(0, longestNameInMessage));
    std::replace(begin, end, u'\0', u'\uFFFD');  // a message ends at a NUL
    append(name.size() > longestNameInMessage ? u"...\"." : u"\".");
    *end = u'\0';
    return Refuse<IPropertySet>(E_FAIL, text.data());
}

HRESULT PropertySet::RefuseValue(HRESULT status) const noexcept {
    if (status != E_INVALIDARG) return Refuse(status);
    return Refuse<IPropertySet>(status, unkeepableValue);
}

}  // namespace mova
