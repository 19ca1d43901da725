#include "json/ValueConversion.h"

#include <cmath>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <optional>

#include "kvcore/DateText.h"
#include "kvcore/Status.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

using json::Kind;
using json::Value;

constexpr LCID englishLocale = 1033;  // numbers in JSON are written as in English, whatever the user's own notation

kv::BString TextOf(const Value& value) {
    if (value.tag.kind == Kind::NoText) return {};
    if (value.tag.kind == Kind::WideText) return kv::BString(value.payload.text->Wide());
    const std::string_view ascii = value.payload.text->Ascii();
    auto text = kv::BString::OfLength(ascii.size());
    json::Widen(ascii, text.Units());
    return text;
}

/// A value as a VARIANT for as long as this lives.
class Borrowed {
 public:
    explicit Borrowed(const Value& value) {
        if (value.tag.kind == Kind::Other) {
            shown_ = static_cast<const kv::Variant*>(value.payload.held)->Get();
        } else if (value.tag.kind == Kind::Held) {
            shown_ = kv::ObjectValue(static_cast<IUnknown*>(value.payload.held));
        } else {
            CopyValue(value, owned_.Put());
            shown_ = owned_.Get();
        }
    }
    const VARIANT& Get() const noexcept { return shown_; }

 private:
    VARIANT shown_{};
    kv::Variant owned_;
};

bool IsNothing(const Value& value) noexcept {
    const VARTYPE type = TypeOf(value);
    return type == VT_EMPTY || type == VT_NULL;
}

/// Of single precision it is converted as the system does.
bool IsNotANumber(const Value& value) noexcept {
    return value.tag.kind == Kind::Double && std::isnan(value.payload.number);
}

bool IsText(const Value& value, std::u16string_view expected) {
    if (TypeOf(value) != VT_BSTR || value.tag.kind == Kind::NoText) return false;
    const kv::BString text = TextOf(value);
    return CompareStringOrdinal(text.Get(), static_cast<int>(text.View().size()), kv::Wide(expected.data()),
                                static_cast<int>(expected.size()), TRUE) == CSTR_EQUAL;
}

bool Change(const Value& value, VARTYPE type, LCID locale, USHORT flags, kv::Variant& target) {
    if (IsContainer(value.tag.kind)) return false;
    const Borrowed source(value);
    return kv::Succeeded(kv::ChangeType(source.Get(), type, locale, flags, target));
}

/// A number of a type as the user writes it.
template <class T>
bool ToInteger(const Value& value, VARTYPE type, T VARIANT::*field, T& target) {
    kv::Variant changed;
    if (IsNothing(value) || IsNotANumber(value) || !Change(value, type, LOCALE_USER_DEFAULT, 0, changed)) return false;
    target = changed.Get().*field;
    return true;
}

/// A number of a type as it is written in English; not-a-number is one, too.
template <class T>
bool ToReal(const Value& value, VARTYPE type, T VARIANT::*field, T& target) {
    if (IsNothing(value)) return false;
    if (IsNotANumber(value) || IsText(value, u"NaN")) {
        target = std::numeric_limits<T>::quiet_NaN();
        return true;
    }
    kv::Variant changed;
    if (!Change(value, type, englishLocale, VARIANT_NOUSEROVERRIDE, changed)) return false;
    target = changed.Get().*field;
    return true;
}

/// Text as the locale writes a value, dates with their times.
bool ToLocalText(const Value& value, LCID locale, DWORD localeFlags, USHORT changeFlags, kv::BString& target) {
    if (TypeOf(value) == VT_DATE) return kv::Succeeded(kv::DateText(value.payload.number, locale, localeFlags, target));
    kv::Variant changed;
    if (!Change(value, VT_BSTR, locale, changeFlags, changed)) return false;
    target = kv::BString::Attach(changed.Detach().bstrVal);
    return true;
}

}  // namespace

void DisposeValue(const Value& value) noexcept {
    if (value.tag.kind == Kind::Held) {
        if (value.payload.held) static_cast<IUnknown*>(value.payload.held)->Release();
    } else if (value.tag.kind == Kind::Other) {
        delete static_cast<kv::Variant*>(value.payload.held);
    }
}

Value NewValue::OfText(BSTR text) {
    return text ? json::MakeText(kv::View(text)) : Value::Of(Kind::NoText);
}

Value NewValue::OfObject(IUnknown* object) noexcept {
    if (object) object->AddRef();
    return Value::Of(static_cast<void*>(object), Kind::Held);
}

HRESULT NewValue::Assign(const VARIANT& source) {
    const VARIANT* const referred = kv::Referred(source);
    if (!referred) return E_INVALIDARG;
    if (referred->vt & VT_BYREF) {
        kv::Variant direct;
        const HRESULT status = direct.Assign(*referred);
        return FAILED(status) ? status : Assign(direct.Get());
    }
    switch (referred->vt) {
        case VT_EMPTY:
            value_ = Value::Of(Kind::Empty);
            return S_OK;
        case VT_NULL:
            value_ = Value::Of(Kind::Null);
            return S_OK;
        case VT_BOOL:
            value_ = Value::Of(referred->boolVal != VARIANT_FALSE);
            return S_OK;
        case VT_I4:
            value_ = Value::Of(std::int64_t{referred->lVal}, Kind::Int32);
            return S_OK;
        case VT_I8:
            value_ = Value::Of(std::int64_t{referred->llVal}, Kind::Int64);
            return S_OK;
        case VT_UI8:
            value_ = Value::Of(std::int64_t{referred->llVal}, Kind::UInt64);
            return S_OK;
        case VT_R4:
            value_ = Value::Of(Kind::Float);
            value_.payload.shortNumber = referred->fltVal;
            return S_OK;
        case VT_R8:
            value_ = Value::Of(referred->dblVal, Kind::Double);
            return S_OK;
        case VT_DATE:
            value_ = Value::Of(referred->date, Kind::Date);
            return S_OK;
        case VT_BSTR:
            value_ = OfText(referred->bstrVal);
            return S_OK;
        case VT_UNKNOWN:
            value_ = OfObject(referred->punkVal);
            return S_OK;
        default:
            break;
    }
    auto copy = std::make_unique<kv::Variant>();
    if (HRESULT status = copy->Assign(source); FAILED(status)) return status;
    value_ = Value::Of(static_cast<void*>(copy.release()), Kind::Other);
    return S_OK;
}

