// The values of JSON objects and arrays as VARIANTs, and what their typed readings give.
#pragma once

#include "json/Value.h"
#include "kvcore/BString.h"
#include "kvcore/Variant.h"

namespace mova {

/// Frees what a value of Kind::Held, an IUnknown, or Kind::Other, a VARIANT, refers to.
void DisposeValue(const json::Value& value) noexcept;

/// A value that belongs to who holds this, until it is handed over.
class NewValue {
 public:
    NewValue() noexcept : value_(json::Value::Of(json::Kind::Empty)) {}
    explicit NewValue(const json::Value& value) noexcept : value_(value) {}
    NewValue(const NewValue&) = delete;
    NewValue& operator=(const NewValue&) = delete;
    ~NewValue() {
        DisposeValue(value_);
        json::FreeText(value_);
    }

    /// A copy of a text; null stays null. @throw std::bad_alloc
    static json::Value OfText(BSTR text);
    /// A reference to an object, which may be null.
    static json::Value OfObject(IUnknown* object) noexcept;
    /// Becomes a copy of a VARIANT, read through where it is a reference. @return E_INVALIDARG for what cannot be kept
    HRESULT Assign(const VARIANT& source);

    const json::Value& Get() const noexcept { return value_; }
    /// Says that the value belongs to another now.
    void Release() noexcept { value_ = json::Value::Of(json::Kind::Empty); }

 private:
    json::Value value_;
};

/// The VARIANT type of a value.
VARTYPE TypeOf(const json::Value& value) noexcept;
/// Whether a value is, or may refer to, an object or array.
constexpr bool IsContainer(json::Kind kind) noexcept {
    return kind == json::Kind::Object || kind == json::Kind::Array;
}
/// A deep copy of a value that is no container. @param target is overwritten unread
/// @throw std::bad_alloc, the target being empty
HRESULT CopyValue(const json::Value& value, VARIANT* target);

// The typed readings. Each answers whether the value could be converted, and only then writes the target.
// @throw std::bad_alloc
bool ToBoolean(const json::Value& value, VARIANT_BOOL& target);
bool ToLong(const json::Value& value, LONG& target);
bool ToLongLong(const json::Value& value, LONGLONG& target);
bool ToULongLong(const json::Value& value, ULONGLONG& target);
bool ToDouble(const json::Value& value, double& target);
bool ToFloat(const json::Value& value, float& target);
bool ToText(const json::Value& value, kv::BString& target);
/// The reading as any VARIANT type, by English notation. The value is no container.
bool ToType(const json::Value& value, VARTYPE type, kv::Variant& target);

}  // namespace mova
