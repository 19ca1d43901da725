#include "json/ValueForms.h"

#include <algorithm>

#include "containers/NameFold.h"
#include "containers/PropertySet.h"
#include "containers/UID.h"
#include "json/JSONArray.h"
#include "json/JSONObject.h"
#include "json/TreeLoader.h"
#include "kvcore/Guid.h"
#include "kvcore/SafeArray.h"
#include "kvcore/Status.h"

namespace mova {
namespace {

constexpr std::u16string_view typeKey = u"type";
constexpr std::u16string_view itemsKey = u"propertySetItems";
constexpr std::u16string_view elementTypeKey = u"valueType";
constexpr std::u16string_view elementsKey = u"values";
constexpr std::u16string_view identifierKey = u"value";
constexpr std::u16string_view subtypeKey = u"subtype";

constexpr std::u16string_view setType = u"PropertySet";
constexpr std::u16string_view arrayType = u"array";
constexpr std::u16string_view identifierType = u"UID";
constexpr std::u16string_view textElements = u"string";
constexpr std::u16string_view numberElements = u"number";

/// How many property sets may lie in one another: each is two objects in JSON.
constexpr int deepest = json::maxDepth / 2;
/// The greatest whole number up to which a double holds all.
constexpr LONGLONG exactInDouble = LONGLONG{1} << 53;

kv::Variant ValueOf(kv::Ptr<IUnknown> object) noexcept {
    return kv::Variant::Attach(kv::ObjectValue(object.Detach()));
}

/// Adds a text to a new object of ours. @throw std::bad_alloc, for what else could refuse it
void AddText(IJSONObject& object, std::u16string_view key, std::u16string_view text) {
    if (FAILED(object.AddString(kv::BString(key).Get(), kv::BString(text).Get()))) throw std::bad_alloc();
}

kv::Ptr<IJSONObject> NewObject(std::u16string_view type) {
    auto object = kv::Ptr<IJSONObject>::Attach(new JSONObject(nullptr));
    AddText(*object.Get(), typeKey, type);
    return object;
}

kv::Ptr<IUnknown> AsUnknown(const kv::Ptr<IJSONObject>& object) noexcept {
    return kv::Ptr<IUnknown>(object.Get());
}

bool IsObject(const VARIANT& value) noexcept {
    return value.vt == VT_UNKNOWN || value.vt == VT_DISPATCH;
}

/// The text of a member; empty where it has none.
kv::BString TextOf(IJSONObject& object, std::u16string_view key) {
    kv::Variant value;
    VARIANT_BOOL found = VARIANT_FALSE;
    if (!kv::Succeeded(object.GetValue(kv::BString(key).Get(), value.Put(), &found)) || value.Get().vt != VT_BSTR)
        return {};
    return kv::BString::Attach(value.Detach().bstrVal);
}

bool IsNumber(VARTYPE type) noexcept {
    static constexpr VARTYPE numbers[] = {VT_I1,  VT_UI1,  VT_I2, VT_UI2, VT_I4, VT_UI4,     VT_I8,  VT_UI8,
                                          VT_INT, VT_UINT, VT_R4, VT_R8,  VT_CY, VT_DECIMAL, VT_DATE};
    return std::find(std::begin(numbers), std::end(numbers), type) != std::end(numbers);
}

/// What the elements of an array are called; empty where they have no common form.
std::u16string_view ElementForm(const kv::ArrayView& array) noexcept {
    const auto all = [&](auto is) {
        if (array.Type() != VT_VARIANT) return is(array.Type());
        for (std::size_t i = 0; i < array.Count(); ++i) {
            if (!is(array.Element(i).vt)) return false;
        }
        return true;
    };
    if (all(&IsNumber)) return numberElements;
    return all([](VARTYPE type) { return type == VT_BSTR; }) ? textElements : std::u16string_view();
}

/// Whether a JSON array has whole numbers of 64 bits only, and one of them that a double cannot hold.
bool NeedsIntegers(IJSONArray& array, LONG count) noexcept {
    bool needed = false;
    for (LONG i = 0; i < count; ++i) {
        kv::Variant element;
        if (!kv::Succeeded(array.GetValue(i, element.Put()))) return false;
        const VARTYPE type = element.Get().vt;
        if (type != VT_I4 && type != VT_I8) return false;
        needed |= type == VT_I8 && (element.Get().llVal > exactInDouble || element.Get().llVal < -exactInDouble);
    }
    return needed;
}

/// An array of a JSON array's elements. @param read reads one of them as an Element and says whether it is one
/// @return empty where one is not
template <class Element, class Read>
kv::Variant MakeArray(VARTYPE type, LONG count, Read read) {
    kv::ArrayBuilder builder(type, static_cast<std::size_t>(count));
    auto* const elements = builder.Elements<Element>();
    for (LONG i = 0; i < count; ++i) {
        if (!read(i, elements + i)) return {};
    }
    return builder.Finish();
}

}  // namespace

HRESULT ValueForms::Postpone(kv::Ptr<IPropertySet> set, kv::Ptr<IJSONObject> items, int depth) {
    if (depth > deepest) {
        fault_ = u"More than 250 property sets lie in one another.";
        return E_FAIL;
    }
    open_.push_back({std::move(set), std::move(items), depth});
    return S_OK;
}

HRESULT ValueForms::Fail(HRESULT status, std::u16string_view name, std::u16string_view reason) {
    fault_ = u"The value";
    if (!name.empty()) fault_.append(u" of \"").append(name).append(u"\"");
    fault_.append(u" ").append(reason);
    return status;
}

HRESULT ValueEncoder::Encode(const VARIANT& value, kv::Variant& json) {
    Begin();
    return Finish(EncodeValue({}, value, 1, json), [this](const Level& level) { return EncodeProperties(level); });
}

HRESULT ValueEncoder::EncodeValue(std::u16string_view name, const VARIANT& value, int depth, kv::Variant& json) {
    if (IsObject(value) && value.punkVal) return EncodeObject(name, *value.punkVal, depth, json);
    if (kv::IsArray(value)) return EncodeArray(name, value, json);
    const bool isScalar = value.vt == VT_EMPTY || value.vt == VT_NULL || value.vt == VT_BSTR || value.vt == VT_BOOL ||
                          IsNumber(value.vt) || IsObject(value);
    return isScalar ? json.Assign(value) : Fail(E_INVALIDARG, name, u"is of a type that JSON has no form for.");
}

HRESULT ValueEncoder::EncodeObject(std::u16string_view name, IUnknown& object, int depth, kv::Variant& json) {
    const kv::Ptr<IUnknown> held(&object);
    if (held.As<IJSONObject>() || held.As<IJSONArray>()) {
        json = ValueOf(held);
        return S_OK;
    }
    if (const auto identifier = held.As<IIdentifierExchange>()) return EncodeIdentifier(*identifier.Get(), json);
    auto set = held.As<IPropertySet>();
    if (!set) return Fail(E_INVALIDARG, name, u"is an object that has no form in JSON.");
    const auto made = NewObject(setType);
    kv::Ptr<IJSONObject> items;
    if (HRESULT status = made->CreateJSONObject(kv::BString(itemsKey).Get(), items.Put()); FAILED(status))
        return status;
    if (HRESULT status = Postpone(std::move(set), std::move(items), depth); FAILED(status)) return status;
    json = ValueOf(AsUnknown(made));
    return S_OK;
}

HRESULT ValueEncoder::EncodeIdentifier(IIdentifierExchange& identifier, kv::Variant& json) {
    GUID id{};
    LONG subtype = 0;
    if (HRESULT status = identifier.GetIdentifier(&id, &subtype); FAILED(status)) return status;
    const auto made = NewObject(identifierType);
    const auto text = kv::FormatGuid(kv::BitsOf(id));
    AddText(*made.Get(), identifierKey, {text.data(), text.size()});
    if (subtype != 0) {
        if (HRESULT status = made->AddLong(kv::BString(subtypeKey).Get(), subtype); FAILED(status)) return status;
    }
    json = ValueOf(AsUnknown(made));
    return S_OK;
}

HRESULT ValueEncoder::EncodeArray(std::u16string_view name, const VARIANT& array, kv::Variant& json) {
    const auto view = kv::ArrayView::Of(array);
    if (!view || view->Dimensions() != 1) return Fail(E_INVALIDARG, name, u"is no array of one dimension.");
    const std::u16string_view form = ElementForm(*view);
    if (form.empty()) return Fail(E_INVALIDARG, name, u"is an array of others than texts or numbers.");
    const auto made = NewObject(arrayType);
    AddText(*made.Get(), elementTypeKey, form);
    kv::Ptr<IJSONArray> elements;
    HRESULT status = made->CreateJSONArray(kv::BString(elementsKey).Get(), elements.Put());
    for (std::size_t i = 0; SUCCEEDED(status) && i < view->Count(); ++i) {
        const VARIANT element = view->Element(i);
        status = element.vt == VT_BSTR ? elements->AddString(element.bstrVal ? element.bstrVal : kv::BString(u"").Get())
                                       : elements->AddVariant(element);
    }
    if (SUCCEEDED(status)) json = ValueOf(AsUnknown(made));
    return status;
}

HRESULT ValueEncoder::EncodeProperties(const Level& level) {
    kv::Variant names;
    kv::Variant values;
    if (HRESULT status = level.set->GetAllProperties(names.Put(), values.Put()); FAILED(status)) return status;
    const auto nameView = kv::ArrayView::Of(names.Get());
    const auto valueView = kv::ArrayView::Of(values.Get());
    if (!nameView || !valueView || nameView->Count() != valueView->Count()) return E_FAIL;
    for (std::size_t i = 0; i < nameView->Count(); ++i) {
        const VARIANT nameValue = nameView->Element(i);
        if (nameValue.vt != VT_BSTR) return E_FAIL;
        const std::u16string_view name = kv::View(nameValue.bstrVal);
        kv::Variant json;
        if (HRESULT status = EncodeValue(name, valueView->Element(i), level.depth + 1, json); FAILED(status))
            return status;
        const HRESULT status = level.items->AddVariant(nameValue.bstrVal, json.Get());
        if (status == E_FAIL) return Fail(status, name, u"is there twice, which a JSON object cannot hold.");
        if (FAILED(status)) return status;
    }
    return S_OK;
}

HRESULT ValueDecoder::Decode(const VARIANT& json, kv::Variant& value) {
    Begin();
    return Finish(DecodeValue({}, json, 1, value));
}

HRESULT ValueDecoder::Decode(std::u16string_view type, const kv::Ptr<IJSONObject>& json, kv::Variant& value) {
    Begin();
    return Finish(DecodeObject({}, type, json, 1, value));
}

HRESULT ValueDecoder::Finish(HRESULT status) {
    return ValueForms::Finish(status, [this](const Level& level) { return DecodeProperties(level); });
}

HRESULT ValueDecoder::DecodeValue(std::u16string_view name, const VARIANT& json, int depth, kv::Variant& value) {
    if (!IsObject(json) || !json.punkVal) {
        return kv::IsArray(json) ? Fail(E_INVALIDARG, name, u"is neither a scalar nor JSON.") : value.Assign(json);
    }
    const kv::Ptr<IUnknown> held(json.punkVal);
    if (const auto object = held.As<IJSONObject>())
        return DecodeObject(name, TextOf(*object.Get(), typeKey).View(), object, depth, value);
    if (!held.As<IJSONArray>()) return Fail(E_INVALIDARG, name, u"is neither a scalar nor JSON.");
    if (!keepsUnknown_) return Fail(E_INVALIDARG, name, u"is an array that does not say what it is of.");
    value = ValueOf(held);
    return S_OK;
}

HRESULT ValueDecoder::DecodeObject(std::u16string_view name, std::u16string_view type,
                                   const kv::Ptr<IJSONObject>& object, int depth, kv::Variant& value) {
    if (SameAsciiName(type, arrayType)) return DecodeArray(name, *object.Get(), value);
    if (SameAsciiName(type, identifierType)) return DecodeIdentifier(name, *object.Get(), value);
    if (!SameAsciiName(type, setType)) {
        if (!keepsUnknown_) return Fail(E_INVALIDARG, name, u"is an object of a type that is not known.");
        value = ValueOf(AsUnknown(object));
        return S_OK;
    }
    kv::Ptr<IJSONObject> items;
    VARIANT_BOOL found = VARIANT_FALSE;
    const kv::BString key(itemsKey);
    if (HRESULT status = object->GetJSONObject(key.Get(), items.Put(), &found); FAILED(status)) return status;
    if (!found) {
        VARIANT_BOOL isNull = VARIANT_FALSE;
        if (HRESULT status = object->IsValueNull(key.Get(), &isNull); FAILED(status)) return status;
        if (!isNull) return Fail(E_INVALIDARG, name, u"has no object under \"propertySetItems\".");
    }
    const auto set = kv::Ptr<IPropertySet>::Attach(PropertySet::Make());
    if (found) {
        if (HRESULT status = Postpone(set, std::move(items), depth); FAILED(status)) return status;
    }
    value = ValueOf(kv::Ptr<IUnknown>(set.Get()));
    return S_OK;
}

HRESULT ValueDecoder::DecodeIdentifier(std::u16string_view name, IJSONObject& object, kv::Variant& value) {
    const auto id = kv::ParseGuid(TextOf(object, identifierKey).View());
    LONG subtype = 0;
    VARIANT_BOOL found = VARIANT_FALSE;
    if (HRESULT status = object.GetLong(kv::BString(subtypeKey).Get(), &subtype, &found); FAILED(status)) return status;
    const auto made = kv::Ptr<UID>::Attach(new UID(nullptr));
    const GUID identifier = id ? std::bit_cast<GUID>(*id) : GUID{};
    if (!id || !kv::Succeeded(made->SetIdentifier(&identifier, subtype)))
        return Fail(E_INVALIDARG, name, u"is no identifier: it needs a GUID under \"value\".");
    value = ValueOf(kv::Ptr<IUnknown>(static_cast<IUID*>(made.Get())));
    return S_OK;
}

HRESULT ValueDecoder::DecodeArray(std::u16string_view name, IJSONObject& object, kv::Variant& value) {
    const kv::BString form = TextOf(object, elementTypeKey);
    const bool ofTexts = SameAsciiName(form.View(), textElements);
    if (!ofTexts && !SameAsciiName(form.View(), numberElements))
        return Fail(E_INVALIDARG, name, u"is an array whose \"valueType\" is neither \"string\" nor \"number\".");
    kv::Ptr<IJSONArray> elements;
    VARIANT_BOOL found = VARIANT_FALSE;
    if (HRESULT status = object.GetJSONArray(kv::BString(elementsKey).Get(), elements.Put(), &found); FAILED(status))
        return status;
    if (!found) return Fail(E_INVALIDARG, name, u"is an array without an array under \"values\".");
    LONG count = 0;
    if (HRESULT status = elements->GetCount(&count); FAILED(status)) return status;
    kv::Variant made;
    if (ofTexts) {
        made = MakeArray<BSTR>(VT_BSTR, count, [&](LONG i, BSTR* target) {
            kv::Variant element;
            if (!kv::Succeeded(elements->GetValue(i, element.Put())) || element.Get().vt != VT_BSTR) return false;
            *target = element.Detach().bstrVal;
            return true;
        });
    } else if (NeedsIntegers(*elements.Get(), count)) {
        made = MakeArray<LONGLONG>(VT_I8, count, [&](LONG i, LONGLONG* target) {
            kv::Variant element;
            const bool isThere = kv::Succeeded(elements->GetValue(i, element.Put()));
            *target = element.Get().vt == VT_I4 ? element.Get().lVal : element.Get().llVal;
            return isThere;
        });
    } else {
        made = MakeArray<double>(VT_R8, count, [&](LONG i, double* target) {
            return kv::Succeeded(elements->GetDouble(i, target, &found)) && found;
        });
    }
    if (made.Get().vt == VT_EMPTY)
        return Fail(E_INVALIDARG, name, u"is an array with elements that are not of its \"valueType\".");
    value = std::move(made);
    return S_OK;
}

HRESULT ValueDecoder::DecodeProperties(const Level& level) {
    LONG count = 0;
    if (HRESULT status = level.items->GetCount(&count); FAILED(status)) return status;
    for (LONG i = 0; i < count; ++i) {
        kv::BString name;
        kv::Variant json;
        if (HRESULT status = level.items->GetMemberAt(i, name.Put(), json.Put()); FAILED(status)) return status;
        kv::Variant value;
        if (HRESULT status = DecodeValue(name.View(), json.Get(), level.depth + 1, value); FAILED(status))
            return status;
        if (HRESULT status = level.set->SetProperty(name.Get(), value.Get()); FAILED(status)) return status;
    }
    return S_OK;
}

}  // namespace mova
