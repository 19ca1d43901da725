// The forms that values of the system have in JSON, which JSONConverter's operations describe.
#pragma once

#include <movaSystem.h>

#include <string>
#include <utility>
#include <vector>

#include "kvcore/Ptr.h"
#include "kvcore/Variant.h"
#include "server/Refusal.h"

namespace mova {

/// Property sets that are still to be converted, so that their nesting takes no stack, and why one could not be.
class ValueForms {
 public:
    /// Says why the conversion failed, unless the object that made it fail has said so itself. @return the status
    template <class Interface>
    HRESULT Explain(const Unknown& reporter, HRESULT status) const noexcept {
        return fault_.empty() ? status : ReportError(reporter, status, 0, fault_.c_str(), __uuidof(Interface));
    }

 protected:
    /// A property set, and the JSON object of its properties.
    struct Level {
        kv::Ptr<IPropertySet> set;
        kv::Ptr<IJSONObject> items;
        int depth;  ///< from 1
    };

    /// Makes room for what the objects of a conversion say of their failures: nothing older is to explain those.
    static void Begin() noexcept { SetErrorInfo(0, nullptr); }
    /// Converts its properties later. @return E_FAIL where it lies too deep
    HRESULT Postpone(kv::Ptr<IPropertySet> set, kv::Ptr<IJSONObject> items, int depth);
    /// Converts what is postponed, and what that postpones. @param status of the value itself
    template <class Convert>
    HRESULT Finish(HRESULT status, Convert convert) {
        while (SUCCEEDED(status) && !open_.empty()) {
            const Level level = std::move(open_.back());
            open_.pop_back();
            status = convert(level);
        }
        return status;
    }
    /// The failure of a value, which has a name where it is a property's.
    HRESULT Fail(HRESULT status, std::u16string_view name, std::u16string_view reason);

 private:
    std::vector<Level> open_;
    std::u16string fault_;
};

/// Makes JSON of values.
class ValueEncoder : public ValueForms {
 public:
    /// @param json receives a scalar, or VT_UNKNOWN of a JSON object or array. @throw std::bad_alloc
    HRESULT Encode(const VARIANT& value, kv::Variant& json);

 private:
    HRESULT EncodeValue(std::u16string_view name, const VARIANT& value, int depth, kv::Variant& json);
    HRESULT EncodeObject(std::u16string_view name, IUnknown& object, int depth, kv::Variant& json);
    HRESULT EncodeIdentifier(IIdentifierExchange& identifier, kv::Variant& json);
    HRESULT EncodeArray(std::u16string_view name, const VARIANT& array, kv::Variant& json);
    HRESULT EncodeProperties(const Level& level);
};

/// Makes values of JSON.
class ValueDecoder : public ValueForms {
 public:
    explicit ValueDecoder(bool keepsUnknown) noexcept : keepsUnknown_(keepsUnknown) {}

    /// @throw std::bad_alloc
    HRESULT Decode(const VARIANT& json, kv::Variant& value);
    /// The same for an object, whatever it says that it is.
    HRESULT Decode(std::u16string_view type, const kv::Ptr<IJSONObject>& json, kv::Variant& value);

 private:
    HRESULT DecodeValue(std::u16string_view name, const VARIANT& json, int depth, kv::Variant& value);
    HRESULT DecodeObject(std::u16string_view name, std::u16string_view type, const kv::Ptr<IJSONObject>& object,
                         int depth, kv::Variant& value);
    HRESULT DecodeIdentifier(std::u16string_view name, IJSONObject& object, kv::Variant& value);
    HRESULT DecodeArray(std::u16string_view name, IJSONObject& object, kv::Variant& value);
    HRESULT DecodeProperties(const Level& level);
    HRESULT Finish(HRESULT status);

    const bool keepsUnknown_;
};

}  // namespace mova
