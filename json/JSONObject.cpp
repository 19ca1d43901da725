#include "json/JSONObject.h"

#include <vector>

#include "containers/NameFold.h"
#include "containers/SystemNames.h"
#include "json/JSONConverter.h"
#include "json/TreeLoader.h"
#include "kvcore/NumberText.h"

namespace mova {
namespace {

/// A JSON object or array by its public interface, for walks that do not mind who made it.
class Node {
 public:
    explicit Node(const VARIANT& value) noexcept {
        if (value.vt != VT_UNKNOWN && value.vt != VT_DISPATCH) return;
        const kv::Ptr<IUnknown> object(value.punkVal);
        object_ = object.As<IJSONObject>();
        if (!object_) array_ = object.As<IJSONArray>();
    }
    explicit operator bool() const noexcept { return object_ || array_; }

    HRESULT GetCount(LONG* count) const noexcept {
        return object_ ? object_->GetCount(count) : array_->GetCount(count);
    }
    /// The name, null for an element, and the value of a place.
    HRESULT GetAt(LONG place, kv::BString& name, kv::Variant& value) const noexcept {
        return object_ ? object_->GetMemberAt(place, name.Put(), value.Put()) : array_->GetValue(place, value.Put());
    }
    /// The value that one step of a path leads to. @return S_FALSE where it leads nowhere
    HRESULT Step(std::u16string_view step, kv::Variant& value) const {
        if (object_) {
            VARIANT_BOOL found = VARIANT_FALSE;
            const HRESULT status = object_->GetValue(kv::BString(step).Get(), value.Put(), &found);
            return SUCCEEDED(status) && !found ? S_FALSE : status;
        }
        LONG count = 0;
        const auto index = kv::ReadNatural(step);
        if (HRESULT status = array_->GetCount(&count); FAILED(status)) return status;
        return index && *index < count ? array_->GetValue(*index, value.Put()) : S_FALSE;
    }