VARTYPE TypeOf(const Value& value) noexcept {
    // clang-format off
    static constexpr VARTYPE types[] = {  // in the order of the kinds
        VT_EMPTY, VT_NULL, VT_BOOL, VT_I4, VT_I8, VT_UI8, VT_R4, VT_R8, VT_DATE, VT_BSTR, VT_BSTR, VT_BSTR,
        VT_UNKNOWN, VT_UNKNOWN, VT_UNKNOWN,
    };
    // clang-format on
    static_assert(std::size(types) == static_cast<std::size_t>(Kind::Other), "a type for every kind but the last");
    if (value.tag.kind == Kind::Other) return static_cast<const kv::Variant*>(value.payload.held)->Get().vt;
    return types[static_cast<std::size_t>(value.tag.kind)];
}

HRESULT CopyValue(const Value& value, VARIANT* target) {
    VariantInit(target);
    switch (value.tag.kind) {
        case Kind::Boolean:
            target->boolVal = value.payload.flag ? VARIANT_TRUE : VARIANT_FALSE;
            break;
        case Kind::Int32:
            target->lVal = static_cast<LONG>(value.payload.integer);
            break;
        case Kind::Int64:
            target->llVal = value.payload.integer;
            break;
        case Kind::UInt64:
            target->ullVal = value.payload.natural;
            break;
        case Kind::Float:
            target->fltVal = value.payload.shortNumber;
            break;
        case Kind::Double:
            target->dblVal = value.payload.number;
            break;
        case Kind::Date:
            target->date = value.payload.number;
            break;
        case Kind::NoText:
        case Kind::AsciiText:
        case Kind::WideText:
            target->bstrVal = TextOf(value).Detach();
            break;
        case Kind::Held:
            target->punkVal = static_cast<IUnknown*>(value.payload.held);
            if (target->punkVal) target->punkVal->AddRef();
            break;
        case Kind::Other:
            return static_cast<const kv::Variant*>(value.payload.held)->CopyTo(target);
        default:
            break;
    }
    target->vt = TypeOf(value);
    return S_OK;
}

bool ToBoolean(const Value& value, VARIANT_BOOL& target) {
    if (IsNotANumber(value)) return false;
    if (IsNothing(value)) {
        target = VARIANT_FALSE;
        return true;
    }
    kv::Variant changed;
    if (!Change(value, VT_BOOL, LOCALE_USER_DEFAULT, 0, changed)) return false;
    target = changed.Get().boolVal;
    return true;
}

bool ToLong(const Value& value, LONG& target) {
    if (value.tag.kind != Kind::Int32) return ToInteger(value, VT_I4, &VARIANT::lVal, target);
    target = static_cast<LONG>(value.payload.integer);
    return true;
}

bool ToLongLong(const Value& value, LONGLONG& target) {
    return ToInteger(value, VT_I8, &VARIANT::llVal, target);
}

bool ToULongLong(const Value& value, ULONGLONG& target) {
    return ToInteger(value, VT_UI8, &VARIANT::ullVal, target);
}

bool ToDouble(const Value& value, double& target) {
    if (value.tag.kind != Kind::Double) return ToReal(value, VT_R8, &VARIANT::dblVal, target);
    target = value.payload.number;
    return true;
}

bool ToFloat(const Value& value, float& target) {
    return ToReal(value, VT_R4, &VARIANT::fltVal, target);
}

bool ToText(const Value& value, kv::BString& target) {
    switch (value.tag.kind) {
        case Kind::Empty:
        case Kind::NoText:
            target = kv::BString();
            return true;
        case Kind::Null:
            target = kv::BString(u"null");
            return true;
        case Kind::Boolean:
            target = kv::BString(value.payload.flag ? u"true" : u"false");
            return true;
        case Kind::AsciiText:
        case Kind::WideText:
            target = TextOf(value);
            return true;
        default:
            return ToLocalText(value, LOCALE_USER_DEFAULT, 0, 0, target);
    }
}

bool ToType(const Value& value, VARTYPE type, kv::Variant& target) {
    if (type == VT_DATE && TypeOf(value) == VT_BSTR) {
        const std::optional<double> date = xml::ReadDate(TextOf(value).View());
        if (!date) return false;
        VARIANT made{};
        made.vt = VT_DATE;
        made.date = *date;
        target = kv::Variant::Attach(made);
        return true;
    }
    if (type != VT_BSTR) return Change(value, type, englishLocale, VARIANT_NOUSEROVERRIDE, target);
    kv::BString text;
    if (!ToLocalText(value, englishLocale, LOCALE_NOUSEROVERRIDE, VARIANT_NOUSEROVERRIDE, text)) return false;
    target = kv::Variant::FromText(std::move(text));
    return true;
}

}  // namespace mova
