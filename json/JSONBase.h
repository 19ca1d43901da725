#pragma once

#include <limits>
#include <type_traits>

#include "json/JSONValues.h"
#include "kvcore/JsTime.h"
#include "server/Component.h"

namespace mova {

/// What the parameters of an adding operation begin with: a member's name, or nothing.
template <class... Name>
struct AddedUnder {};

/// What JSON objects and arrays have in common: reading values by type and adding them, by name or by position.
/// @tparam Main  the interface that failures are reported of.
template <class Self, class Coclass, class Main, class Added, class... Items>
class JSONBase;

template <class Self, class Coclass, class Main, class... Name, class... Items>
class JSONBase<Self, Coclass, Main, AddedUnder<Name...>, Items...>
    : public Component<Self, Coclass, Items..., IHoldsValues> {
    using Base = Component<Self, Coclass, Items..., IHoldsValues>;

 public:
    /// What a value is found by.
    using Key = std::conditional_t<sizeof...(Name) == 1, BSTR, LONG>;

    explicit JSONBase(IUnknown* outer) noexcept : Base(outer), values_(sizeof...(Name) == 1) {}

    STDMETHODIMP FromJSONString(BSTR text) noexcept override try { return values_.LoadText(text); } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP ParseJSON(IJSONReader* reader) noexcept override { return ParseJSONAtDepth(reader, 0); }
    STDMETHODIMP ParseJSONAtDepth(IJSONReader* reader, LONG depth) noexcept override try {
        if (!reader) return Base::Refuse(E_POINTER);
        return values_.Load(reader, depth);
    } catch (...) {
        return CaughtStatus();
    }

    STDMETHODIMP get_CaseSensitive(VARIANT_BOOL* flag) noexcept override {
        return GetFlag(values_.caseSensitive, flag);
    }
    STDMETHODIMP put_CaseSensitive(VARIANT_BOOL flag) noexcept override {
        values_.caseSensitive = flag == VARIANT_TRUE;
        return S_OK;
    }
    STDMETHODIMP put_ReplaceExisting(VARIANT_BOOL flag) noexcept override {
        values_.replaceExisting = flag == VARIANT_TRUE;
        return S_OK;
    }
    STDMETHODIMP get_ReplaceExisting(VARIANT_BOOL* flag) noexcept override {
        return GetFlag(values_.replaceExisting, flag);
    }

    STDMETHODIMP GetCount(LONG* count) noexcept override {
        if (!count) return Base::Refuse(E_POINTER);
        *count = static_cast<LONG>(values_.held.Count());
        return S_OK;
    }

    STDMETHODIMP GetDate(Key key, DATE* date, VARIANT_BOOL* found) noexcept override {
        if (date) *date = 0;
        return Read(key, date, found, [](const json::Value& value, DATE& target) {
            double milliseconds = 0;
            if (!ToDouble(value, milliseconds) || milliseconds != milliseconds) return false;
            target = kv::FromJsTime(milliseconds);
            return true;
        });
    }
    STDMETHODIMP GetBoolean(Key key, VARIANT_BOOL* flag, VARIANT_BOOL* found) noexcept override {
        return Read(key, flag, found, &ToBoolean);
    }
    STDMETHODIMP GetLong(Key key, LONG* number, VARIANT_BOOL* found) noexcept override {
        return Read(key, number, found, &ToLong);
    }
    STDMETHODIMP GetDouble(Key key, double* number, VARIANT_BOOL* found) noexcept override {
        return Read(key, number, found, &ToDouble);
    }
    STDMETHODIMP GetString(Key key, BSTR* text, VARIANT_BOOL* found) noexcept override {
        VARIANT_BOOL unasked;
        return Read(key, text, found ? found : &unasked, [](const json::Value& value, BSTR& target) {
            kv::BString converted;
            if (!ToText(value, converted)) return false;
            target = converted.Detach();
            return true;
        });
    }
    STDMETHODIMP GetLongLong(Key key, LONGLONG* number, VARIANT_BOOL* found) noexcept override {
        return Read(key, number, found, &ToLongLong);
    }
    STDMETHODIMP GetULongLong(Key key, ULONGLONG* number, VARIANT_BOOL* found) noexcept override {
        return Read(key, number, found, &ToULongLong);
    }
    STDMETHODIMP GetFloat(Key key, float* number, VARIANT_BOOL* found) noexcept override {
        return Read(key, number, found, &ToFloat);
    }
    STDMETHODIMP GetValueAs(Key key, USHORT type, VARIANT* converted, VARIANT_BOOL* found) noexcept override try {
        if (converted) VariantInit(converted);
        if (found) *found = VARIANT_FALSE;
        if (!converted || !found) return Base::Refuse(E_POINTER);
        const std::uint32_t place = This().Find(key);
        if (place == json::Container::none) return This().Missing();
        kv::Variant target;
        const bool isObject = type == VT_UNKNOWN || type == VT_DISPATCH;
        if (isObject && IsContainer(values_.held.At(place).tag.kind)) values_.ObjectAt(place);
        if (!ToType(values_.held.At(place), type, target)) return S_OK;
        *converted = target.Detach();
        *found = VARIANT_TRUE;
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }

    STDMETHODIMP GetJSONObject(Key key, IJSONObject** object, VARIANT_BOOL* found) noexcept override try {
        if (object) *object = nullptr;
        if (found) *found = VARIANT_FALSE;
        if (!object || !found) return Base::Refuse(E_POINTER);
        const std::uint32_t place = This().Find(key);
        if (place == json::Container::none) return This().Missing();
        kv::Ptr<IJSONObject> held;
        if (HRESULT status = values_.CopyOut(place, held); FAILED(status)) return status;
        *found = held ? VARIANT_TRUE : VARIANT_FALSE;
        *object = held.Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP GetJSONArray(Key key, IJSONArray** array, VARIANT_BOOL* found) noexcept override try {
        if (found) *found = VARIANT_FALSE;
        if (!array) return Base::Refuse(E_POINTER);
        *array = nullptr;
        const std::uint32_t place = This().Find(key);
        if (place == json::Container::none) return This().Missing();
        const auto held = values_.ObjectAt(place).template As<IJSONArray>();
        if (!held) return S_OK;
        held->put_CaseSensitive(FlagOf(values_.caseSensitive));
        if (const auto extended = held.template As<IJSONArrayEx>())
            extended->put_ReplaceExisting(FlagOf(values_.replaceExisting));
        if (found) *found = VARIANT_TRUE;
        *array = kv::Ptr<IJSONArray>(held).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }

    STDMETHODIMP AddDate(Name... name, DATE date) noexcept override try {
        VARIANT source{};
        source.vt = VT_R8;
        source.dblVal = date;
        kv::Variant changed;
        if (HRESULT status = kv::ChangeType(source, VT_DATE, LOCALE_USER_DEFAULT, 0, changed); FAILED(status))
            return Base::Refuse(status);
        return Add(name..., json::Value::Of(changed.Get().date, json::Kind::Date));
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP AddBoolean(Name... name, VARIANT_BOOL flag) noexcept override {
        return Add(name..., json::Value::Of(flag != VARIANT_FALSE));
    }
    STDMETHODIMP AddLong(Name... name, LONG number) noexcept override {
        return Add(name..., json::Value::Of(std::int64_t{number}, json::Kind::Int32));
    }
    STDMETHODIMP AddDouble(Name... name, double number) noexcept override {
        return Add(name..., json::Value::Of(number, json::Kind::Double));
    }
    STDMETHODIMP AddDoubleWithDecimals(Name... name, double number, LONG decimals) noexcept override {
        using Decimals = std::numeric_limits<std::int8_t>;
        if (decimals < Decimals::min() || decimals > Decimals::max()) return Base::Refuse(E_INVALIDARG);
        return Add(name..., json::Value::Of(number, json::Kind::Double, static_cast<std::int8_t>(decimals)));
    }
    STDMETHODIMP AddLongLong(Name... name, LONGLONG number) noexcept override {
        return Add(name..., json::Value::Of(std::int64_t{number}, json::Kind::Int64));
    }
    STDMETHODIMP AddULongLong(Name... name, ULONGLONG number) noexcept override {
        return Add(name..., json::Value::Of(static_cast<std::int64_t>(number), json::Kind::UInt64));
    }
    STDMETHODIMP AddFloat(Name... name, float number) noexcept override {
        json::Value value = json::Value::Of(json::Kind::Float);
        value.payload.shortNumber = number;
        return Add(name..., value);
    }
    STDMETHODIMP AddString(Name... name, BSTR text) noexcept override try {
        return Add(name..., NewValue::OfText(text));
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP AddNull(Name... name) noexcept override { return Add(name..., json::Value::Of(json::Kind::Empty)); }
    STDMETHODIMP AddVariant(Name... name, VARIANT value) noexcept override try {
        NewValue added;
        if (HRESULT status = added.Assign(value); FAILED(status)) return Base::Refuse(status);
        return Add(name..., added);
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP AddObject(Name... name, IUnknown* object) noexcept override {
        if (!object) return Base::Refuse(E_POINTER);
        kv::Ptr<IUnknown> added;
        if (FAILED(object->QueryInterface(__uuidof(IJSONObject), added.PutVoid())) &&
            FAILED(object->QueryInterface(__uuidof(IJSONArray), added.PutVoid())))
            return Base::Refuse(E_NOINTERFACE);
        return Add(name..., NewValue::OfObject(added.Get()));
    }
    STDMETHODIMP AddArray(Name... name, IUnknown* array) noexcept override { return This().AddObject(name..., array); }
    STDMETHODIMP CreateJSONObject(Name... name, IJSONObject** object) noexcept override {
        return CreateChild(name..., object, true);
    }
    STDMETHODIMP CreateJSONArray(Name... name, IJSONArray** array) noexcept override {
        return CreateChild(name..., array, false);
    }

    STDMETHODIMP SetNull(Key key) noexcept override try {
        const std::uint32_t place = This().Find(key);
        if (place == json::Container::none) return This().Missing();
        values_.held.Replace(place, json::Value::Of(json::Kind::Empty));
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP RemoveAll() noexcept override {
        values_.held.Clear();
        return S_OK;
    }

    STDMETHODIMP ToJSONString(IPropertySet* options, BSTR* text) noexcept override try {
        if (!text) return Base::Refuse(E_POINTER);
        *text = nullptr;
        return values_.WriteText(options, this->Own(), text);
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP ToJSON(BSTR name, IJSONWriter* writer) noexcept override try {
        if (!writer) return Base::Refuse(E_POINTER);
        return values_.Write(name, writer, this->Own());
    } catch (...) {
        return CaughtStatus();
    }

    // IHoldsValues
    JSONValues& STDMETHODCALLTYPE Values() noexcept override { return values_; }

 protected:
    static constexpr VARIANT_BOOL FlagOf(bool flag) noexcept { return flag ? VARIANT_TRUE : VARIANT_FALSE; }

    HRESULT GetFlag(bool flag, VARIANT_BOOL* target) const noexcept {
        if (!target) return Base::Refuse(E_POINTER);
        *target = FlagOf(flag);
        return S_OK;
    }

    /// Adds a value, which belongs to nobody else.
    HRESULT Add(Name... name, const json::Value& value) noexcept {
        NewValue added(value);
        return Add(name..., added);
    }
    HRESULT Add(Name... name, NewValue& added) noexcept try {
        const HRESULT status = This().AddValue(name..., added.Get());
        if (SUCCEEDED(status)) added.Release();
        return status;
    } catch (...) {
        return CaughtStatus();
    }

    JSONValues values_;

 private:
    Self& This() noexcept { return static_cast<Self&>(*this); }

    template <class T, class Convert>
    HRESULT Read(Key key, T* target, VARIANT_BOOL* found, Convert convert) noexcept try {
        if (found) *found = VARIANT_FALSE;
        if (!target || !found) return Base::Refuse(E_POINTER);
        const std::uint32_t place = This().Find(key);
        if (place == json::Container::none) return This().Missing();
        *found = FlagOf(convert(values_.held.At(place), *target));
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }

    template <class Interface>
    HRESULT CreateChild(Name... name, Interface** child, bool isObject) noexcept try {
        if (!child) return Base::Refuse(E_POINTER);
        *child = nullptr;
        const kv::Ptr<IUnknown> made = values_.MakeChild(isObject);
        auto typed = made.As<Interface>();
        if (HRESULT status = Add(name..., NewValue::OfObject(made.Get())); FAILED(status)) return status;
        *child = typed.Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
};

}  // namespace mova