 private:
    kv::Ptr<IJSONObject> object_;
    kv::Ptr<IJSONArray> array_;
};

}  // namespace

STDMETHODIMP JSONObject::MemberExists(BSTR name, VARIANT_BOOL* exists) noexcept {
    return GetFlag(Find(name) != json::Container::none, exists);
}

STDMETHODIMP JSONObject::IsValueNull(BSTR name, VARIANT_BOOL* isNull) noexcept {
    const std::uint32_t place = Find(name);
    const VARTYPE type = place == json::Container::none ? VARTYPE{VT_EMPTY} : TypeOf(values_.held.At(place));
    return GetFlag(type == VT_EMPTY || type == VT_NULL, isNull);
}

STDMETHODIMP JSONObject::GetMemberAt(LONG index, BSTR* name, VARIANT* value) noexcept try {
    if (name) *name = nullptr;
    if (value) VariantInit(value);
    if (!name || !value) return Refuse(E_POINTER);
    if (index < 0 || static_cast<std::uint32_t>(index) >= values_.held.Count()) return Refuse(E_INVALIDARG);
    kv::BString itsName(values_.held.NameAt(static_cast<std::uint32_t>(index)));
    const HRESULT status = values_.CopyOut(static_cast<std::uint32_t>(index), value);
    if (SUCCEEDED(status)) *name = itsName.Detach();
    return status;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONObject::GetValue(BSTR name, VARIANT* value, VARIANT_BOOL* found) noexcept try {
    if (value) VariantInit(value);
    if (found) *found = VARIANT_FALSE;
    if (!value || !found) return Refuse(E_POINTER);
    const std::uint32_t place = Find(name);
    if (place == json::Container::none) return S_OK;
    const HRESULT status = values_.CopyOut(place, value);
    *found = FlagOf(SUCCEEDED(status));
    return status;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONObject::RemoveMember(BSTR name) noexcept try {
    const std::uint32_t place = Find(name);
    if (place == json::Container::none) return Refuse(E_INVALIDARG);
    values_.held.Remove(place);
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONObject::Translate(IPropertySet* options, IUnknown** object) noexcept try {
    if (!object) return Refuse(E_POINTER);
    *object = nullptr;
    const kv::BString typeName(u"type");
    const std::uint32_t place = Find(typeName.Get());
    kv::BString type;
    if (place == json::Container::none || TypeOf(values_.held.At(place)) != VT_BSTR ||
        !ToText(values_.held.At(place), type))
        return Refuse<IJSONObject>(E_INVALIDARG, u"The object has no text under \"type\".");
    kv::Ptr<IJSONTranslator> translator;
    if (options) {
        kv::Variant given;
        if (SUCCEEDED(options->GetProperty(kv::BString(u"Translator").Get(), given.Put())) &&
            (given.Get().vt == VT_UNKNOWN || given.Get().vt == VT_DISPATCH))
            translator = kv::Ptr<IUnknown>(given.Get().punkVal).As<IJSONTranslator>();
    }
    if (!translator) translator = kv::Ptr<IJSONTranslator>::Attach(JSONConverter::Make());
    return translator->ToObject(type.Get(), this, options, object);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONObject::GetNames(IJSONArray** names) noexcept try {
    if (!names) return Refuse(E_POINTER);
    *names = nullptr;
    auto made = values_.MakeChild(false).As<IJSONArray>();
    for (std::uint32_t i = 0; i < values_.held.Count(); ++i)
        if (HRESULT status = made->AddString(kv::BString(values_.held.NameAt(i)).Get()); FAILED(status)) return status;
    *names = made.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONObject::AddNamedValue(BSTR name, const VARIANT* value) noexcept {
    if (kv::View(name).empty() || !value) return Refuse(E_INVALIDARG);
    return AddVariant(name, *value);
}

STDMETHODIMP JSONObject::putref_Attachment(IUnknown* object) noexcept {
    attachment_ = kv::Ptr<IUnknown>(object);
    return S_OK;
}

STDMETHODIMP JSONObject::get_Attachment(IUnknown** object) noexcept {
    if (!object) return Refuse(E_POINTER);
    *object = kv::Ptr<IUnknown>(attachment_).Detach();
    return S_OK;
}

STDMETHODIMP JSONObject::GetValueByPath(BSTR path, VARIANT* value, VARIANT_BOOL* found) noexcept try {
    if (value) VariantInit(value);
    if (found) *found = VARIANT_FALSE;
    if (!value || !found) return Refuse(E_POINTER);
    kv::Variant reached;
    if (HRESULT status = reached.Assign(kv::ObjectValue(Controlling())); FAILED(status)) return Refuse(status);
    std::u16string_view rest = kv::View(path);
    while (!rest.empty()) {
        const std::u16string_view step = rest.substr(0, rest.find(u'/'));
        rest.remove_prefix(std::min(rest.size(), step.size() + 1));
        const Node node(reached.Get());
        if (!node) return S_OK;
        if (HRESULT status = node.Step(step, reached); status != S_OK) return FAILED(status) ? status : S_OK;
    }
    *value = reached.Detach();
    *found = VARIANT_TRUE;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONObject::Traverse(IJSONVisitor* visitor) noexcept try {
    if (!visitor) return Refuse(E_POINTER);
    struct Place {
        Node node;
        LONG next;
    };
    std::vector<Place> open;
    open.push_back({Node(kv::ObjectValue(Controlling())), 0});
    while (!open.empty()) {
        LONG count = 0;
        if (HRESULT status = open.back().node.GetCount(&count); FAILED(status)) return status;
        if (open.back().next >= count) {
            open.pop_back();
            continue;
        }
        const LONG index = open.back().next++;
        kv::BString name;
        kv::Variant value;
        if (HRESULT status = open.back().node.GetAt(index, name, value); FAILED(status)) return status;
        const auto depth = static_cast<LONG>(open.size()) - 1;
        const HRESULT status = visitor->Visit(name.Get(), index, depth, value.Get());
        if (FAILED(status)) return status;
        if (Node within(value.Get()); within && status != S_FALSE) {
            if (open.size() > json::maxDepth) return Refuse(E_FAIL);
            open.push_back({std::move(within), 0});
        }
    }
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

std::uint32_t JSONObject::Find(BSTR name) const noexcept {
    if (!name) return json::Container::none;
    const std::u16string_view asked = kv::View(name);
    if (values_.caseSensitive) return values_.held.Find(asked, HashName(asked));
    return values_.held.FindSame(
        HashName(asked), [=](std::u16string_view stored) { return SameName(stored, IsAsciiName(stored), asked); });
}

HRESULT JSONObject::AddValue(BSTR name, const json::Value& value) {
    const std::u16string_view added = kv::View(name);
    const std::uint32_t hash = HashName(added);
    const std::uint32_t place = values_.held.Find(added, hash);
    if (place == json::Container::none) {
        values_.held.Append(added, hash, value);
        return S_OK;
    }
    const json::Value former = values_.held.At(place);
    if (!values_.replaceExisting || TypeOf(former) != TypeOf(value))
        return Refuse<IJSONObject>(E_FAIL, u"The object has a member of that name, which cannot be replaced.");
    json::Value placed = value;
    if (value.tag.kind == json::Kind::Double && value.tag.detail == json::noDecimals)
        placed.tag.detail = former.tag.detail;
    values_.held.Replace(place, placed);
    return S_OK;
}

}  // namespace mova
